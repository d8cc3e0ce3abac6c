// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/cert.h"

#include "tests/x509/decode_helper.h"

namespace
{

using namespace der;

using Cert = LibraryTest;

TbsCertificate With(const std::vector<Bytes> &extensions)
{
    TbsCertificate tbs;
    tbs.extensions = CertExtensions(extensions);
    return tbs;
}

// A key usage extension from the octets of a BIT STRING's content.
Bytes KeyUsage(const Bytes &content)
{
    return Extension("2.5.29.15", Tlv(BIT_STRING, content), Boolean());
}

} // namespace

TEST_F(Cert, DecodesIntoItsMembers)
{
    TbsCertificate tbs =
        With({BasicConstraintsExtension(true), KeyUsage({0x01, 0x86}), ExtKeyUsageExtension({"1.3.6.1.5.5.7.3.3"})});
    tbs.serialNumber = IntegerRaw({0x00, 0x8F, 0x01});
    const Bytes encoding = CertificateOf(tbs);
    const DecodedCert cert(Concatenate({encoding, {0xFF, 0xFF}}));
    ASSERT_STATUS(SIGKIT_OK, cert.status);
    EXPECT_EQ(encoding.size(), cert.consumed);
    EXPECT_EQ(1, cert.record->refCount);
    EXPECT_EQ(nullptr, cert.record->issuerCert);
    EXPECT_EQ(Encode(tbs), OctetsOf(cert.record->encoded));
    const SigkitX509CertInfo &info = cert.record->tbsCertificate;
    EXPECT_EQ((Bytes{0x8F, 0x01}), OctetsOf(info.serialNumber)) << "without its leading zero";
    EXPECT_EQ(3u, info.issuer.count);
    EXPECT_EQ(Text("Test CA"), OctetsOf(info.issuer.items[2].items[0].value));
    EXPECT_EQ(12u, info.issuer.items[2].items[0].value.tag);
    EXPECT_EQ(Text("Test Subject"), OctetsOf(info.subject.items[2].items[0].value));
    EXPECT_EQ(Text("200101000000Z"), OctetsOf(info.validity.notBefore));
    EXPECT_EQ(Text("400101000000Z"), OctetsOf(info.validity.notAfter));
    EXPECT_EQ(256u, info.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey.modulus.len);
    EXPECT_EQ((Bytes{1, 0, 1}), OctetsOf(info.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey.publicExponent));
    EXPECT_EQ(1u, info.extensions.basicConstraints.cA);
    EXPECT_EQ(0x86u, info.extensions.keyUsage);
    EXPECT_EQ(8u, info.extensions.extKeyUsage);
    EXPECT_EQ(OidContent("1.2.840.113549.1.1.11"), OctetsOf(cert.record->signatureAlgorithm.algorithm));
    EXPECT_EQ(nullptr, cert.record->signatureAlgorithm.parameters.data) << "NULL";
    EXPECT_EQ(Fill(256, 0x5A), OctetsOf(cert.record->signatureValue));
    EXPECT_EQ(1u, AllocationCalls()) << "one allocation for all of it";
}

TEST_F(Cert, EachRequiredMemberIsRequired)
{
    // The member behind it is read in its place.
    const struct {
        Member TbsCertificate::*member;
        uint32_t status;
    } rows[] = {
        {&TbsCertificate::version, SIGKIT_ERR_ASN_SEQUENCE},
        {&TbsCertificate::serialNumber, SIGKIT_ERR_ASN_OCTETS_TAG},
        {&TbsCertificate::signature, SIGKIT_ERR_ASN_SET},
        {&TbsCertificate::issuer, SIGKIT_ERR_ASN_SET},
        {&TbsCertificate::validity, SIGKIT_ERR_ASN_SEQUENCE},
        {&TbsCertificate::subject, SIGKIT_ERR_ASN_SET},
        {&TbsCertificate::subjectPublicKeyInfo, SIGKIT_ERR_ASN_SEQUENCE},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        TbsCertificate tbs;
        tbs.*row.member = std::nullopt;
        EXPECT_STATUS(row.status, DecodedCert(tbs).status);
    }
    const struct {
        Member Certificate::*member;
        uint32_t status;
    } outer[] = {{&Certificate::signatureAlgorithm, SIGKIT_ERR_ASN_TAG},
                 {&Certificate::signatureValue, SIGKIT_ERR_ASN_SEQUENCE}};
    for (const auto &row : outer) {
        Certificate certificate;
        certificate.tbsCertificate = Encode(TbsCertificate());
        certificate.*row.member = std::nullopt;
        EXPECT_STATUS(row.status, DecodedCert(Encode(certificate)).status);
    }
}

