// One TCAM's entries: places, replacement, and precedence of the look-up.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "card/sim/tcam_table.h"

namespace sim {
namespace {

TcamEntry entry_of(uint8_t byte, uint8_t value, uint8_t mask, uint8_t result = 0) {
    TcamEntry entry{};
    entry.value[byte] = value;
    entry.mask[byte] = mask;
    entry.result[0] = result;
    return entry;
}

bool put(TcamTable &table, uint32_t index, const TcamEntry &entry) {
    return table.set(index, entry.value, entry.mask, entry.result);
}

// The definition of a first match, entry by entry and byte by byte.
std::optional<uint32_t> first_match_by_definition(const TcamTable &table, const uint8_t *key) {
    for (uint32_t index = 0; index < kTcamEntries; ++index) {
        const TcamEntry *entry = table.at(index);
        if (entry == nullptr) continue;
        bool matches = true;
        for (uint32_t i = 0; i < kTcamKeyBytes && matches; ++i)
            matches = ((key[i] ^ entry->value[i]) & entry->mask[i]) == 0;
        if (matches) return index;
    }
    return std::nullopt;
}

TEST(TcamTableTest, KeepsValueMaskAndResultOfAnEntry) {
    TcamTable table;
    EXPECT_TRUE(put(table, 2047, entry_of(5, 0x12, 0x34, 0x56)));
    ASSERT_NE(table.at(2047), nullptr);
    EXPECT_EQ(table.at(2047)->value[5], 0x12);
    EXPECT_EQ(table.at(2047)->mask[5], 0x34);
    EXPECT_EQ(table.at(2047)->result[0], 0x56);
    EXPECT_EQ(table.at(2046), nullptr);
    EXPECT_EQ(table.at(2048), nullptr);
    EXPECT_EQ(table.size(), 1u);
}

TEST(TcamTableTest, ASecondEntryAtAnIndexReplacesTheFirst) {
    TcamTable table;
    EXPECT_TRUE(put(table, 7, entry_of(0, 1, 0xFF)));
    uint8_t key[kTcamKeyBytes] = {1};
    EXPECT_EQ(table.first_match(key), 7u);
    EXPECT_FALSE(put(table, 7, entry_of(0, 2, 0xFF)));
    EXPECT_EQ(table.size(), 1u);
    EXPECT_EQ(table.first_match(key), std::nullopt);
    key[0] = 2;
    EXPECT_EQ(table.first_match(key), 7u);
}

TEST(TcamTableTest, TheLowerIndexTakesPrecedenceWhateverTheOrderOfInsertion) {
    TcamTable table;
    uint8_t key[kTcamKeyBytes] = {9};
    put(table, 1500, entry_of(0, 9, 0xFF));
    EXPECT_EQ(table.first_match(key), 1500u);
    put(table, 600, entry_of(0, 8, 0xFE));
    EXPECT_EQ(table.first_match(key), 600u);
    put(table, 599, entry_of(1, 1, 0xFF));
    EXPECT_EQ(table.first_match(key), 600u);
    table.erase(600);
    EXPECT_EQ(table.first_match(key), 1500u);
}

TEST(TcamTableTest, AnEntryWithoutCareBitsMatchesEverything) {
    TcamTable table;
    put(table, 3, entry_of(0, 0xFF, 0));
    const uint8_t key[kTcamKeyBytes] = {0x55, 1, 2, 3};
    EXPECT_EQ(table.first_match(key), 3u);
}

TEST(TcamTableTest, ErasedEntriesAreGoneAndEmptyTablesMatchNothing) {
    TcamTable table;
    const uint8_t key[kTcamKeyBytes] = {};
    EXPECT_EQ(table.first_match(key), std::nullopt);
    put(table, 0, entry_of(0, 0, 0));
    EXPECT_EQ(table.first_match(key), 0u);
    EXPECT_TRUE(table.erase(0));
    EXPECT_FALSE(table.erase(0));
    EXPECT_FALSE(table.erase(5000));
    EXPECT_EQ(table.first_match(key), std::nullopt);
    EXPECT_EQ(table.size(), 0u);
}

// Random inserts, replacements, deletions and look-ups in between; few distinct values, so that many match.
TEST(TcamTableTest, AgreesWithTheDefinitionThroughAnyChanges) {
    std::mt19937 random(20);
    for (int round = 0; round < 8; ++round) {
        TcamTable table;
        for (int step = 0; step < 1500; ++step) {
            const uint32_t index = random() % kTcamEntries;
            if (random() % 4 == 0) {
                table.erase(index);
                continue;
            }
            TcamEntry entry{};
            for (uint32_t n = random() % 6; n > 0; --n) {
                const uint32_t byte = random() % (round % 2 ? kTcamKeyBytes : 4);
                entry.value[byte] = static_cast<uint8_t>(random() & 0x33);
                entry.mask[byte] = static_cast<uint8_t>(random());
            }
            put(table, index, entry);
            if (step % 5 == 0) {
                uint8_t key[kTcamKeyBytes];
                for (uint8_t &byte : key) byte = static_cast<uint8_t>(random() & 0x33);
                ASSERT_EQ(table.first_match(key), first_match_by_definition(table, key));
            }
        }
    }
}

}  // namespace
}  // namespace sim
