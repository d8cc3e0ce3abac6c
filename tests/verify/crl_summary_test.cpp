// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Summaries of CRL files.
#include "tests/support/process.h"
#include "tests/verify/verify_fixture.h"

namespace
{

class CrlSummary : public VerifyTest
{
protected:
    void SetUp() override
    {
        VerifyTest::SetUp();
        ASSERT_STATUS(SIGKIT_OK, AddCert(AllParties().root.certificate));
    }

    void TearDown() override
    {
        Release();
        VerifyTest::TearDown();
    }

    void Release()
    {
        if (bundle != nullptr) {
            EXPECT_STATUS(SIGKIT_OK, SigkitCrlFree(ctx, bundle));
            bundle = nullptr;
        }
    }

    uint32_t Decode(const forge::Bytes &data)
    {
        Release();
        g_recordingHost.lines.clear();
        return SigkitDecodeCrl(ctx, data.data(), Size(data), &bundle);
    }

    SigkitCrlBundle *bundle = nullptr;
};

forge::Bytes Ca()
{
    return AllParties().issuingCa.certificate;
}

forge::Bytes RootCrl(const std::vector<forge::Bytes> &revoked = {}, int64_t later = 0)
{
    forge::CrlRequest request = CrlRequest(AllParties().root);
    request.thisUpdate += later;
    for (const forge::Bytes &serial : revoked) {
        forge::RevokedCertificate entry;
        entry.serialNumber = serial;
        entry.revocationDate = PACKAGE_TIME;
        request.revoked.push_back(entry);
    }
    return MakeCrl(request);
}

forge::Bytes CaCrl(int64_t later = 0)
{
    forge::CrlRequest request = CrlRequest(AllParties().issuingCa);
    request.thisUpdate += later;
    return MakeCrl(request);
}

const char LOAD_FAILED[] = "E SigkitDecodeCrl 88200102 -";

} // namespace

TEST_F(CrlSummary, HoldsWhatEachCrlSays)
{
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({Ca(), RootCrl({{0x01, 0x02}, {0x80}}), CaCrl(PACKAGE_DAY)})));
    EXPECT_EQ(sizeof(void *) == 8 ? 208u : 144u, bundle->size);
    EXPECT_EQ(bundle->size, sizeof(*bundle));
    ASSERT_EQ(2, bundle->count);
    const SigkitCrlInfo &root = *bundle->crls[0];
    EXPECT_EQ(1u, root.verified);
    EXPECT_EQ(PACKAGE_TIME - 10 * PACKAGE_DAY, root.thisUpdate);
    EXPECT_EQ(PACKAGE_TIME + 10 * PACKAGE_DAY, root.nextUpdate);
    EXPECT_STREQ("C=XX,O=Test,CN=Root", root.issuerName);
    forge::Bytes serial;
    ASSERT_TRUE(forge::GetSerialNumber(AllParties().root.certificate, &serial).ok);
    EXPECT_EQ(serial, forge::Bytes(root.issuerSerial.serial, root.issuerSerial.serial + root.issuerSerial.len));
    ASSERT_EQ(2, root.revokedCount);
    EXPECT_EQ(2u, root.revokedSerials[0].len);
    EXPECT_EQ(0x02, root.revokedSerials[0].serial[1]);
    EXPECT_EQ(1u, root.revokedSerials[1].len) << "as decoded, without its leading zero";
    EXPECT_EQ(0x80, root.revokedSerials[1].serial[0]);
    const SigkitCrlInfo &ca = *bundle->crls[1];
    EXPECT_EQ(1u, ca.verified);
    EXPECT_STREQ("C=XX,O=Test,CN=CA", ca.issuerName);
    EXPECT_EQ(0, ca.revokedCount);
    EXPECT_EQ(nullptr, ca.revokedSerials);
    EXPECT_EQ(ca.thisUpdate, ctx->verifyTime) << "left at the last CRL's";
    EXPECT_EQ(2u, StoredCerts());
    EXPECT_EQ(2u, StoredCrls());
    EXPECT_TRUE(Lines().empty());
}

