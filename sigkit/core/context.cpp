// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "core/context.h"

bool InternalIsHostFailure(uint32_t status)
{
    return status == SIGKIT_ERR_NO_MEMORY || (status != SIGKIT_OK && status >> 24 != 0x88);
}

void InternalPassOver(SigkitVerifyCtx *ctx, uint32_t status)
{
    if (ctx->hostFailure == SIGKIT_OK && InternalIsHostFailure(status)) {
        ctx->hostFailure = status;
    }
}

uint32_t InternalCheckContext(const SigkitVerifyCtx *ctx)
{
    if (ctx == nullptr) {
        return SIGKIT_ERR_CTX_NULL;
    }
    return ctx->size == SIGKIT_VERIFY_CTX_SIZE ? SIGKIT_OK : SIGKIT_ERR_CTX_TAG;
}
