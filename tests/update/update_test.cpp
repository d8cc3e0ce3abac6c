// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the update step hands over and what it refuses, in both forms: in C, and for the shell.
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include <fcntl.h>

#include "tests/update/update_fixture.h"

namespace
{

namespace fs = std::filesystem;

enum class Form { C, Shell };

void PrintTo(Form form, std::ostream *out)
{
    *out << (form == Form::C ? "C" : "Shell");
}

// In a package of a directory of one's own nobody else writes, but what it holds came from elsewhere.
class Update : public UpdateStep, public testing::WithParamInterface<Form>
{
protected:
    ProcessResult Run()
    {
        return GetParam() == Form::C ? RunProgram(UPDATE_PROGRAM) : RunScript();
    }

    void ExpectHandedOver()
    {
        const ProcessResult result = Run();
        EXPECT_EQ(0, result.exitStatus) << result.errors;
        EXPECT_TRUE(files == FilesIn("installed"));
        EXPECT_FALSE(IsThere("state/incoming"));
        fs::remove_all(directory.File("installed"));
    }

    // The reasons that the program and the script give.
    void ExpectRefused(const std::string &reason, const std::string &scriptsReason)
    {
        const std::string before = ReadText("state/version");
        const ProcessResult result = Run();
        EXPECT_EQ(1, result.exitStatus) << reason;
        EXPECT_TRUE(Contains(result.errors, GetParam() == Form::C ? reason : scriptsReason)) << result.errors;
        EXPECT_FALSE(IsThere("installed")) << reason;
        EXPECT_EQ(before, ReadText("state/version")) << reason;
        EXPECT_FALSE(GetParam() == Form::C && IsThere("state/incoming")) << reason;
    }

