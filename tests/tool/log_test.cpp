// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "sigkit/sigkit_host.h"
#include "tests/support/recording_platform.h"

namespace
{

// What a call prints on standard output.
std::string Printed(int level, uint32_t errorCode, const char *message)
{
    ResetRecordingPlatform();
    testing::internal::CaptureStdout();
    SigkitLogPrint(level, "sigkit_log.log", 12, "Function", errorCode, message);
    return testing::internal::GetCapturedStdout();
}

} // namespace

TEST(LogPrint, PrintsALineThatEndsInCarriageReturnAndLineFeed)
{
    EXPECT_EQ("[ERROR]sigkit_log.log(12):(Function):text(err:88000001)\r\n", Printed(0, 0x88000001, "text"));
    EXPECT_EQ("[WARNING]sigkit_log.log(12):(Function):text\r\n", Printed(1, 0, "text"));
    EXPECT_EQ("[INFO]sigkit_log.log(12):(Function):\r\n", Printed(2, 0, ""));
    EXPECT_EQ("[DEBUG]sigkit_log.log(12):(Function):100%s(err:a)\r\n", Printed(3, 10, "100%s"));
}

TEST(LogPrint, HandsTheSameEventToThePlatform)
{
    const struct {
        int level;
        int platformLevel;
        int line;
    } rows[] = {{0, 3, 283}, {1, 4, 290}, {2, 5, 304}, {3, 7, 297}};
    for (const auto &row : rows) {
        (void)Printed(row.level, 0x88000001, "100%s");
        ASSERT_EQ(1u, g_recordingPlatform.logs.size());
        const RecordedLog &log = g_recordingPlatform.logs[0];
        EXPECT_EQ(1014u, log.moduleId);
        EXPECT_EQ(row.platformLevel, log.level);
        EXPECT_EQ("upgrade_sigkit_sdk_callback", log.file);
        EXPECT_EQ(row.line, log.line);
        EXPECT_EQ("SigkitLogPrint", log.function);
        EXPECT_EQ(0, log.reserved);
        EXPECT_EQ("sigkit_log.log(12):(Function):100%s", log.message) << "without the code";
    }
}

TEST(LogPrint, AnUnknownLevelIsPrintedBareAndGoesNowhereElse)
{
    for (const int level : {7, 4, -1}) {
        EXPECT_EQ("sigkit_log.log(12):(Function):text\r\n", Printed(level, 0, "text"));
        EXPECT_TRUE(g_recordingPlatform.logs.empty());
    }
}

TEST(LogPrint, ALongMessageIsPrintedWhole)
{
    const std::string message(5000, 'm');
    EXPECT_EQ("[ERROR]sigkit_log.log(12):(Function):" + message + "\r\n", Printed(0, 0, message.c_str()));
}

TEST(LogPrint, LinesOfThreadsDoNotMix)
{
    constexpr int threadCount = 4;
    constexpr int lineCount = 3000; // of each thread
    ResetRecordingPlatform();
    testing::internal::CaptureStdout();
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([i] {
            const std::string message(40, static_cast<char>('a' + i));
            for (int n = 0; n < lineCount; ++n) {
                SigkitLogPrint(0, "sigkit_log.log", 12, "Function", 0x88000001, message.c_str());
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    std::istringstream lines(testing::internal::GetCapturedStdout());
    std::map<std::string, int> counts;
    for (std::string line; std::getline(lines, line);) {
        counts[line] += 1;
    }
    std::map<std::string, int> expected;
    for (int i = 0; i < threadCount; ++i) {
        const std::string message(40, static_cast<char>('a' + i));
        expected["[ERROR]sigkit_log.log(12):(Function):" + message + "(err:88000001)\r"] = lineCount;
    }
    EXPECT_EQ(expected, counts);
}
