// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The command line: what it takes, how it ends, and what it does to the streams that it is given.
#include <filesystem>
#include <sstream>

#include "tests/pkgsign/support.h"

namespace
{

const std::vector<std::string> COMMANDS = {"init", "request",   "issue", "revoke",    "crl",   "list",   "import",
                                           "key",  "checksums", "sign",  "timestamp", "serve", "inspect"};

class CommandLine : public InFolder
{
protected:
    // The program, behind a shell: `line` has what stands behind its name.
    Outcome Shell(const std::string &line) const
    {
        const std::string program = PKGSIGN_PROGRAM;
        const ProcessResult result = RunProcess(
            {"/bin/sh", "-c", "cd " + directory.path + " && export PKGSIGN_PKI=pki && " + program + " " + line});
        return {result.exitStatus, result.output, result.errors};
    }
};

TEST_F(CommandLine, ThatIsNotUnderstoodEndsWithTwo)
{
    EXPECT_EQ(2, Pkgsign({}).status);
    EXPECT_EQ(2, Pkgsign({"dance"}).status);
    EXPECT_EQ(2, Pkgsign({"sign"}).status);
    EXPECT_EQ(2, Pkgsign({"list", "--pki"}).status);
    ExpectUsage(Pkgsign({"list", "--wrong"}), "--wrong");
    ExpectUsage(Run({"sign", "x", "--out", "y", "--out", "z"}), "--out");
}

TEST_F(CommandLine, WithAnUnknownCommandNamesItAndTheNearest)
{
    ExpectUsage(Pkgsign({"sing"}), "pkgsign: 'sing' is no command; did you mean sign?; try pkgsign --help\n");
    ExpectUsage(Pkgsign({"timstamp", "x", "--out", "y"}), "'timstamp' is no command; did you mean timestamp?");
    ExpectUsage(Pkgsign({"dance"}), "pkgsign: 'dance' is no command; try pkgsign --help\n");
    ExpectUsage(Pkgsign({"ls"}), "'ls' is no command; try");
    ExpectUsage(Pkgsign({"sing\x1b"}), "'sing\\x1B' is no command; did you mean sign?");
    ExpectUsage(Pkgsign({std::string(5000, 'a')}), "is no command; try");
}

TEST_F(CommandLine, WithoutAnOptionThatItNeedsNamesThat)
{
    std::filesystem::create_directory(Path("package"));
    Write("package/file", "file\n");
    ExpectUsage(Run({"sign", Path("content")}), "--out is missing: the file for the message");
    ExpectUsage(Pkgsign({"checksums", Path("package"), "--out", Path("package/checksums")}),
                "--package-version is missing: it wants a number that goes up with each package");
    ExpectUsage(Run({"timestamp", Path("content")}), "--out is missing: the file for the message with its token");
    ExpectUsage(Run({"crl"}), "--out is required");
}

TEST_F(CommandLine, WithAnUnknownSignerNamesItAndThoseThatThereAre)
{
    ExpectDone(Run({"issue", "--as", "signer", "--key", Path("pki/private/signer.key")}));
    ExpectRefused(Run({"sign", Path("content"), "--out", Path("out"), "--signer", "singer"}),
                  "the folder has no certificate 'singer'; of the role signer it has 'signer', 'signer-2'");
    ExpectRefused(Run({"sign", Path("content"), "--out", Path("out"), "--timestamp", "tsa"}),
                  "the folder has no certificate 'tsa'; of the role timestamp it has 'timestamp'");
}

TEST_F(CommandLine, WithAFileOfAnotherKindNamesIt)
{
    const std::string wrong = "'" + Path("content") + "' is no ";
    ExpectDone(Run({"crl", "--out", Path("crls")}));
    ExpectRefused(Run({"timestamp", Path("content"), "--out", Path("out")}), wrong + "CMS signature of one signer");
    ExpectRefused(Run({"sign", Path("content"), "--out", Path("out"), "--crl", Path("content")}),
                  wrong + "CRL file that devices take: CRLs and CA certificates, DER or PEM (code ");
    ExpectDone(Run({"sign", Path("content"), "--out", Path("out"), "--crl", Path("crls")}));
    ExpectRefused(Run({"timestamp", Path("out"), "--out", Path("out"), "--crl", Path("content")}), wrong + "CRL file");
}

TEST_F(CommandLine, WithAValueThatIsNotUnderstoodEndsWithTwo)
{
    const std::vector<std::vector<std::string>> lines = {
        {"list", "--horizon", "soon"},
        {"list", "--horizon", "99999999999"},
        {"crl", "--out", "x", "--next-update", "2026-02-30"},
        {"crl", "--out", "x", "--next-update", "99999-01-01"},
        {"revoke", "signer", "--date", "yesterday"},
        {"issue", "--as", "boss"},
        {"issue", "--as", "signer", "--not-before", "0000-00-00"},
        {"issue"},
        {"issue", "--as", "signer", "--key-bits", "many"},
        {"request", "--as", "root"},
        {"key", "signer"},
        {"key", "signer", "--lost", "--uri", "x"},
        {"sign", "x", "--out", "y", "--digest", "md5"},
        {"timestamp", "x", "--out", "y", "--format", "xml"},
        {"sign", "x", "--out", "y", "--gen-time", "2026-02-01T00:00:00.5Z"},
        {"init", "x", "--only", "signer"},
        {"init", "x", "--lifetime", "signer"},
        {"init", "x", "--lifetime", "signer=0y"},
    };
    for (const std::vector<std::string> &line : lines) {
        ExpectUsage(Run(line), "try --help");
    }
    ExpectUsage(At("today", {"list"}), "is no time");
    ExpectUsage(At("to\nday\x1b[2J", {"list"}), "'to\\x0Aday\\x1B[2J' is no time");
}

TEST_F(CommandLine, AListOptionTakesOneValueEachTime)
{
    Write("secret", "secret\n");
    ExpectDone(Run({"sign", "--passphrase-file", Path("secret"), Path("content"), "--out", Path("out")}));
}

TEST_F(CommandLine, EveryCommandHasHelpWithAnExampleAndAVersion)
{
    for (const std::string &name : COMMANDS) {
        for (const char *const option : {"-h", "--help"}) {
            const Outcome help = Pkgsign({name, option});
            EXPECT_EQ(0, help.status) << name;
            EXPECT_TRUE(Contains(help.out, "Example: pkgsign " + name)) << help.out;
            EXPECT_TRUE(Contains(help.out, "--no-input")) << help.out;
            const bool isWriting = name != "list" && name != "serve" && name != "inspect";
            EXPECT_EQ(isWriting, Contains(help.out, "-n,--dry-run")) << help.out;
        }
        EXPECT_EQ(0u, Pkgsign({name, "-V"}).out.rfind("pkgsign ", 0)) << name;
    }
}

// The words of a line of the help that are options.
std::vector<std::string> OptionsIn(const std::string &help)
{
    std::vector<std::string> options;
    std::string word;
    for (std::istringstream lines(help); lines >> word;) {
        const bool isShort = word.size() > 2 && word[0] == '-' && word[2] == ',';
        const std::string name = isShort ? word.substr(3) : word;
        if (name.rfind("--", 0) == 0 && name.find_first_not_of("abcdefghijklmnopqrstuvwxyz-") == std::string::npos) {
            options.push_back(name);
        }
    }
    return options;
}

TEST_F(CommandLine, BashCompletesEveryCommandAndOption)
{
    const std::string script = Pkgsign({"completion", "bash"}).out;
    Write("completion", script);
    const auto complete = [&](const std::string &words, int at) {
        return RunProcess({"/bin/bash", "-c",
                           "source " + Path("completion") + "; COMP_WORDS=(" + words +
                               "); COMP_CWORD=" + std::to_string(at) + "; _pkgsign; printf ' %s' \"${COMPREPLY[@]}\""})
            .output;
    };
    size_t count = 0;
    for (const std::string &name : COMMANDS) {
        EXPECT_TRUE(Contains(complete("pkgsign ''", 1) + " ", " " + name + " "));
        const std::string completed = complete("pkgsign " + name + " --", 2) + " ";
        for (const std::string &option : OptionsIn(Pkgsign({name, "--help"}).out)) {
            EXPECT_TRUE(Contains(completed, " " + option + " ")) << name << " " << option;
            ++count;
        }
    }
    EXPECT_GT(count, 120u);
    EXPECT_EQ(" --timestamp", complete("pkgsign sign --ti", 2));
    EXPECT_EQ(" ", complete("pkgsign sign fi", 2)); // files are bash's own
    EXPECT_FALSE(Contains(Pkgsign({"--help"}).out, "completion"));
    EXPECT_EQ(2, Pkgsign({"completion", "zsh"}).status);
}

// ---- Streams --------------------------------------------------------------------------------------------------------

TEST_F(CommandLine, AStandardOutputThatTakesNothingIsNotDone)
{
    ExpectRefused(Shell("list >/dev/full"), "cannot write to 'standard output'");
    ExpectRefused(Shell("--help >/dev/full"), "cannot write to 'standard output'");
    ExpectRefused(Shell("sign content --out - >/dev/full"), "cannot write to 'standard output'");
    ExpectRefused(Shell("revoke signer >/dev/full"), "the command has done its work, and only what it prints is lost");
    EXPECT_EQ(1u, Memory().revocations.size());
}

TEST_F(CommandLine, AStandardOutputThatIsClosedLetsNothingHappen)
{
    const std::string before = Read("pki/pki.json");
    ExpectRefused(Shell("crl --out crls >&-"), "standard output is closed");
    ExpectRefused(Shell("revoke signer >&-"), "standard output is closed");
    EXPECT_FALSE(Made("crls"));
    EXPECT_EQ(before, Read("pki/pki.json"));
}

TEST_F(CommandLine, AStandardInputOrErrorThatIsClosedIsNoFileOfTheFolder)
{
    ExpectRefused(Shell("sign - --out out <&-"), "cannot read '-'");
    EXPECT_FALSE(Made("out"));
    const Outcome outcome = Shell("revoke signer <&- 2>&-");
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ(1u, Memory().revocations.size());
}

TEST_F(CommandLine, AReaderThatWentAwayIsNotDone)
{
    const Outcome outcome =
        Shell("--version >/dev/null; (sleep 0.5; " + std::string(PKGSIGN_PROGRAM) + " list; echo $? >status) | :");
    EXPECT_EQ("1\n", Read("status"));
    EXPECT_TRUE(Contains(outcome.errors, "Broken pipe")) << outcome.errors;
}

} // namespace