TEST_F(CrlSummary, OnlyARootsCrlListsWhatItRevokes)
{
    forge::CrlRequest request = CrlRequest(AllParties().issuingCa);
    forge::RevokedCertificate entry;
    entry.serialNumber = {7};
    request.revoked = {entry};
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({Ca(), RootCrl(), MakeCrl(request)})));
    EXPECT_EQ(nullptr, bundle->crls[1]->revokedSerials);
    EXPECT_EQ(0, bundle->crls[1]->revokedCount);
    EXPECT_EQ(nullptr, bundle->crls[0]->revokedSerials) << "no entries, no list";
}

TEST_F(CrlSummary, SerialsOfMoreThanThirtyTwoOctetsAreLeftOut)
{
    const forge::Bytes longest(32, 0x11);
    const forge::Bytes longer(33, 0x11);
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({Ca(), RootCrl({longer, longest})})));
    ASSERT_EQ(1, bundle->crls[0]->revokedCount);
    EXPECT_EQ(32u, bundle->crls[0]->revokedSerials[0].len);
}

TEST_F(CrlSummary, OfAnUnknownIssuerIsUnverified)
{
    forge::CrlRequest request = CrlRequest(AllParties().otherRoot);
    request.nextUpdate += 1;
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({Ca(), MakeCrl(request), RootCrl()})));
    ASSERT_EQ(2, bundle->count);
    EXPECT_EQ(0u, bundle->crls[0]->verified);
    EXPECT_EQ(0u, bundle->crls[0]->issuerSerial.len);
    EXPECT_STREQ("C=XX,O=Test,CN=Other Root", bundle->crls[0]->issuerName);
    EXPECT_EQ(1u, bundle->crls[1]->verified);
}

TEST_F(CrlSummary, LeavesTheTimeOfTheLastCrlWhoseIssuerWasFound)
{
    forge::CrlRequest unknown = CrlRequest(AllParties().otherRoot);
    unknown.thisUpdate += 5;
    const forge::Bytes data = Join({Ca(), RootCrl(), MakeCrl(unknown)});
    ASSERT_STATUS(SIGKIT_OK, Decode(data));
    ASSERT_EQ(2, bundle->count);
    EXPECT_EQ(bundle->crls[0]->thisUpdate, ctx->verifyTime);
    EXPECT_NE(bundle->crls[1]->thisUpdate, ctx->verifyTime);
}

TEST_F(CrlSummary, OfAnIssuerThatHasExpiredIsUnverified)
{
    forge::CrlRequest request = CrlRequest(AllParties().issuingCa);
    request.thisUpdate = PACKAGE_TIME + 301 * PACKAGE_DAY;
    request.nextUpdate = request.thisUpdate + PACKAGE_DAY;
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({Ca(), MakeCrl(request)})));
    EXPECT_EQ(0u, bundle->crls[0]->verified);
    EXPECT_NE(0u, bundle->crls[0]->issuerSerial.len) << "found, and not trusted";
    SigkitCrlBundle *const unverified = bundle;
    bundle = nullptr;
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({Ca(), RootCrl()})));
    uint32_t result = 9;
    EXPECT_STATUS(SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED, SigkitCrlCompare(ctx, bundle, unverified, &result));
    EXPECT_STATUS(SIGKIT_OK, SigkitCrlFree(ctx, unverified));
}

// What a thief of the CA's key would put in the place of a device's CRL file: below a CA of the root's name one of the
// CA's name, which the root's own CRL would clear, and under that one a newer CRL of the CA's name.
TEST_F(CrlSummary, BelowANamesakeOfTheRootIsUnverifiedOnceTheCaAboveItIsRevoked)
{
    const Party namesake = Certify(CertificateRequest("Root", &AllParties().issuingCa));
    const Party standIn = Certify(CertificateRequest("CA", &namesake));
    forge::CrlRequest request = CrlRequest(standIn);
    request.thisUpdate += PACKAGE_DAY;
    const forge::Bytes forged = Join({Ca(), namesake.certificate, standIn.certificate, CaCrl(), MakeCrl(request)});
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({RootCrl(), forged})));
    EXPECT_EQ(1u, bundle->crls[2]->verified) << "while the CA stands, it may make CAs of any name";
    TearDown();
    SetUp();
    forge::Bytes serial;
    ASSERT_TRUE(forge::GetSerialNumber(Ca(), &serial).ok);
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({RootCrl({serial}), forged})));
    ASSERT_EQ(3, bundle->count);
    EXPECT_EQ(1u, bundle->crls[0]->verified);
    EXPECT_EQ(0u, bundle->crls[2]->verified);
}

