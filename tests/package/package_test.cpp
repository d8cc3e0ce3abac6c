// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Whole packages through the tool as the upgrade procedure starts it: a process with four options, judged by its exit
// status, its standard output and the platform log.
#include <sys/stat.h>
#include <time.h>

#include <fstream>

#include "tests/package/package_fixture.h"
#include "tests/support/rsa_keys.h"

namespace
{

TEST_F(Package, IsAcceptedWhenEverythingHolds)
{
    Make();
    const ProcessResult result = Verify();
    EXPECT_EQ(0, result.exitStatus) << result.output;
    EXPECT_TRUE(Contains(Log(), "CheckSum file is valid.")) << Log();
    EXPECT_TRUE(Contains(Log(), "VERIFY_TOOL: Execute ret(0).")) << Log();
    EXPECT_FALSE(Contains(result.output, "[ERROR]")) << result.output;
    EXPECT_EQ("", result.errors);
}

TEST_F(Package, IsAcceptedWithEachArmourAndDigest)
{
    for (const forge::Digest digest : {forge::Digest::Sha256, forge::Digest::Sha384, forge::Digest::Sha512}) {
        for (const char *label : {forge::LABEL_CMS, forge::LABEL_PKCS7}) {
            message.digest = digest;
            message.tokenRequest.imprintDigest = digest;
            message.tokenRequest.signerDigest = digest;
            Make();
            forge::Bytes der;
            ASSERT_TRUE(forge::ReadFile(directory.File("signature"), &der).ok);
            Write("signature", Bytes(forge::Armour(label, der)));
            EXPECT_EQ(0, Verify().exitStatus) << label << static_cast<int>(digest);
        }
    }
}

TEST_F(Package, IsAcceptedWithoutSignedAttributes)
{
    message.signedAttributes = false;
    Make();
    EXPECT_EQ(0, Verify().exitStatus);
}

TEST_F(Package, WithOneOctetChangedIsRefusedAsNotMatching)
{
    Make();
    Write("checksums", Bytes("f4d1b1 firmware.bin\n"));
    EXPECT_EQ(255, Verify().exitStatus);
    EXPECT_TRUE(Contains(Log(), "Verify signature not match.")) << Log();
    EXPECT_FALSE(Contains(Log(), "CheckSum file is valid.")) << Log();
}

TEST_F(Package, OfARevokedSignerIsRefused)
{
    forge::RevokedCertificate entry;
    ASSERT_TRUE(forge::GetSerialNumber(Pki().signer.certificate, &entry.serialNumber).ok);
    entry.revocationDate = SIGNING_TIME - 1;
    crlRequests[1].revoked = {entry};
    Make();
    const ProcessResult result = Verify();
    EXPECT_EQ(0x02, result.exitStatus);
    EXPECT_TRUE(Contains(result.output, "The certificate was revoked.")) << result.output;
    EXPECT_TRUE(Contains(result.output, "(err:88200002)")) << result.output;
    EXPECT_TRUE(Contains(Log(), "Verify signature error, code 88200002.")) << Log();
}

// With the issuing CA's key its thief makes a CA that bears the root's name, and a signer below that: the root's own
// CRL is of the signer's issuer by name.
TEST_F(Package, OfANamesakeOfTheRootIsRefusedOnceTheCaAboveItIsRevoked)
{
    forge::CertificateRequest namesake;
    namesake.serialNumber = {0x21};
    namesake.subjectKey = NextRsaKey(2048);
    ASSERT_TRUE(forge::GetSubject(Pki().root.certificate, &namesake.subjectDer).ok);
    ASSERT_TRUE(forge::GetSubject(Pki().issuingCa.certificate, &namesake.issuerDer).ok);
    namesake.issuerKey = Pki().issuingCa.key;
    namesake.notBefore = SIGNING_TIME - 7 * DAY;
    namesake.notAfter = SIGNING_TIME + 7 * DAY;
    namesake.basicConstraints = forge::BasicConstraints::Ca;
    namesake.keyUsage = forge::KEY_CERT_SIGN | forge::CRL_SIGN;
    forge::CertificateRequest signer = namesake;
    signer.serialNumber = {0x22};
    signer.subjectKey = NextRsaKey(2048);
    signer.issuerDer = namesake.subjectDer;
    signer.issuerKey = namesake.subjectKey;
    signer.subjectDer.clear();
    signer.subject = {{"CN", "Thief"}};
    signer.basicConstraints = forge::BasicConstraints::Absent;
    signer.keyUsage = forge::DIGITAL_SIGNATURE;
    signer.extendedKeyUsage = {forge::PURPOSE_CODE_SIGNING};
    message.certificates.resize(2);
    ASSERT_TRUE(forge::MakeCertificate(namesake, &message.certificates[0]).ok);
    ASSERT_TRUE(forge::MakeCertificate(signer, &message.certificates[1]).ok);
    message.signerCertificate = message.certificates[1];
    message.signerKey = signer.subjectKey;
    forge::CertificateRequest authority = signer; // the root's own, which the CA's revocation leaves alone
    authority.serialNumber = {0x23};
    authority.subjectKey = NextRsaKey(2048);
    authority.issuerKey = Pki().root.key;
    authority.extendedKeyUsage = {forge::PURPOSE_TIME_STAMPING};
    ASSERT_TRUE(forge::MakeCertificate(authority, &message.tokenRequest.tsaCertificate).ok);
    message.tokenRequest.tsaKey = authority.subjectKey;
    message.tokenRequest.certificates = {message.tokenRequest.tsaCertificate, Pki().issuingCa.certificate};
    Make();
    EXPECT_EQ(0, Verify().exitStatus) << "below a CA that stands";

    forge::RevokedCertificate entry;
    ASSERT_TRUE(forge::GetSerialNumber(Pki().issuingCa.certificate, &entry.serialNumber).ok);
    entry.revocationDate = SIGNING_TIME - 1;
    crlRequests[0].revoked = {entry};
    Make();
    const ProcessResult result = Verify();
    EXPECT_EQ(0x02, result.exitStatus) << result.output;
}

TEST_F(Package, SignedBeforeItsSignerWasRevokedIsAccepted)
{
    forge::RevokedCertificate entry;
    ASSERT_TRUE(forge::GetSerialNumber(Pki().signer.certificate, &entry.serialNumber).ok);
    entry.revocationDate = SIGNING_TIME + 1;
    crlRequests[1].revoked = {entry};
    Make();
    EXPECT_EQ(0, Verify().exitStatus);
}

TEST_F(Package, WithoutATimestampIsRefused)
{
    message.timestamp = forge::Timestamp::None;
    Make();
    const ProcessResult result = Verify();
    EXPECT_EQ(0x01, result.exitStatus);
    EXPECT_TRUE(Contains(result.output, "InternalVerifyTimeStamp")) << result.output;
}

TEST_F(Package, WithATokenForAnotherSignatureIsRefused)
{
    message.tokenRequest.imprintOver = Bytes("another signature");
    Make();
    const ProcessResult result = Verify();
    EXPECT_EQ(0x02, result.exitStatus);
    EXPECT_TRUE(Contains(result.output, "the timestamp not match with target cms.")) << result.output;
    EXPECT_TRUE(Contains(result.output, "(err:88200402)")) << result.output;
}

TEST_F(Package, TimestampedAfterItsCrlsEndedIsRefused)
{
    crlRequests[1].nextUpdate = SIGNING_TIME - 1;
    Make();
    const ProcessResult result = Verify();
    EXPECT_EQ(0x12, result.exitStatus);
    EXPECT_TRUE(Contains(result.output, "Found an expired CRL, it most likely cause NO CRL error.")) << result.output;
}

TEST_F(Package, WithoutTheRootsCrlIsRefused)
{
    crlRequests[0] = crlRequests[1];
    Make();
    EXPECT_EQ(0x12, Verify().exitStatus);
}

TEST_F(Package, UnderAnotherRootIsRefused)
{
    // The message's chain ends below a root that the tool does not hold.
    message.certificates = {message.signerCertificate};
    Make();
    EXPECT_EQ(0x04, Verify().exitStatus);
}

TEST_F(Package, WithoutACrlFileIsRefused)
{
    Make();
    const ProcessResult result =
        RunTool({"-f", "CHECK_PKG_INTEGRITY", "-h", directory.File("signature"), "-e", directory.File("checksums")});
    EXPECT_EQ(0x01, result.exitStatus);
    EXPECT_TRUE(Contains(Log(), "Add CRL file  failed.")) << Log();
    EXPECT_TRUE(Contains(result.output, "Empty file path.")) << result.output;
}

TEST_F(Package, WithMissingFilesIsRefusedNamingThem)
{
    Make();
    const std::string missing = directory.File("missing");
    ProcessResult result = RunTool(
        {"-f", "CHECK_PKG_INTEGRITY", "-h", missing, "-e", directory.File("checksums"), "-c", directory.File("crls")});
    EXPECT_EQ(0x01, result.exitStatus);
    EXPECT_TRUE(Contains(result.output, "Can not open file '" + missing + "'.")) << result.output;
    result = RunTool(
        {"-f", "CHECK_PKG_INTEGRITY", "-h", directory.File("signature"), "-e", missing, "-c", directory.File("crls")});
    EXPECT_EQ(0x01, result.exitStatus);
    EXPECT_TRUE(Contains(result.output, "Can't open file '" + missing + "'.")) << result.output;
}

TEST_F(Package, LinesOfTheLibraryEndInCarriageReturnAndLineFeed)
{
    Make();
    Write("crls", Bytes(std::string(40, 'x')));
    const ProcessResult result = Verify();
    EXPECT_EQ(0x02, result.exitStatus);
    EXPECT_TRUE(Contains(result.output, "[ERROR]sigkit_log.log(")) << result.output;
    EXPECT_TRUE(Contains(result.output, "):(SigkitVerifyAddCrl):(err:88200102)\r\n")) << result.output;
}

TEST_F(Package, ContentLargerThanMemoryPiecesIsStreamed)
{
    forge::Bytes content(4096 * 300 + 1);
    for (size_t i = 0; i < content.size(); ++i) {
        content[i] = static_cast<uint8_t>(i * 31 + i / 4096);
    }
    message.content = content;
    Make();
    Write("checksums", content);
    EXPECT_EQ(0, Verify().exitStatus);
    content.back() ^= 1;
    Write("checksums", content);
    EXPECT_EQ(255, Verify().exitStatus);
}

// ---- Packages made with the openssl command line alone -------------------------------------------------------------

// Runs `openssl` in the package's directory.
class OpensslPackage : public Package
{
protected:
    void Openssl(const std::string &arguments)
    {
        const std::string command = "cd '" + directory.path + "' && openssl " + arguments;
        const ProcessResult result = RunProcess({"sh", "-c", command});
        ASSERT_EQ(0, result.exitStatus) << arguments << "\n" << result.errors;
    }

