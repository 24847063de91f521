// What contradicts itself or something else on the card, one line each: refused by name, or accepted with the
// reason beside it.
#include <string>

#include "card/codes.h"
#include "tests/card/sim/forwarding_requests.h"
#include "tests/card/sim/interface_test.h"

namespace sim {
namespace {

constexpr u32 kAccepted = CERR_SUCCESS;

void probe(const char *what, u32 expected, u32 answer) {
    const auto name = [](u32 code) { return std::string(code == 0 ? "accepted" : card::code_name(code)); };
    EXPECT_EQ(name(answer), name(expected)) << what;
}

class ContradictionsTest : public InterfaceTest {
  protected:
    u32 set_both(u32 first, const uidb_feature &of_first, u32 second, const uidb_feature &of_second) {
        uidb_feature_batch_of<2> batch = {};
        batch.head.nr_entries = 2;
        batch.head.entries_len = sizeof batch.entries;
        batch.entries[0].if_handle = first;
        batch.entries[0].feature = of_first;
        batch.entries[1].if_handle = second;
        batch.entries[1].feature = of_second;
        return uidb_set_feature_batch(kCookie, &batch.head);
    }
    u32 encapsulate(u32 if_handle, u32 outer, u32 inner, u32 tags, u32 tpid = 0x8100) {
        return set(if_handle,
                   {feature(UIDB_FEATURE_OUTER_TPID, tpid), feature(UIDB_FEATURE_OUTER_VLAN, outer),
                    feature(UIDB_FEATURE_INNER_VLAN, inner), feature(UIDB_FEATURE_VLAN_TAGS, tags)});
    }
    static uidb_feature mac(u8 first_byte) {
        uidb_feature record = feature(UIDB_FEATURE_MAC, 0);
        record.mac[0] = first_byte;
        return record;
    }
    static uidb_feature member(u8 port, u32 add) {
        uidb_feature record = feature(UIDB_FEATURE_BUNDLE_SUBIF_PORT, port);
        record.member_add = add;
        record.member_valid = 1;
        return record;
    }
};

TEST_F(ContradictionsTest, OfInterfaces) {
    constexpr u32 kBundleSub = 0x8009010;
    probe("sub-interface on another port than its parent's", CARD_ERROR_WRONG_PORT,
          create(kNewSub, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 17));
    probe("sub-interface", kAccepted, create(kNewSub, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5));
    probe("port feature that names another port", CARD_ERROR_WRONG_PORT,
          set(kNewSub, UIDB_FEATURE_NP_PORT, 20));
    probe("second sub-interface of the parent", kAccepted,
          create(kNewSub + 1, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5));
    probe("encapsulation that another has", CARD_ERROR_ENCAPSULATION_TAKEN, encapsulate(kNewSub, 100, 0, 1));
    probe("two tags, no inner VLAN", CARD_ERROR_BAD_ENCAPSULATION, encapsulate(kNewSub, 500, 0, 2));
    probe("no tags, an inner VLAN", CARD_ERROR_BAD_ENCAPSULATION, encapsulate(kNewSub, 500, 7, 0));
    probe("VLAN 4095", CARD_ERROR_BAD_VALUE, encapsulate(kNewSub, 4095, 0, 1));
    probe("VLAN 4096", CARD_ERROR_BAD_VALUE, encapsulate(kNewSub, 4096, 0, 1));
    // Which tag protocols a port tells apart is its configuration, of which requests say nothing.
    probe("tag protocol 0x1234", kAccepted, encapsulate(kNewSub, 500, 0, 1, 0x1234));
    probe("MTU 64", kAccepted, set(kNewSub, UIDB_FEATURE_IP_MTU, 64, UIDB_QUALIFIER_IP_MTU));
    probe("MTU 16385", CARD_ERROR_BAD_VALUE, set(kNewSub, UIDB_FEATURE_IP_MTU, 16385, UIDB_QUALIFIER_IP_MTU));
    probe("group MAC", CARD_ERROR_GROUP_MAC, set(kNewSub, {mac(1)}));
    const uidb_feature swap = feature(UIDB_FEATURE_REWRITE_OP, UIDB_REWRITE_SWAP22),
                       ipv4 = feature(UIDB_FEATURE_IPV4_ENABLE, 0);
    probe("rewrite of two tags with one", CARD_ERROR_TOO_FEW_TAGS, set(kL2Sub, {swap}));
    probe("the same in a batch", CARD_ERROR_TOO_FEW_TAGS, set_both(kL2Sub, swap, kMainA, ipv4));
    ASSERT_EQ(encapsulate(kL2Sub, 100, 7, 2), 0u);
    ASSERT_EQ(set(kL2Sub, {swap}), 0u);
    probe("fewer tags than the rewrite takes", CARD_ERROR_TOO_FEW_TAGS, encapsulate(kL2Sub, 0, 0, 0));
    ASSERT_EQ(create(kBundleSub, UIDB_IFTYPE_SUB_INTERFACE, kBundleIfh, 5), 0u);
    probe("port feature below a bundle", CARD_ERROR_FEATURE_NOT_APPLICABLE,
          set(kBundleSub, UIDB_FEATURE_NP_PORT, 5));
    probe("bundle feature below a main interface", CARD_ERROR_FEATURE_NOT_APPLICABLE,
          set(kNewSub, UIDB_FEATURE_LAG_ID, 9));
    // A port's main interface may say which bundle the port belongs to.
    probe("bundle feature of a main interface", kAccepted, set(kMainB, UIDB_FEATURE_LAG_ID, 9));
    probe("IPv4 on a layer-2 sub-interface", CARD_ERROR_LAYER2_INTERFACE,
          set(kL2Sub, UIDB_FEATURE_IPV4_ENABLE, 1));
    // Without routing it has no effect, and is there when the interface is switched back.
    probe("VRF on a layer-2 sub-interface", kAccepted, set(kL2Sub, UIDB_FEATURE_VRF, 1));
    // Cases switch a main interface under its routed sub-interface.
    probe("layer-2 main interface with a layer-3 sub-interface", kAccepted, set(kMainA, UIDB_FEATURE_L2, 1));
}

TEST_F(ContradictionsTest, OfBundles) {
    constexpr u32 kBundleSub = 0x8009010, kOther = kNewBundle + 0x1000;
    ASSERT_EQ(create(kBundleSub, UIDB_IFTYPE_SUB_INTERFACE, kBundleIfh, 5), 0u);
    ASSERT_EQ(set(kBundleSub, UIDB_FEATURE_LAG_ID, 9), 0u);
    probe("second bundle", kAccepted, create(kNewBundle, UIDB_IFTYPE_BUNDLE_MAIN, 0, 0));
    probe("its id", kAccepted, set(kNewBundle, UIDB_FEATURE_LAG_ID, 30));
    ASSERT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 30, {8}), 0u);
    probe("it is formed", kAccepted, lag(UIDB_LAG_CREATE, 30, {8}));
    probe("sub-interface moved to another bundle", CARD_ERROR_WRONG_BUNDLE,
          set(kBundleSub, UIDB_FEATURE_LAG_ID, 30));
    probe("renamed while it is formed", CARD_ERROR_BUNDLE_FORMED, set(kNewBundle, UIDB_FEATURE_LAG_ID, 31));
    probe("deleted while it is formed", CARD_ERROR_BUNDLE_FORMED, uidb_delete_interface(kCookie, kNewBundle));
    ASSERT_EQ(create(kOther, UIDB_IFTYPE_BUNDLE_MAIN, 0, 0), 0u);
    ASSERT_EQ(create(kOther + 1, UIDB_IFTYPE_BUNDLE_MAIN, 0, 0), 0u);
    const uidb_feature id = feature(UIDB_FEATURE_LAG_ID, 40);
    probe("one id for two interfaces in a batch", CARD_ERROR_BUNDLE_EXISTS,
          set_both(kOther, id, kOther + 1, id));
    probe("formed without an interface", CARD_ERROR_NO_BUNDLE_INTERFACE, lag(UIDB_LAG_CREATE, 77, {}));
    ASSERT_EQ(set(kOther, UIDB_FEATURE_LAG_ID, 40), 0u);
    // Down, not wrong.
    probe("formed with no members", kAccepted, lag(UIDB_LAG_CREATE, 40, {}));
    probe("a port twice in the list", CARD_ERROR_PORT_TWICE, lag(UIDB_LAG_SET_MEMBERS, 30, {8, 8}));
    // Cases configure the port of a main interface that has sub-interfaces.
    probe("member port with sub-interfaces of its own", kAccepted, lag(UIDB_LAG_CONFIG_MEMBER, 30, {5}));
    probe("port that the card has not", CARD_ERROR_UNKNOWN_PORT, lag(UIDB_LAG_CONFIG_MEMBER, 30, {64}));
    // Cases name a port that left the bundle before.
    probe("sub-interface's port that is no member", kAccepted, set(kBundleSub, {member(33, 1)}));
}

