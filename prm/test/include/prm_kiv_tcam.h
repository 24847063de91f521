// TCAM toolkit of the ACL and QoS cases: builds a request and its key buffers, reads an entry back and
// compares it field by field; and the frame of the cases that spoil one field of a request.
#ifndef PRM_KIV_TCAM_H
#define PRM_KIV_TCAM_H

#include "cerr.h"
#include "kiv.h"
#include "prm_kiv_check.h"
#include "prm_types.h"
#include "zor_vop_prm.h"
#include "zor_vop_prm_tcam.h"

enum { PRM_KIV_TCAM_NO_MEMORY = 12 };  // key buffers could not be allocated

#ifdef __cplusplus
extern "C" {
#endif

// Clears a request and sets the suite's defaults: port 1, one entry, keys of 92 and 55 bytes, no buffers.
// `ace_index` is cut to 16 bits. A block the request held is not released.
void tc_kiv_tcam_init_prm_info(prm_info *info, u32 fea_id, u32 opcode, u64 vmr_id, u32 ace_index);

// Allocates one block for the request's value, mask and result keys, cleared; 0 or PRM_KIV_TCAM_NO_MEMORY.
// The block belongs to the request until free_vmr.
int tc_kiv_tcam_allocate_and_offset_vmr(prm_info *info);

// Releases the key buffers; the pointers stay as they are.
void free_vmr(prm_info *info);

// Adds a dotted quad to *address, host order, first octet most significant; the caller clears *address. Ends
// after the fourth octet or sixteen characters, and not at a terminating zero before that.
void tc_kiv_tcam_ip_str_to_u32(u32 *address, const char *text);

// Reads the programmed entry back and validates it. A failed read records no check.
void tc_kiv_tcam_verify(prm_info *programmed);

// Compares every field that the programmed keys match on with what was read back, up to the first mismatch,
// and records one check.
void tc_kiv_tcam_validate_vmr(prm_info *programmed, prm_info *read_back);

#ifdef __cplusplus
}
#endif

// The first value, mask and result key of a request with buffers.
static inline prm_tcam_key *prm_kiv_tcam_value(const prm_info *info) {
    return reinterpret_cast<prm_tcam_key *>(info->value);
}
static inline prm_tcam_key *prm_kiv_tcam_mask(const prm_info *info) {
    return reinterpret_cast<prm_tcam_key *>(info->mask);
}
static inline prm_tcam_acl_result *prm_kiv_tcam_acl_result(const prm_info *info) {
    return reinterpret_cast<prm_tcam_acl_result *>(info->result);
}
static inline prm_tcam_qos_result *prm_kiv_tcam_qos_result(const prm_info *info) {
    return reinterpret_cast<prm_tcam_qos_result *>(info->result);
}

// A dotted quad as a programmed key holds it: network byte order.
u32 prm_kiv_tcam_address(const char *text);

// Checks a status against PRM_ERROR_NONE.
static inline int prm_kiv_check_none_here(prm_status_t status, const char *file, const char *function,
                                          int here) {
    return kiv_check_status_here(status, PRM_ERROR_NONE, "PRM_ERROR_NONE", file, function, here);
}

// --- Requests with something wrong -----------------------------------------------------------------------

// Operations, as a set: of the four that take an opcode of prm_tcam_opcode.
enum prm_kiv_tcam_operations : u32 {
    PRM_KIV_TCAM_CREATE = 1u << PRM_TCAM_CREATE,
    PRM_KIV_TCAM_DESTROY = 1u << PRM_TCAM_DESTROY,
    PRM_KIV_TCAM_INSERT = 1u << PRM_TCAM_INSERT,
    PRM_KIV_TCAM_DELETE = 1u << PRM_TCAM_DELETE,
};

// The operations that the rows of a table of cases (case, operation) name, as a set.
#define PRM_KIV_TCAM_OPERATIONS_OF(cases) (0 cases(PRM_KIV_TCAM_OR_OPERATION))
#define PRM_KIV_TCAM_OR_OPERATION(name, operation) | PRM_KIV_TCAM_##operation

// Whether a spoiled request carries its keys.
enum prm_kiv_tcam_keys : bool { PRM_KIV_TCAM_NO_KEYS = false, PRM_KIV_TCAM_KEYS = true };

// What a spoiled request must be answered with, and the lines that tell.
struct prm_kiv_tcam_verdict {
    const char *file;      // of the check
    const char *function;  // of the check
    prm_error expected;    // PRM_ERROR_INVALID_ARG or PRM_ERROR_INVALID_MSG
    const char *success;   // format, may show the invalid port
    const char *failure;   // format, shows the code
};

// One spoiled request.
struct prm_kiv_tcam_negative {
    u32 fea_id;
    u32 opcode;
    u32 ace_index;
    u32 supported;              // prm_kiv_tcam_operations
    prm_kiv_tcam_keys keys;     // those of a request without keys are not allocated
    void (*spoil)(prm_info *);  // applied once the buffers are there; may be null
    prm_kiv_tcam_verdict verdict;
};

void prm_kiv_tcam_spoil_port_num(prm_info *info);
void prm_kiv_tcam_spoil_nr_entries(prm_info *info);
void prm_kiv_tcam_spoil_value_mask_key_sz(prm_info *info);
void prm_kiv_tcam_spoil_result_key_sz(prm_info *info);
void prm_kiv_tcam_spoil_opcode(prm_info *info);
// An invalid feature, in the handle too.
void prm_kiv_tcam_spoil_fea_id(prm_info *info);

// Calls the operation of an opcode with a request, which may be null. An opcode outside `supported` calls
// nothing, prints a line and gives 0.
prm_status_t prm_kiv_tcam_call(u32 opcode, u32 supported, prm_info *info);

// Tells and checks whether `rc` is the verdict; returns the check's result.
int prm_kiv_tcam_judge(const prm_kiv_tcam_verdict *verdict, prm_status_t rc);

// Builds the spoiled request for a TCAM in *info, sends it and judges the answer, storing the check's result
// in *result. Gives 0, or PRM_KIV_TCAM_NO_MEMORY when the buffers could not be allocated and nothing was
// sent. The buffers stay with *info.
int prm_kiv_tcam_send_negative(const prm_kiv_tcam_negative *negative, u64 vmr_id, prm_info *info,
                               int *result);

// The same for a request that needs no TCAM, with its buffers released; the check's result, 0 when none was
// made.
int prm_kiv_tcam_run_negative(const prm_kiv_tcam_negative *negative, u64 vmr_id);

#endif
