// Digests and RSA over libcrypto. A public key is written as an RSAPublicKey (RFC 8017, appendix A.1.1) and read back,
// which every version from 1.1.1 on does without a deprecated function.
#include <string.h>

#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/evp.h>

#include <sigkit/sigkit.h>
#include <sigkit/sigkit_host.h>

#include "host.h"

#define MAX_KEY_DER (2 * SIGKIT_MAX_KEY_SIZE + 32)

struct SigkitMdCtx {
    EVP_MD_CTX *digest;
};

struct SigkitCryptoCtx {
    EVP_MD_CTX *digest;
    EVP_PKEY *key;
};

static const EVP_MD *FindDigest(uint32_t hashAoid)
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

// ---- Digests -------------------------------------------------------------------------------------------------------

int32_t SigkitMdCreateCtx(SigkitMdCtx **out)
{
    void *block = NULL;
    const uint32_t status = SigkitMalloc(&block, sizeof(SigkitMdCtx));
    if (status != SIGKIT_OK) {
        return (int32_t)status;
    }
    SigkitMdCtx *const ctx = (SigkitMdCtx *)block;
    ctx->digest = EVP_MD_CTX_new();
    if (ctx->digest == NULL) {
        SigkitFree(ctx);
        return -1;
    }
    *out = ctx;
    ++HostCount()->digests;
    return 0;
}

int32_t SigkitMdInit(SigkitMdCtx *ctx, uint32_t hashAoid)
{
    const EVP_MD *const algorithm = FindDigest(hashAoid);
    return algorithm != NULL && EVP_DigestInit_ex(ctx->digest, algorithm, NULL) == 1 ? 0 : -1;
}

int32_t SigkitMdUpdate(SigkitMdCtx *ctx, const void *data, uint32_t len)
{
    if (data == NULL || len == 0) {
        return 0;
    }
    return EVP_DigestUpdate(ctx->digest, data, len) == 1 ? 0 : -1;
}

int32_t SigkitMdFinal(SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved)
{
    unsigned int written = 0;
    if (reserved == NULL || EVP_DigestFinal_ex(ctx->digest, digest, &written) != 1) {
        return -1;
    }
    *digestLen = written;
    return 0;
}

void SigkitMdDestoryCtx(SigkitMdCtx *ctx)
{
    if (ctx != NULL) {
        EVP_MD_CTX_free(ctx->digest);
        SigkitFree(ctx);
    }
}

// ---- Signatures ----------------------------------------------------------------------------------------------------

int32_t SigkitCryptoVerifyCreateCtx(SigkitCryptoCtx **out)
{
    void *block = NULL;
    if (SigkitMalloc(&block, sizeof(SigkitCryptoCtx)) != SIGKIT_OK) {
        return -1;
    }
    SigkitCryptoCtx *const ctx = (SigkitCryptoCtx *)block;
    ctx->digest = NULL;
    ctx->key = NULL;
    *out = ctx;
    ++HostCount()->signatures;
    return 0;
}

// The DER INTEGER of a number into `out`, which may be null: then only its length is returned. -1 on failure.
static int WriteInteger(const SigkitBigInt *number, unsigned char **out)
{
    BIGNUM *const value = BN_bin2bn(number->data, (int)number->len, NULL);
    ASN1_INTEGER *const integer = value == NULL ? NULL : BN_to_ASN1_INTEGER(value, NULL);
    const int length = integer == NULL ? -1 : i2d_ASN1_INTEGER(integer, out);
    ASN1_INTEGER_free(integer);
    BN_free(value);
    return length;
}

static EVP_PKEY *ReadKey(const SigkitBigInt *exponent, const SigkitBigInt *modulus)
{
    unsigned char der[MAX_KEY_DER];
    unsigned char *end = der;
    const int modulusLength = WriteInteger(modulus, NULL);
    const int exponentLength = WriteInteger(exponent, NULL);
    if (modulusLength < 0 || exponentLength < 0) {
        return NULL;
    }
    ASN1_put_object(&end, 1, modulusLength + exponentLength, V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL);
    if (WriteInteger(modulus, &end) < 0 || WriteInteger(exponent, &end) < 0) {
        return NULL;
    }
    const unsigned char *start = der;
    return d2i_PublicKey(EVP_PKEY_RSA, NULL, &start, (long)(end - der));
}

int32_t SigkitCryptoVerifyInit(SigkitCryptoCtx *ctx, const SigkitBigInt *exponent, const SigkitBigInt *modulus,
                               uint32_t hashAoid)
{
    const EVP_MD *const algorithm = FindDigest(hashAoid);
    ctx->key = ReadKey(exponent, modulus);
    ctx->digest = EVP_MD_CTX_new();
    if (algorithm == NULL || ctx->key == NULL || ctx->digest == NULL) {
        return -1;
    }
    return EVP_DigestVerifyInit(ctx->digest, NULL, algorithm, NULL, ctx->key) == 1 ? 0 : -1;
}

int32_t SigkitCryptoVerifyUpdate(SigkitCryptoCtx *ctx, const void *data, uint32_t len)
{
    return EVP_DigestVerifyUpdate(ctx->digest, data, len) == 1 ? 0 : -1;
}

int32_t SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified)
{
    *verified = EVP_DigestVerifyFinal(ctx->digest, signature, len) == 1 ? 1 : 0;
    return 0;
}

void SigkitCryptoVerifyDestroyCtx(SigkitCryptoCtx *ctx)
{
    if (ctx != NULL) {
        EVP_MD_CTX_free(ctx->digest);
        EVP_PKEY_free(ctx->key);
        SigkitFree(ctx);
    }
}
