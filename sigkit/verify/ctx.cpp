// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "core/context.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/memory.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "verify/admission.h"
#include "verify/content_check.h"
#include "verify/load/file.h"
#include "verify/load/loading.h"
#include "verify/load/message_copy.h"

namespace
{

uint32_t InternalCheckParamVerifyAddCert(const SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len)
{
    const uint32_t status = InternalCheckContext(ctx);
    if (status == SIGKIT_OK && (data == nullptr || len == 0)) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM);
    }
    return status;
}

uint32_t InternalCheckParamVerifyAddCrl(const SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len)
{
    const uint32_t status = InternalCheckContext(ctx);
    if (status == SIGKIT_OK && (data == nullptr || len == 0)) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM);
    }
    return status;
}

uint32_t InternalCheckParamVerifyAddCertFile(const SigkitVerifyCtx *ctx, const char *path)
{
    const uint32_t status = InternalCheckContext(ctx);
    if (status == SIGKIT_OK && path == nullptr) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM);
    }
    return status;
}

} // namespace

uint32_t SigkitVerifyCreateCtx(SigkitVerifyCtx **ctx, const SigkitVerifyCreateParam *param)
{
    if (ctx == nullptr || param == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    if (param->size != SIGKIT_CREATE_PARAM_SIZE) {
        return SIGKIT_ERR_CTX_TAG;
    }
    SigkitVerifyCtx *fresh = nullptr;
    uint32_t status = InternalNewRecord(&fresh);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    status = SigkitPkiInit(fresh);
    if (status != SIGKIT_OK) {
        SigkitFree(fresh);
        return SIGKIT_TRAIL(status);
    }
    fresh->size = SIGKIT_VERIFY_CTX_SIZE;
    *ctx = fresh;
    return SIGKIT_OK;
}

uint32_t SigkitVerifyAddCert(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len)
{
    uint32_t status = InternalCheckParamVerifyAddCert(ctx, data, len);
    if (status != SIGKIT_OK) {
        return status;
    }
    SigkitList certs = {};
    const InternalCertsGuard guard(&certs);
    status = InternalDecodeCertCrl(ctx, data, len, &certs, nullptr);
    if (status == SIGKIT_OK && certs.count == 0) {
        status = SIGKIT_ERR_UNKNOWN;
    }
    if (status == SIGKIT_OK) {
        status = InternalAddCertToStore(ctx, certs, 1);
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}

uint32_t SigkitVerifyAddCertFile(SigkitVerifyCtx *ctx, const char *path)
{
    uint32_t status = InternalCheckParamVerifyAddCertFile(ctx, path);
    if (status != SIGKIT_OK) {
        return status;
    }
    InternalBytesGuard bytes;
    uint32_t len = 0;
    status = InternalReadFile(path, &bytes.held, &len);
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCert(ctx, bytes.held, len);
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}

uint32_t SigkitVerifyAddCrl(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len)
{
    uint32_t status = InternalCheckParamVerifyAddCrl(ctx, data, len);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (ctx->crlLocked != 0) {
        return SIGKIT_TRAIL(SIGKIT_ERR_CRL_LOCKED);
    }
    SigkitList certs = {};
    SigkitList crls = {};
    const InternalCertsGuard certsGuard(&certs);
    const InternalCrlsGuard crlsGuard(&crls);
    status = InternalDecodeCertCrl(ctx, data, len, &certs, &crls);
    if (status != SIGKIT_OK || crls.count == 0) {
        return SIGKIT_TRAIL(SIGKIT_ERR_CRL_LOAD); // whatever the cause was
    }
    status = InternalAddCrlToStore(ctx, crls);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    // Certificates that come with CRLs are a courtesy: trouble with them is only logged.
    status = InternalAddCertToStore(ctx, certs, 0);
    InternalPassOver(ctx, status);
    status = certs.count == 0 ? SIGKIT_ERR_UNKNOWN : status;
    if (status != SIGKIT_OK) {
        SIGKIT_WARN(status, "Failed to add certificate into store.");
    }
    return SIGKIT_OK;
}

uint32_t SigkitVerifyAddCrlFile(SigkitVerifyCtx *ctx, const char *path)
{
    if (ctx == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    uint32_t status = InternalCheckContext(ctx);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (path == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    InternalBytesGuard bytes;
    uint32_t len = 0;
    status = InternalReadFile(path, &bytes.held, &len);
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCrl(ctx, bytes.held, len);
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}

uint32_t SigkitVrfCtxFree(SigkitVerifyCtx *ctx)
{
    if (ctx == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    SigkitPkiUninit(ctx);
    SigkitListFree(&ctx->handles, InternalFreeMdInfoEntry);
    SigkitListFree(&ctx->buffers, SigkitFree);
    InternalFreeMessageCopies(ctx, nullptr);
    SigkitFree(ctx);
    return SIGKIT_OK;
}
