// ACL: cases that program access-list entries into a TCAM, and those whose request is wrong on purpose.
#ifndef PRM_KIV_ACL_H
#define PRM_KIV_ACL_H

#include "prm_types.h"

// Index of an entry of the cases' TCAM.
enum prm_kiv_acl_index : u16 {
    PRM_KIV_ACL_INDEX_FIRST = 0,
    PRM_KIV_ACL_INDEX_SECOND = 1,
    PRM_KIV_ACL_INDEX_INVALID = 2049,
};

// The negative cases, as tables.
// clang-format off

// A null request, a TCAM handle that names none, an unknown feature: case, operation.
#define PRM_KIV_ACL_NULL_INFO_CASES(ROW)                \
    ROW(tc_kiv_acl_tcam_create_null_info_ptr,  CREATE)  \
    ROW(tc_kiv_acl_tcam_insert_null_info_ptr,  INSERT)  \
    ROW(tc_kiv_acl_tcam_delete_null_info_ptr,  DELETE)  \
    ROW(tc_kiv_acl_tcam_destroy_null_info_ptr, DESTROY)
#define PRM_KIV_ACL_INVALID_HANDLE_CASES(ROW)            \
    ROW(tc_kiv_acl_tcam_insert_invalid_vmr_id,  INSERT)  \
    ROW(tc_kiv_acl_tcam_delete_invalid_vmr_id,  DELETE)  \
    ROW(tc_kiv_acl_tcam_destroy_invalid_vmr_id, DESTROY)
#define PRM_KIV_ACL_INVALID_FEATURE_CASES(ROW)           \
    ROW(tc_kiv_acl_tcam_create_invalid_fea_id,  CREATE)  \
    ROW(tc_kiv_acl_tcam_insert_invalid_fea_id,  INSERT)  \
    ROW(tc_kiv_acl_tcam_delete_invalid_fea_id,  DELETE)  \
    ROW(tc_kiv_acl_tcam_destroy_invalid_fea_id, DESTROY)

