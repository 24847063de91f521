// Multi-path groups, EVPN MACs, split-horizon and overlay entries.
#include <cstring>

#include "tests/card/sim/card_test.h"
#include "tests/card/sim/l2_requests.h"

namespace sim {
namespace {

constexpr u32 kBd = 500;

class EvpnTest : public CardTest {
  protected:
    void SetUp() override {
        CardTest::SetUp();
        prm_bd_request request = vxlan_domain(kBd, 5000);
        ASSERT_EQ(prm_srh_bd_add(client, &request), 0u);
    }
    u32 delete_domain() {
        prm_bd_request request = domain(kBd);
        return prm_srh_bd_del(client, &request);
    }
    u32 reserve() {
        prm_buddy_reserve request = {};
        EXPECT_EQ(prm_srh_vplag_buddy_reserve(client, &request), 0u);
        return request.index;
    }
};

TEST_F(EvpnTest, GroupsAreReservedAddedChangedAndDeleted) {
    EXPECT_EQ(reserve(), 1u);
    EXPECT_EQ(reserve(), 2u);
    prm_l2_ecmp_request request = vplag(1, 2);
    EXPECT_EQ(prm_srh_l2_ecmp_mod(client, &request), CARD_ERROR_UNKNOWN_VPLAG);
    EXPECT_EQ(prm_srh_l2_ecmp_del(client, &request), CARD_ERROR_UNKNOWN_VPLAG);
    EXPECT_EQ(prm_srh_l2_ecmp_add(client, &request), 0u);
    EXPECT_EQ(prm_srh_l2_ecmp_add(client, &request), CARD_ERROR_EXISTS);
    EXPECT_EQ(card.evpn.vplags.find(1)->paths.size(), 2u);
    request = vplag(1, 16);
    EXPECT_EQ(prm_srh_l2_ecmp_mod(client, &request), 0u);
    EXPECT_EQ(card.evpn.vplags.find(1)->paths[15].remote_vtep, kFarVtep + 15);
    EXPECT_EQ(prm_srh_l2_ecmp_del(client, &request), 0u);
    EXPECT_EQ(used(Resource::vplag), 0u);
    EXPECT_EQ(used(Resource::vplag_index), 1u);
    EXPECT_FALSE(card.evpn.vplag_ids.in_use(1)) << "a deleted group's number is free again";
    EXPECT_EQ(reserve(), 3u) << "and comes last";
}

TEST_F(EvpnTest, AGroupOfANumberThatWasNotReservedTakesIt) {
    prm_l2_ecmp_request request = vplag(1);
    ASSERT_EQ(prm_srh_l2_ecmp_add(client, &request), 0u);
    EXPECT_EQ(reserve(), 2u);
}

TEST_F(EvpnTest, AGroupMayHaveNoPaths) {
    prm_l2_ecmp_request request = vplag(1, 0);
    EXPECT_EQ(prm_srh_l2_ecmp_add(client, &request), 0u);
}

TEST_F(EvpnTest, GroupsThatMakeNoSenseAreRefused) {
    prm_l2_ecmp_request request = vplag(1, 17);
    EXPECT_EQ(prm_srh_l2_ecmp_add(client, &request), CARD_ERROR_BAD_COUNT);
    request = vplag(1, 0xFFFFFFFF);
    EXPECT_EQ(prm_srh_l2_ecmp_add(client, &request), CARD_ERROR_BAD_COUNT);
    request = vplag(1);
    request.info.source_vtep = 0;
    EXPECT_EQ(prm_srh_l2_ecmp_add(client, &request), CARD_ERROR_BAD_VALUE);
    request = vplag(1, 2);
    request.info.remote_vtep[1] = 0;
    EXPECT_EQ(prm_srh_l2_ecmp_add(client, &request), CARD_ERROR_BAD_VALUE);
    request = vplag(1);
    request.object_code = PRM_L2_OBJECT_CIRCUIT;
    EXPECT_EQ(prm_srh_l2_ecmp_add(client, &request), CARD_ERROR_BAD_KIND);
    request = vplag(1);
    request.kind = 0;
    EXPECT_EQ(prm_srh_l2_ecmp_add(client, &request), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(prm_srh_l2_ecmp_add(stranger(), &request), CARD_ERROR_BAD_HANDLE);
    for (auto operation : {prm_srh_l2_ecmp_add, prm_srh_l2_ecmp_mod, prm_srh_l2_ecmp_del}) {
        EXPECT_EQ(operation(client, nullptr), CARD_ERROR_NULL_POINTER);
    }
    EXPECT_EQ(prm_srh_vplag_buddy_reserve(client, nullptr), CARD_ERROR_NULL_POINTER);
    prm_buddy_reserve reservation = {};
    EXPECT_EQ(prm_srh_vplag_buddy_reserve(nullptr, &reservation), CARD_ERROR_BAD_HANDLE);
    reservation.count = 2;
    EXPECT_EQ(prm_srh_vplag_buddy_reserve(client, &reservation), CARD_ERROR_BAD_COUNT);
}

TEST_F(EvpnTest, MacsHoldTheirDomain) {
    prm_evpn_mac_request request = mac(kBd, 1), other = mac(kBd, 2);
    ASSERT_EQ(prm_srh_evpn_mac_install_add(client, &request), 0u);
    ASSERT_EQ(prm_srh_evpn_mac_install_add(client, &other), 0u);
    EXPECT_EQ(delete_domain(), CARD_ERROR_IN_USE);
    EXPECT_EQ(prm_srh_evpn_mac_install_del(client, &request), 0u);
    EXPECT_EQ(prm_srh_evpn_mac_install_del(client, &request), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(prm_srh_evpn_mac_install_del(client, &other), 0u);
    EXPECT_EQ(delete_domain(), 0u);
    EXPECT_EQ(prm_srh_evpn_mac_install_add(client, &request), CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN);
}

TEST_F(EvpnTest, AMacThatMovedIsInstalledAgain) {
    prm_evpn_mac_request request = mac(kBd, 1);
    ASSERT_EQ(prm_srh_evpn_mac_install_add(client, &request), 0u);
    request.entry.type = 99;
    request.entry.fec = 0xFFFFFFFF;
    ASSERT_EQ(prm_srh_evpn_mac_install_add(client, &request), 0u);
    EvpnMacKey key = {.bd_id = kBd};
    key.mac[5] = 1;
    EXPECT_EQ(card.evpn.macs.find(key)->type, 99u);
    EXPECT_EQ(card.evpn.macs.find(key)->fec, 0xFFFFFFFFu);
    EXPECT_EQ(used(Resource::evpn_mac), 1u);
    EXPECT_EQ(card.l2.bridge_domains.users(kBd), 1u);
    EXPECT_EQ(prm_srh_evpn_mac_install_del(client, &request), 0u);
    EXPECT_EQ(delete_domain(), 0u);
}

TEST_F(EvpnTest, MacsAndOverlaysNeedADomainWithAVni) {
    prm_bd_request plain = domain(kBd + 1);
    ASSERT_EQ(prm_srh_bd_add(client, &plain), 0u);
    prm_evpn_mac_request address = mac(kBd + 1, 1);
    prm_vxlan_ole_request far_end = overlay(kBd + 1, kFarVtep);
    EXPECT_EQ(prm_srh_evpn_mac_install_add(client, &address), CARD_ERROR_NO_VNI);
    EXPECT_EQ(prm_srh_vxlan_ole_add(client, &far_end), CARD_ERROR_NO_VNI);
    EXPECT_EQ(prm_srh_bd_del(client, &plain), 0u) << "nothing holds it";
}

TEST_F(EvpnTest, NoFarEndIsTheSourceVtepOrHasTheNextHop0) {
    prm_vxlan_ole_request far_end = overlay(kBd, kVtep);
    EXPECT_EQ(prm_srh_vxlan_ole_add(client, &far_end), CARD_ERROR_OWN_VTEP);
    far_end = overlay(kBd, kFarVtep, 0);
    EXPECT_EQ(prm_srh_vxlan_ole_add(client, &far_end), CARD_ERROR_BAD_VALUE);
    far_end = overlay(kBd, kFarVtep);
    ASSERT_EQ(prm_srh_vxlan_ole_add(client, &far_end), 0u);
    far_end.nh_id = 0;
    EXPECT_EQ(prm_srh_vxlan_ole_mod(client, &far_end), CARD_ERROR_BAD_VALUE);
    EXPECT_EQ(prm_srh_vxlan_ole_del(client, &far_end), 0u) << "a delete names none";
    prm_l2_ecmp_request group = vplag(1, 2);
    group.info.remote_vtep[1] = kVtep;
    EXPECT_EQ(prm_srh_l2_ecmp_add(client, &group), CARD_ERROR_OWN_VTEP);
    group = vplag(1, 2);
    group.info.nh_id[1] = 0;
    EXPECT_EQ(prm_srh_l2_ecmp_add(client, &group), CARD_ERROR_BAD_VALUE);
    EXPECT_EQ(used(Resource::vplag), 0u);
}

TEST_F(EvpnTest, MacsThatMakeNoSenseAreRefused) {
    prm_evpn_mac_request request = mac(kBd, 0);
    EXPECT_EQ(prm_srh_evpn_mac_install_add(client, &request), CARD_ERROR_BAD_VALUE);
    for (const u8 first : {0x01, 0x33, 0xFF}) {
        request = mac(kBd, 1);
        request.entry.mac[0] = first;
        EXPECT_EQ(prm_srh_evpn_mac_install_add(client, &request), CARD_ERROR_GROUP_MAC);
    }
    request = mac(kBd, 1);
    request.xid_type = 0;
    EXPECT_EQ(prm_srh_evpn_mac_install_add(client, &request), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(prm_srh_evpn_mac_install_add(client, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_evpn_mac_install_del(client, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_evpn_mac_install_del(stranger(), &request), CARD_ERROR_BAD_HANDLE);
    card.accounts[Resource::evpn_mac].limit = 0;
    request = mac(kBd, 1);
    EXPECT_EQ(prm_srh_evpn_mac_install_add(client, &request), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(delete_domain(), 0u) << "nothing holds it";
}

TEST_F(EvpnTest, ForwardersHoldTheirInterface) {
    prm_shg_df_request request = forwarder(kFarVtep, kL3Sub, 1), same_number = forwarder(kFarVtep, kL3Sub, 0);
    ASSERT_EQ(prm_srh_fpem_shg_df_entry_add(client, &request), 0u);
    ASSERT_EQ(prm_srh_fpem_shg_df_entry_add(client, &same_number), 0u)
        << "an address and a VNI are not the same";
    EXPECT_EQ(prm_srh_fpem_shg_df_entry_add(client, &request), CARD_ERROR_EXISTS);
    EXPECT_EQ(uidb_delete_interface(0, kL3Sub), CARD_ERROR_IN_USE);
    EXPECT_EQ(prm_srh_fpem_shg_df_entry_del(client, &request), 0u);
    EXPECT_EQ(prm_srh_fpem_shg_df_entry_del(client, &request), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(prm_srh_fpem_shg_df_entry_del(client, &same_number), 0u);
    EXPECT_EQ(uidb_delete_interface(0, kL3Sub), 0u);
    EXPECT_EQ(prm_srh_fpem_shg_df_entry_add(client, &request), CARD_ERROR_UNKNOWN_INTERFACE);
}

TEST_F(EvpnTest, ForwardersThatMakeNoSenseAreRefused) {
    prm_shg_df_request request = forwarder(0, kMainA, 1);
    EXPECT_EQ(prm_srh_fpem_shg_df_entry_add(client, &request), CARD_ERROR_BAD_VALUE);
    request = forwarder(kFarVtep, kMainA, 2);
    EXPECT_EQ(prm_srh_fpem_shg_df_entry_add(client, &request), CARD_ERROR_BAD_VALUE);
    request = forwarder(kFarVtep, kMainA, 1);
    request.kind = 1;
    EXPECT_EQ(prm_srh_fpem_shg_df_entry_add(client, &request), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(prm_srh_fpem_shg_df_entry_add(client, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_fpem_shg_df_entry_del(client, nullptr), CARD_ERROR_NULL_POINTER);
}

TEST_F(EvpnTest, OverlaysHoldTheirDomain) {
    prm_vxlan_ole_request request = overlay(kBd, kFarVtep);
    EXPECT_EQ(prm_srh_vxlan_ole_mod(client, &request), CARD_ERROR_NOT_FOUND);
    ASSERT_EQ(prm_srh_vxlan_ole_add(client, &request), 0u);
    EXPECT_EQ(prm_srh_vxlan_ole_add(client, &request), CARD_ERROR_EXISTS);
    request.nh_id = kNextHop + 1;
    EXPECT_EQ(prm_srh_vxlan_ole_mod(client, &request), 0u);
    EXPECT_EQ(card.evpn.overlays.find(overlay_key(kBd, kFarVtep))->next_hop, kNextHop + 1);
    EXPECT_EQ(delete_domain(), CARD_ERROR_IN_USE);
    EXPECT_EQ(prm_srh_vxlan_ole_del(client, &request), 0u);
    EXPECT_EQ(prm_srh_vxlan_ole_del(client, &request), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(delete_domain(), 0u);
    EXPECT_EQ(prm_srh_vxlan_ole_add(client, &request), CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN);
}

TEST_F(EvpnTest, OverlaysThatMakeNoSenseAreRefused) {
    prm_vxlan_ole_request request = overlay(kBd, 0);
    EXPECT_EQ(prm_srh_vxlan_ole_add(client, &request), CARD_ERROR_BAD_VALUE);
    request = overlay(kBd, kFarVtep);
    request.kind = PRM_L2_REQUEST_KIND;
    EXPECT_EQ(prm_srh_vxlan_ole_add(client, &request), CARD_ERROR_BAD_KIND);
    for (auto operation : {prm_srh_vxlan_ole_add, prm_srh_vxlan_ole_mod, prm_srh_vxlan_ole_del}) {
        EXPECT_EQ(operation(client, nullptr), CARD_ERROR_NULL_POINTER);
        EXPECT_EQ(operation(stranger(), &request), CARD_ERROR_BAD_HANDLE);
    }
}

TEST_F(EvpnTest, ANextHopThatAnEntryNamesIsNotHandedOut) {
    const u32 first = card.inventory.pools.next_hop;
    prm_vxlan_ole_request named = overlay(kBd, kFarVtep, first);
    prm_l2_ecmp_request group = vplag(1, 1);
    group.info.nh_id[0] = first + 1;
    ASSERT_EQ(prm_srh_vxlan_ole_add(client, &named), 0u);
    ASSERT_EQ(prm_srh_l2_ecmp_add(client, &group), 0u);
    prm_buddy_reserve request = {};
    request.count = 1;
    ASSERT_EQ(prm_srh_tx_adj_buddy_reserve(nullptr, &request), 0u);
    EXPECT_EQ(request.index, first + 2);
    // Changed to name others, they let these go.
    named.nh_id = first + 3;
    group.info.nh_id[0] = first + 4;
    ASSERT_EQ(prm_srh_vxlan_ole_mod(client, &named), 0u);
    ASSERT_EQ(prm_srh_l2_ecmp_mod(client, &group), 0u);
    EXPECT_EQ(used(Resource::next_hop), 3u);
    named.nh_id = group.info.nh_id[0] = kNextHop;  // outside the pool
    ASSERT_EQ(prm_srh_vxlan_ole_mod(client, &named), 0u);
    ASSERT_EQ(prm_srh_l2_ecmp_mod(client, &group), 0u);
    EXPECT_EQ(used(Resource::next_hop), 1u);
    named.nh_id = first + 3;
    group.info.nh_id[0] = first + 4;
    ASSERT_EQ(prm_srh_vxlan_ole_mod(client, &named), 0u);
    ASSERT_EQ(prm_srh_l2_ecmp_mod(client, &group), 0u);
    for (const u32 free : {first + 5, first + 6}) {
        ASSERT_EQ(prm_srh_tx_adj_buddy_reserve(nullptr, &request), 0u);
        EXPECT_EQ(request.index, free);
    }
    // Deleted, they are free again.
    ASSERT_EQ(prm_srh_vxlan_ole_del(client, &named), 0u);
    ASSERT_EQ(prm_srh_l2_ecmp_del(client, &group), 0u);
    for (const u32 free : {first + 3, first + 4}) EXPECT_FALSE(card.adjacency.next_hops.in_use(free));
}

}  // namespace
}  // namespace sim
