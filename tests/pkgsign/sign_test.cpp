// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Signing a package: with keys of a folder or of files, and what is said about it.
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "pkgsign/authority/certificates.h"
#include "pkgsign/crypto/message.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "pkgsign/files/time.h"
#include "tests/forge/forge.h"
#include "tests/pkgsign/support.h"

namespace
{

class Sign : public InFolder
{
protected:
    void SetUp() override
    {
        InFolder::SetUp();
        ExpectDone(Run({"crl", "--out", Path("crls")}));
    }

    std::string Certificate(const std::string &name) const
    {
        return Path("pki/certificates/" + name + ".pem");
    }

    // A command that signs, in the folder.
    Outcome InPki(std::vector<std::string> options) const
    {
        options.insert(options.begin(), {"sign", Path("content")});
        return Run(options);
    }

    // The same where there is no folder, with the signer's certificate and key in files.
    Outcome WithFiles(std::vector<std::string> options) const
    {
        options.insert(options.begin(),
                       {"sign", Path("content"), "--pki", Path("nowhere"), "--now", NOW, "--no-input", "--certificate",
                        Certificate("signer"), "--key", Path("pki/private/signer.key"), "--root", Certificate("root")});
        return Pkgsign(options);
    }

    // The subjects of the certificates that a message carries.
    std::vector<std::string> Carried(const std::string &name) const
    {
        pkgsign::Bytes data;
        pkgsign::CmsPtr message;
        EXPECT_TRUE(pkgsign::ReadWhole(Path(name), &data).ok);
        EXPECT_TRUE(pkgsign::DecodeMessage(data, name, &message).ok);
        std::vector<std::string> names;
        STACK_OF(X509) *const certificates = CMS_get1_certs(message.get());
        for (int i = 0; i < sk_X509_num(certificates); ++i) {
            names.push_back(
                pkgsign::NameAttribute(X509_get_subject_name(sk_X509_value(certificates, i)), NID_commonName));
        }
        sk_X509_pop_free(certificates, X509_free);
        std::sort(names.begin(), names.end()); // in a message they stand in the order of their encodings
        return names;
    }

    // Issues a certificate, "NAME.pem", by hand: with the key of one in the folder, under another.
    void Issue(const std::string &name, pkgsign::Role role, const std::string &key, const std::string &issuer,
               const std::string &issuerKey)
    {
        pkgsign::Secrets none;
        pkgsign::CertificateFields fields;
        pkgsign::Key signing;
        pkgsign::Certificate certificate;
        fields.role = role;
        fields.serial = {0x11};
        fields.notBefore = START;
        fields.notAfter = START + 400 * pkgsign::SECONDS_PER_DAY;
        ASSERT_TRUE(pkgsign::MakeName("DE", "Sigkit", name, &fields.subject).ok);
        ASSERT_TRUE(pkgsign::ReadCertificate(issuer, &fields.issuer).ok);
        ASSERT_TRUE(pkgsign::LoadKey(Path("pki/private/" + key + ".key"), key, &none, &fields.publicKey).ok);
        ASSERT_TRUE(pkgsign::LoadKey(Path("pki/private/" + issuerKey + ".key"), issuerKey, &none, &signing).ok);
        ASSERT_TRUE(pkgsign::MakeCertificate(fields, signing.get(), &certificate).ok);
        Write(name + ".pem", pkgsign::AddArmour("CERTIFICATE", pkgsign::EncodeCertificate(certificate.get())));
    }

