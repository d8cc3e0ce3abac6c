// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/support.h"

#include <openssl/x509v3.h>

namespace
{
forge::CertificateRequest Request()
{
    forge::CertificateRequest request;
    request.subject = {{"C", "XX"}, {"CN", "Subject"}};
    request.notBefore = 1600000000;
    request.notAfter = 1700000000;
    request.subjectKey = TestKey("signer");
    return request;
}

forge::Bytes Make(const forge::CertificateRequest &request)
{
    forge::Bytes der;
    const forge::Status status = forge::MakeCertificate(request, &der);
    EXPECT_TRUE(status.ok) << status.reason;
    return der;
}

std::string NameText(const X509_NAME *name)
{
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> bio(BIO_new(BIO_s_mem()), BIO_free_all);
    X509_NAME_print_ex(bio.get(), name, 0, XN_FLAG_ONELINE & ~XN_FLAG_SPC_EQ);
    char *text = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &text);
    return std::string(text, static_cast<size_t>(length));
}

TEST(Certificate, IsSelfSignedWhenNoIssuerIsGiven)
{
    const DecodedCertificate decoded = DecodeCertificate(Make(Request()));
    EXPECT_TRUE(IsSelfSigned(decoded.get()));
}

TEST(Certificate, IsSignedByTheIssuersKey)
{
    forge::CertificateRequest request = Request();
    request.issuer = {{"CN", "Issuer"}};
    request.issuerKey = TestKey("issuing-ca");
    const DecodedCertificate decoded = DecodeCertificate(Make(request));
    EXPECT_EQ(1, X509_verify(decoded.get(), request.issuerKey.get()));
    EXPECT_EQ("CN=Issuer", NameText(X509_get_issuer_name(decoded.get())));
}

TEST(Certificate, NamesKeepTheirAttributesInOrder)
{
    forge::CertificateRequest request = Request();
    request.subject = {{"C", "XX"}, {"ST", "State"},   {"L", "Town"},  {"O", "Org"},
                       {"OU", "A"}, {"OU", "B", true}, {"CN", "Name"}, {"E", "a@example.com"}};
    const DecodedCertificate decoded = DecodeCertificate(Make(request));
    EXPECT_EQ("C=XX, ST=State, L=Town, O=Org, OU=A + OU=B, CN=Name, emailAddress=a@example.com",
              NameText(X509_get_subject_name(decoded.get())));
}

TEST(Certificate, TakesAnEncodedIssuerNameAsItIs)
{
    forge::CertificateRequest request = Request();
    forge::Bytes issuer;
    ASSERT_TRUE(forge::EncodeName({{"CN", "Printable", false, V_ASN1_PRINTABLESTRING}}, &request.issuerDer).ok);
    ASSERT_TRUE(forge::GetIssuer(Make(request), &issuer).ok);
    EXPECT_EQ(request.issuerDer, issuer);
}

TEST(Certificate, SerialNumberIsTakenAsPositive)
{
    forge::CertificateRequest request = Request();
    request.serialNumber = {0x80, 0x01};
    const forge::Bytes der = Make(request);
    forge::Bytes serialNumber;
    ASSERT_TRUE(forge::GetSerialNumber(der, &serialNumber).ok);
    EXPECT_EQ((forge::Bytes{0x80, 0x01}), serialNumber);
    EXPECT_TRUE(Contains(der, {0x02, 0x03, 0x00, 0x80, 0x01}));
}

TEST(Certificate, TimesFrom2050OnAreGeneralizedTime)
{
    forge::CertificateRequest request = Request();
    request.notBefore = 2524607999;
    request.notAfter = 2524608000;
    const forge::Bytes der = Make(request);
    EXPECT_TRUE(Contains(der, Octets("\x17\x0D"
                                     "491231235959Z")));
    EXPECT_TRUE(Contains(der, Octets("\x18\x0F"
                                     "20500101000000Z")));
}

TEST(Certificate, CarriesTheUsagesAskedFor)
{
    forge::CertificateRequest request = Request();
    request.keyUsage = forge::DIGITAL_SIGNATURE | forge::DECIPHER_ONLY;
    request.extendedKeyUsage = {forge::PURPOSE_TIME_STAMPING, forge::PURPOSE_CODE_SIGNING};
    request.basicConstraints = forge::BasicConstraints::Ca;
    request.pathLength = 3;
    const DecodedCertificate decoded = DecodeCertificate(Make(request));
    EXPECT_EQ(static_cast<uint32_t>(KU_DIGITAL_SIGNATURE | KU_DECIPHER_ONLY), X509_get_key_usage(decoded.get()));
    EXPECT_EQ(static_cast<uint32_t>(XKU_TIMESTAMP | XKU_CODE_SIGN), X509_get_extended_key_usage(decoded.get()));
    EXPECT_EQ(3, X509_get_pathlen(decoded.get()));
}

