// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Begin, Update and Final, and what a message must bring.
#include "tests/verify/verify_fixture.h"

namespace
{

const char CONTENT[] = "f4d1b0 firmware.bin\n";

class Signature : public VerifyTest
{
protected:
    void SetUp() override
    {
        VerifyTest::SetUp();
        LoadTrust();
    }

    // Begin, one Update and Final; the first failure, or SIGKIT_OK with the verdict.
    uint32_t Verify(const forge::MessageRequest &request, const std::string &content = CONTENT)
    {
        uint32_t status = Begin(request);
        if (status == SIGKIT_OK && !content.empty()) {
            status = Update(content);
        }
        return status == SIGKIT_OK ? Final() : status;
    }
};

// The trail of a failure of Begin that arose in the signer's own check.
Texts SignerTrail(const std::string &code, const Texts &before)
{
    Texts trail = before;
    trail.push_back("E InternalVerifyCms " + code + " -");
    trail.push_back("E SigkitVerifyDetachSignatureBegin " + code + " -");
    return trail;
}

// The trail of a failure of Begin that arose in the timestamp token.
Texts TokenTrail(const std::string &code, Texts before)
{
    before.push_back("E InternalVerifyTimeStamp " + code + " -");
    return SignerTrail(code, before);
}

forge::CertificateRequest SignerRequest()
{
    forge::CertificateRequest request = CertificateRequest("Another signer", &AllParties().issuingCa);
    request.basicConstraints = forge::BasicConstraints::NotCa;
    request.keyUsage = forge::DIGITAL_SIGNATURE;
    request.extendedKeyUsage = {forge::PURPOSE_CODE_SIGNING};
    return request;
}

forge::MessageRequest SignedBy(const Party &signer)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.signerCertificate = signer.certificate;
    request.signerKey = signer.key;
    request.certificates = {signer.certificate, AllParties().issuingCa.certificate};
    return request;
}

} // namespace

TEST_F(Signature, OfTheContentIsAuthentic)
{
    EXPECT_STATUS(SIGKIT_OK, Verify(MessageRequest(CONTENT)));
    EXPECT_EQ(1u, verdict);
    EXPECT_EQ(PACKAGE_TIME, ctx->verifyTime);
    EXPECT_EQ(0u, ctx->handles.count);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Signature, OfOtherContentIsAVerdictAndNoFailure)
{
    EXPECT_STATUS(SIGKIT_OK, Verify(MessageRequest(CONTENT), "f4d1b0 firmware.biN\n"));
    EXPECT_EQ(0u, verdict);
    EXPECT_STATUS(SIGKIT_OK, Verify(MessageRequest(CONTENT), ""));
    EXPECT_EQ(0u, verdict);
    EXPECT_EQ(0u, ctx->handles.count);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Signature, ContentMayComeInPiecesOfAnyLength)
{
    const std::string content = CONTENT;
    ASSERT_STATUS(SIGKIT_OK, Begin(MessageRequest(content)));
    for (const char character : content) {
        EXPECT_STATUS(SIGKIT_OK, Update(std::string(1, character)));
        EXPECT_STATUS(SIGKIT_OK, Update(""));
    }
    EXPECT_STATUS(SIGKIT_OK, Final());
    EXPECT_EQ(1u, verdict);
}

TEST_F(Signature, OfEmptyContentNeedsNoUpdate)
{
    EXPECT_STATUS(SIGKIT_OK, Verify(MessageRequest(""), ""));
    EXPECT_EQ(1u, verdict);
}

TEST_F(Signature, EachDigestIsUsed)
{
    const struct {
        forge::Digest digest;
        uint32_t aoid;
    } rows[] = {{forge::Digest::Sha256, 43}, {forge::Digest::Sha384, 44}, {forge::Digest::Sha512, 45}};
    for (const auto &row : rows) {
        forge::MessageRequest request = MessageRequest(CONTENT);
        request.digest = row.digest;
        request.tokenRequest.imprintDigest = row.digest;
        g_recordingHost.mdAlgorithms.clear();
        EXPECT_STATUS(SIGKIT_OK, Verify(request));
        EXPECT_EQ(1u, verdict);
        // The imprint, the token's content, which is SHA-256 throughout, and the content.
        EXPECT_EQ((std::vector<uint32_t>{row.aoid, 43, row.aoid}), g_recordingHost.mdAlgorithms);
    }
}

