// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// `pkgsign explain`: arguments, the lists behind it, and logs of every shape.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "pkgsign/explain/cause.h"
#include "pkgsign/explain/cause_text.h"
#include "pkgsign/explain/log_trail.h"
#include "pkgsign/files/files.h"
#include "sigkit/sigkit.h"
#include "tests/pkgsign/support.h"

namespace
{

using Json = nlohmann::json;

// What syslog has of a package whose CRL file is older than its token.
constexpr char OLD_CRLS[] =
    "INFO 1014 verify_frame_main(27) UPGRADE_CmdParseSingle: The Opcode is : CHECK_PKG_INTEGRITY.\n"
    "INFO 1014 verify_frame_main(48) UPGRADE_CmdParseSingle: The path of cms file is (/data/7/checksums.cms).\n"
    "INFO 1014 verify_frame_main(41) UPGRADE_CmdParseSingle: The path of checksum file is : /data/7/checksums.\n"
    "INFO 1014 verify_frame_main(34) UPGRADE_CmdParseSingle: The path of crl file is : /data/7/crls.der.\n"
    "INFO 1014 verify_frame_main(105) UPGRADE_CmdExe: VERIFY_TOOL: Execute function (CHECK_PKG_INTEGRITY).\n"
    "WARNING 1014 upgrade_sigkit_sdk_callback(290) SigkitLogPrint: sigkit_log.log(117):(InternalCrlGetScore):Found an "
    "expired CRL, it most likely cause NO CRL error.\n"
    "ERROR 1014 upgrade_sigkit_sdk_callback(283) SigkitLogPrint: sigkit_log.log(175):(InternalFindBestCrlOfCert):Can't "
    "find CRL for certificate.\n"
    "ERROR 1014 upgrade_sigkit_sdk_callback(283) SigkitLogPrint: sigkit_log.log(56):(InternalVerifyIssuerCert):\n"
    "ERROR 1014 upgrade_sigkit_sdk_callback(283) SigkitLogPrint: sigkit_log.log(166):(InternalVerifyCms):\n"
    "ERROR 1014 upgrade_sigkit_sdk_callback(283) SigkitLogPrint: "
    "sigkit_log.log(147):(SigkitVerifyDetachSignatureBegin):\n"
    "ERROR 1014 upgrade_sigkit_sdk_callback(283) SigkitLogPrint: "
    "sigkit_log.log(74):(SigkitVerifyDetachSignatureQuick):\n"
    "ERROR 1014 upgrade_sigkit_handle(175) VerifyCmsFile: Verify signature error, code 88200012.\n"
    "INFO 1014 verify_frame_main(107) UPGRADE_CmdExe: VERIFY_TOOL: Execute ret(-2011168750).\n"
    "ERROR 1014 verify_frame_main(130) UPGRADE_MainExe: Verify VKB Command exec fail!\n";

// What standard output has of a revoked signer: the text of the first line ends in a line end of its own.
constexpr char REVOKED_ON_THE_CONSOLE[] =
    "[ERROR]sigkit_log.log(68):(InternalCheckCrlOfCert):The certificate was revoked.\r\n"
    "(err:88200002)\r\n"
    "[ERROR]sigkit_log.log(56):(InternalVerifyIssuerCert):(err:88200002)\r\n"
    "[ERROR]sigkit_log.log(166):(InternalVerifyCms):(err:88200002)\r\n"
    "[ERROR]sigkit_log.log(147):(SigkitVerifyDetachSignatureBegin):(err:88200002)\r\n"
    "[ERROR]sigkit_log.log(74):(SigkitVerifyDetachSignatureQuick):(err:88200002)\r\n";

constexpr char ACCEPTED[] =
    "INFO 1014 verify_frame_main(27) UPGRADE_CmdParseSingle: The Opcode is : CHECK_PKG_INTEGRITY.\n"
    "INFO 1014 verify_frame_main(105) UPGRADE_CmdExe: VERIFY_TOOL: Execute function (CHECK_PKG_INTEGRITY).\n"
    "INFO 1014 upgrade_sigkit_handle(183) VerifyCmsFile: CheckSum file is valid.\n"
    "INFO 1014 verify_frame_main(107) UPGRADE_CmdExe: VERIFY_TOOL: Execute ret(0).\n";

constexpr char OLDER[] = "The CRL file is older than the timestamp token";

// The same lines with something before and behind each.
std::string Dressed(const std::string &log, const std::string &before, const std::string &behind = "")
{
    std::string dressed;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        dressed += before + line + behind + "\n";
    }
    return dressed;
}

