// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Files are written whole or not at all, whatever fails and whenever the machine stops.
#include "pkgsign/files/files.h"

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "tests/pkgsign/support.h"

namespace
{

class Sweep : public InFolder
{
protected:
    void SetUp() override
    {
        InFolder::SetUp();
        old = Read("pki/pki.json");
    }

    // Changes the folder.
    pkgsign::Status Change() const
    {
        return pkgsign::UpdatePki(Path("pki"), [](pkgsign::Pki *pki) {
            pki->organization = "Changed";
            return pkgsign::Status();
        });
    }

    void Restore() const
    {
        Write("pki/pki.json", old);
    }

    bool IsNew() const
    {
        return Memory().organization == "Changed"; // and it decodes
    }

    size_t CountFiles() const
    {
        const std::filesystem::directory_iterator files(Path("pki"));
        return static_cast<size_t>(std::distance(begin(files), end(files)));
    }

    std::string old;
};

TEST_F(Sweep, AFailingCallLeavesTheOldFolderOrTheNewOneAndNoFileBeside)
{
    const size_t files = CountFiles();
    int failures = 0;
    for (int n = 1;; ++n) {
        Restore();
        const Fault fault(n, false);
        const pkgsign::Status status = Change();
        EXPECT_TRUE(IsNew() || Read("pki/pki.json") == old) << n;
        EXPECT_TRUE(!status.ok || IsNew()) << n;
        EXPECT_EQ(files, CountFiles()) << n;
        if (!fault.Struck()) {
            EXPECT_TRUE(status.ok) << status.reason;
            break;
        }
        failures += status.ok ? 0 : 1;
    }
    EXPECT_GE(failures, 8);
}

TEST_F(Sweep, ACrashAfterAnyCallLeavesTheOldFolderOrTheNewOne)
{
    int crashes = 0;
    bool wasNew = false;
    for (int n = 1;; ++n) {
        Restore();
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const Fault fault(n, true);
            (void)Change();
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        EXPECT_TRUE(IsNew() || Read("pki/pki.json") == old) << n;
        EXPECT_TRUE(IsNew() || !wasNew) << n; // once renamed, it stays
        wasNew = IsNew();
        if (WEXITSTATUS(status) != CRASHED) {
            EXPECT_TRUE(IsNew());
            break;
        }
        ++crashes;
    }
    EXPECT_GE(crashes, 8);
}

TEST_F(Sweep, AFailingChangeWritesNothing)
{
    const pkgsign::Status status = pkgsign::UpdatePki(Path("pki"), [](pkgsign::Pki *pki) {
        pki->organization = "Changed";
        return pkgsign::Fail("no");
    });
    EXPECT_EQ("no", status.reason);
    EXPECT_EQ(old, Read("pki/pki.json"));
}

TEST_F(Sweep, AFileThatIsNoRegularOneIsNotReplaced)
{
    const pkgsign::Bytes data = {1};
    EXPECT_FALSE(pkgsign::WriteWhole("/dev/null", data).ok);
    EXPECT_FALSE(pkgsign::WriteWhole(Path("pki"), data).ok);
    EXPECT_FALSE(pkgsign::WriteWhole(Path("missing/file"), data).ok);
}

TEST_F(Sweep, ThroughALinkTheFileIsReplacedThatItLeadsTo)
{
    std::filesystem::create_directory(Path("releases"));
    Write("releases/1.cms", "old");
    std::filesystem::create_symlink("releases/1.cms", Path("current"));
    std::filesystem::create_symlink("current", Path("latest"));
    ExpectDone(Run({"sign", Path("content"), "--out", Path("latest")}));
    EXPECT_TRUE(std::filesystem::is_symlink(Path("latest")));
    EXPECT_EQ("releases/1.cms", std::filesystem::read_symlink(Path("current")));
    ExpectDone(Run({"crl", "--out", Path("crls")}));
    EXPECT_TRUE(DeviceTakes("releases/1.cms", "content", "crls"));
    const auto files = std::filesystem::directory_iterator(Path("releases"));
    EXPECT_EQ(1, std::distance(begin(files), end(files))); // no temporary file
}

TEST_F(Sweep, ALinkThatLeadsToNoFileIsNotWrittenThrough)
{
    std::filesystem::create_symlink("releases/1.cms", Path("current"));
    std::filesystem::create_symlink("loop", Path("loop"));
    std::filesystem::create_symlink("/dev/null", Path("null"));
    ExpectRefused(Run({"sign", Path("content"), "--out", Path("current")}),
                  "cannot write '" + Path("current") + "': it is a link that leads to no file");
    ExpectRefused(Run({"sign", Path("content"), "--out", Path("loop")}), "it is a link that leads to no file");
    ExpectRefused(Run({"sign", Path("content"), "--out", Path("null")}), "it is no regular file");
    EXPECT_TRUE(std::filesystem::is_symlink(Path("current")));
}

// A signature that exists cannot be taken back.
TEST_F(Sweep, NoKeySignsForAnOutputThatCannotBeWritten)
{
    ExpectDone(Run({"sign", Path("content"), "--no-timestamp", "--out", Path("bare")}));
    std::filesystem::create_symlink("releases/1.cms", Path("dangling"));
    const std::string before = Read("pki/pki.json");
    const int signatures = RealSignatures();
    const std::vector<std::vector<std::string>> commands = {
        {"sign", Path("content")},
        {"sign", Path("content"), "--no-timestamp"},
        {"timestamp", Path("bare")},
        {"request", "--as", "signer", "--key", Path("pki/private/signer.key")},
        {"issue", "--as", "signer", "--no-encryption", "--key-bits", "2048"},
        {"crl"}};
    const std::vector<std::string> outputs = {Path("missing/out"), Path("content/out"), Path("dangling"), Path("pki")};
    for (const std::vector<std::string> &command : commands) {
        for (const std::string &output : outputs) {
            std::vector<std::string> arguments = command;
            arguments.insert(arguments.end(), {"--out", output});
            ExpectRefused(Run(arguments), "cannot write '" + output + "': ");
            EXPECT_EQ(signatures, RealSignatures()) << command[0] << " " << output;
        }
    }
    EXPECT_EQ(before, Read("pki/pki.json"));
    EXPECT_FALSE(Made("pki/private/signer-2.key"));
    ExpectRefused(Run({"sign", Path("content"), "--out", Path("missing/out")}),
                  "no file can be made in '" + Path("missing") + "': No such file or directory");
}

TEST_F(Sweep, NoKeySignsACrlThatTheFolderCannotKeep)
{
    std::filesystem::remove_all(Path("pki/crls"));
    ExpectDone(Run({"crl", "--out", Path("crls")})); // version control keeps no empty directory
    std::filesystem::remove_all(Path("pki/crls"));
    Write("pki/crls", "in the way");
    const std::string before = Read("pki/pki.json");
    const int signatures = RealSignatures();
    EXPECT_EQ(1, At("2026-03-01T00:00:00Z", {"crl", "--out", Path("crls")}).status);
    EXPECT_EQ(signatures, RealSignatures());
    EXPECT_EQ(before, Read("pki/pki.json"));
}

TEST_F(Sweep, AskingWhetherAFileCanBeWrittenLeavesNothing)
{
    const auto files = [&] { return std::distance(std::filesystem::directory_iterator(Path("pki")), {}); };
    const auto before = files();
    EXPECT_TRUE(pkgsign::CheckWritable(Path("pki/new")).ok);
    EXPECT_TRUE(pkgsign::CheckWritable(Path("pki/pki.json")).ok);
    EXPECT_TRUE(pkgsign::CheckWritable("-").ok);
    EXPECT_EQ(before, files());
    EXPECT_EQ(old, Read("pki/pki.json"));
    const Fault fault(1, false); // a directory that takes no file
    EXPECT_FALSE(pkgsign::CheckWritable(Path("pki/new")).ok);
}

TEST_F(Sweep, AFileLargerThanAllowedIsNotRead)
{
    pkgsign::Bytes data;
    EXPECT_TRUE(pkgsign::ReadWhole(Path("content"), &data, 8).ok);
    EXPECT_FALSE(pkgsign::ReadWhole(Path("content"), &data, 7).ok);
    EXPECT_FALSE(pkgsign::ReadWhole(Path("missing"), &data).ok);
    EXPECT_FALSE(pkgsign::ReadWhole(Path("pki"), &data).ok);
}

TEST_F(Sweep, WhoWaitsForTheLockSaysForWhom)
{
    int ready[2] = {};
    ASSERT_EQ(0, pipe(ready));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        (void)pkgsign::UpdatePki(Path("pki"), [&](pkgsign::Pki *) {
            (void)!write(ready[1], "x", 1);
            (void)usleep(1600000);
            return pkgsign::Status();
        });
        _exit(0);
    }
    char octet = 0;
    ASSERT_EQ(1, read(ready[0], &octet, 1));
    const Outcome outcome = Run({"list"});
    EXPECT_EQ(0, outcome.status);
    EXPECT_TRUE(Contains(outcome.errors, "waiting for process " + std::to_string(child))) << outcome.errors;
    ASSERT_EQ(child, waitpid(child, nullptr, 0));
}

} // namespace