TEST_F(Signature, AnUnsupportedDigestIsRefusedEvenBeforeItIsUsed)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.digest = forge::Digest::Sha1;
    EXPECT_STATUS(SIGKIT_ERR_SIGNATURE, Begin(request));
    EXPECT_EQ(SignerTrail("88200309", {"E SigkitPkcs7DetachedSignatureVerify 88200310 -"}), LineTexts());
}

TEST_F(Signature, WithoutSignedAttributesIsOverTheContentItself)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.signedAttributes = false;
    EXPECT_STATUS(SIGKIT_OK, Verify(request));
    EXPECT_EQ(1u, verdict);
    EXPECT_STATUS(SIGKIT_OK, Verify(request, "f4d1b0 firmware.biN\n"));
    EXPECT_EQ(0u, verdict);
}

TEST_F(Signature, WithoutSignedAttributesAndWithAnUnsupportedDigestIsRefused)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.signedAttributes = false;
    request.digest = forge::Digest::Sha1;
    EXPECT_STATUS(SIGKIT_ERR_ALGORITHM, Begin(request));
    EXPECT_EQ(SignerTrail("88200310", {"E InternalCreateVerifyHandle 88200310 -"}), LineTexts());
}

TEST_F(Signature, InPemIsDecoded)
{
    const forge::Bytes message = MakeMessage(MessageRequest(CONTENT));
    for (const char *const label : {forge::LABEL_CMS, forge::LABEL_PKCS7}) {
        ASSERT_STATUS(SIGKIT_OK, Begin(Pem(label, message)));
        ASSERT_STATUS(SIGKIT_OK, Update(CONTENT));
        EXPECT_STATUS(SIGKIT_OK, Final());
        EXPECT_EQ(1u, verdict);
    }
    EXPECT_EQ(4u, ctx->buffers.count) << "the trust anchor's, the CRLs' and one for each message";
}

TEST_F(Signature, BrokenArmourIsRefusedAlikeAndLoggedDifferently)
{
    const std::string body = "\n" + std::string(40, 'A') + "\n";
    const struct {
        std::string text;
        const char *line;
    } rows[] = {
        {"-----BEGIN CMS-----" + body, "E InternalPemDecodeCms 88200305 -"},
        {"-----BEGIN PKCS7-----" + body, "E InternalPemDecodeCms ffffffff -"},
        {"-----BEGIN CMS-----" + body + "-----END PKCS7-----", "E InternalPemDecodeCms 88200305 -"},
        {"-----BEGIN CERTIFICATE-----" + body, "E InternalPemDecodeCms 88200305 -"},
    };
    for (const auto &row : rows) {
        ResetRecordingHost();
        EXPECT_STATUS(SIGKIT_ERR_CMS_DECODE, Begin(Octets(row.text)));
        EXPECT_TRUE(HasLine(row.line)) << testing::PrintToString(LineTexts());
        EXPECT_EQ("E SigkitVerifyDetachSignatureBegin 88200308 -", LineTexts().back());
    }
    EXPECT_STATUS(SIGKIT_ERR_CMS_DECODE, Begin(Octets("-----BEGIN CMS-----\xff" + body + "-----END CMS-----")));
    g_recordingHost.lines.clear();
    EXPECT_STATUS(SIGKIT_ERR_CMS_DECODE, Begin(Octets("-----BEGIM CMS-----" + body + "-----END CMS-----")));
    EXPECT_EQ(0u, CountLine("E InternalPemDecodeCms 88200305 -")) << "no armour at all";
    EXPECT_EQ(2u, ctx->buffers.count) << "the trust anchor's and the CRLs'";
}

TEST_F(Signature, EachBeginWritesItsTrailInFull)
{
    ctx->pki->memory.nested = SIGKIT_PATH_LITERAL_MAX; // as an earlier operation left it
    ASSERT_STATUS(SIGKIT_OK, Begin(MessageRequest(CONTENT)));
    EXPECT_GT(SIGKIT_PATH_LITERAL_MAX, ctx->pki->memory.nested);
}

