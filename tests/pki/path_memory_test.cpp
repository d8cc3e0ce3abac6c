// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pki/path_memory.h"

#include <string.h>

#include <iterator>

#include <gtest/gtest.h>

#include "sigkit/sigkit.h"

namespace
{

struct Place {
    uint32_t storeIndex;
    int32_t depth;
};

const Place CORNERS[] = {
    {1, 0}, {1, SIGKIT_PATH_DEPTH_MAX}, {SIGKIT_LIST_CAPACITY, 0}, {SIGKIT_LIST_CAPACITY, SIGKIT_PATH_DEPTH_MAX}};

} // namespace

TEST(PathMemory, RecallsEachPlaceByItselfUntilItForgets)
{
    for (const Place &kept : CORNERS) {
        InternalPathMemory memory = {};
        InternalForgetOutcomes(&memory);
        InternalKeepOutcome(&memory, kept.storeIndex, kept.depth, {SIGKIT_ERR_NO_CRL, SIGKIT_ERR_NO_ROOT});
        for (const Place &asked : CORNERS) {
            const InternalPathOutcome *const known = InternalRecallOutcome(&memory, asked.storeIndex, asked.depth);
            if (asked.storeIndex == kept.storeIndex && asked.depth == kept.depth) {
                ASSERT_NE(nullptr, known);
                EXPECT_EQ(SIGKIT_ERR_NO_CRL, known->status);
                EXPECT_EQ(SIGKIT_ERR_NO_ROOT, known->pathError);
            } else {
                EXPECT_EQ(nullptr, known);
            }
        }
        InternalForgetOutcomes(&memory);
        EXPECT_EQ(nullptr, InternalRecallOutcome(&memory, kept.storeIndex, kept.depth));
    }
}

TEST(PathMemory, KeepsAllPlacesSideBySide)
{
    InternalPathMemory memory = {};
    for (uint32_t i = 0; i < std::size(CORNERS); ++i) {
        InternalKeepOutcome(&memory, CORNERS[i].storeIndex, CORNERS[i].depth, {i, SIGKIT_OK});
    }
    for (uint32_t i = 0; i < std::size(CORNERS); ++i) {
        const InternalPathOutcome *const known =
            InternalRecallOutcome(&memory, CORNERS[i].storeIndex, CORNERS[i].depth);
        ASSERT_NE(nullptr, known);
        EXPECT_EQ(i, known->status);
    }
}

TEST(PathMemory, HasNoPlaceForWhatIsNotInTheStoreOrTooDeep)
{
    const Place places[] = {{0, 0}, {SIGKIT_LIST_CAPACITY + 1, 0}, {1, -1}, {1, SIGKIT_PATH_DEPTH_MAX + 1}};
    for (const Place &place : places) {
        InternalPathMemory memory = {};
        const InternalPathMemory before = memory;
        InternalKeepOutcome(&memory, place.storeIndex, place.depth, {SIGKIT_ERR_NO_CRL, SIGKIT_OK});
        EXPECT_EQ(0, memcmp(&before, &memory, sizeof(memory)));
        EXPECT_EQ(nullptr, InternalRecallOutcome(&memory, place.storeIndex, place.depth));
    }
}

TEST(PathMemory, AnswersOnlyWhenTheLiteralValidationsAreUsedUp)
{
    InternalPathMemory memory = {};
    memory.literal = 2;
    InternalKeepOutcome(&memory, 1, 1, {SIGKIT_ERR_NO_CRL, SIGKIT_OK});
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(nullptr, InternalRecallOutcome(&memory, 1, 1));
        EXPECT_EQ(nullptr, InternalRecallOutcome(&memory, 1, 1));
        EXPECT_NE(nullptr, InternalRecallOutcome(&memory, 1, 1));
        EXPECT_NE(nullptr, InternalRecallOutcome(&memory, 1, 1));
        InternalForgetOutcomes(&memory);
        InternalKeepOutcome(&memory, 1, 1, {SIGKIT_ERR_NO_CRL, SIGKIT_OK});
        EXPECT_NE(nullptr, InternalRecallOutcome(&memory, 1, 1)) << "the next validation of the operation has none";
        memory.nested = 0;
    }
}

TEST(PathMemory, LetsAWarningPassOnceInEachValidationWhenTheLiteralOnesAreUsedUp)
{
    InternalPathMemory memory = {};
    memory.literal = 1;
    EXPECT_TRUE(InternalMayWarn(&memory));
    EXPECT_TRUE(InternalMayWarn(&memory));
    memory.nested = 1;
    for (int validation = 0; validation < 2; ++validation) {
        EXPECT_TRUE(InternalMayWarn(&memory));
        EXPECT_FALSE(InternalMayWarn(&memory));
        EXPECT_FALSE(InternalMayWarn(&memory));
        InternalForgetOutcomes(&memory);
    }
}
