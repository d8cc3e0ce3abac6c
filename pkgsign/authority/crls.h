// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// CRLs: complete and direct ones, as devices take them.
#ifndef PKGSIGN_AUTHORITY_CRLS_H
#define PKGSIGN_AUTHORITY_CRLS_H

#include <memory>
#include <string>
#include <vector>

#include "pkgsign/authority/pki.h"
#include "pkgsign/crypto/types.h"

namespace pkgsign
{

using Crl = std::shared_ptr<X509_CRL>;

inline constexpr size_t CRL_ENTRIES_MAX = 20; // of a CRL, on a device

struct CrlFields {
    Certificate issuer;
    std::string number; // decimal
    int64_t thisUpdate = 0;
    int64_t nextUpdate = 0;
    std::vector<Revocation> entries; // in this order
};

// Makes a CRL. signingKey: the issuer's, or a throwaway one in its place.
Status MakeCrl(const CrlFields &fields, EVP_PKEY *signingKey, Crl *crlOut);

// The CRLNumber, decimal; empty when there is none.
std::string CrlNumber(const X509_CRL *crl);

// "keyCompromise": RFC 5280, 5.3.1. Null for a number that has no name there.
const char *ReasonName(long code);

// What a CRL lists, as revocations of `authority`, noted at its thisUpdate.
std::vector<Revocation> CrlEntries(X509_CRL *crl, const std::string &authority);

// What refuses all that either of two revocations of a certificate refuses: the earlier date, and a reason that is no
// ordinary end, where one of them has it.
Revocation Stricter(const Revocation &known, const Revocation &other);

// Takes a revocation into memory: as it is, or the stricter of it and what is known. True when memory has changed.
bool RememberRevocation(const Revocation &revocation, Pki *pki);

// Whether two revocations have the same date and reason.
bool IsSameRevocation(const Revocation &a, const Revocation &b);

// Refuses CRLs that are not complete and direct: delta CRLs and those with an issuing distribution point.
Status CheckCrlKind(const X509_CRL *crl, const std::string &source);

// Reasons as RFC 5280, 5.3.1 names them. reason: "" for none given. removeFromCRL is refused: only delta CRLs have it.
Status CheckReason(const std::string &reason);

// Reasons with which what a CA or timestamp authority did before the date stays good on a device.
bool IsOrdinaryEnd(const std::string &reason);

} // namespace pkgsign

#endif