TEST_F(Signature, AMessageThatDoesNotDecodeIsRefused)
{
    EXPECT_STATUS(SIGKIT_ERR_ARMOUR, Begin(forge::Bytes(37, 0x30)));
    EXPECT_TRUE(Lines().empty());
    EXPECT_STATUS(SIGKIT_ERR_CMS_DECODE, Begin(forge::Bytes(38, 0x02)));
    forge::MessageRequest twice = MessageRequest(CONTENT);
    twice.signerInfoCount = 2;
    EXPECT_STATUS(SIGKIT_ERR_CMS_DECODE, Begin(twice));
    EXPECT_EQ(nullptr, ctx->messageCopies) << "the copy of a failed decode is freed at once";
    const forge::Bytes message = MakeMessage(MessageRequest(CONTENT));
    ResetRecordingHost();
    FailAllocation(1);
    EXPECT_STATUS(SIGKIT_ERR_CMS_DECODE, Begin(message));
    EXPECT_EQ((Texts{"E InternalNewImage 88000001 -", "E SigkitVerifyDetachSignatureBegin 88200308 -"}), LineTexts());
    ResetRecordingHost();
    g_recordingHost.memcpyS.failAt = 1;
    EXPECT_STATUS(SIGKIT_ERR_CMS_DECODE, Begin(message));
    EXPECT_EQ("E InternalNewImage ffffffff -", LineTexts().at(0));
}

TEST_F(Signature, ACallersBufferMayGoAfterBegin)
{
    forge::Bytes message = MakeMessage(MessageRequest(CONTENT));
    ASSERT_STATUS(SIGKIT_OK, Begin(message));
    std::fill(message.begin(), message.end(), uint8_t{0xEE});
    ASSERT_STATUS(SIGKIT_OK, Update(CONTENT));
    EXPECT_STATUS(SIGKIT_OK, Final());
    EXPECT_EQ(1u, verdict);
    forge::MessageRequest again = MessageRequest(CONTENT);
    again.certificates = {}; // they are in the store, and so must be their octets
    again.tokenRequest.certificates = {};
    EXPECT_STATUS(SIGKIT_OK, Verify(again));
    EXPECT_EQ(1u, verdict);
}

TEST_F(Signature, AMessageThatBringsNoNewCertificateLeavesNoCopy)
{
    EXPECT_STATUS(SIGKIT_OK, Begin(MessageRequest(CONTENT)));
    const InternalMessageCopy *const first = ctx->messageCopies;
    ASSERT_NE(nullptr, first);
    const int32_t blocks = LiveBlocks();
    for (int i = 0; i < 3; ++i) {
        EXPECT_STATUS(SIGKIT_OK, Begin(MessageRequest(CONTENT)));
        EXPECT_EQ(first, ctx->messageCopies);
    }
    EXPECT_EQ(blocks, LiveBlocks());
    EXPECT_STATUS(SIGKIT_OK, Verify(MessageRequest(CONTENT)));
    EXPECT_EQ(1u, verdict);
    EXPECT_STATUS(SIGKIT_OK, Begin(SignedBy(Certify(SignerRequest()))));
    EXPECT_NE(first, ctx->messageCopies) << "the new signer's certificate points into it";
}

TEST_F(Signature, WithoutASignerIsAcceptedOverNothingAndRefusedOverContent)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.signerInfoCount = 0;
    request.timestamp = forge::Timestamp::None;
    ASSERT_STATUS(SIGKIT_OK, Begin(request));
    EXPECT_STATUS(SIGKIT_ERR_NOT_BEGUN, Update(CONTENT));
    EXPECT_EQ(Texts{"E SigkitVerifyDetachSignatureUpdate 88200307 -"}, LineTexts());
    EXPECT_STATUS(SIGKIT_OK, Final());
    EXPECT_EQ(1u, verdict);
}

TEST_F(Signature, UpdateBeforeBeginIsRefused)
{
    EXPECT_STATUS(SIGKIT_ERR_NOT_BEGUN, Update(CONTENT));
}

TEST_F(Signature, ASecondFinalHasNothingToJudge)
{
    EXPECT_STATUS(SIGKIT_OK, Verify(MessageRequest(CONTENT), "other"));
    EXPECT_EQ(0u, verdict);
    EXPECT_STATUS(SIGKIT_OK, Final());
    EXPECT_EQ(1u, verdict);
}

