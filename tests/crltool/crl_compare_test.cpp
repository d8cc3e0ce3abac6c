#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/hostile_environment.h"
#include "tests/support/parties.h"
#include "tests/support/process.h"

namespace
{

using Words = std::vector<std::string>;

struct Compare : testing::Test {
    TemporaryDirectory directory;

    std::string Write(const std::string &name, const PkgsignBytes &bytes)
    {
        EXPECT_TRUE(PkgsignWriteFile(directory.File(name), bytes).ok);
        return directory.File(name);
    }

    std::string Root()
    {
        return Write("root.der", AllParties().root.certificate);
    }

    // A file with the CRLs of both issuers, the root's `later` than the other's.
    std::string CrlFile(const std::string &name, int64_t rootLater, int64_t caLater = 0)
    {
        PkgsignCrlRequest root = CrlRequest(AllParties().root);
        root.thisUpdate += rootLater;
        PkgsignCrlRequest ca = CrlRequest(AllParties().issuingCa);
        ca.thisUpdate += caLater;
        return Write(name, Join({AllParties().issuingCa.certificate, MakeCrl(root), MakeCrl(ca)}));
    }

    static ProcessResult Run(const Words &arguments)
    {
        Words command = {CRL_COMPARE};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return RunProcess(command, {"QZLOG=/dev/null"});
    }
};

bool EndsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool Contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

} // namespace

TEST_F(Compare, SaysWhichFileIsNewer)
{
    const std::string older = CrlFile("older", 0);
    const std::string newer = CrlFile("newer", 60);
    ProcessResult result = Run({"--root", Root(), newer, older});
    EXPECT_EQ(0, result.exitStatus) << result.errors;
    EXPECT_TRUE(EndsWith(result.output, "\n" + newer + " is newer than " + older + ".\n")) << result.output;
    result = Run({"--root", Root(), older, newer});
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_TRUE(EndsWith(result.output, "\n" + newer + " is newer than " + older + ".\n"));
    result = Run({"--root", Root(), older, CrlFile("same", 0)});
    EXPECT_EQ(0, result.exitStatus);
    EXPECT_TRUE(EndsWith(result.output, " are equally new.\n"));
    result = Run({"--root", Root(), CrlFile("one", 60, 0), CrlFile("other", 0, 60)});
    EXPECT_EQ(2, result.exitStatus);
    EXPECT_TRUE(EndsWith(result.output, " cannot be compared: each file is newer than the other for some issuer.\n"));
}

TEST_F(Compare, PrintsATableOfEachFile)
{
    PkgsignCrlRequest root = CrlRequest(AllParties().root);
    PkgsignRevokedCertificate entry;
    entry.serialNumber = {7};
    root.revoked = {entry};
    const std::string file = Write("file", Join({AllParties().issuingCa.certificate, MakeCrl(root)}));
    const ProcessResult result = Run({"--root", Root(), file, file});
    EXPECT_TRUE(Contains(result.output, file + "\n"
                                               "  issuer               thisUpdate            nextUpdate            "
                                               "verified  revoked\n"
                                               "  C=XX,O=Test,CN=Root  2021-12-22T00:00:00Z  2022-01-11T00:00:00Z  "
                                               "yes       1\n"))
        << result.output;
}

TEST_F(Compare, PrintsTheSameAsJson)
{
    const std::string older = CrlFile("older", 0);
    const std::string newer = CrlFile("newer", 60);
    const ProcessResult result = Run({"--json", "--root", Root(), older, newer});
    EXPECT_EQ(1, result.exitStatus);
    const nlohmann::json json = nlohmann::json::parse(result.output, nullptr, false);
    ASSERT_FALSE(json.is_discarded()) << result.output;
    EXPECT_EQ("second_newer", json["result"]);
    EXPECT_EQ(newer + " is newer than " + older + ".", json["verdict"]);
    ASSERT_EQ(2u, json["files"].size());
    EXPECT_EQ(newer, json["files"][1]["path"]);
    const nlohmann::json &crl = json["files"][1]["crls"][0];
    EXPECT_EQ("C=XX,O=Test,CN=Root", crl["issuer"]);
    EXPECT_EQ("2021-12-22T00:01:00Z", crl["thisUpdate"]);
    EXPECT_EQ("2022-01-11T00:00:00Z", crl["nextUpdate"]);
    EXPECT_EQ(true, crl["verified"]);
    EXPECT_EQ(0, crl["revoked"]);
    EXPECT_EQ("", result.errors);
}

TEST_F(Compare, ReadsPemAsWell)
{
    const std::string root = Write("root.pem", Pem(PKGSIGN_LABEL_CERTIFICATE, AllParties().root.certificate));
    const std::string pem = Write("file.pem", Join({Pem(PKGSIGN_LABEL_CERTIFICATE, AllParties().issuingCa.certificate),
                                                    Pem(PKGSIGN_LABEL_CRL, MakeCrl(CrlRequest(AllParties().root)))}));
    EXPECT_EQ(0, Run({"--root", root, pem, pem}).exitStatus);
}

