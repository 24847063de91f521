// QoS: policers and statistics of the traffic manager behind TCAM entries, and its strict-priority queues.
#ifndef PRM_KIV_QOS_H
#define PRM_KIV_QOS_H

#include "prm_types.h"
#include "wyk_hal_records.h"

enum : prm_status_t {
    PRM_KIV_QOS_NO_MEMORY = 12,      // a traffic-manager step's failed allocation
    PRM_KIV_QOS_INVALID_PARAM = 12,  // a traffic-manager step without the configuration it needs
};

// Columns of g_stats_id.
enum { PRM_KIV_STATS_ID, PRM_KIV_COMMIT_ID, PRM_KIV_DROP_ID, PRM_KIV_QUEUE_ID, PRM_KIV_IDS };

// Modes of a strict-priority configuration: three ways to give out priorities, and five requests to be
// refused.
enum prm_kiv_sp_mode : int {
    PRM_KIV_SP_RISING = 0,   // priority 0 for the first class
    PRM_KIV_SP_FALLING = 1,  // priority 0 for the last class
    PRM_KIV_SP_SAME = 2,     // priority 0 for all
    PRM_KIV_SP_INVALID_MQC_LEVEL = 3,
    PRM_KIV_SP_INVALID_NP_ID = 4,
    PRM_KIV_SP_INGRESS_QUEUE = 5,
    PRM_KIV_SP_INVALID_INGRESS_DEPTH = 6,
    PRM_KIV_SP_INVALID_EGRESS_DEPTH = 7,
};

// The cases of which there are many of a kind, as tables.
// clang-format off

// A TCAM entry and the policy behind it: case, the cards it runs on, what the entry matches on, kind and action
// of its result, marks of conforming and of exceeding packets, the policy; the lines of success and failure.
// What the entries match on, the marks and the policies are named in prm_kiv_qos_tcam.cpp. The precedence case
// fails with the line of the COS case.
#define PRM_KIV_QOS_POSITIVE_CASES(ROW)                                                       \
    ROW(tc_kiv_qos_stats_create, ON_EVERY_CARD,                                               \
        match_nothing, 0, PRM_TCAM_QOS_ACTION_NONE,                                           \
        kNoMarks, kNoMarks, kCounter,                                                         \
        "Success in QoS stats create \n",                                                     \
        "Failure in tc_kiv_qos_stats_create. rc = 0x%x\n")                                    \
    ROW(tc_kiv_qos_police_create, ON_EVERY_CARD,                                              \
        match_nothing, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_POLICE,                 \
        kNoMarks, kNoMarks, kPolicer,                                                         \
        "Success in QoS Policer create \n",                                                   \
        "Failure in tc_kiv_qos_police_create. rc = 0x%x\n")                                   \
    ROW(tc_kiv_qos_police_create_for_pps, ON_EVERY_CARD,                                      \
        match_nothing, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_POLICE,                 \
        kNoMarks, kNoMarks, kPpsPolicer,                                                      \
        "Success in QoS Policer PPS create \n",                                               \
        "Failure in tc_kiv_qos_police_create_for_pps. rc = 0x%x\n")                           \
    ROW(tc_kiv_qos_tcam_cos_create, ON_EVERY_CARD,                                            \
        match_cos, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_MARK_CONFORM,               \
        kMarks1_2, kNoMarks, kPolicer,                                                        \
        "Success in QoS-cos create \n",                                                       \
        "Failure in tc_kiv_qos_tcam_cos_create. rc = 0x%x\n")                                 \
    ROW(tc_kiv_qos_tcam_prec_create, ON_EVERY_CARD,                                           \
        match_precedence, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_MARK_CONFORM_EXCEED, \
        kMarks1_2, kMarks3_4, kMode1Policer,                                                  \
        "Success in QoS-prec create \n",                                                      \
        "Failure in tc_kiv_qos_tcam_cos_create. rc = 0x%x\n")                                 \
    ROW(tc_kiv_qos_tcam_protocol_create, NOT_ON_VELTORA,                                      \
        match_protocol, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_MARK_CONFORM,          \
        kMarks1_2, kNoMarks, kPolicer,                                                        \
        "Success in QoS-protocol create \n",                                                  \
        "Failure in tc_kiv_qos_tcam_proto_create. rc = 0x%x\n")                               \
    ROW(tc_kiv_qos_tcam_exp_create, ON_EVERY_CARD,                                            \
        match_exp, PRM_TCAM_QOS_KIND_POLICER, PRM_TCAM_QOS_ACTION_MARK_CONFORM_EXCEED,        \
        kMarks1_2, kMarks3_4, kMode1Policer,                                                  \
        "Success in QoS-exp create \n",                                                       \
        "Failure in tc_kiv_qos_tcam_exp_create. rc = 0x%x\n")                                 \
    ROW(tc_kiv_qos_tcam_acl1_create, NOT_ON_VELTORA,                                          \
        match_acl1, PRM_TCAM_QOS_KIND_ACL_MATCH, PRM_TCAM_QOS_ACTION_NONE,                    \
        kMarks1_2, kNoMarks, kCounter,                                                        \
        "Success in QOS ACL1 Create \n",                                                      \
        "Failure in tc_kiv_qos_tcam_acl1_create. rc = 0x%x\n")                                \
    ROW(tc_kiv_qos_tcam_acl2_create, NOT_ON_VELTORA,                                          \
        match_acl2, PRM_TCAM_QOS_KIND_ACL_MATCH, PRM_TCAM_QOS_ACTION_NONE,                    \
        kMarks3_4, kNoMarks, kCounter,                                                        \
        "Success in QOS ACL2 Create \n",                                                      \
        "Failure in tc_kiv_qos_tcam_acl2_create. rc = 0x%x\n")