class Explain : public testing::Test
{
protected:
    Outcome Log(const std::string &text, const std::vector<std::string> &options = {})
    {
        std::ofstream(directory.File("log"), std::ios::binary) << text;
        std::vector<std::string> arguments = {"explain", directory.File("log")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return Pkgsign(arguments);
    }

    Json LogJson(const std::string &text)
    {
        const Outcome outcome = Log(text, {"--json"});
        ExpectDone(outcome);
        return Json::parse(outcome.out, nullptr, false);
    }

    TemporaryDirectory directory;
};

} // namespace

// ---- The lists -----------------------------------------------------------------------------------------------------

TEST(Causes, OfEveryStatusThatEndsAVerificationAreThereAsSentences)
{
    for (const pkgsign::Cause &cause : pkgsign::AllCauses()) {
        ASSERT_NE(nullptr, pkgsign::FindStatus(cause.status)) << cause.cause;
        const std::string text = pkgsign::CauseText(cause, "the");
        EXPECT_TRUE(isupper(text.front()) || text.front() == '`') << text;
        EXPECT_EQ('.', text.back()) << text;
        EXPECT_EQ(std::string::npos, text.find('{')) << text;
        EXPECT_EQ('.', cause.remedy[std::strlen(cause.remedy) - 1]) << cause.remedy;
        EXPECT_EQ(std::string::npos, (text + cause.remedy).find_first_of("|\n")) << "a cell of a table holds it";
    }
    for (const pkgsign::StatusEntry &status : pkgsign::AllStatuses()) {
        const bool hasCause = std::any_of(pkgsign::AllCauses().begin(), pkgsign::AllCauses().end(),
                                          [&](const pkgsign::Cause &cause) { return cause.status == status.value; });
        EXPECT_TRUE(hasCause || status.met != pkgsign::Met::PACKAGE) << status.name;
    }
}

// ---- Codes ---------------------------------------------------------------------------------------------------------

TEST_F(Explain, AStatusSaysWhatItMeansAndWhatToDoInEveryForm)
{
    const Outcome plain = Pkgsign({"explain", "88200012"});
    ExpectDone(plain);
    EXPECT_EQ(0u,
              plain.out.find("88200012 SIGKIT_ERR_NO_CRL, exit status 18\nNo usable CRL covers the certificate.\n"));
    EXPECT_TRUE(Contains(plain.out, "What to do: ")) << plain.out;
    EXPECT_TRUE(Contains(plain.out, OLDER)) << plain.out;
    for (const char *const form : {"0x88200012", "0X88200012", "-2011168750"}) {
        EXPECT_EQ(plain.out, Pkgsign({"explain", form}).out) << form;
    }
    EXPECT_TRUE(Contains(Pkgsign({"explain", "880004FF"}).out, "It only stands in the log"));
}

TEST_F(Explain, EveryStatusOfTheListIsExplained)
{
    const Outcome list = Pkgsign({"explain", "--list"});
    ExpectDone(list);
    for (const pkgsign::StatusEntry &status : pkgsign::AllStatuses()) {
        const std::string digits = pkgsign::StatusDigits(status.value);
        const Outcome outcome = Pkgsign({"explain", digits});
        ExpectDone(outcome);
        EXPECT_TRUE(Contains(outcome.out, status.name)) << outcome.out;
        EXPECT_TRUE(Contains(list.out, digits + "  ")) << status.name;
        const Json json = Json::parse(Pkgsign({"explain", digits, "--json"}).out, nullptr, false);
        EXPECT_EQ(digits, json["status"]);
        EXPECT_EQ(status.meaning, json["meaning"]);
    }
    EXPECT_EQ(pkgsign::AllStatuses().size(),
              Json::parse(Pkgsign({"explain", "--list", "--json"}).out, nullptr, false).size());
}

