// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The fixtures of the library's tests: every test begins with empty recordings, and ends with nothing alive.
#ifndef SUPPORT_LIBRARY_TEST_H
#define SUPPORT_LIBRARY_TEST_H

#include <gtest/gtest.h>

#include "tests/support/recording_host.h"
#include "tests/support/recording_platform.h"
#include "tests/support/status_names.h"

// Forgets everything that host and platform recorded, and every fault that was asked for.
inline void ResetRecordings()
{
    ResetRecordingHost();
    ResetRecordingPlatform();
}

// Allocations asked for since the last reset, failed ones included.
inline uint32_t AllocationCalls()
{
    return g_recordingPlatform.allocations;
}

// Octets of the last allocation asked for.
inline size_t LastAllocationSize()
{
    return g_recordingPlatform.lastSize;
}

// Blocks that are allocated and not freed.
inline int32_t LiveBlocks()
{
    return g_recordingPlatform.liveBlocks;
}

// Lets the n-th allocation from now on fail, counted from 1.
inline void FailAllocation(uint32_t n)
{
    g_recordingPlatform.failAt = g_recordingPlatform.allocations + n;
}

class LibraryTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ResetRecordings();
    }

    void TearDown() override
    {
        EXPECT_EQ(0, LiveBlocks()) << "blocks that nobody freed";
        EXPECT_EQ(0, LiveHostObjects()) << "files or contexts that nobody released";
    }
};

template <typename Parameter>
class LibraryTestWith : public LibraryTest, public ::testing::WithParamInterface<Parameter>
{
};

#endif
