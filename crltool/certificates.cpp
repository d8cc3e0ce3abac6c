// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "crltool/certificates.h"

#include <algorithm>

#include "core/context.h"
#include "pki/chain.h"
#include "pki/path.h"
#include "pki/store.h"
#include "x509/cert.h"
#include "x509/time.h"

namespace
{

// The newest thisUpdate of a file: what is valid then is what the file is made for.
int64_t NewestThisUpdate(const SigkitCrlBundle &bundle)
{
    int64_t newest = 0;
    for (const SigkitCrlInfo *const info : bundle.crls) {
        newest = info == nullptr ? newest : std::max(newest, info->thisUpdate);
    }
    return newest;
}

// Validates a certificate as the library validates the issuers of CRLs: strictly, as what a stolen key has signed may
// bear any date.
uint32_t StatusAt(SigkitVerifyCtx *ctx, SigkitX509Cert *cert, int64_t time)
{
    uint32_t ok = 0;
    ctx->verifyTime = time;
    const uint32_t status = SigkitPkiVerifyCert(ctx, cert, 1, 1, &ok);
    return status == SIGKIT_OK && ok != 1 ? SIGKIT_ERR_CERT_UNTRUSTED : status;
}

bool IsIssuedByTrustAnchor(SigkitVerifyCtx *ctx, SigkitX509Cert *cert)
{
    SigkitX509Cert *const issuer = InternalFindCertIssuer(ctx, cert);
    uint32_t isSelfSigned = 0;
    return issuer != nullptr && SigkitX509IsSelfSigned(issuer, &isSelfSigned) == SIGKIT_OK && isSelfSigned == 1;
}

// Returns whether a certificate was valid when one of the CRLs that it has signed was issued.
bool WasValidForACrl(SigkitVerifyCtx *ctx, SigkitX509Cert *cert)
{
    const SigkitList &crls = ctx->pki->crls;
    for (uint32_t i = 0; i < crls.count; ++i) {
        SigkitX509Crl *const crl = static_cast<SigkitX509Crl *>(crls.items[i]);
        uint64_t thisUpdate = 0;
        if (SigkitPkiFindCrlIssuer(ctx, crl) == cert &&
            SigkitConvertDatetimeToTime(&crl->tbsCertList.thisUpdate, &thisUpdate) == SIGKIT_OK &&
            StatusAt(ctx, cert, static_cast<int64_t>(thisUpdate)) == SIGKIT_OK) {
            return true;
        }
    }
    return false;
}

uint32_t StatusOf(const LoadedCrlFile &file, SigkitX509Cert *cert)
{
    SigkitVerifyCtx *const ctx = file.ctx;
    if (IsIssuedByTrustAnchor(ctx, cert) || WasValidForACrl(ctx, cert)) {
        return SIGKIT_OK;
    }
    return StatusAt(ctx, cert, NewestThisUpdate(*file.bundle));
}

} // namespace

const SigkitX509Cert *FindStrayCert(const LoadedCrlFile &file, uint32_t *status)
{
    for (uint32_t i = 0; i < file.certs; ++i) {
        SigkitX509Cert *const cert = static_cast<SigkitX509Cert *>(file.ctx->pki->certs.items[file.firstCert + i]);
        const uint32_t ended = StatusOf(file, cert);
        if (ended != SIGKIT_OK) {
            *status = ended;
            return cert;
        }
    }
    return nullptr;
}
