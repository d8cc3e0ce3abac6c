// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Contexts, and the arguments that every operation judges before it begins.
#include "core/context.h"

#include "tests/verify/verify_fixture.h"

namespace
{

struct Context : VerifyTest {
    void TearDown() override
    {
        ctx->size = SIGKIT_VERIFY_CTX_SIZE;
        VerifyTest::TearDown();
    }

    // Calls every operation that tests its context with a code, and returns what each says.
    std::vector<uint32_t> CallAll(SigkitVerifyCtx *context)
    {
        const uint8_t data[64] = {};
        SigkitCrlBundle bundle = {};
        SigkitCrlBundle *out = nullptr;
        return {SigkitVerifyAddCert(context, data, 64),
                SigkitVerifyAddCertFile(context, "x"),
                SigkitVerifyAddCrl(context, data, 64),
                SigkitVerifyDetachSignatureBegin(context, data, 64),
                SigkitVerifyDetachSignatureUpdate(context, data, 64),
                SigkitVerifyDetachSignatureFinal(context, &verdict),
                SigkitVerifyDetachSignatureQuick(context, "x", "x", &verdict),
                SigkitDecodeCrl(context, data, 64, &out),
                SigkitDecodeCrlFile(context, "x", &out),
                SigkitCrlCompare(context, &bundle, &bundle, &verdict)};
    }
};

using Parameters = VerifyTest;

// Every operation that tests its context with a code, each with nothing but missing arguments.
std::vector<uint32_t> CallAllWithoutArguments(SigkitVerifyCtx *context)
{
    return {SigkitVerifyAddCert(context, nullptr, 0),
            SigkitVerifyAddCertFile(context, nullptr),
            SigkitVerifyAddCrl(context, nullptr, 0),
            SigkitVerifyDetachSignatureBegin(context, nullptr, 0),
            SigkitVerifyDetachSignatureUpdate(context, nullptr, 0),
            SigkitVerifyDetachSignatureFinal(context, nullptr),
            SigkitVerifyDetachSignatureQuick(context, nullptr, nullptr, nullptr)};
}

} // namespace

TEST_F(Context, IsZeroButForItsTagAndItsStore)
{
    ASSERT_NE(nullptr, ctx->pki);
    SigkitVerifyCtx expected = {};
    expected.size = 384;
    expected.pki = ctx->pki;
    EXPECT_EQ(384u, sizeof(expected));
    EXPECT_EQ(0, memcmp(&expected, ctx, sizeof(expected)));
    EXPECT_EQ(0u, StoredCerts());
    EXPECT_EQ(0u, StoredCrls());
}

TEST_F(Context, IsCreatedWhateverTheReservedPartOfItsParametersHolds)
{
    SigkitVerifyCreateParam param;
    memset(&param, 0xA5, sizeof(param));
    param.size = 72;
    SigkitVerifyCtx *other = nullptr;
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyCreateCtx(&other, &param));
    EXPECT_EQ(0xA5, param.reserved[63]);
    EXPECT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(other));
}

TEST_F(Context, IsCreatedFromItsInitialiserWhichIsTheSizeAndZeros)
{
    const SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    uint64_t expected[9] = {72};
    ASSERT_EQ(sizeof(expected), sizeof(param));
    EXPECT_EQ(0, memcmp(expected, &param, sizeof(param)));
    SigkitVerifyCtx *other = nullptr;
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyCreateCtx(&other, &param));
    EXPECT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(other));
}

TEST_F(Context, IsNotCreatedFromWrongParameters)
{
    SigkitVerifyCtx *other = nullptr;
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyCreateCtx(nullptr, &param));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyCreateCtx(&other, nullptr));
    for (const uint64_t size : {UINT64_C(0), UINT64_C(71), UINT64_C(73), UINT64_C(72) << 32}) {
        param.size = size;
        EXPECT_STATUS(SIGKIT_ERR_CTX_TAG, SigkitVerifyCreateCtx(&other, &param));
    }
    EXPECT_EQ(nullptr, other);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Context, IsNotCreatedWithoutMemory)
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    for (const uint32_t n : {1u, 2u}) {
        SigkitVerifyCtx *other = nullptr;
        ResetRecordingHost();
        FailAllocation(n);
        EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, SigkitVerifyCreateCtx(&other, &param));
        EXPECT_EQ(nullptr, other);
        EXPECT_EQ(Texts{"E SigkitVerifyCreateCtx 88000001 -"}, LineTexts());
    }
}

