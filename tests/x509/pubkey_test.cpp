// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/pubkey.h"

#include "tests/support/parties.h"
#include "tests/x509/decode_helper.h"

namespace
{

using namespace der;

using PublicKey = LibraryTest;

SigkitAsnOcts View(const Bytes &octets)
{
    return {static_cast<uint32_t>(octets.size()), 0, 0, 2, octets.data()};
}

// The signature of a party's certificate, checked under a key.
struct Check {
    const SigkitX509Cert &cert;
    const SigkitRsaPublicKey *key;
    const SigkitAsnOcts *algorithm;
    uint32_t result = 7;

    uint32_t Run()
    {
        return SigkitX509PubKeyVerify(cert.encoded.data, cert.encoded.len, cert.signatureValue.data,
                                      cert.signatureValue.len, key, algorithm, &result);
    }
};

Check Under(const DecodedCert &cert, const DecodedCert &issuer)
{
    return {*cert.record, &issuer.record->tbsCertificate.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey,
            &cert.record->signatureAlgorithm.algorithm};
}

} // namespace

TEST_F(PublicKey, VerifiesWhatItSignedAndNothingElse)
{
    const DecodedCert root(AllParties().root.certificate);
    const DecodedCert ca(AllParties().issuingCa.certificate);
    Check right = Under(ca, root);
    EXPECT_STATUS(SIGKIT_OK, right.Run());
    EXPECT_EQ(1u, right.result);
    Check wrong = Under(ca, ca);
    EXPECT_STATUS(SIGKIT_OK, wrong.Run());
    EXPECT_EQ(0u, wrong.result);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(PublicKey, NullIsRefused)
{
    const DecodedCert root(AllParties().root.certificate);
    Check check = Under(root, root);
    const SigkitX509Cert &cert = *root.record;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509PubKeyVerify(nullptr, 1, cert.signatureValue.data, 1, check.key,
                                                           check.algorithm, &check.result));
    EXPECT_STATUS(SIGKIT_ERR_PARAM,
                  SigkitX509PubKeyVerify(cert.encoded.data, 1, nullptr, 1, check.key, check.algorithm, &check.result));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509PubKeyVerify(cert.encoded.data, 1, cert.signatureValue.data, 1, nullptr,
                                                           check.algorithm, &check.result));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509PubKeyVerify(cert.encoded.data, 1, cert.signatureValue.data, 1, check.key,
                                                           check.algorithm, nullptr));
    SigkitBigInt number = {};
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509ExtractPublicKey(nullptr, &number, &number));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509ExtractPublicKey(&cert, nullptr, &number));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509ExtractPublicKey(&cert, &number, nullptr));
}

TEST_F(PublicKey, OtherAlgorithmsAreRefused)
{
    const DecodedCert root(AllParties().root.certificate);
    const Bytes sha1 = OidContent("1.2.840.113549.1.1.5");
    const SigkitAsnOcts algorithm = View(sha1);
    Check check = Under(root, root);
    check.algorithm = &algorithm;
    EXPECT_STATUS(SIGKIT_ERR_ALGORITHM, check.Run());
    EXPECT_EQ(std::vector<std::string>{"E SigkitX509PubKeyVerify 88200310 -"}, LineTexts());
    EXPECT_EQ(7u, check.result);
}

TEST_F(PublicKey, OfFourThousandAndNinetySixBitsIsTheLongest)
{
    const DecodedCert root(AllParties().root.certificate);
    const Bytes longest = Fill(512, 0xFF);
    const Bytes longer = Fill(513, 0xFF);
    Check check = Under(root, root);
    SigkitRsaPublicKey key = *check.key;
    check.key = &key;
    key.modulus = View(longest);
    EXPECT_STATUS(SIGKIT_OK, check.Run());
    EXPECT_EQ(0u, check.result);
    key.modulus = View(longer);
    EXPECT_STATUS(SIGKIT_ERR_PARAM, check.Run());
    EXPECT_EQ(std::vector<std::string>{"E SigkitX509PubKeyVerify 88100001 Unsupported key length 4104"}, LineTexts());
    key = *Under(root, root).key;
    key.publicExponent = View(longer);
    EXPECT_STATUS(SIGKIT_ERR_PARAM, check.Run());
}

