// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Signature messages and the content of timestamp tokens.
#include "asn1/decode.h"
#include "tests/x509/decode_helper.h"

namespace
{

using namespace der;

using Message = LibraryTest;

// What the decoder says about a SignedData, before it is reported as a malformed message.
uint32_t DecoderStatus(const SignedData &data)
{
    const Bytes encoding = MessageOf(data);
    void *record = nullptr;
    uint32_t consumed = 0;
    const uint32_t status = SigkitAsnDecode(encoding.data(), static_cast<uint32_t>(encoding.size()),
                                            &g_itemSigkitPkcs7Content, 0, &record, &consumed);
    SigkitAsnFree(record, &g_itemSigkitPkcs7Content);
    return status;
}

SignedData Of(const SignerInfo &signer)
{
    SignedData data;
    data.signerInfos = Set({Encode(signer)});
    return data;
}

const SigkitPkcs7SignedInfo &Signer(const DecodedMessage &message)
{
    return message.record->content.signerInfos.items[0];
}

} // namespace

TEST_F(Message, DecodesIntoItsMembers)
{
    SignerInfo signer;
    signer.unsignedAttrs = UnsignedAttributes({Attribute("1.2.840.113549.1.9.16.2.14", {Sequence({Integer(9)})})});
    const Bytes encoding = MessageOf(Of(signer));
    const DecodedMessage message(encoding);
    ASSERT_STATUS(SIGKIT_OK, message.status);
    EXPECT_EQ(encoding.size(), message.consumed);
    EXPECT_EQ(OidContent("1.2.840.113549.1.7.2"), OctetsOf(message.record->contentType));
    const SigkitPkcs7SignedData &data = message.record->content;
    EXPECT_EQ(1u, data.version);
    EXPECT_EQ(OidContent("1.2.840.113549.1.7.1"), OctetsOf(data.encapContentInfo.eContentType));
    EXPECT_EQ(nullptr, data.encapContentInfo.eContent.data);
    EXPECT_EQ(0u, data.certificates.count);
    ASSERT_EQ(1u, data.signerInfos.count);
    const SigkitPkcs7SignedInfo &info = Signer(message);
    EXPECT_EQ(1u, info.version);
    EXPECT_EQ((Bytes{1}), OctetsOf(info.sid.serialNumber));
    EXPECT_EQ(Text("Test CA"), OctetsOf(info.sid.issuer.items[2].items[0].value));
    EXPECT_EQ(OidContent("2.16.840.1.101.3.4.2.1"), OctetsOf(info.digestAlgorithm.algorithm));
    EXPECT_EQ(*signer.signedAttrs, OctetsOf(info.signedAttrsRaw)) << "the whole encoding";
    EXPECT_EQ(0u, info.signedAttrsRaw.cls);
    EXPECT_EQ(1u, info.signedAttrsRaw.constructed);
    EXPECT_EQ(17u, info.signedAttrsRaw.tag) << "reported as the SET that is signed";
    EXPECT_EQ(Fill(32, 0xD1), OctetsOf(info.signedAttrs.messageDigest));
    EXPECT_EQ(Fill(256, 0x5A), OctetsOf(info.signature));
    EXPECT_EQ(Sequence({Integer(9)}), OctetsOf(info.unsignedAttrs.timeStampToken)) << "the whole first value";
}

TEST_F(Message, WithoutAttributesHasNone)
{
    SignerInfo signer;
    signer.signedAttrs = std::nullopt;
    const DecodedMessage message(Of(signer));
    ASSERT_STATUS(SIGKIT_OK, message.status);
    const SigkitPkcs7SignedInfo &info = Signer(message);
    EXPECT_EQ(0u, info.signedAttrsRaw.len);
    EXPECT_EQ(nullptr, info.signedAttrsRaw.data);
    EXPECT_EQ(nullptr, info.signedAttrs.messageDigest.data);
    EXPECT_EQ(nullptr, info.unsignedAttrs.timeStampToken.data);
}

