// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The one entry that allocates.
#include "asn1/decode.h"

#include "tests/asn1/decode_fixture.h"

namespace
{

using DecodeRecord = LibraryTest;

const der::Bytes NAME = {0x30, 0x00};

} // namespace

TEST_F(DecodeRecord, IsOneZeroedAllocationOfTheItemsSize)
{
    void *record = nullptr;
    uint32_t consumed = 0;
    ASSERT_STATUS(SIGKIT_OK, SigkitAsnDecode(NAME.data(), 2, &g_itemSigkitX509Name, 0, &record, &consumed));
    EXPECT_EQ(2u, consumed);
    EXPECT_EQ(sizeof(SigkitX509Name), LastAllocationSize());
    EXPECT_EQ(1, LiveBlocks());
    EXPECT_EQ(nullptr, static_cast<SigkitX509Name *>(record)->items[9].items[9].value.data);
    SigkitAsnFree(record, &g_itemSigkitX509Name);
    SigkitAsnFree(nullptr, &g_itemSigkitX509Name);
}

TEST_F(DecodeRecord, OfAFailedDecodeIsFreed)
{
    void *record = &record;
    uint32_t consumed = 7;
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, SigkitAsnDecode(NAME.data(), 1, &g_itemSigkitX509Name, 0, &record, &consumed));
    EXPECT_EQ(&record, record);
    EXPECT_EQ(7u, consumed);
    FailAllocation(1);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, SigkitAsnDecode(NAME.data(), 2, &g_itemSigkitX509Name, 0, &record, &consumed));
}

TEST_F(DecodeRecord, NeedsEveryArgument)
{
    void *record = nullptr;
    uint32_t consumed = 0;
    const SigkitAsnItem *const item = &g_itemSigkitX509Name;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitAsnDecode(nullptr, 2, item, 0, &record, &consumed));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitAsnDecode(NAME.data(), 0, item, 0, &record, &consumed));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitAsnDecode(NAME.data(), 2, nullptr, 0, &record, &consumed));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitAsnDecode(NAME.data(), 2, item, 0, nullptr, &consumed));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitAsnDecode(NAME.data(), 2, item, 0, &record, nullptr));
}

TEST_F(DecodeRecord, NeedsADecodeFunction)
{
    void *record = nullptr;
    uint32_t consumed = 0;
    SigkitAsnItem item = g_itemSigkitX509Name;
    item.decode = &NO_FUNCTION;
    EXPECT_STATUS(SIGKIT_ERR_ASN_NO_DECODER, SigkitAsnDecode(NAME.data(), 2, &item, 0, &record, &consumed));
    EXPECT_EQ(0u, AllocationCalls());
}
