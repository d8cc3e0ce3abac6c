// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pki/store.h"

#include "core/context.h"
#include "core/memory.h"
#include "sigkit/sigkit.h"
#include "x509/cert.h"
#include "x509/crl.h"
#include "x509/name.h"
#include "x509/oid.h"

namespace
{

// Appends `record` to `list` and takes a share, unless a stored record has the same signature. A record belongs to one
// store for life: what it remembers of its issuers goes by their places there, and would name others in a second.
template <typename Record>
uint32_t AddRecord(SigkitList *list, Record *record, uint32_t duplicate)
{
    for (uint32_t i = 0; i < list->count; ++i) {
        const Record *const stored = static_cast<const Record *>(list->items[i]);
        if (SigkitCompareAsnOcts(&stored->signatureValue, &record->signatureValue) == 0) {
            return duplicate;
        }
    }
    if (record->storeIndex != 0) {
        return SIGKIT_ERR_PARAM;
    }
    const uint32_t status = SigkitListAdd(list, record);
    if (status == SIGKIT_OK) {
        record->refCount += 1;
        record->storeIndex = list->count;
    }
    return status;
}

} // namespace

uint32_t SigkitPkiInit(SigkitVerifyCtx *ctx)
{
    if (ctx == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    SigkitPkiCtx *store = nullptr;
    const uint32_t status = InternalNewRecord(&store);
    if (status == SIGKIT_OK) {
        store->memory.literal = SIGKIT_PATH_LITERAL_MAX;
        ctx->pki = store;
    }
    return status;
}

void SigkitPkiUninit(SigkitVerifyCtx *ctx)
{
    if (ctx == nullptr || ctx->pki == nullptr) {
        return;
    }
    SigkitListFree(&ctx->pki->certs, InternalFreeCertEntry);
    SigkitListFree(&ctx->pki->crls, InternalFreeCrlEntry);
    SigkitFree(ctx->pki);
    ctx->pki = nullptr;
}

void InternalRenewTrail(SigkitVerifyCtx *ctx)
{
    SigkitPkiCtx *const store = ctx->pki;
    store->memory.nested = 0;
    for (uint32_t i = 0; i < store->certs.count; ++i) {
        static_cast<SigkitX509Cert *>(store->certs.items[i])->issuerVerdicts.errors = 0;
    }
    for (uint32_t i = 0; i < store->crls.count; ++i) {
        static_cast<SigkitX509Crl *>(store->crls.items[i])->issuerVerdicts.errors = 0;
    }
}

uint32_t SigkitPkiStoreAddCert(SigkitVerifyCtx *ctx, SigkitX509Cert *cert)
{
    if (ctx == nullptr || cert == nullptr || ctx->pki == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    return AddRecord(&ctx->pki->certs, cert, SIGKIT_ERR_CERT_DUPLICATE);
}

uint32_t SigkitPkiStoreAddCrl(SigkitVerifyCtx *ctx, SigkitX509Crl *crl)
{
    if (ctx == nullptr || crl == nullptr || ctx->pki == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    return AddRecord(&ctx->pki->crls, crl, SIGKIT_ERR_CRL_DUPLICATE);
}

SigkitX509Cert *SigkitPkiFindCertByIssuerSn(const SigkitVerifyCtx *ctx, const SigkitX509Name *issuer,
                                            const SigkitAsnOcts *serialNumber)
{
    if (ctx == nullptr || issuer == nullptr || serialNumber == nullptr || issuer->count == 0 ||
        serialNumber->len == 0 || ctx->pki == nullptr) {
        return nullptr;
    }
    const SigkitList &certs = ctx->pki->certs;
    for (uint32_t i = 0; i < certs.count; ++i) {
        SigkitX509Cert *const cert = static_cast<SigkitX509Cert *>(certs.items[i]);
        if (cert != nullptr && SigkitCompareX509Name(&cert->tbsCertificate.issuer, issuer) == 0 &&
            SigkitCompareAsnOcts(&cert->tbsCertificate.serialNumber, serialNumber) == 0) {
            return cert;
        }
    }
    return nullptr;
}
