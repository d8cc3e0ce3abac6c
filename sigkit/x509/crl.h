// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// CRLs: decoding and shared lifetime.
#ifndef X509_CRL_H
#define X509_CRL_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/guard.h"

// Reason codes of an ordinary end rather than of a compromise (RFC 5280, 5.3.1).
enum : uint32_t {
    SIGKIT_REASON_AFFILIATION_CHANGED = 3,
    SIGKIT_REASON_SUPERSEDED = 4,
    SIGKIT_REASON_CESSATION_OF_OPERATION = 5,
};

// Decodes one CRL from the start of `data`; octets behind it are left alone.
//
//   data      in, `len` octets, which the record points into: they must outlive it.
//   crl       out, a record with one holder, to be released with SigkitX509FreeCrl.
//   consumed  out, octets that the CRL took.
//
// Returns SIGKIT_OK, or the first of these that applies: SIGKIT_ERR_PARAM for a null or empty argument, the host's code
// when it has no memory (SIGKIT_ERR_NO_MEMORY), the code of memset_s, or of what does not decode SIGKIT_ERR_BUFFER_END,
// SIGKIT_ERR_ASN_TAG, SIGKIT_ERR_ASN_LENGTH, SIGKIT_ERR_ASN_SEQUENCE, SIGKIT_ERR_ASN_BITS, SIGKIT_ERR_ASN_INTEGER or
// SIGKIT_ERR_ASN_SET. `crl` is not written on failure. Logs: lengths that are refused (InternalDecLen), even where the
// member that they are in may be absent; not what it returns, see SigkitX509DecodeCert.
[[nodiscard]] uint32_t SigkitX509DecodeCrl(const uint8_t *data, uint32_t len, SigkitX509Crl **crl, uint32_t *consumed);

// Gives up one holder's share; the last one frees the record. Null is ignored.
void SigkitX509FreeCrl(SigkitX509Crl *crl);

// Releases a list entry that is a CRL: a SigkitListDestructor.
void InternalFreeCrlEntry(void *crl);

using InternalCrlGuard = InternalGuard<SigkitX509Crl, SigkitX509FreeCrl>;

#endif
