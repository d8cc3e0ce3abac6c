// Which argument is judged first, and what a fresh context holds.
#include "tests/verify/verify_fixture.h"

namespace
{

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

TEST_F(Parameters, TheContextIsJudgedBeforeTheOtherArguments)
{
    for (const uint32_t status : CallAllWithoutArguments(nullptr)) {
        EXPECT_STATUS(SIGKIT_ERR_CTX_NULL, status);
    }
    ctx->size = 383;
    for (const uint32_t status : CallAllWithoutArguments(ctx)) {
        EXPECT_STATUS(SIGKIT_ERR_CTX_TAG, status);
    }
    EXPECT_TRUE(Lines().empty()) << "nothing is told about a context";
    ctx->size = 384;
    for (const uint32_t status : CallAllWithoutArguments(ctx)) {
        EXPECT_STATUS(SIGKIT_ERR_PARAM, status);
    }
    EXPECT_EQ(7u, Lines().size());
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyAddCrlFile(nullptr, nullptr));
}

TEST_F(Parameters, AContextIsZeroButForItsTagAndItsStore)
{
    SigkitVerifyCtx expected = {};
    expected.size = 384;
    expected.pki = ctx->pki;
    EXPECT_EQ(384u, sizeof(expected));
    EXPECT_EQ(0, memcmp(&expected, ctx, sizeof(expected)));
    EXPECT_EQ(0u, StoredCerts());
    EXPECT_EQ(0u, StoredCrls());
}

TEST_F(Parameters, TheReservedPartOfTheCreationParametersIsNotRead)
{
    SigkitVerifyCreateParam param;
    memset(&param, 0xA5, sizeof(param));
    param.size = 72;
    SigkitVerifyCtx *other = nullptr;
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyCreateCtx(&other, &param));
    EXPECT_EQ(0xA5, param.reserved[63]);
    EXPECT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(other));
}

TEST_F(Parameters, ThirtySevenOctetsOfAMessageAreRefusedSilently)
{
    for (const uint32_t len : {1u, 37u}) {
        const PkgsignBytes message(len, '-');
        EXPECT_STATUS(SIGKIT_ERR_ARMOUR, SigkitVerifyDetachSignatureBegin(ctx, message.data(), len));
    }
    EXPECT_TRUE(Lines().empty());
    const PkgsignBytes message(38, '-');
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

TEST_F(Parameters, AContextIsFreedInTheMiddleOfAVerification)
{
    SigkitVerifyCtx *const outer = ctx;
    SigkitVerifyCreateParam param = {};
    param.size = 72;
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyCreateCtx(&ctx, &param));
    LoadTrust();
    PkgsignMessageRequest direct = MessageRequest("content");
    direct.signedAttributes = false;
    ASSERT_STATUS(SIGKIT_OK, Begin(direct));
    ASSERT_STATUS(SIGKIT_OK, Begin(Pem(PKGSIGN_LABEL_CMS, MakeMessage(MessageRequest("content")))));
    EXPECT_EQ(2, LiveHostObjects()) << "a digest and a signature check";
    EXPECT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(ctx));
    EXPECT_EQ(0, LiveHostObjects());
    ctx = outer;
}

TEST_F(Parameters, ContextsShareNothing)
{
    SigkitVerifyCtx *const outer = ctx;
    SigkitVerifyCreateParam param = {};
    param.size = 72;
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyCreateCtx(&ctx, &param));
    LoadTrust();
    EXPECT_EQ(0u, outer->pki->certs.count);
    EXPECT_STATUS(SIGKIT_OK, Begin(MessageRequest("content")));
    EXPECT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(ctx));
    ctx = outer;
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, Begin(MessageRequest("content"))) << "no trust anchor here";
}
