// ACL: cases that program access-list entries into a TCAM, and those whose request is wrong on purpose.
#ifndef PRM_KIV_ACL_H
#define PRM_KIV_ACL_H

#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

int tc_kiv_acl_tcam_create(void);
int tc_kiv_acl_tcam_modify(void);

int tc_kiv_acl_tcam_create_null_info_ptr(void);
int tc_kiv_acl_tcam_insert_null_info_ptr(void);
int tc_kiv_acl_tcam_delete_null_info_ptr(void);
int tc_kiv_acl_tcam_destroy_null_info_ptr(void);

int tc_kiv_acl_tcam_insert_invalid_vmr_id(void);
int tc_kiv_acl_tcam_delete_invalid_vmr_id(void);
int tc_kiv_acl_tcam_destroy_invalid_vmr_id(void);

int tc_kiv_acl_tcam_create_invalid_fea_id(void);
int tc_kiv_acl_tcam_insert_invalid_fea_id(void);
int tc_kiv_acl_tcam_delete_invalid_fea_id(void);
int tc_kiv_acl_tcam_destroy_invalid_fea_id(void);

int tc_kiv_acl_tcam_create_null_vmr_ptr(void);
int tc_kiv_acl_tcam_create_invalid_port_num(void);
int tc_kiv_acl_tcam_create_invalid_value_mask_key_sz(void);
int tc_kiv_acl_tcam_create_invalid_result_key_sz(void);
int tc_kiv_acl_tcam_create_invalid_nr_entries(void);
int tc_kiv_acl_tcam_create_invalid_opcode(void);
int tc_kiv_acl_tcam_insert_null_vmr_ptr(void);
int tc_kiv_acl_tcam_insert_invalid_port_num(void);
int tc_kiv_acl_tcam_insert_invalid_nr_entries(void);
int tc_kiv_acl_tcam_insert_invalid_opcode(void);
int tc_kiv_acl_tcam_insert_invalid_ace_index(void);
int tc_kiv_acl_tcam_delete_invalid_port_num(void);
int tc_kiv_acl_tcam_delete_invalid_nr_entries(void);
int tc_kiv_acl_tcam_delete_invalid_ace_index(void);

// The families of the cases above, each given an operation (prm_tcam_opcode). An operation that the family
// does not have is told and fails the check. Each returns the result of its last check.
int tc_kiv_acl_tcam_null_prm_info_ptr(u32 opcode);
int tc_kiv_acl_tcam_invalid_vmr_id(u32 opcode);
int tc_kiv_acl_tcam_invalid_fea_id(u32 opcode);

#ifdef __cplusplus
}
#endif

#endif
