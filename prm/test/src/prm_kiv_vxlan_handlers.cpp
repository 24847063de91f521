// VXLAN, EVPN and split-horizon entries: the handlers that send one request for one entry.
#include <string.h>

#include "kiv.h"
#include "prm_kiv_main.h"
#include "prm_kiv_vpls.h"
#include "prm_kiv_vxlan.h"
#include "prm_srh.h"

prm_status_t prm_kiv_util_vxlan_bd_oper(u32 bd, u32 vni, u32 source_vtep, int op) {
    static const prm_kiv_l2_call<prm_bd_request> kCalls[] = {
        {PRM_KIV_L2_ADD, nullptr, prm_srh_bd_add, "add failed"},
        {PRM_KIV_L2_DEL, nullptr, prm_srh_bd_del, "del failed"},
    };
    kiv_printf("%s: bd_id %d vni_id %d s_vtep 0x%08x oper %d\n", "prm_kiv_util_vxlan_bd_oper", bd, vni,
               source_vtep, op);
    prm_bd_request request;
    prm_kiv_fill_bd(&request, bd);
    if (op == PRM_KIV_L2_ADD) {
        request.flags74 = PRM_BD_74_VXLAN;
        request.vni_low = static_cast<u16>(vni);
        request.vni_high = static_cast<u8>(vni >> 16);
        request.source_vtep = source_vtep;
    }
    return prm_kiv_l2_send(kCalls, op, &request, "\nInvalid Oper\n");
}

// A circuit of a VXLAN bridge domain learns MAC addresses.
static void fill_ac(prm_xid_request *request, u32 bd, u16 uidb_index) {
    prm_kiv_fill_member(request, PRM_XID_KIND_AC, bd, uidb_index);
    request->flags88 = PRM_XID_88_MAC_LEARN_ENABLE;
}

prm_status_t prm_kiv_util_vxlan_ac_oper(u32 bd, u16 uidb_index, int op) {
    kiv_printf("bd_id %d uidb_index %d oper %d\n", bd, uidb_index, op);
    prm_xid_request request;
    fill_ac(&request, bd, uidb_index);
    return prm_kiv_send_ac(&request, op);
}

prm_status_t prm_kiv_util_vxlan_vsp_ac_oper(u32 bd, u32 ac_xid, u16 uidb_index, int op) {
    kiv_printf("VSP AC BIND: bd_id %d ac_xid %d uidb_index %d oper %d\n", bd, ac_xid, uidb_index, op);
    prm_xid_request request;
    fill_ac(&request, bd, uidb_index);
    request.ac_xid = ac_xid;
    request.flags92 = PRM_XID_92_VSP;
    request.vsp_word = PRM_XID_VSP_WORD;
    return prm_kiv_send_ac(&request, op);
}

// Reserves a vplag id and puts it into the request in place of the one that the entry names.
static prm_status_t reserve_vplag(prm_l2_ecmp_request *request) {
    kiv_printf("\n reserving bitlist for vplag\n");
    prm_buddy_reserve reservation;
    memset(&reservation, 0, sizeof reservation);
    const prm_status_t rc = prm_srh_vplag_buddy_reserve(prm_async_handle, &reservation);
    if (rc != 0) {
        kiv_printf("vplag buddy reserve failed \n");
        return rc;
    }
    kiv_printf("Got vplag id %d\n", reservation.index);
    request->info.vplag_id = reservation.index;
    return rc;
}

prm_status_t prm_kiv_util_vplag_oper(const prm_vplag_info *info, int op) {
    // The modify speaks of the bridge domain.
    static const prm_kiv_l2_call<prm_l2_ecmp_request> kCalls[] = {
        {PRM_KIV_L2_ADD, "\ncalling prm_srh_l2_ecmp_add \n", prm_srh_l2_ecmp_add,
         "prm_srh_l2_ecmp_add failed"},
        {PRM_KIV_L2_DEL, "\ncalling prm_srh_l2_ecmp_del \n", prm_srh_l2_ecmp_del,
         "prm_srh_l2_ecmp_del failed"},
        {PRM_KIV_L2_MOD, "\ncalling prm_srh_bd_mod \n", prm_srh_l2_ecmp_mod, "prm_srh_bd_mod failed"},
    };
    prm_l2_ecmp_request request;
    memset(&request, 0, sizeof request);
    request.kind = PRM_L2_REQUEST_KIND;
    request.object_code = PRM_L2_OBJECT_VPLAG;
    request.info = *info;
    if (op == PRM_KIV_L2_ADD) {
        const prm_status_t rc = reserve_vplag(&request);
        if (rc != 0) return rc;
    }
    return prm_kiv_l2_send(kCalls, op, &request, "\nInvalid Oper\n");
}

prm_status_t prm_kiv_util_fpem_shg_df_oper(const prm_shg_df_entry *entry, int op) {
    static const prm_kiv_l2_call<prm_shg_df_request> kCalls[] = {
        {PRM_KIV_L2_ADD, "\ncalling prm_shg_df_entry_add\n", prm_srh_fpem_shg_df_entry_add,
         "prm_kiv_util_fpem_shg_df_oper add failed"},
        {PRM_KIV_L2_DEL, "\ncalling prm_shg_df_entry_del\n", prm_srh_fpem_shg_df_entry_del,
         " prm_kiv_util_fpem_shg_df_oper del failed"},
    };
    prm_shg_df_request request;
    memset(&request, 0, sizeof request);
    request.kind = PRM_L2_REQUEST_KIND;
    request.xid_type = PRM_XID_TYPE_CIRCUIT;
    request.entry = *entry;
    return prm_kiv_l2_send(kCalls, op, &request, "\nUnsupported Oper\n");
}

prm_status_t prm_kiv_util_evpn_mac_oper(const prm_evpn_mac_entry *entry, int op) {
    static const prm_kiv_l2_call<prm_evpn_mac_request> kCalls[] = {
        {PRM_KIV_L2_ADD, "\ncalling prm_srh_evpn_mac_install_add \n", prm_srh_evpn_mac_install_add,
         "prm_srh_evpn_mac_install_add failed"},
        {PRM_KIV_L2_DEL, "\ncalling prm_srh_evpn_mac_install_del \n", prm_srh_evpn_mac_install_del,
         "prm_srh_evpn_mac_install_del failed"},
    };
    prm_evpn_mac_request request;
    memset(&request, 0, sizeof request);
    request.kind = PRM_L2_REQUEST_KIND;
    request.xid_type = PRM_XID_TYPE_CIRCUIT;
    request.entry = *entry;
    return prm_kiv_l2_send(kCalls, op, &request, "\nUnsupported Oper\n");
}
