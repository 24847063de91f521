// QoS, classification: cases that program a TCAM entry whose result points at a counter or policer, and those
// whose request is wrong on purpose.
#include <string.h>

#include "platform_info.h"
#include "prm_kiv_main.h"
#include "prm_kiv_qos.h"
#include "prm_kiv_tcam.h"

static const char kFile[] = "prm/test/src/prm_kiv_qos";

// Destroys a TCAM. The request carries the create code.
static void qos_tcam_destroy(u64 vmr_id, int *result) {
    prm_info info;
    tc_kiv_tcam_init_prm_info(&info, PRM_TCAM_FEATURE_QOS, PRM_TCAM_CREATE, vmr_id, 0);
    const prm_status_t rc = zor_vop_prm_tcam_vmr_destroy(prm_async_handle, &info);
    if (rc != PRM_ERROR_NONE)
        kiv_printf("Failure in tc_kiv_qos_tcam_destroy. rc = 0x%x\n", rc);
    else
        kiv_printf("Success in QoS TCAM Destroy \n");
    *result = prm_kiv_check_none_here(rc, kFile, "tc_kiv_qos_tcam_destroy", __LINE__);
}

// --- Positive cases: what an entry matches on ------------------------------------------------------------

static void match_nothing(prm_tcam_key *, prm_tcam_key *) {}

static void match_cos(prm_tcam_key *value, prm_tcam_key *mask) {
    value->vlan_cos = 1;
    mask->vlan_cos = 7;
}

static void match_precedence(prm_tcam_key *value, prm_tcam_key *mask) {
    value->qos_key_type = PRM_TCAM_QOS_KEY_PLAIN;
    mask->qos_key_type = PRM_TCAM_KEY_TYPE_CARE;
    value->tos_exp = 2 << 5;
    mask->tos_exp = 7 << 5;
}

static void match_protocol(prm_tcam_key *value, prm_tcam_key *mask) {
    value->qos_key_type = PRM_TCAM_QOS_KEY_SHIFTED;
    mask->qos_key_type = PRM_TCAM_KEY_TYPE_CARE;
    value->protocol = 89;
    mask->protocol = 0xFF;
}

static void match_exp(prm_tcam_key *value, prm_tcam_key *mask) {
    value->qos_key_type = PRM_TCAM_QOS_KEY_MPLS;
    mask->qos_key_type = PRM_TCAM_KEY_TYPE_CARE;
    value->tos_exp = 2;
    mask->tos_exp = 7;
}

static void match_acl1(prm_tcam_key *value, prm_tcam_key *mask) {
    value->qos_key_type = PRM_TCAM_QOS_KEY_PLAIN;
    mask->qos_key_type = PRM_TCAM_KEY_TYPE_CARE;
    value->src_ipv4 = prm_kiv_tcam_address("1.1.1.1");
    mask->src_ipv4 = prm_kiv_tcam_address("255.255.255.255");
    value->dst_ipv4 = prm_kiv_tcam_address("2.2.2.2");
    mask->dst_ipv4 = prm_kiv_tcam_address("255.255.255.255");
    value->src_port = 1000;
    mask->src_port = 0xFFFF;
    value->dst_port = 2000;
    mask->dst_port = 0xFFFF;
    value->flags = PRM_TCAM_KEY_TCP_FLAGS;
    mask->flags = PRM_TCAM_KEY_FRAGMENT;  // not a fragment; the TCP flags bit is left out of the mask
    value->tcp_value = 1;
    mask->tcp_value = 0xFF;
}

static void match_acl2(prm_tcam_key *value, prm_tcam_key *mask) {
    value->qos_key_type = PRM_TCAM_QOS_KEY_SHIFTED;
    mask->qos_key_type = PRM_TCAM_KEY_TYPE_CARE;
    value->src_ipv4_shifted = prm_kiv_tcam_address("3.3.3.3");
    mask->src_ipv4_shifted = prm_kiv_tcam_address("255.255.255.255");
    value->dst_ipv4_shifted = prm_kiv_tcam_address("4.4.4.4");
    mask->dst_ipv4_shifted = prm_kiv_tcam_address("255.255.255.255");
    value->flags = PRM_TCAM_KEY_FRAGMENT;
    mask->flags = PRM_TCAM_KEY_FRAGMENT;
}

// --- Positive cases: what an entry does ------------------------------------------------------------------

// Two marks of a packet: their opcodes and values.
struct marks {
    u8 opcodes;
    u8 value1, value2;
};

struct policy {
    u16 kind;
    u32 mode_word;
    u32 committed_rate;
    u32 burst;
};

enum cards : bool { ON_EVERY_CARD, NOT_ON_VELTORA };

