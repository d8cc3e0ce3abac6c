// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The workstation's log, by several threads of a process of its own: where its lines go is decided with the first.
#include "qzlog.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace
{

constexpr int THREADS = 4;
constexpr int LINES = 300; // of each thread

// A text whose octets are all `octet`, which becomes a line longer than what a pipe takes in one piece (PIPE_BUF).
std::string Message(const std::string &octet)
{
    std::string message;
    for (int i = 0; i < 4000; ++i) {
        message += octet;
    }
    return message;
}

// Logs by all threads, and ends the process.
[[noreturn]] void LogAndExit(int descriptor)
{
    (void)dup2(descriptor, STDERR_FILENO);
    (void)setenv("QZLOG", "stderr", 1);
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([i] {
            for (int n = 0; n < LINES; ++n) {
                qzlog(1014, QZLOG_ERROR, "file", 7, "Function", 0, "%s\r\n",
                      Message(std::string(1, static_cast<char>(1 + i))).c_str());
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    _exit(0);
}

std::string ReadAll(int descriptor)
{
    std::string text;
    char piece[512]; // slower than those who write
    for (ssize_t size = 0; (size = read(descriptor, piece, sizeof(piece))) > 0;) {
        text.append(piece, static_cast<size_t>(size));
    }
    return text;
}

} // namespace

TEST(PlatformLog, LinesOfThreadsDoNotMix)
{
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        LogAndExit(ends[1]);
    }
    (void)close(ends[1]);
    const std::string text = ReadAll(ends[0]);
    (void)close(ends[0]);
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    std::map<std::string, int> counts;
    for (size_t at = 0, end = 0; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
        counts[text.substr(at, end - at)] += 1;
    }
    std::map<std::string, int> expected;
    for (int i = 0; i < THREADS; ++i) {
        expected["ERROR 1014 file(7) Function: " + Message("\\x0" + std::to_string(1 + i))] = LINES;
    }
    EXPECT_EQ(THREADS, static_cast<int>(counts.size())) << "lines of other threads are among them";
    EXPECT_TRUE(expected == counts);
}
