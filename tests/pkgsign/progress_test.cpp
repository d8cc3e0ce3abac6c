// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// How far a long content is read: on a terminal, after two seconds.
#include "pkgsign/commands/progress.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "pkgsign/crypto/pointers.h"
#include "tests/pkgsign/support.h"

namespace
{

class ProgressLine : public InFolder
{
protected:
    // The command that signs a pipe.
    std::vector<std::string> Command(const std::string &pipe, const std::string &out) const
    {
        return {PKGSIGN_PROGRAM, "sign", Path(pipe), "--out", Path(out), "--pki", Path("pki"), "--now", NOW};
    }
};

// Runs a program with its standard error on a terminal. The result: what it wrote there.
std::string RunOnTerminal(std::vector<std::string> command)
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_TRUE(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, ptsname(terminal), O_WRONLY | O_NOCTTY, 0);
    std::vector<char *> words = pkgsign::Pointers(&command);
    pid_t child = -1;
    EXPECT_EQ(0, posix_spawn(&child, words[0], &actions, nullptr, words.data(), environ));
    posix_spawn_file_actions_destroy(&actions);
    std::string text;
    char piece[256];
    for (ssize_t size = read(terminal, piece, sizeof(piece)); size > 0; size = read(terminal, piece, sizeof(piece))) {
        text.append(piece, static_cast<size_t>(size)); // until the last descriptor of the terminal is closed
    }
    int state = -1;
    EXPECT_EQ(child, waitpid(child, &state, 0));
    EXPECT_EQ(0, state);
    (void)close(terminal);
    return text;
}

// Writes a few MiB into a pipe, over this time.
void Feed(const std::string &pipe, int milliseconds)
{
    std::ofstream file(pipe, std::ios::binary);
    for (int i = 0; i < 10; ++i) {
        file << std::string(1 << 19, 'x') << std::flush;
        (void)usleep(static_cast<useconds_t>(milliseconds) * 100);
    }
}

TEST_F(ProgressLine, AppearsOnATerminalAfterTwoSecondsAndGoesAway)
{
    SKIP_WITHOUT_TERMINALS();
    for (const char *const name : {"slow", "slower", "quick"}) {
        ASSERT_EQ(0, mkfifo(Path(name).c_str(), 0600));
    }
    ProcessResult elsewhere;
    std::thread slow([&] { Feed(Path("slow"), 3000); });
    std::thread slower([&] { Feed(Path("slower"), 3000); });
    std::thread quick([&] { Feed(Path("quick"), 100); });
    std::thread noTerminal([&] { elsewhere = RunProcess(Command("slower", "out2")); });
    const std::string text = RunOnTerminal(Command("slow", "out1"));
    EXPECT_EQ("", RunOnTerminal(Command("quick", "out3")));
    for (std::thread *const thread : {&slow, &slower, &quick, &noTerminal}) {
        thread->join();
    }
    EXPECT_TRUE(Contains(text, "\r\x1b[K3 MiB")) << text; // there at half a MiB in 0.3 seconds
    EXPECT_FALSE(Contains(text, "0 MiB")) << text;
    EXPECT_EQ("\r\x1b[K", text.substr(text.size() - 4)) << text;
    EXPECT_EQ(0, elsewhere.exitStatus) << elsewhere.errors;
    EXPECT_EQ("", elsewhere.errors);
}

TEST_F(ProgressLine, IsABarWhereTheTotalIsKnown)
{
    constexpr uint64_t MIB = uint64_t{1} << 20;
    EXPECT_EQ("[..............................] 0 %, 0 of 1024 MiB", pkgsign::ProgressText(0, 1024 * MIB));
    EXPECT_EQ("[###############...............] 50 %, 512 of 1024 MiB", pkgsign::ProgressText(512 * MIB, 1024 * MIB));
    EXPECT_EQ("[##############################] 100 %, 1024 of 1024 MiB",
              pkgsign::ProgressText(1024 * MIB, 1024 * MIB));
    EXPECT_EQ("[##############################] 100 %, 2048 of 1024 MiB",
              pkgsign::ProgressText(2048 * MIB, 1024 * MIB)); // a file that grows
    EXPECT_EQ("7 MiB", pkgsign::ProgressText(7 * MIB + 1, 0));
    Write("content", std::string(3000, 'x'));
    EXPECT_EQ(3000u, pkgsign::StartProgress(Path("content")).total);
    EXPECT_EQ(0u, pkgsign::StartProgress("/dev/null").total);
}

} // namespace
