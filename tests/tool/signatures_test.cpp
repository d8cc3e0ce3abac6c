// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "src/upgrade_sigkit_sdk_callback/contexts.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include "sigkit/sigkit_host.h"
#include "tests/forge/forge.h"
#include "tests/support/recording_platform.h"
#include "tests/support/rsa_keys.h"

namespace
{

using Bytes = std::vector<uint8_t>;
using Texts = std::vector<std::string>;

const char DATA[] = "what is signed";

const forge::Key &Key()
{
    static const forge::Key key = NextRsaKey(2048);
    return key;
}

SigkitBigInt ToNumber(const BIGNUM *number)
{
    SigkitBigInt out = {};
    out.len = static_cast<uint32_t>(BN_bn2bin(number, out.data));
    return out;
}

Bytes SignWith(EVP_PKEY *key, const std::string &data, const EVP_MD *digest = EVP_sha256())
{
    EVP_MD_CTX *const ctx = EVP_MD_CTX_new();
    Bytes signature(static_cast<size_t>(EVP_PKEY_size(key)));
    size_t len = signature.size();
    EXPECT_EQ(1, EVP_DigestSignInit(ctx, nullptr, digest, nullptr, key));
    EXPECT_EQ(1,
              EVP_DigestSign(ctx, signature.data(), &len, reinterpret_cast<const uint8_t *>(data.data()), data.size()));
    EVP_MD_CTX_free(ctx);
    return signature;
}

Bytes Sign(const std::string &data, const EVP_MD *digest = EVP_sha256())
{
    return SignWith(Key().get(), data, digest);
}

// The SHA-256 digest of the data as a key of 2048 bits signs it (RFC 8017, 9.2).
Bytes PaddedDigest(const std::string &data)
{
    const Bytes algorithm = {0x30, 0x31, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01,
                             0x65, 0x03, 0x04, 0x02, 0x01, 0x05, 0x00, 0x04, 0x20};
    Bytes padded(256, 0xFF);
    padded[0] = 0;
    padded[1] = 1;
    uint8_t *const digest = padded.data() + padded.size() - 32;
    EXPECT_EQ(1, EVP_Digest(data.data(), data.size(), digest, nullptr, EVP_sha256(), nullptr));
    std::copy(algorithm.begin(), algorithm.end(), digest - algorithm.size());
    *(digest - algorithm.size() - 1) = 0;
    return padded;
}

struct Signatures : testing::Test {
    SigkitBigInt exponent = ToNumber(RSA_get0_e(EVP_PKEY_get0_RSA(Key().get())));
    SigkitBigInt modulus = ToNumber(RSA_get0_n(EVP_PKEY_get0_RSA(Key().get())));
    uint32_t hash = 43;
    SigkitCryptoCtx *ctx = nullptr;

    void SetUp() override
    {
        ResetRecordingPlatform();
        ASSERT_EQ(0, SigkitCryptoVerifyCreateCtx(&ctx));
    }

    void TearDown() override
    {
        SigkitCryptoVerifyDestroyCtx(ctx);
        EXPECT_EQ(0, g_recordingPlatform.liveBlocks);
    }

    // Checks a signature on a context of its own: 1 or 0, or -1 when the check could not be made.
    int32_t Check(const Bytes &signature, const std::string &data = DATA)
    {
        SigkitCryptoCtx *check = nullptr;
        EXPECT_EQ(0, SigkitCryptoVerifyCreateCtx(&check));
        int32_t verified = 7;
        int32_t status = SigkitCryptoVerifyInit(check, &exponent, &modulus, hash);
        if (status == 0) {
            status = SigkitCryptoVerifyUpdate(check, data.data(), static_cast<uint32_t>(data.size()));
        }
        if (status == 0) {
            status =
                SigkitCryptoVerifyFinal(check, signature.data(), static_cast<uint32_t>(signature.size()), &verified);
        }
        SigkitCryptoVerifyDestroyCtx(check);
        return status == 0 ? verified : status;
    }
};

} // namespace

TEST_F(Signatures, HoldOverTheDataAndNothingElse)
{
    EXPECT_EQ(1, Check(Sign(DATA)));
    EXPECT_EQ(0, Check(Sign(DATA), "what is signee"));
    EXPECT_EQ(0, Check(Sign(DATA), ""));
    Bytes altered = Sign(DATA);
    altered[100] ^= 1;
    EXPECT_EQ(0, Check(altered));
    EXPECT_TRUE(LogTexts().empty()) << "a refusal is no failure";
}

TEST_F(Signatures, HoldWithTheirOwnDigestOnly)
{
    const EVP_MD *const digests[] = {EVP_sha256(), EVP_sha384(), EVP_sha512()};
    for (uint32_t signedWith = 0; signedWith < 3; ++signedWith) {
        for (uint32_t checkedWith = 0; checkedWith < 3; ++checkedWith) {
            hash = 43 + checkedWith;
            EXPECT_EQ(signedWith == checkedWith ? 1 : 0, Check(Sign(DATA, digests[signedWith])));
        }
    }
}

TEST_F(Signatures, ThatLostTheirLeadingZerosGetThemBack)
{
    // One signature in 256 begins with a zero octet.
    for (int i = 0; i < 4096; ++i) {
        const std::string data = std::to_string(i);
        Bytes signature = Sign(data);
        if (signature[0] == 0) {
            signature.erase(signature.begin());
            EXPECT_EQ(1, Check(signature, data)) << "255 octets are taken as 256";
            signature.insert(signature.begin(), 1);
            EXPECT_EQ(0, Check(signature, data));
            return;
        }
    }
    FAIL() << "no signature begins with a zero";
}

