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

int tc_kiv_qos_stats_create(void);
int tc_kiv_qos_police_create(void);
int tc_kiv_qos_police_create_for_pps(void);
int tc_kiv_qos_tcam_cos_create(void);
int tc_kiv_qos_tcam_prec_create(void);
int tc_kiv_qos_tcam_protocol_create(void);
int tc_kiv_qos_tcam_exp_create(void);
int tc_kiv_qos_tcam_acl1_create(void);
int tc_kiv_qos_tcam_acl2_create(void);

int tc_kiv_qos_tcam_create_null_info_ptr(void);
int tc_kiv_qos_tcam_create_null_vmr_ptr(void);
int tc_kiv_qos_tcam_create_invalid_fea_id(void);
int tc_kiv_qos_tcam_create_invalid_port_num(void);
int tc_kiv_qos_tcam_create_invalid_value_mask_key_sz(void);
int tc_kiv_qos_tcam_create_invalid_result_key_sz(void);
int tc_kiv_qos_tcam_create_invalid_nr_entries(void);
int tc_kiv_qos_tcam_create_invalid_opcode(void);
int tc_kiv_qos_tcam_destroy_null_info_ptr(void);
int tc_kiv_qos_tcam_destroy_invalid_fea_id(void);
int tc_kiv_qos_tcam_destroy_invalid_vmr_id(void);

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
int tc_kiv_qos_egr_invalid_mqc_lvl(void);
int tc_kiv_qos_egr_invalid_np_id(void);
int tc_kiv_qos_egr_queue_ingress_dir(void);
int tc_kiv_qos_egr_invalid_in_mqc_depth(void);
int tc_kiv_qos_egr_invalid_out_mqc_depth(void);

// Families of the TCAM cases, each given an operation (prm_tcam_opcode). An operation that the family does
// not have is told and fails the check. Each returns its check's result.
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
