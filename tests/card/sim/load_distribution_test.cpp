// Load-distribution entries: what is accepted, replaced, held and refused, and the pool of their pointers.
#include <cstring>
#include <vector>

#include "tests/card/sim/forwarding_requests.h"

namespace sim {
namespace {

using LoadDistributionTest = L3Test;

constexpr u32 kFirstPointer = 200100u << 6;

TEST_F(LoadDistributionTest, AnAddIsFoundAndADeleteRemovesIt) {
    EXPECT_EQ(add(ldi(kFirstPointer)), 0u);
    ASSERT_NE(card.load_distribution.table.find(kFirstPointer), nullptr);
    EXPECT_EQ(card.load_distribution.table.find(kFirstPointer)->paths[0].nh_idx, 100005u);
    EXPECT_EQ(used(Resource::nr_ldi), 1u);
    EXPECT_EQ(del(ldi(kFirstPointer)), 0u);
    EXPECT_EQ(used(Resource::nr_ldi), 0u);
    EXPECT_EQ(del(ldi(kFirstPointer)), CARD_ERROR_NOT_FOUND);
}

TEST_F(LoadDistributionTest, AnAddReplacesTheEntry) {
    EXPECT_EQ(add(ldi(kFirstPointer)), 0u);
    EXPECT_EQ(add(swap_ldi(kFirstPointer, 7, 8)), 0u);
    EXPECT_EQ(used(Resource::nr_ldi), 1u);
    const LoadDistribution &entry = *card.load_distribution.table.find(kFirstPointer);
    ASSERT_EQ(entry.paths.size(), 1u);
    EXPECT_EQ(entry.paths[0].nh_idx, 7u);
    EXPECT_EQ(entry.paths[0].mpls_nh_idx, 8u);
    EXPECT_EQ(entry.paths[0].label0, 55002u);
    EXPECT_EQ(entry.paths[0].label1, 55003u);
}

TEST_F(LoadDistributionTest, ADeleteOfAnyFormRemovesTheEntry) {
    EXPECT_EQ(add(ldi(kFirstPointer)), 0u);
    prm_nr_ldi block = swap_ldi(kFirstPointer, 100005, 0);
    block.block = {};
    block.block.nh_idx = 100005;
    block.ldi_mode = PRM_NR_LDI_MODE_BLOCK;
    EXPECT_EQ(del(block), 0u);
}

TEST_F(LoadDistributionTest, SpoiledFieldsAreRefused) {
    const auto refused = [&](u32 code, auto spoil) {
        prm_nr_ldi record = swap_ldi(kFirstPointer, 7, 8);
        spoil(record);
        EXPECT_EQ(add(record), code);
        EXPECT_EQ(used(Resource::nr_ldi), 0u);
    };
    refused(CARD_ERROR_BAD_OWNER, [](prm_nr_ldi &r) { r.owner = 9; });
    refused(CARD_ERROR_RESERVED_BYTES, [](prm_nr_ldi &r) { r.reserved4[7] = 1; });
    refused(CARD_ERROR_RESERVED_BYTES, [](prm_nr_ldi &r) { r.reserved24[43] = 1; });
    refused(CARD_ERROR_BAD_KIND, [](prm_nr_ldi &r) { r.ldi_kind = 5; });
    refused(CARD_ERROR_BAD_KIND, [](prm_nr_ldi &r) { r.ldi_mode = 1; });
    refused(CARD_ERROR_BAD_POINTER, [](prm_nr_ldi &r) { r.ldi_ptr = 0; });
    refused(CARD_ERROR_BAD_POINTER, [](prm_nr_ldi &r) { r.ldi_ptr += 1; });
    refused(CARD_ERROR_BAD_LENGTH, [](prm_nr_ldi &r) { r.path_len = 131; });
    refused(CARD_ERROR_BAD_LENGTH, [](prm_nr_ldi &r) { r.path_len = 0xFFFFFFFF; });
    refused(CARD_ERROR_BAD_VALUE, [](prm_nr_ldi &r) { r.ldi_valid = 2; });
    refused(CARD_ERROR_BAD_VALUE, [](prm_nr_ldi &r) { r.block.nh_idx = 0; });
    refused(CARD_ERROR_BAD_VALUE, [](prm_nr_ldi &r) { r.block.label0 = 0x100000; });
    refused(CARD_ERROR_BAD_VALUE, [](prm_nr_ldi &r) { r.block.flags = 0; });
    refused(CARD_ERROR_BAD_KIND, [](prm_nr_ldi &r) { r.block.flags = 4; });
    refused(CARD_ERROR_RESERVED_BYTES, [](prm_nr_ldi &r) { r.block.reserved65[64] = 1; });
}

// As many blocks one behind the other as path_len says.
prm_nr_ldi blocks(u32 pointer, const std::vector<u32> &next_hops) {
    prm_nr_ldi record = swap_ldi(pointer, 0, 0);
    record.path_len = static_cast<u32>(next_hops.size() * sizeof(prm_nr_ldi_path_block));
    for (size_t i = 0; i < next_hops.size(); ++i) {
        prm_nr_ldi_path_block block = record.block;
        block.flags = 0;
        block.label0 = block.label1 = block.mpls_nh_idx = 0;
        block.nh_idx = next_hops[i];
        std::memcpy(record.path_data + i * sizeof block, &block, sizeof block);
        record.block = i == 0 ? block : record.block;
    }
    return record;
}

std::vector<u32> next_hops_of(const LoadDistribution &entry) {
    std::vector<u32> next_hops;
    for (const LoadDistribution::Path &path : entry.paths) next_hops.push_back(path.nh_idx);
    return next_hops;
}

TEST_F(LoadDistributionTest, EveryPathBlockOfARecordIsKept) {
    for (const size_t count : {1, 2, 3, 15}) {
        std::vector<u32> wanted;
        for (size_t i = 0; i < count; ++i) wanted.push_back(static_cast<u32>(320 + i));
        ASSERT_EQ(add(blocks(kFirstPointer, wanted)), 0u) << count;
        const LoadDistribution &entry = *card.load_distribution.table.find(kFirstPointer);
        EXPECT_EQ(next_hops_of(entry), wanted);
        EXPECT_FALSE(entry.words);
        for (const u32 nh : wanted) {
            ASSERT_EQ(add(adjacency(nh)), 0u);
            EXPECT_EQ(del(adjacency_delete(nh)), CARD_ERROR_IN_USE) << nh;
        }
        EXPECT_EQ(del(blocks(kFirstPointer, wanted)), 0u);
        for (const u32 nh : wanted) EXPECT_EQ(del(adjacency_delete(nh)), 0u) << nh;
    }
}

TEST_F(LoadDistributionTest, EveryPathBlockNeedsANextHop) {
    EXPECT_EQ(add(blocks(kFirstPointer, {320, 0})), CARD_ERROR_BAD_VALUE);
    EXPECT_EQ(add(blocks(kFirstPointer, {320, 0, 322})), CARD_ERROR_BAD_VALUE);
    prm_nr_ldi record = blocks(kFirstPointer, {320});
    for (const u32 length : {0u, 1u, 129u, 131u, 2048u, 2080u}) {
        record.path_len = length;
        EXPECT_EQ(add(record), CARD_ERROR_BAD_LENGTH) << length;
    }
}

TEST_F(LoadDistributionTest, EveryNextHopInWordsIsKept) {
    prm_nr_ldi record = ldi(kFirstPointer, 320);
    const u32 second = 321, last = 322, other_list = 323;
    std::memcpy(record.path_data + 8, &second, sizeof second);
    std::memcpy(record.path_data + 128, &last, sizeof last);
    std::memcpy(record.path_data + 136, &other_list, sizeof other_list);
    ASSERT_EQ(add(record), 0u);
    const LoadDistribution &entry = *card.load_distribution.table.find(kFirstPointer);
    EXPECT_EQ(next_hops_of(entry), (std::vector<u32>{320, 321, 322, 323}));
    EXPECT_TRUE(entry.words);
    EXPECT_TRUE(entry.valid);
    EXPECT_EQ(add(ldi(kFirstPointer, 0)), CARD_ERROR_BAD_VALUE) << "the first is always there";
}

TEST_F(LoadDistributionTest, AnEntryThatALeafPointsAtIsNotDeleted) {
    EXPECT_EQ(add(ldi(kFirstPointer)), 0u);
    EXPECT_EQ(add4(pointing_at(ipv4_leaf(0x01010102), kFirstPointer)), 0u);
    EXPECT_EQ(del(ldi(kFirstPointer)), CARD_ERROR_IN_USE);
    EXPECT_EQ(del4(ipv4_leaf(0x01010102)), 0u);
    EXPECT_EQ(del(ldi(kFirstPointer)), 0u);
}

TEST_F(LoadDistributionTest, AReplacedEntryKeepsItsUsers) {
    EXPECT_EQ(add(ldi(kFirstPointer)), 0u);
    EXPECT_EQ(add(ldi_label(55000, true, kFirstPointer)), 0u);
    EXPECT_EQ(add(swap_ldi(kFirstPointer, 7, 8)), 0u);
    EXPECT_EQ(del(ldi(kFirstPointer)), CARD_ERROR_IN_USE);
}

TEST_F(LoadDistributionTest, AnEntryHoldsTheAdjacencyThatItsNextHopHasButNeedsNone) {
    const u32 nh = next_hop();
    EXPECT_EQ(add(ldi(kFirstPointer, nh)), 0u);  // no adjacency yet: a name
    EXPECT_EQ(add(adjacency(nh)), 0u);
    EXPECT_EQ(del(adjacency_delete(nh)), CARD_ERROR_IN_USE);
    EXPECT_EQ(add(ldi(kFirstPointer, 5)), 0u);
    EXPECT_EQ(del(adjacency_delete(nh)), 0u);
}

TEST_F(LoadDistributionTest, BlocksOfPointersAreReservedAndNeverHandedOutTwice) {
    const u32 block = ldi_pointer(3), next = ldi_pointer(1);
    ASSERT_NE(block, 0u);
    EXPECT_EQ(block % 64, 0u);
    EXPECT_EQ(next, block + 3 * 64);
    EXPECT_EQ(used(Resource::nr_ldi_index), 4u);
    EXPECT_EQ(add(ldi(block + 64)), 0u);
    EXPECT_EQ(used(Resource::nr_ldi_index), 4u);
    EXPECT_EQ(del(ldi(block + 64)), 0u);
    EXPECT_EQ(used(Resource::nr_ldi_index), 3u);
}

TEST_F(LoadDistributionTest, ReservationsAreValidated) {
    const auto refused = [&](u32 code, auto spoil) {
        prm_buddy_reserve request = reservation(PRM_OWNER, 1);
        spoil(request);
        EXPECT_EQ(prm_srh_nr_ldi_buddy_reserve(nullptr, &request), code);
        EXPECT_EQ(used(Resource::nr_ldi_index), 0u);
    };
    refused(CARD_ERROR_BAD_OWNER, [](prm_buddy_reserve &r) { r.owner = 0; });
    refused(CARD_ERROR_BAD_COUNT, [](prm_buddy_reserve &r) { r.count = 0; });
    refused(CARD_ERROR_POOL_EXHAUSTED, [](prm_buddy_reserve &r) { r.count = 0xFFFFFFFF; });
    refused(CARD_ERROR_RESERVED_BYTES, [](prm_buddy_reserve &r) { r.reserved297[2054] = 1; });
    refused(CARD_ERROR_BAD_VALUE, [](prm_buddy_reserve &r) { r.byte296 = 1; });
    refused(CARD_ERROR_BAD_VALUE, [](prm_buddy_reserve &r) { r.word36 = 55003; });
    prm_buddy_reserve swap = reservation(PRM_OWNER, 1);
    swap.word36 = 55003;
    swap.byte296 = 1;
    EXPECT_EQ(prm_srh_nr_ldi_buddy_reserve(nullptr, &swap), 0u);
    EXPECT_EQ(prm_srh_nr_ldi_buddy_reserve(stranger(), &swap), CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(prm_srh_nr_ldi_buddy_reserve(client, nullptr), CARD_ERROR_NULL_POINTER);
}

TEST_F(LoadDistributionTest, APoolNeverHandsOutANamedPointer) {
    const u32 first = card.inventory.pools.nr_ldi_index << 6;
    EXPECT_EQ(add(ldi(first)), 0u);
    EXPECT_EQ(ldi_pointer(), first + 64);
    EXPECT_EQ(del(ldi(first)), 0u);
    EXPECT_EQ(used(Resource::nr_ldi_index), 1u);
}

class SmallLoadDistributionTest : public L3Test {
  protected:
    SmallLoadDistributionTest()
        : L3Test(limited(small_inventory(), {{Resource::nr_ldi, 2}, {Resource::nr_ldi_index, 2}})) {}
};

TEST_F(SmallLoadDistributionTest, OneEntryTooManyIsRefusedAndReplacingIsNot) {
    EXPECT_EQ(add(ldi(64)), 0u);
    EXPECT_EQ(add(ldi(128)), 0u);
    EXPECT_EQ(add(ldi(192)), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(add(swap_ldi(128, 1, 2)), 0u);
    EXPECT_EQ(del(ldi(64)), 0u);
    EXPECT_EQ(add(ldi(192)), 0u);
}

TEST_F(SmallLoadDistributionTest, AnExhaustedPoolGivesBackWhatADeleteFreed) {
    const u32 a = ldi_pointer(), b = ldi_pointer();
    EXPECT_EQ(ldi_pointer(), 0u);
    EXPECT_EQ(add(ldi(a)), 0u);
    EXPECT_EQ(del(ldi(a)), 0u);
    EXPECT_EQ(ldi_pointer(), a);
    EXPECT_NE(a, b);
}

}  // namespace
}  // namespace sim
