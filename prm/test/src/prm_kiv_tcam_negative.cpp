// The frame of the TCAM cases that spoil a request and expect its rejection.
#include "prm_kiv_main.h"
#include "prm_kiv_tcam.h"

enum : u16 { kInvalidPort = 256 };
enum : u32 { kInvalidFeature = 7, kInvalidOpcode = 100 };

void prm_kiv_tcam_spoil_port_num(prm_info *info) {
    info->port_num = kInvalidPort;
}

void prm_kiv_tcam_spoil_nr_entries(prm_info *info) {
    info->nr_entries = 0;
}

void prm_kiv_tcam_spoil_value_mask_key_sz(prm_info *info) {
    info->nr_entries = 0;
    info->value_mask_key_sz = 0;
}

void prm_kiv_tcam_spoil_result_key_sz(prm_info *info) {
    info->nr_entries = 0;
    info->result_key_sz = 0;
}

void prm_kiv_tcam_spoil_opcode(prm_info *info) {
    info->opcode = kInvalidOpcode;
}

void prm_kiv_tcam_spoil_fea_id(prm_info *info) {
    info->fea_id = kInvalidFeature;
    info->vmr_id = (info->vmr_id & PRM_TCAM_VMR_USED & ~PRM_TCAM_VMR_FEATURE) |
                   static_cast<u64>(kInvalidFeature) << PRM_TCAM_VMR_FEATURE_SHIFT;
}

prm_status_t prm_kiv_tcam_call(u32 opcode, u32 supported, prm_info *info) {
    if (opcode < 32 && (supported & 1u << opcode) != 0) {
        switch (opcode) {
            case PRM_TCAM_CREATE:
                return zor_vop_prm_tcam_vmr_create(prm_async_handle, info);
            case PRM_TCAM_DESTROY:
                return zor_vop_prm_tcam_vmr_destroy(prm_async_handle, info);
            case PRM_TCAM_INSERT:
                return zor_vop_prm_tcam_vmr_insert(prm_async_handle, info);
            case PRM_TCAM_DELETE:
                return zor_vop_prm_tcam_vmr_delete(prm_async_handle, info);
        }
    }
    kiv_printf("Error!!! Invalid opcode \n");
    return PRM_ERROR_NONE;
}

int prm_kiv_tcam_judge(const prm_kiv_tcam_verdict *verdict, prm_status_t rc) {
    if (rc == verdict->expected)
        kiv_printf(verdict->success, kInvalidPort);  // for the lines that tell it
    else
        kiv_printf(verdict->failure, rc);
    const char *const expected_name =
        verdict->expected == PRM_ERROR_INVALID_MSG ? "PRM_ERROR_INVALID_MSG" : "PRM_ERROR_INVALID_ARG";
    return kiv_check_status_here(rc, verdict->expected, expected_name, verdict->file, verdict->function,
                                 __LINE__);
}

int prm_kiv_tcam_send_negative(const prm_kiv_tcam_negative *negative, u64 vmr_id, prm_info *info,
                               int *result) {
    tc_kiv_tcam_init_prm_info(info, negative->fea_id, negative->opcode, vmr_id, negative->ace_index);
    if (negative->keys && tc_kiv_tcam_allocate_and_offset_vmr(info) == PRM_KIV_TCAM_NO_MEMORY)
        return PRM_KIV_TCAM_NO_MEMORY;
    if (negative->spoil != nullptr) negative->spoil(info);

    const prm_status_t rc = prm_kiv_tcam_call(negative->opcode, negative->supported, info);
    *result = prm_kiv_tcam_judge(&negative->verdict, rc);
    return 0;
}

int prm_kiv_tcam_run_negative(const prm_kiv_tcam_negative *negative, u64 vmr_id) {
    prm_info info;
    int result = 0;
    if (prm_kiv_tcam_send_negative(negative, vmr_id, &info, &result) == PRM_KIV_TCAM_NO_MEMORY) return 0;
    if (negative->keys) free_vmr(&info);
    return result;
}
