// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pki/path.h"

#include "core/context.h"
#include "core/log.h"
#include "core/trace.h"
#include "pki/chain.h"
#include "pki/crl_select.h"
#include "pki/revocation.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "x509/cert.h"
#include "x509/time.h"

namespace
{

// What one certificate of the walk came to.
enum class Step { TRUSTED, NEXT_ISSUER };

// Returns whether the validation of the CRL's issuer, made when the CRL was chosen, covers the chain above a
// certificate. RFC 5280, 6.1.3, judges every certificate of the path, so only the very record that issued the
// certificate will do. A CRL that another certificate signed says nothing about the issuer, which may have been revoked
// or have ended: not an indirect one; not one of a namesake, which a revoked CA can make below itself; and not one of a
// second certificate of the issuer's name and key, which has a serial number, and a revocation, of its own.
bool CoversChainAbove(SigkitVerifyCtx *ctx, const InternalCrlChoice &choice, SigkitX509Cert *cert)
{
    const bool isIndirect = choice.crl->tbsCertList.crlExtensions.issuingDistributionPoint.indirectCRL != 0;
    return !isIndirect && choice.issuer == InternalFindCertIssuer(ctx, cert);
}

// Checks one certificate. Where its CRL does not cover the chain above, its issuer is next.
//
// RFC 5280, 6.1.3 (b), (c): skipped, name constraints are not read. (d) to (f), and 6.1.5 (a), (b), (g): skipped,
// policies are not read. 6.1.5 (f): skipped, an unknown critical extension is passed over. 6.1.4 is chain.cpp's.
uint32_t CheckOne(SigkitVerifyCtx *ctx, SigkitX509Cert *cert, uint32_t strictRevocation, Step *step)
{
    // RFC 5280, 6.1.3 (a)(2), at a time in the past, as 6.1 permits. Narrowed: a trust anchor's dates must hold, too.
    uint32_t status = InternalVerifyCertificate(*cert, ctx->verifyTime);
    SIGKIT_TRACE(VALIDITY, cert, nullptr, status);
    if (status != SIGKIT_OK) {
        return status;
    }
    // 6.1.1 (d): what is self-signed is the trust anchor. It is no part of the path, so (a)(3) is not asked of it.
    uint32_t isSelfSigned = 0;
    status = SigkitX509IsSelfSigned(cert, &isSelfSigned);
    if (status != SIGKIT_OK) {
        SIGKIT_TRACE(ANCHOR_ERROR, cert, nullptr, status);
        return status;
    }
    SIGKIT_TRACE(ANCHOR, cert, nullptr, isSelfSigned);
    if (isSelfSigned == 1) {
        *step = Step::TRUSTED; // trust anchors alone get into the store self-signed
        return SIGKIT_OK;
    }
    // 6.1.3 (a)(1), (a)(4), for the whole chain: the CRLs below are chosen by its root.
    const SigkitX509Cert *const root = InternalFindCertRoot(ctx, cert, 0);
    SIGKIT_TRACE(ROOT, cert, root, 0);
    if (root == nullptr) {
        ctx->pathError = SIGKIT_ERR_NO_ROOT;
        return SIGKIT_ERR_NO_ROOT;
    }
    // 6.1.3 (a)(3), by 6.3. Narrowed: CRLs are the only way, so a certificate for which there is none is refused.
    InternalCrlChoice choice = {};
    status = InternalSelectCrl(ctx, *cert, root, strictRevocation, &choice);
    SIGKIT_TRACE(CRL_CHOSEN, cert, choice.crl, status);
    if (status != SIGKIT_OK) {
        return status;
    }
    status = InternalCheckCrlOfCert(*cert, *choice.crl, ctx->verifyTime, strictRevocation);
    SIGKIT_TRACE(REVOCATION, cert, choice.crl, status);
    if (status != SIGKIT_OK) {
        return status;
    }
    *step = CoversChainAbove(ctx, choice, cert) ? Step::TRUSTED : Step::NEXT_ISSUER;
    SIGKIT_TRACE(COVERED, cert, choice.issuer, *step == Step::TRUSTED ? 1 : 0);
    return SIGKIT_OK;
}

// Checks a certificate and, as far as the CRLs ask for it, those above it. The walk ends, because CheckOne has found a
// root at most SIGKIT_PATH_DEPTH_MAX steps above.
uint32_t WalkUp(SigkitVerifyCtx *ctx, SigkitX509Cert *cert, uint32_t strictRevocation)
{
    while (cert != nullptr) {
        Step step = Step::NEXT_ISSUER;
        SIGKIT_TRACE(CERT_BEGIN, cert, nullptr, ctx->pathDepth);
        const uint32_t status = CheckOne(ctx, cert, strictRevocation, &step);
        SIGKIT_TRACE(CERT_END, cert, nullptr, status);
        if (status != SIGKIT_OK || step == Step::TRUSTED) {
            return status;
        }
        cert = InternalFindCertIssuer(ctx, cert);
    }
    return SIGKIT_ERR_NO_ROOT; // not reached: a root was found above
}

// Validates the issuer of a CRL, or answers from memory.
uint32_t ValidateNested(SigkitVerifyCtx *ctx, SigkitX509Cert *cert, uint32_t strictRevocation)
{
    InternalPathMemory *const memory = &ctx->pki->memory;
    const int32_t depth = ctx->pathDepth;
    const InternalPathOutcome *const known = InternalRecallOutcome(memory, cert->storeIndex, depth);
    if (known != nullptr) {
        SIGKIT_TRACE(CERT_RECALLED, cert, nullptr, known->status);
        ctx->pathError = known->pathError != SIGKIT_OK ? known->pathError : ctx->pathError;
        return known->status;
    }
    const uint32_t errorBefore = ctx->pathError;
    ctx->pathError = SIGKIT_OK; // shows what this validation leaves there
    ctx->pathDepth += 1;
    const uint32_t status = WalkUp(ctx, cert, strictRevocation);
    ctx->pathDepth -= 1;
    InternalKeepOutcome(memory, cert->storeIndex, depth, {status, ctx->pathError});
    ctx->pathError = ctx->pathError != SIGKIT_OK ? ctx->pathError : errorBefore;
    return status;
}

} // namespace

