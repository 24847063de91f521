// QoS, egress traffic manager: the cases of the strict-priority queues, of the engine's other operations and
// of configurations that must be refused.
#include <string.h>

#include "platform_info.h"
#include "prm_kiv_qos.h"
#include "prm_kiv_tcam.h"
#include "wyk_hal_wrapper.h"

static const char kFile[] = "prm/test/src/prm_kiv_qos";

// --- Strict-priority queues ------------------------------------------------------------------------------

struct sp_texts {
    const char *create_failure, *create_success;
    const char *verify_success, *verify_failure;
    const char *delete_success;
};

static const sp_texts kLlsTexts = {
    "Failure in Creating Strict Priority Queue on LLS port\n",
    "Success in Creating Strict Priority Queue on LLS port\n", "Success in validating SP Queue on LLS port\n",
    "Failure in validating SP Queue on LLS port\n", "Success in Deleting Strict Pri Queue on LLS port\n"};
static const sp_texts kHspTexts = {
    "Failure in Creating Strict Priority Queue on HSP port\n",
    "Success in Creating Strict Priority Queue on HSP port\n", "Success in validating SP Queue on HSP port\n",
    "Failure in validating SP Queue on HSP port\n", "Success in Deleting Strict Pri Queue on HSP port\n"};
static const sp_texts kPlainTexts = {"Failure in Creating Strict Priority Queue\n",
                                     "Success in Creating Strict Priority Queue\n",
                                     "Success in validating SP Queue\n", "Failure in validating SP Queue\n",
                                     "Success in Deleting Strict Priority Queue\n"};

// Creates, verifies and deletes the queues of a port.
static int run_sp_queue(int mode, u32 port, const sp_texts *texts, const char *function) {
    prm_status_t rc = tc_kiv_qos_sp_queue_create(mode, port);
    if (rc != PRM_ERROR_NONE) {
        kiv_printf("%s", texts->create_failure);
        prm_kiv_check_none_here(rc, kFile, function, __LINE__);
        prm_kiv_check_none_here(PRM_ERROR_NONE, kFile, function, __LINE__);  // of the verification skipped
    } else {
        kiv_printf("%s", texts->create_success);
        const prm_status_t verified = tc_kiv_qos_sp_queue_verify(port);
        kiv_printf("%s", verified == PRM_ERROR_NONE ? texts->verify_success : texts->verify_failure);
        prm_kiv_check_none_here(rc, kFile, function, __LINE__);
        prm_kiv_check_none_here(verified, kFile, function, __LINE__);
        rc = tc_kiv_qos_sp_queue_delete(port);
        if (rc == PRM_ERROR_NONE) kiv_printf("%s", texts->delete_success);
    }
    const int result = prm_kiv_check_none_here(rc, kFile, function, __LINE__);
    prm_kiv_qos_release_tm_config();
    return result;
}

int tc_kiv_qos_sp_queue_lls_port(void) {
    return run_sp_queue(PRM_KIV_SP_RISING, 1, &kLlsTexts, __func__);
}

int tc_kiv_qos_sp_queue_hsp_port(void) {
    u32 port;
    switch (platform_get_my_card_type()) {
        case PLATFORM_CARD_TYPE_A:
            port = 81;
            break;
        case PLATFORM_CARD_TYPE_B:
            port = 41;
            break;
        default:
            kiv_printf("This tc is not required in Quennick or other box");
            return 0;
    }
    return run_sp_queue(PRM_KIV_SP_RISING, port, &kHspTexts, __func__);
}

int tc_kiv_qos_sp_queue_random_pri(void) {
    return run_sp_queue(PRM_KIV_SP_FALLING, 1, &kPlainTexts, __func__);
}

int tc_kiv_qos_sp_queue_multi_p1_pri(void) {
    return run_sp_queue(PRM_KIV_SP_SAME, 1, &kPlainTexts, __func__);
}

int tc_kiv_qos_egr_scale_sp_queue(void) {
    enum { kMaxPorts = 256 };
    bool created[kMaxPorts];
    int result = 0;
    const u32 ports = wyk_np_info_num_local_ports(0);
    for (u32 port = 1; port < ports; ++port) {
        const prm_status_t rc = tc_kiv_qos_sp_queue_create(PRM_KIV_SP_RISING, port);
        created[port] = rc == PRM_ERROR_NONE;
        prm_status_t verified = PRM_ERROR_NONE;
        if (created[port]) {
            kiv_printf("Success in Creating Strict Priority Queue on %d port\n", port);
            verified = tc_kiv_qos_sp_queue_verify(port);
            if (verified == PRM_ERROR_NONE)
                kiv_printf("Success in validating SP Queue on %d port\n", port);
            else
                kiv_printf("Failure in validating SP Queue on %d port\n", port);
        } else {
            kiv_printf("Failure in Creating Strict Priority Queue on %d port\n", port);
        }
        prm_kiv_check_none_here(rc, kFile, __func__, __LINE__);
        result = prm_kiv_check_none_here(verified, kFile, __func__, __LINE__);
        prm_kiv_qos_release_tm_config();
    }
    for (u32 port = 1; port < ports; ++port) {
        if (!created[port]) continue;
        const prm_status_t rc = tc_kiv_qos_sp_queue_delete(port);
        if (rc == PRM_ERROR_NONE) kiv_printf("Success in Deleting Strict Pri Queue on %d port\n", port);
        result = prm_kiv_check_none_here(rc, kFile, __func__, __LINE__);
    }
    return result;
}

