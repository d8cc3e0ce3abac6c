// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The host callbacks for memory, over the platform's, and for comparing and searching, over the C library.
#include <string.h>

#include "qzosax.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "src/module.h"
#include "src/upgrade_sigkit_sdk_callback/callback.h"

namespace
{

// Line numbers by which the memory service knows the blocks.
constexpr int LINE_MALLOC = 52;
constexpr int LINE_FREE = 72;

} // namespace

uint32_t SigkitMalloc(void **out, size_t size)
{
    if (out == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    *out = nullptr;
    if (size == 0) {
        return SIGKIT_OK;
    }
    void *const block = qzax_mallocsubstandard(MODULE_ID, size, 0, __func__, LINE_MALLOC);
    if (block == nullptr) {
        return SIGKIT_ERR_NO_MEMORY;
    }
    *out = block;
    return SIGKIT_OK;
}

void SigkitFree(void *block)
{
    if (block != nullptr) {
        qzax_freesub(block, __func__, LINE_FREE);
    }
}

int SigkitMemCmp(const void *a, const void *b, size_t n)
{
    return a == nullptr || b == nullptr ? FAILURE : memcmp(a, b, n);
}

int SigkitStrNCmp(const char *a, const char *b, size_t n)
{
    return a == nullptr || b == nullptr ? FAILURE : strncmp(a, b, n);
}

int SigkitStrCmp(const char *a, const char *b)
{
    if (a == nullptr || b == nullptr) {
        return FAILURE;
    }
    if (a == b) {
        return 0;
    }
    const uint32_t length = SigkitStrlen(a);
    return length == SigkitStrlen(b) ? strncmp(a, b, length) : FAILURE;
}

const char *SigkitStrStr(const char *haystack, const char *needle)
{
    return haystack == nullptr || needle == nullptr ? nullptr : strstr(haystack, needle);
}

const char *SigkitStrChr(const char *text, int character)
{
    return text == nullptr ? nullptr : strchr(text, static_cast<unsigned char>(character));
}

uint32_t SigkitStrlen(const char *text)
{
    return text == nullptr ? 0 : static_cast<uint32_t>(strlen(text));
}
