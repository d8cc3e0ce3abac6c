// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The steps of a verification at their own functions: what no whole message can bring about.
#include "verify/signer.h"

#include "asn1/decode.h"
#include "core/memory.h"
#include "tests/verify/verify_fixture.h"
#include "tests/x509/decode_helper.h"
#include "verify/admission.h"
#include "verify/content_check.h"
#include "verify/timestamp.h"
#include "x509/oid.h"

namespace
{

const char CONTENT[] = "f4d1b0 firmware.bin\n";

class SignerSteps : public VerifyTest
{
protected:
    // The signer of a good message, with its octets, to be changed in one thing.
    const DecodedMessage message{MakeMessage(MessageRequest(CONTENT))};
    const DecodedCert cert{AllParties().signer.certificate};
    SigkitPkcs7SignedInfo signer = message.record->content.signerInfos.items[0];
};

// Octets that are longer than any digest or signature.
const uint8_t LONG[600] = {};

} // namespace

TEST_F(SignerSteps, AGoodSignatureOverTheAttributesHolds)
{
    uint32_t result = 7;
    EXPECT_STATUS(SIGKIT_OK, SigkitPkcs7DetachedSignatureVerify(&signer, cert.record, &result));
    EXPECT_EQ(1u, result);
    EXPECT_STATUS(SIGKIT_OK, InternalRequireSignedAttributes(signer, *cert.record));
    const DecodedCert other(AllParties().timestamp.certificate);
    EXPECT_STATUS(SIGKIT_OK, SigkitPkcs7DetachedSignatureVerify(&signer, other.record, &result));
    EXPECT_EQ(0u, result);
    EXPECT_STATUS(SIGKIT_ERR_SIGNATURE, InternalRequireSignedAttributes(signer, *other.record));
    EXPECT_TRUE(Lines().empty());
}

TEST_F(SignerSteps, MissingArgumentsAreLogged)
{
    uint32_t result = 7;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkcs7DetachedSignatureVerify(nullptr, cert.record, &result));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkcs7DetachedSignatureVerify(&signer, nullptr, &result));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkcs7DetachedSignatureVerify(&signer, cert.record, nullptr));
    signer.signedAttrsRaw = {};
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkcs7DetachedSignatureVerify(&signer, cert.record, &result));
    EXPECT_EQ(Texts(4, "E SigkitPkcs7DetachedSignatureVerify 88100001 -"), LineTexts());
    EXPECT_EQ(7u, result);
}

TEST_F(SignerSteps, AFailedCallbackIsLoggedInOneWay)
{
    WatchedCall RecordingHost::*const calls[] = {&RecordingHost::cryptoInit, &RecordingHost::cryptoUpdate,
                                                 &RecordingHost::cryptoFinal};
    for (WatchedCall RecordingHost::*const call : calls) {
        ResetRecordingHost();
        (g_recordingHost.*call).failAt = 1;
        uint32_t result = 7;
        EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, SigkitPkcs7DetachedSignatureVerify(&signer, cert.record, &result));
        EXPECT_EQ(0u, result);
        EXPECT_EQ(Texts{"E SigkitPkcs7DetachedSignatureVerify ffffffff Failed to init verify context."}, LineTexts());
        EXPECT_EQ(0, LiveHostObjects());
    }
    g_recordingHost.cryptoCreateCtx.failAt = g_recordingHost.cryptoCreateCtx.calls + 1;
    g_recordingHost.lines.clear();
    uint32_t result = 7;
    EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, SigkitPkcs7DetachedSignatureVerify(&signer, cert.record, &result));
    EXPECT_EQ(Texts{"E SigkitPkcs7DetachedSignatureVerify ffffffff -"}, LineTexts());
}

