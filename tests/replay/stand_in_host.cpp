// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/replay/stand_in_host.h"

#include <stdlib.h>
#include <string.h>

#include "qzosax.h"
#include "sigkit/sigkit_host.h"
#include "tests/replay/digest.h"
#include "tests/replay/record_hash.h"

// Octets that were fed, kept until the end.
struct Fed {
    uint8_t *data;
    size_t size;
};

struct SigkitMdCtx {
    uint32_t hashAoid;
    Fed fed;
};

struct SigkitCryptoCtx {
    uint64_t key; // its hash
    Fed fed;
};

StandInHost g_standInHost;

namespace
{

constexpr int32_t FAILURE = -1;

// This program's own memory does not run out.
void *Need(void *block)
{
    if (block == nullptr) {
        abort();
    }
    return block;
}

void Append(Fed *fed, const void *data, uint32_t len)
{
    if (len > 0) {
        fed->data = static_cast<uint8_t *>(Need(realloc(fed->data, fed->size + len)));
        memcpy(fed->data + fed->size, data, len);
        fed->size += len;
    }
}

template <typename Context>
int32_t Create(Context **out)
{
    *out = static_cast<Context *>(Need(calloc(1, sizeof(Context))));
    g_standInHost.digests += 1;
    return 0;
}

template <typename Context>
void Destroy(Context *ctx)
{
    if (ctx != nullptr) {
        g_standInHost.digests -= 1;
        free(ctx->fed.data);
        free(ctx);
    }
}

bool Fails()
{
    g_standInHost.allocations += 1;
    const uint32_t failAt = g_standInHost.failAt;
    return failAt != 0 &&
           (g_standInHost.allocations == failAt || (g_standInHost.staysEmpty && g_standInHost.allocations > failAt));
}

// What stands between leaves the hash of the answers alone.
uint64_t HashOfKey(const SigkitBigInt &exponent, const SigkitBigInt &modulus)
{
    const uint64_t kept = g_hash;
    g_hash = HASH_START;
    HashOctets(exponent.data, exponent.len);
    HashOctets(modulus.data, modulus.len);
    const uint64_t key = g_hash;
    g_hash = kept;
    return key;
}

bool Holds(const SigkitCryptoCtx &ctx, const uint8_t *signature, uint32_t len)
{
    const uint64_t kept = g_hash;
    g_hash = ctx.key;
    HashOctets(ctx.fed.data, ctx.fed.size);
    HashOctets(signature, len);
    const bool isDoubtful = g_hash >> 61 == 0;
    g_hash = kept;
    return !g_standInHost.doubtsAll || !isDoubtful;
}

} // namespace

extern "C" {

// ---- The platform's memory, below the tool's callbacks for memory and strings --------------------------------------

void *qzax_mallocsubstandard(uint32_t /*moduleId*/, size_t size, uint32_t /*flags*/, const char * /*function*/,
                             int /*line*/)
{
    if (Fails()) {
        return nullptr;
    }
    void *const block = Need(malloc(size));
    memset(block, 0xA5, size); // nothing may rely on the content
    g_standInHost.liveBlocks += 1;
    return block;
}

void qzax_freesub(void *block, const char * /*function*/, int /*line*/)
{
    g_standInHost.liveBlocks -= 1;
    free(block);
}

// ---- Files and log -------------------------------------------------------------------------------------------------

void *SigkitFileOpen(const char * /*path*/, const char * /*mode*/)
{
    return nullptr;
}

size_t SigkitFileRead(void * /*buffer*/, size_t /*size*/, void * /*file*/)
{
    return 0;
}

int SigkitFileClose(void * /*file*/)
{
    return FAILURE;
}

size_t SigkitFileGetSize(void * /*file*/)
{
    return 0;
}

// Without the line, which compilers count in two ways where a macro spans several.
void SigkitLogPrint(int level, const char * /*file*/, int /*line*/, const char *function, uint32_t errorCode,
                    const char *message)
{
    HashNumber(static_cast<uint32_t>(level));
    HashText(function);
    HashNumber(errorCode);
    HashText(message);
}

// ---- Digests -------------------------------------------------------------------------------------------------------

int32_t SigkitMdCreateCtx(SigkitMdCtx **out)
{
    return Create(out);
}

int32_t SigkitMdInit(SigkitMdCtx *ctx, uint32_t hashAoid)
{
    uint8_t digest[DIGEST_SIZE_MAX];
    ctx->hashAoid = hashAoid;
    return DigestOf(hashAoid, nullptr, 0, digest) == 0 ? FAILURE : 0;
}

int32_t SigkitMdUpdate(SigkitMdCtx *ctx, const void *data, uint32_t len)
{
    if (data != nullptr) {
        Append(&ctx->fed, data, len);
    }
    return 0;
}

int32_t SigkitMdFinal(SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved)
{
    uint8_t octets[DIGEST_SIZE_MAX];
    *digestLen = DigestOf(ctx->hashAoid, ctx->fed.data, ctx->fed.size, octets);
    memcpy(digest, octets, *digestLen);
    return reserved == nullptr ? FAILURE : 0;
}

void SigkitMdDestoryCtx(SigkitMdCtx *ctx)
{
    Destroy(ctx);
}

// ---- Signatures ----------------------------------------------------------------------------------------------------

int32_t SigkitCryptoVerifyCreateCtx(SigkitCryptoCtx **out)
{
    return Create(out);
}

int32_t SigkitCryptoVerifyInit(SigkitCryptoCtx *ctx, const SigkitBigInt *exponent, const SigkitBigInt *modulus,
                               uint32_t hashAoid)
{
    uint8_t digest[DIGEST_SIZE_MAX];
    ctx->key = HashOfKey(*exponent, *modulus);
    return DigestOf(hashAoid, nullptr, 0, digest) == 0 ? FAILURE : 0;
}

int32_t SigkitCryptoVerifyUpdate(SigkitCryptoCtx *ctx, const void *data, uint32_t len)
{
    Append(&ctx->fed, data, len);
    return 0;
}

int32_t SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified)
{
    g_standInHost.signatures += 1;
    *verified = Holds(*ctx, signature, len) ? 1 : 0;
    return 0;
}

void SigkitCryptoVerifyDestroyCtx(SigkitCryptoCtx *ctx)
{
    Destroy(ctx);
}
}