TEST_F(Cert, OfVersion1DoesNotDecode)
{
    TbsCertificate tbs;
    tbs.version = std::nullopt;
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, DecodedCert(tbs).status);
    tbs.version = Explicit(0, Integer(77));
    EXPECT_STATUS(SIGKIT_OK, DecodedCert(tbs).status) << "the number is not looked at";
}

TEST_F(Cert, UniqueIdentifiersAreReadOver)
{
    TbsCertificate tbs = With({BasicConstraintsExtension(true)});
    tbs.issuerUniqueID = Implicit(1, false, {0x00, 0xAA});
    tbs.subjectUniqueID = Implicit(2, false, {0x00, 0xBB});
    const DecodedCert cert(tbs);
    ASSERT_STATUS(SIGKIT_OK, cert.status);
    EXPECT_EQ(1u, cert.record->tbsCertificate.extensions.basicConstraints.cA);
}

TEST_F(Cert, WhatFollowsTheLastMemberIsRefused)
{
    TbsCertificate tbs;
    tbs.trailing = Integer(1);
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, DecodedCert(tbs).status);
    Certificate certificate;
    certificate.tbsCertificate = Encode(TbsCertificate());
    certificate.trailing = Null();
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, DecodedCert(Encode(certificate)).status);
}

TEST_F(Cert, WithoutExtensionsHasNone)
{
    const DecodedCert cert{TbsCertificate()};
    ASSERT_STATUS(SIGKIT_OK, cert.status);
    EXPECT_EQ(0u, cert.record->tbsCertificate.extensions.basicConstraints.cA);
    EXPECT_EQ(0u, cert.record->tbsCertificate.extensions.keyUsage);
    EXPECT_EQ(0u, cert.record->tbsCertificate.extensions.extKeyUsage);
}

TEST_F(Cert, UnknownCriticalExtensionsAreSkipped)
{
    const DecodedCert cert(With({Extension("1.2.3.4.5", OctetString({1}), Boolean()), KeyUsage({0x07, 0x80})}));
    ASSERT_STATUS(SIGKIT_OK, cert.status);
    EXPECT_EQ(128u, cert.record->tbsCertificate.extensions.keyUsage);
}

TEST_F(Cert, TheLastOfTwoEqualExtensionsCounts)
{
    const DecodedCert cert(With({KeyUsage({0x07, 0x80}), KeyUsage({0x01, 0x06})}));
    ASSERT_STATUS(SIGKIT_OK, cert.status);
    EXPECT_EQ(6u, cert.record->tbsCertificate.extensions.keyUsage);
}

// Extensions that do not decode count as absent, and then stand in the way of the end of the certificate.

TEST_F(Cert, KeyUsageIsANumberOfOneOrTwoOctets)
{
    const struct {
        Bytes content;
        uint32_t status;
        uint32_t value;
        const char *line;
    } rows[] = {
        {{0x07, 0x80}, SIGKIT_OK, 128, nullptr},
        {{0x07, 0x80, 0x00}, SIGKIT_OK, 32768, nullptr},
        {{0x00, 0x06, 0x80}, SIGKIT_OK, 0x0680, nullptr},
        {{0x00}, SIGKIT_ERR_ASN_SEQUENCE, 0, "E SigkitBitsToInt 88300501 Decode bits to intger failed."},
        {{0x00, 1, 2, 3}, SIGKIT_ERR_ASN_SEQUENCE, 0, "E SigkitBitsToInt 88300501 unsupported length count"},
        {{}, SIGKIT_ERR_ASN_SEQUENCE, 0, nullptr},
    };
    for (const auto &row : rows) {
        ResetRecordingHost();
        const DecodedCert cert(With({KeyUsage(row.content)}));
        EXPECT_STATUS(row.status, cert.status);
        if (cert.status == SIGKIT_OK) {
            EXPECT_EQ(row.value, cert.record->tbsCertificate.extensions.keyUsage);
        }
        if (row.line != nullptr) {
            EXPECT_TRUE(HasLine(row.line));
        }
    }
}

TEST_F(Cert, OnlyTheFirstPurposeCounts)
{
    const char signing[] = "1.3.6.1.5.5.7.3.3";
    const char stamping[] = "1.3.6.1.5.5.7.3.8";
    const char server[] = "1.3.6.1.5.5.7.3.1";
    const struct {
        std::vector<std::string> purposes;
        uint32_t value;
    } rows[] = {{{signing}, 8},
                {{stamping}, 64},
                {{stamping, signing}, 64},
                {{signing, stamping}, 8},
                {{server, signing}, 0},
                {{}, 0},
                {std::vector<std::string>(10, signing), 8}};
    for (const auto &row : rows) {
        const DecodedCert cert(With({ExtKeyUsageExtension(row.purposes)}));
        ASSERT_STATUS(SIGKIT_OK, cert.status);
        EXPECT_EQ(row.value, cert.record->tbsCertificate.extensions.extKeyUsage);
    }
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE,
                  DecodedCert(With({ExtKeyUsageExtension(std::vector<std::string>(11, signing))})).status);
}