struct positive_case {
    const char *function;
    cards runs_on;
    void (*match)(prm_tcam_key *value, prm_tcam_key *mask);
    u8 kind;  // of the result
    u8 action;
    marks conform, exceed;
    policy tm;
    const char *success;
    const char *failure;
};

static constexpr policy kCounter = {WYK_HAL_POLICY_COUNTER, 0, 0, 0};
static constexpr policy kPolicer = {WYK_HAL_POLICY_POLICER, 0, 80, 1600};
static constexpr policy kMode1Policer = {WYK_HAL_POLICY_POLICER, 1, 80, 1600};
static constexpr policy kPpsPolicer = {WYK_HAL_POLICY_POLICER, 1, 100, 100};

static constexpr marks kNoMarks = {0, 0, 0};
static constexpr marks kMarks1_2 = {0x53, 1, 2};
static constexpr marks kMarks3_4 = {0x53, 3, 4};

static void fill_result(prm_tcam_qos_result *result, const positive_case *c) {
    result->kind |= c->kind;
    result->action =
        static_cast<u8>((result->action & ~PRM_TCAM_QOS_ACTION) | c->action << PRM_TCAM_QOS_ACTION_SHIFT);
    result->conform_opcodes = c->conform.opcodes;
    result->conform_value1 = c->conform.value1;
    result->conform_value2 = c->conform.value2;
    result->exceed_opcodes = c->exceed.opcodes;
    result->exceed_value1 = c->exceed.value1;
    result->exceed_value2 = c->exceed.value2;
}

// The frame of the positive cases: counter or policer, entry, read-back, and everything away again. A refused
// entry leaves the counter or policer.
static int run_positive(const positive_case *c) {
    if (c->runs_on == NOT_ON_VELTORA) {
        u8 card_type[16];
        memset(card_type, 0, sizeof card_type);
        platform_get_my_card_type(card_type);
        if (is_veltora_family() != 0) {
            kiv_printf("This tc is not applicable in Quennick\n");
            return 0;
        }
    }

    prm_info info;
    int result = 0;
    tc_kiv_tcam_init_prm_info(&info, PRM_TCAM_FEATURE_QOS, PRM_TCAM_CREATE, 0, 0);
    if (tc_kiv_tcam_allocate_and_offset_vmr(&info) == PRM_KIV_TCAM_NO_MEMORY) return result;
    c->match(prm_kiv_tcam_value(&info), prm_kiv_tcam_mask(&info));
    prm_tcam_qos_result *const entry = prm_kiv_tcam_qos_result(&info);
    fill_result(entry, c);

    const wyk_hal_ids *const ids =
        tc_kiv_qos_tm_create(1, c->tm.kind, c->tm.mode_word, c->tm.committed_rate, c->tm.burst);
    if (ids == nullptr) {
        kiv_printf("Failed in creating stats/policers");
        return result;  // the key buffers stay allocated
    }
    const bool policer = c->tm.kind == WYK_HAL_POLICY_POLICER;
    entry->stats_id = ids->stats_id;
    if (policer) entry->token_bucket_id = ids->policer_id;

    const prm_status_t rc = zor_vop_prm_tcam_vmr_create(prm_async_handle, &info);
    if (rc != PRM_ERROR_NONE) {
        kiv_printf(c->failure, rc);
        result = prm_kiv_check_none_here(rc, kFile, c->function, __LINE__);
    } else {
        kiv_printf("%s", c->success);
        tc_kiv_tcam_verify(&info);
        result = prm_kiv_check_none_here(rc, kFile, c->function, __LINE__);
        qos_tcam_destroy(info.vmr_id, &result);
        prm_kiv_qos_tm_destroy(1, ids, policer, &result);
    }
    free_vmr(&info);
    prm_kiv_qos_release_tm_config();
    return result;
}

