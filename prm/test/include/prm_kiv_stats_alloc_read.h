// Statistics pointers of MPLS entries.
#ifndef PRM_KIV_STATS_ALLOC_READ_H
#define PRM_KIV_STATS_ALLOC_READ_H

#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// Allocates one statistics pointer of a direction (PRM_STATS_INGRESS, ...) and class (PRM_STATS_CLASS_...);
// the client's status.
prm_status_t kiv_util_prm_stats_cl_alloc(u32 direction, u32 stats_class, u32 *pointer);

int tc_prm_mpls_stats_alloc(void);

#ifdef __cplusplus
}
#endif

#endif
