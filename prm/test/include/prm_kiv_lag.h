// Link bundles: reusable steps and cases.
#ifndef PRM_KIV_LAG_H
#define PRM_KIV_LAG_H

#include "prm_types.h"
#include "uidb.h"

#ifdef __cplusplus
extern "C" {
#endif

// Bundle updates: the call's status, or, when the call succeeded, the operation's own result. Counts and ids
// are taken as 8 bits; at most 32 ports are sent.
prm_status_t kiv_util_lag_create(u32 member_count, const u16 *ports, u32 lag_id);
prm_status_t kiv_util_lag_set_members(u32 member_count, const u16 *ports, u32 lag_id);
prm_status_t kiv_util_lag_delete(u32 lag_id);
prm_status_t kiv_util_lag_member_cfg(u32 port, u32 lag_id, int configure);

// Creates a bundle's main interface with its features and source MAC, configures the first of `ports` (there
// is at least one) and forms the trunk. Checks every call and goes on; aborts without memory for the
// features. Returns the status of the last call.
prm_status_t kiv_util_cfg_bdl_main_if(u32 lag_id, u32 bundle_ifh, u32 l2_flag, u32 member_count,
                                      const u16 *ports);

int tc_kiv_create_bdl_l2_main_if(void);
int tc_kiv_create_bdl_l3_main_if(void);
int tc_kiv_cfg_bdl_member(void);
int tc_kiv_uncfg_bdl_member(void);
int tc_kiv_add_bdl_members(void);
int tc_kiv_remove_bdl_members(void);
int tc_kiv_delete_bdl_main_if(void);
int tc_kiv_create_bdl_sub_interfaces(void);
int tc_kiv_modify_bdl_sub_interfaces(void);
int tc_kiv_add_bdl_subif_port(void);
int tc_kiv_remove_bdl_subif_port(void);
int tc_kiv_delete_bdl_subifs(void);
int tc_kiv_update_bdl_mtu(void);
int tc_kiv_update_bdl_subif_mtu(void);

#ifdef __cplusplus
}
#endif

#endif
