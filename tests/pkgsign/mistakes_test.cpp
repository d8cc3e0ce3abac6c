// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The twelve mistakes of a release side: each is refused, nothing is written, and no real key has signed.
#include "tests/pkgsign/support.h"

#include <filesystem>
#include <fstream>

#include "pkgsign/files/files.h"
#include "pkgsign/files/time.h"
#include "tests/forge/forge.h"

namespace
{

class Mistake : public InFolder
{
protected:
    void SetUp() override
    {
        InFolder::SetUp();
        ExpectDone(Run({"crl", "--out", Path("crls")}));
        ExpectDone(Run({"sign", Path("content"), "--out", Path("bare"), "--no-timestamp"}));
        before = RealSignatures();
    }

    // The command is refused for this reason, and nothing has happened.
    void ExpectMistake(const Outcome &outcome, const std::string &reason)
    {
        ExpectRefused(outcome, reason);
        EXPECT_FALSE(Made("out"));
        EXPECT_EQ(before, RealSignatures());
    }

    Outcome Sign(std::vector<std::string> options = {})
    {
        options.insert(options.begin(), {"sign", Path("content"), "--out", Path("out")});
        return Run(options);
    }

    // A key in the place of another.
    void Replace(const std::string &name, const forge::Key &key)
    {
        ASSERT_TRUE(forge::WritePrivateKey(Path("pki/private/" + name + ".key"), key).ok);
    }

    // A token over the bare message by the folder's timestamp key.
    forge::TokenRequest TokenRequest()
    {
        forge::Pki pki;
        EXPECT_TRUE(forge::ReadPki(Path("pki"), &pki).ok);
        forge::TokenRequest request;
        request.genTime = 1769904000; // 2026-02-01
        request.tsaCertificate = pki.timestamp.certificate;
        request.tsaKey = pki.timestamp.key;
        request.certificates = {pki.timestamp.certificate};
        return request;
    }

    Outcome Stamp(const forge::TokenRequest &request)
    {
        forge::Bytes message;
        forge::Bytes signature;
        forge::Bytes token;
        EXPECT_TRUE(forge::ReadFile(Path("bare"), &message).ok);
        EXPECT_TRUE(forge::GetSignatureValue(message, &signature).ok);
        EXPECT_TRUE(forge::MakeToken(request, signature, &token).ok);
        EXPECT_TRUE(forge::WriteFile(Path("token"), token).ok);
        return Run({"timestamp", Path("bare"), "--token", Path("token"), "--crl", Path("crls"), "--out", Path("out")});
    }

    int before = 0;
};

forge::Key OtherKey()
{
    forge::Key key;
    EXPECT_TRUE(forge::GenerateRsaKey(2048, &key).ok);
    return key;
}

TEST_F(Mistake, AWrongSignerKeyIsRefused)
{
    Replace("signer", OtherKey());
    ExpectMistake(Sign(), "'signer': the private key is not the one that the certificate is for");
}

TEST_F(Mistake, AnEllipticCurveKeyIsRefused)
{
    forge::Key key;
    ASSERT_TRUE(forge::GenerateEcKey(&key).ok);
    Replace("signer", key);
    ExpectMistake(Sign(), "key 'signer' is not RSA of 2048 to 4096 bits");
    ASSERT_TRUE(forge::WritePrivateKey(Path("ec.key"), key).ok);
    ExpectMistake(Run({"issue", "--as", "signer", "--key", Path("ec.key"), "--out", Path("out")}), "is not RSA");
}

TEST_F(Mistake, AWrongTimestampKeyIsRefused)
{
    Replace("timestamp", OtherKey());
    ExpectMistake(Sign(), "'timestamp': the private key is not the one that the certificate is for");
}

TEST_F(Mistake, AWrongCaKeyIsRefused)
{
    Replace("issuing-ca", OtherKey());
    ExpectMistake(At("2026-03-01", {"crl", "--out", Path("out")}), "'issuing-ca': the private key is not the one");
    EXPECT_EQ("1769904000", Memory().crls[0].number); // not even the root's number was used
}

TEST_F(Mistake, CrlsOutOfDateAreRefused)
{
    const Outcome outcome = At("2026-12-01", {"sign", Path("content"), "--out", Path("out"), "--crl", Path("crls")});
    ExpectMistake(outcome, "a device would refuse the package: code 88200012");
}

TEST_F(Mistake, ATimestampCertificateAsSignerIsRefused)
{
    ExpectMistake(Sign({"--signer", "timestamp"}), "'timestamp' is for the role timestamp, not signer");
}

TEST_F(Mistake, ATimeBeforeTheCertificatesIsRefused)
{
    ExpectMistake(Sign({"--gen-time", "2025-12-31T23:59:59Z"}), "'signer' lives from 2026-01-01T00:00:00Z");
}

TEST_F(Mistake, ATimeAfterTheCertificatesIsRefused)
{
    ExpectMistake(Sign({"--gen-time", "2027-01-01T00:00:01Z"}), "and it is 2027-01-01T00:00:01Z");
}

TEST_F(Mistake, ATokenWithAnotherImprintIsRefused)
{
    forge::TokenRequest request = TokenRequest();
    request.imprintOver = {1, 2, 3};
    ExpectMistake(Stamp(request), "token: it is for something else than this signature");
}

TEST_F(Mistake, ATokenWithoutItsCertificateIsRefused)
{
    forge::TokenRequest request = TokenRequest();
    request.certificates.clear();
    ExpectMistake(Stamp(request), "token: the certificate of its signer is missing");
}

TEST_F(Mistake, AFractionOfASecondIsRefused)
{
    forge::TokenRequest request = TokenRequest();
    request.genTimeText = "20260201000000.5Z";
    ExpectMistake(Stamp(request), "device rule: its time '20260201000000.5Z' is not in whole seconds");
}

TEST_F(Mistake, NoTokenAtAllIsRefused)
{
    std::filesystem::remove(Path("pki/private/timestamp.key"));
    ExpectMistake(Sign(), "cannot load a private key");
    ExpectMistake(Sign({"--timestamp", "nobody"}), "a package needs a timestamp (--no-timestamp leaves it to");
}

TEST_F(Mistake, EmptyContentIsRefused)
{
    Write("content", "");
    ExpectMistake(Sign(), "is empty; a signature over nothing would say nothing");
}

TEST_F(Mistake, AGoodTokenIsTaken) // so that the refusals above are not for another reason
{
    ExpectDone(Stamp(TokenRequest()));
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
}

} // namespace