TEST_F(ContradictionsTest, OfStatisticsPointers) {
    const u32 a = allocate_statistics(PRM_STATS_INGRESS), egress = allocate_statistics(PRM_STATS_EGRESS);
    probe("egress pointer for ingress", CARD_ERROR_UNKNOWN_STATISTICS,
          set(kMainA, UIDB_FEATURE_STATS_POINTER, egress));
    probe("pointer A", kAccepted, set(kMainA, UIDB_FEATURE_STATS_POINTER, a));
    probe("pointer A on a second interface", CARD_ERROR_IN_USE, set(kMainB, UIDB_FEATURE_STATS_POINTER, a));
    const u32 b = allocate_statistics(PRM_STATS_INGRESS);
    probe("pointer B in its place", kAccepted, set(kMainA, UIDB_FEATURE_STATS_POINTER, b));
    probe("pointer A again", kAccepted, set(kMainA, UIDB_FEATURE_STATS_POINTER, a));
    EXPECT_NE(allocate_statistics(PRM_STATS_INGRESS), a) << "A is the client's";
}

class ForwardingContradictionsTest : public L3Test {};

TEST_F(ForwardingContradictionsTest, OfAdjacencies) {
    const u32 nh = next_hop(), mpls_nh = next_hop();
    prm_tx_adj record = adjacency(nh);
    // Cases program one whose interface is not there.
    record.uidb = 999;
    probe("over an index without an interface", kAccepted, add(record));
    record = adjacency(nh);
    std::memset(record.dmac, 0, sizeof record.dmac);
    // Drop and punt adjacencies have no need of one.
    probe("without a MAC", kAccepted, add(record));
    record.uidb = 41;
    // Cases switch the interface of adjacencies to layer 2.
    probe("over a layer-2 interface", kAccepted, add(record));
    probe("its interface is deleted", CARD_ERROR_IN_USE, uidb_delete_interface(0, kL2Sub));
    ASSERT_EQ(add(label_adjacency(nh, mpls_nh)), 0u);
    probe("deleted while a label adjacency rides on it", CARD_ERROR_IN_USE, del(adjacency_delete(nh)));
    // Cases program one over a next hop that never has an adjacency.
    probe("label adjacency over a next hop without an adjacency", kAccepted,
          add(label_adjacency(100030, mpls_nh)));
    ASSERT_EQ(add(ldi(64, nh)), 0u);
    probe("deleted while an entry names it", CARD_ERROR_IN_USE, del(adjacency_delete(nh)));
    ASSERT_EQ(add(ldi(128, 350)), 0u);
    ASSERT_EQ(add(adjacency(350)), 0u);
    probe("deleted while an earlier entry names it", CARD_ERROR_IN_USE, del(adjacency_delete(350)));
    ASSERT_EQ(add4(recursive(ipv4_leaf(1), nh + 60, 330)), 0u);
    ASSERT_EQ(add(adjacency(330)), 0u);
    probe("deleted while a recursive leaf names it", CARD_ERROR_IN_USE, del(adjacency_delete(330)));
    probe("pending without a reservation", CARD_ERROR_NOT_RESERVED, prm_set_nh_idx_hw_pending(nh + 70));
}