TEST_F(Context, NullIsRefusedByEveryOperation)
{
    for (const uint32_t status : CallAll(nullptr)) {
        EXPECT_STATUS(SIGKIT_ERR_CTX_NULL, status);
    }
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyAddCrlFile(nullptr, "x"));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVrfCtxFree(nullptr));
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Context, AnotherTagIsRefusedByEveryOperation)
{
    for (const uint64_t size : {UINT64_C(0), UINT64_C(383), UINT64_C(385), (UINT64_C(1) << 32) + 384}) {
        ctx->size = size;
        for (const uint32_t status : CallAll(ctx)) {
            EXPECT_STATUS(SIGKIT_ERR_CTX_TAG, status);
        }
        EXPECT_STATUS(SIGKIT_ERR_CTX_TAG, SigkitVerifyAddCrlFile(ctx, "x"));
        EXPECT_STATUS(SIGKIT_ERR_CTX_TAG, SigkitVerifyAddCrlFile(ctx, nullptr));
    }
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Context, IsFreedWhateverItsTag)
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *other = nullptr;
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyCreateCtx(&other, &param));
    other->size = 0;
    EXPECT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(other));
}

TEST_F(Context, IsFreedInTheMiddleOfAVerification)
{
    SigkitVerifyCtx *const outer = ctx;
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyCreateCtx(&ctx, &param));
    LoadTrust();
    forge::MessageRequest direct = MessageRequest("content");
    direct.signedAttributes = false;
    ASSERT_STATUS(SIGKIT_OK, Begin(direct));
    ASSERT_STATUS(SIGKIT_OK, Begin(Pem(forge::LABEL_CMS, MakeMessage(MessageRequest("content")))));
    EXPECT_EQ(2, LiveHostObjects()) << "a digest and a signature check";
    EXPECT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(ctx));
    EXPECT_EQ(0, LiveHostObjects());
    ctx = outer;
}

TEST_F(Context, SharesNothingWithAnother)
{
    SigkitVerifyCtx *const outer = ctx;
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyCreateCtx(&ctx, &param));
    LoadTrust();
    EXPECT_EQ(0u, outer->pki->certs.count);
    EXPECT_STATUS(SIGKIT_OK, Begin(MessageRequest("content")));
    EXPECT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(ctx));
    ctx = outer;
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, Begin(MessageRequest("content"))) << "no trust anchor here";
}

// ---- Arguments ------------------------------------------------------------------------------------------------------