TEST_F(Explain, AnExitStatusIsTheTableOfWhatItCanBe)
{
    const Outcome two = Pkgsign({"explain", "2"});
    ExpectDone(two);
    for (const pkgsign::StatusEntry &status : pkgsign::AllStatuses()) {
        const bool canBe = status.met == pkgsign::Met::PACKAGE && (status.value & 0xFF) == 2;
        EXPECT_EQ(canBe, Contains(two.out, pkgsign::StatusDigits(status.value))) << status.name;
    }
    EXPECT_TRUE(Contains(Pkgsign({"explain", "0"}).out, "SIGKIT_OK"));
    EXPECT_TRUE(Contains(Pkgsign({"explain", "018"}).out, "Exit status 18 "));
    EXPECT_TRUE(Contains(Pkgsign({"explain", "137"}).out, "signal 9 ended it"));
    EXPECT_TRUE(Contains(Pkgsign({"explain", "99"}).out, "no status ends with it"));
    EXPECT_TRUE(Contains(Pkgsign({"explain", "127"}).out, "the shell did not find it"));
    const std::string last = Pkgsign({"explain", "255"}).out;
    for (const char *const part :
         {"Verify signature not match.", "API parameter error.", "Cannot find opcode(", "A digest could not be"}) {
        EXPECT_TRUE(Contains(last, part)) << last;
    }
    const Json json = Json::parse(Pkgsign({"explain", "18", "--json"}).out, nullptr, false);
    EXPECT_EQ(18, json["exitStatus"]);
    EXPECT_EQ(2u, json["statuses"].size());
}

TEST_F(Explain, WhatIsNoCodeEndsWithOneAndWhatIsNoArgumentWithTwo)
{
    ExpectRefused(Pkgsign({"explain", "88200011"}), "88200011 is no status code of the device");
    ExpectRefused(Pkgsign({"explain", "-22"}), "ffffffea is no status code of the device");
    ExpectRefused(Pkgsign({"explain", "256"}), "no program has the exit status 256");
    ExpectRefused(Pkgsign({"explain", directory.File("missing")}), "missing");
    ExpectUsage(Pkgsign({"explain"}), "CODE or LOG is missing");
    ExpectUsage(Pkgsign({"explain", "--list", "2"}), "--list takes no CODE or LOG");
}

// ---- Logs ----------------------------------------------------------------------------------------------------------

TEST_F(Explain, OfALogNamesTheRuleThatRefusedAndNotOnlyTheAnswer)
{
    const Outcome outcome = Log(OLD_CRLS);
    ExpectDone(outcome);
    EXPECT_EQ("Refused: 88200012 SIGKIT_ERR_NO_CRL, exit status 18.\n"
              "No usable CRL covers the certificate.\n"
              "Signature checksums.cms, content checksums, CRL file crls.der.\n"
              "\n"
              "What happened, in order:\n"
              "            InternalCrlGetScore                Found an expired CRL, it most likely cause NO CRL ...\n"
              "  88200012  InternalFindBestCrlOfCert          Can't find CRL for certificate.\n"
              "  88200012  InternalVerifyIssuerCert           (checks a certificate: usage, path, CRLs)\n"
              "  88200012  InternalVerifyCms                  (checks a signer)\n"
              "  88200012  SigkitVerifyDetachSignatureBegin   (checks the signature file)\n"
              "  88200012  SigkitVerifyDetachSignatureQuick   (checks signature and content)\n"
              "\n"
              "Cause:      The CRL file is older than the timestamp token: the nextUpdate of a CRL in it lies\n"
              "            before the token's time.\n"
              "What to do: Take the CRL file that belongs to the package, or make a new one (pkgsign crl).\n"
              "\n"
              "Next: pkgsign check checksums --root root.der --crl crls.der --signature checksums.cms\n",
              outcome.out);
}

TEST_F(Explain, OfALogAsJsonHasTheTrail)
{
    const Json json = LogJson(OLD_CRLS);
    EXPECT_EQ(1, json["runs"]);
    EXPECT_EQ("88200012", json["status"]);
    EXPECT_EQ(18, json["exitStatus"]);
    EXPECT_EQ(false, json["authentic"]);
    EXPECT_EQ("/data/7/crls.der", json["crls"]);
    ASSERT_EQ(6u, json["trail"].size());
    EXPECT_EQ("InternalCrlGetScore", json["trail"][0]["function"]);
    EXPECT_EQ("88200012", json["trail"][2]["status"]);
    ASSERT_EQ(1u, json["causes"].size());
    EXPECT_EQ(0u, json["causes"][0]["cause"].get<std::string>().find(OLDER));
}

