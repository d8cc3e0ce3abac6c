// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The package check, over library operations of the test's own: which are called, in what order, with what, and what
// becomes of their results.
#include "src/upgrade_sigkit_handle.h"

#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sigkit/sigkit.h"
#include "src/trust_anchor.h"
#include "src/verify_frame_main.h"
#include "tests/support/recording_platform.h"

// The context of the fake library.
struct SigkitVerifyCtx {
    int blocksAtRelease = -1; // blocks alive when the context was freed
};

uint8_t g_rootCert0[ROOT_CERT_FIRST_SIZE];
extern const uint8_t g_rootCert1[ROOT_CERT_SECOND_SIZE] = {0x5A, 0x01, 0x02};

namespace
{

struct FakeLibrary {
    uint32_t createStatus = SIGKIT_OK;
    uint32_t addCertStatus = SIGKIT_OK;
    uint32_t addCrlStatus = SIGKIT_OK;
    uint32_t quickStatus = SIGKIT_OK;
    uint32_t verdict = 1;
    SigkitVerifyCtx ctx;
    std::vector<std::string> calls;
    SigkitVerifyCreateParam createParam = {};
    std::vector<uint8_t> cert;
    const uint8_t *certBlock = nullptr;
};
FakeLibrary g_library;

using Texts = std::vector<std::string>;

const Texts CALLS_TO_CREATE = {"create"};
const Texts CALLS_TO_CERT = {"create", "add certificate", "free"};
const Texts CALLS_TO_CRL = {"create", "add certificate", "add CRLs a.crl", "free"};
const Texts CALLS_TO_END = {"create", "add certificate", "add CRLs a.crl", "verify a.sum with a.cms", "free"};

class PackageCheck : public testing::Test
{
protected:
    void SetUp() override
    {
        ResetRecordingPlatform();
        g_recordingPlatform.recordMemory = true;
        g_library = FakeLibrary();
        std::fill(std::begin(g_rootCert0), std::end(g_rootCert0), uint8_t{0x30});
    }

    void TearDown() override
    {
        EXPECT_EQ(0, g_recordingPlatform.liveBlocks);
        for (const RecordedLog &log : g_recordingPlatform.logs) {
            EXPECT_EQ(1014u, log.moduleId);
            EXPECT_EQ("upgrade_sigkit_handle", log.file);
            EXPECT_EQ(0, log.reserved);
        }
    }

    // The certificate was alive when the context was freed, and was then released by the clean-up step.
    static void ExpectContextFreedBeforeCertificate()
    {
        EXPECT_EQ(1, g_library.ctx.blocksAtRelease);
        ASSERT_EQ(1u, g_recordingPlatform.releaseCalls.size());
        EXPECT_EQ(g_library.certBlock, g_recordingPlatform.releaseCalls[0].block);
        EXPECT_EQ("VerifyProcessPostHandle", g_recordingPlatform.releaseCalls[0].function);
        EXPECT_EQ(128, g_recordingPlatform.releaseCalls[0].line);
    }
};

uint32_t Verify()
{
    return VerifyCmsFile("a.cms", "a.sum", "a.crl");
}

} // namespace

uint32_t SigkitVerifyCreateCtx(SigkitVerifyCtx **ctx, const SigkitVerifyCreateParam *param)
{
    g_library.calls.push_back("create");
    g_library.createParam = *param;
    if (g_library.createStatus == SIGKIT_OK) {
        *ctx = &g_library.ctx;
    }
    return g_library.createStatus;
}

uint32_t SigkitVerifyAddCert(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len)
{
    EXPECT_EQ(&g_library.ctx, ctx);
    g_library.calls.push_back("add certificate");
    g_library.certBlock = data;
    g_library.cert.assign(data, data + len);
    return g_library.addCertStatus;
}

uint32_t SigkitVerifyAddCrlFile(SigkitVerifyCtx *ctx, const char *path)
{
    EXPECT_EQ(&g_library.ctx, ctx);
    g_library.calls.push_back("add CRLs " + std::string(path));
    return g_library.addCrlStatus;
}

uint32_t SigkitVerifyDetachSignatureQuick(SigkitVerifyCtx *ctx, const char *contentPath, const char *signaturePath,
                                          uint32_t *verdict)
{
    EXPECT_EQ(&g_library.ctx, ctx);
    EXPECT_EQ(0u, *verdict) << "refused until the library accepts";
    g_library.calls.push_back("verify " + std::string(contentPath) + " with " + signaturePath);
    *verdict = g_library.verdict;
    return g_library.quickStatus;
}

