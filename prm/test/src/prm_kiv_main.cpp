// Entry point of the suite, and the fixture that holds a connection to the resource manager open around each
// folder's cases.
#include "prm_kiv_main.h"

#include "event_manager.h"
#include "kiv.h"
#include "prm_kiv_check.h"
#include "prm_kiv_registry.h"

static const char kFile[] = "prm/test/src/prm_kiv_main";
static const char kClientName[] = "zor_kiv_client";

enum : u32 {
    kOpenFlags = 7,     // sent as is
    kRegisterWord = 1,  // sent as is
};

void *zor_kiv_evm;
prm_handle_t prm_mgr_handle;
prm_handle_t prm_async_handle;

void zor_upd_notify_handler_test(void) {}

void zor_async_handler_test(void) {}

prm_status_t zor_prm_register(void) {
    const prm_status_t registered =
        prm_srh_register(&prm_async_handle, kRegisterWord, zor_kiv_evm, zor_async_handler_test);
    kiv_check_success_fixed(registered, kFile, "zor_prm_register", 65);

    // A failed registration is reported above; the client is named all the same.
    const prm_status_t named = prm_srh_set_name(prm_async_handle, kClientName);
    kiv_check_success_fixed(named, kFile, "zor_prm_register", 68);
    return named;
}

prm_status_t zor_bind_prm(void) {
    prm_status_t rc = prm_mgr_open(zor_kiv_evm, 0, kClientName, zor_upd_notify_handler_test, kOpenFlags, 0,
                                   &prm_mgr_handle);
    if (rc == CERR_SUCCESS) {
        kiv_printf("Connection to PRM opened\n");
        rc = zor_prm_register();
    }
    kiv_check_success_fixed(rc, kFile, "zor_bind_prm", 86);
    return rc;
}

int setup_bm_prm_conn(void) {
    zor_kiv_evm = event_manager_create(0, 0, 14, 0);  // sent as is
    const prm_status_t rc = zor_bind_prm();
    return kiv_check_success_fixed(rc, kFile, "setup_bm_prm_conn", 101);
}

int teardown_bm_prm_conn(void) {
    prm_status_t rc = prm_srh_unregister(kClientName, 0);
    kiv_check_success_fixed(rc, kFile, "teardown_bm_prm_conn", 109);
    rc = prm_mgr_close(prm_mgr_handle);
    const int closed = kiv_check_success_fixed(rc, kFile, "teardown_bm_prm_conn", 111);
    event_manager_destroy(&zor_kiv_evm);
    return closed;
}

int main(int argc, char **argv) {
    kiv_context_t context = nullptr;
    kiv_create(&context);
    prm_kiv_register(context);
    kiv_run(argc, argv, context);
    kiv_destroy(&context);
    return 0;  // whatever the run produced: results are what the framework records
}
