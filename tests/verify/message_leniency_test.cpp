// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the verifier is lenient about in timestamps, messages and content by design, where no other test shows it.
// docs/security.md says what each leniency means for a deployer.
#include <functional>

#include "tests/support/process.h"
#include "tests/verify/leniency_fixture.h"

namespace
{

const char MESSAGE_DIGEST[] = "1.2.840.113549.1.9.4";
const char CONTENT_TYPE[] = "1.2.840.113549.1.9.3";
const char DATA[] = "1.2.840.113549.1.7.1";

class ContentLeniency : public Leniency
{
protected:
    uint32_t Quick(const std::string &content, const forge::Bytes &message)
    {
        EXPECT_TRUE(forge::WriteFile(directory.File("content"), content).ok);
        EXPECT_TRUE(forge::WriteFile(directory.File("signature"), message).ok);
        return QuickOf(directory.File("content"));
    }

    uint32_t QuickOf(const std::string &contentPath)
    {
        verdict = 7;
        return SigkitVerifyDetachSignatureQuick(ctx, contentPath.c_str(), directory.File("signature").c_str(),
                                                &verdict);
    }

    TemporaryDirectory directory;
};

der::Bytes DigestAttribute(const forge::Bytes &digest)
{
    return der::Attribute(MESSAGE_DIGEST, {der::OctetString(digest)});
}

der::Bytes GoodDigest()
{
    return DigestAttribute(Sha256(Octets(CONTENT)));
}

// A good message with a token of the timestamp authority: its content is `change`d, its signer signs `attributes`, or
// the content itself when there are none.
forge::Bytes WithToken(const std::function<void(der::TstInfo *)> &change,
                       const std::function<std::vector<der::Bytes>(const forge::Bytes &tstInfo)> &attributes)
{
    return MessageWithToken(CONTENT, [&](const forge::Bytes &signature) {
        der::TstInfo info = CraftTstInfo(signature);
        change(&info);
        const forge::Bytes tstInfo = der::Encode(info);
        const std::vector<der::Bytes> signedAttributes = attributes(tstInfo);
        const Party &authority = AllParties().timestamp;
        der::SignerInfo signer;
        signer.sid = SignerIdentifier(authority);
        signer.signedAttrs = signedAttributes.empty() ? der::Member() : der::SignedAttributes(signedAttributes);
        signer.signature =
            der::OctetString(SignOctets(authority, signedAttributes.empty() ? tstInfo : der::Set(signedAttributes)));
        der::SignedData data;
        data.encapContentInfo = der::Sequence({der::Oid(DATA), der::Explicit(0, der::OctetString(tstInfo))});
        data.certificates = der::CertificateSet({authority.certificate});
        data.signerInfos = der::Set({der::Encode(signer)});
        return der::MessageOf(data);
    });
}

forge::Bytes WithAttributes(const std::vector<der::Bytes> &attributes)
{
    return CraftMessage(AllParties().signer, attributes);
}

std::vector<der::Bytes> NoAttributes(const forge::Bytes &)
{
    return {};
}

} // namespace

// ---- Timestamps ----------------------------------------------------------------------------------------------------

TEST_F(Leniency, ATimestampAuthorityMayHaveFurtherPurposes)
{
    LoadTrust();
    forge::CertificateRequest request = CertificateRequest("Both", &AllParties().issuingCa);
    request.basicConstraints = forge::BasicConstraints::NotCa;
    request.keyUsage = forge::DIGITAL_SIGNATURE;
    request.extendedKeyUsage = {forge::PURPOSE_TIME_STAMPING, forge::PURPOSE_CODE_SIGNING};
    ExpectAccepted(MakeMessage(MessageTimestampedBy(CONTENT, Certify(request))), "and its purposes are not critical");
}