uint32_t SigkitVrfCtxFree(SigkitVerifyCtx *ctx)
{
    EXPECT_EQ(&g_library.ctx, ctx);
    g_library.calls.push_back("free");
    ctx->blocksAtRelease = g_recordingPlatform.liveBlocks;
    return SIGKIT_OK;
}

TEST_F(PackageCheck, AnAuthenticPackageGivesZero)
{
    EXPECT_EQ(0u, Verify());
    EXPECT_EQ(CALLS_TO_END, g_library.calls);
    EXPECT_EQ(Texts{"I 183 VerifyCmsFile CheckSum file is valid."}, LogTexts());
    ExpectContextFreedBeforeCertificate();
}

TEST_F(PackageCheck, TheContextIsCreatedWithItsSizeAndZeros)
{
    EXPECT_EQ(0u, Verify());
    SigkitVerifyCreateParam expected = {};
    expected.size = 72;
    EXPECT_EQ(0, memcmp(&expected, &g_library.createParam, sizeof(expected)));
}

TEST_F(PackageCheck, TheRootCertificateIsJoinedFromItsTwoPieces)
{
    for (size_t i = 0; i < ROOT_CERT_FIRST_SIZE; ++i) {
        g_rootCert0[i] = static_cast<uint8_t>(i * 7);
    }
    EXPECT_EQ(0u, Verify());
    ASSERT_EQ(1363u, g_library.cert.size());
    EXPECT_EQ(0, memcmp(g_rootCert0, g_library.cert.data(), 1232));
    EXPECT_EQ(0, memcmp(g_rootCert1, g_library.cert.data() + 1232, 131));
}

TEST_F(PackageCheck, TheRootCertificateIsAllocatedByThePlatform)
{
    EXPECT_EQ(0u, Verify());
    ASSERT_EQ(1u, g_recordingPlatform.allocationCalls.size());
    const RecordedAllocation &call = g_recordingPlatform.allocationCalls[0];
    EXPECT_EQ(1014u, call.moduleId);
    EXPECT_EQ(1363u, call.size);
    EXPECT_EQ(0u, call.flags);
    EXPECT_EQ("GenerateRootCert", call.function);
    EXPECT_EQ(108, call.line);
}

TEST_F(PackageCheck, AMissingRecordIsRefused)
{
    EXPECT_EQ(-1, UPGRADE_CheckPkgIntegrity(nullptr));
    EXPECT_EQ(Texts{"E 192 UPGRADE_CheckPkgIntegrity Parameter is NULL."}, LogTexts());
    EXPECT_TRUE(g_library.calls.empty());
}

TEST_F(PackageCheck, TheRecordsPathsAreUsed)
{
    VerifyParam param = {"CHECK_PKG_INTEGRITY", "a.cms", "a.sum", "a.crl", "not read"};
    EXPECT_EQ(0, UPGRADE_CheckPkgIntegrity(&param));
    EXPECT_EQ(CALLS_TO_END, g_library.calls);
}

TEST_F(PackageCheck, TheLibrarysCodeIsTheOperationsStatus)
{
    g_library.quickStatus = SIGKIT_ERR_SIGNATURE;
    VerifyParam param = {"CHECK_PKG_INTEGRITY", "a.cms", "a.sum", "a.crl", ""};
    EXPECT_EQ(static_cast<int>(SIGKIT_ERR_SIGNATURE), UPGRADE_CheckPkgIntegrity(&param));
}

TEST_F(PackageCheck, ANullPathIsRefused)
{
    EXPECT_EQ(0x88100001u, VerifyCmsFile(nullptr, "a.sum", "a.crl"));
    EXPECT_EQ(0x88100001u, VerifyCmsFile("a.cms", nullptr, "a.crl"));
    EXPECT_EQ(0x88100001u, VerifyCmsFile("a.cms", "a.sum", nullptr));
    EXPECT_EQ(Texts(3, "E 143 VerifyCmsFile Params are invalid."), LogTexts());
    EXPECT_TRUE(g_library.calls.empty());
}

TEST_F(PackageCheck, EmptyPathsAreLeftToTheLibrary)
{
    EXPECT_EQ(0u, VerifyCmsFile("", "", ""));
    EXPECT_EQ((Texts{"create", "add certificate", "add CRLs ", "verify  with ", "free"}), g_library.calls);
}

TEST_F(PackageCheck, AContextThatIsNotCreatedEndsIt)
{
    g_library.createStatus = SIGKIT_ERR_NO_MEMORY;
    EXPECT_EQ(SIGKIT_ERR_NO_MEMORY, Verify());
    EXPECT_EQ(CALLS_TO_CREATE, g_library.calls);
    EXPECT_EQ(0u, g_recordingPlatform.allocations);
    EXPECT_EQ(Texts{"E 151 VerifyCmsFile Create verify context failed."}, LogTexts());
}