TEST_F(SignerSteps, ADigestWithoutSignedAttributesIsRefused)
{
    const SigkitAsnOcts good = signer.signedAttrsRaw;
    for (const SigkitAsnOcts &missing :
         {SigkitAsnOcts{}, SigkitAsnOcts{0, 0, 1, 17, good.data}, SigkitAsnOcts{good.len, 0, 1, 17, nullptr}}) {
        signer.signedAttrsRaw = missing;
        EXPECT_STATUS(SIGKIT_ERR_SIGNED_DATA, InternalRequireSignedAttributes(signer, *cert.record));
    }
    signer.signedAttrsRaw = {1, 0, 1, 17, good.data}; // there, but not what was signed
    EXPECT_STATUS(SIGKIT_ERR_SIGNATURE, InternalRequireSignedAttributes(signer, *cert.record));
    EXPECT_TRUE(Lines().empty());
}

TEST_F(SignerSteps, AttributesAreSignedUnderTheIdentifierOctetOfTheirRecord)
{
    const struct {
        uint32_t cls;
        uint32_t constructed;
        uint32_t tag;
        uint32_t identifier;
    } rows[] = {{0, 1, 17, 0x31}, {2, 1, 0, 0xA0}, {1, 0, 5, 0x45}, {3, 1, 30, 0xFE}};
    for (const auto &row : rows) {
        signer.signedAttrsRaw.cls = row.cls;
        signer.signedAttrsRaw.constructed = row.constructed;
        signer.signedAttrsRaw.tag = row.tag;
        g_recordingHost.cryptoInput.clear();
        uint32_t result = 7;
        EXPECT_STATUS(SIGKIT_OK, SigkitPkcs7DetachedSignatureVerify(&signer, cert.record, &result));
        EXPECT_EQ(row.identifier, g_recordingHost.cryptoInput[0]);
        EXPECT_EQ(row.identifier == 0x31 ? 1u : 0u, result);
    }
}

TEST_F(SignerSteps, ACheckWithoutAnOutcomeIsARefusal)
{
    LoadTrust();
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.signedAttributes = false;
    ASSERT_STATUS(SIGKIT_OK, Begin(request));
    ASSERT_STATUS(SIGKIT_OK, Update(CONTENT));
    g_recordingHost.cryptoFinalIsMute = true;
    EXPECT_STATUS(SIGKIT_OK, Final());
    EXPECT_EQ(0u, verdict);
    uint32_t result = 7;
    EXPECT_STATUS(SIGKIT_OK, SigkitPkcs7DetachedSignatureVerify(&signer, cert.record, &result));
    EXPECT_EQ(0u, result);
    const DecodedCert root(AllParties().root.certificate);
    EXPECT_STATUS(SIGKIT_OK, SigkitX509IsSelfSigned(root.record, &result));
    EXPECT_EQ(0u, result);
}

TEST_F(SignerSteps, MayUseAKeyUsageOfTwoOctets)
{
    const struct {
        uint8_t first;
        int second; // -1: none
        bool maySign;
    } rows[] = {
        {0x80, -1, true},    // digitalSignature
        {0x40, -1, false},   // nonRepudiation
        {0x7F, -1, false},   // all of one octet but digitalSignature
        {0xFF, -1, true},    // all of one octet
        {0x80, 0x00, true},  // digitalSignature, written with an octet too many
        {0x01, 0x00, false}, // encipherOnly, written so
        {0x80, 0x80, true},  // digitalSignature and decipherOnly
        {0x40, 0x80, false}, // nonRepudiation and decipherOnly
        {0x7F, 0xFF, false}, // all but digitalSignature
        {0x00, 0x80, true},  // decipherOnly alone: by design
    };
    LoadTrust();
    ASSERT_STATUS(SIGKIT_OK, Begin(MessageRequest(CONTENT))); // sets the time
    SigkitX509Cert *const stored = SigkitPkiFindCertByIssuerSn(ctx, &signer.sid.issuer, &signer.sid.serialNumber);
    ASSERT_NE(nullptr, stored);
    for (const auto &row : rows) {
        forge::Bytes encoded = {0x03, 0x02, 0x00, row.first};
        if (row.second >= 0) {
            encoded[1] = 3;
            encoded.push_back(static_cast<uint8_t>(row.second));
        }
        uint32_t consumed = 0;
        SigkitDecodeBuf buf = {encoded.data(), static_cast<uint32_t>(encoded.size()), 0};
        const SigkitAsnTemplate entry = {};
        ASSERT_STATUS(SIGKIT_OK, SigkitBitsToInt(&buf, &stored->tbsCertificate.extensions.keyUsage, &consumed, &entry));
        EXPECT_STATUS(row.maySign ? SIGKIT_OK : SIGKIT_ERR_CERT_USAGE,
                      InternalVerifyIssuerCert(ctx, stored, SIGKIT_EXKU_CODE_SIGNING))
            << std::hex << +row.first << " " << row.second;
    }
}