TEST_F(Signature, ASecondBeginSharesTheCheckOfTheSameDigest)
{
    ASSERT_STATUS(SIGKIT_OK, Begin(MessageRequest(CONTENT)));
    ASSERT_STATUS(SIGKIT_OK, Begin(MessageRequest(CONTENT)));
    EXPECT_EQ(1u, ctx->handles.count);
    g_recordingHost.lines.clear();
    EXPECT_STATUS(SIGKIT_ERR_DIGEST_CONFLICT, Begin(MessageRequest("other")));
    EXPECT_EQ(SignerTrail("88200303", {"E InternalAddSignerInfoToVerifyProcess 88200303 -"}), LineTexts());
    forge::MessageRequest longer = MessageRequest(CONTENT);
    longer.digest = forge::Digest::Sha512;
    ASSERT_STATUS(SIGKIT_OK, Begin(longer));
    EXPECT_EQ(2u, ctx->handles.count);
    ASSERT_STATUS(SIGKIT_OK, Update(CONTENT));
    EXPECT_STATUS(SIGKIT_OK, Final());
    EXPECT_EQ(1u, verdict);
}

TEST_F(Signature, TheLastSignatureCheckDecides)
{
    forge::MessageRequest wrong = MessageRequest("other");
    forge::MessageRequest right = MessageRequest(CONTENT);
    wrong.signedAttributes = false;
    right.signedAttributes = false;
    for (const bool rightLast : {false, true}) {
        ASSERT_STATUS(SIGKIT_OK, Begin(rightLast ? wrong : right));
        ASSERT_STATUS(SIGKIT_OK, Begin(rightLast ? right : wrong));
        ASSERT_STATUS(SIGKIT_OK, Update(CONTENT));
        EXPECT_STATUS(SIGKIT_OK, Final());
        EXPECT_EQ(rightLast ? 1u : 0u, verdict);
    }
    // A digest check that matches changes nothing; one that does not ends the walk.
    ASSERT_STATUS(SIGKIT_OK, Begin(wrong));
    ASSERT_STATUS(SIGKIT_OK, Begin(MessageRequest(CONTENT)));
    ASSERT_STATUS(SIGKIT_OK, Update(CONTENT));
    EXPECT_STATUS(SIGKIT_OK, Final());
    EXPECT_EQ(0u, verdict);
    ASSERT_STATUS(SIGKIT_OK, Begin(MessageRequest("other")));
    ASSERT_STATUS(SIGKIT_OK, Begin(right));
    ASSERT_STATUS(SIGKIT_OK, Update(CONTENT));
    EXPECT_STATUS(SIGKIT_OK, Final());
    EXPECT_EQ(0u, verdict);
}

TEST_F(Signature, SeventeenChecksDoNotFit)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.signedAttributes = false;
    const forge::Bytes message = MakeMessage(request);
    for (int i = 0; i < 16; ++i) {
        ASSERT_STATUS(SIGKIT_OK, Begin(message));
    }
    EXPECT_STATUS(SIGKIT_ERR_LIST_FULL, Begin(message));
    EXPECT_EQ(SignerTrail("88000501", {"E InternalCreateVerifyHandle 88000501 -"}), LineTexts());
    EXPECT_STATUS(SIGKIT_ERR_LIST_FULL, Begin(MessageRequest(CONTENT)));
}

TEST_F(Signature, OfAnUnknownSignerIsRefused)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.certificates = {AllParties().issuingCa.certificate};
    EXPECT_STATUS(SIGKIT_ERR_SIGNER_NOT_FOUND, Begin(request));
    EXPECT_EQ(SignerTrail("88200301", {}), LineTexts());
}

TEST_F(Signature, OfASelfSignedSignerInTheMessageIsRefused)
{
    forge::CertificateRequest request = CertificateRequest("Self", nullptr);
    request.keyUsage = forge::DIGITAL_SIGNATURE;
    request.extendedKeyUsage = {forge::PURPOSE_CODE_SIGNING};
    EXPECT_STATUS(SIGKIT_ERR_SIGNER_NOT_FOUND, Begin(SignedBy(Certify(request))));
    EXPECT_EQ("W InternalAddCertToStore 0 There is a root certificate, which is not allowed when add crl or cms.",
              LineTexts()[0]);
}

