// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The refusals of the field, checked: step, cause and remedy where a terminal shows the end of a report.
#include <algorithm>
#include <filesystem>

#include <nlohmann/json.hpp>

#include "pkgsign/explain/cause_text.h"
#include "pkgsign/files/files.h"
#include "tests/pkgsign/field_refusals.h"
#include "tests/pkgsign/support.h"

namespace
{

using Json = nlohmann::json;

constexpr int ANSWER_LINES = 12; // half a screen

struct Expected {
    const char *refusal;
    const char *step;
    const char *code;
    const char *text; // part of the cause
    const char *remedy;
};

const Expected EXPECTED[] = {
    {"CrlOlderThanTheToken", "authority-path", "crl-expired",
     "ended at 2026-02-01T00:00:00Z, before the token's time, 2026-03-10T12:00:00Z",
     "Take the CRL file that belongs to the package, or make a new one (pkgsign crl)."},
    {"NoCrlOfTheRoot", "authority-path", "crl-of-root-missing", "the CRL file has no CRL of the root '",
     "Put the root's CRL into the CRL file: each CA of the path needs one, the root included."},
    {"TokenOfAnotherSignature", "token-imprint", "token-of-another-signature",
     "the timestamp token was made for another signature",
     "Timestamp this signature value anew; each signing makes another, and no token fits two."},
    {"StreamedEncoding", "signature-file", "message-streamed", "is written in the streamed encoding (BER)",
     "Write DER: leave out openssl cms -stream, or convert the file; the signature stays good."},
    {"AuthoritysCertificateAsSigner", "signer-usage", "signer-is-authority",
     "a timestamp authority's certificate: its purpose is timeStamping, not codeSigning",
     "Sign with the code signing certificate; the authority's is for timestamps."},
    {"NoCertificates", "signer", "message-without-certificates",
     "carries no certificates, so the signer's is not at hand",
     "Sign again with the certificates inside (openssl cms without -nocerts)."},
    {"TextBeforeTheArmour", "signature-file", "message-armour", "has text before its armour",
     "Let the file begin with -----BEGIN CMS----- or -----BEGIN PKCS7-----, with nothing before it, or use DER."},
    {"ConvertedLineEnds", "content", "content-converted",
     "was changed on its way: with LF line ends it is what was signed",
     "Bring the file again as it is, in binary mode."},
    {"ExpiredCertificate", "signer-path", "certificate-expired",
     "ended at 2026-03-01T00:00:00Z, and the token's time is 2026-03-10T12:00:00Z",
     "Renew the certificate (pkgsign issue --renew), sign and timestamp again. Older packages stay good."},
    {"KeyIdentifierInsteadOfIssuerAndSerial", "signature-file", "message-key-identifier",
     "names the signer by a key identifier, not by issuer and serial",
     "Sign again, with issuer and serial number (leave out openssl cms -keyid)."},
    {"ThreeCertificates", "signature-file", "message-certificates", "carries more than two certificates",
     "Leave in the signer's certificate and its CA's; the CRL file carries the others."},
    {"RsaPss", "signature", "signature-pss",
     "the signature is of the kind RSA-PSS; devices read RSASSA-PKCS1-v1_5 alone",
     "Sign again without RSA-PSS (leave out rsa_padding_mode:pss)."},
};

std::vector<std::string> CheckOf(const TemporaryDirectory &directory)
{
    return {"check",       directory.File("checksums"),
            "--root",      directory.File("root.der"),
            "--crl",       directory.File("crls.der"),
            "--signature", directory.File("checksums.cms"),
            "--no-input",  "--now",
            "2026-03-11"};
}

void ExpectCause(const Json &json, const FieldRefusal &refusal, const Expected &expected)
{
    EXPECT_EQ(pkgsign::StatusDigits(refusal.status), json["status"]);
    EXPECT_EQ(refusal.exitStatus, json["exitStatus"]);
    EXPECT_EQ(expected.step, json["failedStep"]);
    EXPECT_EQ(expected.code, json["causeCode"]);
    EXPECT_TRUE(Contains(json["cause"], expected.text)) << json["cause"];
    EXPECT_EQ(expected.remedy, json["remedy"]);
    const std::string next = json["next"].get<std::string>();
    EXPECT_FALSE(next.empty());
    // With the devices' CRL file, so that what is made is tried before it is written.
    const bool isMade = next.rfind("pkgsign sign ", 0) == 0 || next.rfind("pkgsign timestamp ", 0) == 0;
    EXPECT_TRUE(!isMade || Contains(next, " --crl ")) << next;
}

void ExpectAnswer(const std::string &text, const FieldRefusal &refusal)
{
    const std::string answer = text.substr(text.rfind("\n\n") + 2);
    EXPECT_LE(std::count(answer.begin(), answer.end(), '\n'), ANSWER_LINES) << answer;
    for (const std::string &word : {pkgsign::StatusDigits(refusal.status), std::string("\ncause "),
                                    std::string("\nremedy "), std::string("\nnext ")}) {
        EXPECT_TRUE(Contains(answer, word)) << answer;
    }
}

} // namespace

