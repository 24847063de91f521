// NP HAL wrapper library: the traffic manager's policies, queues, statistics and nodes.
#ifndef WYK_HAL_WRAPPER_H
#define WYK_HAL_WRAPPER_H

#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// Each takes a request and a response whose layouts belong to the operation (prm_kiv_qos.h) and returns a
// 32-bit code, 0 on success. Both blocks belong to the caller.

// One operation of the engine, chosen by HAL type; either block may be null where the type has none.
prm_status_t wyk_hal_wrapper_engine_op(u32 hal_type, void *request, void *response);

// Queue or policer handles of a port.
prm_status_t wyk_hal_wrapper_get_result(void *request, void *response);

// Configures policies; the strict-priority request carries its count in its header and leaves `policies` out.
prm_status_t wyk_hal_wrapper_config_policy_in_tm(void *request, void *response,
                                                 u32 policies
#ifdef __cplusplus
                                                 = 0
#endif
);

// Counters of one statistics id.
prm_status_t wyk_hal_wrapper_get_stats(void *request, void *response);

// Depth of one queue.
prm_status_t wyk_hal_wrapper_get_queue_depth(void *request, void *response);

// Configuration as programmed.
prm_status_t wyk_hal_wrapper_get_config(void *request, void *response);

// Releases nodes; *status_word comes back non-zero when they were released.
prm_status_t wyk_hal_wrapper_deallocate_nodes(void *request, u32 *status_word);

// Number of local ports of a network processor.
u8 wyk_np_info_num_local_ports(u32 np);

#ifdef __cplusplus
}
#endif

#endif
