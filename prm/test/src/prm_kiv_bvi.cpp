// Bridged virtual interface: binds a BVI and a circuit to a bridge domain in both orders, changes the BVI's
// MAC address and VRF, and removes everything again.
#include "prm_kiv_bvi.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "prm_kiv_check.h"
#include "prm_kiv_input.h"
#include "prm_kiv_subif.h"
#include "prm_kiv_tx_adj.h"
#include "prm_kiv_uidb.h"
#include "prm_kiv_vpls.h"

static const char kFile[] = "prm/test/src/prm_kiv_bvi";

u32 bvi_ifh = 0x800004C;
u8 bvi_mac[6] = {0x02, 0x5E, 0x3B, 0xA7, 0x38, 0x31};
u32 bvi_vrf = 1;
u8 bvi_mac_2[6] = {0x02, 0x5E, 0x3B, 0xA7, 0x38, 0x32};
u32 bvi_vrf_2 = 2;
u32 bvi_uidb;

prm_status_t kiv_util_read_bvi_input(void) {
    static const prm_kiv_printed_param kParams[] = {
        {"IFH", 16, &token_ifh, &ifh[0], "ifhandle = 0x%X\n", nullptr},
        {"UIDB", 10, &token_uidb, &uidb[0], "uidb = %d\n", nullptr},
    };
    FILE *const file = fopen(KIV_TCS_INPUT_FILE, "r");
    if (file == nullptr) {
        const int error = errno;  // the print may change it
        kiv_printf("Error reading file");
        errno = error;
        perror("kiv_tcs_input_file");
        return PRM_KIV_NO_INPUT_STATUS;
    }
    kiv_printf("\nNUM_INTF = %d\n", 1);
    static char line[KIV_LINE_SIZE];  // static, so that what the token pointers name stays readable
    prm_kiv_take_printed_params(prm_kiv_input_read_fields(file, line, 2), kParams, 2);
    fclose(file);
    kiv_printf("\nifh :0x %X, UIDB : %d\n", ifh[0], uidb[0]);
    return CERR_SUCCESS;
}

prm_status_t prm_kiv_util_bvi_interface_create(void) {
    uidb_create_msg *const message = prm_kiv_uidb_new<uidb_create_msg>(bvi_ifh, 0, UIDB_IFTYPE_BVI, 0);
    if (message == nullptr) {
        kiv_printf("\nCould not allocate uidb_create_msg\n");
        return PRM_KIV_NO_MEMORY_STATUS;
    }
    kiv_printf("channel_map = %d\n if_handle = 0x%X iftype = %d     parent_ifh = 0x%X\n",
               message->channel_map, message->if_handle, message->iftype, message->parent_ifh);
    const prm_status_t rc = uidb_create_interface(UIDB_CLIENT_COOKIE, message);
    kiv_printf("UIDB Allocated = %d", message->uidb_index);
    if (rc != CERR_SUCCESS) kiv_printf("\nuidb_create_interface failed\n");
    free(message);
    return rc;
}

prm_status_t prm_kiv_util_bvi_interface_feature_set(int which) {
    auto *const message = prm_kiv_uidb_new<uidb_client_data_of<2>>(bvi_ifh);
    if (message == nullptr) {
        kiv_printf("Malloc Failed for uidb_client_data \n");
        kiv_fail_without_memory_fixed(kFile, "prm_kiv_util_bvi_interface_feature_set", 194);
    }
    prm_kiv_uidb_fill(&message->features[0], 0, UIDB_FEATURE_MAC, 0);
    memcpy(message->features[0].mac, which != 0 ? bvi_mac : bvi_mac_2, sizeof bvi_mac);
    prm_kiv_uidb_fill(&message->features[1], 0, UIDB_FEATURE_VRF, which != 0 ? bvi_vrf : bvi_vrf_2);

    kiv_printf("Call UIDB Set feature to set IP BVI MAC and VRF\n");
    const prm_status_t rc = uidb_set_feature(UIDB_CLIENT_COOKIE, &message->head);
    free(message);
    if (rc != CERR_SUCCESS) {
        kiv_printf("\nuidb_set_feature failed\n");
        return rc;
    }
    kiv_check_success_fixed(CERR_SUCCESS, kFile, "prm_kiv_util_bvi_interface_feature_set", 230);
    kiv_printf("BVI MAC handling Succesfull\n");
    return rc;
}

prm_status_t prm_kiv_util_prm_srh_bd_handler(int op) {
    static const prm_kiv_l2_call<prm_bd_request> kCalls[] = {
        {PRM_KIV_L2_ADD, nullptr, prm_srh_bd_add, "\nprm_srh_bd_add failed\n"},
        {PRM_KIV_L2_DEL, nullptr, prm_srh_bd_del, "\nprm_srh_bd_del failed\n"},
    };
    if (op != PRM_KIV_L2_ADD && op != PRM_KIV_L2_DEL) {
        kiv_printf("unsupported OP type");
        return PRM_KIV_UNKNOWN_OP_STATUS;
    }
    prm_bd_request request;
    prm_kiv_fill_bd(&request, bd_id);
    request.flags73 = PRM_BD_73_BVI;
    return prm_kiv_l2_send(kCalls, op, &request, "");
}

