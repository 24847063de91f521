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

#ifdef __cplusplus
}
#endif

#endif
