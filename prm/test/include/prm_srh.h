// Resource-manager client library: load distribution, adjacencies, index pools, local packet transport,
// layer-2 services, overlay entries and port mirroring.
//
// Every operation takes the client's handle and a record that belongs to the caller, and returns 0 or an
// error code. The records' layouts stand in the header named beside each group.
#ifndef PRM_SRH_H
#define PRM_SRH_H

#include "prm_buddy_reserve.h"
#include "prm_types.h"

struct prm_nr_ldi;             // prm_srh_nr_ldi.h
struct prm_tx_adj;             // prm_srh_tx_adj.h
struct prm_mpls_leaf_release;  // prm_srh_mpls_leaf.h
struct prm_lpts_request;       // prm_srh_lpts.h
struct prm_xid_request;        // prm_srh_l2.h, also the six below
struct prm_bd_request;
struct prm_l2_ecmp_request;
struct prm_shg_df_request;
struct prm_evpn_mac_request;
struct prm_vxlan_ole_request;
struct prm_span_request;  // prm_srh_span.h

#ifdef __cplusplus
extern "C" {
#endif

prm_status_t prm_srh_nr_ldi_add(prm_handle_t client, prm_nr_ldi *entry);
prm_status_t prm_srh_nr_ldi_del(prm_handle_t client, prm_nr_ldi *entry);
prm_status_t prm_srh_nr_ldi_buddy_reserve(prm_handle_t client, prm_buddy_reserve *request);

prm_status_t prm_srh_tx_adj_add(prm_handle_t client, prm_tx_adj *adjacency);
prm_status_t prm_srh_tx_adj_mod(prm_handle_t client, prm_tx_adj *adjacency);
prm_status_t prm_srh_tx_adj_del(prm_handle_t client, prm_tx_adj *adjacency);
prm_status_t prm_srh_tx_adj_buddy_reserve(prm_handle_t client, prm_buddy_reserve *request);
prm_status_t prm_srh_l3_intf_buddy_reserve(prm_handle_t client, prm_buddy_reserve *request);
// Marks a reserved next hop as pending in hardware.
prm_status_t prm_set_nh_idx_hw_pending(u32 nh_index);

prm_status_t prm_srh_mpls_leaf_buddy_reserve(prm_handle_t client, prm_buddy_reserve *request);
prm_status_t prm_srh_mpls_leaf_buddy_release(prm_handle_t client, prm_mpls_leaf_release *request);

prm_status_t prm_srh_lpts_add(prm_handle_t client, prm_lpts_request *request);
prm_status_t prm_srh_lpts_get(prm_handle_t client, prm_lpts_request *request, u32 word);
prm_status_t prm_srh_lpts_del(prm_handle_t client, prm_lpts_request *request);

prm_status_t prm_srh_xid_add(prm_handle_t client, prm_xid_request *request);
prm_status_t prm_srh_xid_mod(prm_handle_t client, prm_xid_request *request);
prm_status_t prm_srh_xid_del(prm_handle_t client, prm_xid_request *request);
prm_status_t prm_srh_bd_add(prm_handle_t client, prm_bd_request *request);
prm_status_t prm_srh_bd_mod(prm_handle_t client, prm_bd_request *request);
prm_status_t prm_srh_bd_del(prm_handle_t client, prm_bd_request *request);
prm_status_t prm_srh_l2_ecmp_add(prm_handle_t client, prm_l2_ecmp_request *request);
prm_status_t prm_srh_l2_ecmp_mod(prm_handle_t client, prm_l2_ecmp_request *request);
prm_status_t prm_srh_l2_ecmp_del(prm_handle_t client, prm_l2_ecmp_request *request);
prm_status_t prm_srh_vplag_buddy_reserve(prm_handle_t client, prm_buddy_reserve *request);
prm_status_t prm_srh_fpem_shg_df_entry_add(prm_handle_t client, prm_shg_df_request *request);
prm_status_t prm_srh_fpem_shg_df_entry_del(prm_handle_t client, prm_shg_df_request *request);
prm_status_t prm_srh_evpn_mac_install_add(prm_handle_t client, prm_evpn_mac_request *request);
prm_status_t prm_srh_evpn_mac_install_del(prm_handle_t client, prm_evpn_mac_request *request);
prm_status_t prm_srh_vxlan_ole_add(prm_handle_t client, prm_vxlan_ole_request *request);
prm_status_t prm_srh_vxlan_ole_mod(prm_handle_t client, prm_vxlan_ole_request *request);
prm_status_t prm_srh_vxlan_ole_del(prm_handle_t client, prm_vxlan_ole_request *request);

prm_status_t prm_srh_span_fwd_add(prm_handle_t client, prm_span_request *request);
prm_status_t prm_srh_span_fwd_del(prm_handle_t client, prm_span_request *request);
prm_status_t prm_srh_span_enable(prm_handle_t client, prm_span_request *request);
prm_status_t prm_srh_span_disable(prm_handle_t client, prm_span_request *request);

#ifdef __cplusplus
}
#endif

#endif
