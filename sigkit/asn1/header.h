// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Identifier and length octets (X.690, 8.1.2 and 8.1.3).
//
// Logs: what is said to be logged.
#ifndef ASN1_HEADER_H
#define ASN1_HEADER_H

#include <stdint.h>

#include "asn1/cursor.h"
#include "asn1/types.h"

// A decoded identifier octet.
struct SigkitAsnTag {
    uint32_t cls;
    uint32_t constructed; // 0 or 1
    uint32_t number;      // 0 to 30

    bool operator==(const SigkitAsnTag &) const = default;
};

// Reads one identifier octet. Narrowed: the high-tag-number form (X.690, 8.1.2.4) is refused.
//
// Returns SIGKIT_OK, SIGKIT_ERR_BUFFER_END, or SIGKIT_ERR_ASN_TAG for the high-tag-number form. After a failure the
// caller puts the cursor back.
[[nodiscard]] uint32_t InternalDecTag(SigkitDecodeBuf *buf, SigkitAsnTag *tag);

// Reads length octets. Narrowed: the indefinite form and lengths of more than four octets are refused. Lenient: a long
// form may carry leading zeros or stand where the short form would do.
//
// Returns SIGKIT_OK, SIGKIT_ERR_BUFFER_END inside the length octets, or SIGKIT_ERR_ASN_LENGTH, logged, when the length
// is refused or runs past the input. After a failure the caller puts the cursor back.
[[nodiscard]] uint32_t InternalDecLen(SigkitDecodeBuf *buf, uint32_t *length);

// Reads the header that `entry` calls for: the implicit tag of the entry, or the universal tag `tag`.
//
//   constructed  in, the constructed flag that the header must have.
//   tag          in, the universal tag number.
//   length       out, the content's length; the cursor then stands at the content.
//
// Returns what InternalDecTag and InternalDecLen return, or SIGKIT_ERR_ASN_TAG when the identifier is another one.
// After a failure the caller puts the cursor back.
[[nodiscard]] uint32_t InternalAsn1ParseContent(SigkitDecodeBuf *buf, const SigkitAsnTemplate &entry,
                                                uint32_t constructed, uint32_t tag, uint32_t *length);

#endif