#define DEFINE_CASE(name, ...)                                       \
    int name(void) {                                                 \
        static constexpr positive_case kCase = {#name, __VA_ARGS__}; \
        return run_positive(&kCase);                                 \
    }
PRM_KIV_QOS_POSITIVE_CASES(DEFINE_CASE)
#undef DEFINE_CASE

// --- Null request ----------------------------------------------------------------------------------------

int tc_kiv_qos_tcam_null_prm_info_ptr(u32 opcode) {
    static const prm_kiv_tcam_verdict kVerdict = {
        kFile, "tc_kiv_qos_tcam_null_prm_info_ptr", PRM_ERROR_INVALID_ARG,
        "Success while sending NULL prm_info ptr \n",
        "Failure in tc_kiv_qos_tcam_null_prm_info_ptr.                     rc = 0x%x\n"};
    const u32 supported = PRM_KIV_TCAM_OPERATIONS_OF(PRM_KIV_QOS_NULL_INFO_CASES);
    return prm_kiv_tcam_judge(&kVerdict, prm_kiv_tcam_call(opcode, supported, nullptr));
}

#define DEFINE_CASE(name, operation)                                    \
    int name(void) {                                                    \
        return tc_kiv_qos_tcam_null_prm_info_ptr(PRM_TCAM_##operation); \
    }
PRM_KIV_QOS_NULL_INFO_CASES(DEFINE_CASE)
#undef DEFINE_CASE

// --- Invalid feature id ----------------------------------------------------------------------------------

int tc_kiv_qos_tcam_invalid_fea_id(u32 opcode, u64 vmr_id) {
    const prm_kiv_tcam_negative negative = {PRM_TCAM_FEATURE_QOS,
                                            opcode,
                                            0,
                                            PRM_KIV_TCAM_OPERATIONS_OF(PRM_KIV_QOS_INVALID_FEATURE_CASES),
                                            PRM_KIV_TCAM_KEYS,
                                            prm_kiv_tcam_spoil_fea_id,
                                            {kFile, "tc_kiv_qos_tcam_invalid_fea_id", PRM_ERROR_INVALID_ARG,
                                             "Success while sending invalid feature id \n",
                                             "Failure in tc_kiv_qos_tcam_invalid_fea_id. rc = 0x%x\n"}};
    return prm_kiv_tcam_run_negative(&negative, vmr_id);
}

int tc_kiv_qos_tcam_create_invalid_fea_id(void) {
    return tc_kiv_qos_tcam_invalid_fea_id(PRM_TCAM_CREATE, 0);
}

int tc_kiv_qos_tcam_destroy_invalid_fea_id(void) {
    prm_info info;
    int result = 0;
    tc_kiv_tcam_init_prm_info(&info, PRM_TCAM_FEATURE_QOS, PRM_TCAM_CREATE, 0, 0);
    if (tc_kiv_tcam_allocate_and_offset_vmr(&info) == PRM_KIV_TCAM_NO_MEMORY) return result;
    const wyk_hal_ids *const ids = tc_kiv_qos_tm_create(1, WYK_HAL_POLICY_COUNTER, 0, 0, 0);
    if (ids == nullptr) {
        kiv_printf("Failed in creating stats/policers");
        return result;
    }
    result = 1;  // the traffic manager's check
    prm_kiv_tcam_qos_result(&info)->stats_id = ids->stats_id;

    if (zor_vop_prm_tcam_vmr_create(prm_async_handle, &info) == PRM_ERROR_NONE) {
        tc_kiv_qos_tcam_invalid_fea_id(PRM_TCAM_DESTROY, info.vmr_id);
        qos_tcam_destroy(info.vmr_id, &result);
    }
    // The counter and the key buffers stay allocated.
    prm_kiv_qos_release_tm_config();
    return result;
}

// --- Invalid TCAM handle ---------------------------------------------------------------------------------

int tc_kiv_qos_tcam_invalid_vmr_id(u32 opcode) {
    const prm_kiv_tcam_negative negative = {PRM_TCAM_FEATURE_QOS,
                                            opcode,
                                            0,
                                            PRM_KIV_TCAM_OPERATIONS_OF(PRM_KIV_QOS_INVALID_HANDLE_CASES),
                                            PRM_KIV_TCAM_KEYS,
                                            nullptr,
                                            {kFile, "tc_kiv_qos_tcam_invalid_vmr_id", PRM_ERROR_INVALID_ARG,
                                             "Success while sending invalid vmr id \n",
                                             "Failure in tc_kiv_qos_tcam_invalid_vmr_id. rc = 0x%x\n"}};
    return prm_kiv_tcam_run_negative(&negative, 0);  // no TCAM has the handle 0
}

#define DEFINE_CASE(name, operation)                                 \
    int name(void) {                                                 \
        return tc_kiv_qos_tcam_invalid_vmr_id(PRM_TCAM_##operation); \
    }
PRM_KIV_QOS_INVALID_HANDLE_CASES(DEFINE_CASE)
#undef DEFINE_CASE

// --- One spoiled field -----------------------------------------------------------------------------------

#define DEFINE_CASE(name, keys, spoil, code, success, failure)                                               \
    int name(void) {                                                                                         \
        static const prm_kiv_tcam_negative kNegative = {PRM_TCAM_FEATURE_QOS,                                \
                                                        PRM_TCAM_CREATE,                                     \
                                                        0,                                                   \
                                                        PRM_KIV_TCAM_CREATE,                                 \
                                                        PRM_KIV_TCAM_##keys,                                 \
                                                        spoil,                                               \
                                                        {kFile, #name, PRM_ERROR_##code, success, failure}}; \
        return prm_kiv_tcam_run_negative(&kNegative, 0);                                                     \
    }
PRM_KIV_QOS_SPOILED_CASES(DEFINE_CASE)
#undef DEFINE_CASE
