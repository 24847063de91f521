// Cases whose calls are worth reading: good ones, one with a check that fails, one that reports an error, one
// that says nothing of a failure, and two that take their worker down, the second inside a call.
#include <cstdlib>

#include "event_manager.h"
#include "kiv.h"
#include "prm_mgr.h"
#include "prm_srh.h"
#include "prm_srh_l2.h"

static const char kFile[] = "tests/app/samples/traced_suite";
static prm_handle_t client;

static void notified() {}

static int connect() {
    void *const evm = event_manager_create(0, 0, 14, 0);
    prm_handle_t connection;
    prm_mgr_open(evm, 0, "sample", notified, 7, 0, &connection);
    return static_cast<int>(prm_srh_register(&client, 1, evm, notified));
}

static prm_bd_request domain(u32 id) {
    prm_bd_request request = {};
    request.kind = PRM_L2_REQUEST_KIND;
    request.xid_type = PRM_XID_TYPE_BRIDGE_DOMAIN;
    request.object_code = PRM_L2_OBJECT_BRIDGE_DOMAIN;
    request.bd_id = id;
    return request;
}

static u32 add(u32 id) {
    prm_bd_request request = domain(id);
    return prm_srh_bd_add(client, &request);
}

static u32 modify(u32 id) {
    prm_bd_request request = domain(id);
    return prm_srh_bd_mod(client, &request);
}

static int check(u32 status, const char *name, int line) {
    return kiv_jyx_check_cerrno_(status, 0, "CERR_SUCCESS", kFile, name, line);
}

static int good() {
    return check(add(7), __func__, 1);
}
static int fails() {
    check(add(21), __func__, 2);
    add(22);
    return check(modify(99), __func__, 3);
}
static int says_error() {
    add(23);
    return kiv_printf("ERROR: something is wrong\n");
}
static int says_nothing() {
    modify(98);
    return check(0, __func__, 4);
}
static int dies() {
    add(24);
    abort();
}
static int dies_in_a_call() {
    return static_cast<int>(prm_srh_bd_add(client, reinterpret_cast<prm_bd_request *>(8)));
}

int main(int argc, char **argv) {
    kiv_context_t context;
    kiv_create(&context);
    const kiv_folder_t folder = kiv_create_test_folder(context, nullptr, "f", "f");
    kiv_add_fixture(folder, connect, nullptr);
    const struct {
        const char *name;
        kiv_function_t function;
    } kCases[] = {{"good", good},
                  {"fails", fails},
                  {"says_error", says_error},
                  {"says_nothing", says_nothing},
                  {"dies", dies},
                  {"dies_in_a_call", dies_in_a_call}};
    for (const auto &one : kCases)
        kiv_create_test_case(context, folder, one.name, "", one.function, KIV_MODE_AUTOMATIC);
    kiv_run(argc, argv, context);
    kiv_destroy(&context);
    return 0;
}
