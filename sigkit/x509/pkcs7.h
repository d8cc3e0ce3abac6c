// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Signature messages: CMS SignedData (RFC 5652, 5) with its certificates.
#ifndef X509_PKCS7_H
#define X509_PKCS7_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/guard.h"

// Decodes a signature message and its certificates. The name is part of the log: it is CMS that is read, not all of
// what PKCS #7 allowed (RFC 5652, 5.2.1). Not checked: the content types.
//
//   data      in, `len` octets, which the record and its certificates point into: they must outlive them.
//   message   out, to be released with SigkitPkcs7FreeSigned; its `certList` holds the certificates.
//   consumed  out, octets that the message took.
//
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM for a null or empty argument, or SIGKIT_ERR_SIGNED_DATA for every other failure.
//
// Logs: each failure.
[[nodiscard]] uint32_t SigkitPkcs7DecodeSigned(const uint8_t *data, uint32_t len, SigkitPkcs7Content **message,
                                               uint32_t *consumed);

// Frees a message and gives up its shares of its certificates. Null is ignored.
void SigkitPkcs7FreeSigned(SigkitPkcs7Content *message);

using InternalMessageGuard = InternalGuard<SigkitPkcs7Content, SigkitPkcs7FreeSigned>;

#endif