uint32_t SigkitPkiVerifyCert(SigkitVerifyCtx *ctx, SigkitX509Cert *cert, int32_t isTopLevel, uint32_t strictRevocation,
                             uint32_t *ok)
{
    if (ctx == nullptr || cert == nullptr || ok == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    *ok = 0;
    if (ctx->pki == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    uint32_t status = SIGKIT_OK;
    if (isTopLevel != 0) {
        InternalForgetOutcomes(&ctx->pki->memory);
        ctx->pathDepth = 1;
        status = WalkUp(ctx, cert, strictRevocation);
        ctx->pathDepth -= 1;
        // What a failing host made a search pass over may be the CRL that revokes.
        SIGKIT_TRACE(HOST_FAILURE, cert, nullptr, status == SIGKIT_OK ? ctx->hostFailure : SIGKIT_OK);
        status = status == SIGKIT_OK ? ctx->hostFailure : status;
    } else if (ctx->pathDepth > SIGKIT_PATH_DEPTH_MAX) {
        SIGKIT_TRACE(CERT_TOO_DEEP, cert, nullptr, ctx->pathDepth);
        SIGKIT_ERROR(SIGKIT_OK, "The path of certificate is too deep.");
        return SIGKIT_ERR_PATH_TOO_DEEP;
    } else {
        status = ValidateNested(ctx, cert, strictRevocation);
    }
    *ok = status == SIGKIT_OK ? 1 : 0;
    return status;
}

uint32_t InternalVerifyCertificate(const SigkitX509Cert &cert, int64_t verifyTime)
{
    const SigkitX509Validity &validity = cert.tbsCertificate.validity;
    uint64_t notBefore = 0;
    uint64_t notAfter = 0;
    uint32_t status = SigkitConvertDatetimeToTime(&validity.notBefore, &notBefore);
    if (status == SIGKIT_OK) {
        status = SigkitConvertDatetimeToTime(&validity.notAfter, &notAfter);
    }
    if (status == SIGKIT_OK && verifyTime < static_cast<int64_t>(notBefore)) {
        status = SIGKIT_ERR_CERT_NOT_YET_VALID;
    } else if (status == SIGKIT_OK && verifyTime > static_cast<int64_t>(notAfter)) {
        status = SIGKIT_ERR_CERT_EXPIRED;
    }
    if (status != SIGKIT_OK) {
        SIGKIT_WARN(status, "Check date for certificate failed, verify may fail.");
    }
    return status;
}

uint32_t InternalSelectCrl(SigkitVerifyCtx *ctx, const SigkitX509Cert &cert, const SigkitX509Cert *root,
                           uint32_t strictRevocation, InternalCrlChoice *best)
{
    SigkitList candidates = {};
    const InternalCandidatesGuard guard(&candidates);
    uint32_t status = InternalRankCrls(ctx, cert, root, &candidates);
    if (status == SIGKIT_OK) {
        status = InternalFindBestCrlOfCert(ctx, candidates, strictRevocation, best);
    }
    if (status != SIGKIT_OK) {
        ctx->pathError = status;
    }
    return status;
}

uint32_t InternalFindBestCrlOfCert(SigkitVerifyCtx *ctx, const SigkitList &candidates, uint32_t strictRevocation,
                                   InternalCrlChoice *best)
{
    if (candidates.count == 0) {
        SIGKIT_ERROR(SIGKIT_OK, "Can't find CRL for certificate.");
        return SIGKIT_ERR_NO_CRL;
    }
    uint32_t last = SIGKIT_OK;
    for (uint32_t i = 0; i < candidates.count; ++i) {
        SigkitX509Crl *const crl = static_cast<const SigkitCrlCandidate *>(candidates.items[i])->crl;
        // RFC 5280, 6.3.3 (g), before (f): only its signature says which of the issuer's certificates made the CRL.
        SigkitX509Cert *const issuer = SigkitPkiFindCrlIssuer(ctx, crl);
        if (issuer == nullptr) {
            continue;
        }
        // (f): the issuer's path. That it ends at the certificate's own trust anchor was seen when the CRL was ranked.
        uint32_t ok = 0;
        last = SigkitPkiVerifyCert(ctx, issuer, 0, strictRevocation, &ok);
        SIGKIT_TRACE(CRL_ISSUER_JUDGED, crl, issuer, last);
        // (d), (e), (l): skipped. Widened: each CRL counts for all reasons, so the first one ends the search.
        if (last == SIGKIT_OK && ok == 1) {
            *best = {crl, issuer};
            return SIGKIT_OK;
        }
        InternalPassOver(ctx, last);
    }
    SIGKIT_ERROR(last, "Verify CRL failed.");
    return last != SIGKIT_OK ? last : SIGKIT_ERR_CRL_UNVERIFIED;
}