TEST(Certificate, PurposesKeepTheirOrder)
{
    forge::CertificateRequest request = Request();
    request.extendedKeyUsage = {forge::PURPOSE_TIME_STAMPING, forge::PURPOSE_CODE_SIGNING};
    EXPECT_TRUE(Contains(Make(request),
                         {0x30, 0x14, 0x06, 0x08, 0x2B, 6, 1, 5, 5, 7, 3, 8, 0x06, 0x08, 0x2B, 6, 1, 5, 5, 7, 3, 3}));
}

TEST(Certificate, LeavesOutExtensionsThatAreNotAskedFor)
{
    forge::CertificateRequest request = Request();
    request.subjectKeyIdentifier = false;
    request.authorityKeyIdentifier = false;
    EXPECT_EQ(0, X509_get_ext_count(DecodeCertificate(Make(request)).get()));
}

TEST(Certificate, CarriesFurtherExtensionsLast)
{
    forge::CertificateRequest request = Request();
    request.extensions = {{"1.2.3.4", true, {0x05, 0x00}}};
    const DecodedCertificate decoded = DecodeCertificate(Make(request));
    ASSERT_EQ(3, X509_get_ext_count(decoded.get()));
    X509_EXTENSION *extension = X509_get_ext(decoded.get(), 2);
    EXPECT_EQ(1, X509_EXTENSION_get_critical(extension));
    EXPECT_EQ(2, ASN1_STRING_length(X509_EXTENSION_get_data(extension)));
}

TEST(Certificate, OfVersionOneHasNeitherVersionNorExtensions)
{
    forge::CertificateRequest request = Request();
    request.version = 1;
    request.keyUsage = forge::DIGITAL_SIGNATURE;
    const DecodedCertificate decoded = DecodeCertificate(Make(request));
    EXPECT_EQ(ENCODED_VERSION_1, X509_get_version(decoded.get()));
    EXPECT_EQ(0, X509_get_ext_count(decoded.get()));
}

TEST(Certificate, MayHoldAndBeSignedByAnEllipticCurveKey)
{
    forge::CertificateRequest request = Request();
    ASSERT_TRUE(forge::GenerateEcKey(&request.subjectKey).ok);
    const DecodedCertificate decoded = DecodeCertificate(Make(request));
    EXPECT_EQ(NID_ecdsa_with_SHA256, X509_get_signature_nid(decoded.get()));
    EXPECT_TRUE(IsSelfSigned(decoded.get()));
}

TEST(Certificate, IsSignedWithTheDigestAskedFor)
{
    const std::pair<forge::Digest, int> cases[] = {{forge::Digest::Sha1, NID_sha1WithRSAEncryption},
                                                   {forge::Digest::Sha256, NID_sha256WithRSAEncryption},
                                                   {forge::Digest::Sha384, NID_sha384WithRSAEncryption},
                                                   {forge::Digest::Sha512, NID_sha512WithRSAEncryption}};
    for (const auto &[digest, algorithm] : cases) {
        forge::CertificateRequest request = Request();
        request.digest = digest;
        const DecodedCertificate decoded = DecodeCertificate(Make(request));
        EXPECT_EQ(algorithm, X509_get_signature_nid(decoded.get()));
        EXPECT_EQ(1, X509_verify(decoded.get(), request.subjectKey.get()));
    }
}

TEST(Certificate, CannotBeMadeFromABadRequest)
{
    forge::Bytes der;
    forge::CertificateRequest noKey = Request();
    noKey.subjectKey = nullptr;
    EXPECT_FALSE(forge::MakeCertificate(noKey, &der).ok);
    forge::CertificateRequest badName = Request();
    badName.subject = {{"no such attribute", "x"}};
    EXPECT_FALSE(forge::MakeCertificate(badName, &der).ok);
    forge::CertificateRequest badPurpose = Request();
    badPurpose.extendedKeyUsage = {"not an identifier"};
    EXPECT_FALSE(forge::MakeCertificate(badPurpose, &der).ok);
    forge::CertificateRequest badTime = Request();
    badTime.notAfter = 253402300800; // the year 10000
    EXPECT_FALSE(forge::MakeCertificate(badTime, &der).ok);
    EXPECT_TRUE(der.empty());
}

TEST(Certificate, FieldsOfSomethingElseAreRefused)
{
    forge::Bytes field;
    EXPECT_FALSE(forge::GetSubject(Octets("text"), &field).ok);
    EXPECT_FALSE(forge::GetIssuer(Octets("text"), &field).ok);
    EXPECT_FALSE(forge::GetSerialNumber({}, &field).ok);
}

} // namespace
