// MPLS labels: label entries, their index reservations, and forwarding chains from next hop to label or
// route.
#ifndef PRM_KIV_LABEL_H
#define PRM_KIV_LABEL_H

#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// Each returns the client's status.

// Adds a label entry; modifies it when the low byte of `modify` is not 0. Flags are 0 or not, so is `eos`
// (end of stack). `pointer` goes out with the NR-LDI and the recursive form; `leaf_index` is a reserved
// label-entry index, 0 for none.
prm_status_t kiv_util_vop_prm_srh_mpls_leaf_add(u32 label, u32 eos, int pop_lookup, int recursive, int nr_ldi,
                                                u32 pointer, u32 leaf_index, int modify);

// Deletes a label's entries. The request names the label alone: `eos` is not sent.
prm_status_t kiv_util_vop_prm_srh_mpls_leaf_del(u32 label, u32 eos);

int tc_mpls_leaf_buddy_reserve(void);
int tc_mpls_leaf_buddy_release(void);
int tc_mpls_fwding_chain_create_pop(void);
int tc_mpls_fwding_chain_create_swap(void);
int tc_mpls_fwding_chain_create_push(void);
int tc_mpls_fwding_chain_create_pop_eos0(void);
int tc_mpls_fwding_chain_create_swap_eos0(void);
int tc_mpls_fwding_chain_create_push_eos0(void);
int tc_mpls_fwding_chain_create_pop_to_swap(void);
int tc_mpls_fwding_chain_create_swap_to_pop(void);
int tc_prm_mpls_leaf_add(void);
int tc_prm_mpls_leaf_del(void);
int tc_prm_mpls_leaf_add_eos0(void);
int tc_prm_mpls_leaf_del_eos0(void);

#ifdef __cplusplus
}
#endif

#endif
