#include "verify/load/image.h"

#include "annexk.h"
#include "core/log.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"

uint32_t InternalNewImage(const uint8_t *data, uint32_t len, InternalImage **image)
{
    void *block = nullptr;
    const uint32_t status = SigkitMalloc(&block, sizeof(InternalImage) + len);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    InternalImage *const fresh = static_cast<InternalImage *>(block);
    const int failure = memcpy_s(fresh + 1, len, data, len);
    if (failure != 0) {
        SigkitFree(block);
        return SIGKIT_TRAIL(static_cast<uint32_t>(failure));
    }
    fresh->next = nullptr;
    *image = fresh;
    return SIGKIT_OK;
}

const uint8_t *InternalImageBytes(const InternalImage *image)
{
    return reinterpret_cast<const uint8_t *>(image + 1);
}

void InternalKeepImage(SigkitVerifyCtx *ctx, InternalImage *image)
{
    image->next = ctx->images;
    ctx->images = image;
}

void InternalFreeImages(SigkitVerifyCtx *ctx, const InternalImage *kept)
{
    while (ctx->images != kept) {
        InternalImage *const image = ctx->images;
        ctx->images = image->next;
        SigkitFree(image);
    }
}
