// CRLs: decoding and shared lifetime.
#ifndef X509_CRL_H
#define X509_CRL_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/guard.h"

// Reason codes that tell of an ordinary end rather than of a compromise (RFC 5280, 5.3.1).
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
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM for a null or empty argument, or a decoding code.
[[nodiscard]] uint32_t SigkitX509DecodeCrl(const uint8_t *data, uint32_t len, SigkitX509Crl **crl, uint32_t *consumed);

// Gives up one holder's share; the last one frees the record. Null is ignored.
void SigkitX509FreeCrl(SigkitX509Crl *crl);

// Releases a list entry that is a CRL: a SigkitListDestructor.
void InternalFreeCrlEntry(void *crl);

using InternalCrlGuard = InternalGuard<SigkitX509Crl, SigkitX509FreeCrl>;

#endif
