// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/store_check.h"

#include "asn1/records.h"
#include "core/context.h"
#include "fuzz/support/host.h"
#include "pki/store.h"
#include "x509/cert.h"

namespace
{

void Read(const SigkitAsnOcts &view)
{
    volatile uint8_t sum = 0;
    for (uint32_t i = 0; i < view.len; ++i) {
        sum = static_cast<uint8_t>(sum + view.data[i]);
    }
}

} // namespace

void FuzzCheckStore(const SigkitVerifyCtx *ctx)
{
    if (ctx->hostFailure != SIGKIT_OK && g_fuzzHost.failAt == 0) {
        FuzzFail("the machine failed with %08x, says the library; no file may say that", ctx->hostFailure);
    }
    for (uint32_t i = 0; i < ctx->pki->certs.count; ++i) {
        const SigkitX509Cert &cert = *static_cast<const SigkitX509Cert *>(ctx->pki->certs.items[i]);
        Read(cert.encoded);
        Read(cert.signatureValue);
        if (cert.refCount < 1) {
            FuzzFail("a stored certificate has %d holders", cert.refCount);
        }
    }
    for (uint32_t i = 0; i < ctx->pki->crls.count; ++i) {
        const SigkitX509Crl &crl = *static_cast<const SigkitX509Crl *>(ctx->pki->crls.items[i]);
        Read(crl.encoded);
        Read(crl.signatureValue);
        if (crl.refCount < 1) {
            FuzzFail("a stored CRL has %d holders", crl.refCount);
        }
    }
}

uint32_t FuzzCountCrls(const SigkitVerifyCtx *ctx)
{
    return ctx->pki->crls.count;
}

bool FuzzHoldsAnchor(const SigkitVerifyCtx *ctx)
{
    for (uint32_t i = 0; i < ctx->pki->certs.count; ++i) {
        uint32_t isSelfSigned = 0;
        SigkitX509Cert *const cert = static_cast<SigkitX509Cert *>(ctx->pki->certs.items[i]);
        if (SigkitX509IsSelfSigned(cert, &isSelfSigned) == SIGKIT_OK && isSelfSigned == 1) {
            return true;
        }
    }
    return false;
}
