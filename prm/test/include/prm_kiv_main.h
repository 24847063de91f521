// Connection fixture and shared handles: what every case that calls the resource manager builds on.
#ifndef PRM_KIV_MAIN_H
#define PRM_KIV_MAIN_H

#include "prm_mgr.h"
#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

extern void *zor_kiv_evm;              // event manager, made by the set-up
extern prm_handle_t prm_mgr_handle;    // connection, filled by prm_mgr_open
extern prm_handle_t prm_async_handle;  // asynchronous client: first argument of every prm_srh_ request

int setup_bm_prm_conn(void);
int teardown_bm_prm_conn(void);

// Opens the connection and registers the client; the resource manager's status.
prm_status_t zor_bind_prm(void);
// Registers and names the asynchronous client; the status of the naming.
prm_status_t zor_prm_register(void);

// Handlers given to the resource manager; they do nothing.
void zor_upd_notify_handler_test(void);
void zor_async_handler_test(void);

#ifdef __cplusplus
}
#endif

#endif
