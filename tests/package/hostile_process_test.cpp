// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The tool among hostile files, streams and settings.
#include <sys/stat.h>
#include <unistd.h>

#include "tests/package/package_fixture.h"
#include "tests/support/hostile_environment.h"

namespace
{

// Scripts run in the package's directory. In them `tool` is the tool on the package; H, E and C name other files.
struct HostileProcess : Package {
    ProcessResult Script(const std::string &script)
    {
        const std::string tool = "tool() { " VERIFY_TOOL " -f CHECK_PKG_INTEGRITY -h ${H:-signature} "
                                 "-e ${E:-checksums} -c ${C:-crls}; }\n";
        return RunProcess({"/bin/sh", "-c", "cd " + directory.path + "\n" + tool + script},
                          {"QZLOG=" + directory.File("log")});
    }

    ProcessResult VerifyWith(const std::string &signature, const std::string &content, const std::string &crls)
    {
        return RunTool({"-f", "CHECK_PKG_INTEGRITY", "-h", signature, "-e", content, "-c", crls});
    }

    ProcessResult VerifyIn(const std::vector<std::string> &environment)
    {
        return RunProcess({VERIFY_TOOL, "-f", "CHECK_PKG_INTEGRITY", "-h", directory.File("signature"), "-e",
                           directory.File("checksums"), "-c", directory.File("crls")},
                          environment);
    }
};

} // namespace

TEST_F(HostileProcess, DirectoriesDevicesAndLoopsAreRefused)
{
    Make();
    ASSERT_EQ(0, symlink("loop", directory.File("loop").c_str()));
    const std::string signature = directory.File("signature");
    const std::string content = directory.File("checksums");
    const std::string crls = directory.File("crls");
    const struct {
        std::string path;
        int asSignature;
        int asContent;
        int asCrls;
    } rows[] = {
        {directory.path, 0x06, 255, 0x06}, // a size without end; no content
        {"/dev/null", 0x04, 255, 0x04},    // no size; no content
        {"/dev/zero", 0x04, -2, 0x04},     // content without end is not tried here
        {directory.File("loop"), 1, 1, 1}, {directory.File("signature") + "/x", 1, 1, 1},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(row.asSignature, VerifyWith(row.path, content, crls).exitStatus) << row.path;
        EXPECT_EQ(row.asCrls, VerifyWith(signature, content, row.path).exitStatus) << row.path;
        if (row.asContent != -2) {
            EXPECT_EQ(row.asContent, VerifyWith(signature, row.path, crls).exitStatus) << row.path;
        }
    }
}

TEST_F(HostileProcess, LongPathsAreCutAndOpenNothing)
{
    Make();
    for (const size_t length : {128u, 4096u, 100000u}) {
        std::string path(length + 1, 'x');
        path[0] = '/';
        EXPECT_EQ(1, VerifyWith(path, path, path).exitStatus) << length;
    }
}

TEST_F(HostileProcess, APathOf128CharactersIsCutAndAnotherFileIsJudged)
{
    Make();
    const std::string cut = directory.File(std::string(126 - directory.path.size(), 'x'));
    ASSERT_EQ(127u, cut.size());
    Write(cut.substr(directory.path.size() + 1), Bytes("f4d1b0 firmware.bin\n"));
    Write(cut.substr(directory.path.size() + 1) + "y", Bytes("what is installed"));
    EXPECT_EQ(0, VerifyWith(directory.File("signature"), cut + "y", directory.File("crls")).exitStatus);
}

TEST_F(HostileProcess, APathMayCarryTheTextOfASuccess)
{
    Make();
    const std::string success = "upgrade_sigkit_handle(183) VerifyCmsFile: CheckSum file is valid.";
    const ProcessResult result = VerifyWith(directory.File("signature"), directory.File("checksums"), "\n" + success);
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_TRUE(Contains(result.output, "\n" + success)) << result.output;
    EXPECT_TRUE(Contains(Log(), success)) << Log();
}

