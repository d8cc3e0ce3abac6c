// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "core/list.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "sigkit/sigkit.h"
#include "tests/support/library_test.h"

namespace
{

std::vector<void *> g_destroyed;
std::vector<std::pair<int, int>> g_compared;
SigkitList *g_shrinking = nullptr;

void RememberDestroyed(void *item)
{
    g_destroyed.push_back(item);
}

// Takes the last entry off the list that is being freed.
void ShrinkList(void *item)
{
    g_destroyed.push_back(item);
    --g_shrinking->count;
}

// Ascending by the tens alone, so that entries can be equal and still be distinguished.
int32_t CompareTens(const void *first, const void *second)
{
    const int a = *static_cast<const int *>(first);
    const int b = *static_cast<const int *>(second);
    g_compared.emplace_back(a, b);
    return a / 10 - b / 10;
}

class List : public LibraryTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        g_destroyed.clear();
        g_compared.clear();
    }

    // Puts numbers into the list.
    void Fill(const std::vector<int> &values)
    {
        numbers = values;
        for (int &number : numbers) {
            ASSERT_STATUS(SIGKIT_OK, SigkitListAdd(&list, &number));
        }
    }

    std::vector<int> Values() const
    {
        std::vector<int> values;
        for (uint32_t index = 0; index < list.count; ++index) {
            values.push_back(*static_cast<const int *>(list.items[index]));
        }
        return values;
    }

    SigkitList list = {};
    std::vector<int> numbers;
};

using ListAdd = List;
using ListFree = List;
using ListSort = List;

TEST_F(ListAdd, RefusesANullListAndANullItem)
{
    int item = 0;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitListAdd(nullptr, &item));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitListAdd(&list, nullptr));
    EXPECT_EQ(0u, list.count);
}

TEST_F(ListAdd, KeepsTheOrderInWhichEntriesCame)
{
    Fill({3, 1, 2});
    EXPECT_EQ((std::vector<int>{3, 1, 2}), Values());
    EXPECT_EQ(&numbers[0], list.items[0]);
}

TEST_F(ListAdd, TakesSixteenEntriesAndRefusesTheSeventeenth)
{
    int items[17] = {};
    for (uint32_t index = 0; index < 16; ++index) {
        ASSERT_STATUS(SIGKIT_OK, SigkitListAdd(&list, &items[index]));
        ASSERT_EQ(index + 1, list.count);
    }
    const SigkitList before = list;
    EXPECT_STATUS(SIGKIT_ERR_LIST_FULL, SigkitListAdd(&list, &items[16]));
    EXPECT_EQ(16u, list.count);
    EXPECT_TRUE(std::equal(std::begin(before.items), std::end(before.items), std::begin(list.items)));
}

TEST_F(ListAdd, AllocatesNothing)
{
    Fill({1, 2, 3});
    EXPECT_EQ(0u, AllocationCalls());
}

TEST_F(ListFree, DestroysEveryEntryInOrderAndEmptiesTheList)
{
    Fill({1, 2, 3});
    SigkitListFree(&list, RememberDestroyed);
    EXPECT_EQ((std::vector<void *>{&numbers[0], &numbers[1], &numbers[2]}), g_destroyed);
    EXPECT_EQ(0u, list.count);
}

TEST_F(ListFree, LeavesTheOldPointersInTheSlots)
{
    Fill({1, 2});
    SigkitListFree(&list, RememberDestroyed);
    EXPECT_EQ(&numbers[0], list.items[0]);
    EXPECT_EQ(&numbers[1], list.items[1]);
}

TEST_F(ListFree, DoesNothingWithoutADestructor)
{
    Fill({1, 2, 3});
    SigkitListFree(&list, nullptr);
    EXPECT_EQ(3u, list.count);
    EXPECT_EQ((std::vector<int>{1, 2, 3}), Values());
}

TEST_F(ListFree, DoesNothingWithoutAList)
{
    SigkitListFree(nullptr, RememberDestroyed);
    EXPECT_TRUE(g_destroyed.empty());
}

TEST_F(ListFree, DestroysNothingOfAnEmptyList)
{
    SigkitListFree(&list, RememberDestroyed);
    EXPECT_TRUE(g_destroyed.empty());
}

TEST_F(ListFree, FollowsACountThatADestructorChanges)
{
    Fill({1, 2, 3, 4});
    g_shrinking = &list;
    SigkitListFree(&list, ShrinkList);
    EXPECT_EQ((std::vector<void *>{&numbers[0], &numbers[1]}), g_destroyed);
    EXPECT_EQ(0u, list.count);
}

TEST_F(ListFree, MakesRoomForNewEntries)
{
    Fill(std::vector<int>(16, 1));
    SigkitListFree(&list, RememberDestroyed);
    Fill({7});
    EXPECT_EQ((std::vector<int>{7}), Values());
}

TEST_F(ListSort, RefusesANullListAndANullComparator)
{
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitListSort(nullptr, CompareTens));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitListSort(&list, nullptr));
}

TEST_F(ListSort, ComparesNothingInAnEmptyList)
{
    EXPECT_STATUS(SIGKIT_OK, SigkitListSort(&list, CompareTens));
    EXPECT_TRUE(g_compared.empty());
}

TEST_F(ListSort, ComparesNothingInAListOfOneEntry)
{
    Fill({10});
    EXPECT_STATUS(SIGKIT_OK, SigkitListSort(&list, CompareTens));
    EXPECT_TRUE(g_compared.empty());
    EXPECT_EQ((std::vector<int>{10}), Values());
}

TEST_F(ListSort, ComparesNeighboursFromTheBackInEachPass)
{
    Fill({30, 20, 10});
    EXPECT_STATUS(SIGKIT_OK, SigkitListSort(&list, CompareTens));
    EXPECT_EQ((std::vector<int>{10, 20, 30}), Values());
    EXPECT_EQ((std::vector<std::pair<int, int>>{{20, 10}, {30, 10}, {30, 20}}), g_compared);
}

TEST_F(ListSort, EndsAfterAPassWithoutASwap)
{
    Fill({10, 20, 30, 40});
    EXPECT_STATUS(SIGKIT_OK, SigkitListSort(&list, CompareTens));
    EXPECT_EQ((std::vector<std::pair<int, int>>{{30, 40}, {20, 30}, {10, 20}}), g_compared);
}

TEST_F(ListSort, KeepsTheOrderOfEqualEntries)
{
    Fill({21, 11, 22, 12, 23, 13});
    EXPECT_STATUS(SIGKIT_OK, SigkitListSort(&list, CompareTens));
    EXPECT_EQ((std::vector<int>{11, 12, 13, 21, 22, 23}), Values());
}

TEST_F(ListSort, SortsAFullListFromItsWorstOrder)
{
    std::vector<int> values;
    for (int value = 16; value > 0; --value) {
        values.push_back(value * 10);
    }
    Fill(values);
    EXPECT_STATUS(SIGKIT_OK, SigkitListSort(&list, CompareTens));
    std::sort(values.begin(), values.end());
    EXPECT_EQ(values, Values());
    EXPECT_EQ(16u * 15u / 2u, g_compared.size());
}

TEST_F(ListSort, SortsEveryOrderOfFourEntries)
{
    std::vector<int> values = {10, 20, 30, 40};
    do {
        list = {};
        Fill(values);
        EXPECT_STATUS(SIGKIT_OK, SigkitListSort(&list, CompareTens));
        EXPECT_EQ((std::vector<int>{10, 20, 30, 40}), Values());
    } while (std::next_permutation(values.begin(), values.end()));
}

} // namespace
