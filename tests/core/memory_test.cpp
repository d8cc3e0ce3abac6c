// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "core/memory.h"

#include <string.h>

#include "sigkit/sigkit.h"
#include "tests/support/library_test.h"

namespace
{

using MallocWith0 = LibraryTest;
using NewRecord = LibraryTest;
using CopyBytes = LibraryTest;

struct Record {
    uint64_t first;
    uint8_t rest[100];
};

TEST_F(MallocWith0, RefusesANullResult)
{
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitMallocWith0(nullptr, 16));
    EXPECT_EQ(0u, AllocationCalls());
}

TEST_F(MallocWith0, GivesNoBlockForZeroOctets)
{
    int anything = 0;
    void *block = &anything;
    EXPECT_STATUS(SIGKIT_OK, SigkitMallocWith0(&block, 0));
    EXPECT_EQ(nullptr, block);
    EXPECT_EQ(0u, AllocationCalls());
    EXPECT_EQ(0u, g_recordingHost.memsetS.calls);
}

TEST_F(MallocWith0, ZeroesEveryOctetOfTheBlock)
{
    for (const size_t size : {size_t{1}, size_t{7}, size_t{8}, size_t{4096}}) {
        void *dirty = nullptr;
        ASSERT_STATUS(SIGKIT_OK, SigkitMalloc(&dirty, size));
        memset(dirty, 0xA5, size);
        SigkitFree(dirty); // so that the allocator has a dirty block to give again

        void *block = nullptr;
        ASSERT_STATUS(SIGKIT_OK, SigkitMallocWith0(&block, size));
        ASSERT_NE(nullptr, block);
        for (size_t index = 0; index < size; ++index) {
            ASSERT_EQ(0, static_cast<uint8_t *>(block)[index]) << "octet " << index << " of " << size;
        }
        SigkitFree(block);
    }
}

TEST_F(MallocWith0, ReturnsTheHostsCodeWhenThereIsNoMemory)
{
    int anything = 0;
    void *block = &anything;
    FailAllocation(1);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, SigkitMallocWith0(&block, 16));
    EXPECT_EQ(nullptr, block);
    EXPECT_EQ(0u, g_recordingHost.memsetS.calls);
}

TEST_F(MallocWith0, FreesTheBlockAndKeepsItsAddressWhenZeroingFails)
{
    void *block = nullptr;
    g_recordingHost.memsetS.failAt = 1;
    g_recordingHost.memsetS.failure = 34;
    EXPECT_EQ(34u, SigkitMallocWith0(&block, 16));
    EXPECT_NE(nullptr, block);
    EXPECT_EQ(1u, AllocationCalls());
    EXPECT_EQ(0, LiveBlocks());
}

TEST_F(NewRecord, GivesAZeroedRecord)
{
    Record *record = nullptr;
    ASSERT_STATUS(SIGKIT_OK, InternalNewRecord(&record));
    const Record zero = {};
    EXPECT_EQ(0, memcmp(&zero, record, sizeof(zero)));
    SigkitFree(record);
}

TEST_F(NewRecord, LeavesTheResultAloneOnFailure)
{
    Record elsewhere = {};
    Record *record = &elsewhere;
    FailAllocation(1);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, InternalNewRecord(&record));
    EXPECT_EQ(&elsewhere, record);

    ResetRecordings();
    g_recordingHost.memsetS.failAt = 1;
    g_recordingHost.memsetS.failure = 34;
    EXPECT_EQ(34u, InternalNewRecord(&record));
    EXPECT_EQ(&elsewhere, record);
}

TEST_F(CopyBytes, CopiesAndPutsZerosBehind)
{
    const uint8_t data[] = {'a', 'b', 'c', 'd'};
    uint8_t *copy = nullptr;
    ASSERT_STATUS(SIGKIT_OK, InternalCopyBytes(&copy, data, 3, 1));
    EXPECT_NE(data, copy);
    EXPECT_STREQ("abc", reinterpret_cast<const char *>(copy));
    SigkitFree(copy);

    ASSERT_STATUS(SIGKIT_OK, InternalCopyBytes(&copy, data, 4, 0));
    EXPECT_EQ(0, memcmp(data, copy, 4));
    SigkitFree(copy);
}

TEST_F(CopyBytes, LeavesNothingBehindOnFailure)
{
    const uint8_t data[] = {'a', 'b', 'c'};
    uint8_t mark = 0;
    uint8_t *copy = &mark;
    FailAllocation(1);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, InternalCopyBytes(&copy, data, 3, 1));
    EXPECT_EQ(&mark, copy);

    ResetRecordings();
    g_recordingHost.memcpyS.failAt = 1;
    g_recordingHost.memcpyS.failure = 34;
    EXPECT_EQ(34u, InternalCopyBytes(&copy, data, 3, 1));
    EXPECT_EQ(&mark, copy);
    EXPECT_EQ(1u, AllocationCalls());
    EXPECT_EQ(0, LiveBlocks());
}

} // namespace