TEST_F(PublicKey, IsExtractedExponentFirst)
{
    TbsCertificate tbs;
    tbs.subjectPublicKeyInfo = SubjectPublicKeyInfo(
        AlgorithmIdentifier("1.2.840.113549.1.1.1"),
        BitString(0, RsaPublicKey(IntegerRaw(Concatenate({{0x00}, Fill(512, 0xFF)})), Integer(65537))));
    const DecodedCert cert(tbs);
    ASSERT_STATUS(SIGKIT_OK, cert.status);
    SigkitBigInt exponent = {};
    SigkitBigInt modulus = {};
    ASSERT_STATUS(SIGKIT_OK, SigkitX509ExtractPublicKey(cert.record, &exponent, &modulus));
    EXPECT_EQ(3u, exponent.len);
    EXPECT_EQ(1, exponent.data[2]);
    EXPECT_EQ(512u, modulus.len);
    EXPECT_EQ(0xFF, modulus.data[511]);
    cert.record->tbsCertificate.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey.modulus.len = 513;
    exponent = {};
    EXPECT_STATUS(SIGKIT_ERR_KEY_TOO_LONG, SigkitX509ExtractPublicKey(cert.record, &exponent, &modulus));
    EXPECT_EQ(3u, exponent.len) << "copied before the modulus is looked at";
    EXPECT_EQ(std::vector<std::string>{"E SigkitX509ExtractPublicKey 88200003 -"}, LineTexts());
    cert.record->tbsCertificate.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey.publicExponent.len = 513;
    EXPECT_STATUS(SIGKIT_ERR_KEY_TOO_LONG, SigkitX509ExtractPublicKey(cert.record, &exponent, &modulus));
}

TEST_F(PublicKey, WithAnEmptyNumberIsANumberOfNoOctets)
{
    TbsCertificate tbs;
    tbs.subjectPublicKeyInfo = SubjectPublicKeyInfo(AlgorithmIdentifier("1.2.840.113549.1.1.1"),
                                                    BitString(0, RsaPublicKey(IntegerRaw({}), IntegerRaw({}))));
    const DecodedCert cert(tbs);
    ASSERT_STATUS(SIGKIT_OK, cert.status);
    SigkitBigInt exponent = {9, {}};
    SigkitBigInt modulus = {9, {}};
    EXPECT_STATUS(SIGKIT_OK, SigkitX509ExtractPublicKey(cert.record, &exponent, &modulus));
    EXPECT_EQ(0u, exponent.len);
    EXPECT_EQ(0u, modulus.len);
}

TEST_F(PublicKey, FailedCallbacksArePassedOn)
{
    const DecodedCert root(AllParties().root.certificate);
    WatchedCall RecordingHost::*const calls[] = {&RecordingHost::cryptoCreateCtx, &RecordingHost::cryptoInit,
                                                 &RecordingHost::cryptoUpdate, &RecordingHost::cryptoFinal};
    for (WatchedCall RecordingHost::*const call : calls) {
        ResetRecordingHost();
        (g_recordingHost.*call).failAt = 1;
        (g_recordingHost.*call).failure = -7;
        Check check = Under(root, root);
        EXPECT_EQ(static_cast<uint32_t>(-7), check.Run());
        EXPECT_EQ(std::vector<std::string>{"E SigkitX509PubKeyVerify fffffff9 -"}, LineTexts());
        EXPECT_EQ(7u, check.result);
        EXPECT_EQ(0, LiveHostObjects());
    }
}

TEST_F(PublicKey, SelfSignedIsWhoSignedItself)
{
    const DecodedCert root(AllParties().root.certificate);
    uint32_t isSelfSigned = 7;
    EXPECT_STATUS(SIGKIT_OK, SigkitX509IsSelfSigned(root.record, &isSelfSigned));
    EXPECT_EQ(1u, isSelfSigned);
    EXPECT_EQ(root.record, root.record->issuerCert);
    EXPECT_STATUS(SIGKIT_OK, SigkitX509IsSelfSigned(root.record, &isSelfSigned));
    EXPECT_EQ(1u, g_recordingHost.cryptoFinal.calls) << "an acceptance is remembered";

    const DecodedCert ca(AllParties().issuingCa.certificate);
    EXPECT_STATUS(SIGKIT_OK, SigkitX509IsSelfSigned(ca.record, &isSelfSigned));
    EXPECT_EQ(0u, isSelfSigned);
    EXPECT_EQ(1u, g_recordingHost.cryptoFinal.calls) << "other names need no signature check";
}

TEST_F(PublicKey, SelfIssuedIsNotSelfSigned)
{
    forge::CertificateRequest request = CertificateRequest("Root", &AllParties().root);
    const DecodedCert cert(Certify(request).certificate);
    uint32_t isSelfSigned = 7;
    for (int i = 0; i < 2; ++i) {
        EXPECT_STATUS(SIGKIT_OK, SigkitX509IsSelfSigned(cert.record, &isSelfSigned));
        EXPECT_EQ(0u, isSelfSigned);
    }
    EXPECT_EQ(1u, g_recordingHost.cryptoFinal.calls) << "a refusal is remembered too";
    EXPECT_EQ(nullptr, cert.record->issuerCert);
}

TEST_F(PublicKey, AnErrorIsNoAnswerAndIsNotRemembered)
{
    const DecodedCert root(AllParties().root.certificate);
    uint32_t isSelfSigned = 7;
    g_recordingHost.cryptoFinal.failAt = 1;
    EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, SigkitX509IsSelfSigned(root.record, &isSelfSigned));
    EXPECT_EQ(0u, isSelfSigned);
    EXPECT_STATUS(SIGKIT_OK, SigkitX509IsSelfSigned(root.record, &isSelfSigned));
    EXPECT_EQ(1u, isSelfSigned);
}