    static constexpr int64_t START = 1767225600; // 2026-01-01
};

using Names = std::vector<std::string>;

// ---- who signs ------------------------------------------------------------------------------------------------------

TEST_F(Sign, OfADirectoryItsChecksumFileIsAskedFor)
{
    ExpectRefused(Run({"sign", Path("pki"), "--out", Path("out")}),
                  "is a directory; sign its checksum file, which pkgsign checksums makes");
}

TEST_F(Sign, ASignerInFilesNeedsNoFolder)
{
    const Outcome outcome = WithFiles(
        {"--chain", Certificate("issuing-ca"), "--crl", Path("crls"), "--no-timestamp", "--out", Path("bare")});
    ExpectDone(outcome);
    EXPECT_TRUE(Contains(outcome.out, "Signer: '" + Certificate("signer") + "', C = DE, O = Sigkit")) << outcome.out;
    ExpectDone(Run({"timestamp", Path("bare"), "--out", Path("out"), "--crl", Path("crls")}));
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
}

TEST_F(Sign, ASignerInFilesAndOneOfTheFolderMakeTheSameOctets)
{
    ExpectDone(InPki({"--out", Path("first")}));
    ExpectDone(Run({"sign", Path("content"), "--certificate", Certificate("signer"), "--key",
                    "file:" + Path("pki/private/signer.key"), "--root", Certificate("root"), "--chain",
                    Certificate("issuing-ca"), "--timestamp", "timestamp", "--out", Path("second")}));
    EXPECT_TRUE(Read("first") == Read("second"));
}

TEST_F(Sign, TheCrlFileMayHoldTheChain)
{
    ExpectDone(WithFiles({"--crl", Path("crls"), "--no-timestamp", "--out", Path("out")}));
    EXPECT_EQ((Names{"Code Signing", "Issuing CA"}), Carried("out"));
}

TEST_F(Sign, AMissingCaIsNamed)
{
    ExpectRefused(WithFiles({"--no-timestamp", "--out", Path("out")}),
                  "the certificate of 'C = DE, O = Sigkit, CN = Issuing CA', which issued 'C = DE, O = Sigkit, CN = "
                  "Code Signing', is missing; name its file with --chain");
    EXPECT_FALSE(Made("out"));
}

TEST_F(Sign, AKeyOfAnotherCertificateIsRefused)
{
    ExpectRefused(Run({"sign", Path("content"), "--certificate", Certificate("signer"), "--key",
                       Path("pki/private/timestamp.key"), "--root", Certificate("root"), "--crl", Path("crls"),
                       "--no-timestamp", "--out", Path("out")}),
                  "the private key is not the one that the certificate is for");
}

TEST_F(Sign, ACertificateOfAnEllipticCurveIsRefused)
{
    pkgsign::Secrets none;
    forge::Key key;
    pkgsign::CertificateFields fields;
    pkgsign::Key signing;
    pkgsign::Certificate certificate;
    ASSERT_TRUE(forge::GenerateEcKey(&key).ok);
    fields.role = pkgsign::Role::Signer;
    fields.serial = {0x12};
    fields.notBefore = START;
    fields.notAfter = START + pkgsign::SECONDS_PER_YEAR;
    fields.publicKey = key;
    ASSERT_TRUE(pkgsign::MakeName("DE", "Sigkit", "Curve", &fields.subject).ok);
    ASSERT_TRUE(pkgsign::ReadCertificate(Certificate("issuing-ca"), &fields.issuer).ok);
    ASSERT_TRUE(pkgsign::LoadKey(Path("pki/private/issuing-ca.key"), "ca", &none, &signing).ok);
    ASSERT_TRUE(pkgsign::MakeCertificate(fields, signing.get(), &certificate).ok);
    Write("curve.pem", pkgsign::AddArmour("CERTIFICATE", pkgsign::EncodeCertificate(certificate.get())));
    ExpectRefused(Run({"sign", Path("content"), "--certificate", Path("curve.pem"), "--request", Path("request"),
                       "--root", Certificate("root"), "--crl", Path("crls"), "--no-timestamp"}),
                  "is not RSA of 2048 to 4096 bits");
    EXPECT_FALSE(Made("request"));
}

TEST_F(Sign, AMessageCarriesTwoCertificatesOfALongerChain)
{
    Issue("Lower CA", pkgsign::Role::IssuingCa, "timestamp", Certificate("issuing-ca"), "issuing-ca");
    Issue("Lower Signer", pkgsign::Role::Signer, "signer", Path("Lower CA.pem"), "timestamp");
    Write("chain.pem", Read("Lower CA.pem") + Read("pki/certificates/issuing-ca.pem"));
    ExpectDone(Run({"sign", Path("content"), "--certificate", Path("Lower Signer.pem"), "--key",
                    Path("pki/private/signer.key"), "--root", Certificate("root"), "--chain", Path("chain.pem"),
                    "--no-timestamp", "--out", Path("out")}));
    EXPECT_EQ((Names{"Lower CA", "Lower Signer"}), Carried("out"));
}

TEST_F(Sign, ASignerBelowTheRootCarriesNoRoot)
{
    Issue("Direct Signer", pkgsign::Role::Signer, "signer", Certificate("root"), "root");
    ExpectDone(
        Run({"sign", Path("content"), "--certificate", Path("Direct Signer.pem"), "--key",
             Path("pki/private/signer.key"), "--root", Certificate("root"), "--no-timestamp", "--out", Path("out")}));
    EXPECT_EQ((Names{"Direct Signer"}), Carried("out"));
}

// ---- where the token comes from -------------------------------------------------------------------------------------

TEST_F(Sign, WithoutAnySourceOfATimestampItIsRefused)
{
    const std::string reason = "a package needs a timestamp";
    ExpectUsage(WithFiles({"--crl", Path("crls"), "--out", Path("out")}), reason);
    std::string text = Read("pki/pki.json"); // a folder without a timestamp authority
    for (size_t at = text.find("\"private/timestamp.key\""); at != std::string::npos;
         at = text.find("\"private/timestamp.key\"")) {
        text.replace(at, 23, "\"\"");
    }
    Write("pki/pki.json", text);
    ExpectRefused(InPki({"--out", Path("out")}), reason);
    ExpectDone(InPki({"--out", Path("out"), "--no-timestamp"}));
}

TEST_F(Sign, WithoutATimestampDevicesRefuseThePackageUntilItHasOne)
{
    const Outcome outcome = InPki({"--no-timestamp", "--crl", Path("crls"), "--out", Path("out")});
    ExpectDone(outcome);
    EXPECT_TRUE(Contains(outcome.out, "No timestamp: devices refuse this package until it has one (pkgsign timestamp)"))
        << outcome.out;
    EXPECT_FALSE(DeviceTakes("out", "content", "crls"));
    ExpectDone(Run({"timestamp", Path("out"), "--out", Path("out")}));
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
}

TEST_F(Sign, WithoutATimestampAPackageIsJudgedAllTheSame)
{
    const int before = RealSignatures();
    ExpectRefused(
        At("2026-12-01", {"sign", Path("content"), "--out", Path("out"), "--crl", Path("crls"), "--no-timestamp"}),
        "a device would refuse the package: code 88200012");
    EXPECT_FALSE(Made("out"));
    EXPECT_EQ(before, RealSignatures());
}

TEST_F(Sign, ATokenMadeElsewhereIsTaken)
{
    ExpectDone(InPki({"--no-timestamp", "--out", Path("bare")}));
    forge::Pki pki;
    forge::Bytes message;
    forge::Bytes signature;
    forge::Bytes token;
    forge::Bytes response;
    ASSERT_TRUE(forge::ReadPki(Path("pki"), &pki).ok);
    ASSERT_TRUE(forge::ReadFile(Path("bare"), &message).ok);
    ASSERT_TRUE(forge::GetSignatureValue(message, &signature).ok);
    forge::TokenRequest request;
    request.genTime = 1769990400; // 2026-02-02
    request.tsaCertificate = pki.timestamp.certificate;
    request.tsaKey = pki.timestamp.key;
    request.certificates = {pki.timestamp.certificate};
    ASSERT_TRUE(forge::MakeToken(request, signature, &token).ok);
    ASSERT_TRUE(forge::MakeTimestampResponse(token, &response).ok);
    ASSERT_TRUE(forge::WriteFile(Path("token"), response).ok);
    const std::vector<std::string> options = {"--token", Path("token"), "--crl", Path("crls"), "--out", Path("out")};
    // Another signing time, so another signature than the one stamped.
    ExpectRefused(At("2026-03-01", {"sign", Path("content"), options[0], options[1], options[4], options[5]}),
                  "token: it is for something else than this signature");
    EXPECT_FALSE(Made("out"));
    const Outcome outcome = At("2026-03-01", {"sign", Path("content"), "--gen-time", NOW, options[0], options[1],
                                              options[2], options[3], options[4], options[5]});
    ExpectDone(outcome);
    EXPECT_TRUE(Contains(outcome.out, "Timestamp: the token in '" + Path("token") + "', 2026-02-02T00:00:00Z"));
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
}

TEST_F(Sign, ATokenIsReadByOpensslAndSignedAtItsTime)
{
    ExpectDone(InPki({"--no-timestamp", "--out", Path("bare")}));
    ExpectDone(At("2026-02-02", {"timestamp", Path("bare"), "--out", Path("out")}));
    pkgsign::Bytes data;
    pkgsign::CmsPtr message;
    pkgsign::Bytes signature;
    ASSERT_TRUE(pkgsign::ReadWhole(Path("out"), &data).ok);
    ASSERT_TRUE(pkgsign::SignatureValue(data, &signature).ok);
    ASSERT_TRUE(pkgsign::DecodeMessage(data, "out", &message).ok);
    CMS_SignerInfo *const signer = sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(message.get()), 0);
    const ASN1_STRING *const token = static_cast<ASN1_STRING *>(
        CMS_unsigned_get0_data_by_OBJ(signer, OBJ_nid2obj(NID_id_smime_aa_timeStampToken), -3, V_ASN1_SEQUENCE));
    ASSERT_NE(nullptr, token);
    const uint8_t *const octets = ASN1_STRING_get0_data(token);
    Write("token", std::string(octets, octets + ASN1_STRING_length(token)));
    Write("signature", std::string(signature.begin(), signature.end()));
    const ProcessResult verified =
        Openssl({"ts", "-verify", "-token_in", "-in", Path("token"), "-data", Path("signature"), "-CAfile",
                 Certificate("root"), "-untrusted", Certificate("issuing-ca"), "-attime", "1770000000"});
    EXPECT_EQ(0, verified.exitStatus) << verified.errors;
    const std::string shown =
        Openssl({"cms", "-cmsout", "-print", "-noout", "-inform", "DER", "-in", Path("token")}).output;
    EXPECT_TRUE(Contains(shown, "UTCTIME:Feb  2 00:00:00 2026 GMT")) << shown;
}

