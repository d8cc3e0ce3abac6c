#include "tests/forge/support.h"

#include <openssl/x509.h>
#include <sys/stat.h>

#include <filesystem>
#include <ostream>

namespace
{
// Runs the tool beside a PKI in "pki" and a file "content".
class CommandLine : public InDirectory
{
protected:
    void SetUp() override
    {
        InDirectory::SetUp();
        ASSERT_TRUE(forge::WritePki(Path("pki"), TestPki(), false).ok);
        Save("content", std::string("content\n"));
    }

    ProcessResult Run(const std::string &arguments) const
    {
        const std::filesystem::path before = std::filesystem::current_path();
        std::filesystem::current_path(directory.path);
        const ProcessResult result = RunPkgsign(arguments);
        std::filesystem::current_path(before);
        return result;
    }

    bool Made(const std::string &name) const
    {
        return std::filesystem::exists(Path(name));
    }

    forge::Bytes Read(const std::string &name) const
    {
        forge::Bytes data;
        const forge::Status status = forge::ReadFile(Path(name), &data);
        EXPECT_TRUE(status.ok) << status.reason;
        return data;
    }

    ProcessResult VerifyMessage(const std::string &name, const std::string &form) const
    {
        return RunOpenssl("cms -verify -binary -purpose any -inform " + form + " -in " + Quoted(name) + " -content " +
                          Quoted("content") + " -CAfile " + Quoted("root.pem") + " -out " + Quoted("output"));
    }
};

void ExpectDone(const ProcessResult &result)
{
    EXPECT_EQ(0, result.exitStatus) << result.output;
    EXPECT_EQ("", result.output);
}

// An error is one line that begins with the tool's name.
void ExpectError(int status, const ProcessResult &result)
{
    EXPECT_EQ(status, result.exitStatus) << result.output;
    EXPECT_EQ(0u, result.output.rfind("pkgsign", 0)) << result.output;
    ASSERT_FALSE(result.output.empty());
    EXPECT_EQ(result.output.size() - 1, result.output.find('\n')) << result.output;
}

TEST_F(CommandLine, InitMakesAPkiWithAFreshRoot)
{
    ExpectDone(Run("init fresh --root-name 'Fresh Root' --key-bits 2048"));
    EXPECT_EQ(1363u, Read("fresh/root.der").size());
    EXPECT_TRUE(Contains(Read("fresh/root.der"), Octets("Fresh Root")));
    for (const char *name : {"root", "issuing-ca", "signer", "timestamp"}) {
        struct stat found = {};
        ASSERT_EQ(0, stat(Path(std::string("fresh/") + name + ".key").c_str(), &found));
        EXPECT_EQ(0600u, found.st_mode & 0777u);
        forge::Bytes plain;
        ASSERT_TRUE(forge::Unarmour(Read(std::string("fresh/") + name + ".pem"), &plain).ok);
        EXPECT_EQ(Read(std::string("fresh/") + name + ".der"), plain);
    }
    const ProcessResult chain =
        RunOpenssl("verify -CAfile " + Quoted("fresh/root.pem") + " -untrusted " + Quoted("fresh/issuing-ca.pem") +
                   " " + Quoted("fresh/signer.pem") + " " + Quoted("fresh/timestamp.pem"));
    EXPECT_EQ(0, chain.exitStatus) << chain.output;
}

TEST_F(CommandLine, InitReplacesAPkiOnlyWhenForced)
{
    const forge::Bytes before = Read("pki/root.der");
    ExpectError(1, Run("init pki --key-bits 2048"));
    EXPECT_EQ(before, Read("pki/root.der"));
    ExpectDone(Run("init pki --key-bits 2048 --force"));
    EXPECT_NE(before, Read("pki/root.der"));
}

TEST_F(CommandLine, SignMakesMessagesThatOpensslAccepts)
{
    ExpectDone(Run("sign pki --in content --out message.der"));
    EXPECT_EQ(0, VerifyMessage("message.der", "DER").exitStatus);
    for (const char *form : {"cms", "pkcs7"}) {
        for (const char *digest : {"sha256", "sha384", "sha512"}) {
            ExpectDone(
                Run(std::string("sign pki --in content --out message.pem --format ") + form + " --digest=" + digest));
            const ProcessResult result = VerifyMessage("message.pem", "PEM");
            EXPECT_EQ(0, result.exitStatus) << result.output;
        }
    }
    EXPECT_TRUE(Contains(Read("message.pem"), Octets("-----BEGIN PKCS7-----\n")));
}

TEST_F(CommandLine, SignTakesTheTimeOfTheToken)
{
    ExpectDone(Run("sign pki --in content --out message --gen-time 2020-02-29T12:34:56Z"));
    EXPECT_TRUE(Contains(Read("message"), Octets("20200229123456Z")));
}

TEST_F(CommandLine, SignCanLeaveOutTokenAndAttributes)
{
    ExpectDone(Run("sign pki --in content --out message --no-timestamp --no-signed-attributes"));
    EXPECT_EQ(0, VerifyMessage("message", "DER").exitStatus);
    const std::string text = RunOpenssl("cms -cmsout -print -noout -inform DER -in " + Quoted("message")).output;
    EXPECT_NE(std::string::npos, text.find("d.issuerAndSerialNumber")) << text;
    EXPECT_EQ(std::string::npos, text.find("timeStampToken"));
    EXPECT_EQ(std::string::npos, text.find("messageDigest"));
}

TEST_F(CommandLine, OutputGoesToStandardOutputForADash)
{
    const ProcessResult result = Run("sign pki --in content --out - --format cms");
    EXPECT_EQ(0, result.exitStatus);
    EXPECT_EQ(0u, result.output.rfind("-----BEGIN CMS-----\n", 0));
}

TEST_F(CommandLine, TimestampAddsATokenToAMessage)
{
    ExpectDone(Run("sign pki --in content --out bare --no-timestamp --format pkcs7"));
    ExpectDone(Run("timestamp pki --in bare --out stamped --gen-time 2020-02-29T12:34:56Z --digest sha384"));
    EXPECT_TRUE(Contains(Read("stamped"), Octets("20200229123456Z")));
    EXPECT_EQ(0, VerifyMessage("stamped", "DER").exitStatus);
}

TEST_F(CommandLine, TokenOverASignatureIsAcceptedByOpensslAndEmbedded)
{
    ExpectDone(Run("sign pki --in content --out bare --no-timestamp"));
    ExpectDone(Run("signature --in bare --out signature"));
    ExpectDone(Run("token pki --signature signature --out token --gen-time 2020-02-29T12:34:56Z"));
    const ProcessResult token =
        RunOpenssl("ts -verify -token_in -in " + Quoted("token") + " -data " + Quoted("signature") + " -CAfile " +
                   Quoted("root.pem") + " -untrusted " + Quoted("issuing-ca.pem"));
    EXPECT_EQ(0, token.exitStatus) << token.output;
    ExpectDone(Run("embed-token --in bare --token token --out stamped --format cms"));
    EXPECT_EQ(0, VerifyMessage("stamped", "PEM").exitStatus);
    forge::Bytes plain;
    ASSERT_TRUE(forge::Unarmour(Read("stamped"), &plain).ok);
    EXPECT_TRUE(Contains(plain, Read("token")));
}

TEST_F(CommandLine, CrlsCoverTheChainInOpenssl)
{
    ExpectDone(Run("crl pki --out crls.pem --format pem"));
    const ProcessResult result =
        RunOpenssl("verify -crl_check_all -CAfile " + Quoted("root.pem") + " -untrusted " + Quoted("issuing-ca.pem") +
                   " -CRLfile " + Quoted("crls.pem") + " " + Quoted("pki/signer.pem"));
    EXPECT_EQ(0, result.exitStatus) << result.output;
}

TEST_F(CommandLine, CrlRevokesEachCertificateOnTheListOfItsIssuer)
{
    ExpectDone(Run("crl pki --out root.crl --issuer root --revoke pki/issuing-ca.pem,superseded,2019-05-06T07:08:09Z "
                   "--this-update 2020-01-01T00:00:00Z --next-update 2021-01-01T00:00:00Z --number 7"));
    const std::string text = RunOpenssl("crl -inform DER -noout -text -in " + Quoted("root.crl")).output;
    for (const char *part : {"May  6 07:08:09 2019", "Superseded", "Last Update: Jan  1 00:00:00 2020",
                             "Next Update: Jan  1 00:00:00 2021", "CN = Root CA"}) {
        EXPECT_NE(std::string::npos, text.find(part)) << part << "\n" << text;
    }
    ExpectError(1, Run("crl pki --out wrong.crl --issuer root --revoke pki/signer.der"));
    EXPECT_FALSE(Made("wrong.crl"));
    ExpectDone(Run("crl pki --out crls.pem --format pem --revoke pki/signer.der,keyCompromise"));
    const ProcessResult verdict =
        RunOpenssl("verify -crl_check_all -CAfile " + Quoted("root.pem") + " -untrusted " + Quoted("issuing-ca.pem") +
                   " -CRLfile " + Quoted("crls.pem") + " " + Quoted("pki/signer.pem"));
    EXPECT_NE(std::string::npos, verdict.output.find("certificate revoked")) << verdict.output;
}

TEST_F(CommandLine, CrlFileInDerHoldsItsObjectsOneBehindTheOther)
{
    ExpectDone(Run("crl pki --out file --with-certificates --this-update 2020-01-01T00:00:00Z"));
    const std::string times = " --this-update 2020-01-01T00:00:00Z";
    ExpectDone(Run("crl pki --out root.crl --issuer root" + times));
    ExpectDone(Run("crl pki --out ca.crl --issuer issuing-ca" + times));
    forge::Bytes expected = Read("pki/issuing-ca.der");
    for (const char *name : {"root.crl", "ca.crl"}) {
        const forge::Bytes crl = Read(name);
        expected.insert(expected.end(), crl.begin(), crl.end());
    }
    EXPECT_EQ(expected, Read("file"));
}

TEST_F(CommandLine, CrlTakesTwentyRevocationsAndNoMore)
{
    std::string revocations;
    for (int i = 0; i < 20; ++i) {
        revocations += " --revoke pki/signer.der";
    }
    ExpectDone(Run("crl pki --out crl" + revocations));
    ExpectError(1, Run("crl pki --out crl --revoke pki/signer.der" + revocations));
}

TEST_F(CommandLine, HelpIsGivenForEachCommand)
{
    const ProcessResult overview = Run("--help");
    EXPECT_EQ(0, overview.exitStatus);
    for (const char *command : {"init", "crl", "sign", "timestamp", "token", "signature", "embed-token"}) {
        EXPECT_NE(std::string::npos, overview.output.find(std::string("  ") + command + " ")) << command;
        const ProcessResult help = Run(std::string(command) + " --help");
        EXPECT_EQ(0, help.exitStatus);
        EXPECT_EQ(0u, help.output.rfind(std::string("Usage: pkgsign ") + command + " ", 0)) << help.output;
    }
}

struct ErrorCase {
    const char *name;
    const char *arguments;
    int status;
};

void PrintTo(const ErrorCase &row, std::ostream *out)
{
    *out << row.name;
}

const ErrorCase ERROR_CASES[] = {
    {"NoCommand", "", 2},
    {"UnknownCommand", "frobnicate", 2},
    {"NoDirectory", "init", 2},
    {"TwoDirectories", "init one two", 2},
    {"UnknownOption", "sign pki --in content --out made --quick", 2},
    {"ShortOption", "sign pki -i content --out made", 2},
    {"OptionWithoutValue", "sign pki --in content --out", 2},
    {"FlagWithValue", "init new --force=yes", 2},
    {"MissingIn", "sign pki --out made", 2},
    {"MissingOut", "crl pki", 2},
    {"EmptyOut", "crl pki --out ''", 2},
    {"MissingToken", "embed-token --in content --out made", 2},
    {"UnknownDigest", "sign pki --in content --out made --digest sha1", 2},
    {"UnknownFormat", "sign pki --in content --out made --format pem", 2},
    {"UnknownCrlFormat", "crl pki --out made --format cms", 2},
    {"UnknownIssuer", "crl pki --out made --issuer signer", 2},
    {"UnknownReason", "crl pki --out made --revoke pki/signer.der,boredom", 2},
    {"BadRevocationDate", "crl pki --out made --revoke pki/signer.der,superseded,yesterday", 2},
    {"BadTime", "crl pki --out made --this-update 2026-02-30T00:00:00Z", 2},
    {"UpdatesInWrongOrder", "crl pki --out made --this-update 2026-01-02T00:00:00Z --next-update 2026-01-01T00:00:00Z",
     2},
    {"TimeForNoToken", "sign pki --in content --out made --no-timestamp --gen-time 2026-01-01T00:00:00Z", 2},
    {"ShortKeys", "init new --key-bits 2047", 2},
    {"LongKeys", "init new --key-bits 4097", 2},
    {"KeyBitsNoNumber", "init new --key-bits many", 2},
    {"RootNameTooLong", "init new --root-name 'A name that has no room in it'", 1},
    {"MissingPki", "sign elsewhere --in content --out made", 1},
    {"MissingContent", "sign pki --in missing --out made", 1},
    {"RevokedFileIsNoCertificate", "crl pki --out made --revoke content", 1},
    {"MessageIsNone", "timestamp pki --in content --out made", 1},
    {"SignatureOfNoMessage", "signature --in content --out made", 1},
    {"OutIsADirectory", "sign pki --in content --out pki", 1},
};

class CommandLineError : public CommandLine, public ::testing::WithParamInterface<ErrorCase>
{
};

TEST_P(CommandLineError, IsOneLineAndAnExitStatusAndLeavesNoFile)
{
    ExpectError(GetParam().status, Run(GetParam().arguments));
    EXPECT_FALSE(Made("made"));
    EXPECT_FALSE(Made("new/root.key"));
}

INSTANTIATE_TEST_SUITE_P(Errors, CommandLineError, ::testing::ValuesIn(ERROR_CASES),
                         [](const auto &row) { return row.param.name; });

} // namespace