    void ExpectNotOwn()
    {
        ExpectRefused("is no regular file, or has other names", "there are links, devices or files of others");
    }
};

TEST_P(Update, HandsOverWhatWasSignedAndNotesItsVersion)
{
    ExpectHandedOver();
    EXPECT_EQ("version 12\n", ReadText("state/version"));
    EXPECT_EQ(newCrls, ReadText("state/crls.der"));
    ExpectHandedOver(); // again, as after an interruption
    EXPECT_EQ("version 12\n", ReadText("state/version"));
}

TEST_P(Update, EndsWithTheStatusOfTheCommandThatInstalls)
{
    installer = {"/bin/sh", "-c", "exit 7"};
    EXPECT_EQ(7, Run().exitStatus);
    EXPECT_EQ("version 12\n", ReadText("state/version")); // it may have begun
}

TEST_P(Update, LeavesStandardOutputToTheCommandThatInstalls)
{
    installer = {"/bin/sh", "-c", "echo installed"};
    EXPECT_EQ("installed\n", Run().output);
}

TEST_P(Update, NeverGoesBackToAnOlderCrlFile)
{
    ExpectHandedOver();
    WriteText("crls.der", oldCrls);
    ExpectHandedOver();
    EXPECT_EQ(newCrls, ReadText("state/crls.der"));
}

TEST_P(Update, KeepsTheNewestCrlFileOfAPackageThatItRefuses)
{
    const std::string revoking = CrlFileThatRevokesTheSigner(NEW_CRLS);
    WriteText("crls.der", revoking);
    ExpectRefused("the package is not authentic", "the package is not authentic");
    EXPECT_EQ(revoking, ReadText("state/crls.der"));
    WriteText("crls.der", oldCrls); // which does not revoke
    ExpectRefused("the package is not authentic", "the package is not authentic");
    EXPECT_EQ(revoking, ReadText("state/crls.der"));
}

TEST_P(Update, DoesWithoutACrlFileThatCannotBeCompared)
{
    forge::Bytes file = Pki().issuingCa.certificate; // the root's CRL alone does not account for the issuing CA
    forge::Bytes crl;
    crlRequests[0].thisUpdate = NEW_CRLS;
    ASSERT_TRUE(forge::MakeCrl(crlRequests[0], &crl).ok);
    file.insert(file.end(), crl.begin(), crl.end());
    Write("crls.der", file);
    ExpectHandedOver();
    EXPECT_EQ(oldCrls, ReadText("state/crls.der"));
}

TEST_P(Update, RefusesACrlFileThatIsNone)
{
    WriteText("crls.der", "no CRLs");
    ExpectRefused("the CRL files cannot be read", "the CRL files cannot be read");
    EXPECT_EQ(oldCrls, ReadText("state/crls.der"));
}

TEST_P(Update, RefusesAnOlderVersionAndTakesTheSame)
{
    ExpectHandedOver();
    Seal("version 11\n" + Lines(files));
    ExpectRefused("version 11 is older than 12", "version '11' is older than '12'");
    Seal("version 12\n" + Lines(files));
    ExpectHandedOver();
    Seal("version 100\n" + Lines(files)); // numbers, not texts
    ExpectHandedOver();
    EXPECT_EQ("version 100\n", ReadText("state/version"));
    Seal("version 999999999999999999\n" + Lines(files));
    ExpectHandedOver();
    ExpectHandedOver();
    Seal("version 99\n" + Lines(files));
    ExpectRefused("version 99 is older than", "version '99' is older than");
}

TEST_P(Update, RefusesAChecksumFileThatWasNotSigned)
{
    WriteText("package/checksums", ReadText("package/checksums") + "\n");
    ExpectRefused("the package is not authentic", "the package is not authentic");
}

// The message has no signer: over nothing verify_tool calls it authentic.
TEST_P(Update, RefusesAnEmptyChecksumFile)
{
    message.signerInfoCount = 0;
    message.timestamp = forge::Timestamp::None;
    Seal("");
    const ProcessResult judged = RunTool({"-f", "CHECK_PKG_INTEGRITY", "-h", directory.File("package/checksums.cms"),
                                          "-e", directory.File("package/checksums"), "-c", directory.File("crls.der")});
    ASSERT_EQ(0, judged.exitStatus) << judged.output;
    ExpectRefused("the checksum file is empty", "the checksum file is empty");
}

TEST_P(Update, RefusesASignedListThatCouldBeReadInTwoWays)
{
    const std::string digest = Digest(files["firmware.bin"]);
    const std::string good = Lines(files);
    const std::string nul(1, '\0');
    const std::string lists[] = {
        "version 12",                                                             // no whole line
        "version 12\n",                                                           // no file
        "version 12\n" + good.substr(0, good.size() - 1),                         // the last line is cut
        "version 12\n" + good + "\n",                                             // an empty line
        "version 12\n\n" + good,                                                  //
        "version 12\n" + good + good,                                             // twice
        "version 12\n" + Lines({{"firmware.bin", files["firmware.bin"]}}) + good, // out of order
        "version 12\n" + good + "# a comment\n",                                  //
        "version 12\n" + good + "version 13\n",                                   //
        "version 12\n" + good + digest + " *z\n",                                 // the other mode of sha256sum
        "version 12\n" + good + digest + " z\n",                                  // one space
        "version 12\n" + good + digest + "   z\n",                                // three
        "version 12\n" + good + digest + "\tz\n",                                 //
        "version 12\n" + good + digest + "  \n",                                  // no name
        "version 12\n" + good + digest.substr(1) + "  z\n",                       // 63 digits
        "version 12\n" + good + digest + "0  z\n",                                // 65
        "version 12\n" + good + "A" + digest.substr(1) + "  z\n",                 // a capital
        "version 12\n" + good + "\\" + digest + "  z\n",                          // an escaped name
        "version 12\n" + good + "SHA256 (z) = " + digest + "\n",                  //
        "version 12\n" + good + digest + "  z\r\n",                               //
        "version 12\n" + good + digest + "  z" + nul + "\n",                      //
        "version 12\n" + good + digest + "  z z\n",                               //
        "version 12\n" + good + digest + "  z\\n\n",                              //
        "version 12\n" + good + digest + "  \xc3\xa9\n",                          //
        "version 12\n" + good + digest + "  /z\n",                                //
        "version 12\n" + good + digest + "  z/\n",                                //
        "version 12\n" + good + digest + "  z//z\n",                              //
        "version 12\n" + good + digest + "  z/./z\n",                             //
        "version 12\n" + good + digest + "  z/../z\n",                            //
        "version 12\n" + Lines({{"../installed", ""}}) + good,                    //
        "version 12\n" + Lines({{"..", ""}}) + good,                              //
        "version 12\n" + Lines({{"-z", ""}}) + good,                              //
        "version 12\n" + Lines({{".z", ""}}) + good,                              //
    };
    for (const std::string &list : lists) {
        Seal(list);
        ExpectRefused("checksums", "the checksum file has another form");
    }
}

TEST_P(Update, RefusesVersionsThatAreNoPlainNumbers)
{
    for (const std::string version :
         {"", "\n", " 12", "012", "+12", "-12", "12 ", "1.2", "0x12", "1000000000000000000", "\t12", "12\r"}) {
        Seal("version " + version + "\n" + Lines(files));
        ExpectRefused("checksums does not begin with a version", ": ");
    }
    Seal(Lines(files));
    ExpectRefused("checksums does not begin with a version", "is older than");
}

TEST_P(Update, TakesWhatPkgsignWritesOfAPackage)
{
    const std::string list = directory.File("package/checksums");
    const ProcessResult made =
        RunProcess({PKGSIGN_PROGRAM, "checksums", directory.File("package"), "--package-version", "13", "--out", list});
    ASSERT_EQ(0, made.exitStatus) << made.errors;
    EXPECT_EQ("version 13\n" + Lines(files), ReadText("package/checksums"));
    Seal(ReadText("package/checksums"));
    ExpectHandedOver();
    EXPECT_EQ("version 13\n", ReadText("state/version"));
}

TEST_P(Update, RefusesAFileThatIsNotAsItWasSigned)
{
    std::string text = files["firmware.bin"];
    for (const size_t at : {size_t{0}, text.size() / 2, text.size() - 1}) {
        text[at] ^= 1;
        WriteText("package/firmware.bin", text);
        ExpectRefused("firmware.bin is not as it was signed", "a file is not as it was signed");
        text[at] ^= 1;
    }
    for (const std::string &other : {text + "f", text.substr(1), std::string()}) {
        WriteText("package/firmware.bin", other);
        ExpectRefused("firmware.bin is not as it was signed", "a file is not as it was signed");
    }
}

TEST_P(Update, RefusesAFileThatIsMissing)
{
    fs::remove(directory.File("package/boot/dtb/board.dtb"));
    ExpectRefused("board.dtb: No such file or directory", "files are missing, or not listed");
}

TEST_P(Update, RefusesFilesThatAreNotListedWhateverTheirNames)
{
    for (const std::string name :
         {"another", "boot/another", "boot/checksums", "new/directory/file", ".hidden", "-option", "back\\slash",
          "new\nline", "firmware.bin\nboot", "space here", "\xc3\xa9", "boot/..b", "$(reboot)", "*", "firmware.bin "}) {
        WriteText("package/" + name, "a decoy");
        ExpectRefused("is not listed", GetParam() == Form::C ? "" : "not listed");
        fs::remove(directory.File("package/" + name));
    }
    fs::create_directories(directory.File("package/empty/directories")); // hold no file: nothing to install
    ExpectHandedOver();
}

// Printed, its name is the lines of two files that are missing.
TEST_P(Update, RefusesANameOfTwoLinesThatLooksLikeTwoFiles)
{
    fs::remove(directory.File("package/boot/kernel.img"));
    fs::remove(directory.File("package/firmware.bin"));
    WriteText("package/boot/kernel.img\n./firmware.bin", "a decoy");
    ExpectRefused("kernel.img?./firmware.bin is not listed", "a file is not as it was signed");
}

TEST_P(Update, PrintsNamesWithoutControlCharacters)
{
    WriteText("package/\x1b]0;accepted\x07\nupdate: fine", "a decoy");
    const ProcessResult result = Run();
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_FALSE(Contains(result.errors, "\nupdate: fine")) << result.errors;
    EXPECT_FALSE(Contains(result.errors, "\x1b"));
}

TEST_P(Update, RefusesLinks)
{
    for (const std::string name : {"package/firmware.bin", "package/boot", "package/boot/dtb", "package/checksums",
                                   "package/checksums.cms", "crls.der"}) {
        fs::rename(directory.File(name), directory.File("elsewhere"));
        fs::create_symlink(directory.File("elsewhere"), directory.File(name));
        ExpectRefused("", "there are links, devices or files of others");
        fs::remove(directory.File(name));
        fs::rename(directory.File("elsewhere"), directory.File(name));
    }
    fs::create_symlink("nowhere", directory.File("package/dangling"));
    ExpectNotOwn();
    fs::remove(directory.File("package/dangling"));
    fs::rename(directory.File("package"), directory.File("elsewhere"));
    fs::create_symlink("elsewhere", directory.File("package"));
    ExpectRefused("package: ", "there are links, devices or files of others");
}

TEST_P(Update, RefusesFilesThatHaveAnotherName)
{
    for (const std::string name : {"package/firmware.bin", "package/checksums", "crls.der"}) {
        fs::create_hard_link(directory.File(name), directory.File("other"));
        ExpectNotOwn();
        fs::remove(directory.File("other"));
    }
    ExpectHandedOver();
}

TEST_P(Update, RefusesPipesSocketsAndDevicesAndDoesNotWaitForThem)
{
    for (const std::string name : {"package/firmware.bin", "package/pipe", "package/checksums", "crls.der"}) {
        const std::string before = ReadText(name);
        fs::remove(directory.File(name));
        ASSERT_EQ(0, mkfifo(directory.File(name).c_str(), 0600));
        ExpectNotOwn();
        fs::remove(directory.File(name));
        if (before != "(none)") {
            WriteText(name, before);
        }
    }
    const int end = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {AF_UNIX, {}};
    (void)snprintf(address.sun_path, sizeof(address.sun_path), "%s", directory.File("package/socket").c_str());
    ASSERT_EQ(0, bind(end, reinterpret_cast<sockaddr *>(&address), sizeof(address)));
    ExpectNotOwn();
    (void)close(end);
    fs::remove(address.sun_path);
    if (mknod(directory.File("package/device").c_str(), S_IFCHR | 0600, makedev(1, 5)) == 0) { // root may
        ExpectNotOwn();
        fs::remove(directory.File("package/device"));
    }
    ExpectHandedOver();
}

TEST_P(Update, RefusesAStateThatOthersCanWriteOrThatLostItsMemory)
{
    const std::string state = directory.File("state");
    for (const unsigned mode : {0770u, 0707u}) {
        ASSERT_EQ(0, chmod(state.c_str(), mode));
        ExpectRefused("others can write there", "there are links, devices or files of others");
    }
    ASSERT_EQ(0, chmod(state.c_str(), 0700));
    for (const std::string text : {"", "version 11", "version x\n", "version 11\nversion 1\n"}) {
        WriteText("state/version", text);
        if (GetParam() == Form::C || text.find("11") == std::string::npos) {
            ExpectRefused("version holds no version", "is older than ''");
        }
    }
    fs::remove(state + "/version");
    ExpectRefused("version: No such file", "is older than ''");
    WriteText("state/version", "version 11\n");
    fs::remove(state + "/crls.der");
    ExpectRefused("the CRL files cannot be read", "the CRL files cannot be read");
}

TEST_P(Update, ClearsAwayWhatAnInterruptedRunLeft)
{
    WriteText("state/incoming/files/firmware.bin", "half of it");
    WriteText("state/incoming/checksums", "");
    ExpectHandedOver();
}

TEST_P(Update, RefusesAWrongCommandLine)
{
    const std::string program = GetParam() == Form::C ? UPDATE_PROGRAM : UPDATE_SCRIPT;
    EXPECT_NE(0, RunProcess({program}).exitStatus);
    EXPECT_NE(0, RunProcess({program, "-x"}).exitStatus);
    EXPECT_NE(0, RunProcess({program, "state", root, "package", "crls", "true"}).exitStatus);
    EXPECT_NE(0, RunProcess({program, "-s", directory.File("state"), "-r", root, directory.File("package"), "true"})
                     .exitStatus); // a program of the package's directory must not be found by its name
    EXPECT_NE(0, RunProcess(
                     {program, "-s", directory.File("state"), "-r", "root.der", directory.File("package"), "/bin/true"})
                     .exitStatus);
}

INSTANTIATE_TEST_SUITE_P(Form, Update, testing::Values(Form::C, Form::Shell), testing::PrintToStringParamName());

class UpdateInC : public UpdateStep
{
};

TEST_F(UpdateInC, NeedsNoCrlFileWithThePackage)
{
    fs::remove(directory.File("crls.der"));
    EXPECT_EQ(0, RunProgram(UPDATE_PROGRAM).exitStatus);
    EXPECT_TRUE(files == FilesIn("installed"));
    EXPECT_EQ(oldCrls, ReadText("state/crls.der"));
}

// The package goes on lying where others can write: what is installed is a copy.
TEST_F(UpdateInC, HandsOverACopyThatNobodyElseCanWrite)
{
    ASSERT_EQ(0, RunProgram(UPDATE_PROGRAM).exitStatus);
    EXPECT_TRUE(files == FilesIn("state/verified"));
    for (const auto &entry : fs::recursive_directory_iterator(directory.File("state/verified"))) {
        EXPECT_EQ(fs::perms::none, entry.status().permissions() & (fs::perms::group_all | fs::perms::others_all));
    }
    WriteText("package/firmware.bin", "something else");
    EXPECT_TRUE(files == FilesIn("state/verified"));
}

TEST_F(UpdateInC, HoldsItsLockWhileTheCommandInstalls)
{
    const int state = open(directory.File("state").c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(0, flock(state, LOCK_EX | LOCK_NB));
    const ProcessResult result = RunProgram(UPDATE_PROGRAM);
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_TRUE(Contains(result.errors, "another update is under way")) << result.errors;
    ASSERT_EQ(0, flock(state, LOCK_UN));
    (void)close(state);
    const std::string inner = std::string(UPDATE_PROGRAM) + " -s " + directory.File("state") + " -r " + root + " " +
                              directory.File("package") + " /bin/true; exit $((40 + $?))";
    EXPECT_EQ(41, RunProcess({UPDATE_PROGRAM, "-s", directory.File("state"), "-r", root, directory.File("package"),
                              "/bin/sh", "-c", inner})
                      .exitStatus);
}

TEST_F(UpdateInC, JudgesWithoutTheEnvironment)
{
    EXPECT_EQ(0, RunProgram(UPDATE_PROGRAM, {"QZLOG=" + directory.File("log")}).exitStatus);
    EXPECT_FALSE(IsThere("log"));
}

TEST_F(UpdateInC, BoundsWhatItCopies)
{
    // The watched program takes a million octets in all, and two million of each of the three files.
    files["firmware.bin"] = std::string(1000001, 'f');
    WriteText("package/firmware.bin", files["firmware.bin"]);
    Seal("version 12\n" + Lines(files));
    ProcessResult result = RunProgram(UPDATE_WATCHED);
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_TRUE(Contains(result.errors, "the package is too large")) << result.errors;
    for (const std::string name : {"package/checksums", "package/checksums.cms", "crls.der"}) {
        const std::string before = ReadText(name);
        WriteText(name, std::string(2000001, 'x'));
        result = RunProgram(UPDATE_PROGRAM);
        EXPECT_EQ(1, result.exitStatus);
        EXPECT_TRUE(Contains(result.errors, "the package is too large")) << name << result.errors;
        WriteText(name, before);
    }
    EXPECT_EQ(0, RunProgram(UPDATE_PROGRAM).exitStatus); // whose own bound is higher
}

TEST_F(UpdateInC, BoundsHowDeepDirectoriesLie)
{
    std::string deep = "d";
    for (int i = 1; i < 28; ++i) {
        deep += "/d";
    }
    files[deep + "/file"] = "deep";
    WriteText("package/" + deep + "/file", "deep");
    Seal("version 12\n" + Lines(files));
    EXPECT_EQ(0, RunProgram(UPDATE_PROGRAM).exitStatus);
    EXPECT_TRUE(files == FilesIn("installed"));

    Files deeper = files;
    deeper["d/" + deep + "/file"] = "deep";
    Seal("version 12\n" + Lines(deeper));
    ProcessResult result = RunProgram(UPDATE_PROGRAM);
    EXPECT_TRUE(Contains(result.errors, "no digest and name")) << result.errors;

    Seal("version 12\n" + Lines(files));
    for (int i = 0; i < 400; ++i) {
        deep += "/d";
    }
    fs::create_directories(directory.File("package/" + deep));
    result = RunProgram(UPDATE_PROGRAM);
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_TRUE(Contains(result.errors, "the directories are too deep")) << result.errors;
}

// Replaces what the examples' texts name by what is here.
std::string Here(std::string text, const std::vector<std::pair<std::string, std::string>> &places)
{
    for (const auto &[there, here] : places) {
        for (size_t at = text.find(there); at != std::string::npos; at = text.find(there, at + here.size())) {
            text.replace(at, there.size(), here);
        }
    }
    return text;
}

std::string Between(const std::string &text, const std::string &begin, const std::string &end)
{
    const size_t from = text.find(begin);
    EXPECT_NE(std::string::npos, from);
    const size_t to = text.find(end, from + begin.size());
    return text.substr(from + begin.size(), to - from - begin.size());
}

std::string ReadSource(const std::string &name)
{
    forge::Bytes data;
    EXPECT_TRUE(forge::ReadFile(UPDATE_EXAMPLE "/" + name, &data).ok);
    return std::string(data.begin(), data.end());
}

TEST_F(UpdateInC, WorksAsItsUnitStartsIt)
{
    const std::string command = Here(Between(ReadSource("update.service"), "\nExecStart=", "\n# A package"),
                                     {{"/usr/libexec/update ", UPDATE_PROGRAM " "},
                                      {"${STATE_DIRECTORY}", directory.File("state")},
                                      {"/etc/sigkit/root.der", root},
                                      {"/var/spool/update", directory.path},
                                      {"ExecStartPost=+", ""},
                                      {"/usr/libexec/install-package", "\ntest -f"},
                                      {"/var/lib/update/verified", directory.File("state/verified/firmware.bin")}});
    const ProcessResult result = RunProcess({"/bin/sh", "-ec", command});
    EXPECT_EQ(0, result.exitStatus) << command << result.errors;
    EXPECT_EQ("version 12\n", ReadText("state/version"));
}

TEST_F(UpdateInC, WorksAsItsDocumentShows)
{
    WriteText("install-package", "#!/bin/sh\ntest -f firmware.bin && touch ../../installed");
    fs::permissions(directory.File("install-package"), fs::perms::owner_all);
    const std::string commands =
        Here(Between(ReadSource("README.md"), "```\n", "```"), {{"\nupdate ", "\n" UPDATE_PROGRAM " "},
                                                                {"/var/lib/update", directory.File("new")},
                                                                {"/etc/sigkit/root.der", root},
                                                                {"/usr/libexec", directory.path}});
    const ProcessResult result = RunProcess({"/bin/sh", "-ec", "cd " + directory.path + "\n" + commands});
    EXPECT_EQ(0, result.exitStatus) << commands << result.errors;
    EXPECT_EQ("version 12\n", ReadText("new/version"));
    EXPECT_TRUE(IsThere("installed"));
}

TEST_F(UpdateInC, BuildsByItselfAsC11WithoutWarnings)
{
    fs::copy(UPDATE_EXAMPLE, directory.File("example"));
    const std::string warnings = "-O2 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2 -Werror";
    const ProcessResult result =
        RunProcess({"make", "-C", directory.File("example"), "CC=" C_COMPILER, "CFLAGS=" + warnings, "update"});
    EXPECT_EQ(0, result.exitStatus) << result.errors;
    EXPECT_EQ(2, RunProcess({directory.File("example/update")}).exitStatus);
}

} // namespace
