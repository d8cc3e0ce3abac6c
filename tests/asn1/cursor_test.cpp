// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/cursor.h"

#include "tests/asn1/decode_fixture.h"

namespace
{

const uint8_t kThree[] = {0x10, 0x20, 0x30};

class Cursor : public LibraryTest
{
protected:
    SigkitDecodeBuf buf = {kThree, 3, 0};
    uint8_t octet = 0xA5;
};

using BufInit = Cursor;
using BufGet = Cursor;

TEST_F(BufInit, PointsAtTheStartOfTheInput)
{
    buf = {nullptr, 0, 7};
    EXPECT_STATUS(SIGKIT_OK, SigkitBufInit(&buf, kThree, 3));
    EXPECT_EQ(kThree, buf.data);
    EXPECT_EQ(3u, buf.size);
    EXPECT_EQ(0u, buf.pos);
}

TEST_F(BufInit, RefusesNullAndEmptyArguments)
{
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitBufInit(nullptr, kThree, 3));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitBufInit(&buf, nullptr, 3));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitBufInit(&buf, kThree, 0));
}

TEST_F(BufGet, ReadsEveryOctetInTurn)
{
    for (const uint8_t expected : kThree) {
        ASSERT_STATUS(SIGKIT_OK, SigkitBufGet(&buf, &octet));
        EXPECT_EQ(expected, octet);
    }
    EXPECT_EQ(3u, buf.pos);
}

TEST_F(BufGet, ChangesNothingAtTheEnd)
{
    buf.pos = 3;
    EXPECT_STATUS(SIGKIT_ERR_BUFFER_END, SigkitBufGet(&buf, &octet));
    EXPECT_EQ(3u, buf.pos);
    EXPECT_EQ(0xA5, octet);
}

TEST_F(BufGet, RefusesNullArguments)
{
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitBufGet(nullptr, &octet));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitBufGet(&buf, nullptr));
    EXPECT_EQ(0u, buf.pos);
}

// ---- Seeking -------------------------------------------------------------------------------------------------------

struct SeekCase {
    const char *name;
    uint32_t size;
    uint32_t pos;
    int32_t delta;
    int32_t whence;
    uint32_t status;
    uint32_t newPos;
};

const SeekCase kSeekCases[] = {
    {"ForwardInsideTheInput", 3, 1, 1, 1, SIGKIT_OK, 2},
    {"BackwardInsideTheInput", 3, 2, -1, 1, SIGKIT_OK, 1},
    {"ByNothing", 3, 2, 0, 1, SIGKIT_OK, 2},
    {"ToTheStart", 3, 3, -3, 1, SIGKIT_OK, 0},
    {"ToTheEnd", 3, 0, 3, 1, SIGKIT_OK, 3},
    {"OneBeforeTheEnd", 3, 0, 2, 1, SIGKIT_OK, 2},
    {"OneBehindTheEndIsRefused", 3, 0, 4, 1, SIGKIT_ERR_UNKNOWN, 0},
    {"OneBehindTheEndFromTheEndIsRefused", 3, 3, 1, 1, SIGKIT_ERR_UNKNOWN, 3},
    {"OneBeforeTheStartIsRefused", 3, 2, -3, 1, SIGKIT_ERR_UNKNOWN, 2},
    {"LargestDeltaIsRefused", 3, 1, INT32_MAX, 1, SIGKIT_ERR_UNKNOWN, 1},
    {"SmallestDeltaIsRefused", 3, 1, INT32_MIN, 1, SIGKIT_ERR_UNKNOWN, 1},
    {"FromTheStartIsNotKnown", 3, 1, 1, 0, SIGKIT_ERR_UNKNOWN, 1},
    {"FromTheEndIsNotKnown", 3, 1, 1, 2, SIGKIT_ERR_UNKNOWN, 1},
    {"FromElsewhereIsNotKnown", 3, 1, 0, -1, SIGKIT_ERR_UNKNOWN, 1},
    {"UpToTheLargestSignedPosition", 0x90000000, 0x7FFFFFFE, 1, 1, SIGKIT_OK, 0x7FFFFFFF},
    {"PastTheLargestSignedPositionIsRefused", 0x90000000, 0x7FFFFFFF, 1, 1, SIGKIT_ERR_UNKNOWN, 0x7FFFFFFF},
    {"InsideALargerInputThanSignedPositionsReachIsRefused", 0x90000000, 0x80000000, 0, 1, SIGKIT_ERR_UNKNOWN,
     0x80000000},
};

class Seek : public LibraryTestWith<SeekCase>
{
};

TEST_P(Seek, MovesTheCursorOrLeavesIt)
{
    const SeekCase &c = GetParam();
    SigkitDecodeBuf buf = {kThree, c.size, c.pos};
    EXPECT_STATUS(c.status, SigkitBufSeek(&buf, c.delta, c.whence));
    EXPECT_EQ(c.newPos, buf.pos);
}

INSTANTIATE_TEST_SUITE_P(Cases, Seek, ::testing::ValuesIn(kSeekCases), CASE_NAME);

TEST_F(Cursor, SeekRefusesANullCursor)
{
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitBufSeek(nullptr, 0, 1));
}

} // namespace