TEST_F(Signature, OfASignerThatMayNotSignCodeIsRefused)
{
    std::vector<forge::CertificateRequest> requests(4, SignerRequest());
    requests[0].keyUsage = 0; // no extension
    requests[1].keyUsage = forge::NON_REPUDIATION;
    requests[2].extendedKeyUsage = {};                                                          // no extension
    requests[3].extendedKeyUsage = {forge::PURPOSE_TIME_STAMPING, forge::PURPOSE_CODE_SIGNING}; // the first counts
    uint8_t serial = 0xA0;
    for (forge::CertificateRequest &request : requests) {
        request.serialNumber = {++serial};
        ResetRecordingHost();
        EXPECT_STATUS(SIGKIT_ERR_CERT_USAGE, Begin(SignedBy(Certify(request))));
        EXPECT_EQ(SignerTrail("88200007", {"E InternalVerifyIssuerCert 88200007 -"}), LineTexts());
    }
}

TEST_F(Signature, OfAnExpiredSignerIsRefused)
{
    forge::CertificateRequest request = SignerRequest();
    request.notAfter = PACKAGE_TIME - 1;
    EXPECT_STATUS(SIGKIT_ERR_CERT_EXPIRED, Begin(SignedBy(Certify(request))));
    EXPECT_EQ(SignerTrail("88200014",
                          {"W InternalVerifyCertificate 88200014 Check date for certificate failed, verify may fail.",
                           "E InternalVerifyIssuerCert 88200014 -"}),
              LineTexts());
}

TEST_F(Signature, ByAnotherKeyIsRefused)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.signerKey = AllParties().timestamp.key;
    EXPECT_STATUS(SIGKIT_ERR_SIGNATURE, Begin(request));
    EXPECT_EQ(SignerTrail("88200309", {}), LineTexts());
    request.signedAttributes = false; // nothing is checked before the content is there
    EXPECT_STATUS(SIGKIT_OK, Verify(request));
    EXPECT_EQ(0u, verdict);
}

TEST_F(Signature, WithoutATokenIsRefused)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.timestamp = forge::Timestamp::None;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, Begin(request));
    EXPECT_EQ(TokenTrail("88100001", {"E SigkitPkcs7DecodeSigned 88100001 -"}), LineTexts());
}

TEST_F(Signature, WithAnyOtherValueForATokenIsRefused)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.timestamp = forge::Timestamp::Raw;
    request.rawToken = {0x04, 0x02, 0x41, 0x42};
    EXPECT_EQ(0x88u, Begin(request) >> 24);
    EXPECT_EQ(0, ctx->verifyTime);
}

TEST_F(Signature, WithATokenOverAnotherSignatureIsRefused)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.tokenRequest.imprintOver = Octets("another signature");
    EXPECT_STATUS(SIGKIT_ERR_TIMESTAMP_IMPRINT, Begin(request));
    EXPECT_EQ(TokenTrail("88200402", {"E InternalVerifyTstInfo 88200402 the timestamp not match with target cms."}),
              LineTexts());
    EXPECT_EQ(0, ctx->verifyTime);
}

TEST_F(Signature, WithATokenOfAnUnsupportedDigestIsRefused)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.tokenRequest.imprintDigest = forge::Digest::Sha1;
    EXPECT_STATUS(SIGKIT_ERR_TIMESTAMP_HASH, Begin(request));
    EXPECT_EQ(TokenTrail("88200016", {"E InternalVerifyTstInfo 88200016 -"}), LineTexts());
}

TEST_F(Signature, WithATokenOfNoTimeIsRefused)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.tokenRequest.genTimeText = "20220101000000.5Z";
    EXPECT_STATUS(SIGKIT_ERR_TIME_FORMAT, Begin(request));
    EXPECT_EQ(TokenTrail("88000301", {"E InternalVerifyTstInfo 88000301 -"}), LineTexts());
}

TEST_F(Signature, WithATokenOfAnUnknownSignerIsRefused)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.tokenRequest.certificates = {};
    EXPECT_STATUS(SIGKIT_ERR_TIMESTAMP_SIGNER, Begin(request));
    EXPECT_EQ(TokenTrail("88200401", {"E InternalVerifyTsSignerInfo 88200401 -"}), LineTexts());
    EXPECT_EQ(PACKAGE_TIME, ctx->verifyTime) << "the time stays, whatever follows";
}

