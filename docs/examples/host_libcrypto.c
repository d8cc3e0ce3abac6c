// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Digests and RSA signatures over libcrypto, from version 1.1.1 on.
#include "host_libcrypto.h"

#include <stdlib.h>

#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include "sigkit/sigkit_host.h"

enum { FAILURE = -1 };

struct SigkitMdCtx {
    EVP_MD_CTX *md;
};

struct SigkitCryptoCtx {
    EVP_MD_CTX *md;
    EVP_PKEY *key;
};

static const EVP_MD *Digest(uint32_t hashAoid)
{
    switch (hashAoid) {
    case 43:
        return EVP_sha256();
    case 44:
        return EVP_sha384();
    case 45:
        return EVP_sha512();
    default:
        return NULL;
    }
}

void HostStartLibcrypto(void)
{
    (void)OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, NULL);
}

// ---- Digests -------------------------------------------------------------------------------------------------------

int32_t SigkitMdCreateCtx(SigkitMdCtx **out)
{
    SigkitMdCtx *const ctx = (SigkitMdCtx *)calloc(1, sizeof *ctx);
    if (ctx == NULL) {
        return FAILURE;
    }
    ctx->md = EVP_MD_CTX_new();
    if (ctx->md == NULL) {
        free(ctx);
        return FAILURE;
    }
    *out = ctx;
    return 0;
}

int32_t SigkitMdInit(SigkitMdCtx *ctx, uint32_t hashAoid)
{
    const EVP_MD *const digest = Digest(hashAoid);
    return digest != NULL && EVP_DigestInit_ex(ctx->md, digest, NULL) == 1 ? 0 : FAILURE;
}

int32_t SigkitMdUpdate(SigkitMdCtx *ctx, const void *data, uint32_t len)
{
    if (data == NULL || len == 0) {
        return 0;
    }
    return EVP_DigestUpdate(ctx->md, data, len) == 1 ? 0 : FAILURE;
}

int32_t SigkitMdFinal(SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved)
{
    if (reserved == NULL) {
        return FAILURE;
    }
    unsigned int len = 0;
    if (EVP_DigestFinal_ex(ctx->md, digest, &len) != 1) {
        return FAILURE;
    }
    *digestLen = len;
    return 0;
}

void SigkitMdDestoryCtx(SigkitMdCtx *ctx)
{
    if (ctx != NULL) {
        EVP_MD_CTX_free(ctx->md);
        free(ctx);
    }
}

// ---- Signatures ----------------------------------------------------------------------------------------------------

static EVP_PKEY *PublicKey(const SigkitBigInt *exponent, const SigkitBigInt *modulus)
{
    RSA *const rsa = RSA_new();
    BIGNUM *const e = BN_bin2bn(exponent->data, (int)exponent->len, NULL);
    BIGNUM *const n = BN_bin2bn(modulus->data, (int)modulus->len, NULL);
    EVP_PKEY *const key = EVP_PKEY_new();
    if (rsa == NULL || e == NULL || n == NULL || key == NULL || RSA_set0_key(rsa, n, e, NULL) != 1) {
        BN_free(e);
        BN_free(n);
        RSA_free(rsa);
        EVP_PKEY_free(key);
        return NULL;
    }
    if (EVP_PKEY_assign_RSA(key, rsa) != 1) { // the numbers are the RSA's by now
        RSA_free(rsa);
        EVP_PKEY_free(key);
        return NULL;
    }
    return key;
}

int32_t SigkitCryptoVerifyCreateCtx(SigkitCryptoCtx **out)
{
    SigkitCryptoCtx *const ctx = (SigkitCryptoCtx *)calloc(1, sizeof *ctx);
    if (ctx == NULL) {
        return FAILURE;
    }
    *out = ctx;
    return 0;
}

int32_t SigkitCryptoVerifyInit(SigkitCryptoCtx *ctx, const SigkitBigInt *exponent, const SigkitBigInt *modulus,
                               uint32_t hashAoid)
{
    const EVP_MD *const digest = Digest(hashAoid);
    ctx->key = PublicKey(exponent, modulus);
    ctx->md = EVP_MD_CTX_new();
    if (digest == NULL || ctx->key == NULL || ctx->md == NULL) {
        return FAILURE;
    }
    return EVP_DigestVerifyInit(ctx->md, NULL, digest, NULL, ctx->key) == 1 ? 0 : FAILURE;
}

int32_t SigkitCryptoVerifyUpdate(SigkitCryptoCtx *ctx, const void *data, uint32_t len)
{
    return EVP_DigestVerifyUpdate(ctx->md, data, len) == 1 ? 0 : FAILURE;
}

int32_t SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified)
{
    // Only 1 says that it holds; 0 and every negative result do not.
    *verified = EVP_DigestVerifyFinal(ctx->md, signature, len) == 1 ? 1 : 0;
    return 0;
}

void SigkitCryptoVerifyDestroyCtx(SigkitCryptoCtx *ctx)
{
    if (ctx != NULL) {
        EVP_MD_CTX_free(ctx->md);
        EVP_PKEY_free(ctx->key);
        free(ctx);
    }
}
