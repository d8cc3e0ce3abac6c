// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The refusals of the field, explained from nothing but what syslog has of them: on one screen, the right cause and
// what to do.
#include <algorithm>
#include <sstream>

#include "pkgsign/explain/cause_text.h"
#include "pkgsign/files/files.h"
#include "tests/pkgsign/field_refusals.h"
#include "tests/pkgsign/support.h"

namespace
{

constexpr size_t SCREEN_LINES = 24;
constexpr size_t SCREEN_COLUMNS = 100;

// What syslog(3) got of a run on a package.
std::string LogOf(const FieldPackage &package)
{
    const TemporaryDirectory directory;
    forge::Status status = WriteFieldPackage(directory, package);
    EXPECT_TRUE(status.ok) << status.reason;
    (void)RunProcess({VERIFY_TOOL, "-f", "CHECK_PKG_INTEGRITY", "-h", directory.File("checksums.cms"), "-e",
                      directory.File("checksums"), "-c", directory.File("crls.der")},
                     {"QZLOG=", "LD_PRELOAD=" SYSLOG_RECORDER, "SYSLOG_RECORD=" + directory.File("record"),
                      "SYSLOG_SOCKET=there", "ASAN_OPTIONS=verify_asan_link_order=0"});
    forge::Bytes log;
    status = forge::ReadFile(directory.File("record"), &log);
    EXPECT_TRUE(status.ok) << status.reason;
    return std::string(log.begin(), log.end());
}

Outcome ExplainRefusal(const FieldRefusal &refusal)
{
    const FieldWorkshop &workshop = SharedFieldWorkshop(PKGSIGN_PROGRAM, DEVELOPMENT_PKI);
    FieldPackage package;
    forge::Status status = MakeFieldRefusal(workshop, refusal, &package);
    EXPECT_TRUE(status.ok) << status.reason;
    const TemporaryDirectory directory;
    status = forge::WriteFile(directory.File("log"), LogOf(package));
    EXPECT_TRUE(status.ok) << status.reason;
    return Pkgsign({"explain", directory.File("log")});
}

void ExpectOneScreen(const std::string &text)
{
    EXPECT_LE(std::count(text.begin(), text.end(), '\n'), SCREEN_LINES) << text;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), SCREEN_COLUMNS) << line;
    }
}

// Three mistakes that the log cannot tell apart.
constexpr char UNDECODED[] =
    "Cause: one of these, the likeliest first; the log says no more.\n"
    "  - The message has more than two certificates: a whole chain was put in, for instance.\n"
    "    > Leave all but the signer's and its CA's out (openssl cms with a smaller -certfile).\n"
    "  - The signer is named by key identifier instead of issuer and serial number.\n"
    "    > Sign without -keyid (openssl cms).\n"
    "  - Text stands before the armour -----BEGIN CMS-----, or the file is S/MIME.\n"
    "    > Remove all that stands before it, a byte order mark as well.\n"
    "  - The message has more than one signer.\n"
    "    > Let one sign.\n"
    "\n"
    "Next: pkgsign inspect checksums.cms\n";

struct Expected {
    const char *refusal;
    const char *cause; // and all that follows it
};

