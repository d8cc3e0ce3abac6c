// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "core/log.h"

#include <string>

#include "sigkit/sigkit.h"
#include "tests/support/library_test.h"

namespace
{

using LogCallback = LibraryTest;
using LogMacros = LibraryTest;
using LogLevel = LibraryTestWith<int>;

// The line for a message that could not be formatted.
void ExpectFormatFailure(const LogLine &line)
{
    EXPECT_EQ(0, line.level);
    EXPECT_EQ("sigkit_log.log", line.file);
    EXPECT_EQ(49, line.line);
    EXPECT_EQ("SigkitLogCallback", line.function);
    EXPECT_EQ(0u, line.errorCode);
    EXPECT_EQ("format log message failed.", line.message);
}

// The line for a missing message buffer.
void ExpectAllocationFailure(const LogLine &line)
{
    EXPECT_EQ(0, line.level);
    EXPECT_EQ("sigkit_log.log", line.file);
    EXPECT_EQ(33, line.line);
    EXPECT_EQ("SigkitLogCallback", line.function);
    EXPECT_EQ(0x88000001u, line.errorCode);
    EXPECT_EQ("Allocate memory for log message failed.", line.message);
}

TEST_F(LogCallback, HandsAnErrorToTheHostWithItsTextFormatted)
{
    SigkitLogCallback(0, "sigkit_log.log", 321, "SomeFunction", 0x88100001, "%s of %d", "one", 12);
    ASSERT_EQ(1u, Lines().size());
    const LogLine line = Lines()[0];
    EXPECT_EQ(0, line.level);
    EXPECT_EQ("sigkit_log.log", line.file);
    EXPECT_EQ(321, line.line);
    EXPECT_EQ("SomeFunction", line.function);
    EXPECT_EQ(0x88100001u, line.errorCode);
    EXPECT_EQ("one of 12", line.message);
}

TEST_F(LogCallback, HandsAWarningToTheHost)
{
    SigkitLogCallback(1, "sigkit_log.log", 5, "SomeFunction", 0, "careful");
    EXPECT_EQ(std::vector<std::string>{"W SomeFunction 0 careful"}, LineTexts());
}

TEST_P(LogLevel, PrintsNothingAndAllocatesNothing)
{
    SigkitLogCallback(GetParam(), "sigkit_log.log", 5, "SomeFunction", 0x88100001, "text");
    EXPECT_TRUE(Lines().empty());
    EXPECT_EQ(0u, AllocationCalls());
}

INSTANTIATE_TEST_SUITE_P(BeyondWarning, LogLevel, ::testing::Values(2, 3, 4, 7, -1, INT32_MAX, INT32_MIN));

TEST_F(LogCallback, PrintsNothingAndAllocatesNothingWithoutAFile)
{
    SigkitLogCallback(0, nullptr, 5, "SomeFunction", 0x88100001, "text");
    EXPECT_TRUE(Lines().empty());
    EXPECT_EQ(0u, AllocationCalls());
}

TEST_F(LogCallback, PrintsNothingAndAllocatesNothingWithoutAFunction)
{
    SigkitLogCallback(0, "sigkit_log.log", 5, nullptr, 0x88100001, "text");
    EXPECT_TRUE(Lines().empty());
    EXPECT_EQ(0u, AllocationCalls());
}

TEST_F(LogCallback, PrintsAnEmptyMessageForANullFormat)
{
    SigkitLogCallback(0, "sigkit_log.log", 5, "SomeFunction", 0x88300601, nullptr);
    ASSERT_EQ(1u, Lines().size());
    EXPECT_EQ(0x88300601u, Lines()[0].errorCode);
    EXPECT_EQ(std::optional<std::string>(""), Lines()[0].message);
    EXPECT_EQ(0u, g_recordingHost.vsnprintfS.calls);
}

TEST_F(LogCallback, LogsAFormatFailureBeforeAnEmptyFormat)
{
    SigkitLogCallback(0, "sigkit_log.log", 5, "SomeFunction", 0x88300601, "");
    ASSERT_EQ(2u, Lines().size());
    ExpectFormatFailure(Lines()[0]);
    EXPECT_EQ("SomeFunction", Lines()[1].function);
    EXPECT_EQ(0x88300601u, Lines()[1].errorCode);
    EXPECT_EQ(std::optional<std::string>(""), Lines()[1].message);
}

TEST_F(LogCallback, PrintsTheRawFormatOfAWarningThatExpandsToNothing)
{
    SigkitLogCallback(1, "sigkit_log.log", 77, "SomeFunction", 0x88200103, "%s", "");
    ASSERT_EQ(2u, Lines().size());
    ExpectFormatFailure(Lines()[0]);
    EXPECT_EQ(1, Lines()[1].level);
    EXPECT_EQ(77, Lines()[1].line);
    EXPECT_EQ("SomeFunction", Lines()[1].function);
    EXPECT_EQ(0x88200103u, Lines()[1].errorCode);
    EXPECT_EQ("%s", Lines()[1].message);
}

TEST_F(LogCallback, PrintsTheRawFormatWhenTheFormatterFails)
{
    for (const int result : {-1, 0, -2000}) {
        ResetRecordings();
        g_recordingHost.vsnprintfS.failAt = 1;
        g_recordingHost.vsnprintfS.failure = result;
        SigkitLogCallback(0, "sigkit_log.log", 5, "SomeFunction", 0x88000101, "Can not open file '%s'.", "a");
        ASSERT_EQ(2u, Lines().size());
        ExpectFormatFailure(Lines()[0]);
        EXPECT_EQ("E SomeFunction 88000101 Can not open file '%s'.", LineTexts()[1]);
        EXPECT_EQ(0, LiveBlocks());
    }
}

TEST_F(LogCallback, PrintsAMessageOf2047CharactersWhole)
{
    const std::string longest(2047, 'x');
    SigkitLogCallback(0, "sigkit_log.log", 5, "SomeFunction", 0, "%s", longest.c_str());
    ASSERT_EQ(1u, Lines().size());
    EXPECT_EQ(longest, Lines()[0].message);
}

TEST_F(LogCallback, PrintsTheRawFormatOfAMessageOf2048Characters)
{
    const std::string tooLong(2048, 'x');
    SigkitLogCallback(0, "sigkit_log.log", 5, "SomeFunction", 0, "%s", tooLong.c_str());
    ASSERT_EQ(2u, Lines().size());
    ExpectFormatFailure(Lines()[0]);
    EXPECT_EQ("%s", Lines()[1].message);
}

TEST_F(LogCallback, AllocatesOneBufferOf2048OctetsForAPrintedEvent)
{
    SigkitLogCallback(0, "sigkit_log.log", 5, "SomeFunction", 0, "text");
    EXPECT_EQ(1u, AllocationCalls());
    EXPECT_EQ(2048u, LastAllocationSize());
    EXPECT_EQ(0, LiveBlocks());
}

TEST_F(LogCallback, PrintsTheRawFormatWithoutMemory)
{
    FailAllocation(1);
    SigkitLogCallback(1, "sigkit_log.log", 5, "SomeFunction", 0x88000101, "Can not open file '%s'.", "a");
    ASSERT_EQ(2u, Lines().size());
    ExpectAllocationFailure(Lines()[0]);
    EXPECT_EQ(1, Lines()[1].level);
    EXPECT_EQ(5, Lines()[1].line);
    EXPECT_EQ("W SomeFunction 88000101 Can not open file '%s'.", LineTexts()[1]);
}

TEST_F(LogCallback, PrintsNoTextForANullFormatWithoutMemory)
{
    FailAllocation(1);
    SigkitLogCallback(0, "sigkit_log.log", 5, "SomeFunction", 0x88000101, nullptr);
    ASSERT_EQ(2u, Lines().size());
    ExpectAllocationFailure(Lines()[0]);
    EXPECT_EQ(std::nullopt, Lines()[1].message);
}

TEST_F(LogCallback, PrintsTheRawFormatWhenTheBufferCannotBeZeroed)
{
    g_recordingHost.memsetS.failAt = 1;
    g_recordingHost.memsetS.failure = 34;
    SigkitLogCallback(0, "sigkit_log.log", 5, "SomeFunction", 0x88000101, "%d files", 3);
    ASSERT_EQ(2u, Lines().size());
    ExpectAllocationFailure(Lines()[0]);
    EXPECT_EQ("E SomeFunction 88000101 %d files", LineTexts()[1]);
    EXPECT_EQ(0, LiveBlocks());
}

uint32_t FailsWithText()
{
    return SIGKIT_FAIL(SIGKIT_ERR_FILE_OPEN, "Can not open file '%s'.", "x.crl");
}

uint32_t FailsWithoutText()
{
    return SIGKIT_TRAIL(SIGKIT_ERR_FILE_OPEN);
}

void Warns()
{
    SIGKIT_WARN(SIGKIT_ERR_CRL_EXPIRED, "%d days", 3);
}

TEST_F(LogMacros, AFailureIsLoggedUnderItsFunctionAndReturned)
{
    EXPECT_STATUS(SIGKIT_ERR_FILE_OPEN, FailsWithText());
    EXPECT_EQ(std::vector<std::string>{"E FailsWithText 88000101 Can not open file 'x.crl'."}, LineTexts());
    EXPECT_EQ("sigkit_log.log", Lines().at(0).file);
}

TEST_F(LogMacros, AFailureWithoutATextIsLoggedWithItsCodeAlone)
{
    EXPECT_STATUS(SIGKIT_ERR_FILE_OPEN, FailsWithoutText());
    EXPECT_EQ(std::vector<std::string>{"E FailsWithoutText 88000101 -"}, LineTexts());
}

TEST_F(LogMacros, AWarningIsLoggedUnderItsFunction)
{
    Warns();
    EXPECT_EQ(std::vector<std::string>{"W Warns 88200103 3 days"}, LineTexts());
}

} // namespace
