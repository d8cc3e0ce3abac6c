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