const Expected EXPECTED[] = {
    {"CrlOlderThanTheToken",
     "Cause:      The CRL file is older than the timestamp token: the nextUpdate of a CRL in it lies\n"
     "            before the token's time.\n"
     "What to do: Take the CRL file that belongs to the package, or make a new one (pkgsign crl).\n"
     "\n"
     "Next: pkgsign check checksums --root root.der --crl crls.der --signature checksums.cms\n"},
    {"NoCrlOfTheRoot",
     "Cause:      A CRL is there, but the CA that issued it is not covered by one itself: as a rule the\n"
     "            root's CRL is missing in the CRL file.\n"
     "What to do: Add the root's CRL: pkgsign crl puts every CRL of the chain into the file, or joins it\n"
     "            with --add.\n"
     "\n"
     "Next: pkgsign check checksums --root root.der --crl crls.der --signature checksums.cms\n"},
    {"TokenOfAnotherSignature",
     "Cause:      The message was signed again after it was timestamped, got the token of another\n"
     "            signature, or the file was timestamped in the place of the signature value.\n"
     "What to do: Timestamp the signature value again, as pkgsign timestamp does.\n"
     "\n"
     "Next: pkgsign check checksums --root root.der --crl crls.der --signature checksums.cms\n"},
    {"StreamedEncoding",
     "Cause:      The signature file has lengths of the indefinite form (BER): it was written as a stream.\n"
     "What to do: Sign without -stream (openssl cms), or with pkgsign sign; the device takes DER alone.\n"
     "\n"
     "Next: pkgsign inspect checksums.cms\n"},
    {"AuthoritysCertificateAsSigner",
     "Cause:      The signer's certificate has no key usage digitalSignature, or its first extended key\n"
     "            usage is not codeSigning: a timestamp authority's or a CA's certificate was taken, for\n"
     "            instance.\n"
     "What to do: Sign with a certificate for code signing (pkgsign sign --signer), or issue one (pkgsign\n"
     "            issue --as signer).\n"
     "\n"
     "Next: pkgsign check checksums --root root.der --crl crls.der --signature checksums.cms\n"},
    {"NoCertificates", "Cause:      The signer's certificate is not in the signature file.\n"
                       "What to do: Put it there: sign with pkgsign sign, or openssl cms without -nocerts.\n"
                       "\n"
                       "Next: pkgsign check checksums --root root.der --crl crls.der --signature checksums.cms\n"},
    {"TextBeforeTheArmour", UNDECODED},
    {"ConvertedLineEnds",
     "Cause:      The checksum file is not the one that was signed, octet for octet: its line ends were\n"
     "            converted (by a copy in text mode, an editor, a version control system), or it was\n"
     "            altered, cut, or read only in part.\n"
     "What to do: Copy it again as binary data, and compare its SHA-256 with the release's. pkgsign check\n"
     "            says whether it fits with other line ends. Sign again if the release itself is wrong.\n"
     "\n"
     "Next: pkgsign check checksums --root root.der --crl crls.der --signature checksums.cms\n"},
    {"ExpiredCertificate",
     "Cause:      The signer's certificate, or that of a CA above it, had expired when the package was\n"
     "            timestamped. The device's clock has no part in it: a package timestamped before the end\n"
     "            stays good.\n"
     "What to do: Renew the certificate, then sign and timestamp again.\n"
     "\n"
     "Next: pkgsign check checksums --root root.der --crl crls.der --signature checksums.cms\n"},
    {"KeyIdentifierInsteadOfIssuerAndSerial", UNDECODED},
    {"ThreeCertificates", UNDECODED},
    {"RsaPss", "Cause: one of these, the likeliest first; the log says no more.\n"
               "  - The message is signed with RSA-PSS, which this device does not take.\n"
               "    > Sign with RSASSA-PKCS1-v1_5: without -keyopt rsa_padding_mode:pss (openssl cms).\n"
               "  - The certificate is not that of the key that signed.\n"
               "    > Sign with the key that belongs to the certificate.\n"
               "  - The message was altered after it was signed.\n"
               "    > Copy it again.\n"
               "\n"
               "Next: pkgsign check checksums --root root.der --crl crls.der --signature checksums.cms\n"},
};

} // namespace

TEST(ExplainOfTheField, LeadsToCauseAndRemedyOnOneScreen)
{
    ASSERT_EQ(FIELD_REFUSALS.size(), std::size(EXPECTED));
    for (size_t i = 0; i < FIELD_REFUSALS.size(); ++i) {
        ASSERT_STREQ(FIELD_REFUSALS[i].name, EXPECTED[i].refusal);
        const Outcome outcome = ExplainRefusal(FIELD_REFUSALS[i]);
        ExpectDone(outcome);
        ExpectOneScreen(outcome.out);
        EXPECT_TRUE(Contains(outcome.out, "exit status " + std::to_string(FIELD_REFUSALS[i].exitStatus) + ".\n"));
        const Outcome exit = Pkgsign({"explain", std::to_string(FIELD_REFUSALS[i].exitStatus)});
        EXPECT_TRUE(Contains(exit.out, pkgsign::StatusDigits(FIELD_REFUSALS[i].status)))
            << "the tool's own exit status";
        const size_t cause = std::min(outcome.out.find("\nCause:"), outcome.out.size() - 1);
        EXPECT_EQ(EXPECTED[i].cause, outcome.out.substr(cause + 1)) << EXPECTED[i].refusal;
    }
}