// Whatever a log service puts before a line and behind it, and whatever other programs log between.
TEST_F(Explain, OfALogDoesNotDependOnWhatStandsAroundItsLines)
{
    const std::string plain = Log(OLD_CRLS).out;
    for (const char *const before :
         {"Nov 22 05:06:12 device verify_tool: ", "2026-11-22T05:06:12.123456+00:00 device verify_tool[812]: ",
          "<11>1 2026-11-22T05:06:12Z device verify_tool 812 - - ", "[   12.345678] verify_tool[812]: ", "<11>",
          "    > ", "Nov 22 05:06:12 device upgrade.sh[7]: "}) {
        EXPECT_EQ(plain, Log(Dressed(OLD_CRLS, before)).out) << before;
        EXPECT_EQ(plain, Log(Dressed(OLD_CRLS, before, "\r")).out) << before;
    }
    EXPECT_EQ(plain, Log(Dressed(OLD_CRLS, "Nov 22 kernel: usb 1-1: new device\n", "\nsshd[9]: closed (err:1)")).out);
    EXPECT_EQ(plain, Log(std::string(OLD_CRLS, std::strlen(OLD_CRLS) - 1)).out) << "without its last line feed";
    EXPECT_EQ(plain, Log(std::string("\xef\xbb\xbf") + OLD_CRLS).out);
}

TEST_F(Explain, OfTheConsoleTakesTheCodesThatStandThere)
{
    const Json json = LogJson(REVOKED_ON_THE_CONSOLE);
    EXPECT_EQ("88200002", json["status"]);
    ASSERT_EQ(5u, json["trail"].size());
    EXPECT_EQ("InternalCheckCrlOfCert", json["trail"][0]["function"]);
    EXPECT_EQ("88200002", json["trail"][0]["status"]);
    EXPECT_EQ(0u, json["causes"][0]["cause"].get<std::string>().find("The signer's certificate is revoked"));
    const Json withLineFeeds = LogJson(Dressed(REVOKED_ON_THE_CONSOLE, "device upgrade[3]: "));
    EXPECT_EQ(json["trail"], withLineFeeds["trail"]);
}

// A console takes both logs, so that each line of the library stands there twice.
TEST_F(Explain, OfBothLogsInOneFileHasEachLineOnce)
{
    std::string both;
    std::istringstream lines(OLD_CRLS);
    for (std::string line; std::getline(lines, line);) {
        both += line + "\n";
        const size_t at = line.find("sigkit_log.log(");
        const std::string code = line.find("Found") != std::string::npos   ? "(err:88200103)"
                                 : line.find("Can't") != std::string::npos ? ""
                                                                           : "(err:88200012)";
        both += at == std::string::npos ? "" : line.substr(0, 5) + line.substr(at) + code + "\r\n";
    }
    const Json json = LogJson(both);
    EXPECT_EQ(1, json["runs"]);
    ASSERT_EQ(6u, json["trail"].size()) << json.dump(1);
    EXPECT_EQ("88200103", json["trail"][0]["status"]);
}

TEST_F(Explain, OfSeveralRunsTellsAboutTheLastAndHowManyThereAre)
{
    Json json = LogJson(std::string(ACCEPTED) + OLD_CRLS + ACCEPTED + OLD_CRLS);
    EXPECT_EQ(4, json["runs"]);
    EXPECT_EQ("88200012", json["status"]);
    EXPECT_EQ(6u, json["trail"].size());
    EXPECT_TRUE(Contains(Log(std::string(OLD_CRLS) + OLD_CRLS).out, "the last of 2 runs in the log"));
    const Outcome accepted = Log(std::string(OLD_CRLS) + ACCEPTED);
    ExpectDone(accepted);
    EXPECT_EQ("Accepted: the package is authentic.\nThe last of 2 runs in the log.\n", accepted.out);
    json = LogJson(std::string(REVOKED_ON_THE_CONSOLE) + REVOKED_ON_THE_CONSOLE);
    EXPECT_EQ(2, json["runs"]);
    EXPECT_EQ(5u, json["trail"].size());
}