// ---- what is said and written ---------------------------------------------------------------------------------------

// The time behind a word of what was said.
int64_t TimeBehind(const std::string &text, const std::string &word)
{
    int64_t time = 0;
    const size_t at = text.find(word);
    EXPECT_NE(std::string::npos, at) << text;
    EXPECT_TRUE(at != std::string::npos && pkgsign::ParseTime(text.substr(at + word.size(), 20), &time).ok) << text;
    return time;
}

TEST_F(Sign, TheHorizonIsTheLastSecondAtWhichADeviceTakesAPackage)
{
    ExpectDone(Run({"crl", "--out", Path("longer"), "--next-update", "2027-06-01"}));
    const struct {
        const char *crls;
        const char *ends;
        const char *code;
    } cases[] = {{"crls", ": then the CRL of 'C = DE, O = Sigkit, CN = Issuing CA' ends.", "code 88200012"},
                 {"longer", ": then the certificate 'signer' ends.", "'signer' lives from"}};
    for (const auto &c : cases) {
        for (const bool isStamped : {true, false}) {
            std::vector<std::string> options = {"--crl", Path(c.crls), "--out", Path("out")};
            if (!isStamped) {
                options.push_back("--no-timestamp");
            }
            const Outcome outcome = InPki(options);
            ExpectDone(outcome);
            EXPECT_TRUE(Contains(outcome.out, c.ends)) << outcome.out;
            const int64_t horizon =
                TimeBehind(outcome.out, isStamped ? "evices with this CRL file accept new ones of these keys until "
                                                  : "evices with this CRL file accept this package if it is "
                                                    "timestamped by ");
            options.insert(options.end(), {"--gen-time", pkgsign::FormatTime(horizon)});
            ExpectDone(InPki(options));
            options.back() = pkgsign::FormatTime(horizon + 1);
            ExpectRefused(InPki(options), c.code);
        }
    }
}