TEST_F(PackageCheck, WithoutMemoryForTheRootTheContextIsFreed)
{
    g_recordingPlatform.failAt = 1;
    EXPECT_EQ(0x88000001u, Verify());
    EXPECT_EQ((Texts{"create", "free"}), g_library.calls);
    EXPECT_EQ((Texts{"E 110 GenerateRootCert Initialize root certificate failed.",
                     "E 157 VerifyCmsFile Combine root certificate failed."}),
              LogTexts());
    EXPECT_TRUE(g_recordingPlatform.releaseCalls.empty());
}

TEST_F(PackageCheck, ARootThatIsNotAcceptedEndsIt)
{
    g_library.addCertStatus = SIGKIT_ERR_ASN_TAG;
    EXPECT_EQ(SIGKIT_ERR_ASN_TAG, Verify());
    EXPECT_EQ(CALLS_TO_CERT, g_library.calls);
    EXPECT_EQ(Texts{"E 163 VerifyCmsFile Add root certificate failed."}, LogTexts());
    ExpectContextFreedBeforeCertificate();
}

TEST_F(PackageCheck, ACrlFileThatIsNotLoadedEndsIt)
{
    g_library.addCrlStatus = SIGKIT_ERR_FILE_OPEN;
    EXPECT_EQ(SIGKIT_ERR_FILE_OPEN, Verify());
    EXPECT_EQ(CALLS_TO_CRL, g_library.calls);
    EXPECT_EQ(Texts{"E 169 VerifyCmsFile Add CRL file a.crl failed."}, LogTexts());
    ExpectContextFreedBeforeCertificate();
}

TEST_F(PackageCheck, WithoutACrlPathItEndsAfterTheRootWasAddedAndReleasesEverything)
{
    g_library.addCrlStatus = SIGKIT_ERR_PARAM;
    VerifyParam param = {"CHECK_PKG_INTEGRITY", "a.cms", "a.sum", "", ""};
    EXPECT_EQ(static_cast<int>(SIGKIT_ERR_PARAM), UPGRADE_CheckPkgIntegrity(&param));
    EXPECT_EQ((Texts{"create", "add certificate", "add CRLs ", "free"}), g_library.calls);
    EXPECT_EQ(Texts{"E 169 VerifyCmsFile Add CRL file  failed."}, LogTexts());
    ExpectContextFreedBeforeCertificate();
}

TEST_F(PackageCheck, AVerificationErrorIsLoggedWithItsCode)
{
    g_library.quickStatus = SIGKIT_ERR_CERT_REVOKED;
    EXPECT_EQ(SIGKIT_ERR_CERT_REVOKED, Verify()); // although the flag says 1
    EXPECT_EQ(CALLS_TO_END, g_library.calls);
    EXPECT_EQ(Texts{"E 175 VerifyCmsFile Verify signature error, code 88200002."}, LogTexts());
    ExpectContextFreedBeforeCertificate();
}

TEST_F(PackageCheck, SuccessWithoutAMatchIsMinusOne)
{
    g_library.verdict = 0;
    EXPECT_EQ(UINT32_MAX, Verify());
    EXPECT_EQ(CALLS_TO_END, g_library.calls);
    EXPECT_EQ(Texts{"E 179 VerifyCmsFile Verify signature not match."}, LogTexts());
    ExpectContextFreedBeforeCertificate();
}

TEST_F(PackageCheck, OnlyAFlagOfExactlyOneIsAMatch)
{
    for (const uint32_t verdict : {2u, 256u, UINT32_MAX}) {
        g_library.verdict = verdict;
        EXPECT_EQ(UINT32_MAX, Verify()) << verdict;
    }
}

TEST_F(PackageCheck, AFailedJoinLeavesItsOutputsAlone)
{
    g_recordingPlatform.failAt = 1;
    uint8_t before = 0;
    uint8_t *cert = &before;
    uint32_t len = 17;
    EXPECT_EQ(0x88000001u, GenerateRootCert(&cert, &len));
    EXPECT_EQ(&before, cert);
    EXPECT_EQ(17u, len);
}

TEST_F(PackageCheck, CleanUpReturnsItsStatusAndSkipsWhatIsNull)
{
    EXPECT_EQ(-7, VerifyProcessPostHandle(-7, nullptr, nullptr));
    EXPECT_TRUE(g_library.calls.empty());
    EXPECT_TRUE(g_recordingPlatform.releaseCalls.empty());
    EXPECT_EQ(3, VerifyProcessPostHandle(3, &g_library.ctx, nullptr));
    EXPECT_EQ(Texts{"free"}, g_library.calls);
}