TEST_F(Leniency, OfATokenOnlyImprintTimeAndSignatureAreRead)
{
    LoadTrust();
    const auto odd = [](der::TstInfo *info) {
        info->version = der::Integer(99);
        info->policy = der::Null();
        info->genTime = der::UtcTime("220101000000Z");
        info->accuracy = der::Sequence({der::Integer(1000000)});
        info->nonce = der::Integer(5);
        info->tsa = der::Explicit(0, der::Explicit(4, der::NameOf("Somebody else")));
        info->extensions = der::Implicit(1, true, der::Extension("1.2.3.4", der::Null(), der::Boolean()));
    };
    ExpectAccepted(WithToken(odd, NoAttributes), "members of the TSTInfo, and a content of type data");

    const auto otherCertificate = [](const forge::Bytes &tstInfo) {
        const der::Bytes identifier = der::Sequence({der::OctetString(Sha256(AllParties().signer.certificate))});
        const der::Bytes signingCertificate = der::Sequence({der::Sequence({identifier})});
        return std::vector<der::Bytes>{der::Attribute("1.2.840.113549.1.9.16.2.47", {signingCertificate}),
                                       DigestAttribute(Sha256(tstInfo))};
    };
    ExpectAccepted(WithToken([](der::TstInfo *) {}, otherCertificate), "signingCertificateV2 of another certificate");
}

// ---- Messages ------------------------------------------------------------------------------------------------------

TEST_F(Leniency, ADigestAlgorithmMayBeThatOfASignatureAndSignatureAlgorithmIsNotRead)
{
    LoadTrust();
    der::SignerInfo signer;
    signer.signedAttrs = der::SignedAttributes({GoodDigest()});
    signer.digestAlgorithm = der::AlgorithmIdentifier(SHA256_WITH_RSA, der::Integer(5));
    signer.signatureAlgorithm = der::AlgorithmIdentifier(MD5_WITH_RSA);
    ExpectAccepted(CraftMessage(AllParties().signer, der::Set({GoodDigest()}), signer),
                   "with parameters that it does not have");
}

TEST_F(Leniency, OfSignedAttributesOnlyTheLastMessageDigestIsRead)
{
    LoadTrust();
    const der::Bytes wrongType = der::Attribute(CONTENT_TYPE, {der::Oid("1.2.3.4")});
    const der::Bytes wrongDigest = DigestAttribute(der::Fill(32, 0xD1));
    const der::Bytes twoValues = der::Attribute(
        MESSAGE_DIGEST, {der::OctetString(Sha256(Octets(CONTENT))), der::OctetString(der::Fill(32, 0xD1))});
    ExpectAccepted(WithAttributes({GoodDigest()}), "no contentType");
    ExpectAccepted(WithAttributes({GoodDigest(), wrongType}), "another contentType, out of order");
    ExpectAccepted(WithAttributes({wrongDigest, GoodDigest()}), "a second messageDigest");
    ExpectAccepted(WithAttributes({twoValues}), "a second value");
    EXPECT_STATUS(SIGKIT_OK, Verify(WithAttributes({GoodDigest(), wrongDigest})));
    EXPECT_EQ(0u, verdict) << "the last one counts";
}

TEST_F(Leniency, SignedAttributesWithoutAMessageDigestAreNotCoveredByTheSignature)
{
    LoadTrust();
    for (const char *const time : {"220101000000Z", "230101000000Z"}) {
        der::SignerInfo signer;
        signer.signedAttrs = der::SignedAttributes({der::Attribute("1.2.840.113549.1.9.5", {der::UtcTime(time)})});
        ExpectAccepted(CraftMessage(AllParties().signer, Octets(CONTENT), signer), time);
    }
}

TEST_F(Leniency, ContentInsideTheMessageIsNotLookedAt)
{
    LoadTrust();
    der::SignerInfo signer;
    signer.signedAttrs = der::SignedAttributes({GoodDigest()});
    der::SignedData data;
    data.encapContentInfo =
        der::Sequence({der::Oid(DATA), der::Explicit(0, der::OctetString(der::Text("another content")))});
    ExpectAccepted(CraftMessage(AllParties().signer, der::Set({GoodDigest()}), signer, data), "the file decides");
}

