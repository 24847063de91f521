// Layer-3 operations given any bytes at all: nothing crashes, and no account is left charged.
#include <random>
#include <set>
#include <vector>

#include "tests/card/sim/forwarding_requests.h"

namespace sim {
namespace {

using ForwardingRobustnessTest = L3Test;

// Changes up to two bytes.
template <typename Record>
void spoil(Record *record, std::mt19937 *random) {
    u8 *const bytes = reinterpret_cast<u8 *>(record);
    for (int n = static_cast<int>((*random)() % 3); n > 0; --n)
        bytes[(*random)() % sizeof *record] = static_cast<u8>((*random)());
}

TEST_F(ForwardingRobustnessTest, AnyBytesLeaveTheAccountsConsistent) {
    std::mt19937 random(12345);
    for (int i = 0; i < 60000; ++i) {
        const u32 n = random() % 8, pointer = (1 + random() % 8) * 64;
        prm_nr_ldi entry = random() % 2 ? ldi(pointer, 1 + n) : swap_ldi(pointer, 1 + n, 2 + n);
        prm_tx_adj link = random() % 2 ? adjacency(1 + n) : label_adjacency(1 + n, 4 + n);
        prm_tx_adj unlink = adjacency_delete(1 + n);
        zor_leaf_request leaf = random() % 2 ? pointing_at(ipv4_leaf(n), pointer)
                                             : recursive(ipv4_leaf(n), card.inventory.pools.next_hop + n, n);
        zor_leaf_request leaf6 = pointing_at(ipv6_leaf(0x20, static_cast<u8>(n)), pointer);
        zor_label_request label = ldi_label(n, random() % 2 != 0, pointer, n);
        zor_label_request removal = label_delete(n);
        spoil(&entry, &random);
        spoil(&link, &random);
        spoil(&leaf, &random);
        spoil(&label, &random);
        switch (random() % 12) {
            case 0:
                add(entry);
                break;
            case 1:
                del(entry);
                break;
            case 2:
                add(link);
                break;
            case 3:
                mod(link);
                break;
            case 4:
                del(unlink);
                break;
            case 5:
                add4(leaf);
                break;
            case 6:
                mod4(leaf);
                break;
            case 7:
                del4(leaf);
                break;
            case 8:
                add6(leaf6);
                break;
            case 9:
                del6(leaf6);
                break;
            case 10:
                add(label);
                break;
            default:
                del(removal);
                break;
        }
    }
    std::vector<Ipv4Key> leaves;
    card.route.ipv4.for_each([&](Ipv4Key key, const Leaf &, u32) { leaves.push_back(key); });
    for (const Ipv4Key key : leaves)
        EXPECT_EQ(del4(ipv4_leaf(static_cast<u32>(key >> 32), key & 0xFF, static_cast<u16>(key >> 8))), 0u);
    std::vector<Ipv6Key> leaves6;
    card.route.ipv6.for_each([&](const Ipv6Key &key, const Leaf &, u32) { leaves6.push_back(key); });
    for (const Ipv6Key &key : leaves6)
        EXPECT_EQ(del6(ipv6_leaf(0x20, static_cast<u8>(key.words[3] >> 24))), 0u);
    std::set<u32> labels;
    card.label.table.for_each([&](u32 key, const LabelEntry &, u32) { labels.insert(key >> 1); });
    for (const u32 label : labels) EXPECT_EQ(del(label_delete(label)), 0u);
    std::vector<u32> pointers;
    card.load_distribution.table.for_each(
        [&](u32 key, const LoadDistribution &, u32) { pointers.push_back(key); });
    for (const u32 pointer : pointers) EXPECT_EQ(del(ldi(pointer)), 0u);
    // One that others go out over goes after these.
    for (size_t before = 0; before != card.adjacency.table.size();) {
        before = card.adjacency.table.size();
        std::vector<u32> hops;
        card.adjacency.table.for_each([&](u32 key, const Adjacency &, u32 users) {
            if (users == 0) hops.push_back(key);
        });
        for (const u32 nh : hops) EXPECT_EQ(del(adjacency_delete(nh)), 0u);
    }
    for (const Resource resource :
         {Resource::ipv4_leaf, Resource::ipv6_leaf, Resource::label, Resource::nr_ldi, Resource::nr_ldi_index,
          Resource::adjacency, Resource::next_hop, Resource::tunnel, Resource::label_index})
        EXPECT_EQ(used(resource), 0u) << static_cast<int>(resource);
}

TEST_F(ForwardingRobustnessTest, RecordsOfRandomBytesCrashNothing) {
    std::mt19937 random(54321);
    union {
        prm_nr_ldi ldi;
        prm_tx_adj adjacency;
        prm_buddy_reserve reserve;
        prm_mpls_leaf_release release;
        zor_leaf_request leaf;
        zor_label_request label;
        prm_lpts_request lpts;
        u8 bytes[sizeof(prm_buddy_reserve)];
    } record;
    for (int i = 0; i < 300; ++i) {
        const u8 fill = i % 3 == 0 ? 0xFF : i % 3 == 1 ? 0 : 1;
        for (u8 &byte : record.bytes) byte = fill == 1 ? static_cast<u8>(random()) : fill;
        // The same bytes for all; what one operation writes is input to the next.
        prm_srh_nr_ldi_add(client, &record.ldi);
        prm_srh_nr_ldi_del(client, &record.ldi);
        prm_srh_nr_ldi_buddy_reserve(nullptr, &record.reserve);
        prm_srh_tx_adj_add(client, &record.adjacency);
        prm_srh_tx_adj_mod(client, &record.adjacency);
        prm_srh_tx_adj_del(client, &record.adjacency);
        prm_srh_tx_adj_buddy_reserve(nullptr, &record.reserve);
        prm_srh_l3_intf_buddy_reserve(client, &record.reserve);
        prm_srh_mpls_leaf_buddy_reserve(nullptr, &record.reserve);
        prm_srh_mpls_leaf_buddy_release(nullptr, &record.release);
        zor_vop_prm_srh_ip_leaf_reserve(client, &record.reserve);
        zor_vop_prm_srh_ipv4_leaf_add(client, &record.leaf);
        zor_vop_prm_srh_ipv4_leaf_mod(client, &record.leaf);
        zor_vop_prm_srh_ipv4_leaf_del(client, &record.leaf);
        zor_vop_prm_srh_ipv6_leaf_add(client, &record.leaf);
        zor_vop_prm_srh_ipv6_leaf_mod(client, &record.leaf);
        zor_vop_prm_srh_ipv6_leaf_del(client, &record.leaf);
        zor_vop_prm_srh_label_ufib_add(client, &record.label);
        zor_vop_prm_srh_label_ufib_mod(client, &record.label);
        zor_vop_prm_srh_label_ufib_del(client, &record.label);
        prm_srh_lpts_add(client, &record.lpts);
        prm_srh_lpts_get(client, &record.lpts, static_cast<u32>(random()));
        prm_srh_lpts_del(client, &record.lpts);
        prm_set_nh_idx_hw_pending(static_cast<u32>(random()));
    }
    EXPECT_EQ(used(Resource::ipv4_leaf), 0u);
    EXPECT_EQ(used(Resource::adjacency), 0u);
}

}  // namespace
}  // namespace sim