TEST_F(Message, EachRequiredMemberIsRequired)
{
    Member SignedData::*const members[] = {&SignedData::digestAlgorithms, &SignedData::encapContentInfo,
                                           &SignedData::signerInfos};
    for (Member SignedData::*const member : members) {
        SignedData data;
        data.*member = std::nullopt;
        EXPECT_STATUS(SIGKIT_ERR_SIGNED_DATA, DecodedMessage(data).status);
    }
    Member SignerInfo::*const signerMembers[] = {&SignerInfo::version, &SignerInfo::sid, &SignerInfo::digestAlgorithm,
                                                 &SignerInfo::signatureAlgorithm, &SignerInfo::signature};
    for (Member SignerInfo::*const member : signerMembers) {
        SignerInfo signer;
        signer.*member = std::nullopt;
        EXPECT_STATUS(SIGKIT_ERR_SIGNED_DATA, DecodedMessage(Of(signer)).status);
    }
    SignedData data;
    data.version = std::nullopt;
    EXPECT_STATUS(SIGKIT_OK, DecodedMessage(data).status) << "the version is not required";
}

TEST_F(Message, HoldsTwoCertificates)
{
    const Bytes cert = CertificateOf(TbsCertificate());
    SignedData data;
    data.certificates = CertificateSet({cert, cert});
    const DecodedMessage message(data);
    ASSERT_STATUS(SIGKIT_OK, message.status);
    ASSERT_EQ(2u, message.record->content.certificates.count);
    EXPECT_EQ(cert, OctetsOf(message.record->content.certificates.items[1]));
    EXPECT_EQ(2u, message.record->content.certList.count);
    EXPECT_EQ(1, static_cast<SigkitX509Cert *>(message.record->content.certList.items[1])->refCount);
    data.certificates = CertificateSet({cert, cert, cert});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, DecoderStatus(data));
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_ERR_SIGNED_DATA, DecodedMessage(data).status);
    EXPECT_EQ(std::vector<std::string>{"E SigkitPkcs7DecodeSigned 88200312 -"}, LineTexts());
}

TEST_F(Message, WithABrokenCertificateIsRefused)
{
    const Bytes cert = CertificateOf(TbsCertificate());
    const std::string line = "E SigkitPkcs7DecodeSigned 88200312 -";
    for (const Bytes &broken : {Retag(SET, cert), Integer(5), Sequence({Integer(5)})}) {
        ResetRecordingHost();
        SignedData data;
        data.certificates = CertificateSet({cert, broken});
        EXPECT_STATUS(SIGKIT_ERR_SIGNED_DATA, DecodedMessage(data).status);
        EXPECT_EQ((std::vector<std::string>{"E InternalDecodeCert 88200312 -", line}), LineTexts());
    }
    ResetRecordingHost();
    SignedData data;
    data.certificates = CertificateSet({cert, Truncate(cert, 1)});
    EXPECT_STATUS(SIGKIT_ERR_SIGNED_DATA, DecodedMessage(data).status);
    EXPECT_EQ(std::vector<std::string>{line}, LineTexts()) << "the set around it does not decode";
}

TEST_F(Message, OfTwoSignersIsRefused)
{
    SignedData data;
    data.signerInfos = Set({Encode(SignerInfo()), Encode(SignerInfo())});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, DecoderStatus(data));
    data.signerInfos = Set({});
    const DecodedMessage message(data);
    ASSERT_STATUS(SIGKIT_OK, message.status);
    EXPECT_EQ(0u, message.record->content.signerInfos.count);
}

TEST_F(Message, CrlsInItAreReadOver)
{
    SignedData data;
    data.crls = Implicit(1, true, CertificateListOf(TbsCertList()));
    EXPECT_STATUS(SIGKIT_OK, DecodedMessage(data).status);
}

TEST_F(Message, TheContentIsTheWrappersContent)
{
    SignedData data;
    data.encapContentInfo = Sequence({Oid("1.2.3"), Explicit(0, OctetString({1, 2}))});
    const DecodedMessage message(data);
    ASSERT_STATUS(SIGKIT_OK, message.status);
    EXPECT_EQ(OctetString({1, 2}), OctetsOf(message.record->content.encapContentInfo.eContent));
}

TEST_F(Message, ASignerByKeyIdentifierIsRefused)
{
    SignerInfo signer;
    signer.sid = Implicit(0, false, {1, 2, 3});
    EXPECT_STATUS(SIGKIT_ERR_SIGNED_DATA, DecodedMessage(Of(signer)).status);
}