// --- Members of the domain ---

// What comes before the request; a failure tells itself, and its status is the handler's.
typedef prm_status_t (*prepare_t)(void);

static prm_status_t told(prm_status_t rc, const char *failure) {
    if (rc != CERR_SUCCESS) kiv_printf("%s", failure);
    return rc;
}

static prm_status_t enable_circuit(void) {
    return told(kiv_util_uidb_l2_enable(ifh[0]), "\nCan't enable l2transport on interface\n");
}

static prm_status_t make_bvi(void) {
    prm_status_t rc = told(prm_kiv_util_bvi_interface_create(), "\nbvi_interface_create failed\n");
    if (rc != CERR_SUCCESS) return rc;
    rc = told(prm_kiv_util_bvi_interface_feature_set(1), "\nbvi_interface_feature_set failed\n");
    if (rc != CERR_SUCCESS) return rc;
    rc = told(kiv_util_get_bvi_uidb(&bvi_uidb), "Failed to read BVI_UIDB");
    if (rc == CERR_SUCCESS) kiv_printf("\nbvi_uidb extracted = %d\n", bvi_uidb);
    return rc;
}

static prm_status_t find_bvi(void) {
    const prm_status_t rc = told(kiv_util_get_bvi_uidb(&bvi_uidb), "\nFailed to read BVI_UIDB\n");
    if (rc == CERR_SUCCESS) kiv_printf("\nBvi_uidb extracted = %d\n", bvi_uidb);
    return rc;
}

static const int kOther = -1;  // every kind, or operation, that no line above names

static bool matches(int entry, int asked) {
    return entry == kOther || entry == asked;
}

prm_status_t prm_kiv_util_prm_srh_xid_handler(int xid_kind, int op) {
    typedef prm_status_t (*call_t)(prm_handle_t, prm_xid_request *);
    struct decision {
        int kind;
        int op;
        const char *prints[2];
        prepare_t prepare;
        call_t call;  // null: nothing is sent, `refusal` is the result
        const char *failure;
        prm_status_t refusal;
    };
    enum { AC = PRM_XID_KIND_AC, BVI = PRM_XID_KIND_BVI };
    enum { ADD = PRM_KIV_L2_ADD, DEL = PRM_KIV_L2_DEL, MOD = PRM_KIV_L2_MOD };
    // The delete of a circuit reports with the text of the modify.
    // clang-format off
    static const decision kDecisions[] = {
        {AC,     ADD,    {"\nFor AC\n", "\nADD case\n"},
         enable_circuit, prm_srh_xid_add, "\nprm_srh_xid_add failed for AC bind\n", 0},
        {AC,     DEL,    {"\nFor AC\n", "\nDEL case\n"},
         nullptr,        prm_srh_xid_del, "\nprm_srh_xid_mod failed for AC update\n", 0},
        {AC,     MOD,    {"\nFor AC\n", "\nMOD case\n"},
         nullptr,        prm_srh_xid_mod, "\nprm_srh_xid_mod failed for AC update\n", 0},
        {AC,     kOther, {"\nFor AC\n", "Invalid Operation Requested"},
         nullptr,        nullptr,         nullptr, PRM_KIV_UNKNOWN_OP_STATUS},
        {BVI,    ADD,    {"\nFor BVI\n", nullptr},
         make_bvi,       prm_srh_xid_add, "\nprm_srh_xid_add failed for BVI bind\n", 0},
        {BVI,    DEL,    {nullptr, nullptr},
         find_bvi,       prm_srh_xid_del, "\nprm_srh_xid_del failed for BVI delete\n", 0},
        {BVI,    kOther, {"\nUnsupported operation\n", nullptr},
         nullptr,        nullptr,         nullptr, PRM_KIV_UNKNOWN_OP_STATUS},
        {kOther, kOther, {"Unknown/Unsupported xid type", nullptr},
         nullptr,        nullptr,         nullptr, PRM_KIV_UNKNOWN_KIND_STATUS},
    };
    // clang-format on
    const decision *chosen = kDecisions;
    while (!matches(chosen->kind, xid_kind) || !matches(chosen->op, op)) ++chosen;  // the last matches all

    for (const char *text : chosen->prints)
        if (text != nullptr) kiv_printf("%s", text);
    if (chosen->call == nullptr) return chosen->refusal;
    if (chosen->prepare != nullptr) {
        const prm_status_t rc = chosen->prepare();
        if (rc != CERR_SUCCESS) return rc;
    }

    prm_xid_request request;
    if (xid_kind == PRM_XID_KIND_AC)
        prm_kiv_fill_member(&request, PRM_XID_KIND_AC, bd_id, uidb[0]);
    else
        prm_kiv_fill_member(&request, PRM_XID_KIND_BVI, bd_id, bvi_uidb);
    if (op == PRM_KIV_L2_MOD) {
        request.flags90 = PRM_XID_90_MODIFY;
        request.flags91 = PRM_XID_91_MODIFY;
    }
    return told(chosen->call(prm_async_handle, &request), chosen->failure);
}