TEST_F(HostileProcess, AFileOfFourGibibytesAndMoreIsReadAsFarAsItExceedsThem)
{
    Make();
    for (const char *const name : {"crls", "signature"}) {
        struct stat file = {};
        ASSERT_EQ(0, stat(directory.File(name).c_str(), &file));
        ASSERT_EQ(0, truncate(directory.File(name).c_str(), 0x100000000 + file.st_size));
    }
    EXPECT_EQ(0, Verify().exitStatus);
}

TEST_F(HostileProcess, APipeThatNobodyWritesToAndAnEndlessDeviceHoldItUp)
{
    Make();
    ASSERT_EQ(0, mkfifo(directory.File("pipe").c_str(), 0600));
    const std::string options = " timeout 1 " VERIFY_TOOL " -f CHECK_PKG_INTEGRITY";
    constexpr int TIMED_OUT = 124;
    EXPECT_EQ(TIMED_OUT, Script(options + " -h signature -e checksums -c pipe").exitStatus);
    EXPECT_EQ(TIMED_OUT, Script(options + " -h pipe -e checksums -c crls").exitStatus);
    EXPECT_EQ(TIMED_OUT, Script(options + " -h signature -e pipe -c crls").exitStatus);
    EXPECT_EQ(TIMED_OUT, Script(options + " -h signature -e /dev/zero -c crls").exitStatus);
}

TEST_F(HostileProcess, ContentFromAPipeIsStreamedAndASignatureIsNot)
{
    Make();
    ASSERT_EQ(0, mkfifo(directory.File("pipe").c_str(), 0600));
    // The content grows while it is read.
    const std::string feed = "(head -c 5 checksums; sleep 0.2; tail -c +6 checksums) > pipe & ";
    EXPECT_EQ(0, Script(feed + "E=pipe tool").exitStatus);
    EXPECT_EQ(255, Script("(cat checksums; sleep 0.2; echo more) > pipe & E=pipe tool").exitStatus);
    EXPECT_EQ(255, Script("head -c 5 checksums > pipe & E=pipe tool").exitStatus) << "it shrinks";
    EXPECT_EQ(0x04, Script("cat signature > pipe & H=pipe tool").exitStatus) << "a pipe has no size";
    EXPECT_EQ(0x04, Script("cat crls > pipe & C=pipe tool").exitStatus);
}

TEST_F(HostileProcess, AStandardOutputThatTakesNothingChangesNoAnswer)
{
    Make();
    for (const char *const streams : {" >&-", " >/dev/full", " >&- 2>&- <&-"}) {
        EXPECT_EQ(0, Script("tool" + std::string(streams)).exitStatus) << streams;
        EXPECT_EQ(1, Script("C=missing; tool" + std::string(streams)).exitStatus) << streams;
    }
}

TEST_F(HostileProcess, WhatIsPrintedToAClosedStreamDoesNotGetIntoTheLog)
{
    Make();
    (void)Script("rm -f log; C=missing; tool >&- 2>&- <&-");
    const std::string log = Script("cat log").output;
    EXPECT_NE(std::string::npos, log.find("ERROR 1014 ")) << log;
    EXPECT_EQ(std::string::npos, log.find("[ERROR]")) << log;
}

TEST_F(HostileProcess, AReaderOfTheLogThatGoesAwayChangesNoAnswer)
{
    Make();
    ASSERT_EQ(0, mkfifo(directory.File("pipe").c_str(), 0600));
    const std::string leave = "exec 3<>pipe 4>pipe 3<&-\n"; // nobody reads what is written to 4 any more
    EXPECT_NE(0, Script(leave + "(echo >&4)").exitStatus);
    EXPECT_EQ(0, Script(leave + "tool >&4").exitStatus);
    EXPECT_EQ(1, Script(leave + "C=missing; tool >&4").exitStatus);
    EXPECT_EQ(0, Script(leave + "export QZLOG=stderr; tool >&4 2>&4").exitStatus);
    EXPECT_EQ(1, Script(leave + "export QZLOG=stderr; C=missing; tool >&4 2>&4").exitStatus);
}