TEST_F(Sign, WithoutACrlFileItSaysThatNoneWasGiven)
{
    EXPECT_TRUE(Contains(InPki({"--out", Path("out")}).out, "No CRL file was given (--crl)"));
    EXPECT_FALSE(Contains(InPki({"--out", Path("out"), "--crl", Path("crls")}).out, "No CRL file"));
}

TEST_F(Sign, ArmourHasALabelThatDevicesTake)
{
    ExpectDone(InPki({"--out", Path("out"), "--armour"}));
    EXPECT_EQ(0u, Read("out").rfind("-----BEGIN CMS-----\n", 0));
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
    EXPECT_EQ(0,
              Openssl({"cms", "-verify", "-inform", "PEM", "-in", Path("out"), "-content", Path("content"), "-binary",
                       "-CAfile", Certificate("root"), "-purpose", "any", "-attime", "1770000000", "-out", "/dev/null"})
                  .exitStatus);
}

TEST_F(Sign, OpensslVerifiesMessagesAndShowsTheirAttributes)
{
    for (const char *const digest : {"sha256", "sha384", "sha512"}) {
        ExpectDone(InPki({"--out", Path("out"), "--digest", digest}));
        const ProcessResult verified =
            Openssl({"cms", "-verify", "-inform", "DER", "-in", Path("out"), "-content", Path("content"), "-binary",
                     "-CAfile", Certificate("root"), "-purpose", "any", "-attime", "1770000000", "-out", Path("same")});
        EXPECT_EQ(0, verified.exitStatus) << digest << verified.errors;
        EXPECT_EQ(Read("content"), Read("same"));
        const ProcessResult shown =
            Openssl({"cms", "-cmsout", "-print", "-noout", "-inform", "DER", "-in", Path("out")});
        for (const char *const part :
             {"contentType (1.2.840.113549.1.9.3)", "messageDigest (1.2.840.113549.1.9.4)",
              "signingTime (1.2.840.113549.1.9.5)", "UTCTIME:Feb  1 00:00:00 2026 GMT", digest}) {
            EXPECT_TRUE(Contains(shown.output, part)) << part << shown.output;
        }
    }
}

