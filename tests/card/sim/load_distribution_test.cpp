// Load-distribution entries: what is accepted, replaced, held and refused, and the pool of their pointers.
#include "tests/card/sim/forwarding_requests.h"

namespace sim {
namespace {

using LoadDistributionTest = L3Test;

constexpr u32 kPointer = 200100u << 6;

TEST_F(LoadDistributionTest, AnAddIsFoundAndADeleteRemovesIt) {
    EXPECT_EQ(add(ldi(kPointer)), 0u);
    ASSERT_NE(card.load_distribution.table.find(kPointer), nullptr);
    EXPECT_EQ(card.load_distribution.table.find(kPointer)->nh_idx, 100005u);
    EXPECT_EQ(used(Resource::nr_ldi), 1u);
    EXPECT_EQ(del(ldi(kPointer)), 0u);
    EXPECT_EQ(used(Resource::nr_ldi), 0u);
    EXPECT_EQ(del(ldi(kPointer)), CARD_ERROR_NOT_FOUND);
}

TEST_F(LoadDistributionTest, AnAddReplacesTheEntry) {
    EXPECT_EQ(add(ldi(kPointer)), 0u);
    EXPECT_EQ(add(swap_ldi(kPointer, 7, 8)), 0u);
    EXPECT_EQ(used(Resource::nr_ldi), 1u);
    const LoadDistribution &entry = *card.load_distribution.table.find(kPointer);
    EXPECT_EQ(entry.nh_idx, 7u);
    EXPECT_EQ(entry.mpls_nh_idx, 8u);
    EXPECT_EQ(entry.label0, 55002u);
    EXPECT_EQ(entry.label1, 55003u);
}

TEST_F(LoadDistributionTest, ADeleteOfAnyFormRemovesTheEntry) {
    EXPECT_EQ(add(ldi(kPointer)), 0u);
    prm_nr_ldi block = swap_ldi(kPointer, 100005, 0);
    block.block = {};
    block.block.nh_idx = 100005;
    block.ldi_mode = PRM_NR_LDI_MODE_BLOCK;
    EXPECT_EQ(del(block), 0u);
}

TEST_F(LoadDistributionTest, SpoiledFieldsAreRefused) {
    const auto refused = [&](u32 code, auto spoil) {
        prm_nr_ldi record = swap_ldi(kPointer, 7, 8);
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

TEST_F(LoadDistributionTest, AnEntryThatALeafPointsAtIsNotDeleted) {
    EXPECT_EQ(add(ldi(kPointer)), 0u);
    EXPECT_EQ(add4(pointing_at(ipv4_leaf(0x01010102), kPointer)), 0u);
    EXPECT_EQ(del(ldi(kPointer)), CARD_ERROR_IN_USE);
    EXPECT_EQ(del4(ipv4_leaf(0x01010102)), 0u);
    EXPECT_EQ(del(ldi(kPointer)), 0u);
}

TEST_F(LoadDistributionTest, AReplacedEntryKeepsItsUsers) {
    EXPECT_EQ(add(ldi(kPointer)), 0u);
    EXPECT_EQ(add(ldi_label(55000, true, kPointer)), 0u);
    EXPECT_EQ(add(swap_ldi(kPointer, 7, 8)), 0u);
    EXPECT_EQ(del(ldi(kPointer)), CARD_ERROR_IN_USE);
}

TEST_F(LoadDistributionTest, AnEntryHoldsTheAdjacencyThatItsNextHopHasButNeedsNone) {
    const u32 nh = next_hop();
    EXPECT_EQ(add(ldi(kPointer, nh)), 0u);  // no adjacency yet: a name
    EXPECT_EQ(add(adjacency(nh)), 0u);
    EXPECT_EQ(add(ldi(kPointer, nh)), 0u);
    EXPECT_EQ(del(adjacency_delete(nh)), CARD_ERROR_IN_USE);
    EXPECT_EQ(add(ldi(kPointer, 5)), 0u);
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
    const u32 first = LoadDistributionState::kFirstIndex << 6;
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