TEST(CheckOfTheField, NamesStepCauseAndRemedyAtItsEnd)
{
    ASSERT_EQ(FIELD_REFUSALS.size(), std::size(EXPECTED));
    const FieldWorkshop &workshop = SharedFieldWorkshop(PKGSIGN_PROGRAM, DEVELOPMENT_PKI);
    for (size_t i = 0; i < FIELD_REFUSALS.size(); ++i) {
        const FieldRefusal &refusal = FIELD_REFUSALS[i];
        SCOPED_TRACE(refusal.name);
        ASSERT_STREQ(refusal.name, EXPECTED[i].refusal);
        const TemporaryDirectory directory;
        FieldPackage package;
        forge::Status status = MakeFieldRefusal(workshop, refusal, &package);
        ASSERT_TRUE(status.ok) << status.reason;
        status = WriteFieldPackage(directory, package);
        ASSERT_TRUE(status.ok) << status.reason;
        std::vector<std::string> arguments = CheckOf(directory);
        const Outcome asText = Pkgsign(arguments);
        EXPECT_EQ(1, asText.status) << asText.errors;
        ExpectAnswer(asText.out, refusal);
        arguments.emplace_back("--json");
        ExpectCause(Json::parse(Pkgsign(arguments).out), refusal, EXPECTED[i]);
    }
}

TEST(CheckOfTheField, NamesACommandThatMakesTheMissingCrlOfTheRoot)
{
    const auto refusal = std::find_if(FIELD_REFUSALS.begin(), FIELD_REFUSALS.end(), [](const FieldRefusal &other) {
        return std::string(other.name) == "NoCrlOfTheRoot";
    });
    ASSERT_NE(FIELD_REFUSALS.end(), refusal);
    const TemporaryDirectory directory;
    FieldPackage package;
    ASSERT_TRUE(MakeFieldRefusal(SharedFieldWorkshop(PKGSIGN_PROGRAM, DEVELOPMENT_PKI), *refusal, &package).ok);
    ASSERT_TRUE(WriteFieldPackage(directory, package).ok);
    std::filesystem::copy(DEVELOPMENT_PKI, directory.File("pki"), std::filesystem::copy_options::recursive);
    std::vector<std::string> check = CheckOf(directory);
    check.emplace_back("--json");
    const std::string next = Json::parse(Pkgsign(check).out)["next"];
    const std::string programs = std::filesystem::path(PKGSIGN_PROGRAM).parent_path().string();
    const ProcessResult made = RunProcess(
        {"sh", "-c",
         "PATH='" + programs + "':$PATH && cd '" + directory.path + "' && " + next + " --now 2026-03-11 --no-input"});
    EXPECT_EQ(0, made.exitStatus) << next << made.errors;
    std::replace(check.begin(), check.end(), directory.File("crls.der"), directory.File("fixed-crls.der"));
    EXPECT_EQ(true, Json::parse(Pkgsign(check).out)["authentic"]);
}
