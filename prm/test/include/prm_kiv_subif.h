// Sub-interfaces: reusable steps, and the cases that create, re-encapsulate and delete four of them.
#ifndef PRM_KIV_SUBIF_H
#define PRM_KIV_SUBIF_H

#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// Creates a sub-interface with statistics pointers, an encapsulation of one or two tags and, on layer 3,
// IPv4. It belongs to a bundle (low 8 bits of the id) when the bundle flag is set, else to an NP port (low 8
// bits). Checks every call and goes on; aborts without memory. Returns the status of the last call.
prm_status_t kiv_util_cfg_subif(u32 parent_ifh, u32 sub_ifh, u32 np_port, u32 bundle_id, u32 ovlan, u32 ivlan,
                                u32 otpid, u32 l2_flag, u32 bundle_flag);

// Changes a sub-interface's encapsulation; an outer VLAN of 0 leaves it without tags. Checks the status and
// returns it; aborts without memory.
prm_status_t kiv_util_chg_subif_encap(u32 sub_ifh, u32 ovlan, u32 ivlan, u32 otpid, u32 l2_flag);

prm_status_t kiv_util_delete_subif(u32 sub_ifh);

// Stores the uidb index that the card's type gives to its bridged virtual interface. Returns 22 for a card
// that it does not know and stores nothing.
prm_status_t kiv_util_get_bvi_uidb(u32 *uidb);

int tc_kiv_create_sub_interfaces(void);
int tc_kiv_create_l2_sub_interfaces(void);
int tc_kiv_modify_sub_interfaces(void);
int tc_kiv_modify_l2_sub_interfaces(void);
int tc_kiv_delete_sub_interfaces(void);

#ifdef __cplusplus
}
#endif

#endif