TEST_F(Sign, TheSameTimeMakesTheSameOctets)
{
    for (const char *const now : {"2026-02-03", "2026-04-05"}) {
        (void)usleep(1100000); // the machine's own clock goes on as well
        ExpectDone(At(now, {"sign", Path("content"), "--gen-time", "2026-02-02", "--out", Path(now)}));
    }
    EXPECT_TRUE(Read("2026-02-03") == Read("2026-04-05"));
    ExpectDone(At("2026-02-03", {"sign", Path("content"), "--gen-time", "2026-02-04", "--out", Path("other")}));
    EXPECT_TRUE(Read("2026-02-03") != Read("other"));
}

TEST_F(Sign, WhatIsThereStaysWhenTheNewMessageIsRefused)
{
    Write("out", "earlier");
    ExpectRefused(At("2026-12-01", {"sign", Path("content"), "--out", Path("out"), "--crl", Path("crls")}),
                  "a device would refuse");
    EXPECT_EQ("earlier", Read("out"));
    for (const auto &entry : std::filesystem::directory_iterator(directory.path)) {
        EXPECT_NE(".tmp", entry.path().extension()) << entry.path();
    }
}

TEST_F(Sign, TheContentIsNotOverwritten)
{
    ExpectRefused(InPki({"--out", Path("content")}), "is the content, which would be lost");
    std::filesystem::create_symlink("content", Path("link"));
    ExpectRefused(InPki({"--request", Path("link")}), "is the content, which would be lost");
    EXPECT_EQ("content\n", Read("content"));
}