TEST_F(CrlSummary, ACrlWithoutAReadableTimeLeavesAGap)
{
    forge::CrlRequest broken = CrlRequest(AllParties().root);
    broken.omitNextUpdate = true;
    forge::RevokedCertificate entry; // stands where nextUpdate should
    entry.serialNumber = {7};
    broken.revoked = {entry};
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({Ca(), MakeCrl(broken), RootCrl(), CaCrl()})));
    EXPECT_EQ(nullptr, bundle->crls[0]);
    EXPECT_EQ(2, bundle->count);
    EXPECT_NE(nullptr, bundle->crls[2]) << "later CRLs keep their places";
    EXPECT_TRUE(HasLine("E InternalGetCrlInfo 88000301 -"));
    uint32_t result = 9;
    EXPECT_STATUS(SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED, SigkitCrlCompare(ctx, bundle, bundle, &result));
}

TEST_F(CrlSummary, AnIssuerNameThatCannotBePrintedIsEmpty)
{
    forge::CertificateRequest request = CertificateRequest("Odd", &AllParties().root);
    request.subject = {{"2.5.4.5", "1"}};
    const Party odd = Certify(request);
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({odd.certificate, MakeCrl(CrlRequest(odd))})));
    EXPECT_STREQ("", bundle->crls[0]->issuerName);
    g_recordingHost.strcpyS.failAt = g_recordingHost.strcpyS.calls + 1;
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({Ca(), RootCrl()})));
    EXPECT_STREQ("", bundle->crls[0]->issuerName);
    EXPECT_TRUE(HasLine("W InternalGetCrlIssuerName ffffffff -"));
}

TEST_F(CrlSummary, DataWithoutCertificatesAreRefusedAndTheirCrlsStay)
{
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, Decode(RootCrl()));
    EXPECT_EQ(nullptr, bundle);
    EXPECT_EQ(1u, StoredCrls());
    EXPECT_EQ(Texts{LOAD_FAILED}, LineTexts());
}

TEST_F(CrlSummary, DataWithoutCrlsAreRefused)
{
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, Decode(Ca()));
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, Decode(forge::Bytes(50, 0x02)));
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, Decode(forge::Bytes(37, 0x30)));
    EXPECT_EQ(Texts{LOAD_FAILED}, LineTexts());
    EXPECT_EQ(1u, StoredCerts());
}

TEST_F(CrlSummary, ASerialNumberIsGivenWholeOrNotAtAll)
{
    const forge::Bytes data = Join({Ca(), RootCrl({{0x01, 0x02, 0x03}, {0x7F, 0x01, 0x01}}), CaCrl()});
    ASSERT_STATUS(SIGKIT_OK, Decode(data));
    const uint32_t whole = bundle->crls[0]->issuerSerial.len;
    EXPECT_EQ(1u, whole);
    const uint32_t copies = g_recordingHost.memcpyS.calls;
    uint32_t lost = 0;
    for (uint32_t n = 1; n <= copies; ++n) {
        Release();
        EXPECT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(ctx));
        SetUp();
        g_recordingHost.memcpyS.calls = 0;
        g_recordingHost.memcpyS.failAt = n;
        if (Decode(data) != SIGKIT_OK || bundle->count != 2 || bundle->crls[0]->revokedCount != 2) {
            continue;
        }
        const SigkitCrlInfo &root = *bundle->crls[0];
        const SigkitCrlSerial serials[] = {root.issuerSerial, root.revokedSerials[0], root.revokedSerials[1]};
        for (uint32_t i = 0; i < 3; ++i) {
            const uint32_t len = i == 0 ? whole : 3;
            EXPECT_TRUE(serials[i].len == 0 || serials[i].len == len) << n << " " << i << ": " << serials[i].len;
            lost += serials[i].len == 0 ? 1 : 0;
        }
    }
    EXPECT_LT(1u, lost);
}

