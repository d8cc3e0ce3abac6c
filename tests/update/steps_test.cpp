// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Something happens at a system call of the update step: a hostile hand on the package, a call that fails, a power cut.
// The parameter: every so many calls one is tried.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <functional>

#include "tests/update/update_fixture.h"

namespace
{

namespace fs = std::filesystem;

class UpdateSteps : public UpdateStep, public testing::WithParamInterface<int>
{
protected:
    // Before this package another one was installed; it lies there still.
    void SetUp() override
    {
        UpdateStep::SetUp();
        for (const auto &[name, text] : before) {
            WriteText("state/verified/" + name, text);
        }
        Keep();
    }

    void Keep() const
    {
        for (const char *name : {"state", "package"}) {
            fs::remove_all(kept.File(name));
            fs::copy(directory.File(name), kept.File(name), fs::copy_options::recursive);
        }
    }

    void Restore()
    {
        for (const char *name : {"state", "package", "image", "installed", "elsewhere", "struck"}) {
            fs::remove_all(directory.File(name));
        }
        for (const char *name : {"state", "package"}) {
            fs::copy(kept.File(name), directory.File(name), fs::copy_options::recursive);
        }
        WriteText("crls.der", newCrls);
    }

    // Runs the step with something happening at a call. False when there is no such call.
    bool StrikeAt(int call, const std::string &act, bool countsChangesAlone, ProcessResult *resultOut)
    {
        Restore();
        std::vector<std::string> environment = {
            "HOOK_STEP=" + std::to_string(call), "HOOK_ACT=" + act, "HOOK_STATE=" + directory.File("state"),
            "HOOK_IMAGE=" + directory.File("image"), "HOOK_STRUCK=" + directory.File("struck")};
        if (countsChangesAlone) {
            environment.push_back("HOOK_CHANGES=yes");
        }
        *resultOut = RunProgram(UPDATE_WATCHED, environment);
        return IsThere("struck");
    }

    // Strikes at every call, or every so many.
    void Sweep(const std::string &act, bool countsChangesAlone,
               const std::function<void(const ProcessResult &result)> &check)
    {
        int call = 1;
        ProcessResult result;
        for (; !HasFailure() && StrikeAt(call, act, countsChangesAlone, &result); call += GetParam()) {
            SCOPED_TRACE(act + " at call " + std::to_string(call) + ": " + result.errors);
            check(result);
        }
        EXPECT_GT(call, 40);
    }

    // Whatever was interrupted: a run with nothing in its way ends as it always ends.
    void ExpectSameEnd(const std::string &state)
    {
        fs::remove_all(directory.File("installed"));
        const ProcessResult result = RunProgram(UPDATE_PROGRAM, {}, state);
        EXPECT_EQ(0, result.exitStatus) << result.errors;
        EXPECT_TRUE(files == FilesIn("installed"));
        EXPECT_TRUE(files == FilesIn(state + "/verified"));
        EXPECT_TRUE(newCrls == ReadText(state + "/crls.der"));
        EXPECT_EQ("version 12\n", ReadText(state + "/version"));
        EXPECT_FALSE(IsThere(state + "/incoming"));
    }

    // The memory is the old or the new one, and what bears the name of verified files is whole.
    void ExpectOldOrNew(const std::string &state)
    {
        const std::string crls = ReadText(state + "/crls.der");
        const std::string version = ReadText(state + "/version");
        const Files verified = FilesIn(state + "/verified");
        EXPECT_TRUE(crls == oldCrls || crls == newCrls);
        EXPECT_TRUE(version == "version 11\n" || version == "version 12\n") << version;
        EXPECT_TRUE(verified == before || verified == files || !IsThere(state + "/verified"));
        EXPECT_TRUE(verified != files || (version == "version 12\n" && crls == newCrls));
    }