TEST_F(Leniency, WhatStandsBehindAMessageIsLeftAlone)
{
    LoadTrust();
    const forge::Bytes behind = Octets(std::string(100, 'x'));
    ExpectAccepted(Join({GoodMessage(), behind}), "DER");
    ExpectAccepted(Join({Pem(forge::LABEL_CMS, GoodMessage()), behind}), "PEM");
}

TEST_F(Leniency, PemMessagesUseUpAContext)
{
    LoadTrust(); // two of sixteen images
    const forge::Bytes message = GoodMessage();
    for (int i = 0; i < 14; ++i) {
        ExpectAccepted(Pem(forge::LABEL_CMS, message), std::to_string(i));
    }
    EXPECT_STATUS(SIGKIT_ERR_CMS_DECODE, Verify(Pem(forge::LABEL_CMS, message)));
    ExpectAccepted(message, "DER takes none");
}

// ---- Content -------------------------------------------------------------------------------------------------------

TEST_F(ContentLeniency, AReadErrorInTheContentReadsAsItsEnd)
{
    LoadTrust();
    const std::string first(4096, 'x');
    ASSERT_STATUS(SIGKIT_OK, Quick(first + "more", MakeMessage(MessageRequest(first))));
    EXPECT_EQ(0u, verdict);
    g_recordingHost.fileRead.failAt = g_recordingHost.fileRead.calls + 3; // the message, the first piece, the second
    ASSERT_STATUS(SIGKIT_OK, QuickOf(directory.File("content")));
    EXPECT_EQ(1u, verdict);
}

TEST_F(ContentLeniency, AnEndlessContentIsReadWithoutEnd)
{
    LoadTrust();
    ASSERT_STATUS(SIGKIT_OK, Quick(CONTENT, GoodMessage()));
    const uint32_t before = g_recordingHost.fileRead.calls;
    g_recordingHost.fileRead.failAt = before + 5000;
    EXPECT_STATUS(SIGKIT_OK, QuickOf("/dev/zero"));
    EXPECT_EQ(0u, verdict);
    EXPECT_EQ(5000u, g_recordingHost.fileRead.calls - before) << "nothing but the test ended it";
}

TEST_F(ContentLeniency, AnAbandonedCheckJoinsTheNextContent)
{
    LoadTrust();
    const std::string content = CONTENT;
    const std::string half = content.substr(0, 10);
    const std::string rest = content.substr(10);
    const forge::Bytes message = GoodMessage();
    ASSERT_STATUS(SIGKIT_OK, Begin(message));
    ASSERT_STATUS(SIGKIT_OK, Update(half)); // and the content goes away
    ASSERT_STATUS(SIGKIT_OK, Quick(rest, message));
    EXPECT_EQ(1u, verdict) << "for half of the content";

    ASSERT_STATUS(SIGKIT_OK, Begin(message));
    ASSERT_STATUS(SIGKIT_OK, Update(half));
    EXPECT_STATUS(SIGKIT_OK, Final());
    ASSERT_STATUS(SIGKIT_OK, Quick(rest, message));
    EXPECT_EQ(0u, verdict) << "Final between them empties the checks";
}

TEST_F(ContentLeniency, AQuickThatFailsLeavesItsCheckOpen)
{
    LoadTrust();
    ASSERT_STATUS(SIGKIT_OK, Quick(CONTENT, GoodMessage()));
    ASSERT_STATUS(SIGKIT_ERR_FILE_OPEN, QuickOf(directory.File("missing")));
    EXPECT_STATUS(SIGKIT_ERR_DIGEST_CONFLICT, Quick("other", MakeMessage(MessageRequest("other"))));
    EXPECT_STATUS(SIGKIT_OK, Final());
    ASSERT_STATUS(SIGKIT_OK, Quick("other", MakeMessage(MessageRequest("other"))));
    EXPECT_EQ(1u, verdict);
}