TEST_F(ForwardingContradictionsTest, OfEntriesLabelsAndLeaves) {
    probe("leaf at no entry", CARD_ERROR_UNKNOWN_REFERENCE, add4(pointing_at(ipv4_leaf(1), 64)));
    ASSERT_EQ(add(ldi(64)), 0u);
    probe("leaf at an entry", kAccepted, add4(pointing_at(ipv4_leaf(1), 64)));
    probe("entry deleted while a leaf points at it", CARD_ERROR_IN_USE, del(ldi(64)));
    probe("label at no entry", CARD_ERROR_UNKNOWN_REFERENCE, add(ldi_label(55, true, 128)));
    // Reserved labels are the sender's affair: a card looks up what arrives.
    probe("label 3", kAccepted, add(ldi_label(3, true, 64)));
    // Indices that did not come from a pool are names.
    probe("label with an index that was not reserved", kAccepted, add(ldi_label(55, true, 64, 9)));
    // Cases give one index to two labels.
    probe("second label with the same index", kAccepted, add(ldi_label(56, true, 64, 9)));
    prm_nr_ldi two = swap_ldi(128, 7, 8);
    two.path_len = 2 * PRM_NR_LDI_BLOCK_LEN;
    probe("second path block without a next hop", CARD_ERROR_BAD_VALUE, add(two));
    std::memcpy(two.path_data + PRM_NR_LDI_BLOCK_LEN, two.path_data, PRM_NR_LDI_BLOCK_LEN);
    probe("two path blocks", kAccepted, add(two));
    EXPECT_EQ(card.load_distribution.table.find(128)->paths.size(), 2u);
    prm_nr_ldi words = ldi(192, 320);
    const u32 second = 321;
    std::memcpy(words.path_data + 8, &second, sizeof second);
    probe("words with two next hops", kAccepted, add(words));
    EXPECT_EQ(card.load_distribution.table.find(192)->paths.size(), 2u);
    two.path_len = 3 * PRM_NR_LDI_BLOCK_LEN;
    std::memcpy(two.path_data + 2 * PRM_NR_LDI_BLOCK_LEN, two.path_data, PRM_NR_LDI_BLOCK_LEN);
    probe("three path blocks", kAccepted, add(two));

    zor_leaf_request stray = ipv4_leaf(2);
    stray.payload.reserved4[0] = stray.payload.reserved51[0] = stray.ipv4.reserved6[0] = 0xFF;
    probe("IPv4 leaf with stray bytes in its payload and key", kAccepted, add4(stray));
    stray.payload.tag_bits = 0xFC0F;
    probe("IPv4 leaf with other tag bits", kAccepted, add4(stray));
    stray.owner = 11;
    probe("owner that the inventory has not", CARD_ERROR_BAD_OWNER, add4(stray));
    probe("host bits", CARD_ERROR_BAD_PREFIX, add4(ipv4_leaf(0x01010102, 24)));
    // A VRF begins with its first route or its first interface, whichever comes first.
    probe("leaf in a VRF without an interface", kAccepted, add4(ipv4_leaf(1, 32, 9999)));
    // Reservations name neither family nor leaf, and a case is worth running without the one that reserves.
    probe("leaf without room reserved", kAccepted, add4(ipv4_leaf(3)));
    EXPECT_EQ(used(Resource::leaf), 0u);
}

