// VXLAN, EVPN and split-horizon entries: every case takes its parameters from standard input, one entry a
// line, until the end of input.
//
// A field that a line does not have keeps what an earlier line of the case set, zero at first.
#ifndef PRM_KIV_VXLAN_H
#define PRM_KIV_VXLAN_H

#include "prm_srh_l2.h"
#include "prm_types.h"

// What a line of the case holds, in the order of its fields. Addresses are IPv4 addresses.
struct prm_kiv_vxlan_bd_params {
    u32 bd_id;
    u32 vni;
    u32 source_vtep;
};
struct prm_kiv_ac_params {
    u32 bd_id;
    u16 uidb_index;
};
struct prm_kiv_vsp_ac_params {
    u32 bd_id;
    u32 ac_xid;
    u16 uidb_index;
};
struct prm_kiv_ole_params {
    u32 bd_id;
    u32 remote_vtep;
    u32 nh_id;
};

#ifdef __cplusplus
extern "C" {
#endif

// Line readers. Each returns 1 for a line, -1 for an empty one, 0 at the end of input. Fields are separated
// by
// ",", those of the vplag line by ";". Numbers are decimal where the comment does not say hexadecimal.
int prm_kiv_util_get_vxlan_bd_params(prm_kiv_vxlan_bd_params *params);  // bd, VNI, source VTEP (hex)
int prm_kiv_util_get_ac_params(prm_kiv_ac_params *params);              // bd, uidb
int prm_kiv_util_get_vsp_ac_params(prm_kiv_vsp_ac_params *params);      // bd, AC xid (hex), uidb
int prm_kiv_util_get_ole_params(prm_kiv_ole_params *params);            // bd, remote VTEP (hex), next hop
// Source VTEP (hex); vplag id; number of paths; next hops joined by ","; remote VTEPs (hex) joined by ",".
// Aborts for more paths than ZOR_L2_ECMP_MAX_PATHS and for a list whose length is another number.
int prm_kiv_util_get_vplag_params(prm_vplag_info *vplag_info);
int prm_kiv_util_get_mac_params(
    prm_evpn_mac_entry *entry);  // MAC as xx:xx:.., bd, type, FEC (hex for type 1)
int prm_kiv_util_get_shg_df_params(prm_shg_df_entry *entry);  // address or VNI (hex), handle (hex), is-SHG

// Operation handlers (prm_kiv_l2_op). Each sends one request and returns its status; an operation it does not
// have sends nothing and returns 0.
prm_status_t prm_kiv_util_vxlan_bd_oper(u32 bd, u32 vni, u32 source_vtep, int op);  // the VNI's low 24 bits
prm_status_t prm_kiv_util_vxlan_ac_oper(u32 bd, u16 uidb_index, int op);
prm_status_t prm_kiv_util_vxlan_vsp_ac_oper(u32 bd, u32 ac_xid, u16 uidb_index, int op);
prm_status_t prm_kiv_util_vplag_oper(const prm_vplag_info *info, int op);  // an add reserves the vplag id
prm_status_t prm_kiv_util_fpem_shg_df_oper(const prm_shg_df_entry *entry, int op);
prm_status_t prm_kiv_util_evpn_mac_oper(const prm_evpn_mac_entry *entry, int op);

int tc_kiv_vxlan_bd_add(void);
int tc_kiv_vxlan_bd_del(void);
int tc_kiv_vxlan_ac_bind(void);
int tc_kiv_vxlan_vsp_ac_bind(void);
int tc_kiv_vxlan_ac_unbind(void);
int tc_kiv_vxlan_vsp_ac_unbind(void);
int tc_kiv_vxlan_ole_add(void);
int tc_kiv_vxlan_ole_mod(void);
int tc_kiv_vxlan_ole_del(void);
int tc_kiv_vxlan_vplag_add(void);
int tc_kiv_vxlan_vplag_member_set(void);
int tc_kiv_vxlan_vplag_del(void);
int tc_kiv_evpn_mac_install(void);
int tc_kiv_evpn_mac_uninstall(void);
int tc_kiv_fpem_shg_df_del(void);
int tc_kiv_fpem_shg_df_add(void);

#ifdef __cplusplus
}
#endif

#endif