TEST_F(Explain, OfRunsThatAreMixedKeepsThemApartByTheirProcess)
{
    std::string mixed;
    std::istringstream first(Dressed(OLD_CRLS, "verify_tool[7]: "));
    std::istringstream second(Dressed(ACCEPTED, "verify_tool[8]: "));
    std::string line;
    while (std::getline(first, line)) {
        mixed += line + "\n";
        mixed += std::getline(second, line) ? line + "\n" : "";
    }
    const Json json = LogJson(mixed);
    EXPECT_EQ(2, json["runs"]);
    EXPECT_EQ("88200012", json["status"]);
    EXPECT_EQ(6u, json["trail"].size());
}

TEST_F(Explain, OfALogThatWasCutSaysSoAndHowFarItLeads)
{
    const std::string whole = OLD_CRLS;
    Outcome outcome = Log(whole.substr(0, whole.find("ERROR 1014 upgrade_sigkit_handle")));
    ExpectDone(outcome);
    EXPECT_TRUE(Contains(outcome.out, "The log ends before the answer; its lines lead to 88200012")) << outcome.out;
    EXPECT_TRUE(Contains(outcome.out, OLDER)) << outcome.out;
    outcome = Log(whole.substr(whole.find("WARNING")));
    EXPECT_TRUE(Contains(outcome.out, OLDER)) << "its beginning is gone";
}

TEST_F(Explain, OfALogThatWasCutAnywhereIsNeverOfAnotherStatus)
{
    const std::string whole = std::string(OLD_CRLS) + REVOKED_ON_THE_CONSOLE;
    for (size_t size = 0; size < whole.size(); ++size) {
        pkgsign::LogFindings findings;
        std::ofstream(directory.File("log"), std::ios::binary) << whole.substr(0, size);
        ASSERT_TRUE(pkgsign::ReadLog(directory.File("log"), &findings).ok);
        const std::optional<uint32_t> status = pkgsign::FollowTrail(findings.last).status;
        EXPECT_TRUE(!status || *status == (findings.runs == 1 ? SIGKIT_ERR_NO_CRL : SIGKIT_ERR_CERT_REVOKED)) << size;
    }
}

TEST_F(Explain, WithoutALineOfTheToolEndsWithOne)
{
    ExpectRefused(Log(""), "is no line of verify_tool");
    ExpectRefused(Log("Nov 22 kernel: nothing\n(err:88200002)\n"), "is no line of verify_tool");
    const std::string whole = OLD_CRLS;
    ExpectRefused(Log(whole.substr(0, whole.find("WARNING"))), "no line that says how it went");
}

TEST_F(Explain, OfATextThatStandsAloneNeedsNoFormOfTheLog)
{
    const Json json = LogJson("05:06 qz[3|1014|E] VERIFY_TOOL: Execute ret(-2011168766).\n");
    EXPECT_EQ("88200002", json["status"]);
    EXPECT_EQ("ffffffff", LogJson("x Verify signature not match.\n")["status"]);
}

TEST_F(Explain, OfAnAnswerThatHasNoNameBeginsWithWhatItMeans)
{
    const std::pair<const char *, const char *> meanings[] = {
        {"upgrade_sigkit_handle(179) VerifyCmsFile: Verify signature not match.",
         "the content does not match its signature"},
        {"verify_frame_main(111) UPGRADE_CmdExe: VERIFY_TOOL: Cannot find opcode().",
         "verify_tool did not understand its command line"},
        {"upgrade_sigkit_sdk_callback(504) SigkitMdFinal: Failed to get final md.",
         "a call failed that gives no reason"},
    };
    for (const auto &[line, meaning] : meanings) {
        const std::string log = "ERROR 1014 " + std::string(line) +
                                "\nINFO 1014 verify_frame_main(107) UPGRADE_CmdExe: VERIFY_TOOL: Execute ret(-1).\n";
        const Outcome outcome = Log(log);
        ExpectDone(outcome);
        const std::string head =
            std::string("Refused: ") + meaning + ".\nffffffff SIGKIT_ERR_UNKNOWN, exit status 255.\n";
        EXPECT_EQ(0u, outcome.out.find(head)) << outcome.out;
        EXPECT_EQ(meaning, LogJson(log)["meaning"]);
    }
}

