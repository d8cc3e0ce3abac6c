// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pki/chain.h"

#include "core/log.h"
#include "core/trace.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "x509/cert.h"
#include "x509/issuer.h"

SigkitX509Cert *InternalFindCertIssuer(SigkitVerifyCtx *ctx, SigkitX509Cert *cert)
{
    const SigkitList &certs = ctx->pki->certs;
    for (uint32_t i = 0; i < certs.count; ++i) {
        SigkitX509Cert *const candidate = static_cast<SigkitX509Cert *>(certs.items[i]);
        const SigkitX509CertInfo &info = candidate->tbsCertificate;
        // RFC 5280, 6.1.4 (k). Narrowed: asked of a trust anchor, too. (l), (m): skipped, no length of path is read.
        if (info.extensions.basicConstraints.cA != 1) {
            SIGKIT_TRACE(ISSUER_NO_CA, cert, candidate, 0);
            continue;
        }
        // Found before: what follows held then.
        if (cert->issuerCert != nullptr) {
            if (candidate == cert->issuerCert) {
                SIGKIT_TRACE(ISSUER_TAKEN, cert, candidate, 0);
                return candidate;
            }
            continue;
        }
        // (n). Narrowed: the key usage must be there. (a), (b), (g) to (j), (o): skipped, neither policies, name
        // constraints nor unknown critical extensions are read.
        if ((info.extensions.keyUsage & SIGKIT_KEY_USAGE_KEY_CERT_SIGN) == 0) {
            SIGKIT_TRACE(ISSUER_NO_CERT_SIGN, cert, candidate, 0);
            continue;
        }
        // 6.1.3 (a)(1), (a)(4), with the candidate's name and key in place of the state that 6.1.4 (c) to (f) keeps.
        bool issued = false;
        const uint32_t status = InternalIsCertIssuedBy(cert, *candidate, &issued);
        if (status == SIGKIT_OK && issued) {
            SIGKIT_TRACE(ISSUER_TAKEN, cert, candidate, 0);
            cert->issuerCert = candidate;
            return candidate;
        }
        SIGKIT_TRACE(ISSUER_TRIED, cert, candidate, status);
        InternalPassOver(ctx, status);
    }
    return nullptr;
}

SigkitX509Cert *SigkitPkiFindCrlIssuer(SigkitVerifyCtx *ctx, SigkitX509Crl *crl)
{
    if (ctx == nullptr || crl == nullptr || ctx->pki == nullptr) {
        return nullptr;
    }
    const SigkitList &certs = ctx->pki->certs;
    for (uint32_t i = 0; i < certs.count; ++i) {
        SigkitX509Cert *const cert = static_cast<SigkitX509Cert *>(certs.items[i]);
        // RFC 5280, 6.3.3 (f), last sentence. Narrowed: the key usage must be there.
        if ((cert->tbsCertificate.extensions.keyUsage & SIGKIT_KEY_USAGE_CRL_SIGN) == 0) {
            SIGKIT_TRACE(CRL_NO_CRL_SIGN, crl, cert, 0);
            continue;
        }
        // 6.3.3 (g).
        bool issued = false;
        const uint32_t status = InternalIsCrlIssuedBy(crl, *cert, &issued);
        if (status == SIGKIT_OK && issued) {
            SIGKIT_TRACE(CRL_SIGNED_BY, crl, cert, 0);
            return cert;
        }
        SIGKIT_TRACE(CRL_TRIED, crl, cert, status);
        InternalPassOver(ctx, status);
    }
    return nullptr;
}

// The recursion is bounded by `depth`, which stands for RFC 5280, 6.1, as well: CAs that issued each other in a circle
// would have a certificate twice in the path, and here have no root.
SigkitX509Cert *InternalFindCertRoot(SigkitVerifyCtx *ctx, SigkitX509Cert *cert, uint32_t depth)
{
    if (depth > SIGKIT_PATH_DEPTH_MAX) {
        SIGKIT_TRACE(ROOT_TOO_DEEP, cert, nullptr, depth);
        SIGKIT_ERROR(SIGKIT_ERR_UNKNOWN, "find path too deep.");
        return nullptr;
    }
    uint32_t isSelfSigned = 0;
    const uint32_t status = SigkitX509IsSelfSigned(cert, &isSelfSigned);
    if (status != SIGKIT_OK) {
        SIGKIT_TRACE(ANCHOR_ERROR, cert, nullptr, status);
        InternalPassOver(ctx, status);
        return nullptr;
    }
    if (isSelfSigned == 1) {
        return cert;
    }
    SigkitX509Cert *const issuer = InternalFindCertIssuer(ctx, cert);
    return issuer == nullptr ? nullptr : InternalFindCertRoot(ctx, issuer, depth + 1);
}
