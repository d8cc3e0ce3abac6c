// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/cursor.h"

#include "sigkit/sigkit.h"

uint32_t SigkitBufInit(SigkitDecodeBuf *buf, const uint8_t *data, uint32_t size)
{
    if (buf == nullptr || data == nullptr || size == 0) {
        return SIGKIT_ERR_PARAM;
    }
    *buf = {data, size, 0};
    return SIGKIT_OK;
}

uint32_t SigkitBufSeek(SigkitDecodeBuf *buf, int32_t delta, int32_t whence)
{
    if (buf == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    if (whence != SIGKIT_SEEK_CURRENT) {
        return SIGKIT_ERR_UNKNOWN;
    }
    const int64_t target = static_cast<int64_t>(buf->pos) + delta;
    if (target < 0 || target > buf->size || target > INT32_MAX) {
        return SIGKIT_ERR_UNKNOWN; // positions are 32-bit signed sums, so no target lies beyond INT32_MAX
    }
    buf->pos = static_cast<uint32_t>(target);
    return SIGKIT_OK;
}
