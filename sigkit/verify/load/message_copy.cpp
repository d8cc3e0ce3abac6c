// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/load/message_copy.h"

#include "annexk.h"
#include "core/log.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"

uint32_t InternalNewImage(const uint8_t *data, uint32_t len, InternalMessageCopy **copy)
{
    void *block = nullptr;
    const uint32_t status = SigkitMalloc(&block, sizeof(InternalMessageCopy) + len);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    InternalMessageCopy *const fresh = static_cast<InternalMessageCopy *>(block);
    const int failure = memcpy_s(fresh + 1, len, data, len);
    if (failure != 0) {
        SigkitFree(block);
        return SIGKIT_TRAIL(static_cast<uint32_t>(failure));
    }
    fresh->next = nullptr;
    *copy = fresh;
    return SIGKIT_OK;
}

const uint8_t *InternalMessageCopyBytes(const InternalMessageCopy *copy)
{
    return reinterpret_cast<const uint8_t *>(copy + 1);
}

void InternalKeepMessageCopy(SigkitVerifyCtx *ctx, InternalMessageCopy *copy)
{
    copy->next = ctx->messageCopies;
    ctx->messageCopies = copy;
}

void InternalFreeMessageCopies(SigkitVerifyCtx *ctx, const InternalMessageCopy *kept)
{
    while (ctx->messageCopies != kept) {
        InternalMessageCopy *const copy = ctx->messageCopies;
        ctx->messageCopies = copy->next;
        SigkitFree(copy);
    }
}