TEST_F(HostileProcess, AFileThatMayNotGrowChangesNoAnswer)
{
    Make();
    const std::string limit = "ulimit -f 0\n";
    EXPECT_NE(0, Script(limit + "(printf x > file)").exitStatus) << "nothing can be written";
    EXPECT_EQ(0, Script(limit + "tool > file").exitStatus);
    EXPECT_EQ(1, Script(limit + "C=missing; tool > file").exitStatus);
    EXPECT_EQ(0, Script(limit + "export QZLOG=file; tool > other").exitStatus);
    EXPECT_EQ(1, Script(limit + "export QZLOG=file; C=missing; tool > other").exitStatus);
}

TEST_F(HostileProcess, NoModuleOrConfigurationOfTheEnvironmentIsLoaded)
{
    Make();
    HostileEnvironment environment;
    environment.settings.push_back("QZLOG=/dev/null");
    EXPECT_EQ(0, VerifyIn(environment.settings).exitStatus);
    EXPECT_FALSE(environment.LeftMark());
    EXPECT_TRUE(environment.ReachesOpenssl()) << "the module would leave no mark anywhere";
}

TEST_F(HostileProcess, TheLoaderOfADynamicToolObeysTheEnvironment)
{
    Make();
    Write("checksums", Bytes("f4d1b1 firmware.bin\n"));
    const bool isDynamic =
        RunProcess({"/bin/sh", "-c", "readelf -lW " VERIFY_TOOL " | grep -q INTERP"}, {}).exitStatus == 0;
    for (const char *const setting : {"LD_TRACE_LOADED_OBJECTS=1", "LD_DEBUG=help"}) {
        EXPECT_EQ(isDynamic ? 0 : 255, VerifyIn({setting, "QZLOG=/dev/null"}).exitStatus) << setting;
    }
}

TEST_F(HostileProcess, LocaleTimeZoneAndAllocatorSettingsChangeNoAnswer)
{
    const struct {
        int64_t secondsLeft; // to the CRLs, at the time of the signature
        const char *content;
        int exitStatus;
    } rows[] = {
        {1, "f4d1b0 firmware.bin\n", 0}, {1, "f4d1b1 firmware.bin\n", 255}, {-1, "f4d1b0 firmware.bin\n", 0x12}};
    for (const auto &row : rows) {
        Write("checksums", Bytes(row.content));
        for (forge::CrlRequest &request : crlRequests) {
            request.nextUpdate = SIGNING_TIME + row.secondsLeft;
        }
        Make();
        for (const char *const setting :
             {"LC_ALL=tr_TR.UTF-8", "LANG=xx", "TZ=Pacific/Kiritimati", "MALLOC_PERTURB_=165", "MALLOC_CHECK_=3",
              "MALLOC_ARENA_MAX=1", "POSIXLY_CORRECT=1"}) {
            EXPECT_EQ(row.exitStatus, VerifyIn({setting, "QZLOG=/dev/null"}).exitStatus) << setting;
        }
    }
}

#ifdef NDEBUG // slower builds leave it out: it reads twelve gigabytes

TEST_F(HostileProcess, OneOctetBehindFourGigabytesIsMissed)
{
    const std::string content = directory.File("checksums");
    ASSERT_EQ(0, truncate(content.c_str(), 0x100000010));
    message.contentFile = content;
    Make();
    EXPECT_EQ(0, Verify().exitStatus);
    EXPECT_EQ(0, Script("printf x | dd of=checksums bs=1 seek=4294967311 conv=notrunc 2>/dev/null").exitStatus);
    EXPECT_EQ(255, Verify().exitStatus);
}

#endif