TEST_F(Message, OtherAttributesAreSkippedAndEmptyOnesRefused)
{
    SignerInfo signer;
    signer.signedAttrs = SignedAttributes(
        {Attribute("1.2.3.4", {Null()}), Attribute("1.2.840.113549.1.9.4", {OctetString({7}), OctetString({8})})});
    const DecodedMessage message(Of(signer));
    ASSERT_STATUS(SIGKIT_OK, message.status);
    EXPECT_EQ((Bytes{7}), OctetsOf(Signer(message).signedAttrs.messageDigest)) << "the first value";
    signer.signedAttrs = SignedAttributes({Attribute("1.2.3.4", {})});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, DecoderStatus(Of(signer))) << "even of a kind that nobody asks for";
}

TEST_F(Message, TheLastOfTwoTokensCounts)
{
    SignerInfo signer;
    signer.unsignedAttrs = UnsignedAttributes(
        {Attribute("1.2.840.113549.1.9.16.2.14", {Integer(1)}), Attribute("1.2.840.113549.1.9.16.2.14", {Integer(2)})});
    const DecodedMessage message(Of(signer));
    ASSERT_STATUS(SIGKIT_OK, message.status);
    EXPECT_EQ(Integer(2), OctetsOf(Signer(message).unsignedAttrs.timeStampToken));
}

TEST_F(Message, MissingArgumentsAreRefused)
{
    const Bytes encoding = MessageOf(SignedData());
    const uint32_t len = static_cast<uint32_t>(encoding.size());
    SigkitPkcs7Content *message = nullptr;
    uint32_t out = 0;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkcs7DecodeSigned(nullptr, len, &message, &out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkcs7DecodeSigned(encoding.data(), 0, &message, &out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkcs7DecodeSigned(encoding.data(), len, nullptr, &out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkcs7DecodeSigned(encoding.data(), len, &message, nullptr));
    EXPECT_EQ(std::vector<std::string>(4, "E SigkitPkcs7DecodeSigned 88100001 -"), LineTexts());
    SigkitPkcs7FreeSigned(nullptr);
}

TEST_F(Message, TimestampContentKeepsImprintAndTime)
{
    TstInfo info;
    info.accuracy = Sequence({Integer(1)});
    info.ordering = Boolean();
    info.nonce = Integer(5);
    info.tsa = Implicit(0, true, NameOf("TSA"));
    info.extensions = Implicit(1, true, Extension("1.2.3", Null()));
    const Bytes encoding = Encode(info);
    void *block = nullptr;
    uint32_t consumed = 0;
    ASSERT_STATUS(SIGKIT_OK, SigkitAsnDecode(encoding.data(), static_cast<uint32_t>(encoding.size()),
                                             &g_itemSigkitTimestampInfo, 0, &block, &consumed));
    const SigkitTimestampInfo *const record = static_cast<const SigkitTimestampInfo *>(block);
    EXPECT_EQ(OidContent("2.16.840.1.101.3.4.2.1"), OctetsOf(record->messageImprint.hashAlgorithm.algorithm));
    EXPECT_EQ(Fill(32, 0xD2), OctetsOf(record->messageImprint.hashedMessage));
    EXPECT_EQ(Text("20240102030405Z"), OctetsOf(record->genTime));
    SigkitAsnFree(block, &g_itemSigkitTimestampInfo);

    const struct {
        Member TstInfo::*member;
        uint32_t status; // of reading the member behind it in its place
    } rows[] = {{&TstInfo::version, SIGKIT_ERR_ASN_TAG},
                {&TstInfo::policy, SIGKIT_ERR_ASN_TAG},
                {&TstInfo::messageImprint, SIGKIT_ERR_ASN_TAG},
                {&TstInfo::serialNumber, SIGKIT_ERR_ASN_OCTETS_TAG}};
    for (const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        TstInfo without;
        without.*row.member = std::nullopt;
        const Bytes broken = Encode(without);
        EXPECT_STATUS(row.status, SigkitAsnDecode(broken.data(), static_cast<uint32_t>(broken.size()),
                                                  &g_itemSigkitTimestampInfo, 0, &block, &consumed));
    }
}
