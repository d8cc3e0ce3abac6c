// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/support/pretended_host.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"

struct SigkitCryptoCtx {
    uint8_t key = 0;
};

PretendedHost g_pretendedHost;

extern "C" {

uint32_t SigkitMalloc(void **out, size_t size)
{
    g_pretendedHost.allocations += 1;
    const bool fails = g_pretendedHost.allocations == g_pretendedHost.failAt;
    *out = size == 0 || fails ? nullptr : malloc(size);
    g_pretendedHost.liveBlocks += *out == nullptr ? 0 : 1;
    return fails ? SIGKIT_ERR_NO_MEMORY : SIGKIT_OK;
}

void SigkitFree(void *block)
{
    g_pretendedHost.liveBlocks -= block == nullptr ? 0 : 1;
    free(block);
}

int SigkitMemCmp(const void *a, const void *b, size_t n)
{
    return a == nullptr || b == nullptr ? -1 : memcmp(a, b, n);
}

int SigkitStrNCmp(const char *a, const char *b, size_t n)
{
    return a == nullptr || b == nullptr ? -1 : strncmp(a, b, n);
}

int SigkitStrCmp(const char *a, const char *b)
{
    return a == nullptr || b == nullptr ? -1 : strcmp(a, b);
}

const char *SigkitStrStr(const char *haystack, const char *needle)
{
    return haystack == nullptr || needle == nullptr ? nullptr : strstr(haystack, needle);
}

const char *SigkitStrChr(const char *text, int character)
{
    return text == nullptr ? nullptr : strchr(text, character);
}

uint32_t SigkitStrlen(const char *text)
{
    return text == nullptr ? 0 : static_cast<uint32_t>(strlen(text));
}

void *SigkitFileOpen(const char *, const char *)
{
    return nullptr;
}

size_t SigkitFileRead(void *, size_t, void *)
{
    return 0;
}

int SigkitFileClose(void *)
{
    return -1;
}

size_t SigkitFileGetSize(void *)
{
    return 0;
}

void SigkitLogPrint(int level, const char *file, int line, const char *function, uint32_t errorCode,
                    const char *message)
{
    char code[32] = {};
    if (errorCode != 0) {
        (void)snprintf(code, sizeof(code), "(err:%x)", errorCode);
    }
    const int octets = snprintf(nullptr, 0, "%s%s(%d):(%s):%s%s\r\n", level == 0 ? "[ERROR]" : "[WARNING]", file, line,
                                function, message == nullptr ? "(null)" : message, code);
    g_pretendedHost.printedOctets += static_cast<uint64_t>(octets);
    if (!g_pretendedHost.keepsLines) {
        return;
    }
    (void)snprintf(code, sizeof(code), " %x ", errorCode);
    g_pretendedHost.lines.push_back((level == 0 ? "E " : "W ") + std::string(function) + code +
                                    (message == nullptr || message[0] == '\0' ? "-" : message));
}

int32_t SigkitMdCreateCtx(SigkitMdCtx **)
{
    return -1;
}

int32_t SigkitMdInit(SigkitMdCtx *, uint32_t)
{
    return -1;
}

int32_t SigkitMdUpdate(SigkitMdCtx *, const void *, uint32_t)
{
    return -1;
}

int32_t SigkitMdFinal(SigkitMdCtx *, uint8_t *, uint32_t *, void *)
{
    return -1;
}

void SigkitMdDestoryCtx(SigkitMdCtx *)
{
}

int32_t SigkitCryptoVerifyCreateCtx(SigkitCryptoCtx **out)
{
    *out = new SigkitCryptoCtx;
    return 0;
}

int32_t SigkitCryptoVerifyInit(SigkitCryptoCtx *ctx, const SigkitBigInt *, const SigkitBigInt *modulus, uint32_t)
{
    if (modulus->len == 0) {
        return -1;
    }
    ctx->key = modulus->data[modulus->len - 1];
    return 0;
}

int32_t SigkitCryptoVerifyUpdate(SigkitCryptoCtx *, const void *, uint32_t)
{
    return 0;
}

int32_t SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified)
{
    g_pretendedHost.signatureChecks += 1;
    if (g_pretendedHost.signatureChecks == g_pretendedHost.checkFailAt) {
        return -1;
    }
    *verified = len != 0 && signature[0] == ctx->key ? 1 : 0;
    return 0;
}

void SigkitCryptoVerifyDestroyCtx(SigkitCryptoCtx *ctx)
{
    delete ctx;
}

} // extern "C"
