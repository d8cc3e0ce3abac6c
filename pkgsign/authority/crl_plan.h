// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the next CRL of a CA says.
#ifndef PKGSIGN_AUTHORITY_CRL_PLAN_H
#define PKGSIGN_AUTHORITY_CRL_PLAN_H

#include <string>
#include <vector>

#include "pkgsign/authority/crl_sources.h"

namespace pkgsign
{

// Describes the next CRL of a CA. A CA that has ended, or was superseded, signs its last CRLs as of before that:
// devices judge a CRL's issuer at thisUpdate. ended: the revocation of the CA; null: there is none. isNewOut: false
// when its last CRL says all.
Status PlanCrl(const CrlSources &sources, const KnownCa &authority, const Revocation *ended, CrlFields *fields,
               bool *isNewOut);

// What the issuer of a CA has said of it; false: nothing.
bool FindRevocationOf(const CrlSources &sources, const KnownCa &authority, Revocation *out);

// Whether two lists hold the same revocations, in whatever order.
bool AreSameRevocations(const std::vector<Revocation> &a, const std::vector<Revocation> &b);

} // namespace pkgsign

#endif
