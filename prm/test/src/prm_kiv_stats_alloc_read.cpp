// Statistics pointers of MPLS entries: one allocated.
#include "prm_kiv_stats_alloc_read.h"

#include "kiv.h"
#include "prm_kiv_check.h"
#include "prm_kiv_main.h"
#include "prm_mgr.h"

static const char kFile[] = "prm/test/src/prm_kiv_stats_alloc_read";

prm_status_t kiv_util_prm_stats_cl_alloc(u32 direction, u32 stats_class, u32 *pointer) {
    u32 count = 1;
    return prm_stats_cl_alloc(prm_async_handle, direction, stats_class, 2 /* sent as is */, &count, pointer);
}

int tc_prm_mpls_stats_alloc(void) {
    u32 pointer = 0;
    const prm_status_t rc = kiv_util_prm_stats_cl_alloc(PRM_STATS_INGRESS, PRM_STATS_CLASS_MPLS, &pointer);
    const int result = kiv_check_success_here(rc, kFile, "tc_prm_mpls_stats_alloc", __LINE__);
    kiv_printf("kiv_util_prm_stats_cl_alloc called rc: 0x%x\n", rc);
    return result;
}
