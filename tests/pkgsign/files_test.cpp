// Files are written whole or not at all, whatever fails and whenever the machine stops.
#include "pkgsign/files/files.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/pkgsign/support.h"

namespace
{

constexpr int CRASHED = 77;

// Which of the calls fails, or is the last one before a crash.
int g_left = 0;
bool g_crashes = false;
pkgsign::SystemCalls g_real;

// True when this call is to fail. A crash happens behind the call that it follows.
bool Fails()
{
    --g_left;
    return g_left == 0 && !g_crashes;
}

template <typename T>
T After(T result)
{
    if (g_left == 0 && g_crashes) {
        _exit(CRASHED);
    }
    return result;
}

int Broken()
{
    errno = EIO;
    return -1;
}

pkgsign::SystemCalls Watched()
{
    return {[](const char *path, int flags, mode_t mode) {
                return Fails() ? Broken() : After(g_real.open(path, flags, mode));
            },
            [](int file, const void *data, size_t size) -> ssize_t {
                return Fails() ? Broken() : After(g_real.write(file, data, size > 7 ? size / 2 : size)); // in pieces
            },
            [](int file) { return Fails() ? Broken() : After(g_real.fsync(file)); },
            [](int file) { // a close that fails has closed
                const int result = g_real.close(file);
                return Fails() ? Broken() : After(result);
            },
            [](const char *from, const char *to) { return Fails() ? Broken() : After(g_real.rename(from, to)); },
            [](const char *path) { return Fails() ? Broken() : After(g_real.unlink(path)); }};
}

class Sweep : public InFolder
{
protected:
    void SetUp() override
    {
        InFolder::SetUp();
        g_real = pkgsign::g_systemCalls;
        old = Read("pki/pki.json");
    }
    void TearDown() override
    {
        pkgsign::g_systemCalls = g_real;
    }

    // Changes the folder with the n-th call failing.
    pkgsign::Status Change(int n, bool crashes) const
    {
        g_left = n;
        g_crashes = crashes;
        pkgsign::g_systemCalls = Watched();
        const pkgsign::Status status = pkgsign::UpdatePki(Path("pki"), [](pkgsign::Pki *pki) {
            pki->organization = "Changed";
            return pkgsign::Status();
        });
        pkgsign::g_systemCalls = g_real;
        return status;
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
        const pkgsign::Status status = Change(n, false);
        EXPECT_TRUE(IsNew() || Read("pki/pki.json") == old) << n;
        EXPECT_TRUE(!status.ok || IsNew()) << n;
        EXPECT_EQ(files, CountFiles()) << n;
        if (g_left > 0) { // no call was left to fail
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
            (void)Change(n, true);
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