TEST_F(CrlSummary, IsWholeOrOfAFailingMachineAndThenNoneIsVerified)
{
    const forge::Bytes data = Join({Ca(), RootCrl({{0x01, 0x02, 0x03}}), CaCrl(), RootCrl({}, 1)});
    ASSERT_STATUS(SIGKIT_OK, Decode(data));
    const uint32_t blocks = g_recordingPlatform.allocations;
    WatchedCall RecordingHost::*const calls[] = {&RecordingHost::memcpyS,         &RecordingHost::memsetS,
                                                 &RecordingHost::strcpyS,         &RecordingHost::strcatS,
                                                 &RecordingHost::cryptoCreateCtx, &RecordingHost::cryptoInit,
                                                 &RecordingHost::cryptoUpdate,    &RecordingHost::cryptoFinal};
    uint32_t lost[3] = {};
    const auto expectWholeOrUntrusted = [&]() {
        const uint32_t status = Decode(data);
        if (status != SIGKIT_OK) {
            return;
        }
        for (size_t i = 0; i < 3; ++i) {
            const SigkitCrlInfo *const info = bundle->crls[i];
            if (ctx->hostFailure == SIGKIT_OK) {
                ASSERT_NE(nullptr, info);
                EXPECT_EQ(1u, info->verified);
                EXPECT_STRNE("", info->issuerName);
                EXPECT_NE(0u, info->issuerSerial.len);
                EXPECT_EQ(i == 0 ? 1 : 0, info->revokedCount);
                EXPECT_TRUE(i != 0 || info->revokedSerials[0].len == 3);
            } else {
                lost[i] += info == nullptr ? 1 : 0;
                EXPECT_TRUE(info == nullptr || info->verified == 0);
            }
        }
    };
    for (uint32_t n = 1; n <= blocks; ++n) {
        SCOPED_TRACE(n);
        TearDown();
        SetUp();
        g_recordingPlatform.failAt = g_recordingPlatform.allocations + n;
        expectWholeOrUntrusted();
    }
    for (WatchedCall RecordingHost::*const call : calls) {
        for (uint32_t n = 1; n <= 60; ++n) {
            SCOPED_TRACE(n);
            TearDown();
            SetUp();
            (g_recordingHost.*call).failAt = (g_recordingHost.*call).calls + n;
            expectWholeOrUntrusted();
        }
    }
    for (const uint32_t count : lost) {
        EXPECT_LT(1u, count) << "each of the three is lost at times";
    }
}

TEST_F(CrlSummary, NoFileAloneMakesTheMachineOneThatFailed)
{
    forge::CertificateRequest request = CertificateRequest(std::string(200, 'n'), &AllParties().root);
    request.subject.insert(request.subject.begin(), {"2.5.4.10", std::string(200, 'o')});
    request.subject.insert(request.subject.begin(), {"2.5.4.11", std::string(200, 'u')});
    request.serialNumber = forge::Bytes(33, 0x11);
    const Party longNamed = Certify(request);
    request.subject = {{"2.5.4.5", "1"}};
    const Party unprintable = Certify(request);
    forge::CrlRequest timeless = CrlRequest(AllParties().root);
    timeless.omitNextUpdate = true;
    timeless.revoked = {forge::RevokedCertificate()};
    ASSERT_STATUS(SIGKIT_OK,
                  Decode(Join({longNamed.certificate, unprintable.certificate, MakeCrl(CrlRequest(longNamed)),
                               MakeCrl(CrlRequest(unprintable)), MakeCrl(timeless), RootCrl({forge::Bytes(33, 0x22)}),
                               MakeCrl(CrlRequest(AllParties().otherRoot))})));
    EXPECT_STATUS(SIGKIT_OK, ctx->hostFailure);
    EXPECT_EQ(4, bundle->count);
    EXPECT_EQ(1u, bundle->crls[0]->verified);
    EXPECT_STREQ("", bundle->crls[1]->issuerName);
    EXPECT_EQ(nullptr, bundle->crls[2]);
    EXPECT_EQ(1u, bundle->crls[3]->verified);
}