TEST_F(SignerSteps, AnEmptyDigestIsNone)
{
    EXPECT_TRUE(InternalHasMessageDigest(signer));
    signer.signedAttrs.messageDigest.len = 0;
    EXPECT_FALSE(InternalHasMessageDigest(signer));
    signer.signedAttrs.messageDigest = {32, 0, 0, 4, nullptr};
    EXPECT_FALSE(InternalHasMessageDigest(signer));
}

TEST_F(SignerSteps, ADigestOfSixtyFourOctetsIsTheLongest)
{
    SigkitMdInfo *info = nullptr;
    signer.signedAttrs.messageDigest = {64, 0, 0, 4, LONG};
    ASSERT_STATUS(SIGKIT_OK, InternalGetDigestFromSignerInfo(signer, &info));
    EXPECT_EQ(64u, info->expectedDigestLen);
    EXPECT_EQ(AOID_SHA256, info->hashAlg);
    EXPECT_EQ(nullptr, info->md);
    InternalFreeMdInfo(info);
    InternalFreeMdInfo(nullptr);
    signer.signedAttrs.messageDigest.len = 65;
    info = nullptr;
    EXPECT_STATUS(SIGKIT_ERR_VALUE_TOO_LONG, InternalGetDigestFromSignerInfo(signer, &info));
    signer.digestAlgorithm.algorithm = {};
    EXPECT_STATUS(SIGKIT_ERR_DIGEST_ALGORITHM, InternalGetDigestFromSignerInfo(signer, &info));
    EXPECT_EQ(nullptr, info);
    EXPECT_EQ((Texts{"E InternalGetDigestFromSignerInfo 88000002 -", "E InternalGetDigestFromSignerInfo 88200306 -"}),
              LineTexts());
}

TEST_F(SignerSteps, ASignatureOf516OctetsIsTheLongest)
{
    signer.signature = {516, 0, 0, 4, LONG};
    EXPECT_STATUS(SIGKIT_OK, InternalCreateVerifyHandle(ctx, signer, *cert.record));
    ASSERT_EQ(1u, ctx->handles.count);
    const SigkitMdInfo *const check = static_cast<const SigkitMdInfo *>(ctx->handles.items[0]);
    EXPECT_EQ(516u, check->signatureLen);
    EXPECT_EQ(0u, check->hashAlg);
    EXPECT_EQ(nullptr, check->md);
    signer.signature.len = 517;
    EXPECT_STATUS(SIGKIT_ERR_SIGNATURE_TOO_LONG, InternalCreateVerifyHandle(ctx, signer, *cert.record));
    EXPECT_EQ(Texts{"E InternalCreateVerifyHandle 88200201 -"}, LineTexts());
    signer.signature = {};
    EXPECT_STATUS(SIGKIT_OK, InternalCreateVerifyHandle(ctx, signer, *cert.record)) << "an empty one is a length of 0";
    EXPECT_EQ(2u, ctx->handles.count);
}

