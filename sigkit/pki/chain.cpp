#include "pki/chain.h"

#include "core/log.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "x509/cert.h"
#include "x509/issuer.h"
#include "x509/oid.h"

SigkitX509Cert *InternalFindCertIssuer(SigkitVerifyCtx *ctx, SigkitX509Cert *cert)
{
    const SigkitList &certs = ctx->pki->certs;
    for (uint32_t i = 0; i < certs.count; ++i) {
        SigkitX509Cert *const candidate = static_cast<SigkitX509Cert *>(certs.items[i]);
        const SigkitX509CertInfo &info = candidate->tbsCertificate;
        if (info.extensions.basicConstraints.cA != 1) {
            continue;
        }
        if (cert->issuerCert != nullptr) {
            if (candidate == cert->issuerCert) {
                return candidate;
            }
            continue;
        }
        if ((info.extensions.keyUsage & SIGKIT_KEY_USAGE_KEY_CERT_SIGN) == 0) {
            continue;
        }
        bool issued = false;
        const uint32_t status = InternalIsCertIssuedBy(cert, *candidate, &issued);
        if (status == SIGKIT_OK && issued) {
            cert->issuerCert = candidate;
            return candidate;
        }
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
        if ((cert->tbsCertificate.extensions.keyUsage & SIGKIT_KEY_USAGE_CRL_SIGN) == 0) {
            continue;
        }
        bool issued = false;
        const uint32_t status = InternalIsCrlIssuedBy(crl, *cert, &issued);
        if (status == SIGKIT_OK && issued) {
            return cert;
        }
        InternalPassOver(ctx, status);
    }
    return nullptr;
}

// The recursion is bounded by `depth`.
SigkitX509Cert *InternalFindCertRoot(SigkitVerifyCtx *ctx, SigkitX509Cert *cert, uint32_t depth)
{
    if (depth > SIGKIT_PATH_DEPTH_MAX) {
        SIGKIT_ERROR(SIGKIT_ERR_UNKNOWN, "find path too deep.");
        return nullptr;
    }
    uint32_t isSelfSigned = 0;
    const uint32_t status = SigkitX509IsSelfSigned(cert, &isSelfSigned);
    if (status != SIGKIT_OK) {
        InternalPassOver(ctx, status);
        return nullptr;
    }
    if (isSelfSigned == 1) {
        return cert;
    }
    SigkitX509Cert *const issuer = InternalFindCertIssuer(ctx, cert);
    return issuer == nullptr ? nullptr : InternalFindCertRoot(ctx, issuer, depth + 1);
}
