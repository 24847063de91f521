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

struct positive_case {
    const char *function;
    const char *success;
    const char *failure;
    bool not_on_veltora;
    void (*match)(prm_tcam_key *value, prm_tcam_key *mask);  // null: the entry matches on nothing
    u8 kind;                                                 // of the result
    u8 action;
    marks conform, exceed;
    policy tm;
};

// clang-format off
static const policy kCounter      = {WYK_HAL_POLICY_COUNTER, 0, 0, 0};
static const policy kPolicer      = {WYK_HAL_POLICY_POLICER, 0, 80, 1600};
static const policy kMode1Policer = {WYK_HAL_POLICY_POLICER, 1, 80, 1600};
static const policy kPpsPolicer   = {WYK_HAL_POLICY_POLICER, 1, 100, 100};

static const marks kNoMarks  = {0, 0, 0};
static const marks kMarks1_2 = {0x53, 1, 2};
static const marks kMarks3_4 = {0x53, 3, 4};

static const positive_case kPositive[] = {
    {"tc_kiv_qos_stats_create", "Success in QoS stats create \n",
     "Failure in tc_kiv_qos_stats_create. rc = 0x%x\n",
     false, nullptr, 0, PRM_TCAM_QOS_ACTION_NONE, kNoMarks, kNoMarks, kCounter},
    {"tc_kiv_qos_police_create", "Success in QoS Policer create \n",
     "Failure in tc_kiv_qos_police_create. rc = 0x%x\n",
     false, nullptr, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_POLICE, kNoMarks, kNoMarks, kPolicer},
    {"tc_kiv_qos_police_create_for_pps", "Success in QoS Policer PPS create \n",
     "Failure in tc_kiv_qos_police_create_for_pps. rc = 0x%x\n",
     false, nullptr, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_POLICE, kNoMarks, kNoMarks, kPpsPolicer},
    {"tc_kiv_qos_tcam_cos_create", "Success in QoS-cos create \n",
     "Failure in tc_kiv_qos_tcam_cos_create. rc = 0x%x\n",
     false, match_cos, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_MARK_CONFORM,
     kMarks1_2, kNoMarks, kPolicer},
    {"tc_kiv_qos_tcam_prec_create", "Success in QoS-prec create \n",
     "Failure in tc_kiv_qos_tcam_cos_create. rc = 0x%x\n",  // speaks of the COS case
     false, match_precedence, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_MARK_CONFORM_EXCEED,
     kMarks1_2, kMarks3_4, kMode1Policer},
    {"tc_kiv_qos_tcam_protocol_create", "Success in QoS-protocol create \n",
     "Failure in tc_kiv_qos_tcam_proto_create. rc = 0x%x\n",
     true, match_protocol, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_MARK_CONFORM,
     kMarks1_2, kNoMarks, kPolicer},
    {"tc_kiv_qos_tcam_exp_create", "Success in QoS-exp create \n",
     "Failure in tc_kiv_qos_tcam_exp_create. rc = 0x%x\n",
     false, match_exp, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_MARK_CONFORM_EXCEED,
     kMarks1_2, kMarks3_4, kMode1Policer},
    {"tc_kiv_qos_tcam_acl1_create", "Success in QOS ACL1 Create \n",
     "Failure in tc_kiv_qos_tcam_acl1_create. rc = 0x%x\n",
     true, match_acl1, PRM_TCAM_QOS_KIND_ACL_MATCH, PRM_TCAM_QOS_ACTION_NONE, kMarks1_2, kNoMarks, kCounter},
    {"tc_kiv_qos_tcam_acl2_create", "Success in QOS ACL2 Create \n",
     "Failure in tc_kiv_qos_tcam_acl2_create. rc = 0x%x\n",
     true, match_acl2, PRM_TCAM_QOS_KIND_ACL_MATCH, PRM_TCAM_QOS_ACTION_NONE, kMarks3_4, kNoMarks, kCounter},
};
// clang-format on

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
    if (c->not_on_veltora) {
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
    if (c->match != nullptr) c->match(prm_kiv_tcam_value(&info), prm_kiv_tcam_mask(&info));
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

// Runs the case of that name; every case below has its row.
static int run_positive(const char *function) {
    const positive_case *c = kPositive;
    while (strcmp(c->function, function) != 0) ++c;
    return run_positive(c);
}

int tc_kiv_qos_stats_create(void) {
    return run_positive(__func__);
}
int tc_kiv_qos_police_create(void) {
    return run_positive(__func__);
}
int tc_kiv_qos_police_create_for_pps(void) {
    return run_positive(__func__);
}
int tc_kiv_qos_tcam_cos_create(void) {
    return run_positive(__func__);
}
int tc_kiv_qos_tcam_prec_create(void) {
    return run_positive(__func__);
}
int tc_kiv_qos_tcam_protocol_create(void) {
    return run_positive(__func__);
}
int tc_kiv_qos_tcam_exp_create(void) {
    return run_positive(__func__);
}
int tc_kiv_qos_tcam_acl1_create(void) {
    return run_positive(__func__);
}
int tc_kiv_qos_tcam_acl2_create(void) {
    return run_positive(__func__);
}

// --- Null request ----------------------------------------------------------------------------------------

int tc_kiv_qos_tcam_null_prm_info_ptr(u32 opcode) {
    static const prm_kiv_tcam_verdict kVerdict = {
        kFile, "tc_kiv_qos_tcam_null_prm_info_ptr", PRM_ERROR_INVALID_ARG,
        "Success while sending NULL prm_info ptr \n",
        "Failure in tc_kiv_qos_tcam_null_prm_info_ptr.                     rc = 0x%x\n"};
    const u32 supported = PRM_KIV_TCAM_CREATE | PRM_KIV_TCAM_DESTROY;
    return prm_kiv_tcam_judge(&kVerdict, prm_kiv_tcam_call(opcode, supported, nullptr));
}

int tc_kiv_qos_tcam_create_null_info_ptr(void) {
    return tc_kiv_qos_tcam_null_prm_info_ptr(PRM_TCAM_CREATE);
}
int tc_kiv_qos_tcam_destroy_null_info_ptr(void) {
    return tc_kiv_qos_tcam_null_prm_info_ptr(PRM_TCAM_DESTROY);
}

// --- Invalid feature id ----------------------------------------------------------------------------------

int tc_kiv_qos_tcam_invalid_fea_id(u32 opcode, u64 vmr_id) {
    const prm_kiv_tcam_negative negative = {PRM_TCAM_FEATURE_QOS,
                                            opcode,
                                            0,
                                            PRM_KIV_TCAM_CREATE | PRM_KIV_TCAM_DESTROY,
                                            false,
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
                                            PRM_KIV_TCAM_DESTROY,
                                            false,
                                            nullptr,
                                            {kFile, "tc_kiv_qos_tcam_invalid_vmr_id", PRM_ERROR_INVALID_ARG,
                                             "Success while sending invalid vmr id \n",
                                             "Failure in tc_kiv_qos_tcam_invalid_vmr_id. rc = 0x%x\n"}};
    return prm_kiv_tcam_run_negative(&negative, 0);  // no TCAM has the handle 0
}

int tc_kiv_qos_tcam_destroy_invalid_vmr_id(void) {
    return tc_kiv_qos_tcam_invalid_vmr_id(PRM_TCAM_DESTROY);
}

// --- One spoiled field -----------------------------------------------------------------------------------

// The cases' rows: what is spoiled in a create request, the verdict and its lines. The port line says 100
// although 256 is sent.
// clang-format off
static const prm_kiv_tcam_negative kSpoiled[] = {
    {PRM_TCAM_FEATURE_QOS, PRM_TCAM_CREATE, 0, PRM_KIV_TCAM_CREATE, true,
     prm_kiv_tcam_spoil_nr_entries,
     {kFile, "tc_kiv_qos_tcam_create_null_vmr_ptr", PRM_ERROR_INVALID_ARG,
      "Success while sending NULL value, mask, result ptr \n",
      "Failure in tc_kiv_qos_tcam_create_null_vmr_ptr. rc = 0x%x\n"}},
    {PRM_TCAM_FEATURE_QOS, PRM_TCAM_CREATE, 0, PRM_KIV_TCAM_CREATE, false,
     prm_kiv_tcam_spoil_port_num,
     {kFile, "tc_kiv_qos_tcam_create_invalid_port_num", PRM_ERROR_INVALID_ARG,
      "Success while sending invalid port numbers as 100 \n",
      "Failure in tc_kiv_qos_tcam_create_invalid_port_num. rc = 0x%x\n"}},
    {PRM_TCAM_FEATURE_QOS, PRM_TCAM_CREATE, 0, PRM_KIV_TCAM_CREATE, false,
     prm_kiv_tcam_spoil_value_mask_key_sz,
     {kFile, "tc_kiv_qos_tcam_create_invalid_value_mask_key_sz", PRM_ERROR_INVALID_ARG,
      "Success while sending invalid val, mask key size as 0\n",
      "Failure in tc_kiv_qos_tcam_create_invalid_value_mask_key_sz. rc = 0x%x\n"}},
    {PRM_TCAM_FEATURE_QOS, PRM_TCAM_CREATE, 0, PRM_KIV_TCAM_CREATE, false,
     prm_kiv_tcam_spoil_result_key_sz,
     {kFile, "tc_kiv_qos_tcam_create_invalid_result_key_sz", PRM_ERROR_INVALID_ARG,
      "Success while sending invalid result key size as 0 \n",
      "Failure in tc_kiv_qos_tcam_create_invalid_result_key_sz. rc = 0x%x\n"}},
    {PRM_TCAM_FEATURE_QOS, PRM_TCAM_CREATE, 0, PRM_KIV_TCAM_CREATE, false,
     prm_kiv_tcam_spoil_nr_entries,
     {kFile, "tc_kiv_qos_tcam_create_invalid_nr_entries", PRM_ERROR_INVALID_ARG,
      "Success while sending invalid number of ace entries as 0 \n",
      "Failure in  tc_kiv_qos_tcam_create_invalid_nr_entries. rc = 0x%x\n"}},
    {PRM_TCAM_FEATURE_QOS, PRM_TCAM_CREATE, 0, PRM_KIV_TCAM_CREATE, false,
     prm_kiv_tcam_spoil_opcode,
     {kFile, "tc_kiv_qos_tcam_create_invalid_opcode", PRM_ERROR_INVALID_MSG,
      "Success while sending invalid operation code \n",
      "Failure in tc_kiv_qos_tcam_create_invalid_opcode. rc = 0x%x\n"}},
};
// clang-format on

// Runs the case of that name.
static int run_spoiled(const char *function) {
    return prm_kiv_tcam_run_negative(
        prm_kiv_tcam_find_negative(kSpoiled, sizeof kSpoiled / sizeof *kSpoiled, function), 0);
}

int tc_kiv_qos_tcam_create_null_vmr_ptr(void) {
    return run_spoiled(__func__);
}
int tc_kiv_qos_tcam_create_invalid_port_num(void) {
    return run_spoiled(__func__);
}
int tc_kiv_qos_tcam_create_invalid_value_mask_key_sz(void) {
    return run_spoiled(__func__);
}
int tc_kiv_qos_tcam_create_invalid_result_key_sz(void) {
    return run_spoiled(__func__);
}
int tc_kiv_qos_tcam_create_invalid_nr_entries(void) {
    return run_spoiled(__func__);
}
int tc_kiv_qos_tcam_create_invalid_opcode(void) {
    return run_spoiled(__func__);
}