TEST_F(Sign, OptionsThatContradictEachOtherAreRefused)
{
    const std::string certificate = Certificate("signer");
    const std::string root = Certificate("root");
    const struct {
        std::vector<std::string> options;
        const char *reason;
    } cases[] = {
        {{}, "--out is missing"},
        {{"--out", "x", "--request", "x"}, "--out belongs to the second step"},
        {{"--request", "-"}, "--request wants a file"},
        {{"--out", "x", "--attach", "x"}, "--attach wants the --request"},
        {{"--request", "x", "--sign-command", "x"}, "--sign-command does what --request and --attach do"},
        {{"--out", "x", "--sign-command", "x", "--key", "x", "--certificate", "x", "--root", "x"}, "--key signs here"},
        {{"--out", "x", "--key", "x"}, "belong to a signer whose --certificate is given"},
        {{"--out", "x", "--chain", "x"}, "belong to a signer whose --certificate is given"},
        {{"--out", "x", "--certificate", certificate, "--key", "x"}, "--certificate wants the --root"},
        {{"--out", "x", "--certificate", certificate, "--root", root}, "--certificate wants its --key"},
        {{"--out", "x", "--certificate", certificate, "--root", root, "--key", "x", "--signer", "x"}, "--signer is of"},
        {{"--out", "x", "--timestamp", "x", "--no-timestamp"}, "exclude each other"},
        {{"--out", "x", "--token", "x", "--no-timestamp"}, "exclude each other"},
        {{"--request", "x", "--token", "x"}, "a token is made over the signature"},
        {{"--out", "x", "--digest", "md5"}, "is none of sha256, sha384 and sha512"},
        {{"--out", "x", "--sign-command", "x 'y"}, "has a quote that does not end"},
        {{"--out", "x", "--sign-command", "x", "--sign-timeout", "1"}, "span"},
    };
    for (const auto &c : cases) {
        ExpectUsage(InPki(c.options), c.reason);
    }
}

// ---- What is signed ------------------------------------------------------------------------------------------------

TEST_F(Sign, ADryRunShowsTheAttributesAndTheirDigestThatTheRealRunSigns)
{
    const Outcome dry = InPki({"--gen-time", "2026-02-02T03:04:05Z", "--out", Path("out"), "--dry-run"});
    ExpectDone(dry);
    EXPECT_FALSE(Made("out"));
    const std::string content = Openssl({"dgst", "-sha256", "-r", Path("content")}).output.substr(0, 64);
    EXPECT_TRUE(Contains(dry.out, "    contentType: pkcs7-data\n")) << dry.out;
    EXPECT_TRUE(Contains(dry.out, "    signingTime: 2026-02-02T03:04:05Z\n")) << dry.out;
    EXPECT_TRUE(Contains(dry.out, "    messageDigest: " + content + "\n")) << dry.out;
    ExpectDone(InPki({"--gen-time", "2026-02-02T03:04:05Z", "--request", Path("request")}));
    const std::string request = Openssl({"dgst", "-sha256", "-r", Path("request")}).output.substr(0, 64);
    EXPECT_TRUE(Contains(dry.out, "SHA-256 of what is signed: " + request + "\n")) << dry.out;
    const Outcome real = InPki({"--gen-time", "2026-02-02T03:04:05Z", "--out", Path("out")});
    EXPECT_EQ(dry.out, real.out);
    const Outcome later = InPki({"--gen-time", "2026-02-02T03:04:06Z", "--out", Path("later"), "--dry-run"});
    EXPECT_FALSE(Contains(later.out, request)) << later.out;
}

TEST_F(Sign, TheDigestOfWhatIsSignedIsSha256WhateverTheContentIsDigestedBy)
{
    const Outcome dry = InPki({"--digest", "sha512", "--out", Path("out"), "--dry-run"});
    ExpectDone(InPki({"--digest", "sha512", "--request", Path("request")}));
    const std::string content = Openssl({"dgst", "-sha512", "-r", Path("content")}).output.substr(0, 128);
    const std::string request = Openssl({"dgst", "-sha256", "-r", Path("request")}).output.substr(0, 64);
    EXPECT_TRUE(Contains(dry.out, "    messageDigest: " + content + "\n")) << dry.out;
    EXPECT_TRUE(Contains(dry.out, "SHA-256 of what is signed: " + request + "\n")) << dry.out;
}

} // namespace
