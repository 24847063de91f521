// Cases that program the simulated card, and one that takes its worker and the card with it.
#include <cstdlib>

#include "event_manager.h"
#include "kiv.h"
#include "prm_mgr.h"
#include "prm_srh.h"
#include "prm_srh_l2.h"

static const char kFile[] = "tests/app/samples/card_suite";
static prm_handle_t client;

static void notified() {}

static int connect() {
    void *const evm = event_manager_create(0, 0, 14, 0);
    prm_handle_t connection;
    prm_mgr_open(evm, 0, "sample", notified, 7, 0, &connection);
    return static_cast<int>(prm_srh_register(&client, 1, evm, notified));
}

static int add_domain(u32 id, const char *name) {
    prm_bd_request request = {};
    request.kind = PRM_L2_REQUEST_KIND;
    request.xid_type = PRM_XID_TYPE_BRIDGE_DOMAIN;
    request.object_code = PRM_L2_OBJECT_BRIDGE_DOMAIN;
    request.bd_id = id;
    return kiv_jyx_check_cerrno_(prm_srh_bd_add(client, &request), 0, "CERR_SUCCESS", kFile, name, 1);
}

static int adds_7() {
    return add_domain(7, __func__);
}
static int adds_8() {
    return add_domain(8, __func__);
}
static int adds_9() {
    return add_domain(9, __func__);
}
static int dies() {
    abort();
}

int main(int argc, char **argv) {
    kiv_context_t context;
    kiv_create(&context);
    const auto folder = [&](const char *name) {
        const kiv_folder_t made = kiv_create_test_folder(context, nullptr, name, name);
        kiv_add_fixture(made, connect, nullptr);
        return made;
    };
    const kiv_folder_t first = folder("first"), deadly = folder("deadly"), last = folder("last");
    kiv_create_test_case(context, first, "adds_7", "adds domain 7", adds_7, KIV_MODE_AUTOMATIC);
    kiv_create_test_case(context, first, "adds_8", "adds domain 8", adds_8, KIV_MODE_AUTOMATIC);
    kiv_create_test_case(context, deadly, "dies", "aborts", dies, KIV_MODE_AUTOMATIC);
    kiv_create_test_case(context, last, "adds_9", "adds domain 9", adds_9, KIV_MODE_AUTOMATIC);
    kiv_run(argc, argv, context);
    kiv_destroy(&context);
    return 0;
}
