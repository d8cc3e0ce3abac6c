// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The CRLs that may decide about a certificate: each CRL of the store is scored.
#ifndef PKI_CRL_SELECT_H
#define PKI_CRL_SELECT_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/context.h"
#include "core/guard.h"
#include "core/list.h"
#include "pki/path_memory.h"

// Bits of a score. A CRL that lists the certificate outranks every one that does not, which may simply be older: an
// entry stays until the certificate has expired (RFC 5280, 3.3). Then a current one outranks an expired one; then one
// of the certificate's own issuer outranks an indirect one of another.
enum : uint32_t {
    SIGKIT_CRL_SCORE_OTHER_ISSUER = 0x10, // indirect CRL; with SAME_ISSUER: the own issuer's CRL is marked indirect
    SIGKIT_CRL_SCORE_SAME_ISSUER = 0x20,
    SIGKIT_CRL_SCORE_CURRENT = 0x40,
    SIGKIT_CRL_SCORE_LISTS_CERT = 0x80,
};

// A usable CRL.
struct SigkitCrlCandidate {
    uint32_t score;
    SigkitX509Crl *crl; // the store's
};

void InternalFreeCandidates(SigkitList *candidates);

using InternalCandidatesGuard = InternalGuard<SigkitList, InternalFreeCandidates>;

// Lists the CRLs of the store that may decide about `cert` at the context's verifyTime, best first.
//
//   root        in, the root of the certificate's chain; CRLs of other roots are left out.
//   candidates  out, an empty list that gets SigkitCrlCandidate, owned by the caller, after a failure too.
//
// Returns SIGKIT_OK, also when there is none, the code of an allocation or SIGKIT_ERR_LIST_FULL.
//
// Logs: nothing.
[[nodiscard]] uint32_t InternalRankCrls(SigkitVerifyCtx *ctx, const SigkitX509Cert &cert, const SigkitX509Cert *root,
                                        SigkitList *candidates);

// Scores one CRL for a certificate at `verifyTime`. Returns the sum of the bits, or 0 when the CRL cannot be used: of
// another issuer without being indirect, without a readable nextUpdate, or expired without listing the certificate. An
// expired CRL still proves a revocation, never a clean record.
//
//   memory  in/out, says whether an expired CRL is worth its warning.
//
// Logs: as warnings, another issuer and an expired CRL, even one that keeps its score; not an unreadable nextUpdate.
[[nodiscard]] uint32_t InternalCrlGetScore(const SigkitX509Crl &crl, const SigkitX509Cert &cert, int64_t verifyTime,
                                           InternalPathMemory *memory);

// Orders two SigkitCrlCandidate, the higher score first: -1, 0 or 1.
[[nodiscard]] int32_t InternalCrlScoreSortDesc(const void *first, const void *second);

#endif
