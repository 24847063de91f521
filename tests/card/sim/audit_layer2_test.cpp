// Layer-2 and mirroring requests that contradict each other or themselves, one after the other on one card:
// what is refused with which code, and what is legal however odd it looks.
#include "prm_srh_span.h"
#include "prm_srh_tx_adj.h"
#include "tests/card/sim/interface_test.h"
#include "tests/card/sim/l2_requests.h"

namespace sim {
namespace {

constexpr u32 kUidb = 41, kOtherUidb = 42, kL3Uidb = 43, kBviUidb = 4064;
constexpr u32 kLastVtep = 0xE0000001;  // a group's address

struct Probe {
    const char *what;
    u32 status;
    u32 outcome;
};

class Layer2AuditTest : public InterfaceTest {
  protected:
    void expect(std::initializer_list<Probe> probes) {
        for (const Probe &probe : probes) {
            EXPECT_EQ(probe.status, probe.outcome) << probe.what << ": " << card::code_text(probe.status)
                                                   << ", not " << card::code_text(probe.outcome);
        }
    }

    u32 add(prm_bd_request request) { return prm_srh_bd_add(client, &request); }
    u32 mod(prm_bd_request request) { return prm_srh_bd_mod(client, &request); }
    u32 add(prm_xid_request request) { return prm_srh_xid_add(client, &request); }
    u32 del(prm_xid_request request) { return prm_srh_xid_del(client, &request); }
    u32 add(prm_vxlan_ole_request request) { return prm_srh_vxlan_ole_add(client, &request); }
    u32 add(prm_evpn_mac_request request) { return prm_srh_evpn_mac_install_add(client, &request); }
    u32 add(prm_shg_df_request request) { return prm_srh_fpem_shg_df_entry_add(client, &request); }
    u32 add(prm_l2_ecmp_request request) { return prm_srh_l2_ecmp_add(client, &request); }
    u32 add(prm_tx_adj request) { return prm_srh_tx_adj_add(client, &request); }
    u32 create_session(u32 session, u32 port) {
        prm_span_request request = {};
        request.session_id = session;
        request.dest_port = port;
        return prm_srh_span_fwd_add(client, &request);
    }
    u32 mirror(u32 if_handle, u16 direction, u32 session) {
        return set(if_handle, UIDB_FEATURE_SPAN_SOURCE, session, direction);
    }
};

prm_evpn_mac_request typed_mac(u32 bd, u8 first, u32 type, u32 fec) {
    prm_evpn_mac_request request = mac(bd, 9);
    request.entry.mac[0] = first;
    request.entry.type = type;
    request.entry.fec = fec;
    return request;
}

prm_vxlan_ole_request overlay_word(u32 bd, u32 vtep, u32 word20) {
    prm_vxlan_ole_request request = overlay(bd, vtep);
    request.word20 = word20;
    return request;
}

prm_l2_ecmp_request vplag_over(u32 id, u32 next_hop) {
    prm_l2_ecmp_request request = vplag(id);
    request.info.nh_id[0] = next_hop;
    return request;
}

prm_tx_adj eompls(u32 over, u32 next_hop, u32 tunnel) {
    prm_tx_adj request = {};
    request.adj_flags2 = PRM_TX_ADJ_EOMPLS;
    request.nh_idx = over;
    request.nh_idx2 = next_hop;
    request.tunnel_if = tunnel;
    return request;
}

prm_tx_adj plain_adjacency(u32 next_hop) {
    prm_tx_adj request = {};
    request.adj_flags0 = PRM_TX_ADJ_NORMAL;
    request.nh_idx = next_hop;
    request.uidb = 43;
    return request;
}

prm_tx_adj eompls_delete(u32 next_hop, u32 tunnel) {
    prm_tx_adj request = {};
    request.adj_flags2 = PRM_TX_ADJ_EOMPLS_DELETE;
    request.adj_flags3 = u8{PRM_TX_ADJ_OPTION1} | u8{PRM_TX_ADJ_OPTION2};
    request.nh_idx2 = next_hop;
    request.tunnel_if = tunnel;
    return request;
}

TEST_F(Layer2AuditTest, BridgeDomainsAndOverlays) {
    expect({
        {"bd 1, VNI 5000", add(vxlan_domain(1, 5000)), 0},
        {"bd 2, the same VNI", add(vxlan_domain(2, 5000)), CARD_ERROR_VNI_TAKEN},
        {"bd 3, plain", add(domain(3)), 0},
        // An id is a name.
        {"bd 0", add(domain(0)), 0},
        {"bd 0xFFFFFFFF", add(domain(0xFFFFFFFF)), 0},
        {"overlay in a domain without a VNI", add(overlay(3, kFarVtep)), CARD_ERROR_NO_VNI},
        {"overlay to the domain's own VTEP", add(overlay(1, kVtep)), CARD_ERROR_OWN_VTEP},
        {"overlay over next hop 0", add(overlay(1, kFarVtep, 0)), CARD_ERROR_BAD_VALUE},
        // The word is sent as is; flooding may go to a group.
        {"overlay with word 99, group far end", add(overlay_word(1, kLastVtep, 99)), 0},
        {"overlay over a next hop without adjacency", add(overlay(1, kFarVtep, 100500)), 0},
        {"the VNI taken away under overlays", mod(domain(1)), CARD_ERROR_IN_USE},
        {"MAC in a missing domain", add(mac(77, 1)), CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN},
        {"MAC in a domain without a VNI", add(mac(3, 1)), CARD_ERROR_NO_VNI},
        {"MAC ff:...", add(typed_mac(1, 0xFF, 1, 1)), CARD_ERROR_GROUP_MAC},
        // What types and FECs there are is not known.
        {"MAC of type 99, FEC to nothing", add(typed_mac(1, 2, 99, 0xFFFFFFFF)), 0},
        {"MAC again with another FEC: it moved", add(typed_mac(1, 2, 1, 5)), 0},
        {"forwarder on a missing interface", add(forwarder(kFarVtep, 77, 1)), CARD_ERROR_UNKNOWN_INTERFACE},
        // One is of an address, one of a VNI.
        {"forwarder, is_shg 1", add(forwarder(kFarVtep, kMainA, 1)), 0},
        {"forwarder of the same number, is_shg 0", add(forwarder(kFarVtep, kMainA, 0)), 0},
        {"vplag with next hops 0", add(vplag_over(7, 0)), CARD_ERROR_BAD_VALUE},
        // Numbers and next hops that came from no pool are names.
        {"vplag of a number never reserved, next hop without adjacency", add(vplag_over(7, 100510)), 0},
    });
    EXPECT_EQ(card.l2.bridge_domains.find(1)->vni, 5000u);
    EXPECT_EQ(card.l2.bridge_domains.users(1), 3u);
}

TEST_F(Layer2AuditTest, CircuitsAndCrossConnects) {
    ASSERT_EQ(add(domain(1)), 0u);
    ASSERT_EQ(add(domain(3)), 0u);
    expect({
        {"local switching 41 <-> 42", add(local(kUidb, kOtherUidb)), 0},
        // An add moves a circuit from the service that it was in.
        {"41 bound to bd 3 while it is in a cross-connect", add(member(3, kUidb)), 0},
        {"VSP circuit on 42 while 42 is in a cross-connect", add(vsp(3, 0x8001F4, kOtherUidb)),
         CARD_ERROR_OTHER_SERVICE},
        {"41 bound to bd 1 while bound to bd 3", add(member(1, kUidb)), 0},
        {"cross-connect with a layer-3 interface", add(local(kUidb, kL3Uidb)), CARD_ERROR_NOT_LAYER2},
        {"cross-connect with itself", add(local(kUidb, kUidb)), CARD_ERROR_SAME_END},
        {"layer 2 switched off under a circuit", set(kL2Sub, UIDB_FEATURE_L2, 0), CARD_ERROR_IN_USE},
    });
    EXPECT_EQ(card.l2.circuits.find(circuit_on(kOtherUidb))->service_id, 0u) << "nothing is behind it";
}

TEST_F(Layer2AuditTest, Pseudowires) {
    ASSERT_EQ(add(plain_adjacency(500)), 0u);
    ASSERT_EQ(add(eompls(500, 600, 700)), 0u);
    const u64 stray = u64{0xABCD} << 32;
    prm_tx_adj first_delete = eompls_delete(600, 700);
    prm_xid_request stray_member = member(1, kOtherUidb);
    stray_member.xid = stray;
    ASSERT_EQ(add(domain(1)), 0u);
    expect({
        {"over a plain adjacency, tunnel 0", add(pseudowire(1, kUidb, 500, 0)),
         CARD_ERROR_NO_PSEUDOWIRE_LABEL},
        {"over a labelled one with the wrong tunnel", add(pseudowire(1, kUidb, 600, 701)),
         CARD_ERROR_UNKNOWN_REFERENCE},
        {"over a labelled one", add(pseudowire(1, kUidb, 600, 700)), 0},
        // An adjacency carries as many as there are: each has its circuit and its segment's words.
        {"a second one over the same adjacency", add(pseudowire(2, kOtherUidb, 600, 700)), 0},
        {"the adjacency deleted meanwhile", prm_srh_tx_adj_del(client, &first_delete), CARD_ERROR_IN_USE},
        {"an xid with upper bytes, which nobody defines", add(pseudowire(stray | 1, kUidb, 600, 700)), 0},
        {"the second one removed by such an xid", del(pseudowire(stray | 2, kOtherUidb)), 0},
        {"a member's xid with upper bytes", add(stray_member), 0},
    });
    EXPECT_EQ(used(Resource::pseudowire), 1u);
}

TEST_F(Layer2AuditTest, BridgedVirtualInterfaces) {
    ASSERT_EQ(add(bvi_domain(1)), 0u);
    ASSERT_EQ(add(bvi_domain(2)), 0u);
    ASSERT_EQ(add(domain(3)), 0u);
    const auto bvi = [](u32 bd) { return member(bd, kBviUidb, PRM_XID_KIND_BVI); };
    expect({
        {"a BVI", create(kBvi, UIDB_IFTYPE_BVI, 0, 0), 0},
        {"a second one", create(kBvi + 4, UIDB_IFTYPE_BVI, 0, 0), CARD_ERROR_IN_USE},
        {"bound to a domain that was not made for one", add(bvi(3)), CARD_ERROR_NO_BVI_DOMAIN},
        {"bound to bd 2", add(bvi(2)), 0},
        {"bound to bd 1: moved there", add(bvi(1)), 0},
        {"BVI as a plain circuit", add(member(1, kBviUidb)), CARD_ERROR_NOT_LAYER2},
        {"plain circuit as a BVI", add(member(1, kUidb, PRM_XID_KIND_BVI)), CARD_ERROR_NOT_BVI},
        {"BVI unbound as a circuit", del(member(1, kBviUidb)), CARD_ERROR_NOT_LAYER2},
    });
    EXPECT_EQ(card.l2.circuits.find(circuit_on(kBviUidb))->service_id, 1u);
}

TEST_F(Layer2AuditTest, Mirroring) {
    prm_span_request off = {};
    expect({
        // Sessions and sources are programmed while mirroring is off, too, and outlive its end.
        {"session 0 to port 7, mirroring off", create_session(0, 7), 0},
        {"session 1 to the same port", create_session(1, 7), CARD_ERROR_DESTINATION_TAKEN},
        {"session 1 to kMainA's port", create_session(1, 5), CARD_ERROR_PORT_HAS_INTERFACE},
        {"session 1 to a port of its own", create_session(1, 8), 0},
        {"kMainA as a source of session 0", mirror(kMainA, 0, 0), 0},
        {"as one of session 1 in another direction", mirror(kMainA, 2, 1), 0},
        {"as one of session 1 in the direction that is session 0's", mirror(kMainA, 0, 1),
         CARD_ERROR_OTHER_SESSION},
        {"session 0 again", create_session(0, 9), CARD_ERROR_SESSION_EXISTS},
        {"mirroring switched off with sources", prm_srh_span_disable(client, &off), 0},
    });
    EXPECT_EQ(used(Resource::mirror_source), 2u);
}

}  // namespace
}  // namespace sim