TEST_F(SignerSteps, ASignatureCheckNeedsAKey)
{
    cert.record->tbsCertificate.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey.modulus = {513, 0, 0, 2, LONG};
    EXPECT_STATUS(SIGKIT_ERR_KEY_TOO_LONG, InternalCreateVerifyHandle(ctx, signer, *cert.record));
    uint32_t result = 7;
    EXPECT_STATUS(SIGKIT_ERR_KEY_TOO_LONG, SigkitPkcs7DetachedSignatureVerify(&signer, cert.record, &result));
    EXPECT_EQ(0u, ctx->handles.count);
}

TEST_F(SignerSteps, ACheckWithoutAnyContextIsRefused)
{
    void *block = nullptr;
    ASSERT_EQ(0u, SigkitMallocWith0(&block, sizeof(SigkitMdInfo)));
    ASSERT_STATUS(SIGKIT_OK, SigkitListAdd(&ctx->handles, block));
    EXPECT_STATUS(SIGKIT_ERR_NOT_BEGUN, Update(CONTENT));
    EXPECT_STATUS(SIGKIT_ERR_SIGNATURE, Final());
    EXPECT_EQ(0u, verdict);
    EXPECT_EQ((Texts{"E SigkitVerifyDetachSignatureUpdate 88200307 -",
                     "E SigkitVerifyDetachSignatureFinal 88200309 Verify Signature Content failed."}),
              LineTexts());
    EXPECT_EQ(0u, ctx->handles.count);
}

TEST_F(SignerSteps, AFailedDigestEndsWithTheVerdictNo)
{
    LoadTrust();
    for (WatchedCall RecordingHost::*const call : {&RecordingHost::mdUpdate, &RecordingHost::mdFinal}) {
        ASSERT_STATUS(SIGKIT_OK, Begin(MessageRequest(CONTENT)));
        (g_recordingHost.*call).failAt = (g_recordingHost.*call).calls + 1;
        const uint32_t updated = Update(CONTENT);
        const uint32_t ended = Final();
        EXPECT_EQ(0u, verdict);
        EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, updated == SIGKIT_OK ? ended : updated);
    }
    EXPECT_TRUE(HasLine("E SigkitVerifyDetachSignatureUpdate ffffffff -"));
    EXPECT_TRUE(HasLine("E SigkitVerifyDetachSignatureFinal ffffffff Verify Signature Content failed."));
}

TEST_F(SignerSteps, ATokenSignedDirectlyWithAnUnsupportedDigestIsRefused)
{
    LoadTrust();
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.tokenRequest.signedAttributes = false;
    request.tokenRequest.signerDigest = forge::Digest::Sha1;
    EXPECT_STATUS(SIGKIT_ERR_ALGORITHM, Begin(request));
    EXPECT_EQ("E SigkitX509PubKeyVerify 88200310 -", LineTexts()[0]);
    EXPECT_EQ("E InternalVerifyTsSignerInfo 88200310 -", LineTexts()[1]);
}

TEST_F(SignerSteps, EmptySlotsOfAListArePassedOver)
{
    SigkitList certs = {2, {nullptr, cert.record}};
    EXPECT_STATUS(SIGKIT_OK, InternalAddCertToStore(ctx, certs, 0));
    EXPECT_EQ(1u, StoredCerts());
}

TEST_F(SignerSteps, CertificatesThatDoNotFitTheStoreEndBegin)
{
    LoadTrust();
    forge::Bytes fillers;
    for (int i = 0; i < 15; ++i) {
        fillers = Join({fillers, Certify(CertificateRequest("Filler", &AllParties().root)).certificate});
    }
    ASSERT_STATUS(SIGKIT_OK, AddCert(fillers));
    EXPECT_STATUS(SIGKIT_ERR_LIST_FULL, Begin(MessageRequest(CONTENT)));
    EXPECT_EQ((Texts{"E InternalAddCertToStore 88000501 Failed to add certificate into PKI context.",
                     "E SigkitVerifyDetachSignatureBegin 88000501 -"}),
              LineTexts());
}
