// Tables, accounts and index pools.
#include <set>
#include <string>
#include <vector>

#include "card/sim/index_pool.h"
#include "card/sim/table.h"
#include "tests/card/sim/card_test.h"

namespace sim {
namespace {

using Numbers = Table<u32, int>;

TEST(TableTest, AddFindRemove) {
    Account account{10};
    Numbers table(account);
    int *entry = nullptr;
    ASSERT_EQ(table.add(7, &entry), 0u);
    *entry = 70;
    EXPECT_EQ(*table.find(7), 70);
    EXPECT_EQ(table.find(8), nullptr);
    EXPECT_EQ(table.add(7, &entry), CARD_ERROR_EXISTS);
    EXPECT_EQ(table.remove(8), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(table.remove(7), 0u);
    EXPECT_EQ(table.find(7), nullptr);
    EXPECT_EQ(account.used, 0u);
}

TEST(TableTest, PutReplacesAlsoInAFullTable) {
    Account account{1};
    Numbers table(account);
    int *entry;
    bool created;
    ASSERT_EQ(table.put(1, &entry, &created), 0u);
    EXPECT_TRUE(created);
    *entry = 11;
    ASSERT_EQ(table.put(1, &entry, &created), 0u);
    EXPECT_FALSE(created);
    EXPECT_EQ(*entry, 11) << "it is the entry that was there";
    EXPECT_EQ(table.put(2, &entry, &created), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(account.used, 1u);
}

TEST(TableTest, TablesOfOneAccountShareItsLimit) {
    Account account{2};
    Numbers one(account), other(account);
    int *entry;
    ASSERT_EQ(one.add(1, &entry), 0u);
    ASSERT_EQ(other.add(1, &entry), 0u);
    EXPECT_EQ(one.add(2, &entry), CARD_ERROR_TABLE_FULL);
    ASSERT_EQ(other.remove(1), 0u);
    EXPECT_EQ(one.add(2, &entry), 0u);
}

TEST(TableTest, WhatIsHeldCannotBeRemoved) {
    Account account{10};
    Numbers table(account);
    int *entry;
    EXPECT_FALSE(table.hold(1)) << "there is nothing to refer to";
    ASSERT_EQ(table.add(1, &entry), 0u);
    EXPECT_TRUE(table.hold(1));
    EXPECT_TRUE(table.hold(1));
    EXPECT_EQ(table.users(1), 2u);
    EXPECT_EQ(table.remove(1), CARD_ERROR_IN_USE);
    table.release(1);
    EXPECT_EQ(table.remove(1), CARD_ERROR_IN_USE);
    table.release(1);
    table.release(1);  // once too often changes nothing
    EXPECT_EQ(table.remove(1), 0u);
}

TEST(TableTest, ForEachVisitsEveryEntryWithItsUsers) {
    Account account{10};
    Numbers table(account);
    int *entry;
    ASSERT_EQ(table.add(1, &entry), 0u);
    ASSERT_EQ(table.add(2, &entry), 0u);
    table.hold(2);
    std::set<std::pair<u32, u32>> seen;
    table.for_each([&](u32 key, int, u32 users) { seen.insert({key, users}); });
    EXPECT_THAT(seen, ::testing::ElementsAre(std::pair(1u, 0u), std::pair(2u, 1u)));
}

TEST(TableTest, WhoeverNamedAnEntryBeforeItWasAddedHoldsIt) {
    Account account{10};
    Numbers table(account);
    int *entry;
    table.hold_by_name(1);
    table.hold_by_name(1);
    table.hold_by_name(2);
    EXPECT_EQ(table.size(), 0u) << "a name is no entry";
    EXPECT_EQ(account.used, 0u);
    ASSERT_EQ(table.add(1, &entry), 0u);
    EXPECT_EQ(table.users(1), 2u);
    table.hold_by_name(1);
    EXPECT_EQ(table.users(1), 3u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(table.remove(1), CARD_ERROR_IN_USE);
        table.release_by_name(1);
    }
    ASSERT_EQ(table.remove(1), 0u);
    ASSERT_EQ(table.add(1, &entry), 0u);
    EXPECT_EQ(table.users(1), 0u) << "no name outlives what was let go";
    table.release_by_name(2);
    ASSERT_EQ(table.add(2, &entry), 0u);
    EXPECT_EQ(table.users(2), 0u);
    table.release_by_name(3);  // that nobody named
    ASSERT_EQ(table.add(3, &entry), 0u);
    EXPECT_EQ(table.users(3), 0u);
}

TEST(AccountsTest, ResourcesOfTheOperationsHaveAnAccount) {
    Accounts accounts;
    EXPECT_NE(accounts.find("interface"), nullptr);
    EXPECT_EQ(accounts.find("nonsense"), nullptr);
    EXPECT_EQ(accounts.find("client"), &accounts[Resource::client]);
}

TEST(IndexPoolTest, GoesRoundSoThatWhatWasGivenBackComesLast) {
    Account account{8};
    IndexPool pool(account, 10, 8);
    u32 index;
    for (u32 i = 0; i < 5; ++i) {
        ASSERT_EQ(pool.reserve(1, &index), 0u);
        EXPECT_EQ(index, 10 + i);
    }
    ASSERT_EQ(pool.release(11), 0u);
    ASSERT_EQ(pool.release(14), 0u);
    for (const u32 expected : {15u, 16u, 17u, 11u, 14u}) {
        ASSERT_EQ(pool.reserve(1, &index), 0u);
        EXPECT_EQ(index, expected);
    }
    EXPECT_EQ(pool.reserve(1, &index), CARD_ERROR_POOL_EXHAUSTED);
}

TEST(IndexPoolTest, BlocksAndSingleIndicesGoRoundTogether) {
    Account account{100};
    IndexPool pool(account, 0, 100);
    u32 index;
    ASSERT_EQ(pool.reserve(3, &index), 0u);
    ASSERT_EQ(pool.release(1), 0u);
    ASSERT_EQ(pool.reserve(1, &index), 0u);
    EXPECT_EQ(index, 3u);
    ASSERT_EQ(pool.reserve(2, &index), 0u);
    EXPECT_EQ(index, 4u);
}

TEST(IndexPoolTest, BlocksAreConsecutiveAndFree) {
    Account account{200};
    IndexPool pool(account, 0, 200);
    std::set<u32> used;
    u32 index;
    for (u32 count : {3u, 1u, 64u, 1u, 70u, 2u}) {
        ASSERT_EQ(pool.reserve(count, &index), 0u);
        for (u32 i = 0; i < count; ++i) EXPECT_TRUE(used.insert(index + i).second) << index + i;
    }
    EXPECT_EQ(account.used, used.size());
    // What is left is not in one piece.
    EXPECT_EQ(pool.reserve(200 - account.used + 1, &index), CARD_ERROR_POOL_EXHAUSTED);
}

TEST(IndexPoolTest, ABlockIsFoundInAGapWhenNoRoomIsLeftBehind) {
    Account account{10};
    IndexPool pool(account, 0, 10);
    u32 index;
    for (int i = 0; i < 10; ++i) ASSERT_EQ(pool.reserve(1, &index), 0u);
    for (u32 i : {2u, 5u, 6u, 7u}) ASSERT_EQ(pool.release(i), 0u);
    ASSERT_EQ(pool.reserve(3, &index), 0u);
    EXPECT_EQ(index, 5u);
    EXPECT_EQ(pool.reserve(2, &index), CARD_ERROR_POOL_EXHAUSTED);
    ASSERT_EQ(pool.reserve(1, &index), 0u);
    EXPECT_EQ(index, 2u);
    EXPECT_EQ(pool.reserve(1, &index), CARD_ERROR_POOL_EXHAUSTED);
}

TEST(IndexPoolTest, NeverHandsOutWhatACallerNamed) {
    Account account{8};
    IndexPool pool(account, 1, 8);
    EXPECT_TRUE(pool.take(1));
    EXPECT_TRUE(pool.take(3));
    EXPECT_FALSE(pool.take(3)) << "in use already";
    EXPECT_FALSE(pool.take(0));
    EXPECT_FALSE(pool.take(100053)) << "outside, so a name only";
    u32 index;
    ASSERT_EQ(pool.reserve(1, &index), 0u);
    EXPECT_EQ(index, 2u);
    ASSERT_EQ(pool.reserve(2, &index), 0u);
    EXPECT_EQ(index, 4u);
}

TEST(IndexPoolTest, ReleaseNamesAnIndexInUse) {
    Account account{8};
    IndexPool pool(account, 1, 8);
    EXPECT_EQ(pool.release(1), CARD_ERROR_NOT_RESERVED);
    EXPECT_EQ(pool.release(0), CARD_ERROR_NOT_RESERVED);
    EXPECT_EQ(pool.release(99), CARD_ERROR_NOT_RESERVED);
    u32 index = 0;
    EXPECT_EQ(pool.reserve(0, &index), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(pool.reserve(9, &index), CARD_ERROR_POOL_EXHAUSTED);
    ASSERT_EQ(pool.reserve(8, &index), 0u);
    EXPECT_EQ(pool.release(8), 0u);
    EXPECT_EQ(pool.release(8), CARD_ERROR_NOT_RESERVED);
    EXPECT_EQ(account.used, 7u);
}

TEST(IndexPoolTest, EveryIndexOnceThroughTheWholePool) {
    Account account{10000};
    IndexPool pool(account, 5, 10000);
    std::vector<bool> seen(10005);
    u32 index;
    for (int i = 0; i < 10000; ++i) {
        ASSERT_EQ(pool.reserve(1, &index), 0u);
        ASSERT_GE(index, 5u);
        ASSERT_FALSE(seen[index]);
        seen[index] = true;
    }
    EXPECT_EQ(pool.reserve(1, &index), CARD_ERROR_POOL_EXHAUSTED);
    ASSERT_EQ(pool.release(9999), 0u);
    ASSERT_EQ(pool.reserve(1, &index), 0u);
    EXPECT_EQ(index, 9999u);
}

TEST(IndexPoolTest, AnEmptyPoolHasNothing) {
    Account account{0};
    IndexPool pool(account, 1);
    u32 index;
    EXPECT_EQ(pool.reserve(1, &index), CARD_ERROR_POOL_EXHAUSTED);
    EXPECT_FALSE(pool.take(1));
    EXPECT_EQ(pool.release(1), CARD_ERROR_NOT_RESERVED);
}

}  // namespace
}  // namespace sim