    void WriteText(const std::string &name, const std::string &text)
    {
        std::ofstream(directory.File(name)) << text;
    }

    // Makes a key, a request and a certificate under the development root or one made before.
    void MakeCertificate(const std::string &name, const std::string &issuer, const std::string &extensions)
    {
        WriteText(name + ".ext", extensions);
        Openssl("req -new -newkey rsa:2048 -nodes -sha256 -keyout " + name + ".key -out " + name +
                ".csr -subj '/C=DE/O=Example/CN=" + name + "'");
        Openssl("x509 -req -sha256 -in " + name + ".csr -out " + name + ".pem -days 3650 -CA " + issuer +
                ".pem -CAkey " + issuer + ".key -CAcreateserial -extfile " + name + ".ext");
    }

    void MakeCrl(const std::string &issuer)
    {
        WriteText(issuer + ".index", "");
        WriteText(issuer + ".number", "01\n");
        WriteText(issuer + ".cnf", "[ca]\ndefault_ca=d\n[d]\ndatabase=" + issuer + ".index\ncrlnumber=" + issuer +
                                       ".number\ndefault_md=sha256\ndefault_crl_days=30\n");
        Openssl("ca -gencrl -config " + issuer + ".cnf -cert " + issuer + ".pem -keyfile " + issuer + ".key -out " +
                issuer + ".crl");
    }

