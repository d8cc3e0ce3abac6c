// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pki/crl_select.h"

#include "core/log.h"
#include "core/memory.h"
#include "core/trace.h"
#include "pki/chain.h"
#include "pki/revocation.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "x509/name.h"
#include "x509/time.h"

namespace
{

bool SameIssuer(const SigkitX509Crl &crl, const SigkitX509Cert &cert)
{
    return SigkitCompareX509Name(&crl.tbsCertList.issuer, &cert.tbsCertificate.issuer) == 0;
}

bool IsIndirect(const SigkitX509Crl &crl)
{
    return crl.tbsCertList.crlExtensions.issuingDistributionPoint.indirectCRL == 1;
}

// Returns whether a CRL speaks about the certificate's issuer and hangs below the same root.
bool IsInReach(SigkitVerifyCtx *ctx, SigkitX509Crl &crl, const SigkitX509Cert &cert, const SigkitX509Cert *root)
{
    // RFC 5280, 6.3.3 (b)(1). Widened: which indirect CRL the certificate names (cRLIssuer, 4.2.1.13) is not read, so
    // any will do. (b)(2): skipped, a CRL for some certificates counts for all. (c), (h), (i): skipped, deltas are not
    // used. Widened: a delta CRL, as any with unknown critical extensions, counts as a complete one (5.2, 5.2.4).
    if (cert.tbsCertificate.issuer.count == 0 || (!SameIssuer(crl, cert) && !IsIndirect(crl))) {
        SIGKIT_TRACE(CRL_OTHER_ISSUER, &crl, &cert, 0);
        return false;
    }
    // (f), second sentence: one trust anchor for both. The path itself is validated when the CRL is tried.
    SigkitX509Cert *const issuer = SigkitPkiFindCrlIssuer(ctx, &crl);
    if (issuer == nullptr) {
        SIGKIT_TRACE(CRL_NO_ISSUER, &crl, &cert, 0);
        return false;
    }
    if (InternalFindCertRoot(ctx, issuer, 0) != root) {
        SIGKIT_TRACE(CRL_OTHER_ROOT, &crl, &cert, 0);
        return false;
    }
    return true;
}

uint32_t AddCandidate(SigkitList *candidates, uint32_t score, SigkitX509Crl *crl)
{
    InternalBlockGuard<SigkitCrlCandidate> candidate;
    uint32_t status = InternalNewRecord(&candidate.held);
    if (status != SIGKIT_OK) {
        return status;
    }
    *candidate.held = {score, crl};
    status = SigkitListAdd(candidates, candidate.held);
    if (status == SIGKIT_OK) {
        (void)candidate.Take(); // the list's
    }
    return status;
}

// RFC 5280, 6.3.3, asks the CRLs of the certificate's distribution points. Those are not read: each CRL of the store is
// asked, as after (l) for CRLs that no distribution point names. (a): skipped, nothing is fetched.
uint32_t CollectCandidates(SigkitVerifyCtx *ctx, const SigkitX509Cert &cert, const SigkitX509Cert *root,
                           SigkitList *candidates)
{
    const SigkitList &crls = ctx->pki->crls;
    for (uint32_t i = 0; i < crls.count; ++i) {
        SigkitX509Crl *const crl = static_cast<SigkitX509Crl *>(crls.items[i]);
        if (crl == nullptr || !IsInReach(ctx, *crl, cert, root)) {
            continue;
        }
        const uint32_t score = InternalCrlGetScore(*crl, cert, ctx->verifyTime, &ctx->pki->memory);
        SIGKIT_TRACE(CRL_SCORE, crl, &cert, score);
        if (score == 0) {
            continue;
        }
        const uint32_t status = AddCandidate(candidates, score, crl);
        if (status != SIGKIT_OK) {
            return status;
        }
    }
    return SIGKIT_OK;
}

} // namespace

void InternalFreeCandidates(SigkitList *candidates)
{
    SigkitListFree(candidates, SigkitFree);
}

uint32_t InternalRankCrls(SigkitVerifyCtx *ctx, const SigkitX509Cert &cert, const SigkitX509Cert *root,
                          SigkitList *candidates)
{
    const uint32_t status = CollectCandidates(ctx, cert, root, candidates);
    return status == SIGKIT_OK ? SigkitListSort(candidates, InternalCrlScoreSortDesc) : status;
}

uint32_t InternalCrlGetScore(const SigkitX509Crl &crl, const SigkitX509Cert &cert, int64_t verifyTime,
                             InternalPathMemory *memory)
{
    uint32_t score = 0;
    if (SameIssuer(crl, cert)) {
        score = SIGKIT_CRL_SCORE_SAME_ISSUER | (IsIndirect(crl) ? SIGKIT_CRL_SCORE_OTHER_ISSUER : 0U);
    } else if (IsIndirect(crl)) {
        score = SIGKIT_CRL_SCORE_OTHER_ISSUER;
    } else {
        SIGKIT_WARN(SIGKIT_OK, "invalid issuer score.");
        return 0;
    }
    const bool listed = InternalCrlListsSerial(crl, cert.tbsCertificate.serialNumber);
    if (listed) {
        score |= SIGKIT_CRL_SCORE_LISTS_CERT;
    }
    // RFC 5280, 6.3.3 (a)(1). Narrowed: without nextUpdate a CRL is of no use (5.1.2.5 leaves that open).
    uint64_t nextUpdate = 0;
    if (SigkitConvertDatetimeToTime(&crl.tbsCertList.nextUpdate, &nextUpdate) != SIGKIT_OK) {
        SIGKIT_TRACE(CRL_NO_NEXT_UPDATE, &crl, &cert, 0);
        return 0;
    }
    if (verifyTime <= static_cast<int64_t>(nextUpdate)) {
        return score | SIGKIT_CRL_SCORE_CURRENT;
    }
    // (a)(1)(ii) fetches a current one instead. Widened: the expired CRL may still prove a revocation.
    SIGKIT_TRACE(CRL_EXPIRED, &crl, &cert, listed ? 1 : 0);
    if (InternalMayWarn(memory)) {
        SIGKIT_WARN(SIGKIT_ERR_CRL_EXPIRED, "Found an expired CRL, it most likely cause NO CRL error.");
    }
    return listed ? score : 0;
}

int32_t InternalCrlScoreSortDesc(const void *first, const void *second)
{
    const uint32_t a = static_cast<const SigkitCrlCandidate *>(first)->score;
    const uint32_t b = static_cast<const SigkitCrlCandidate *>(second)->score;
    if (a == b) {
        return 0;
    }
    return a > b ? -1 : 1;
}
