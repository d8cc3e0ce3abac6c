// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/support.h"

#include <openssl/x509v3.h>

namespace
{
using DecodedCrl = std::unique_ptr<X509_CRL, decltype(&X509_CRL_free)>;

constexpr int64_t THIS_UPDATE = 1700000000;
constexpr int64_t NEXT_UPDATE = 1800000000;

forge::CrlRequest Request(const forge::Identity &issuer)
{
    forge::CrlRequest request;
    request.issuerCertificate = issuer.certificate;
    request.issuerKey = issuer.key;
    request.thisUpdate = THIS_UPDATE;
    request.nextUpdate = NEXT_UPDATE;
    return request;
}

forge::Bytes Make(const forge::CrlRequest &request)
{
    forge::Bytes der;
    const forge::Status status = forge::MakeCrl(request, &der);
    EXPECT_TRUE(status.ok) << status.reason;
    return der;
}

DecodedCrl Decode(const forge::Bytes &der)
{
    const unsigned char *cursor = der.data();
    DecodedCrl decoded(d2i_X509_CRL(nullptr, &cursor, static_cast<long>(der.size())), X509_CRL_free);
    EXPECT_EQ(der.data() + der.size(), cursor);
    return decoded;
}

class Crl : public InDirectory
{
protected:
    // openssl's verdict on the signer's certificate with CRLs for the whole chain.
    ProcessResult VerifySigner(const forge::CrlRequest &rootCrl, const forge::CrlRequest &issuingCaCrl) const
    {
        const std::string crls = Save("crls.pem", forge::Armour(forge::LABEL_CRL, Make(rootCrl)) +
                                                      forge::Armour(forge::LABEL_CRL, Make(issuingCaCrl)));
        const std::string signer =
            Save("signer.pem", forge::Armour(forge::LABEL_CERTIFICATE, TestPki().signer.certificate));
        return RunOpenssl("verify -attime 1750000000 -crl_check_all -CAfile " + Quoted("root.pem") + " -untrusted " +
                          Quoted("issuing-ca.pem") + " -CRLfile " + crls + " " + signer);
    }
};

forge::RevokedCertificate Revoked(const forge::Identity &identity, int reasonCode)
{
    forge::RevokedCertificate revoked = {{}, THIS_UPDATE, reasonCode};
    EXPECT_TRUE(forge::GetSerialNumber(identity.certificate, &revoked.serialNumber).ok);
    return revoked;
}

TEST_F(Crl, SatisfiesOpensslForTheWholeChain)
{
    const ProcessResult result = VerifySigner(Request(TestPki().root), Request(TestPki().issuingCa));
    EXPECT_EQ(0, result.exitStatus) << result.output;
}

TEST_F(Crl, RevokesACertificateInOpenssl)
{
    forge::CrlRequest request = Request(TestPki().issuingCa);
    request.revoked = {Revoked(TestPki().signer, 1)};
    const ProcessResult result = VerifySigner(Request(TestPki().root), request);
    EXPECT_NE(0, result.exitStatus);
    EXPECT_NE(std::string::npos, result.output.find("certificate revoked")) << result.output;
}

TEST_F(Crl, SignatureIsAcceptedByOpensslCrl)
{
    const std::string crl = Save("root.crl", Make(Request(TestPki().root)));
    const ProcessResult result =
        RunOpenssl("crl -inform DER -in " + crl + " -noout -verify -CAfile " + Quoted("root.pem"));
    EXPECT_EQ(0, result.exitStatus);
    EXPECT_NE(std::string::npos, result.output.find("verify OK")) << result.output;
}

TEST_F(Crl, IsOfVersionTwoWithBothUpdates)
{
    const DecodedCrl decoded = Decode(Make(Request(TestPki().root)));
    EXPECT_EQ(ENCODED_VERSION_2, X509_CRL_get_version(decoded.get()));
    EXPECT_EQ(THIS_UPDATE, SecondsOf(X509_CRL_get0_lastUpdate(decoded.get())));
    EXPECT_EQ(NEXT_UPDATE, SecondsOf(X509_CRL_get0_nextUpdate(decoded.get())));
}

TEST_F(Crl, NamesItsIssuerAsTheIssuersCertificateDoes)
{
    const DecodedCrl decoded = Decode(Make(Request(TestPki().issuingCa)));
    const DecodedCertificate issuer = DecodeCertificate(TestPki().issuingCa.certificate);
    EXPECT_EQ(0, X509_NAME_cmp(X509_CRL_get_issuer(decoded.get()), X509_get_subject_name(issuer.get())));
}

TEST_F(Crl, KeepsItsEntriesInTheGivenOrder)
{
    forge::CrlRequest request = Request(TestPki().root);
    request.revoked = {{{0x09}, THIS_UPDATE, -1}, {{0x03}, THIS_UPDATE + 1, 4}};
    const forge::Bytes der = Make(request);
    // 09, UTCTime, no extensions; then 03, UTCTime, reason code
    EXPECT_TRUE(Contains(der, Octets("\x30\x12\x02\x01\x09\x17\x0D"
                                     "231114221320Z"
                                     "\x30\x20\x02\x01\x03\x17\x0D"
                                     "231114221321Z")));
    EXPECT_TRUE(Contains(der, {0x06, 0x03, 0x55, 0x1D, 0x15, 0x04, 0x03, 0x0A, 0x01, 0x04}));
}

TEST_F(Crl, CarriesItsNumber)
{
    forge::CrlRequest request = Request(TestPki().root);
    request.crlNumber = 300;
    const DecodedCrl decoded = Decode(Make(request));
    const std::unique_ptr<ASN1_INTEGER, decltype(&ASN1_INTEGER_free)> number(
        static_cast<ASN1_INTEGER *>(X509_CRL_get_ext_d2i(decoded.get(), NID_crl_number, nullptr, nullptr)),
        ASN1_INTEGER_free);
    ASSERT_NE(nullptr, number);
    EXPECT_EQ(300, ASN1_INTEGER_get(number.get()));
}

TEST_F(Crl, MayBeIndirectByACriticalDistributionPoint)
{
    forge::CrlRequest request = Request(TestPki().root);
    request.indirectCrl = true;
    const DecodedCrl decoded = Decode(Make(request));
    int critical = 0;
    const std::unique_ptr<ISSUING_DIST_POINT, decltype(&ISSUING_DIST_POINT_free)> point(
        static_cast<ISSUING_DIST_POINT *>(
            X509_CRL_get_ext_d2i(decoded.get(), NID_issuing_distribution_point, &critical, nullptr)),
        ISSUING_DIST_POINT_free);
    ASSERT_NE(nullptr, point);
    EXPECT_EQ(1, critical);
    EXPECT_NE(0, point->indirectCRL);
}

TEST_F(Crl, MayLackNextUpdateAndExtensions)
{
    forge::CrlRequest request = Request(TestPki().root);
    request.omitNextUpdate = true;
    request.authorityKeyIdentifier = false;
    request.crlNumber = -1;
    const DecodedCrl decoded = Decode(Make(request));
    EXPECT_EQ(nullptr, X509_CRL_get0_nextUpdate(decoded.get()));
    EXPECT_EQ(0, X509_CRL_get_ext_count(decoded.get()));
}

TEST_F(Crl, OfVersionOneHasNeitherVersionNorExtensions)
{
    forge::CrlRequest request = Request(TestPki().root);
    request.version = 1;
    const DecodedCrl decoded = Decode(Make(request));
    EXPECT_EQ(ENCODED_VERSION_1, X509_CRL_get_version(decoded.get()));
    EXPECT_EQ(0, X509_CRL_get_ext_count(decoded.get()));
}

TEST_F(Crl, CannotBeMadeWithoutAnIssuer)
{
    forge::Bytes der;
    forge::CrlRequest request = Request(TestPki().root);
    request.issuerCertificate.clear();
    EXPECT_FALSE(forge::MakeCrl(request, &der).ok);
    request = Request(TestPki().root);
    request.issuerKey = nullptr;
    EXPECT_FALSE(forge::MakeCrl(request, &der).ok);
}

} // namespace