TEST_F(Signatures, OfOtherLengthsDoNotHold)
{
    const Bytes signature = Sign(DATA);
    EXPECT_EQ(0, Check({}));
    EXPECT_EQ(0, Check(Bytes(signature.begin(), signature.end() - 1)));
    EXPECT_EQ(0, Check(Bytes(signature.begin() + 1, signature.end())));
    for (const size_t more : {1u, 2u, 3u, 4u}) {
        Bytes longer(more, 0);
        longer.insert(longer.end(), signature.begin(), signature.end());
        EXPECT_EQ(0, Check(longer));
    }
}

TEST_F(Signatures, NullIsRefused)
{
    int32_t verified = 7;
    const Bytes signature = Sign(DATA);
    EXPECT_EQ(-1, SigkitCryptoVerifyCreateCtx(nullptr));
    EXPECT_EQ(-1, SigkitCryptoVerifyInit(nullptr, &exponent, &modulus, 43));
    EXPECT_EQ(-1, SigkitCryptoVerifyInit(ctx, nullptr, &modulus, 43));
    EXPECT_EQ(-1, SigkitCryptoVerifyInit(ctx, &exponent, nullptr, 43));
    EXPECT_EQ(-1, SigkitCryptoVerifyUpdate(nullptr, "a", 1));
    EXPECT_EQ(-1, SigkitCryptoVerifyFinal(nullptr, signature.data(), 256, &verified));
    EXPECT_EQ(-1, SigkitCryptoVerifyFinal(ctx, signature.data(), 256, &verified)) << "no key yet";
    ASSERT_EQ(0, SigkitCryptoVerifyInit(ctx, &exponent, &modulus, 43));
    EXPECT_EQ(-1, SigkitCryptoVerifyFinal(ctx, signature.data(), 256, nullptr));
    EXPECT_EQ(7, verified);
    SigkitCryptoVerifyDestroyCtx(nullptr);
    EXPECT_TRUE(LogTexts().empty());
}

TEST_F(Signatures, WithAnUnknownDigestAreNotChecked)
{
    EXPECT_EQ(-1, SigkitCryptoVerifyInit(ctx, &exponent, &modulus, 36));
    EXPECT_EQ(nullptr, ctx->pkey);
    EXPECT_EQ(Texts{"E 612 SigkitCryptoVerifyInit Failed to get algo handler."}, LogTexts());
    EXPECT_EQ(-1, SigkitCryptoVerifyUpdate(ctx, "a", 1));
    EXPECT_EQ("E 655 SigkitCryptoVerifyUpdate Failed to update signature data.", LogTexts().back());
}

TEST_F(Signatures, UnderABrokenKeyDoNotHold)
{
    const Bytes signature = Sign(DATA);
    const SigkitBigInt goodExponent = exponent;
    const SigkitBigInt goodModulus = modulus;
    for (const uint32_t len : {0u, 1u}) { // empty, and the number one
        exponent = {len, {1}};
        EXPECT_EQ(0, Check(signature)) << "exponent";
        exponent = goodExponent;
        modulus = {len, {1}};
        EXPECT_EQ(0, Check(signature)) << "modulus";
        modulus = goodModulus;
    }
    exponent.data[exponent.len - 1] ^= 1; // even
    EXPECT_EQ(0, Check(signature));
    exponent = goodExponent;
    modulus.data[modulus.len - 1] ^= 1;
    EXPECT_EQ(0, Check(signature));
    modulus = goodModulus;
    modulus.len = 513; // more than the record holds
    EXPECT_EQ(-1, Check(signature));
}

TEST_F(Signatures, OfShortKeysAndOfTheExponentOneHold)
{
    // Of 512 bits, which takes hours to break.
    EVP_PKEY_CTX *const generator = EVP_PKEY_CTX_new_id(EVP_PKEY_RSA, nullptr);
    EVP_PKEY *made = nullptr;
    ASSERT_EQ(1, EVP_PKEY_keygen_init(generator));
    ASSERT_EQ(1, EVP_PKEY_CTX_set_rsa_keygen_bits(generator, 512));
    ASSERT_EQ(1, EVP_PKEY_keygen(generator, &made));
    EVP_PKEY_CTX_free(generator);
    const SigkitBigInt goodExponent = exponent;
    const SigkitBigInt goodModulus = modulus;
    exponent = ToNumber(RSA_get0_e(EVP_PKEY_get0_RSA(made)));
    modulus = ToNumber(RSA_get0_n(EVP_PKEY_get0_RSA(made)));
    EXPECT_EQ(1, Check(SignWith(made, DATA)));
    EVP_PKEY_free(made);

    // With the exponent one a signature is the padded digest itself, which anybody can write (RFC 8017, 9.2).
    exponent = {1, {1}};
    modulus = goodModulus;
    EXPECT_EQ(1, Check(PaddedDigest(DATA)));
    exponent = goodExponent;
    EXPECT_EQ(0, Check(PaddedDigest(DATA)));
}

TEST_F(Signatures, ThatCannotBePaddedAreNotChecked)
{
    ASSERT_EQ(0, SigkitCryptoVerifyInit(ctx, &exponent, &modulus, 43));
    int32_t verified = 7;
    const Bytes signature(255);
    g_recordingPlatform.failAt = g_recordingPlatform.allocations + 1;
    EXPECT_EQ(-1, SigkitCryptoVerifyFinal(ctx, signature.data(), 255, &verified));
    EXPECT_EQ(7, verified);
}