    const Files before = {{"firmware.bin", "of the version before"}};
    TemporaryDirectory kept;
};

TEST_P(UpdateSteps, APowerCutLeavesOldOrNewAndTheSecondRunEndsTheSame)
{
    for (const std::string kind : {"synced", "names", "all", "mixed 1", "mixed 2", "mixed 3", "mixed 4"}) {
        Sweep("cut " + kind, true, [this](const ProcessResult &result) {
            EXPECT_EQ(77, result.exitStatus);
            EXPECT_FALSE(IsThere("installed"));
            ExpectOldOrNew("image");
            ExpectSameEnd("image");
        });
    }
}

// The command has begun, so an older package must be refused, whatever of this run is lost.
TEST_P(UpdateSteps, NoPowerCutTurnsTheMemoryBackOnceTheFilesAreHandedOver)
{
    installer = {"/bin/sh", "-c", "exit 0"};
    int last = 0;
    ProcessResult result;
    for (int call = 1; StrikeAt(call, "run true", true, &result); ++call) {
        last = call;
    }
    for (const std::string kind : {"synced", "names", "mixed 1", "mixed 2", "mixed 3"}) {
        ASSERT_TRUE(StrikeAt(last, "cut " + kind, true, &result)); // at execv
        EXPECT_EQ("version 12\n", ReadText("image/version")) << kind;
        EXPECT_TRUE(newCrls == ReadText("image/crls.der")) << kind;
        EXPECT_TRUE(files == FilesIn("image/verified")) << kind;
        Seal("version 11\n" + Lines(files));
        WriteText("crls.der", oldCrls);
        result = RunProgram(UPDATE_PROGRAM, {}, "image");
        EXPECT_EQ(1, result.exitStatus);
        EXPECT_TRUE(Contains(result.errors, "version 11 is older than 12")) << result.errors;
        EXPECT_TRUE(newCrls == ReadText("image/crls.der")) << kind;
    }
}

TEST_P(UpdateSteps, AFailingCallIsARefusalOrNothingAtAll)
{
    Sweep("fail", false, [this](const ProcessResult &result) {
        EXPECT_TRUE(result.exitStatus == 0 || result.exitStatus == 1) << result.exitStatus;
        EXPECT_EQ(result.exitStatus == 0, FilesIn("installed") == files);
        EXPECT_EQ(result.exitStatus == 0, IsThere("installed"));
        ExpectOldOrNew("state");
        ExpectSameEnd("state");
    });
}

// Scripts run in the directory above the package while the update step is at a call. `evil` holds a whole package of
// others, its own checksums and all but a good signature.
TEST_P(UpdateSteps, WhateverIsSwappedNothingButWhatWasSignedIsHandedOver)
{
    WriteText("evil/firmware.bin", std::string(100000, 'e'));
    WriteText("evil/boot/kernel.img", std::string(3000, 'e'));
    WriteText("evil/boot/dtb/board.dtb", "a bomb!\n");
    WriteText("evil/checksums", "version 12\n" + Lines({{"boot/dtb/board.dtb", "a bomb!\n"},
                                                        {"boot/kernel.img", std::string(3000, 'e')},
                                                        {"firmware.bin", std::string(100000, 'e')}}));
    WriteText("evil/checksums.cms", ReadText("package/checksums.cms"));
    WriteText("evil/crls.der", "no CRLs");
    for (const std::string script : {
             "cp evil/firmware.bin package/firmware.bin",
             "printf evil | dd of=package/firmware.bin bs=1 seek=90000 conv=notrunc status=none",
             "rm package/firmware.bin; ln -s ../evil/firmware.bin package/firmware.bin",
             "rm package/firmware.bin; ln evil/firmware.bin package/firmware.bin",
             "rm package/firmware.bin; mkfifo package/firmware.bin",
             ": >package/firmware.bin",
             "cat evil/firmware.bin >>package/firmware.bin",
             "mv package/boot elsewhere; ln -s ../evil/boot package/boot",
             "mv package/boot elsewhere; cp -R evil/boot package/boot",
             "mv package elsewhere; cp -R evil package",
             "mv package elsewhere; ln -s evil package",
             "cp evil/checksums package/checksums; cp -R evil/. package",
             "mv evil/checksums package/checksums; cp evil/checksums.cms evil/checksums; mv package/checksums evil",
             "rm crls.der; ln -s evil/crls.der crls.der",
             "cp evil/crls.der crls.der",
             "mkdir -p package/more; cp evil/firmware.bin package/more/firmware.bin",
             "rm -rf package",
         }) {
        Sweep("run cd " + directory.path + " && { " + script + "; }", false, [this](const ProcessResult &result) {
            EXPECT_TRUE(result.exitStatus == 0 || result.exitStatus == 1) << result.exitStatus;
            EXPECT_EQ(result.exitStatus == 0, IsThere("installed"));
            EXPECT_TRUE(!IsThere("installed") || FilesIn("installed") == files);
            ExpectOldOrNew("state");
        });
    }
}

INSTANTIATE_TEST_SUITE_P(Some, UpdateSteps, testing::Values(11));
INSTANTIATE_TEST_SUITE_P(Every, UpdateSteps, testing::Values(1));

// A second process writes, links and renames as fast as it can.
TEST_F(UpdateStep, NothingButWhatWasSignedIsHandedOverWhileAnotherProcessSwaps)
{
    const std::string swap = "cd " + directory.path +
                             "\ncp package/firmware.bin good; printf evil >evil; cp -R package/boot goodboot\n"
                             "while :; do cp evil package/firmware.bin; cp good package/firmware.bin\n"
                             "ln -sf ../evil package/link; rm package/link\n"
                             "mv package/firmware.bin f; ln -s ../evil package/firmware.bin; rm package/firmware.bin\n"
                             "mv f package/firmware.bin; mv package/boot b; ln -s ../evilboot package/boot\n"
                             "rm package/boot; mv b package/boot; done";
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const pid_t other = StartProcess({"setsid", "/bin/sh", "-c", swap}, {}, null, null);
    ASSERT_GT(other, 0);
    int refused = 0;
    for (int i = 0; i < 100; ++i) {
        fs::remove_all(directory.File("installed"));
        const ProcessResult result = RunProgram(UPDATE_PROGRAM);
        refused += result.exitStatus == 0 ? 0 : 1;
        EXPECT_EQ(result.exitStatus == 0, IsThere("installed")) << result.errors;
        EXPECT_TRUE(!IsThere("installed") || FilesIn("installed") == files);
    }
    (void)kill(-other, SIGKILL);
    int state = 0;
    EXPECT_EQ(other, waitpid(other, &state, 0));
    (void)close(null);
    EXPECT_GT(refused, 0); // it was in the way
}

} // namespace