// A null request, a TCAM handle that names none, an unknown feature: case, operation.
#define PRM_KIV_QOS_NULL_INFO_CASES(ROW)                \
    ROW(tc_kiv_qos_tcam_create_null_info_ptr,  CREATE)  \
    ROW(tc_kiv_qos_tcam_destroy_null_info_ptr, DESTROY)
#define PRM_KIV_QOS_INVALID_HANDLE_CASES(ROW)            \
    ROW(tc_kiv_qos_tcam_destroy_invalid_vmr_id, DESTROY)
#define PRM_KIV_QOS_INVALID_FEATURE_CASES(ROW)           \
    ROW(tc_kiv_qos_tcam_create_invalid_fea_id,  CREATE)  \
    ROW(tc_kiv_qos_tcam_destroy_invalid_fea_id, DESTROY)

// One spoiled field of a create: case, whether the request carries keys, what is spoiled, the code that must
// come; the lines for it and for another code. The port line says 100 although 256 is sent.
#define PRM_KIV_QOS_SPOILED_CASES(ROW)                                              \
    ROW(tc_kiv_qos_tcam_create_null_vmr_ptr, NO_KEYS,                               \
        prm_kiv_tcam_spoil_nr_entries, INVALID_ARG,                                 \
        "Success while sending NULL value, mask, result ptr \n",                    \
        "Failure in tc_kiv_qos_tcam_create_null_vmr_ptr. rc = 0x%x\n")              \
    ROW(tc_kiv_qos_tcam_create_invalid_port_num, KEYS,                              \
        prm_kiv_tcam_spoil_port_num, INVALID_ARG,                                   \
        "Success while sending invalid port numbers as 100 \n",                     \
        "Failure in tc_kiv_qos_tcam_create_invalid_port_num. rc = 0x%x\n")          \
    ROW(tc_kiv_qos_tcam_create_invalid_value_mask_key_sz, KEYS,                     \
        prm_kiv_tcam_spoil_value_mask_key_sz, INVALID_ARG,                          \
        "Success while sending invalid val, mask key size as 0\n",                  \
        "Failure in tc_kiv_qos_tcam_create_invalid_value_mask_key_sz. rc = 0x%x\n") \
    ROW(tc_kiv_qos_tcam_create_invalid_result_key_sz, KEYS,                         \
        prm_kiv_tcam_spoil_result_key_sz, INVALID_ARG,                              \
        "Success while sending invalid result key size as 0 \n",                    \
        "Failure in tc_kiv_qos_tcam_create_invalid_result_key_sz. rc = 0x%x\n")     \
    ROW(tc_kiv_qos_tcam_create_invalid_nr_entries, KEYS,                            \
        prm_kiv_tcam_spoil_nr_entries, INVALID_ARG,                                 \
        "Success while sending invalid number of ace entries as 0 \n",              \
        "Failure in  tc_kiv_qos_tcam_create_invalid_nr_entries. rc = 0x%x\n")       \
    ROW(tc_kiv_qos_tcam_create_invalid_opcode, KEYS,                                \
        prm_kiv_tcam_spoil_opcode, INVALID_MSG,                                     \
        "Success while sending invalid operation code \n",                          \
        "Failure in tc_kiv_qos_tcam_create_invalid_opcode. rc = 0x%x\n")

// A strict-priority configuration that must be refused: case, mode, lines of a refusal and of another code.
#define PRM_KIV_QOS_REFUSED_CASES(ROW)                                        \
    ROW(tc_kiv_qos_egr_invalid_mqc_lvl, INVALID_MQC_LEVEL,                    \
        "Success in Sending invalid mqc level req\n",                         \
        "Failure in Sending invalid mqc level req rc: 0x%x\n")                \
    ROW(tc_kiv_qos_egr_invalid_np_id, INVALID_NP_ID,                          \
        "Success in Sending invalid np id \n",                                \
        "Failure in Sending invalid np id rc: 0x%x\n")                        \
    ROW(tc_kiv_qos_egr_queue_ingress_dir, INGRESS_QUEUE,                      \
        "Success in Sending queuing enabled in ingress direction\n",          \
        "Failure in Sending queuing enabled in ingress direction rc: 0x%x\n") \
    ROW(tc_kiv_qos_egr_invalid_in_mqc_depth, INVALID_INGRESS_DEPTH,           \
        "Success in Sending invalid mqc depth ingress dir\n",                 \
        "Failure in Sending invalid mqc depth ingress dir req rc: 0x%x\n")    \
    ROW(tc_kiv_qos_egr_invalid_out_mqc_depth, INVALID_EGRESS_DEPTH,           \
        "Success in Sending invalid mqc depth egress dir\n",                  \
        "Failure in Sending invalid mqc depth egress dir req rc: 0x%x\n")