TEST_F(Signature, WithATokenBySomebodysRootIsRefused)
{
    forge::CertificateRequest request = CertificateRequest("Self", nullptr);
    request.keyUsage = forge::DIGITAL_SIGNATURE;
    request.extendedKeyUsage = {forge::PURPOSE_TIME_STAMPING};
    EXPECT_STATUS(SIGKIT_ERR_TIMESTAMP_SIGNER, Begin(MessageTimestampedBy(CONTENT, Certify(request))));
    EXPECT_EQ(TokenTrail("88200401", {"W InternalAddCertToStore 0 There is a root certificate, which is not allowed "
                                      "when add crl or cms.",
                                      "E InternalVerifyTsSignerInfo 88200401 -"}),
              LineTexts());
}

TEST_F(Signature, WithATokenByACodeSignerIsRefused)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.tokenRequest.tsaCertificate = AllParties().signer.certificate;
    request.tokenRequest.tsaKey = AllParties().signer.key;
    EXPECT_STATUS(SIGKIT_ERR_CERT_USAGE, Begin(request));
    EXPECT_EQ(
        TokenTrail("88200007", {"E InternalVerifyIssuerCert 88200007 -", "E InternalVerifyTsSignerInfo 88200007 -"}),
        LineTexts());
}

TEST_F(Signature, WithATokenByAnotherKeyIsRefused)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.tokenRequest.tsaKey = AllParties().signer.key;
    EXPECT_STATUS(SIGKIT_ERR_SIGNATURE, Begin(request));
    EXPECT_EQ(
        TokenTrail("88200309", {"E InternalVerifyAttributeSign 88200309 -", "E InternalVerifyTsSignerInfo 88200309 -"}),
        LineTexts());
    ResetRecordingHost();
    request.tokenRequest.signedAttributes = false;
    EXPECT_STATUS(SIGKIT_ERR_TIMESTAMP_SIGNATURE, Begin(request));
    EXPECT_EQ(TokenTrail("88200403", {"E InternalVerifyTsSignerInfo 88200403 verify timestamp signature failed."}),
              LineTexts());
}

TEST_F(Signature, WithAnAlteredTokenIsRefused)
{
    const forge::Bytes message = MakeMessage(MessageRequest(CONTENT));
    std::string text(message.begin(), message.end());
    const size_t time = text.find("20220101000000Z");
    ASSERT_NE(std::string::npos, time);
    text[time + 13] = '1'; // a second later; the imprint is as it was
    EXPECT_STATUS(SIGKIT_ERR_TIMESTAMP_SIGNATURE, Begin(Octets(text)));
    EXPECT_EQ(TokenTrail("88200403", {"E InternalVerifyAttributeSign 88200403 verify timestamp signature failed.",
                                      "E InternalVerifyTsSignerInfo 88200403 -"}),
              LineTexts());
    EXPECT_EQ(PACKAGE_TIME + 1, ctx->verifyTime);
}

TEST_F(Signature, WithATokenWithoutSignedAttributesIsAuthentic)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.tokenRequest.signedAttributes = false;
    EXPECT_STATUS(SIGKIT_OK, Verify(request));
    EXPECT_EQ(1u, verdict);
}

TEST_F(Signature, WithATokenWithoutASignerIsAcceptedByDesign)
{
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.tokenRequest.signerInfoCount = 0;
    EXPECT_STATUS(SIGKIT_OK, Verify(request));
    EXPECT_EQ(1u, verdict);
}

TEST_F(Signature, RevocationOfTheTimestampAuthorityCountsFromTheBeginning)
{
    forge::CrlRequest crl = CrlRequest(AllParties().issuingCa);
    forge::RevokedCertificate revoked;
    ASSERT_TRUE(forge::GetSerialNumber(AllParties().timestamp.certificate, &revoked.serialNumber).ok);
    revoked.revocationDate = PACKAGE_TIME + PACKAGE_DAY;
    revoked.reasonCode = 1;
    crl.revoked = {revoked};
    crl.thisUpdate += 1;
    ASSERT_STATUS(SIGKIT_OK, AddCrl(MakeCrl(crl)));
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Begin(MessageRequest(CONTENT)));
    EXPECT_TRUE(HasLine("E InternalCheckCrlOfCert 88200002 The certificate was revoked.\r\n"));
}