// One spoiled field: case, operation, index of the entry, whether the request carries keys, what is spoiled;
// the code that must come; the lines for it and for another code. Some failure lines differ from their case's
// name and stop.
#define PRM_KIV_ACL_SPOILED_CASES(ROW)                                              \
    ROW(tc_kiv_acl_tcam_create_null_vmr_ptr, CREATE, FIRST, NO_KEYS,                \
        prm_kiv_tcam_spoil_nr_entries, INVALID_ARG,                                 \
        "Success while sending NULL value, mask, result ptr \n",                    \
        "Failure in tc_kiv_acl_tcam_create_null_vmr_ptr rc = 0x%x\n")               \
    ROW(tc_kiv_acl_tcam_create_invalid_port_num, CREATE, FIRST, KEYS,               \
        prm_kiv_tcam_spoil_port_num, INVALID_ARG,                                   \
        "Success while sending invalid port numbers as %d \n",                      \
        "Failure in tc_kiv_acl_tcam_create_invalid_port_num. rc = 0x%x\n")          \
    ROW(tc_kiv_acl_tcam_create_invalid_value_mask_key_sz, CREATE, FIRST, KEYS,      \
        prm_kiv_tcam_spoil_value_mask_key_sz, INVALID_ARG,                          \
        "Success while sending invalid value & mask key size as 0 \n",              \
        "Failure in tc_kiv_acl_tcam_create_invalid_value_mask_key_sz. rc = 0x%x\n") \
    ROW(tc_kiv_acl_tcam_create_invalid_result_key_sz, CREATE, FIRST, KEYS,          \
        prm_kiv_tcam_spoil_result_key_sz, INVALID_ARG,                              \
        "Success while sending invalid result key size as 0 \n",                    \
        "Failure in tc_kiv_acl_tcam_create_invalid_result_key_sz. rc = 0x%x\n")     \
    ROW(tc_kiv_acl_tcam_create_invalid_nr_entries, CREATE, FIRST, KEYS,             \
        prm_kiv_tcam_spoil_nr_entries, INVALID_ARG,                                 \
        "Success while sending invalid number of ace entries as 0 \n",              \
        "Failure in  tc_kiv_acl_tcam_create_invalid_nr_entries. rc = 0x%x\n")       \
    ROW(tc_kiv_acl_tcam_create_invalid_opcode, CREATE, FIRST, KEYS,                 \
        prm_kiv_tcam_spoil_opcode, INVALID_MSG,                                     \
        "Success while sending invalid operation code \n",                          \
        "Failure in tc_kiv_acl_tcam_create_invalid_opcode. rc = 0x%x\n")            \
    ROW(tc_kiv_acl_tcam_insert_null_vmr_ptr, INSERT, SECOND, NO_KEYS,               \
        prm_kiv_tcam_spoil_nr_entries, INVALID_ARG,                                 \
        "Success while sending NULL value, mask, result ptr \n",                    \
        "Failure in tc_kiv_acl_tcam_insert_null_vmr_ptr. rc = 0x%x\n")              \
    ROW(tc_kiv_acl_tcam_insert_invalid_port_num, INSERT, SECOND, KEYS,              \
        prm_kiv_tcam_spoil_port_num, INVALID_ARG,                                   \
        "Success while sending invalid port numbers as %d \n",                      \
        "Failure in tc_kiv_acl_tcam_insert_invalid_port_num. rc = 0x%x\n")          \
    ROW(tc_kiv_acl_tcam_insert_invalid_nr_entries, INSERT, SECOND, KEYS,            \
        prm_kiv_tcam_spoil_nr_entries, INVALID_ARG,                                 \
        "Success while sending invalid no. of ace entries as 0 \n",                 \
        "Failure in tc_kiv_acl_tcam_insert_invalid_nr_entries. rc = 0x%x\n")        \
    ROW(tc_kiv_acl_tcam_insert_invalid_opcode, INSERT, SECOND, KEYS,                \
        prm_kiv_tcam_spoil_opcode, INVALID_MSG,                                     \
        "Success while sending invalid operation code \n",                          \
        "Failure in tc_kiv_acl_tcam_insert_invalid_opcode. rc = 0x%x\n")            \
    ROW(tc_kiv_acl_tcam_insert_invalid_ace_index, INSERT, INVALID, KEYS,            \
        nullptr, INVALID_ARG,                                                       \
        "Success while sending invalid index \n",                                   \
        "Failure in tc_kiv_acl_tcam_insert_invalid_index. rc = 0x%x\n")             \
    ROW(tc_kiv_acl_tcam_delete_invalid_port_num, DELETE, SECOND, KEYS,              \
        prm_kiv_tcam_spoil_port_num, INVALID_ARG,                                   \
        "Success while sending invalid port numbers as %d \n",                      \
        "Failure in tc_kiv_acl_tcam_delete_invalid_port_num. rc = 0x%x\n")          \
    ROW(tc_kiv_acl_tcam_delete_invalid_nr_entries, DELETE, SECOND, KEYS,            \
        prm_kiv_tcam_spoil_nr_entries, INVALID_ARG,                                 \
        "Success while sending invalid no. of ace entries as 0 \n",                 \
        "Failure in tc_kiv_acl_tcam_delete_invalid_nr_entries. rc = 0x%x\n")        \
    ROW(tc_kiv_acl_tcam_delete_invalid_ace_index, DELETE, INVALID, KEYS,            \
        nullptr, INVALID_ARG,                                                       \
        "Success while sending invalid index \n",                                   \
        "Failure in tc_kiv_acl_tcam_delete_invalid_index. rc = 0x%x\n")
// clang-format on

#ifdef __cplusplus
extern "C" {
#endif

int tc_kiv_acl_tcam_create(void);
int tc_kiv_acl_tcam_modify(void);

#define KIV_DECLARE_CASE(name, ...) int name(void);
PRM_KIV_ACL_NULL_INFO_CASES(KIV_DECLARE_CASE)
PRM_KIV_ACL_INVALID_HANDLE_CASES(KIV_DECLARE_CASE)
PRM_KIV_ACL_INVALID_FEATURE_CASES(KIV_DECLARE_CASE)
PRM_KIV_ACL_SPOILED_CASES(KIV_DECLARE_CASE)
#undef KIV_DECLARE_CASE

// The families of the first three tables, each given an operation (prm_tcam_opcode). An operation that no row
// of the family has is told and fails the check. Each returns the result of its last check.
int tc_kiv_acl_tcam_null_prm_info_ptr(u32 opcode);
int tc_kiv_acl_tcam_invalid_vmr_id(u32 opcode);
int tc_kiv_acl_tcam_invalid_fea_id(u32 opcode);

#ifdef __cplusplus
}
#endif

#endif
