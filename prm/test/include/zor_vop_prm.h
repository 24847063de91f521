// Route and label programming client library: route leaves, label entries, and the TCAM entries that it
// passes on to the resource manager.
//
// Every operation takes the client's handle and a record that belongs to the caller, and returns 0 or an
// error code. The records' layouts stand in the header named beside each group.
#ifndef ZOR_VOP_PRM_H
#define ZOR_VOP_PRM_H

#include "prm_buddy_reserve.h"
#include "prm_types.h"

struct zor_leaf_request;   // zor_vop_prm_leaf.h
struct zor_label_request;  // zor_vop_prm_label.h
struct prm_info;           // zor_vop_prm_tcam.h

#ifdef __cplusplus
extern "C" {
#endif

prm_status_t zor_vop_prm_srh_ip_leaf_reserve(prm_handle_t client, prm_buddy_reserve *request);
prm_status_t zor_vop_prm_srh_ipv4_leaf_add(prm_handle_t client, zor_leaf_request *leaf);
prm_status_t zor_vop_prm_srh_ipv4_leaf_mod(prm_handle_t client, zor_leaf_request *leaf);
prm_status_t zor_vop_prm_srh_ipv4_leaf_del(prm_handle_t client, zor_leaf_request *leaf);
prm_status_t zor_vop_prm_srh_ipv6_leaf_add(prm_handle_t client, zor_leaf_request *leaf);
prm_status_t zor_vop_prm_srh_ipv6_leaf_mod(prm_handle_t client, zor_leaf_request *leaf);
prm_status_t zor_vop_prm_srh_ipv6_leaf_del(prm_handle_t client, zor_leaf_request *leaf);

prm_status_t zor_vop_prm_srh_label_ufib_add(prm_handle_t client, zor_label_request *label);
prm_status_t zor_vop_prm_srh_label_ufib_mod(prm_handle_t client, zor_label_request *label);
prm_status_t zor_vop_prm_srh_label_ufib_del(prm_handle_t client, zor_label_request *label);

prm_status_t zor_vop_prm_tcam_vmr_create(prm_handle_t client, prm_info *info);
prm_status_t zor_vop_prm_tcam_vmr_insert(prm_handle_t client, prm_info *info);
prm_status_t zor_vop_prm_tcam_vmr_delete(prm_handle_t client, prm_info *info);
prm_status_t zor_vop_prm_tcam_vmr_destroy(prm_handle_t client, prm_info *info);
prm_status_t zor_vop_prm_tcam_vmr_read(prm_handle_t client, prm_info *info);
prm_status_t zor_vop_prm_tcam_vmr_stats_alloc(prm_handle_t client, prm_info *info);
prm_status_t zor_vop_prm_tcam_vmr_stats_dealloc(prm_handle_t client, prm_info *info);

#ifdef __cplusplus
}
#endif

#endif