    std::string ReadText(const std::string &name)
    {
        forge::Bytes data;
        EXPECT_TRUE(forge::ReadFile(directory.File(name), &data).ok) << name;
        return std::string(data.begin(), data.end());
    }
};

TEST_F(OpensslPackage, MadeWithTheCommandLineAloneIsAccepted)
{
    const std::string pki = DEVELOPMENT_PKI;
    for (const std::string &path : {pki + "/certificates/root.pem", pki + "/private/root.key"}) {
        forge::Bytes data;
        ASSERT_TRUE(forge::ReadFile(path, &data).ok);
        Write(path.substr(path.rfind('/') + 1), data);
    }
    const std::string leaf = "basicConstraints=CA:FALSE\nkeyUsage=critical,digitalSignature\n";
    MakeCertificate("ca", "root", "basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\n");
    MakeCertificate("signer", "ca", leaf + "extendedKeyUsage=codeSigning\n");
    MakeCertificate("tsa", "ca", leaf + "extendedKeyUsage=critical,timeStamping\n");
    MakeCrl("root");
    MakeCrl("ca");
    Write("crls", Bytes(ReadText("root.crl") + ReadText("ca.crl")));

    Openssl(
        "cms -sign -binary -in checksums -outform DER -out unstamped -signer signer.pem -inkey signer.key -certfile "
        "ca.pem -md sha256");
    forge::Bytes unstamped;
    ASSERT_TRUE(forge::ReadFile(directory.File("unstamped"), &unstamped).ok);
    forge::Bytes value;
    ASSERT_TRUE(forge::GetSignatureValue(unstamped, &value).ok);
    Write("value", value);
    WriteText("tsa.serial", "01\n");
    WriteText("tsa.cnf", "[tsa]\ndefault_tsa=t\n[t]\nserial=tsa.serial\nsigner_cert=tsa.pem\nsigner_key=tsa.key\n"
                         "signer_digest=sha256\ndefault_policy=1.2.3.4\ndigests=sha256\n");
    Openssl("ts -query -data value -sha256 -cert -out query");
    Openssl("ts -reply -config tsa.cnf -queryfile query -token_out -out token");
    forge::Bytes token;
    ASSERT_TRUE(forge::ReadFile(directory.File("token"), &token).ok);
    forge::Bytes stamped;
    ASSERT_TRUE(forge::EmbedToken(unstamped, token, &stamped).ok);
    Write("signature", stamped);

    const ProcessResult result = Verify();
    EXPECT_EQ(0, result.exitStatus) << result.output;
    EXPECT_TRUE(Contains(Log(), "CheckSum file is valid.")) << Log();
}

} // namespace
