// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The host callbacks for signatures, RSA over libcrypto.
//
// The RSA calls with which a public key is put together are deprecated since OpenSSL 3.0 but are there in every version
// from 1.1.1 on; the build asks for the interface of 1.1.1 (OPENSSL_API_COMPAT). Their results are checked, so that a
// libcrypto without memory or without an algorithm refuses a signature and never crashes the tool.
#include <limits.h>

#include <openssl/bn.h>
#include <openssl/opensslv.h>
#include <openssl/rsa.h>

#include "annexk.h"
#include "qzlog.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "src/module.h"
#include "src/upgrade_sigkit_sdk_callback/callback.h"
#include "src/upgrade_sigkit_sdk_callback/contexts.h"
#include "src/upgrade_sigkit_sdk_callback/digests.h"

namespace
{

// Line numbers by which the log knows the events.
constexpr int LINE_VERIFY_NO_DIGEST = 612;
constexpr int LINE_VERIFY_INIT_FAILED = 626;
constexpr int LINE_VERIFY_UPDATE_FAILED = 655;

// A signature goes to libcrypto at a length that is a multiple of this. Octets.
constexpr uint64_t SIGNATURE_UNIT = 4;

// Null for a record that claims more octets than it has, or without memory.
BIGNUM *MakeNumber(const SigkitBigInt *number)
{
    if (number->len > sizeof(number->data)) {
        return nullptr;
    }
    return BN_bin2bn(number->data, static_cast<int>(number->len), nullptr);
}

// Makes the public key (modulus, exponent) of RFC 8017, section 3.1. Null without memory; the caller frees it.
RSA *MakeRsa(const SigkitBigInt *exponent, const SigkitBigInt *modulus)
{
    RSA *const rsa = RSA_new();
    BIGNUM *const n = MakeNumber(modulus);
    BIGNUM *const e = MakeNumber(exponent);
    if (rsa == nullptr || n == nullptr || e == nullptr || RSA_set0_key(rsa, n, e, nullptr) != 1) {
        BN_free(e); // the key owns them only after a success
        BN_free(n);
        RSA_free(rsa);
        return nullptr;
    }
    return rsa;
}

EVP_PKEY *MakeKey(const SigkitBigInt *exponent, const SigkitBigInt *modulus)
{
    EVP_PKEY *const key = EVP_PKEY_new();
    if (key == nullptr) {
        return nullptr;
    }
#if OPENSSL_VERSION_NUMBER < 0x30000000L
    // libcrypto refuses this for a key without a type yet; the assignment below gives it its type either way.
    (void)EVP_PKEY_set_alias_type(key, EVP_PKEY_type(EVP_PKEY_RSA));
#endif
    RSA *const rsa = MakeRsa(exponent, modulus);
    if (rsa == nullptr || EVP_PKEY_assign(key, EVP_PKEY_RSA, rsa) != 1) {
        RSA_free(rsa); // the key owns it only after a success
        EVP_PKEY_free(key);
        return nullptr;
    }
    return key;
}

int32_t DropKey(SigkitCryptoCtx *ctx)
{
    EVP_PKEY_free(ctx->pkey);
    ctx->pkey = nullptr;
    return FAILURE;
}

// Checks a signature whose length is no multiple of the unit: with leading zero octets up to the next one. A signature
// is a number (RFC 8017, section 8.2.2), so they do not change it, and one that was stored without its leading zeros
// gets back the length of the modulus, which libcrypto insists on.
//
// Returns 0 with libcrypto's result, or -1 when there is no memory for the padded signature.
int32_t VerifyPadded(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, uint64_t padded, int *result)
{
    if (padded > UINT_MAX) { // libcrypto counts in an unsigned int
        return FAILURE;
    }
    const unsigned int size = static_cast<unsigned int>(padded);
    void *block = nullptr;
    if (SigkitMalloc(&block, size) != SIGKIT_OK) {
        return FAILURE;
    }
    uint8_t *const buffer = static_cast<uint8_t *>(block);
    (void)memset_s(buffer, size, 0, size);
    (void)memcpy_s(buffer + (size - len), len, signature, len);
    *result = EVP_VerifyFinal(ctx->mdCtx, buffer, size, ctx->pkey);
    SigkitFree(buffer);
    return 0;
}

} // namespace

int32_t SigkitCryptoVerifyCreateCtx(SigkitCryptoCtx **out)
{
    void *block = nullptr;
    if (out == nullptr || SigkitMalloc(&block, CONTEXT_SIZE) != SIGKIT_OK) {
        return FAILURE;
    }
    (void)memset_s(block, CONTEXT_SIZE, 0, CONTEXT_SIZE);
    SigkitCryptoCtx *const ctx = static_cast<SigkitCryptoCtx *>(block);
    *ctx = {CONTEXT_SIZE, nullptr, nullptr}; // whatever became of the zeroing: the pointers are freed with the record
    *out = ctx;
    return 0;
}

int32_t SigkitCryptoVerifyInit(SigkitCryptoCtx *ctx, const SigkitBigInt *exponent, const SigkitBigInt *modulus,
                               uint32_t hashAoid)
{
    if (ctx == nullptr || exponent == nullptr || modulus == nullptr) {
        return FAILURE;
    }
    ctx->pkey = MakeKey(exponent, modulus);
    if (ctx->pkey == nullptr) {
        return FAILURE;
    }
    const EVP_MD *const digest = SkvGetOpensslEvpmd(hashAoid);
    if (digest == nullptr) {
        LOG_EVENT(QZLOG_ERROR, LINE_VERIFY_NO_DIGEST, "Failed to get algo handler.");
        return DropKey(ctx);
    }
    ctx->mdCtx = EVP_MD_CTX_new();
    if (!StartDigest(ctx->mdCtx, digest)) {
        LOG_EVENT(QZLOG_ERROR, LINE_VERIFY_INIT_FAILED, "Failed to bind algo handler to ctx.");
        return DropKey(ctx);
    }
    return 0;
}

int32_t SigkitCryptoVerifyUpdate(SigkitCryptoCtx *ctx, const void *data, uint32_t len)
{
    if (ctx == nullptr) {
        return FAILURE;
    }
    if (!FeedDigest(ctx->mdCtx, data, len)) {
        LOG_EVENT(QZLOG_ERROR, LINE_VERIFY_UPDATE_FAILED, "Failed to update signature data.");
        return FAILURE;
    }
    return 0;
}

int32_t SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified)
{
    if (ctx == nullptr || ctx->pkey == nullptr || verified == nullptr) {
        return FAILURE;
    }
    const uint64_t length = len; // wider than `len`, so that rounding up cannot wrap
    const uint64_t padded = (length + SIGNATURE_UNIT - 1) / SIGNATURE_UNIT * SIGNATURE_UNIT;
    int result = 0;
    if (padded == length) {
        result = EVP_VerifyFinal(ctx->mdCtx, signature, len, ctx->pkey);
    } else if (VerifyPadded(ctx, signature, len, padded, &result) != 0) {
        return FAILURE;
    }
    *verified = result == 1 ? 1 : 0;
    return 0;
}

void SigkitCryptoVerifyDestroyCtx(SigkitCryptoCtx *ctx)
{
    if (ctx != nullptr) {
        EVP_MD_CTX_free(ctx->mdCtx);
        EVP_PKEY_free(ctx->pkey);
        SigkitFree(ctx);
    }
}