TEST_F(Context, MissingArgumentsAreLoggedUnderTheNameOfTheirCheck)
{
    const uint8_t data[64] = {};
    const struct {
        uint32_t status;
        const char *line;
    } rows[] = {
        {SigkitVerifyAddCert(ctx, nullptr, 64), "E InternalCheckParamVerifyAddCert 88100001 -"},
        {SigkitVerifyAddCert(ctx, data, 0), "E InternalCheckParamVerifyAddCert 88100001 -"},
        {SigkitVerifyAddCertFile(ctx, nullptr), "E InternalCheckParamVerifyAddCertFile 88100001 -"},
        {SigkitVerifyAddCrl(ctx, nullptr, 64), "E InternalCheckParamVerifyAddCrl 88100001 -"},
        {SigkitVerifyAddCrl(ctx, data, 0), "E InternalCheckParamVerifyAddCrl 88100001 -"},
        {SigkitVerifyDetachSignatureBegin(ctx, nullptr, 64),
         "E InternalCheckParamVerifyDetachSignatureBegin 88100001 -"},
        {SigkitVerifyDetachSignatureBegin(ctx, data, 0), "E InternalCheckParamVerifyDetachSignatureBegin 88100001 -"},
        {SigkitVerifyDetachSignatureUpdate(ctx, nullptr, 64),
         "E InternalCheckParmVerifyDetachSignatureUpdate 88100001 -"},
        {SigkitVerifyDetachSignatureFinal(ctx, nullptr), "E InternalCheckParamVerifyDetachSignatureFinal 88100001 -"},
        {SigkitVerifyDetachSignatureQuick(ctx, nullptr, "x", &verdict),
         "E InternalCheckParamVerifyDetachSignatureQuick 88100001 -"},
        {SigkitVerifyDetachSignatureQuick(ctx, "x", nullptr, &verdict),
         "E InternalCheckParamVerifyDetachSignatureQuick 88100001 -"},
        {SigkitVerifyDetachSignatureQuick(ctx, "x", "x", nullptr),
         "E InternalCheckParamVerifyDetachSignatureQuick 88100001 -"},
    };
    std::vector<std::string> expected;
    for (const auto &row : rows) {
        EXPECT_STATUS(SIGKIT_ERR_PARAM, row.status) << row.line;
        expected.push_back(row.line);
    }
    EXPECT_EQ(expected, LineTexts());
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyAddCrlFile(ctx, nullptr));
    EXPECT_EQ(expected.size(), Lines().size()) << "no line about a missing path of CRLs";
}

TEST_F(Context, ALockedOneTakesNoCrls)
{
    const uint8_t data[64] = {};
    ctx->crlLocked = 1;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyAddCrl(ctx, nullptr, 64)) << "the arguments come first";
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOCKED, SigkitVerifyAddCrl(ctx, data, 64));
    EXPECT_EQ(std::vector<std::string>{"E SigkitVerifyAddCrl 88200101 -"}, LineTexts());
}

TEST_F(Parameters, TheContextIsJudgedBeforeTheOtherArguments)
{
    for (const uint32_t status : CallAllWithoutArguments(nullptr)) {
        EXPECT_STATUS(SIGKIT_ERR_CTX_NULL, status);
    }
    ctx->size = 383;
    for (const uint32_t status : CallAllWithoutArguments(ctx)) {
        EXPECT_STATUS(SIGKIT_ERR_CTX_TAG, status);
    }
    EXPECT_TRUE(Lines().empty()) << "nothing is logged about a context";
    ctx->size = 384;
    for (const uint32_t status : CallAllWithoutArguments(ctx)) {
        EXPECT_STATUS(SIGKIT_ERR_PARAM, status);
    }
    EXPECT_EQ(7u, Lines().size());
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyAddCrlFile(nullptr, nullptr));
}

TEST_F(Parameters, ThirtySevenOctetsOfAMessageAreRefusedSilently)
{
    for (const uint32_t len : {1u, 37u}) {
        const forge::Bytes message(len, '-');
        EXPECT_STATUS(SIGKIT_ERR_ARMOUR, SigkitVerifyDetachSignatureBegin(ctx, message.data(), len));
    }
    EXPECT_TRUE(Lines().empty());
    const forge::Bytes message(38, '-');
    EXPECT_STATUS(SIGKIT_ERR_CMS_DECODE, SigkitVerifyDetachSignatureBegin(ctx, message.data(), 38));
    EXPECT_FALSE(Lines().empty());
}

TEST_F(Parameters, AFinalWithoutAPlaceForItsVerdictEndsNothing)
{
    LoadTrust();
    ASSERT_STATUS(SIGKIT_OK, Begin(MessageRequest("content")));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyDetachSignatureFinal(ctx, nullptr));
    EXPECT_EQ(1u, ctx->handles.count);
    ASSERT_STATUS(SIGKIT_OK, Update("content"));
    EXPECT_STATUS(SIGKIT_OK, Final());
    EXPECT_EQ(1u, verdict);
}

TEST_F(Parameters, AMissingArgumentOfQuickLeavesTheVerdictAlone)
{
    uint32_t untouched = 7;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyDetachSignatureQuick(ctx, nullptr, "x", &untouched));
    EXPECT_EQ(7u, untouched);
    EXPECT_EQ(0u, g_recordingHost.fileOpen.calls);
}
