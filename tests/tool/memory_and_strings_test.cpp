// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "tests/support/recording_platform.h"

namespace
{

class Memory : public testing::Test
{
protected:
    void SetUp() override
    {
        ResetRecordingPlatform();
        g_recordingPlatform.recordMemory = true;
    }
};

} // namespace

TEST_F(Memory, ComesFromThePlatformAndGoesBackToIt)
{
    void *block = nullptr;
    ASSERT_EQ(SIGKIT_OK, SigkitMalloc(&block, 24));
    SigkitFree(block);
    ASSERT_EQ(1u, g_recordingPlatform.allocationCalls.size());
    const RecordedAllocation &call = g_recordingPlatform.allocationCalls[0];
    EXPECT_EQ(1014u, call.moduleId);
    EXPECT_EQ(24u, call.size);
    EXPECT_EQ(0u, call.flags);
    EXPECT_EQ("SigkitMalloc", call.function);
    EXPECT_EQ(52, call.line);
    EXPECT_EQ(call.block, block);
    ASSERT_EQ(1u, g_recordingPlatform.releaseCalls.size());
    EXPECT_EQ(block, g_recordingPlatform.releaseCalls[0].block);
    EXPECT_EQ("SigkitFree", g_recordingPlatform.releaseCalls[0].function);
    EXPECT_EQ(72, g_recordingPlatform.releaseCalls[0].line);
}

TEST_F(Memory, OfNoOctetsIsNoBlock)
{
    void *block = &block;
    EXPECT_EQ(SIGKIT_OK, SigkitMalloc(&block, 0));
    EXPECT_EQ(nullptr, block);
    EXPECT_EQ(0u, g_recordingPlatform.allocations);
}

TEST_F(Memory, NeedsAPlaceForItsAddress)
{
    EXPECT_EQ(SIGKIT_ERR_PARAM, SigkitMalloc(nullptr, 24));
    EXPECT_EQ(0u, g_recordingPlatform.allocations);
}

TEST_F(Memory, ThatRunsOutIsReported)
{
    void *block = &block;
    g_recordingPlatform.failAt = 1;
    EXPECT_EQ(SIGKIT_ERR_NO_MEMORY, SigkitMalloc(&block, 24));
    EXPECT_EQ(nullptr, block);
}

TEST_F(Memory, FreeingNothingDoesNothing)
{
    SigkitFree(nullptr);
    EXPECT_TRUE(g_recordingPlatform.releaseCalls.empty());
}

TEST(Strings, MemCmpComparesOctetsAndRefusesNull)
{
    EXPECT_EQ(0, SigkitMemCmp("ab\0c", "ab\0d", 3));
    EXPECT_LT(SigkitMemCmp("abc", "abd", 3), 0);
    EXPECT_GT(SigkitMemCmp("\xff", "a", 1), 0);
    EXPECT_EQ(-1, SigkitMemCmp(nullptr, "a", 0));
    EXPECT_EQ(-1, SigkitMemCmp("a", nullptr, 0));
}

TEST(Strings, StrNCmpComparesNoMoreThanItMay)
{
    EXPECT_EQ(0, SigkitStrNCmp("abc", "abd", 2));
    EXPECT_LT(SigkitStrNCmp("abc", "abd", 3), 0);
    EXPECT_EQ(-1, SigkitStrNCmp(nullptr, "a", 1));
    EXPECT_EQ(-1, SigkitStrNCmp("a", nullptr, 1));
}

TEST(Strings, StrCmpSaysEqualOrUnequalOnly)
{
    const char text[] = "abc";
    const char same[] = "abc";
    EXPECT_EQ(0, SigkitStrCmp(text, text));
    EXPECT_EQ(0, SigkitStrCmp(text, same));
    EXPECT_LT(SigkitStrCmp("abc", "abd"), 0);
    EXPECT_GT(SigkitStrCmp("abd", "abc"), 0);
    EXPECT_EQ(-1, SigkitStrCmp("ab", "abc"));
    EXPECT_EQ(-1, SigkitStrCmp("b", "abc"));
    EXPECT_EQ(-1, SigkitStrCmp("abc", "ab")) << "whichever is longer";
    EXPECT_EQ(-1, SigkitStrCmp(nullptr, "a"));
    EXPECT_EQ(-1, SigkitStrCmp("a", nullptr));
}

TEST(Strings, StrStrAndStrChrFindTheFirst)
{
    const char text[] = "a-b-\xe9";
    EXPECT_EQ(text + 1, SigkitStrStr(text, "-"));
    EXPECT_EQ(nullptr, SigkitStrStr(text, "c"));
    EXPECT_EQ(nullptr, SigkitStrStr(nullptr, "c"));
    EXPECT_EQ(nullptr, SigkitStrStr(text, nullptr));
    EXPECT_EQ(text + 1, SigkitStrChr(text, '-'));
    EXPECT_EQ(text + 4, SigkitStrChr(text, 0xE9));
    EXPECT_EQ(text + 1, SigkitStrChr(text, 0x100 + '-')) << "taken as an octet";
    EXPECT_EQ(nullptr, SigkitStrChr(text, 'c'));
    EXPECT_EQ(nullptr, SigkitStrChr(nullptr, 'c'));
}

TEST(Strings, StrlenOfNullIsNothing)
{
    EXPECT_EQ(3u, SigkitStrlen("abc"));
    EXPECT_EQ(0u, SigkitStrlen(""));
    EXPECT_EQ(0u, SigkitStrlen(nullptr));
}