// clang-format on

#ifdef __cplusplus
extern "C" {
#endif

// Traffic-manager exchange of the case under way. Made by tc_kiv_qos_tm_create or kiv_queue_config_tm_req,
// which overwrite what stands there; released and nulled by the case.
extern wyk_hal_policy_request *g_tm_config_request;
extern wyk_hal_policy_response *g_tm_config_response;

// Ids of the classes of the last strict-priority configuration, class 0 first.
extern u32 g_stats_id[WYK_HAL_CLASSES][PRM_KIV_IDS];

// Configures n policies with the same values and checks the code. Returns the last policy's item of the
// response, which belongs to g_tm_config_response, or null; a refused exchange stays in the globals.
wyk_hal_ids *tc_kiv_qos_tm_create(u32 n, u16 kind, u32 mode_word, u32 first, u32 second);

// Releases n nodes of a policy: its policer with counter, or its counter. Checks the code alone.
void tc_kiv_qos_tm_destroy(u32 n, wyk_hal_ids *entry, int policer);

// One operation of the engine, told by its type.
prm_status_t kiv_queue_engine_op(u32 hal_type, void *request, void *response);

// Allocates a port's default queue (low 8 bits of `port`, counted from 1).
prm_status_t kiv_queue_allocate_def_q_req(u32 port);

// Asks for n results of a port: queue handles (0) or policer handles (1), and prints them.
prm_status_t kiv_queue_get_result_req(int which, u32 n, u32 port);

// Configures the eight classes of a port. The code of the call; for modes that must be refused (3-7) and a
// code of 0 the status word of the response.
prm_status_t kiv_queue_config_tm_req(int mode, u32 port);

// Prints the counters and the queue depths of the ids in g_stats_id; ends at the first failure with its code.
prm_status_t kiv_queue_get_stats_hal_req(void);
prm_status_t kiv_queue_get_q_depth_req(void);

// Creates the strict-priority queues of a port, from the default queue on; the code of the first step that
// failed.
prm_status_t tc_kiv_qos_sp_queue_create(int mode, u32 port);

// Reads the configuration back and compares it with g_tm_config_request. Tells what differs; the code and the
// check are those of the call.
prm_status_t tc_kiv_qos_sp_queue_verify(u32 port);

prm_status_t tc_kiv_qos_sp_queue_delete(u32 port);

int tc_kiv_qos_sp_queue_lls_port(void);
int tc_kiv_qos_sp_queue_hsp_port(void);
int tc_kiv_qos_sp_queue_random_pri(void);
int tc_kiv_qos_sp_queue_multi_p1_pri(void);
int tc_kiv_qos_egr_scale_sp_queue(void);
int tc_kiv_qos_egr_deallocate_fp_q(void);
int tc_kiv_qos_egr_conf_port_shaper(void);
int tc_kiv_qos_egr_remove_port_shaper(void);
int tc_kiv_qos_egr_get_tm_info(void);
int tc_kiv_qos_egr_def_case(void);
int tc_kiv_qos_egr_pol_hdl(void);

#define KIV_DECLARE_CASE(name, ...) int name(void);
PRM_KIV_QOS_POSITIVE_CASES(KIV_DECLARE_CASE)
PRM_KIV_QOS_NULL_INFO_CASES(KIV_DECLARE_CASE)
PRM_KIV_QOS_INVALID_HANDLE_CASES(KIV_DECLARE_CASE)
PRM_KIV_QOS_INVALID_FEATURE_CASES(KIV_DECLARE_CASE)
PRM_KIV_QOS_SPOILED_CASES(KIV_DECLARE_CASE)
PRM_KIV_QOS_REFUSED_CASES(KIV_DECLARE_CASE)
#undef KIV_DECLARE_CASE

// Families of the TCAM cases, each given an operation (prm_tcam_opcode). An operation that no row of the
// family has is told and fails the check. Each returns its check's result.
int tc_kiv_qos_tcam_null_prm_info_ptr(u32 opcode);
int tc_kiv_qos_tcam_invalid_fea_id(u32 opcode, u64 vmr_id);
int tc_kiv_qos_tcam_invalid_vmr_id(u32 opcode);

#ifdef __cplusplus
}
#endif

// As tc_kiv_qos_tm_destroy; stores the check's result in *result if there is a check.
void prm_kiv_qos_tm_destroy(u32 n, const wyk_hal_ids *entry, bool policer, int *result);

// Releases and nulls g_tm_config_request and g_tm_config_response.
void prm_kiv_qos_release_tm_config(void);

// A cleared block for a request or response of `size` bytes that holds its head at least; null when there is
// no memory.
void *prm_kiv_qos_block(u16 size, size_t head_size);

// Sizes are 16 bits and wrap: of n items, those that lie within a block of `size` bytes.
u32 prm_kiv_qos_items_within(u16 size, size_t head_size, size_t item_size, u32 n);

#endif
