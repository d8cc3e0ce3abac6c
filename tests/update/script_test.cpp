// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The form for the shell: killed before each of its commands that change something, it is run again.
#include "tests/update/update_fixture.h"

namespace
{

namespace fs = std::filesystem;

// Stands before the script's commands, counts and writes them down, and kills the script at one of them.
class UpdateScript : public UpdateStep
{
protected:
    void SetUp() override
    {
        UpdateStep::SetUp();
        for (const std::string name :
             {"rm", "mkdir", "cp", "mv", "sync", "crl_compare", "verify_tool", "sed", "sha256sum"}) {
            WriteText("commands/" + name, "#!/bin/sh\nhere=${0%/*}\necho " + name +
                                              " >>\"$here/calls\"\n"
                                              "[ \"$(/usr/bin/wc -l <\"$here/calls\")\" -ne \"$(/bin/cat "
                                              "\"$here/at\")\" ] || kill -9 0\n"
                                              "exec /usr/bin/env PATH=" PROGRAM_PATH ":/usr/bin:/bin " +
                                              name + " \"$@\"\n");
            fs::permissions(directory.File("commands/" + name), fs::perms::owner_all);
        }
    }

    // In a session of its own, so that all of it is killed.
    ProcessResult RunUntil(int command)
    {
        fs::remove(directory.File("commands/calls"));
        WriteText("commands/at", std::to_string(command));
        return RunScript(directory.File("commands") + ":", {"setsid", "--wait"});
    }

    void Reset()
    {
        fs::remove_all(directory.File("installed"));
        fs::remove_all(directory.File("state/incoming"));
        WriteText("state/crls.der", oldCrls);
        WriteText("state/version", "version 11\n");
    }
};

TEST_F(UpdateScript, KilledAtAnyCommandEndsTheSameWhenItIsRunAgain)
{
    int command = 1;
    for (; RunUntil(command).exitStatus != 0; ++command) {
        SCOPED_TRACE(command);
        const std::string crls = ReadText("state/crls.der");
        const std::string version = ReadText("state/version");
        EXPECT_TRUE(crls == oldCrls || crls == newCrls);
        EXPECT_TRUE(version == "version 11\n" || version == "version 12\n") << version;
        EXPECT_FALSE(IsThere("installed") && version == "version 11\n");
        const ProcessResult second = RunScript();
        EXPECT_EQ(0, second.exitStatus) << second.errors;
        EXPECT_TRUE(files == FilesIn("installed"));
        EXPECT_TRUE(newCrls == ReadText("state/crls.der"));
        EXPECT_EQ("version 12\n", ReadText("state/version"));
        EXPECT_FALSE(IsThere("state/incoming"));
        Reset();
        ASSERT_LT(command, 100);
    }
    EXPECT_GT(command, 15);
}

TEST_F(UpdateScript, BringsToTheDiskWhatGetsANameAndThenTheName)
{
    ASSERT_EQ(0, RunUntil(0).exitStatus);
    const std::string calls = ReadText("commands/calls");
    size_t names = 0;
    for (size_t at = calls.find("mv\n"); at != std::string::npos; at = calls.find("mv\n", at + 1)) {
        ASSERT_GE(at, 5u);
        EXPECT_EQ("sync\nmv\nsync\n", calls.substr(at - 5, 13));
        ++names;
    }
    EXPECT_EQ(2u, names);                                                  // CRL file and version
    EXPECT_LT(calls.find("verify_tool\n"), calls.find("sha256sum\n"));     // nothing is read of an unproved list
    EXPECT_LT(calls.find("sha256sum\n"), calls.rfind("sync\nmv\nsync\n")); // the version goes up when all is well
}

} // namespace