// --- One call, one check ---------------------------------------------------------------------------------

struct verdict {
    prm_status_t expected;
    const char *expected_name;
    const char *success;
    const char *failure;  // format, shows the code
};

static int judge(const verdict *v, prm_status_t rc, const char *function) {
    if (rc == v->expected)
        kiv_printf("%s", v->success);
    else
        kiv_printf(v->failure, rc);
    return kiv_check_status_here(rc, v->expected, v->expected_name, kFile, function, __LINE__);
}

int tc_kiv_qos_egr_deallocate_fp_q(void) {
    static const verdict kVerdict = {PRM_ERROR_NONE, "PRM_ERROR_NONE",
                                     "Success in deallocating default queue\n",
                                     "Failure in deallocating default queue rc: 0x%x\n"};
    wyk_hal_default_queue request;
    request.port_index = 0;
    request.word4 = 1;
    request.word8 = 1;
    return judge(&kVerdict, kiv_queue_engine_op(WYK_HAL_DEFAULT_QUEUE_RELEASE, &request, nullptr), __func__);
}

// The two shaper cases tell each other's outcome.
int tc_kiv_qos_egr_conf_port_shaper(void) {
    static const verdict kVerdict = {PRM_ERROR_NONE, "PRM_ERROR_NONE", "Success in removal of port shaper\n",
                                     "Failure in removal of port shaper rc: 0x%x\n"};
    wyk_hal_port_shaper request;
    memset(&request, 0, sizeof request);
    wyk_hal_policy_response response;
    memset(&response, 0, sizeof response);
    return judge(&kVerdict, kiv_queue_engine_op(WYK_HAL_PORT_SHAPER_CONFIGURE, &request, &response),
                 __func__);
}

int tc_kiv_qos_egr_remove_port_shaper(void) {
    static const verdict kVerdict = {PRM_ERROR_NONE, "PRM_ERROR_NONE", "Success in config of port shaper\n",
                                     "Failure in config of port shaper rc: 0x%x\n"};
    wyk_hal_port_shaper_removal request;
    memset(&request, 0, sizeof request);
    request.head.count = 4;
    wyk_hal_policy_response response;
    memset(&response, 0, sizeof response);
    return judge(&kVerdict, kiv_queue_engine_op(WYK_HAL_PORT_SHAPER_REMOVE, &request, &response), __func__);
}

int tc_kiv_qos_egr_get_tm_info(void) {
    static const verdict kVerdict = {PRM_ERROR_NONE, "PRM_ERROR_NONE", "Success in getting tm info\n",
                                     "Failure in getting tm info rc: 0x%x\n"};
    wyk_hal_tm_info response;
    memset(&response, 0, sizeof response);
    return judge(&kVerdict, kiv_queue_engine_op(WYK_HAL_TM_INFO, nullptr, &response), __func__);
}

int tc_kiv_qos_egr_def_case(void) {
    enum : u32 { kUnknownType = 21 };
    static const verdict kVerdict = {22, "EINVAL", "Success in default case\n",
                                     "Failure in default case rc: 0x%x\n"};
    return judge(&kVerdict, kiv_queue_engine_op(kUnknownType, nullptr, nullptr), __func__);
}

int tc_kiv_qos_egr_pol_hdl(void) {
    static const verdict kVerdict = {PRM_ERROR_NONE, "PRM_ERROR_NONE", "Success in Sending police hdl req\n",
                                     "Failure in Sending police hdl req rc: 0x%x\n"};
    return judge(&kVerdict, kiv_queue_get_result_req(1, 1, 1), __func__);
}

// --- Configurations that must be refused -----------------------------------------------------------------

enum : prm_status_t { kRefused = 21 };

static int run_refused(int mode, const verdict *told, const char *function) {
    const int result = judge(told, kiv_queue_config_tm_req(mode, 1), function);
    prm_kiv_qos_release_tm_config();
    return result;
}

#define DEFINE_CASE(name, mode, success, failure)                                        \
    int name(void) {                                                                     \
        static const verdict kVerdict = {kRefused, "PRM_INVALID_ARG", success, failure}; \
        return run_refused(PRM_KIV_SP_##mode, &kVerdict, #name);                         \
    }
PRM_KIV_QOS_REFUSED_CASES(DEFINE_CASE)
#undef DEFINE_CASE
