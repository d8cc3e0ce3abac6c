// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Elements of DER (X.690), for what is written too often to be built from libcrypto's objects.
#ifndef PKGSIGN_TIMESTAMP_DER_H
#define PKGSIGN_TIMESTAMP_DER_H

#include <initializer_list>
#include <span>

#include "pkgsign/status.h"

namespace pkgsign
{

enum DerIdentifier : uint8_t {
    DER_BOOLEAN = 0x01,
    DER_INTEGER = 0x02,
    DER_BIT_STRING = 0x03,
    DER_OCTET_STRING = 0x04,
    DER_UTF8_STRING = 0x0C,
    DER_GENERALIZED_TIME = 0x18,
    DER_SEQUENCE = 0x30,
    DER_SET = 0x31,
    DER_CONTEXT_0 = 0xA0, // [0], constructed
    DER_CONTEXT_4 = 0xA4,
};

using BytesView = std::span<const uint8_t>;

// One element around its contents, one behind the other.
Bytes DerElement(DerIdentifier identifier, std::initializer_list<BytesView> contents);

// SET OF: the elements in the order of their encodings (X.690, 11.6). identifier: of an implicit tag, or DER_SET.
Bytes DerSetOf(DerIdentifier identifier, std::vector<BytesView> elements);

// An INTEGER that is not negative, from its octets, the most significant first.
Bytes DerUnsigned(const Bytes &magnitude);

} // namespace pkgsign

#endif