TEST_F(Explain, OfTheToolsOwnRefusalsSaysWhatWasWrongWithTheCommandLine)
{
    const Json json = LogJson("ERROR 1014 verify_frame_main(111) UPGRADE_CmdExe: VERIFY_TOOL: Cannot find opcode().\n"
                              "ERROR 1014 verify_frame_main(130) UPGRADE_MainExe: Verify VKB Command exec fail!\n");
    EXPECT_EQ("ffffffff", json["status"]);
    EXPECT_TRUE(Contains(json["causes"][0]["cause"], "`-f` is missing"));
    EXPECT_EQ(nullptr, json["next"]);
    const std::string whole = OLD_CRLS;
    const std::string file =
        whole.substr(0, whole.find("ERROR")) +
        "ERROR 1014 upgrade_sigkit_sdk_callback(283) SigkitLogPrint: sigkit_log.log(11):"
        "(InternalReadFile):Empty file path.\n"
        "INFO 1014 verify_frame_main(107) UPGRADE_CmdExe: VERIFY_TOOL: Execute ret(-2012217343).\n";
    EXPECT_TRUE(Contains(Log(file).out, "Cause:      An option of verify_tool is missing.\n"));
}

TEST_F(Explain, OfRubbishIsBoundedAndSafeToShow)
{
    std::string rubbish;
    for (int i = 0; i < 200000; ++i) {
        rubbish.push_back(static_cast<char>(i * 7 + i / 251));
    }
    const std::string plain = Log(OLD_CRLS).out;
    EXPECT_EQ(plain, Log(rubbish + "\n" + OLD_CRLS + rubbish).out);
    EXPECT_EQ(plain, Log(std::string(1 << 20, 'x') + "\n" + OLD_CRLS + std::string(1 << 20, '\0')).out);
    const Outcome shown = Log("ERROR 1014 upgrade_sigkit_handle(169) VerifyCmsFile: Add CRL file "
                              "\x1b[2J\x07\xC2\x9B\xE2\x80\xAE\xFF failed.\n");
    ExpectDone(shown);
    EXPECT_EQ(std::string::npos, shown.out.find('\x1b'));
    EXPECT_TRUE(Contains(shown.out, "\\x1B[2J\\x07\\u{9B}\\u{202E}\\xFF")) << shown.out;
    for (std::string letters : {"Add CRL file ", "Add CRL files "}) {
        for (int i = 0; i < 100; ++i) {
            letters += "\u00FC";
        }
        const Outcome cut = Log("ERROR 1014 upgrade_sigkit_handle(169) VerifyCmsFile: " + letters + "\n");
        EXPECT_TRUE(Contains(cut.out, "\u00FC...\n")) << cut.out;
    }
    for (const char *const part :
         {"sigkit_log.log(", "sigkit_log.log(1", "sigkit_log.log(1):(", "sigkit_log.log(1):():", "verify_frame_main(",
          "verify_frame_main(1) ", "(err:", "(err:fffffffff)"}) {
        ExpectRefused(Log(std::string(part) + "\n"), "is no line of verify_tool");
    }
}

// A hostile file can cause tens of thousands of lines.
TEST_F(Explain, OfAVeryLongRunKeepsItsBeginningAndItsEnd)
{
    const std::string whole = OLD_CRLS;
    const size_t from = whole.find("WARNING");
    const size_t to = whole.find("ERROR 1014", from);
    std::string text = whole.substr(0, to);
    for (int i = 0; i < 20000; ++i) {
        text += whole.substr(from, to - from);
    }
    const Json json = LogJson(text + whole.substr(to));
    EXPECT_EQ(pkgsign::LOG_EVENTS_MAX, json["trail"].size());
    EXPECT_EQ(20007u - 1 - pkgsign::LOG_EVENTS_MAX, json["left"]);
    EXPECT_EQ("88200012", json["status"]);
    const std::string shown = Log(text + whole.substr(to)).out;
    EXPECT_LE(std::count(shown.begin(), shown.end(), '\n'), 24) << shown;
    EXPECT_TRUE(Contains(shown, "... 19998 more")) << shown;
}