TEST_F(CrlSummary, OfACrlThatIsLeftOutIsCountedInTheContext)
{
    forge::CrlRequest timeless = CrlRequest(AllParties().root);
    timeless.omitNextUpdate = true;
    timeless.revoked = {forge::RevokedCertificate()};
    const forge::Bytes damaged = Octets("-----BEGIN X509 CRL-----\nQQ==\n-----END X509 CRL-----\n");
    const forge::Bytes other = Octets("-----BEGIN X509 CRL -----\nQQ==\n-----END X509 CRL -----\n");
    const forge::Bytes ca = Pem(forge::LABEL_CERTIFICATE, Ca());
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({damaged, ca, other, Pem(forge::LABEL_CRL, RootCrl()), damaged,
                                          Pem(forge::LABEL_CRL, MakeCrl(timeless))})));
    EXPECT_EQ(1, bundle->count);
    EXPECT_EQ(2u, ctx->decodedCrls);
    EXPECT_EQ(2u, ctx->skippedCrls);
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({Ca(), RootCrl()})));
    EXPECT_EQ(1u, ctx->decodedCrls) << "of the last data";
    EXPECT_EQ(2u, ctx->skippedCrls) << "of all that was loaded";
}

TEST_F(CrlSummary, NothingStandsBehindTheCount)
{
    const forge::Bytes damaged = Octets("-----BEGIN X509 CRL-----\nQQ==\n-----END X509 CRL-----\n");
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({damaged, Pem(forge::LABEL_CERTIFICATE, Ca()),
                                          Pem(forge::LABEL_CRL, RootCrl()), Pem(forge::LABEL_CRL, CaCrl())})));
    EXPECT_EQ(2, bundle->count);
    const uint8_t *const end = reinterpret_cast<const uint8_t *>(bundle + 1);
    const uint8_t *const behindCount = reinterpret_cast<const uint8_t *>(&bundle->count + 1);
    EXPECT_EQ(forge::Bytes(68, 0), forge::Bytes(behindCount, end));
}

TEST_F(CrlSummary, ACrlWithoutAnImageIsCountedAsSkipped)
{
    forge::Bytes data = Pem(forge::LABEL_CERTIFICATE, Ca());
    for (int64_t i = 0; i < 16; ++i) {
        data = Join({data, Pem(forge::LABEL_CRL, RootCrl({}, i))});
    }
    ASSERT_STATUS(SIGKIT_OK, Decode(data));
    EXPECT_EQ(14, bundle->count);
    EXPECT_EQ(2u, ctx->skippedCrls);
}

TEST_F(CrlSummary, ASelfSignedCertificateInTheDataIsSkipped)
{
    ASSERT_STATUS(SIGKIT_OK, Decode(Join({AllParties().otherRoot.certificate, RootCrl()})));
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_EQ(
        Texts{"W InternalAddCertToStore 0 There is a root certificate, which is not allowed when add crl or cms."},
        LineTexts());
}

TEST_F(CrlSummary, SixteenCrlsAreSummarisedAndSeventeenRefused)
{
    forge::Bytes data = Ca();
    for (int64_t i = 0; i < 16; ++i) {
        data = Join({data, RootCrl({}, i)});
    }
    ASSERT_STATUS(SIGKIT_OK, Decode(data));
    EXPECT_EQ(16, bundle->count);
    EXPECT_NE(nullptr, bundle->crls[15]);
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, Decode(Join({data, RootCrl({}, 16)})));
    EXPECT_EQ("E InternalDecodeStreamCertCrl 88000501 -", LineTexts()[0]);
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, Decode(Join({Ca(), RootCrl({}, 17)}))) << "the store is full";
}

