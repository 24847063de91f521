// Adjacencies, next hops and tunnels: what is accepted, modified, freed and refused.
#include <functional>

#include "tests/card/sim/forwarding_requests.h"

namespace sim {
namespace {

using AdjacencyTest = L3Test;

TEST_F(AdjacencyTest, AReservedNextHopIsProgrammedAndFreedByItsDelete) {
    const u32 nh = next_hop();
    ASSERT_NE(nh, 0u);
    EXPECT_EQ(add(adjacency(nh)), 0u);
    EXPECT_EQ(used(Resource::next_hop), 1u);
    EXPECT_EQ(used(Resource::adjacency), 1u);
    EXPECT_EQ(del(adjacency_delete(nh)), 0u);
    EXPECT_EQ(used(Resource::next_hop), 0u);
    EXPECT_EQ(used(Resource::adjacency), 0u);
    EXPECT_EQ(del(adjacency_delete(nh)), CARD_ERROR_NOT_FOUND);
}

TEST_F(AdjacencyTest, OneNextHopIsReservedAtATime) {
    prm_buddy_reserve request = reservation(0, 2);
    EXPECT_EQ(prm_srh_tx_adj_buddy_reserve(nullptr, &request), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(request.index, 0u);
    request.count = 0;
    EXPECT_EQ(prm_srh_tx_adj_buddy_reserve(nullptr, &request), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(used(Resource::next_hop), 0u);
    request.count = 1;
    EXPECT_EQ(prm_srh_tx_adj_buddy_reserve(nullptr, &request), 0u);
    EXPECT_EQ(prm_srh_tx_adj_buddy_reserve(stranger(), &request), CARD_ERROR_BAD_HANDLE);
}

TEST_F(AdjacencyTest, AModifyNeedsItsAdjacency) {
    const u32 nh = next_hop();
    EXPECT_EQ(mod(adjacency(nh)), CARD_ERROR_NOT_FOUND);
    prm_tx_adj punt = adjacency(nh);
    punt.adj_flags0 = 0;
    EXPECT_EQ(add(punt), 0u);
    EXPECT_EQ(mod(adjacency(nh)), 0u);
    EXPECT_EQ(card.adjacency.table.find(nh)->flags0, PRM_TX_ADJ_NORMAL);
}

TEST_F(AdjacencyTest, ANormalAndALabelAdjacencyStandSideBySide) {
    const u32 nh = next_hop(), mpls_nh = next_hop();
    EXPECT_EQ(add(adjacency(nh)), 0u);
    EXPECT_EQ(add(label_adjacency(nh, mpls_nh)), 0u);
    EXPECT_EQ(used(Resource::adjacency), 2u);
    const Adjacency &labelled = *card.adjacency.table.find(mpls_nh);
    EXPECT_EQ(labelled.over, nh);
    EXPECT_THAT(labelled.labels, ::testing::ElementsAre(55002u, 55003u, 0u));
    EXPECT_EQ(del(adjacency_delete(mpls_nh)), 0u);
    EXPECT_NE(card.adjacency.table.find(nh), nullptr);
}

TEST_F(AdjacencyTest, ReadBackIsWhatWasProgrammed) {
    prm_tx_adj record = adjacency(77);
    record.uidb = 0xFFFF;
    const u8 mac[6] = {0, 0, 0xB0, 0x10, 0x10, 1};
    std::memcpy(record.dmac, mac, sizeof mac);
    EXPECT_EQ(add(record), 0u);
    const Adjacency &entry = *card.adjacency.table.find(77);
    EXPECT_EQ(entry.uidb, 0xFFFF);
    EXPECT_EQ(std::memcmp(entry.dmac, mac, sizeof mac), 0);
    EXPECT_EQ(entry.tunnel, 0u);
}

TEST_F(AdjacencyTest, AnEomplsAdjacencyStandsUnderItsReservedNextHopAndFreesItsTunnel) {
    const u32 nh = next_hop(), interface = tunnel();
    EXPECT_EQ(add(eompls_adjacency(nh, interface)), 0u);
    EXPECT_EQ(used(Resource::tunnel), 1u);
    EXPECT_EQ(del(adjacency_delete(nh)), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(del(eompls_delete(nh, interface + 1)), CARD_ERROR_UNKNOWN_REFERENCE);
    EXPECT_EQ(del(eompls_delete(nh, interface)), 0u);
    EXPECT_EQ(used(Resource::tunnel), 0u);
    EXPECT_EQ(used(Resource::next_hop), 0u);
    EXPECT_EQ(del(eompls_delete(nh, interface)), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(del(eompls_delete(100053, 4198)), CARD_ERROR_NOT_FOUND);
}

TEST_F(AdjacencyTest, ATunnelOfTwoAdjacenciesStaysInUseUntilBothAreGone) {
    const u32 a = next_hop(), b = next_hop(), interface = tunnel();
    EXPECT_EQ(add(eompls_adjacency(a, interface)), 0u);
    EXPECT_EQ(add(eompls_adjacency(b, interface)), 0u);
    EXPECT_EQ(del(eompls_delete(a, interface)), 0u);
    EXPECT_EQ(used(Resource::tunnel), 1u);
    EXPECT_EQ(del(eompls_delete(b, interface)), 0u);
    EXPECT_EQ(used(Resource::tunnel), 0u);
}

TEST_F(AdjacencyTest, ANextHopOfThePoolIsReservedBeforeItIsProgrammed) {
    const u32 nh = next_hop();
    EXPECT_EQ(add(adjacency(nh + 1)), CARD_ERROR_NOT_RESERVED);
    EXPECT_EQ(add(ldi(64, nh + 1)), 0u) << "may name what is not there";
    EXPECT_EQ(add(adjacency(nh + 1)), CARD_ERROR_NOT_RESERVED);
    EXPECT_EQ(add(adjacency(nh)), 0u);
    EXPECT_EQ(add(adjacency(nh)), 0u) << "again";
    EXPECT_EQ(del(adjacency_delete(nh)), 0u);
    EXPECT_EQ(add(adjacency(nh)), CARD_ERROR_NOT_RESERVED) << "the delete gave it back";
    EXPECT_EQ(add(adjacency(7)), 0u) << "no next hop of the pool";
}

TEST_F(AdjacencyTest, APoolNeverHandsOutANamedNextHop) {
    const u32 first = next_hop();
    EXPECT_EQ(add(adjacency(first)), 0u);
    EXPECT_EQ(add(ldi(64, first + 1)), 0u);
    EXPECT_EQ(add4(recursive(ipv4_leaf(1), first + 2, first + 3)), 0u);
    EXPECT_EQ(next_hop(), first + 4);
    EXPECT_EQ(used(Resource::next_hop), 5u);
    EXPECT_EQ(del4(ipv4_leaf(1)), 0u);
    EXPECT_EQ(del(ldi(64)), 0u);
    EXPECT_EQ(del(adjacency_delete(first)), 0u);
    EXPECT_EQ(used(Resource::next_hop), 1u);
}

TEST_F(AdjacencyTest, ALabelAdjacencyKeepsTheNextHopThatItGoesOutOverInUse) {
    const u32 nh = next_hop(), first = nh + 1;
    const SharedPool &pool = card.adjacency.next_hops;
    EXPECT_EQ(add(label_adjacency(first, nh)), 0u);
    EXPECT_EQ(used(Resource::next_hop), 2u);
    EXPECT_EQ(next_hop(), first + 1);
    // Modified to go out over another, it lets the first one go.
    EXPECT_EQ(mod(label_adjacency(first + 2, nh)), 0u);
    EXPECT_FALSE(pool.in_use(first));
    EXPECT_EQ(used(Resource::next_hop), 3u);
    EXPECT_EQ(next_hop(), first + 3);
    EXPECT_EQ(mod(label_adjacency(7, nh)), 0u) << "no next hop of the pool";
    EXPECT_FALSE(pool.in_use(first + 2));
    EXPECT_EQ(used(Resource::next_hop), 3u);
    EXPECT_EQ(del(adjacency_delete(nh)), 0u);
    EXPECT_FALSE(pool.in_use(nh));
    EXPECT_EQ(used(Resource::next_hop), 2u) << "those reserved";
}

TEST_F(AdjacencyTest, AnAdjacencyKeepsTheTunnelThatItNamesInUse) {
    const u32 first = card.inventory.pools.tunnel;
    const SharedPool &pool = card.adjacency.tunnels;
    EXPECT_EQ(add(eompls_adjacency(7, first)), 0u);
    EXPECT_EQ(used(Resource::tunnel), 1u);
    EXPECT_EQ(tunnel(), first + 1);
    EXPECT_EQ(mod(eompls_adjacency(7, first + 2)), 0u);
    EXPECT_FALSE(pool.in_use(first));
    EXPECT_EQ(add(eompls_adjacency(7, first + 3)), 0u) << "an add replaces";
    EXPECT_FALSE(pool.in_use(first + 2));
    EXPECT_EQ(mod(eompls_adjacency(7, 1)), 0u) << "no tunnel of the pool";
    EXPECT_FALSE(pool.in_use(first + 3));
    EXPECT_EQ(used(Resource::tunnel), 1u) << "the one reserved";
    EXPECT_EQ(tunnel(), first + 2);
}

TEST_F(AdjacencyTest, AReleasedNextHopIsNotHandedOutAgainAtOnce) {
    const u32 nh = next_hop();
    EXPECT_EQ(add(adjacency(nh)), 0u);
    EXPECT_EQ(del(adjacency_delete(nh)), 0u);
    EXPECT_EQ(next_hop(), nh + 1);
}

// Whoever names the next hop, before its adjacency is there or after.
TEST_F(AdjacencyTest, IsHeldByWhateverNamesItsNextHop) {
    u32 nh = 0;
    const struct {
        const char *name;
        std::function<u32()> hold, release;
    } users[] = {
        {"entry in words", [&] { return add(ldi(64, nh)); }, [&] { return del(ldi(64)); }},
        {"entry by its MPLS next hop", [&] { return add(swap_ldi(64, 5, nh)); },
         [&] { return del(ldi(64)); }},
        {"label adjacency", [&] { return add(label_adjacency(nh, 8)); },
         [&] { return del(adjacency_delete(8)); }},
        {"first of a recursive pair", [&] { return add4(recursive(ipv4_leaf(1), nh, 5)); },
         [&] { return del4(ipv4_leaf(1)); }},
        {"second of a recursive pair", [&] { return add6(recursive(ipv6_leaf(0x20, 1), 5, nh)); },
         [&] { return del6(ipv6_leaf(0x20, 1)); }},
    };
    for (const auto &user : users) {
        for (const bool adjacency_first : {true, false}) {
            SCOPED_TRACE(user.name);
            nh = next_hop();
            if (adjacency_first) {
                ASSERT_EQ(add(adjacency(nh)), 0u);
            }
            ASSERT_EQ(user.hold(), 0u);
            if (!adjacency_first) {
                ASSERT_EQ(add(adjacency(nh)), 0u);
            }
            EXPECT_EQ(card.adjacency.table.users(nh), 1u);
            EXPECT_EQ(del(adjacency_delete(nh)), CARD_ERROR_IN_USE);
            ASSERT_EQ(user.release(), 0u);
            EXPECT_EQ(del(adjacency_delete(nh)), 0u);
        }
    }
}

TEST_F(AdjacencyTest, AnAdjacencyOverItselfDoesNotKeepItself) {
    ASSERT_EQ(add(label_adjacency(7, 7)), 0u);
    EXPECT_EQ(card.adjacency.table.users(7), 0u);
    ASSERT_EQ(add(label_adjacency(8, 7)), 0u) << "over another one now";
    ASSERT_EQ(add(adjacency(8)), 0u);
    EXPECT_EQ(card.adjacency.table.users(8), 1u);
    ASSERT_EQ(add(label_adjacency(7, 7)), 0u);
    EXPECT_EQ(card.adjacency.table.users(8), 0u);
    EXPECT_EQ(del(adjacency_delete(7)), 0u);
}

// A group's paths name next hops and hold no adjacency.
TEST_F(AdjacencyTest, ADeletedNextHopThatIsStillNamedIsNotHandedOut) {
    const u32 nh = next_hop();
    card.adjacency.next_hops.use(nh);
    EXPECT_EQ(add(adjacency(nh)), 0u);
    EXPECT_EQ(del(adjacency_delete(nh)), 0u);
    EXPECT_EQ(used(Resource::next_hop), 1u);
    card.adjacency.next_hops.unuse(nh);
    EXPECT_EQ(used(Resource::next_hop), 0u);
}

TEST_F(AdjacencyTest, SpoiledAddsAreRefused) {
    const auto refused = [&](u32 code, prm_tx_adj record, auto spoil) {
        spoil(record);
        EXPECT_EQ(add(record), code);
        EXPECT_EQ(mod(record), code);
        EXPECT_EQ(used(Resource::adjacency), 0u);
    };
    const prm_tx_adj plain = adjacency(7), labelled = label_adjacency(7, 8), eompls = eompls_adjacency(8, 9);
    refused(CARD_ERROR_RESERVED_BYTES, plain, [](prm_tx_adj &r) { r.reserved0[0] = 1; });
    refused(CARD_ERROR_RESERVED_BYTES, plain, [](prm_tx_adj &r) { r.reserved120[2003] = 1; });
    refused(CARD_ERROR_BAD_KIND, plain, [](prm_tx_adj &r) { r.adj_flags0 = 0x11; });
    refused(CARD_ERROR_BAD_KIND, plain, [](prm_tx_adj &r) { r.adj_flags0 = 0x04; });
    refused(CARD_ERROR_BAD_KIND, plain, [](prm_tx_adj &r) { r.adj_flags2 = 0x82; });
    refused(CARD_ERROR_BAD_KIND, plain, [](prm_tx_adj &r) { r.adj_flags3 = 2; });
    refused(CARD_ERROR_BAD_VALUE, plain, [](prm_tx_adj &r) { r.nh_idx = 0; });
    refused(CARD_ERROR_BAD_VALUE, plain, [](prm_tx_adj &r) { r.label0 = 5; });
    refused(CARD_ERROR_BAD_VALUE, plain, [](prm_tx_adj &r) { r.tunnel_if = 5; });
    refused(CARD_ERROR_BAD_VALUE, labelled, [](prm_tx_adj &r) { r.nh_idx2 = 0; });
    refused(CARD_ERROR_BAD_VALUE, labelled, [](prm_tx_adj &r) { r.label1 = 0x100000; });
    refused(CARD_ERROR_BAD_VALUE, labelled, [](prm_tx_adj &r) { r.tunnel_if = 5; });
    refused(CARD_ERROR_BAD_VALUE, eompls, [](prm_tx_adj &r) { r.tunnel_if = 0; });
    refused(CARD_ERROR_BAD_VALUE, eompls, [](prm_tx_adj &r) { r.nh_idx2 = 0; });
}

TEST_F(AdjacencyTest, BitsThatAreKeptAsTheyWereFoundMayBeAnything) {
    prm_tx_adj record = adjacency(7);
    record.adj_flags0 |= 0xE8;
    EXPECT_EQ(add(record), 0u);
    EXPECT_EQ(card.adjacency.table.find(7)->flags0, PRM_TX_ADJ_NORMAL);
    prm_tx_adj removal = adjacency_delete(7);
    removal.adj_flags0 = 0xE8;
    EXPECT_EQ(del(removal), 0u);
}

TEST_F(AdjacencyTest, SpoiledDeletesAreRefused) {
    EXPECT_EQ(add(adjacency(7)), 0u);
    prm_tx_adj record = adjacency_delete(7);
    record.nh_idx = 8;
    EXPECT_EQ(del(record), CARD_ERROR_BAD_VALUE);
    EXPECT_EQ(del(adjacency(7)), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(del(eompls_delete(7, 0)), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(used(Resource::adjacency), 1u);
}

TEST_F(AdjacencyTest, OnlyANextHopInUseIsMarkedAsPending) {
    EXPECT_EQ(prm_set_nh_idx_hw_pending(0), CARD_ERROR_NOT_RESERVED);
    EXPECT_EQ(prm_set_nh_idx_hw_pending(card.inventory.pools.next_hop), CARD_ERROR_NOT_RESERVED);
    const u32 nh = next_hop();
    EXPECT_EQ(prm_set_nh_idx_hw_pending(nh), 0u);
    EXPECT_TRUE(card.adjacency.pending.contains(nh));
    EXPECT_EQ(add(adjacency(nh)), 0u);
    EXPECT_FALSE(card.adjacency.pending.contains(nh));
}

TEST_F(AdjacencyTest, StrangersAndNullRecordsAreRefused) {
    prm_tx_adj record = adjacency(7);
    for (auto *operation : {prm_srh_tx_adj_add, prm_srh_tx_adj_mod, prm_srh_tx_adj_del}) {
        EXPECT_EQ(operation(stranger(), &record), CARD_ERROR_BAD_HANDLE);
        EXPECT_EQ(operation(client, nullptr), CARD_ERROR_NULL_POINTER);
    }
    EXPECT_EQ(prm_srh_tx_adj_buddy_reserve(nullptr, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_l3_intf_buddy_reserve(nullptr, nullptr), CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(prm_srh_l3_intf_buddy_reserve(client, nullptr), CARD_ERROR_NULL_POINTER);
}

class SmallAdjacencyTest : public L3Test {
  protected:
    SmallAdjacencyTest()
        : L3Test(limited(small_inventory(), {{Resource::next_hop, 2}, {Resource::tunnel, 1}})) {}
};

TEST_F(SmallAdjacencyTest, PoolsAreBounded) {
    EXPECT_NE(next_hop(), 0u);
    EXPECT_NE(next_hop(), 0u);
    EXPECT_EQ(next_hop(), 0u);
    EXPECT_NE(tunnel(), 0u);
    EXPECT_EQ(tunnel(), 0u);
}

}  // namespace
}  // namespace sim
