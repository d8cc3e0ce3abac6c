// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "src/upgrade_sigkit_sdk_callback/digests.h"

#include <gtest/gtest.h>

#include <string.h>

#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "src/upgrade_sigkit_sdk_callback/contexts.h"
#include "tests/support/recording_platform.h"

namespace
{

using Texts = std::vector<std::string>;

class Digests : public testing::Test
{
protected:
    void SetUp() override
    {
        ResetRecordingPlatform();
        ASSERT_EQ(0, SigkitMdCreateCtx(&ctx));
    }

    void TearDown() override
    {
        SigkitMdDestoryCtx(ctx);
        EXPECT_EQ(0, g_recordingPlatform.liveBlocks);
    }

    SigkitMdCtx *ctx = nullptr;
    uint8_t digest[64] = {};
    uint32_t len = 0;
};

std::string Hex(const uint8_t *octets, uint32_t len)
{
    std::string text;
    for (uint32_t i = 0; i < len; ++i) {
        char digits[3] = {};
        (void)snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned>(octets[i]));
        text += digits;
    }
    return text;
}

} // namespace

TEST_F(Digests, AreThoseOfFips180)
{
    const struct {
        uint32_t aoid;
        const char *abc;
    } rows[] = {
        {43, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {44, "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
             "8086072ba1e7cc2358baeca134c825a7"},
        {45, "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
             "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
    };
    for (const auto &row : rows) {
        SigkitMdCtx *md = nullptr;
        ASSERT_EQ(0, SigkitMdCreateCtx(&md));
        EXPECT_EQ(0, SigkitMdInit(md, row.aoid));
        EXPECT_EQ(0, SigkitMdUpdate(md, "a", 1));
        EXPECT_EQ(0, SigkitMdUpdate(md, nullptr, 7));
        EXPECT_EQ(0, SigkitMdUpdate(md, "zz", 0));
        EXPECT_EQ(0, SigkitMdUpdate(md, "bc", 2));
        EXPECT_EQ(0, SigkitMdFinal(md, digest, &len, &len));
        EXPECT_EQ(row.abc, Hex(digest, len));
        SigkitMdDestoryCtx(md);
    }
}

TEST_F(Digests, OtherAlgorithmsAreRefused)
{
    for (const uint32_t aoid : {0u, 42u, 46u, 36u, UINT32_MAX}) {
        ResetRecordingPlatform();
        g_recordingPlatform.liveBlocks = 1; // the context's
        SigkitMdCtx *md = nullptr;
        ASSERT_EQ(0, SigkitMdCreateCtx(&md));
        EXPECT_EQ(-1, SigkitMdInit(md, aoid));
        EXPECT_EQ(Texts{"E 442 SigkitMdInit Failed to get openssl evp handler."}, LogTexts());
        SigkitMdDestoryCtx(md);
        EXPECT_EQ(nullptr, SkvGetOpensslEvpmd(aoid));
    }
}

TEST(OpensslUnint, ReturnsItsArgument)
{
    EXPECT_EQ(77u, SkvOpensslUnint(77));
}

TEST_F(Digests, NullIsRefused)
{
    EXPECT_EQ(static_cast<int32_t>(SIGKIT_ERR_PARAM), SigkitMdCreateCtx(nullptr));
    EXPECT_EQ(-1, SigkitMdInit(nullptr, 43));
    EXPECT_EQ(-1, SigkitMdUpdate(nullptr, "a", 1));
    ASSERT_EQ(0, SigkitMdInit(ctx, 43));
    EXPECT_EQ(-1, SigkitMdFinal(nullptr, digest, &len, &len));
    EXPECT_EQ(-1, SigkitMdFinal(ctx, nullptr, &len, &len));
    EXPECT_EQ(-1, SigkitMdFinal(ctx, digest, nullptr, &len));
    EXPECT_EQ(-1, SigkitMdFinal(ctx, digest, &len, nullptr));
    SigkitMdDestoryCtx(nullptr);
    EXPECT_TRUE(LogTexts().empty());
    EXPECT_EQ(0, SigkitMdFinal(ctx, digest, &len, &len));
}

TEST_F(Digests, AContextThatWasNotStartedFails)
{
    EXPECT_EQ(-1, SigkitMdUpdate(ctx, "a", 1));
    EXPECT_EQ(-1, SigkitMdFinal(ctx, digest, &len, &len));
    EXPECT_EQ((Texts{"E 477 SigkitMdUpdate Failed to update handler.", "E 504 SigkitMdFinal Failed to get final md."}),
              LogTexts());
}

TEST_F(Digests, AContextThatWasStartedInVainFails)
{
    EXPECT_EQ(-1, SigkitMdInit(ctx, 42));
    EXPECT_EQ(-1, SigkitMdUpdate(ctx, "a", 1));
    EXPECT_EQ(-1, SigkitMdFinal(ctx, digest, &len, &len));
    EXPECT_EQ((Texts{"E 442 SigkitMdInit Failed to get openssl evp handler.",
                     "E 477 SigkitMdUpdate Failed to update handler.", "E 504 SigkitMdFinal Failed to get final md."}),
              LogTexts());
}

TEST_F(Digests, TheContextBearsItsSize)
{
    EXPECT_EQ(24u, ctx->size);
    EXPECT_EQ(nullptr, ctx->mdCtx);
    EXPECT_EQ(nullptr, ctx->spare);
}

TEST_F(Digests, WithoutMemoryThereIsNoContext)
{
    SigkitMdCtx *md = nullptr;
    g_recordingPlatform.failAt = g_recordingPlatform.allocations + 1;
    EXPECT_EQ(static_cast<int32_t>(SIGKIT_ERR_NO_MEMORY), SigkitMdCreateCtx(&md));
    EXPECT_EQ(nullptr, md);
    SigkitCryptoCtx *check = nullptr;
    g_recordingPlatform.failAt = g_recordingPlatform.allocations + 1;
    EXPECT_EQ(-1, SigkitCryptoVerifyCreateCtx(&check));
    EXPECT_EQ(nullptr, check);
}