TEST_F(Cert, BasicConstraintsMarkACa)
{
    const struct {
        Bytes value;
        uint32_t cA;
    } rows[] = {{Sequence({}), 0},
                {Sequence({Boolean(0xFF)}), 1},
                {Sequence({Boolean(0x01)}), 0}, // only FF is true
                {Sequence({Boolean(0xFF), Integer(3)}), 1},
                {Sequence({Integer(3)}), 0}};
    for (const auto &row : rows) {
        const DecodedCert cert(With({Extension("2.5.29.19", row.value, Boolean())}));
        ASSERT_STATUS(SIGKIT_OK, cert.status);
        EXPECT_EQ(row.cA, cert.record->tbsCertificate.extensions.basicConstraints.cA);
    }
}

TEST_F(Cert, OfAnotherKeyThanRsaDoesNotDecode)
{
    TbsCertificate tbs;
    const Bytes algorithm = AlgorithmIdentifier("1.2.840.10045.2.1", Oid("1.2.840.10045.3.1.7"));
    tbs.subjectPublicKeyInfo = SubjectPublicKeyInfo(algorithm, BitString(0, Concatenate({{0x04}, Fill(64, 0x11)})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, DecodedCert(tbs).status);
    tbs.subjectPublicKeyInfo = SubjectPublicKeyInfo(algorithm, BitString(0, {}));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, DecodedCert(tbs).status) << "no key at all";
    tbs.subjectPublicKeyInfo = SubjectPublicKeyInfo(algorithm, Tlv(BIT_STRING, {}));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, DecodedCert(tbs).status) << "not even the count of unused bits";
    tbs.subjectPublicKeyInfo = SubjectPublicKeyInfo(algorithm, BitString(0, RsaPublicKey(Integer(5), Integer(3))));
    EXPECT_STATUS(SIGKIT_OK, DecodedCert(tbs).status) << "whatever the algorithm is called";
}

TEST_F(Cert, TwiceDecodedIsTwoRecords)
{
    const Bytes encoding = CertificateOf(TbsCertificate());
    const DecodedCert one(encoding);
    const DecodedCert two(encoding);
    EXPECT_NE(one.record, two.record);
    EXPECT_EQ(1, two.record->refCount);
}

TEST_F(Cert, IsFreedWithItsLastShare)
{
    const Bytes encoding = CertificateOf(TbsCertificate());
    SigkitX509Cert *cert = nullptr;
    uint32_t consumed = 0;
    ASSERT_STATUS(SIGKIT_OK,
                  SigkitX509DecodeCert(encoding.data(), static_cast<uint32_t>(encoding.size()), &cert, &consumed));
    cert->refCount = 2;
    SigkitX509FreeCert(cert);
    EXPECT_EQ(1, LiveBlocks());
    SigkitX509FreeCert(cert);
    EXPECT_EQ(0, LiveBlocks());
    SigkitX509FreeCert(nullptr);
}

TEST_F(Cert, MissingArgumentsAreRefused)
{
    const Bytes encoding = CertificateOf(TbsCertificate());
    const uint32_t len = static_cast<uint32_t>(encoding.size());
    SigkitX509Cert *cert = nullptr;
    uint32_t out = 0;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509DecodeCert(nullptr, len, &cert, &out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509DecodeCert(encoding.data(), 0, &cert, &out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509DecodeCert(encoding.data(), len, nullptr, &out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509DecodeCert(encoding.data(), len, &cert, nullptr));
    EXPECT_STATUS(SIGKIT_ERR_BUFFER_END, SigkitX509DecodeCert(encoding.data(), 1, &cert, &out)) << "not an argument's";
    FailAllocation(1);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, SigkitX509DecodeCert(encoding.data(), len, &cert, &out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509IsSelfSigned(nullptr, &out));
    const DecodedCert decoded(encoding);
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509IsSelfSigned(decoded.record, nullptr));
    EXPECT_EQ(nullptr, cert);
}

TEST_F(Cert, NoTruncatedEncodingDecodes)
{
    const Bytes encoding = CertificateOf(With({BasicConstraintsExtension(true), KeyUsage({0x01, 0x86})}));
    for (size_t length = 1; length < encoding.size(); ++length) {
        const Bytes truncated(encoding.begin(), encoding.begin() + static_cast<ptrdiff_t>(length));
        EXPECT_STATUS(length < HEADER_SIZE ? SIGKIT_ERR_BUFFER_END : SIGKIT_ERR_ASN_LENGTH,
                      DecodedCert(truncated).status)
            << length;
    }
}