TEST_F(CrlSummary, OutlivesItsContext)
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *other = nullptr;
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyCreateCtx(&other, &param));
    const forge::Bytes root = AllParties().root.certificate;
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyAddCert(other, root.data(), Size(root)));
    const forge::Bytes data = Join({Ca(), RootCrl({{5}})});
    ASSERT_STATUS(SIGKIT_OK, SigkitDecodeCrl(other, data.data(), Size(data), &bundle));
    ASSERT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(other));
    EXPECT_STREQ("C=XX,O=Test,CN=Root", bundle->crls[0]->issuerName);
    EXPECT_EQ(5, bundle->crls[0]->revokedSerials[0].serial[0]);
    uint32_t result = 9;
    EXPECT_STATUS(SIGKIT_OK, SigkitCrlCompare(ctx, bundle, bundle, &result));
    EXPECT_EQ(SIGKIT_CRL_EQUAL, result);
}

TEST_F(CrlSummary, EachWritesItsTrailInFull)
{
    ctx->pki->memory.nested = SIGKIT_PATH_LITERAL_MAX; // as an earlier operation left it
    const forge::Bytes data = Join({Ca(), RootCrl()});
    ASSERT_STATUS(SIGKIT_OK, SigkitDecodeCrl(ctx, data.data(), Size(data), &bundle));
    EXPECT_GT(SIGKIT_PATH_LITERAL_MAX, ctx->pki->memory.nested);
}

TEST_F(CrlSummary, MissingArgumentsAreRefused)
{
    const forge::Bytes data = RootCrl();
    SigkitCrlBundle *out = reinterpret_cast<SigkitCrlBundle *>(this);
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeCrl(ctx, nullptr, 5, &out));
    EXPECT_EQ(nullptr, out);
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeCrl(ctx, data.data(), 0, &out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeCrlFile(ctx, nullptr, &out));
    EXPECT_EQ((Texts{"E InternalCheckParamDecodeCrl 88100001 -", "E InternalCheckParamDecodeCrl 88100001 -",
                     "E InternalCheckParamDecodeCrlFile 88100001 -"}),
              LineTexts());
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeCrl(ctx, data.data(), Size(data), nullptr));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeCrlFile(ctx, "x", nullptr));
    EXPECT_EQ(3u, Lines().size()) << "no line about a missing place for the answer";
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitCrlFree(nullptr, out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitCrlFree(ctx, nullptr));
}

TEST_F(CrlSummary, IsMadeFromFilesInDerAndPem)
{
    const TemporaryDirectory directory;
    const forge::Bytes pem = Join({Pem(forge::LABEL_CERTIFICATE, Ca()), Pem(forge::LABEL_CRL, RootCrl())});
    ASSERT_TRUE(forge::WriteFile(directory.File("pem"), pem).ok);
    ASSERT_TRUE(forge::WriteFile(directory.File("der"), Join({Ca(), RootCrl()})).ok);
    for (const char *const name : {"pem", "der"}) {
        ASSERT_STATUS(SIGKIT_OK, SigkitDecodeCrlFile(ctx, directory.File(name).c_str(), &bundle));
        EXPECT_EQ(1, bundle->count);
        EXPECT_EQ(1u, bundle->crls[0]->verified);
        Release();
    }
    const std::string missing = directory.File("missing");
    EXPECT_STATUS(SIGKIT_ERR_FILE_OPEN, SigkitDecodeCrlFile(ctx, missing.c_str(), &bundle));
    EXPECT_EQ("E SigkitDecodeCrlFile 88000101 -", LineTexts().back());
    EXPECT_EQ(nullptr, bundle);
    ASSERT_TRUE(forge::WriteFile(directory.File("junk"), forge::Bytes(50, 0x02)).ok);
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, SigkitDecodeCrlFile(ctx, directory.File("junk").c_str(), &bundle));
    EXPECT_EQ((Texts{"E InternalDecodeStreamCertCrl 88300001 -", "E InternalDecodeCertCrl 88300001 -",
                     "E SigkitDecodeCrl 88200102 -", "E SigkitDecodeCrlFile 88200102 -"}),
              LineTexts());
}