// --- Cases ---

// A step of a case and the text printed when it fails.
struct bvi_step {
    prm_status_t (*run)(void);
    const char *failure;
};

static prm_status_t add_domain(void) {
    return prm_kiv_util_prm_srh_bd_handler(PRM_KIV_L2_ADD);
}
static prm_status_t delete_domain(void) {
    return prm_kiv_util_prm_srh_bd_handler(PRM_KIV_L2_DEL);
}
static prm_status_t bind_bvi(void) {
    return prm_kiv_util_prm_srh_xid_handler(PRM_XID_KIND_BVI, PRM_KIV_L2_ADD);
}
static prm_status_t unbind_bvi(void) {
    return prm_kiv_util_prm_srh_xid_handler(PRM_XID_KIND_BVI, PRM_KIV_L2_DEL);
}
static prm_status_t bind_circuit(void) {
    return prm_kiv_util_prm_srh_xid_handler(PRM_XID_KIND_AC, PRM_KIV_L2_ADD);
}
static prm_status_t modify_circuit(void) {
    return prm_kiv_util_prm_srh_xid_handler(PRM_XID_KIND_AC, PRM_KIV_L2_MOD);
}
static prm_status_t unbind_circuit(void) {
    return prm_kiv_util_prm_srh_xid_handler(PRM_XID_KIND_AC, PRM_KIV_L2_DEL);
}
static prm_status_t set_second_features(void) {
    return prm_kiv_util_bvi_interface_feature_set(0);
}
static prm_status_t delete_interface(void) {
    return uidb_delete_interface(UIDB_CLIENT_COOKIE, bvi_ifh);
}

// Runs the steps; the first failure tells itself and ends the case unchecked (0), else the success is
// checked.
template <size_t N>
static int run_steps(const bvi_step (&steps)[N], const char *function, int line) {
    for (const bvi_step &step : steps)
        if (told(step.run(), step.failure) != CERR_SUCCESS) return 0;
    return kiv_check_success_fixed(CERR_SUCCESS, kFile, function, line);
}

int tc_kiv_bvI_with_ac_main_port_in_bd_bvi_bind_first(void) {
    static const bvi_step kSteps[] = {
        {kiv_util_read_bvi_input, "\nFailed to read input file\n"},
        {add_domain, "\nprm_kiv_util_prm_srh_bd_handler failed\n"},
        {bind_bvi, "\nprm_kiv_util_prm_srh_xid_handler failed for BVI\n"},
        {bind_circuit, "\nprm_kiv_util_prm_srh_xid_handler failed for AC\n"},
    };
    return run_steps(kSteps, "tc_kiv_bvI_with_ac_main_port_in_bd_bvi_bind_first", 475);
}

int tc_kiv_bvI_with_ac_main_port_in_bd_ac_bind_first(void) {
    static const bvi_step kSteps[] = {
        {kiv_util_read_bvi_input, "\nFailed to read input file\n"},
        {add_domain, "\nprm_kiv_util_prm_srh_bd_handler failed\n"},
        {bind_circuit, "\nprm_kiv_util_prm_srh_xid_handler 1 for AC failed\n"},
        {bind_bvi, "\nprm_kiv_util_prm_srh_xid_handler failed for BVI\n"},
        {modify_circuit, "\nprm_kiv_util_prm_srh_xid_add_mod 2 for AC failed\n"},
    };
    tc_kiv_bvi_cleanup();  // what an earlier case left, if anything
    return run_steps(kSteps, "tc_kiv_bvI_with_ac_main_port_in_bd_ac_bind_first", 528);
}

int tc_kiv_bvi_vrf_and_mac_modify(void) {
    static const bvi_step kSteps[] = {
        {kiv_util_read_bvi_input, "\nFailed to read input file\n"},
        {set_second_features, "\nbvi_interface_feature_set failed\n"},
        {modify_circuit, "\nprm_kiv_util_prm_srh_xid_handler for AC failed\n"},
    };
    return run_steps(kSteps, "tc_kiv_bvi_vrf_and_mac_modify", 562);
}

int tc_kiv_bvi_cleanup(void) {
    static const bvi_step kSteps[] = {
        {kiv_util_read_bvi_input, "\nFailed to read input file\n"},
        {unbind_circuit, "\nxid_handler for AC Delete failed\n"},
        {unbind_bvi, "\nxid_handler failed for BVI Delete failed\n"},
        {delete_domain, "\nbd_handler failed for BVI Delete\n"},
        {delete_interface, "\nFailed to delete BVI interface\n"},
    };
    return run_steps(kSteps, "tc_kiv_bvi_cleanup", 613);
}