TEST_F(Compare, ACrlThatIsNotTrustedCannotBeCompared)
{
    const std::string good = CrlFile("good", 0);
    const std::string strange =
        Write("strange", Join({AllParties().issuingCa.certificate, MakeCrl(CrlRequest(AllParties().otherRoot))}));
    const ProcessResult result = Run({"--root", Root(), good, strange});
    EXPECT_EQ(2, result.exitStatus);
    EXPECT_TRUE(Contains(result.output, "  no        0\n"));
    EXPECT_TRUE(EndsWith(result.output, "or its issuer is not trusted at its thisUpdate.\n"));
}

TEST_F(Compare, UnusableFilesAreNamed)
{
    const std::string good = CrlFile("good", 0);
    const struct {
        std::string path;
        const char *reason;
    } rows[] = {
        {directory.File("missing"), "the file cannot be opened"},
        {Write("empty", {}), "the file is empty"},
        {Write("large", PkgsignBytes(2000001, 0x30)), "the file is larger than 2000000 octets"},
        {Write("garbage", PkgsignBytes(100, 0x30)),
         "the file does not hold 1 to 16 CRLs with certificates of their issuers"},
        {Write("crl", MakeCrl(CrlRequest(AllParties().root))),
         "the file does not hold 1 to 16 CRLs with certificates of their issuers"},
        {directory.path, "the file is larger than 2000000 octets"},
        {"", "the path is empty"},
    };
    for (const auto &row : rows) {
        const ProcessResult result = Run({"--root", Root(), good, row.path});
        EXPECT_EQ(3, result.exitStatus) << row.path;
        EXPECT_EQ("", result.output);
        EXPECT_TRUE(EndsWith(result.errors, "crl_compare: " + row.path + ": " + row.reason + "\n")) << result.errors;
    }
    const ProcessResult result = Run({"--root", good + "x", good, good});
    EXPECT_EQ(3, result.exitStatus);
    EXPECT_TRUE(EndsWith(result.errors, "crl_compare: " + good + "x: the file cannot be opened\n"));
    EXPECT_TRUE(EndsWith(Run({"--root", Write("r", MakeCrl(CrlRequest(AllParties().root))), good, good}).errors,
                         ": the file holds no certificate\n"));
}

TEST_F(Compare, ControlOctetsDoNotReachTheTerminal)
{
    const std::string file = CrlFile("a\x1b[2J\nb", 0);
    const ProcessResult result = Run({"--root", Root(), file, file});
    EXPECT_EQ(0, result.exitStatus);
    EXPECT_FALSE(Contains(result.output, "\x1b"));
    EXPECT_TRUE(Contains(result.output, "a\\x1B[2J\\x0Ab"));
    const ProcessResult missing = Run({"--root", Root(), directory.File("m\x1b"), file});
    EXPECT_TRUE(Contains(missing.errors, "m\\x1B: the file cannot be opened"));
}

TEST_F(Compare, LoadsNoModuleOrConfigurationOfTheEnvironment)
{
    const std::string file = CrlFile("file", 0);
    const HostileEnvironment environment;
    EXPECT_EQ(0, RunProcess({CRL_COMPARE, "--root", Root(), file, file}, environment.settings).exitStatus);
    EXPECT_FALSE(environment.LeftMark());
    EXPECT_TRUE(environment.ReachesOpenssl()) << "the module would leave no mark anywhere";
}

TEST_F(Compare, AnAnswerThatCannotBeWrittenIsAnError)
{
    const std::string file = CrlFile("file", 0);
    const std::string command = std::string(CRL_COMPARE) + " --root " + Root() + " " + file + " " + file;
    for (const char *const output : {" >/dev/full", " >&-"}) {
        const ProcessResult result = RunProcess({"/bin/sh", "-c", command + output});
        EXPECT_EQ(3, result.exitStatus) << output;
    }
}

TEST_F(Compare, WrongUsageIsToldAndHelpIsGiven)
{
    for (const Words &words : {Words{}, Words{"a", "b"}, Words{"--root", "r", "a"}, Words{"--root", "r", "a", "b", "c"},
                               Words{"--unknown"}, Words{"--root"}}) {
        const ProcessResult result = Run(words);
        EXPECT_EQ(3, result.exitStatus);
        EXPECT_EQ("", result.output);
        EXPECT_TRUE(EndsWith(result.errors, "Try 'crl_compare --help'.\n"));
    }
    const ProcessResult help = Run({"--help"});
    EXPECT_EQ(0, help.exitStatus);
    EXPECT_EQ(0u, help.output.find("Usage: crl_compare"));
    EXPECT_TRUE(Contains(help.output, "Exit status: 0"));
    EXPECT_EQ("crl_compare 2.0.0\n", Run({"--version"}).output);
}
