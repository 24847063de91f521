// Route leaves: keys by address family and VRF, references, refusals.
#include <cstring>

#include "tests/card/sim/forwarding_requests.h"

namespace sim {
namespace {

using RouteTest = L3Test;

constexpr u32 kHost = 0x01010102;
constexpr u32 kPointer = 200100u << 6;

TEST_F(RouteTest, LeavesAreAddedReplacedModifiedAndDeleted) {
    EXPECT_EQ(mod4(ipv4_leaf(kHost)), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(add4(ipv4_leaf(kHost)), 0u);
    EXPECT_EQ(add4(recursive(ipv4_leaf(kHost), 5, 6)), 0u);
    EXPECT_EQ(used(Resource::ipv4_leaf), 1u);
    zor_leaf_request tagged = ipv4_leaf(kHost);
    tagged.payload.tag_bits = 63 << 4;
    EXPECT_EQ(mod4(tagged), 0u);
    const Leaf *leaf = card.route.ipv4.find(ipv4_key(kHost, 0, 32));
    ASSERT_NE(leaf, nullptr);
    EXPECT_EQ(leaf->tag_bits, 63 << 4);
    EXPECT_EQ(leaf->ldi_ptr2, 0u);
    EXPECT_EQ(del4(ipv4_leaf(kHost)), 0u);
    EXPECT_EQ(del4(ipv4_leaf(kHost)), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(used(Resource::ipv4_leaf), 0u);
}

TEST_F(RouteTest, Ipv6LeavesAreAddedReplacedModifiedAndDeleted) {
    EXPECT_EQ(mod6(ipv6_leaf(0x90, 1)), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(add6(ipv6_leaf(0x90, 1)), 0u);
    EXPECT_EQ(mod6(recursive(ipv6_leaf(0x90, 1), 5, 6)), 0u);
    EXPECT_EQ(used(Resource::ipv6_leaf), 1u);
    u8 address[16] = {0x90};
    address[15] = 1;
    ASSERT_NE(card.route.ipv6.find(ipv6_key(address, 0, 128)), nullptr);
    EXPECT_EQ(card.route.ipv6.find(ipv6_key(address, 0, 128))->ldi_ptr2, 6u);
    zor_leaf_request removal = ipv6_leaf(0x90, 1);
    removal.item1 = removal.item2 = ZOR_LEAF_ITEM;  // as a delete carries them
    removal.payload.flags0 = 0;
    EXPECT_EQ(del6(removal), 0u);
    EXPECT_EQ(del6(removal), CARD_ERROR_NOT_FOUND);
}

TEST_F(RouteTest, VrfAndPrefixLengthTellLeavesApart) {
    EXPECT_EQ(add4(ipv4_leaf(0x0A000000, 32, 0)), 0u);
    EXPECT_EQ(add4(ipv4_leaf(0x0A000000, 32, 1)), 0u);
    EXPECT_EQ(add4(ipv4_leaf(0x0A000000, 8, 0)), 0u);
    EXPECT_EQ(add4(ipv4_leaf(0, 0, 0)), 0u);
    EXPECT_EQ(used(Resource::ipv4_leaf), 4u);
    EXPECT_EQ(add6(ipv6_leaf(0x20, 1, 128, 0)), 0u);
    EXPECT_EQ(add6(ipv6_leaf(0x20, 1, 128, 1)), 0u);
    EXPECT_EQ(add6(ipv6_leaf(0x20, 0, 4, 1)), 0u);
    EXPECT_EQ(used(Resource::ipv6_leaf), 3u);
    EXPECT_EQ(del4(ipv4_leaf(0x0A000000, 32, 2)), CARD_ERROR_NOT_FOUND);
}

TEST_F(RouteTest, ALeafThatPointsAtALoadDistributionEntryNeedsIt) {
    EXPECT_EQ(add4(pointing_at(ipv4_leaf(kHost), kPointer)), CARD_ERROR_UNKNOWN_REFERENCE);
    EXPECT_EQ(add6(pointing_at(ipv6_leaf(0x20, 1), kPointer)), CARD_ERROR_UNKNOWN_REFERENCE);
    EXPECT_EQ(used(Resource::ipv4_leaf), 0u);
    EXPECT_EQ(add(ldi(kPointer)), 0u);
    EXPECT_EQ(add4(pointing_at(ipv4_leaf(kHost), kPointer)), 0u);
    EXPECT_EQ(add6(pointing_at(ipv6_leaf(0x20, 1), kPointer)), 0u);
    EXPECT_EQ(card.load_distribution.table.users(kPointer), 2u);
    // Replaced by the same, by another entry's, and modified to none: the users follow.
    EXPECT_EQ(add4(pointing_at(ipv4_leaf(kHost), kPointer)), 0u);
    EXPECT_EQ(card.load_distribution.table.users(kPointer), 2u);
    EXPECT_EQ(add(ldi(64)), 0u);
    EXPECT_EQ(mod4(pointing_at(ipv4_leaf(kHost), 64)), 0u);
    EXPECT_EQ(card.load_distribution.table.users(kPointer), 1u);
    EXPECT_EQ(mod6(ipv6_leaf(0x20, 1)), 0u);
    EXPECT_EQ(card.load_distribution.table.users(kPointer), 0u);
    EXPECT_EQ(mod4(pointing_at(ipv4_leaf(kHost), 128)), CARD_ERROR_UNKNOWN_REFERENCE);
    EXPECT_EQ(card.load_distribution.table.users(64), 1u);
    EXPECT_EQ(del4(ipv4_leaf(kHost)), 0u);
    EXPECT_EQ(card.load_distribution.table.users(64), 0u);
}

TEST_F(RouteTest, ARecursivePairNamesNextHopsWithoutAnEntry) {
    EXPECT_EQ(add4(recursive(ipv4_leaf(kHost), 0xFFFFFFFF, 0)), 0u);
}

TEST_F(RouteTest, TheNextHopsOfARecursivePairAreInUse) {
    const u32 first = card.inventory.pools.next_hop;
    EXPECT_EQ(add4(recursive(ipv4_leaf(kHost), first, first + 1)), 0u);
    EXPECT_EQ(add6(recursive(ipv6_leaf(0x20, 1), first + 2, first + 3)), 0u);
    EXPECT_EQ(used(Resource::next_hop), 4u);
    EXPECT_EQ(mod4(recursive(ipv4_leaf(kHost), first + 4, first + 1)), 0u);
    EXPECT_EQ(mod6(ipv6_leaf(0x20, 1)), 0u);
    EXPECT_EQ(used(Resource::next_hop), 2u);
    EXPECT_EQ(add6(recursive(ipv6_leaf(0x20, 1), first, first)), 0u);
    EXPECT_EQ(next_hop(), first + 2) << "the first that nobody names";
    EXPECT_EQ(del6(ipv6_leaf(0x20, 1)), 0u);
    EXPECT_EQ(del4(ipv4_leaf(kHost)), 0u);
    EXPECT_EQ(used(Resource::next_hop), 1u) << "the one reserved";
}

// The first word of its pair is then a pointer, also where its number is that of a next hop.
TEST_F(RouteTest, ARecursiveLeafThatPointsAtAnEntryNamesOneNextHop) {
    const u32 pointer = 200128;
    ASSERT_EQ(pointer % 64, 0u);
    EXPECT_EQ(add(ldi(pointer)), 0u);
    zor_leaf_request request = recursive(ipv4_leaf(kHost), pointer, card.inventory.pools.next_hop);
    request.payload.flags0 = ZOR_LEAF_LDI;
    EXPECT_EQ(add4(request), 0u);
    EXPECT_EQ(used(Resource::next_hop), 1u);
    EXPECT_EQ(card.load_distribution.table.users(pointer), 1u);
    EXPECT_EQ(del4(request), 0u);
    EXPECT_EQ(used(Resource::next_hop), 0u);
    EXPECT_EQ(card.load_distribution.table.users(pointer), 0u);
}

TEST_F(RouteTest, SpoiledRequestsAreRefused) {
    const auto refused = [&](u32 code, auto spoil) {
        zor_leaf_request request = ipv4_leaf(kHost);
        spoil(request);
        EXPECT_EQ(add4(request), code);
        EXPECT_EQ(mod4(request), code);
        EXPECT_EQ(used(Resource::ipv4_leaf), 0u);
    };
    using R = zor_leaf_request;
    refused(CARD_ERROR_BAD_OWNER, [](R &r) { r.owner = 11; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.reserved4[0] = 1; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.reserved179[8] = 1; });
    refused(CARD_ERROR_BAD_LENGTH, [](R &r) { r.key_len = 16; });
    refused(CARD_ERROR_BAD_LENGTH, [](R &r) { r.item1_len = 8; });
    refused(CARD_ERROR_BAD_LENGTH, [](R &r) { r.item2_len = 0; });
    refused(CARD_ERROR_BAD_LENGTH, [](R &r) { r.payload_len = 56; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.item1 = 5; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.vrf_id = 1; });
    refused(CARD_ERROR_BAD_PREFIX, [](R &r) { r.prefix_len = 33; });
    refused(CARD_ERROR_BAD_PREFIX, [](R &r) { r.prefix_len = 24; });
    refused(CARD_ERROR_BAD_PREFIX, [](R &r) { r.prefix_len = 0; });
    refused(CARD_ERROR_BAD_KIND, [](R &r) { r.payload.flags0 = 0; });
}

// Callers do not clear an IPv4 payload: only what its flags name has a meaning.
TEST_F(RouteTest, AnIpv4PayloadMayHoldAnythingBesidesWhatItNames) {
    zor_leaf_request request = ipv4_leaf(kHost);
    std::memset(&request.payload, 0xFF, sizeof request.payload);
    request.ipv4.reserved6[0] = 0xFF;
    request.payload.flags0 = 0xFB;  // all but the pointer's
    request.payload.flags1 = 0xF7;
    EXPECT_EQ(add4(request), 0u);
    const Leaf &leaf = *card.route.ipv4.find(ipv4_key(kHost, 0, 32));
    EXPECT_EQ(leaf.flags0, ZOR_LEAF_DIRECT);
    EXPECT_EQ(leaf.flags1, 0);
    EXPECT_EQ(leaf.ldi_ptr, 0u);
    EXPECT_EQ(leaf.ldi_ptr2, 0u);
    EXPECT_EQ(leaf.tag_bits, ZOR_LEAF_TAG_MASK);
    EXPECT_EQ(mod4(request), 0u);
    std::memset(&request.payload, 0xFF, sizeof request.payload);
    EXPECT_EQ(del4(request), 0u);
    request.payload.flags0 = 0xFA;
    request.payload.flags1 = 0xF7;
    EXPECT_EQ(add4(request), CARD_ERROR_BAD_KIND) << "it names nothing";
}

TEST_F(RouteTest, OwnersAreThoseOfTheInventory) {
    Inventory inventory = small_inventory();
    inventory.owners = {11, 12};
    Card other(inventory);
    CurrentCard use_other(other);
    void *manager = event_manager_create(0, 0, 14, 0);
    prm_handle_t handle;
    ASSERT_EQ(prm_mgr_open(manager, 0, "other", ignore_notification, 7, 0, &handle), 0u);
    ASSERT_EQ(prm_srh_register(&client, 1, manager, ignore_notification), 0u);
    zor_leaf_request leaf = ipv4_leaf(kHost);
    prm_nr_ldi entry = ldi(64);
    zor_label_request label = pop_lookup_label(55, true);
    prm_lpts_request lpts = lpts_add_request();
    prm_buddy_reserve leaves = reservation(0, 1), pointers = leaves, tunnels = leaves, labels = leaves,
                      next_hops = leaves;
    for (const u32 owner : {10u, 11u, 12u, 13u}) {
        const u32 answer = owner == 11 || owner == 12 ? 0 : CARD_ERROR_BAD_OWNER;
        leaf.owner = entry.owner = label.owner = lpts.owner = owner;
        for (prm_buddy_reserve *const its : {&leaves, &pointers, &tunnels, &labels, &next_hops})
            its->owner = owner;
        lpts.data_len = sizeof lpts.entry;
        lpts.entry = lpts_add_request().entry;
        EXPECT_EQ(add4(leaf), answer);
        EXPECT_EQ(add(entry), answer);
        EXPECT_EQ(add(label), answer);
        EXPECT_EQ(prm_srh_lpts_add(client, &lpts), answer);
        EXPECT_EQ(zor_vop_prm_srh_ip_leaf_reserve(client, &leaves), answer);
        EXPECT_EQ(prm_srh_nr_ldi_buddy_reserve(client, &pointers), answer);
        EXPECT_EQ(prm_srh_l3_intf_buddy_reserve(client, &tunnels), answer);
        EXPECT_EQ(prm_srh_mpls_leaf_buddy_reserve(client, &labels), answer);
        EXPECT_EQ(prm_srh_tx_adj_buddy_reserve(client, &next_hops), answer);
    }
}

TEST_F(RouteTest, SpoiledIpv6RequestsAreRefused) {
    const auto refused = [&](u32 code, auto spoil) {
        zor_leaf_request request = ipv6_leaf(0x20, 1);
        spoil(request);
        EXPECT_EQ(add6(request), code);
        EXPECT_EQ(used(Resource::ipv6_leaf), 0u);
    };
    using R = zor_leaf_request;
    refused(CARD_ERROR_BAD_LENGTH, [](R &r) { r.key_len = 8; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.vrf_id = 0x10000; });
    refused(CARD_ERROR_BAD_PREFIX, [](R &r) { r.prefix_len = 129; });
    refused(CARD_ERROR_BAD_PREFIX, [](R &r) { r.payload.v6_prefix_len = 127; });
    refused(CARD_ERROR_BAD_PREFIX, [](R &r) { r.prefix_len = r.payload.v6_prefix_len = 127; });
    refused(CARD_ERROR_BAD_PREFIX, [](R &r) { r.prefix_len = r.payload.v6_prefix_len = 0; });
    refused(CARD_ERROR_BAD_PREFIX, [](R &r) { r.prefix_len = 0xFFFFFF80; });
    refused(CARD_ERROR_BAD_KIND, [](R &r) { r.payload.flags0 |= 0x80; });
    refused(CARD_ERROR_BAD_KIND, [](R &r) { r.payload.flags1 = 0x10; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.payload.ldi_ptr = 5; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.payload.ldi_ptr2 = 5; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.payload.reserved16[33] = 1; });
}

TEST_F(RouteTest, ReservationsCountAndAreBounded) {
    prm_buddy_reserve request = reservation(PRM_OWNER, 1);
    EXPECT_EQ(zor_vop_prm_srh_ip_leaf_reserve(client, &request), 0u);
    EXPECT_EQ(used(Resource::leaf), 1u);
    request.count = 0xFFFFFFFF;
    EXPECT_EQ(zor_vop_prm_srh_ip_leaf_reserve(client, &request), CARD_ERROR_POOL_EXHAUSTED);
    request.owner = 0;
    EXPECT_EQ(zor_vop_prm_srh_ip_leaf_reserve(client, &request), CARD_ERROR_BAD_OWNER);
    EXPECT_EQ(zor_vop_prm_srh_ip_leaf_reserve(nullptr, &request), CARD_ERROR_BAD_HANDLE);
}

TEST_F(RouteTest, StrangersAndNullRecordsAreRefused) {
    zor_leaf_request request = ipv4_leaf(kHost);
    for (auto *operation :
         {zor_vop_prm_srh_ipv4_leaf_add, zor_vop_prm_srh_ipv4_leaf_mod, zor_vop_prm_srh_ipv4_leaf_del,
          zor_vop_prm_srh_ipv6_leaf_add, zor_vop_prm_srh_ipv6_leaf_mod, zor_vop_prm_srh_ipv6_leaf_del}) {
        EXPECT_EQ(operation(stranger(), &request), CARD_ERROR_BAD_HANDLE);
        EXPECT_EQ(operation(client, nullptr), CARD_ERROR_NULL_POINTER);
    }
}

class SmallRouteTest : public L3Test {
  protected:
    SmallRouteTest() : L3Test(limited(small_inventory(), {{Resource::ipv4_leaf, 1}})) {}
};

TEST_F(SmallRouteTest, OneLeafTooManyIsRefusedAndHoldsNothing) {
    EXPECT_EQ(add(ldi(64)), 0u);
    EXPECT_EQ(add4(ipv4_leaf(1)), 0u);
    EXPECT_EQ(add4(pointing_at(ipv4_leaf(2), 64)), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(card.load_distribution.table.users(64), 0u);
    EXPECT_EQ(add4(pointing_at(ipv4_leaf(1), 64)), 0u);
}

}  // namespace
}  // namespace sim