TEST_F(ForwardingContradictionsTest, OfTransportEntries) {
    const auto send = [&](auto spoil) {
        prm_lpts_request request = lpts_add_request();
        spoil(request.entry);
        return prm_srh_lpts_add(client, &request);
    };
    probe("an entry", kAccepted, send([](prm_lpts_entry &) {}));
    // Hardware keeps two equal entries; which of them matches is not told.
    probe("the same entry again", kAccepted, send([](prm_lpts_entry &) {}));
    // Ports of a protocol without them are compared with bytes at their place.
    probe("ICMP with a port", kAccepted, send([](prm_lpts_entry &entry) { entry.l4_proto = 1; }));
    probe("third protocol", CARD_ERROR_BAD_KIND, send([](prm_lpts_entry &entry) { entry.l3_proto = 3; }));
    probe("mask 0x0f", CARD_ERROR_BAD_VALUE, send([](prm_lpts_entry &entry) { entry.lpts_mask0 = 0x0F; }));
    probe("type 257", CARD_ERROR_BAD_KIND, send([](prm_lpts_entry &entry) { entry.lpts_type = 257; }));
}

// Clients of one process share the card: none owns what another may not touch.
TEST_F(ForwardingContradictionsTest, OfHandles) {
    prm_buddy_reserve request = reservation(0, 1);
    probe("reservation of a next hop without a client", kAccepted,
          prm_srh_tx_adj_buddy_reserve(nullptr, &request));
    probe("close with a client registered", CARD_ERROR_CLIENTS_REGISTERED, prm_mgr_close(connection));
    prm_handle_t second = nullptr;
    probe("second connection of the same name", CARD_ERROR_ALREADY_OPEN,
          prm_mgr_open(evm, 0, "client", ignore_notification, 7, 0, &second));
    ASSERT_EQ(prm_srh_register(&second, 1, evm, ignore_notification), 0u);
    probe("second client of the same name", CARD_ERROR_NAME_TAKEN, prm_srh_set_name(second, "client"));
    ASSERT_EQ(add(adjacency(7)), 0u);
    prm_tx_adj removal = adjacency_delete(7);
    probe("one client deletes the other's adjacency", kAccepted, prm_srh_tx_adj_del(second, &removal));
    ASSERT_EQ(prm_srh_unregister("client", 0), 0u);
    ASSERT_EQ(prm_mgr_close(connection), CARD_ERROR_CLIENTS_REGISTERED);
    probe("handle of a client that is gone", CARD_ERROR_BAD_HANDLE, prm_srh_tx_adj_del(client, &removal));
    probe("a connection's handle for a client's", CARD_ERROR_BAD_HANDLE,
          prm_srh_tx_adj_del(connection, &removal));
    event_manager_destroy(&evm);
    probe("handle of a client whose event manager is gone", CARD_ERROR_BAD_HANDLE,
          prm_srh_tx_adj_del(second, &removal));
    probe("closed twice", CARD_ERROR_BAD_HANDLE, prm_mgr_close(connection));
}

}  // namespace
}  // namespace sim
