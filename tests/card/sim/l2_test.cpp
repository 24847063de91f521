// Bridge domains, attachment circuits and cross-connects.
#include "prm_srh_tx_adj.h"
#include "tests/card/sim/card_test.h"
#include "tests/card/sim/interface_requests.h"
#include "tests/card/sim/l2_requests.h"

namespace sim {
namespace {

constexpr u32 kBd = 100, kAc = 41, kAcB = 42, kL3Uidb = 43, kBviIfh = 0x800004C, kBviUidb = 4064, kPw = 32768;

class L2Test : public CardTest {
  protected:
    u32 add(prm_xid_request request) { return prm_srh_xid_add(client, &request); }
    u32 mod(prm_xid_request request) { return prm_srh_xid_mod(client, &request); }
    u32 del(prm_xid_request request) { return prm_srh_xid_del(client, &request); }
    u32 add_bd(u32 bd = kBd) { return add_bd(domain(bd)); }
    u32 add_bd(prm_bd_request request) { return prm_srh_bd_add(client, &request); }
    u32 mod_bd(prm_bd_request request) { return prm_srh_bd_mod(client, &request); }
    u32 del_bd(u32 bd = kBd) {
        prm_bd_request request = domain(bd);
        return prm_srh_bd_del(client, &request);
    }
    const Circuit *circuit(u32 uidb) const {
        return card.l2.circuits.find(circuit_on(static_cast<u16>(uidb)));
    }
    u32 set_l2(u32 if_handle, u32 flag) { return set_features(if_handle, {feature(UIDB_FEATURE_L2, flag)}); }
};

// ---- Bridge domains.

TEST_F(L2Test, BridgeDomainsAreAddedOnceModifiedAndDeleted) {
    prm_bd_request request = domain(kBd);
    EXPECT_EQ(prm_srh_bd_mod(client, &request), CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN);
    EXPECT_EQ(prm_srh_bd_del(client, &request), CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN);
    EXPECT_EQ(prm_srh_bd_add(client, &request), 0u);
    EXPECT_EQ(prm_srh_bd_add(client, &request), CARD_ERROR_EXISTS);
    request.flags73 = PRM_BD_73_BVI;
    EXPECT_EQ(prm_srh_bd_mod(client, &request), 0u);
    EXPECT_EQ(card.l2.bridge_domains.find(kBd)->flags73, PRM_BD_73_BVI);
    EXPECT_EQ(prm_srh_bd_del(client, &request), 0u);
    EXPECT_EQ(used(Resource::bridge_domain), 0u);
}

TEST_F(L2Test, AVxlanDomainHasAVniAndASourceVtep) {
    prm_bd_request request = domain(kBd);
    request.flags74 = PRM_BD_74_VXLAN;
    request.vni_low = 0x2345;
    request.vni_high = 1;
    EXPECT_EQ(prm_srh_bd_add(client, &request), CARD_ERROR_BAD_VALUE);
    request.source_vtep = 0xC0A80101;
    EXPECT_EQ(prm_srh_bd_add(client, &request), 0u);
    EXPECT_EQ(card.l2.bridge_domains.find(kBd)->vni, 0x12345u);
    EXPECT_EQ(card.l2.bridge_domains.find(kBd)->source_vtep, 0xC0A80101u);
    request.vni_low = 0;
    request.vni_high = 0;
    EXPECT_EQ(prm_srh_bd_mod(client, &request), CARD_ERROR_BAD_VALUE);
}

TEST_F(L2Test, AVniBelongsToOneDomain) {
    ASSERT_EQ(add_bd(vxlan_domain(kBd, 5000)), 0u);
    EXPECT_EQ(add_bd(vxlan_domain(kBd + 1, 5000)), CARD_ERROR_VNI_TAKEN);
    EXPECT_EQ(add_bd(vxlan_domain(kBd + 1, 5000, kVtep + 1)), CARD_ERROR_VNI_TAKEN) << "from any VTEP";
    ASSERT_EQ(add_bd(vxlan_domain(kBd + 1, 5001)), 0u);
    EXPECT_EQ(mod_bd(vxlan_domain(kBd + 1, 5000)), CARD_ERROR_VNI_TAKEN);
    EXPECT_EQ(card.l2.bridge_domains.find(kBd + 1)->vni, 5001u);
    EXPECT_EQ(mod_bd(vxlan_domain(kBd, 5000, kVtep + 1)), 0u) << "its own";
    EXPECT_EQ(mod_bd(vxlan_domain(kBd, 5002)), 0u);
    EXPECT_EQ(mod_bd(vxlan_domain(kBd + 1, 5000)), 0u) << "let go by the modify";
    EXPECT_EQ(del_bd(kBd), 0u);
    EXPECT_EQ(add_bd(vxlan_domain(kBd + 2, 5002)), 0u) << "and by the delete";
    EXPECT_EQ(mod_bd(domain(kBd + 2)), 0u);
    EXPECT_EQ(add_bd(vxlan_domain(kBd + 3, 5002)), 0u) << "and by a modify that takes it away";
}

TEST_F(L2Test, ADomainKeepsItsVniWhileOverlaysAreInIt) {
    ASSERT_EQ(add_bd(vxlan_domain(kBd, 5000)), 0u);
    prm_vxlan_ole_request far_end = overlay(kBd, kFarVtep);
    prm_evpn_mac_request address = mac(kBd, 1);
    ASSERT_EQ(prm_srh_vxlan_ole_add(client, &far_end), 0u);
    ASSERT_EQ(prm_srh_evpn_mac_install_add(client, &address), 0u);
    EXPECT_EQ(mod_bd(domain(kBd)), CARD_ERROR_IN_USE);
    EXPECT_EQ(card.l2.bridge_domains.find(kBd)->vni, 5000u);
    EXPECT_EQ(mod_bd(vxlan_domain(kBd, 5000, kFarVtep)), CARD_ERROR_OWN_VTEP) << "an overlay leads there";
    EXPECT_EQ(mod_bd(vxlan_domain(kBd, 6000, kVtep + 1)), 0u) << "another one is fine";
    EXPECT_EQ(prm_srh_vxlan_ole_del(client, &far_end), 0u);
    EXPECT_EQ(mod_bd(domain(kBd)), CARD_ERROR_IN_USE) << "for the MAC";
    EXPECT_EQ(prm_srh_evpn_mac_install_del(client, &address), 0u);
    EXPECT_EQ(mod_bd(domain(kBd)), 0u);
}

TEST_F(L2Test, BridgeDomainRequestsOfAnotherKindAreRefused) {
    prm_bd_request request = domain(kBd);
    request.kind = 9;
    EXPECT_EQ(prm_srh_bd_add(client, &request), CARD_ERROR_BAD_KIND);
    request = domain(kBd);
    request.xid_type = PRM_XID_TYPE_CIRCUIT;
    EXPECT_EQ(prm_srh_bd_add(client, &request), CARD_ERROR_BAD_KIND);
    request = domain(kBd);
    request.object_code = PRM_L2_OBJECT_CIRCUIT;
    EXPECT_EQ(prm_srh_bd_add(client, &request), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(prm_srh_bd_add(stranger(), &request), CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(prm_srh_bd_add(nullptr, &request), CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(prm_srh_bd_add(client, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_bd_mod(client, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_bd_del(client, nullptr), CARD_ERROR_NULL_POINTER);
}

// ---- Members.

TEST_F(L2Test, ABindHoldsDomainAndInterface) {
    EXPECT_EQ(add(member(kBd, kAc)), CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN);
    ASSERT_EQ(add_bd(), 0u);
    ASSERT_EQ(add(member(kBd, kAc)), 0u);
    EXPECT_EQ(del_bd(), CARD_ERROR_IN_USE);
    EXPECT_EQ(uidb_delete_interface(0, kL2Sub), CARD_ERROR_IN_USE);
    EXPECT_EQ(set_l2(kL2Sub, 0), CARD_ERROR_IN_USE) << "a circuit needs its interface switched";
    EXPECT_EQ(del(member(kBd, kAc)), 0u);
    EXPECT_EQ(set_l2(kL2Sub, 0), 0u);
    EXPECT_EQ(uidb_delete_interface(0, kL2Sub), 0u);
    EXPECT_EQ(del_bd(), 0u);
}

TEST_F(L2Test, ACircuitNeedsASwitchedInterface) {
    ASSERT_EQ(add_bd(), 0u);
    EXPECT_EQ(add(member(kBd, kL3Uidb)), CARD_ERROR_NOT_LAYER2);
    EXPECT_EQ(add(member(kBd, 999)), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_EQ(add(member(kBd, 0x10000 + kAc)), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_EQ(used(Resource::circuit), 0u);
}

TEST_F(L2Test, ABindThatIsRepeatedReplaces) {
    ASSERT_EQ(add_bd(), 0u);
    ASSERT_EQ(add(member(kBd, kAc)), 0u);
    prm_xid_request again = member(kBd, kAc);
    again.flags88 = PRM_XID_88_MAC_LEARN_ENABLE;
    EXPECT_EQ(add(again), 0u);
    EXPECT_EQ(circuit(kAc)->flags[0], PRM_XID_88_MAC_LEARN_ENABLE);
    EXPECT_EQ(card.l2.bridge_domains.users(kBd), 1u);
    EXPECT_EQ(used(Resource::circuit), 1u);
}

TEST_F(L2Test, ABindToAnotherDomainMovesTheCircuit) {
    ASSERT_EQ(add_bd(kBd), 0u);
    ASSERT_EQ(add_bd(kBd + 1), 0u);
    ASSERT_EQ(add(member(kBd, kAc)), 0u);
    ASSERT_EQ(add(member(kBd + 1, kAc)), 0u);
    EXPECT_EQ(del_bd(kBd), 0u);
    EXPECT_EQ(del_bd(kBd + 1), CARD_ERROR_IN_USE);
}

TEST_F(L2Test, AnUnbindSucceedsWhileTheDomainExistsBoundOrNot) {
    ASSERT_EQ(add_bd(), 0u);
    ASSERT_EQ(add_bd(kBd + 1), 0u);
    EXPECT_EQ(del(member(kBd, kAc)), 0u);
    ASSERT_EQ(add(member(kBd, kAc)), 0u);
    EXPECT_EQ(del(member(kBd + 1, kAc)), 0u) << "bound to the other domain";
    EXPECT_NE(circuit(kAc), nullptr) << "and it stays there";
    EXPECT_EQ(del(member(kBd, kAc)), 0u);
    EXPECT_EQ(del(member(kBd, kAc)), 0u);
    ASSERT_EQ(del_bd(), 0u);
    EXPECT_EQ(del(member(kBd, kAc)), CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN);
}

TEST_F(L2Test, AModifyNeedsABoundCircuit) {
    EXPECT_EQ(mod(member(kBd, kAc)), CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN);
    ASSERT_EQ(add_bd(), 0u);
    EXPECT_EQ(mod(member(kBd, kAc)), CARD_ERROR_NOT_BOUND);
    ASSERT_EQ(add(member(kBd, kAc)), 0u);
    prm_xid_request changed = member(kBd, kAc);
    changed.flags91 = PRM_XID_91_INGRESS_DISABLE;
    EXPECT_EQ(mod(changed), 0u);
    EXPECT_EQ(circuit(kAc)->flags[3], PRM_XID_91_INGRESS_DISABLE);
}

TEST_F(L2Test, VspCircuitsAreNamedByTheirXid) {
    ASSERT_EQ(add_bd(), 0u);
    ASSERT_EQ(add(member(kBd, kAc)), 0u);
    ASSERT_EQ(add(vsp(kBd, 0x8001F4, kAc)), 0u);
    ASSERT_EQ(add(vsp(kBd, 0x8001F5, kAc)), 0u);
    EXPECT_EQ(card.l2.bridge_domains.users(kBd), 3u);
    EXPECT_EQ(del(vsp(kBd, 0x8001F4, kAc)), 0u);
    EXPECT_EQ(card.l2.bridge_domains.users(kBd), 2u);
    EXPECT_NE(circuit(kAc), nullptr);
}

TEST_F(L2Test, AllCircuitsOnAnInterfaceAreInOneService) {
    ASSERT_EQ(add_bd(kBd), 0u);
    ASSERT_EQ(add_bd(kBd + 1), 0u);
    // Beside a cross-connect, also half a one.
    ASSERT_EQ(add(local(kAc, kAcB)), 0u);
    EXPECT_EQ(add(vsp(kBd, 1, kAc)), CARD_ERROR_OTHER_SERVICE);
    ASSERT_EQ(del(local(kAcB)), 0u);
    EXPECT_EQ(add(vsp(kBd, 1, kAc)), CARD_ERROR_OTHER_SERVICE);
    ASSERT_EQ(del(local(kAc)), 0u);
    // Beside a circuit of a domain.
    ASSERT_EQ(add(member(kBd, kAc)), 0u);
    EXPECT_EQ(add(vsp(kBd + 1, 1, kAc)), CARD_ERROR_OTHER_SERVICE);
    ASSERT_EQ(add(vsp(kBd, 1, kAc)), 0u);
    EXPECT_EQ(add(member(kBd + 1, kAc)), CARD_ERROR_OTHER_SERVICE);
    EXPECT_EQ(add(local(kAc, kAcB)), CARD_ERROR_OTHER_SERVICE);
    EXPECT_EQ(add(local(kAcB, kAc)), CARD_ERROR_OTHER_SERVICE);
    EXPECT_EQ(circuit(kAc)->service_id, kBd);
    EXPECT_EQ(circuit(kAcB), nullptr);
    // VSP circuits among themselves: the only one may be bound elsewhere, on this or another interface.
    ASSERT_EQ(del(member(kBd, kAc)), 0u);
    EXPECT_EQ(add(vsp(kBd + 1, 2, kAc)), CARD_ERROR_OTHER_SERVICE);
    EXPECT_EQ(add(vsp(kBd + 1, 1, kAc)), 0u);
    EXPECT_EQ(add(vsp(kBd + 1, 2, kAc)), 0u);
    EXPECT_EQ(add(vsp(kBd, 1, kAc)), CARD_ERROR_OTHER_SERVICE);
    EXPECT_EQ(add(vsp(kBd, 1, kAcB)), 0u);
    EXPECT_EQ(add(member(kBd + 1, kAc)), 0u);
    EXPECT_EQ(used(Resource::circuit), 3u);
}

TEST_F(L2Test, ABviIsAMemberOfADomainThatWasMadeForOne) {
    uidb_create_msg message = create_message(kBviIfh, UIDB_IFTYPE_BVI, 0, 0);
    ASSERT_EQ(uidb_create_interface(0, &message), 0u);
    ASSERT_EQ(add_bd(), 0u);
    EXPECT_EQ(add(member(kBd, kBviUidb, PRM_XID_KIND_BVI)), CARD_ERROR_NO_BVI_DOMAIN);
    ASSERT_EQ(mod_bd(bvi_domain(kBd)), 0u);
    ASSERT_EQ(add(member(kBd, kBviUidb, PRM_XID_KIND_BVI)), 0u);
    EXPECT_EQ(mod_bd(domain(kBd)), CARD_ERROR_IN_USE);
    ASSERT_EQ(del(member(kBd, kBviUidb, PRM_XID_KIND_BVI)), 0u);
    EXPECT_EQ(mod_bd(domain(kBd)), 0u);
}

TEST_F(L2Test, AnUnbindAndAModifySayTheKindOfTheirMember) {
    uidb_create_msg message = create_message(kBviIfh, UIDB_IFTYPE_BVI, 0, 0);
    ASSERT_EQ(uidb_create_interface(0, &message), 0u);
    ASSERT_EQ(add_bd(bvi_domain(kBd)), 0u);
    ASSERT_EQ(add(member(kBd, kBviUidb, PRM_XID_KIND_BVI)), 0u);
    ASSERT_EQ(add(member(kBd, kAc)), 0u);
    for (const auto operation : {prm_srh_xid_del, prm_srh_xid_mod}) {
        prm_xid_request as_circuit = member(kBd, kBviUidb), as_bvi = member(kBd, kAc, PRM_XID_KIND_BVI);
        EXPECT_EQ(operation(client, &as_circuit), CARD_ERROR_NOT_LAYER2);
        EXPECT_EQ(operation(client, &as_bvi), CARD_ERROR_NOT_BVI);
    }
    EXPECT_EQ(used(Resource::circuit), 2u);
}

TEST_F(L2Test, ABviIsAMemberOfItsKind) {
    uidb_create_msg message = create_message(kBviIfh, UIDB_IFTYPE_BVI, 0, 0);
    ASSERT_EQ(add_bd(bvi_domain(kBd)), 0u);
    EXPECT_EQ(add(member(kBd, kBviUidb, PRM_XID_KIND_BVI)), CARD_ERROR_UNKNOWN_INTERFACE);
    ASSERT_EQ(uidb_create_interface(0, &message), 0u);
    EXPECT_EQ(add(member(kBd, kAc, PRM_XID_KIND_BVI)), CARD_ERROR_NOT_BVI);
    EXPECT_EQ(add(member(kBd, kBviUidb, PRM_XID_KIND_AC)), CARD_ERROR_NOT_LAYER2);
    EXPECT_EQ(add(member(kBd, kBviUidb, PRM_XID_KIND_BVI)), 0u);
    EXPECT_EQ(uidb_delete_interface(0, kBviIfh), CARD_ERROR_IN_USE);
    EXPECT_EQ(del(member(kBd, kBviUidb, PRM_XID_KIND_BVI)), 0u);
    EXPECT_EQ(uidb_delete_interface(0, kBviIfh), 0u);
}

// ---- Local switching.

TEST_F(L2Test, EitherEndOfACrossConnectIsRemovedByItself) {
    ASSERT_EQ(add(local(kAc, kAcB)), 0u);
    EXPECT_EQ(circuit(kAc)->service_id, kAcB);
    EXPECT_EQ(circuit(kAcB)->service_id, kAc);
    EXPECT_EQ(del(local(kAc)), 0u);
    EXPECT_EQ(circuit(kAcB)->service_id, 0u) << "nothing is behind it any more";
    EXPECT_EQ(del(local(kAc)), CARD_ERROR_NO_CROSS_CONNECT);
    EXPECT_EQ(del(local(kAcB)), 0u);
    EXPECT_EQ(del(local(kAcB)), CARD_ERROR_NO_CROSS_CONNECT);
    EXPECT_EQ(used(Resource::circuit), 0u);
    EXPECT_EQ(card.interfaces.table.find(kL2Sub)->circuits, 0u);
}

TEST_F(L2Test, ACrossConnectThatIsRepeatedReplaces) {
    for (int i = 0; i < 44; ++i) ASSERT_EQ(add(local(kAc, kAcB)), 0u);
    ASSERT_EQ(add(local(kAcB, kAc)), 0u);
    EXPECT_EQ(used(Resource::circuit), 2u);
    EXPECT_EQ(card.interfaces.table.users(kL2Sub), 1u);
}

TEST_F(L2Test, AnEndThatIsMovedLeavesTheOtherAlone) {
    ASSERT_EQ(set_l2(kMainB, 1), 0u);
    const u32 third = card.interfaces.table.find(kMainB)->uidb;
    ASSERT_EQ(add(local(kAc, kAcB)), 0u);
    ASSERT_EQ(add(local(kAc, third)), 0u);
    EXPECT_EQ(circuit(kAcB)->service_id, 0u);
    EXPECT_EQ(circuit(third)->service_id, kAc);
    EXPECT_EQ(del(local(kAcB)), 0u);
    EXPECT_EQ(circuit(kAc)->service_id, third);
    ASSERT_EQ(add_bd(), 0u);
    ASSERT_EQ(add(member(kBd, kAc)), 0u);
    EXPECT_EQ(circuit(third)->service_id, 0u);
    EXPECT_EQ(del(local(kAc)), CARD_ERROR_NO_CROSS_CONNECT);
}

TEST_F(L2Test, ACrossConnectNeedsTwoSwitchedInterfaces) {
    EXPECT_EQ(add(local(kAc, 0)), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_EQ(add(local(0, 0)), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_EQ(add(local(kAc, kL3Uidb)), CARD_ERROR_NOT_LAYER2);
    EXPECT_EQ(add(local(kAc, kAc)), CARD_ERROR_SAME_END);
    EXPECT_EQ(mod(local(kAc, kAcB)), CARD_ERROR_NO_CROSS_CONNECT);
    EXPECT_EQ(del(local(0)), CARD_ERROR_NO_CROSS_CONNECT);
    EXPECT_EQ(del(local(0x10000 + kAc)), CARD_ERROR_NO_CROSS_CONNECT);
    EXPECT_EQ(used(Resource::circuit), 0u);
}

TEST_F(L2Test, AFullCircuitTableTakesNoHalfOfACrossConnect) {
    card.accounts[Resource::circuit].limit = 1;
    EXPECT_EQ(add(local(kAc, kAcB)), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(used(Resource::circuit), 0u);
}

// ---- Pseudowires.

class PseudowireTest : public L2Test {
  protected:
    void SetUp() override {
        L2Test::SetUp();
        prm_tx_adj adjacency = {};
        adjacency.adj_flags2 = PRM_TX_ADJ_EOMPLS;
        adjacency.nh_idx = 100;
        adjacency.nh_idx2 = kNextHop;
        adjacency.tunnel_if = kTunnel;
        ASSERT_EQ(prm_srh_tx_adj_add(client, &adjacency), 0u);
    }
    static constexpr u32 kNextHop = 200, kTunnel = 300;
};

TEST_F(PseudowireTest, JoinsACircuitAndIsRemovedByXid) {
    ASSERT_EQ(add(pseudowire(kPw, kAc, kNextHop, kTunnel)), 0u);
    EXPECT_EQ(add(pseudowire(kPw, kAc, kNextHop, kTunnel)), 0u) << "the same again";
    EXPECT_EQ(card.adjacency.table.users(kNextHop), 1u);
    EXPECT_EQ(del(pseudowire(kPw + 1, kAc)), CARD_ERROR_NO_CROSS_CONNECT);
    EXPECT_EQ(del(pseudowire(kPw, kAcB)), CARD_ERROR_NO_CROSS_CONNECT);
    EXPECT_EQ(del(pseudowire(kPw, kAc, 100053, 4198)), 0u) << "by its index, whatever the next hop";
    EXPECT_EQ(card.adjacency.table.users(kNextHop), 0u);
    EXPECT_EQ(used(Resource::pseudowire), 0u);
    EXPECT_EQ(used(Resource::circuit), 0u);
    EXPECT_EQ(del(pseudowire(kPw, kAc)), CARD_ERROR_NO_CROSS_CONNECT);
}

TEST_F(PseudowireTest, TheCircuitMayBeNamedByItsInterfaceHandle) {
    ASSERT_EQ(add(pseudowire(kPw, kAc, kNextHop, kTunnel)), 0u);
    EXPECT_EQ(del(pseudowire(kPw, kL2Sub)), 0u);
}

TEST_F(PseudowireTest, TheUpperBytesOfItsXidAreNotLookedAt) {
    const u64 stray = u64{0xDEADBEEF} << 32;
    ASSERT_EQ(add(pseudowire(stray + kPw, kAc, kNextHop, kTunnel)), 0u);
    EXPECT_TRUE(card.l2.pseudowires.contains(kPw));
    EXPECT_EQ(mod(pseudowire(2 * stray + kPw, kAc, kNextHop, kTunnel)), 0u);
    EXPECT_EQ(used(Resource::pseudowire), 1u);
    EXPECT_EQ(add(pseudowire(stray, kAc, kNextHop, kTunnel)), CARD_ERROR_BAD_VALUE) << "0 names none";
    EXPECT_EQ(del(pseudowire(stray + kPw, kAc)), 0u);
    EXPECT_EQ(used(Resource::pseudowire), 0u);
}

TEST_F(PseudowireTest, GoesOutOverAnAdjacencyWithLabelAndTunnelAlone) {
    prm_tx_adj plain = {}, labels = {};
    plain.nh_idx = 101;
    labels.adj_flags2 = PRM_TX_ADJ_LABELS;
    labels.nh_idx = 101;
    labels.nh_idx2 = 201;
    ASSERT_EQ(prm_srh_tx_adj_add(client, &plain), 0u);
    ASSERT_EQ(prm_srh_tx_adj_add(client, &labels), 0u);
    EXPECT_EQ(add(pseudowire(kPw, kAc, 101, 0)), CARD_ERROR_NO_PSEUDOWIRE_LABEL);
    EXPECT_EQ(add(pseudowire(kPw, kAc, 201, 0)), CARD_ERROR_NO_PSEUDOWIRE_LABEL);
    EXPECT_EQ(used(Resource::pseudowire), 0u);
    EXPECT_EQ(used(Resource::circuit), 0u);
}

TEST_F(PseudowireTest, ItsAdjacencyKeepsItsTunnel) {
    ASSERT_EQ(add(pseudowire(kPw, kAc, kNextHop, kTunnel)), 0u);
    prm_tx_adj adjacency = {};
    adjacency.adj_flags2 = PRM_TX_ADJ_EOMPLS;
    adjacency.nh_idx = 100030;
    adjacency.nh_idx2 = kNextHop;
    adjacency.tunnel_if = kTunnel + 1;
    EXPECT_EQ(prm_srh_tx_adj_mod(client, &adjacency), CARD_ERROR_IN_USE);
    EXPECT_EQ(prm_srh_tx_adj_add(client, &adjacency), CARD_ERROR_IN_USE);
    adjacency.tunnel_if = kTunnel;
    EXPECT_EQ(prm_srh_tx_adj_mod(client, &adjacency), 0u);
    adjacency.tunnel_if = kTunnel + 1;
    ASSERT_EQ(del(pseudowire(kPw, kAc)), 0u);
    EXPECT_EQ(prm_srh_tx_adj_mod(client, &adjacency), 0u);
}

// The remove deletes the adjacency that it names, with other options before and after the cross-connect.
TEST_F(PseudowireTest, IsRemovedWithTheAdjacencyThatTheRequestsNameAndNoOther) {
    const auto remove_adjacency = [&](u32 nh, u32 tunnel, u8 options) {
        prm_tx_adj request = {};
        request.adj_flags2 = PRM_TX_ADJ_EOMPLS_DELETE;
        request.adj_flags3 = options;
        request.nh_idx2 = nh;
        request.tunnel_if = tunnel;
        return prm_srh_tx_adj_del(client, &request);
    };
    constexpr u8 kFirst = PRM_TX_ADJ_OPTION1 | PRM_TX_ADJ_OPTION2, kSecond = PRM_TX_ADJ_OPTION2;
    ASSERT_EQ(add(pseudowire(kPw, kAc, kNextHop, kTunnel)), 0u);
    EXPECT_EQ(remove_adjacency(100053, 4198, kFirst), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(del(pseudowire(kPw, kL2Sub, 100053, 4198)), 0u);
    EXPECT_EQ(remove_adjacency(100053, 4198, kSecond), CARD_ERROR_NOT_FOUND);
    EXPECT_TRUE(card.adjacency.table.contains(kNextHop)) << "nobody named it";
    ASSERT_EQ(add(pseudowire(kPw, kAc, kNextHop, kTunnel)), 0u);
    EXPECT_EQ(remove_adjacency(kNextHop, kTunnel, kFirst), CARD_ERROR_IN_USE);
    EXPECT_EQ(del(pseudowire(kPw, kL2Sub, kNextHop, kTunnel)), 0u);
    EXPECT_EQ(remove_adjacency(kNextHop, kTunnel, kSecond), 0u);
    EXPECT_FALSE(card.adjacency.table.contains(kNextHop));
}

TEST_F(PseudowireTest, RefusesWhatIsMissing) {
    EXPECT_EQ(add(pseudowire(kPw, kAc, 0, 0)), CARD_ERROR_UNKNOWN_REFERENCE);
    EXPECT_EQ(add(pseudowire(kPw, kAc, kNextHop + 1, kTunnel)), CARD_ERROR_UNKNOWN_REFERENCE);
    EXPECT_EQ(add(pseudowire(kPw, kAc, kNextHop, kTunnel + 1)), CARD_ERROR_UNKNOWN_REFERENCE);
    EXPECT_EQ(add(pseudowire(kPw, 999, kNextHop, kTunnel)), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_EQ(add(pseudowire(kPw, kL3Uidb, kNextHop, kTunnel)), CARD_ERROR_NOT_LAYER2);
    EXPECT_EQ(add(pseudowire(0, kAc, kNextHop, kTunnel)), CARD_ERROR_BAD_VALUE);
    EXPECT_EQ(add(pseudowire(u64{1} << 32, kAc, kNextHop, kTunnel)), CARD_ERROR_BAD_VALUE);
    EXPECT_EQ(mod(pseudowire(kPw, kAc, kNextHop, kTunnel)), CARD_ERROR_NO_CROSS_CONNECT);
    EXPECT_EQ(del(pseudowire(u64{1} << 32 | kPw, kAc)), CARD_ERROR_NO_CROSS_CONNECT);
}

TEST_F(PseudowireTest, MovesToAnotherCircuit) {
    ASSERT_EQ(add(pseudowire(kPw, kAc, kNextHop, kTunnel)), 0u);
    ASSERT_EQ(add(pseudowire(kPw, kAcB, kNextHop, kTunnel)), 0u);
    EXPECT_EQ(circuit(kAc), nullptr);
    EXPECT_EQ(card.l2.pseudowires.find(kPw)->uidb, kAcB);
    // Its circuit goes elsewhere; the pseudowire is still there to be removed.
    ASSERT_EQ(add_bd(), 0u);
    ASSERT_EQ(add(member(kBd, kAcB)), 0u);
    EXPECT_EQ(card.l2.pseudowires.find(kPw)->uidb, 0);
    EXPECT_EQ(del(pseudowire(kPw, kAcB)), 0u);
    EXPECT_NE(circuit(kAcB), nullptr);
    EXPECT_EQ(card.adjacency.table.users(kNextHop), 0u);
}

// ---- Requests that are none of these.

TEST_F(L2Test, RequestsOfUnknownKindAreRefused) {
    ASSERT_EQ(add_bd(), 0u);
    const auto refused = [&](prm_xid_request request) {
        EXPECT_EQ(add(request), CARD_ERROR_BAD_KIND);
        EXPECT_EQ(mod(request), CARD_ERROR_BAD_KIND);
        EXPECT_EQ(del(request), CARD_ERROR_BAD_KIND);
    };
    prm_xid_request request = {};
    refused(request);
    request = member(kBd, kAc);
    request.xid_kind = 2;
    refused(request);
    request = member(kBd, kAc);
    request.object_code = PRM_L2_OBJECT_BRIDGE_DOMAIN;
    refused(request);
    request = member(kBd, kAc);
    request.option = 4;
    refused(request);
    request = local(kAc, kAcB);
    request.xid_kind = PRM_XID_KIND_AC;
    refused(request);
    request = pseudowire(kPw, kAc);
    request.xid_kind = PRM_XID_KIND_AC;
    refused(request);
    EXPECT_EQ(prm_srh_xid_add(client, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_xid_mod(client, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_xid_del(client, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_xid_add(stranger(), &request), CARD_ERROR_BAD_HANDLE);
}

}  // namespace
}  // namespace sim
