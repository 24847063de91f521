// Valid requests of the layer-2 and overlay families.
#ifndef TESTS_CARD_SIM_L2_REQUESTS_H
#define TESTS_CARD_SIM_L2_REQUESTS_H

#include "prm_srh.h"
#include "prm_srh_l2.h"

namespace sim {

inline constexpr u32 kVtep = 0xC0A80101;  // the source VTEP of the domains and groups

inline prm_bd_request domain(u32 bd) {
    prm_bd_request request = {};
    request.kind = PRM_L2_REQUEST_KIND;
    request.xid_type = PRM_XID_TYPE_BRIDGE_DOMAIN;
    request.bd_id = bd;
    request.object_code = PRM_L2_OBJECT_BRIDGE_DOMAIN;
    return request;
}

inline prm_bd_request vxlan_domain(u32 bd, u32 vni, u32 source_vtep = kVtep) {
    prm_bd_request request = domain(bd);
    request.flags74 = PRM_BD_74_VXLAN;
    request.vni_low = static_cast<u16>(vni);
    request.vni_high = static_cast<u8>(vni >> 16);
    request.source_vtep = source_vtep;
    return request;
}

inline prm_bd_request bvi_domain(u32 bd) {
    prm_bd_request request = domain(bd);
    request.flags73 = PRM_BD_73_BVI;
    return request;
}

inline prm_xid_request member(u32 bd, u32 uidb, u32 kind = PRM_XID_KIND_AC) {
    prm_xid_request request = {};
    request.kind = PRM_L2_REQUEST_KIND;
    request.xid_type = PRM_XID_TYPE_CIRCUIT;
    request.object_code = PRM_L2_OBJECT_CIRCUIT;
    request.flags89 = PRM_XID_89_BIT6;
    request.xid_kind = kind;
    request.bd_id = bd;
    request.member_uidb = uidb;
    return request;
}

inline prm_xid_request vsp(u32 bd, u32 ac_xid, u32 uidb) {
    prm_xid_request request = member(bd, uidb);
    request.ac_xid = ac_xid;
    request.flags92 = PRM_XID_92_VSP;
    request.vsp_word = PRM_XID_VSP_WORD;
    return request;
}

inline prm_xid_request local(u32 uidb1, u32 uidb2 = 0) {
    prm_xid_request request = {};
    request.kind = PRM_L2_REQUEST_KIND;
    request.segment1_key = uidb1;
    request.segment2_key = uidb2;
    return request;
}

inline prm_xid_request pseudowire(u64 xid, u32 key, u32 nh = 0, u32 tunnel = 0) {
    prm_xid_request request = {};
    request.kind = PRM_L2_REQUEST_KIND;
    request.xid_type = PRM_XID_TYPE_CIRCUIT;
    request.xid = xid;
    request.object_code = PRM_L2_OBJECT_CIRCUIT;
    request.option = PRM_XID_PSEUDOWIRE_OPTION;
    request.segment1_key = key;
    request.segment2_key = 16020;
    request.segment2_word = 24007;
    request.nh_id = nh;
    request.tunnel_id = tunnel;
    return request;
}

// Overlay entries lead from kVtep to the far ends kFarVtep and on, over the next hops kNextHop and on.
inline constexpr u32 kFarVtep = 0xC0A80202, kNextHop = 100510;

inline prm_l2_ecmp_request vplag(u32 id, u32 paths = 1) {
    prm_l2_ecmp_request request = {};
    request.kind = PRM_L2_REQUEST_KIND;
    request.object_code = PRM_L2_OBJECT_VPLAG;
    request.info.source_vtep = kVtep;
    request.info.vplag_id = id;
    request.info.num_paths = paths;
    for (u32 i = 0; i < paths && i < ZOR_L2_ECMP_MAX_PATHS; ++i) {
        request.info.nh_id[i] = kNextHop + i;
        request.info.remote_vtep[i] = kFarVtep + i;
    }
    return request;
}

inline prm_evpn_mac_request mac(u32 bd, u8 last) {
    prm_evpn_mac_request request = {};
    request.kind = PRM_L2_REQUEST_KIND;
    request.xid_type = PRM_XID_TYPE_CIRCUIT;
    request.entry.bd_id = bd;
    request.entry.mac[5] = last;
    request.entry.type = 1;
    request.entry.fec = 0x18A9F;
    return request;
}

inline prm_shg_df_request forwarder(u32 address, u32 if_handle, u32 is_shg) {
    prm_shg_df_request request = {};
    request.kind = PRM_L2_REQUEST_KIND;
    request.xid_type = PRM_XID_TYPE_CIRCUIT;
    request.entry = {address, if_handle, is_shg};
    return request;
}

inline prm_vxlan_ole_request overlay(u32 bd, u32 vtep, u32 nh = kNextHop) {
    prm_vxlan_ole_request request = {};
    request.word20 = 1;
    request.nh_id = nh;
    request.bd_id = bd;
    request.remote_vtep = vtep;
    return request;
}

}  // namespace sim

#endif
