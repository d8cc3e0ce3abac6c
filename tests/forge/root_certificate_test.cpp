// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/support.h"

#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <ostream>

namespace
{
class RootCertificate : public ::testing::Test
{
protected:
    void SetUp() override
    {
        forge::PkiRequest request;
        request.rootKey = TestKey("root", 4096);
        forge::Identity root;
        const forge::Status status = forge::MakeRoot(request, &root);
        ASSERT_TRUE(status.ok) << status.reason;
        der = root.certificate;
        decoded = DecodeCertificate(der);
        ASSERT_NE(nullptr, decoded);
    }

    forge::Bytes der;
    DecodedCertificate decoded = DecodedCertificate(nullptr, X509_free);
};

TEST_F(RootCertificate, HasExactly1363Octets)
{
    EXPECT_EQ(1363u, der.size());
}

TEST_F(RootCertificate, IsVersionThree)
{
    EXPECT_EQ(ENCODED_VERSION_3, X509_get_version(decoded.get()));
}

TEST_F(RootCertificate, IsSignedBySha256WithRsa)
{
    EXPECT_EQ(NID_sha256WithRSAEncryption, X509_get_signature_nid(decoded.get()));
    EXPECT_EQ(1, X509_verify(decoded.get(), X509_get0_pubkey(decoded.get())));
}

TEST_F(RootCertificate, HoldsAnRsaKeyOf4096BitsWithExponent65537)
{
    EVP_PKEY *key = X509_get0_pubkey(decoded.get());
    ASSERT_EQ(EVP_PKEY_RSA, EVP_PKEY_base_id(key));
    EXPECT_EQ(4096, EVP_PKEY_bits(key));
    const forge::Bytes exponent = {0x02, 0x03, 0x01, 0x00, 0x01}; // INTEGER 65537 ends the RSAPublicKey
    unsigned char *encoding = nullptr;
    const int length = i2d_PublicKey(key, &encoding);
    ASSERT_GT(length, 5);
    EXPECT_EQ(exponent, forge::Bytes(encoding + length - 5, encoding + length));
    OPENSSL_free(encoding);
}

TEST_F(RootCertificate, IsValidFrom2015To2050)
{
    EXPECT_EQ(1444896530, SecondsOf(X509_get0_notBefore(decoded.get())));
    EXPECT_EQ(2549434130, SecondsOf(X509_get0_notAfter(decoded.get())));
    EXPECT_EQ(V_ASN1_UTCTIME, X509_get0_notBefore(decoded.get())->type);
    EXPECT_EQ(V_ASN1_GENERALIZEDTIME, X509_get0_notAfter(decoded.get())->type);
}

TEST_F(RootCertificate, NamesItselfByCountryOrganizationAndCommonName)
{
    X509_NAME *subject = X509_get_subject_name(decoded.get());
    EXPECT_EQ(0, X509_NAME_cmp(subject, X509_get_issuer_name(decoded.get())));
    ASSERT_EQ(3, X509_NAME_entry_count(subject));
    const int expected[] = {NID_countryName, NID_organizationName, NID_commonName};
    for (int i = 0; i < 3; ++i) {
        const X509_NAME_ENTRY *entry = X509_NAME_get_entry(subject, i);
        EXPECT_EQ(expected[i], OBJ_obj2nid(X509_NAME_ENTRY_get_object(entry)));
    }
}

TEST_F(RootCertificate, MaySignCertificatesAndCrls)
{
    EXPECT_NE(0u, X509_get_extension_flags(decoded.get()) & EXFLAG_CA);
    EXPECT_EQ(static_cast<uint32_t>(KU_KEY_CERT_SIGN | KU_CRL_SIGN), X509_get_key_usage(decoded.get()));
}

TEST_F(RootCertificate, CarriesEqualSubjectAndAuthorityKeyIdentifiers)
{
    const ASN1_OCTET_STRING *subjectKey = X509_get0_subject_key_id(decoded.get());
    const ASN1_OCTET_STRING *authorityKey = X509_get0_authority_key_id(decoded.get());
    ASSERT_NE(nullptr, subjectKey);
    ASSERT_NE(nullptr, authorityKey);
    EXPECT_EQ(0, ASN1_OCTET_STRING_cmp(subjectKey, authorityKey));
}

struct TextCase {
    const char *name;
    const char *organization;
    const char *rootName;
    bool accepted;
};

void PrintTo(const TextCase &row, std::ostream *out)
{
    *out << row.name;
}

const TextCase TEXT_CASES[] = {
    {"ElevenOctetsAreEnough", "Org", "Root One", true},
    {"TwentyOctetsFit", "Organization", "Root Two", true},
    {"TenOctetsAreTooFew", "Org", "Root On", false},
    {"TwentyOneOctetsAreTooMany", "Organizations", "Root Two", false},
    {"AnEmptyOrganizationIsRefused", "", "Root One Two", false},
    {"AnEmptyRootNameIsRefused", "Organization", "", false},
};

class RootCertificateTexts : public ::testing::TestWithParam<TextCase>
{
};

TEST_P(RootCertificateTexts, LeaveTheSizeFixedOrAreRefused)
{
    forge::PkiRequest request;
    request.rootKey = TestKey("root", 4096);
    request.organization = GetParam().organization;
    request.rootName = GetParam().rootName;
    forge::Identity root;
    const forge::Status status = forge::MakeRoot(request, &root);
    EXPECT_EQ(GetParam().accepted, status.ok) << status.reason;
    EXPECT_EQ(GetParam().accepted ? 1363u : 0u, root.certificate.size());
}

INSTANTIATE_TEST_SUITE_P(Texts, RootCertificateTexts, ::testing::ValuesIn(TEXT_CASES),
                         [](const auto &row) { return row.param.name; });

TEST(RootCertificateKey, OfAnotherLengthIsRefused)
{
    forge::PkiRequest request;
    request.rootKey = TestKey("signer", 2048);
    forge::Identity root;
    EXPECT_FALSE(forge::MakeRoot(request, &root).ok);
}

} // namespace
