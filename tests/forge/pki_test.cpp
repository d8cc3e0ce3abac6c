// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/support.h"

#include <openssl/x509v3.h>

namespace
{
class Pki : public InDirectory
{
protected:
    void SetUp() override
    {
        InDirectory::SetUp();
        Save("signer.pem", forge::Armour(forge::LABEL_CERTIFICATE, TestPki().signer.certificate));
        Save("timestamp.pem", forge::Armour(forge::LABEL_CERTIFICATE, TestPki().timestamp.certificate));
    }
};

TEST_F(Pki, ChainsAreAcceptedByOpensslWithTheirCrls)
{
    Save("crls.pem",
         forge::Armour(forge::LABEL_CRL, TestPki().rootCrl) + forge::Armour(forge::LABEL_CRL, TestPki().issuingCaCrl));
    const std::string verify = "verify -x509_strict -crl_check_all -CAfile " + Quoted("root.pem") + " -untrusted " +
                               Quoted("issuing-ca.pem") + " -CRLfile " + Quoted("crls.pem") + " ";
    const ProcessResult signer = RunOpenssl(verify + Quoted("signer.pem"));
    EXPECT_EQ(0, signer.exitStatus) << signer.output;
    const ProcessResult timestamp = RunOpenssl(verify + "-purpose timestampsign " + Quoted("timestamp.pem"));
    EXPECT_EQ(0, timestamp.exitStatus) << timestamp.output;
}

TEST_F(Pki, SignerMaySignCodeAndNothingElse)
{
    const DecodedCertificate signer = DecodeCertificate(TestPki().signer.certificate);
    EXPECT_EQ(static_cast<uint32_t>(KU_DIGITAL_SIGNATURE), X509_get_key_usage(signer.get()));
    EXPECT_EQ(static_cast<uint32_t>(XKU_CODE_SIGN), X509_get_extended_key_usage(signer.get()));
    EXPECT_EQ(0u, X509_get_extension_flags(signer.get()) & EXFLAG_CA);
}

TEST_F(Pki, TimestampingIsACriticalPurposeAndTheOnlyOne)
{
    const DecodedCertificate timestamp = DecodeCertificate(TestPki().timestamp.certificate);
    EXPECT_EQ(static_cast<uint32_t>(KU_DIGITAL_SIGNATURE), X509_get_key_usage(timestamp.get()));
    EXPECT_EQ(static_cast<uint32_t>(XKU_TIMESTAMP), X509_get_extended_key_usage(timestamp.get()));
    const int position = X509_get_ext_by_NID(timestamp.get(), NID_ext_key_usage, -1);
    ASSERT_GE(position, 0);
    EXPECT_EQ(1, X509_EXTENSION_get_critical(X509_get_ext(timestamp.get(), position)));
}

TEST_F(Pki, SubordinatesLiveAsLongAsAsked)
{
    forge::PkiRequest request = TestPkiRequest();
    request.notBefore = 1500000000;
    request.notAfter = 1600000000;
    forge::Pki pki;
    ASSERT_TRUE(forge::MakePki(request, &pki).ok);
    for (const forge::Identity *identity : {&pki.issuingCa, &pki.signer, &pki.timestamp}) {
        const DecodedCertificate decoded = DecodeCertificate(identity->certificate);
        EXPECT_EQ(request.notBefore, SecondsOf(X509_get0_notBefore(decoded.get())));
        EXPECT_EQ(request.notAfter, SecondsOf(X509_get0_notAfter(decoded.get())));
    }
}

TEST_F(Pki, RootCannotShareANameWithACertificateUnderIt)
{
    forge::PkiRequest request = TestPkiRequest();
    request.rootName = "Issuing CA";
    forge::Pki pki;
    EXPECT_FALSE(forge::MakePki(request, &pki).ok);
}

TEST(SerialNumber, HasExactlyTheOctetsAskedFor)
{
    for (size_t size = 1; size <= 20; ++size) {
        forge::Bytes serialNumber;
        ASSERT_TRUE(forge::MakeSerialNumber(size, &serialNumber).ok);
        ASSERT_EQ(size, serialNumber.size());
        EXPECT_NE(0, serialNumber[0]);
        EXPECT_LT(serialNumber[0], 0x80);
    }
    forge::Bytes none;
    EXPECT_FALSE(forge::MakeSerialNumber(0, &none).ok);
    EXPECT_FALSE(forge::MakeSerialNumber(21, &none).ok);
}

} // namespace
