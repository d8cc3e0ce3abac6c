// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The host callbacks for digests, over libcrypto.
#include "src/upgrade_sigkit_sdk_callback/digests.h"

#include "annexk.h"
#include "qzlog.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "src/module.h"
#include "src/upgrade_sigkit_sdk_callback/callback.h"
#include "src/upgrade_sigkit_sdk_callback/contexts.h"

namespace
{

// Line numbers by which the log knows the events.
constexpr int LINE_MD_NO_DIGEST = 442;
constexpr int LINE_MD_INIT_FAILED = 448;
constexpr int LINE_MD_UPDATE_FAILED = 477;
constexpr int LINE_MD_FINAL_FAILED = 504;

// The library's numbers of the hash algorithms.
constexpr uint32_t HASH_SHA256 = 43;
constexpr uint32_t HASH_SHA384 = 44;
constexpr uint32_t HASH_SHA512 = 45;

} // namespace

const EVP_MD *SkvGetOpensslEvpmd(uint32_t aoid)
{
    switch (aoid) {
    case HASH_SHA256:
        return EVP_sha256();
    case HASH_SHA384:
        return EVP_sha384();
    case HASH_SHA512:
        return EVP_sha512();
    default:
        return nullptr;
    }
}

uint32_t SkvOpensslUnint(uint32_t value)
{
    return value;
}

int32_t SigkitMdCreateCtx(SigkitMdCtx **out)
{
    if (out == nullptr) {
        return static_cast<int32_t>(SIGKIT_ERR_PARAM);
    }
    void *block = nullptr;
    const uint32_t status = SigkitMalloc(&block, CONTEXT_SIZE);
    if (status != SIGKIT_OK) {
        return static_cast<int32_t>(status);
    }
    const int zeroed = memset_s(block, CONTEXT_SIZE, 0, CONTEXT_SIZE);
    if (zeroed != 0) {
        SigkitFree(block);
        return zeroed;
    }
    SigkitMdCtx *const ctx = static_cast<SigkitMdCtx *>(block);
    ctx->size = CONTEXT_SIZE;
    *out = ctx;
    return 0;
}

int32_t SigkitMdInit(SigkitMdCtx *ctx, uint32_t hashAoid)
{
    if (ctx == nullptr) {
        return FAILURE;
    }
    ctx->mdCtx = EVP_MD_CTX_new();
    (void)EVP_MD_CTX_reset(ctx->mdCtx);
    const EVP_MD *const digest = SkvGetOpensslEvpmd(hashAoid);
    if (digest == nullptr) {
        LOG_EVENT(QZLOG_ERROR, LINE_MD_NO_DIGEST, "Failed to get openssl evp handler.");
        return FAILURE;
    }
    if (!StartDigest(ctx->mdCtx, digest)) {
        LOG_EVENT(QZLOG_ERROR, LINE_MD_INIT_FAILED, "Failed to connect handler with hash algo.");
        return FAILURE;
    }
    return 0;
}

int32_t SigkitMdUpdate(SigkitMdCtx *ctx, const void *data, uint32_t len)
{
    if (ctx == nullptr) {
        return FAILURE;
    }
    if (data == nullptr || len == 0) {
        return 0;
    }
    if (!FeedDigest(ctx->mdCtx, data, len)) {
        LOG_EVENT(QZLOG_ERROR, LINE_MD_UPDATE_FAILED, "Failed to update handler.");
        return FAILURE;
    }
    return 0;
}

int32_t SigkitMdFinal(SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved)
{
    if (ctx == nullptr || digest == nullptr || digestLen == nullptr || reserved == nullptr) {
        return FAILURE;
    }
    if (!IsDigesting(ctx->mdCtx) || EVP_DigestFinal(ctx->mdCtx, digest, digestLen) != 1) {
        LOG_EVENT(QZLOG_ERROR, LINE_MD_FINAL_FAILED, "Failed to get final md.");
        return FAILURE;
    }
    return 0;
}

void SigkitMdDestoryCtx(SigkitMdCtx *ctx)
{
    if (ctx != nullptr) {
        EVP_MD_CTX_free(ctx->mdCtx);
        SigkitFree(ctx);
    }
}
