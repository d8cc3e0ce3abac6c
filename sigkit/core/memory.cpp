// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "core/memory.h"

#include "annexk.h"
#include "sigkit/sigkit.h"

uint32_t SigkitMallocWith0(void **out, size_t size)
{
    if (out == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    const uint32_t status = SigkitMalloc(out, size);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (*out == nullptr) {
        return SIGKIT_OK;
    }
    const int cleared = memset_s(*out, size, 0, size);
    if (cleared != 0) {
        SigkitFree(*out);
        return static_cast<uint32_t>(cleared);
    }
    return SIGKIT_OK;
}

uint32_t InternalNewBytes(uint8_t **out, size_t size)
{
    void *block = nullptr;
    const uint32_t status = SigkitMalloc(&block, size);
    if (status == SIGKIT_OK) {
        *out = static_cast<uint8_t *>(block);
    }
    return status;
}

uint32_t InternalCopyBytes(uint8_t **out, const uint8_t *data, uint32_t len, uint32_t zeroTail)
{
    const size_t size = static_cast<size_t>(len) + zeroTail;
    uint8_t *copy = nullptr;
    const uint32_t status = InternalNewBytes(&copy, size);
    if (status != SIGKIT_OK) {
        return status;
    }
    int failure = memcpy_s(copy, size, data, len);
    if (failure == 0 && zeroTail != 0) {
        failure = memset_s(copy + len, zeroTail, 0, zeroTail);
    }
    if (failure != 0) {
        SigkitFree(copy);
        return static_cast<uint32_t>(failure);
    }
    *out = copy;
    return SIGKIT_OK;
}
