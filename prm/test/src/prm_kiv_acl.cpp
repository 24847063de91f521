// ACL: cases that program access-list entries into a TCAM, and those whose request is wrong on purpose.
#include "prm_kiv_acl.h"

#include <string.h>

#include "prm_kiv_main.h"
#include "prm_kiv_tcam.h"

static const char kFile[] = "prm/test/src/prm_kiv_acl";

enum : u16 { kClassId = 1 };

// --- Steps. Each stores its check's result in *result; a case returns that of the last. ------------------

// Takes a statistics id, which stays in *info.
static prm_status_t acl_stats_create(prm_info *info, int *result) {
    memset(info, 0, sizeof *info);
    info->fea_id = PRM_TCAM_FEATURE_ACL;
    info->opcode = PRM_TCAM_STATS_ALLOC;
    const prm_status_t rc = zor_vop_prm_tcam_vmr_stats_alloc(prm_async_handle, info);
    if (rc != PRM_ERROR_NONE)
        kiv_printf("Failure in tc_kiv_acl_stats_create. rc = %s\n", cerr_strerror(rc));
    else
        kiv_printf("Success in ACL Stats Create %d \n", info->stats_id);
    *result = prm_kiv_check_none_here(rc, kFile, "tc_kiv_acl_stats_create", __LINE__);
    return rc;
}

static void acl_stats_destroy(u64 vmr_id, u32 stats_id, int *result) {
    prm_info info;
    memset(&info, 0, sizeof info);
    info.fea_id = PRM_TCAM_FEATURE_ACL;
    info.opcode = PRM_TCAM_STATS_DEALLOC;
    info.stats_id = stats_id;
    info.vmr_id = vmr_id;
    const prm_status_t rc = zor_vop_prm_tcam_vmr_stats_dealloc(prm_async_handle, &info);
    if (rc != PRM_ERROR_NONE)
        kiv_printf("Failure in tc_kiv_acl_stats_destroy. rc = 0x%x\n", rc);
    else
        kiv_printf("Success in ACL Stats Destroy \n");
    *result = prm_kiv_check_none_here(rc, kFile, "tc_kiv_acl_stats_destroy", __LINE__);
}

// What every entry has: the class, the addresses to the last bit, the statistics id.
static void fill_acl_entry(prm_info *info, const char *source, const char *destination, u32 stats_id) {
    prm_tcam_key *const value = prm_kiv_tcam_value(info);
    prm_tcam_key *const mask = prm_kiv_tcam_mask(info);
    prm_tcam_set_class_id(value, kClassId);
    value->src_ipv4 = prm_kiv_tcam_address(source);
    mask->src_ipv4 = prm_kiv_tcam_address("255.255.255.255");
    value->dst_ipv4 = prm_kiv_tcam_address(destination);
    mask->dst_ipv4 = prm_kiv_tcam_address("255.255.255.255");

    prm_tcam_acl_result *const entry = prm_kiv_tcam_acl_result(info);
    entry->byte2 = 1;
    entry->stats_id = stats_id;
}

// Creates a TCAM with the first entry from the record that holds the statistics id. The record comes back
// with the handle and the key buffers, which are the caller's to release.
static prm_status_t acl_create(prm_info *info, int *result) {
    const u32 stats_id = info->stats_id;
    tc_kiv_tcam_init_prm_info(info, info->fea_id, PRM_TCAM_CREATE, 0, PRM_KIV_ACL_INDEX_FIRST);
    if (tc_kiv_tcam_allocate_and_offset_vmr(info) == PRM_KIV_TCAM_NO_MEMORY) return PRM_KIV_TCAM_NO_MEMORY;
    fill_acl_entry(info, "1.1.1.1", "2.2.2.2", stats_id);
    prm_kiv_tcam_value(info)->ttl = 100;
    prm_kiv_tcam_mask(info)->ttl = 255;

    const prm_status_t rc = zor_vop_prm_tcam_vmr_create(prm_async_handle, info);
    if (rc != PRM_ERROR_NONE)
        kiv_printf("Failure in tc_kiv_acl_tcam_create. rc = 0x%x\n", rc);
    else
        kiv_printf("Success in ACL Create \n");
    *result = prm_kiv_check_none_here(rc, kFile, "tc_kiv_tcam_create", __LINE__);
    return rc;
}

// Inserts the second entry.
static prm_status_t acl_insert(u64 vmr_id, u32 fea_id, u32 stats_id, int *result) {
    prm_info info;
    tc_kiv_tcam_init_prm_info(&info, fea_id, PRM_TCAM_INSERT, vmr_id, PRM_KIV_ACL_INDEX_SECOND);
    if (tc_kiv_tcam_allocate_and_offset_vmr(&info) == PRM_KIV_TCAM_NO_MEMORY) return PRM_KIV_TCAM_NO_MEMORY;
    fill_acl_entry(&info, "3.3.3.3", "4.4.4.4", stats_id);

    const prm_status_t rc = zor_vop_prm_tcam_vmr_insert(prm_async_handle, &info);
    if (rc != PRM_ERROR_NONE)
        kiv_printf("Failure in tc_kiv_acl_tcam_insert. rc = 0x%x\n", rc);
    else
        kiv_printf("Success in ACL Insert \n");
    *result = prm_kiv_check_none_here(rc, kFile, "tc_kiv_acl_tcam_insert", __LINE__);
    free_vmr(&info);
    return rc;
}

// Deletes the second entry.
static void acl_delete(u64 vmr_id, u32 fea_id, int *result) {
    prm_info info;
    tc_kiv_tcam_init_prm_info(&info, fea_id, PRM_TCAM_DELETE, vmr_id, PRM_KIV_ACL_INDEX_SECOND);
    const prm_status_t rc = zor_vop_prm_tcam_vmr_delete(prm_async_handle, &info);
    if (rc != PRM_ERROR_NONE)
        kiv_printf("Failure in tc_kiv_acl_tcam_delete. rc = 0x%x\n", rc);
    else
        kiv_printf("Success in ACL Delete \n");
    *result = prm_kiv_check_none_here(rc, kFile, "tc_kiv_acl_tcam_delete", __LINE__);
}

static void acl_destroy(u64 vmr_id, u32 fea_id, int *result) {
    prm_info info;
    tc_kiv_tcam_init_prm_info(&info, fea_id, PRM_TCAM_DESTROY, vmr_id, PRM_KIV_ACL_INDEX_FIRST);
    const prm_status_t rc = zor_vop_prm_tcam_vmr_destroy(prm_async_handle, &info);
    if (rc != PRM_ERROR_NONE)
        kiv_printf("Failure in tc_kiv_acl_tcam_destroy. rc = 0x%x\n", rc);
    else
        kiv_printf("Success in ACL Destroy \n");
    *result = prm_kiv_check_none_here(rc, kFile, "tc_kiv_acl_tcam_destroy", __LINE__);
}

// --- Positive cases --------------------------------------------------------------------------------------

// Statistics, a TCAM with the first entry, its read-back and everything away again; `modify` inserts and
// deletes the second entry around the read-back. A failed create leaves the statistics id taken.
static int run_create_or_modify(bool modify) {
    prm_info info;
    int result = 0;
    if (acl_stats_create(&info, &result) != PRM_ERROR_NONE) return result;
    const u32 stats_id = info.stats_id;
    info.fea_id = PRM_TCAM_FEATURE_ACL;

    if (acl_create(&info, &result) == PRM_ERROR_NONE) {
        if (!modify) {
            tc_kiv_tcam_verify(&info);
        } else if (acl_insert(info.vmr_id, PRM_TCAM_FEATURE_ACL, stats_id, &result) == PRM_ERROR_NONE) {
            tc_kiv_tcam_verify(&info);  // the insert must have left the first entry as it was
            acl_delete(info.vmr_id, PRM_TCAM_FEATURE_ACL, &result);
        }
        acl_destroy(info.vmr_id, PRM_TCAM_FEATURE_ACL, &result);
        acl_stats_destroy(info.vmr_id, stats_id, &result);
    }
    free_vmr(&info);
    return result;
}

int tc_kiv_acl_tcam_create(void) {
    return run_create_or_modify(false);
}

int tc_kiv_acl_tcam_modify(void) {
    return run_create_or_modify(true);
}

// --- Null request ----------------------------------------------------------------------------------------

int tc_kiv_acl_tcam_null_prm_info_ptr(u32 opcode) {
    static const prm_kiv_tcam_verdict kVerdict = {
        kFile, "tc_kiv_acl_tcam_null_prm_info_ptr", PRM_ERROR_INVALID_ARG,
        "Success while sending NULL prm_info ptr \n",
        "Failure in tc_kiv_acl_tcam_null_prm_info_ptr. rc = 0x%x\n"};
    const u32 supported = PRM_KIV_TCAM_OPERATIONS_OF(PRM_KIV_ACL_NULL_INFO_CASES);
    return prm_kiv_tcam_judge(&kVerdict, prm_kiv_tcam_call(opcode, supported, nullptr));
}

#define DEFINE_CASE(name, operation)                                    \
    int name(void) {                                                    \
        return tc_kiv_acl_tcam_null_prm_info_ptr(PRM_TCAM_##operation); \
    }
PRM_KIV_ACL_NULL_INFO_CASES(DEFINE_CASE)
#undef DEFINE_CASE

// --- Invalid TCAM handle ---------------------------------------------------------------------------------

int tc_kiv_acl_tcam_invalid_vmr_id(u32 opcode) {
    const prm_kiv_tcam_negative negative = {PRM_TCAM_FEATURE_ACL,
                                            opcode,
                                            PRM_KIV_ACL_INDEX_FIRST,
                                            PRM_KIV_TCAM_OPERATIONS_OF(PRM_KIV_ACL_INVALID_HANDLE_CASES),
                                            PRM_KIV_TCAM_KEYS,
                                            nullptr,
                                            {kFile, "tc_kiv_acl_tcam_invalid_vmr_id", PRM_ERROR_INVALID_ARG,
                                             "Success while sending invalid vmr id \n",
                                             "Failure in tc_kiv_acl_tcam_invalid_vmr_id. rc = 0x%x\n"}};
    return prm_kiv_tcam_run_negative(&negative, 0);  // no TCAM has the handle 0
}

#define DEFINE_CASE(name, operation)                                 \
    int name(void) {                                                 \
        return tc_kiv_acl_tcam_invalid_vmr_id(PRM_TCAM_##operation); \
    }
PRM_KIV_ACL_INVALID_HANDLE_CASES(DEFINE_CASE)
#undef DEFINE_CASE

// --- A TCAM to send spoiled requests to ------------------------------------------------------------------

struct tcam {
    prm_status_t rc;  // of its create
    u64 vmr_id;       // 0 when there is none
    u32 stats_id;
};

// Takes a statistics id and creates a TCAM with the first entry. False when there was no statistics id.
static bool make_tcam(tcam *made, int *result) {
    prm_info info;
    if (acl_stats_create(&info, result) != PRM_ERROR_NONE) return false;
    made->stats_id = info.stats_id;
    info.fea_id = PRM_TCAM_FEATURE_ACL;
    made->rc = acl_create(&info, result);
    made->vmr_id = made->rc == PRM_ERROR_NONE ? static_cast<u64>(info.vmr_id) : 0;
    free_vmr(&info);
    return true;
}

// --- Invalid feature id ----------------------------------------------------------------------------------

int tc_kiv_acl_tcam_invalid_fea_id(u32 opcode) {
    const prm_kiv_tcam_negative negative = {PRM_TCAM_FEATURE_ACL,
                                            opcode,
                                            PRM_KIV_ACL_INDEX_FIRST,
                                            PRM_KIV_TCAM_OPERATIONS_OF(PRM_KIV_ACL_INVALID_FEATURE_CASES),
                                            PRM_KIV_TCAM_KEYS,
                                            prm_kiv_tcam_spoil_fea_id,
                                            {kFile, "tc_kiv_acl_tcam_invalid_fea_id", PRM_ERROR_INVALID_ARG,
                                             "Success while sending invalid feature id \n",
                                             "Failure in tc_kiv_acl_tcam_invalid_fea_id. rc = 0x%x\n"}};
    const bool needs_tcam =
        opcode == PRM_TCAM_INSERT || opcode == PRM_TCAM_DELETE || opcode == PRM_TCAM_DESTROY;
    prm_info spoiled;
    int result = 0;
    if (!needs_tcam) {
        prm_kiv_tcam_send_negative(&negative, 0, &spoiled, &result);
        free_vmr(&spoiled);  // of a record that was never allocated, too
        return result;
    }

    tcam made;
    if (!make_tcam(&made, &result)) return result;
    memset(&spoiled, 0, sizeof spoiled);
    if (made.rc != PRM_ERROR_NONE)
        prm_kiv_tcam_judge(&negative.verdict, PRM_ERROR_NONE);  // nothing was sent
    else
        prm_kiv_tcam_send_negative(&negative, made.vmr_id, &spoiled, &result);
    acl_destroy(made.vmr_id, PRM_TCAM_FEATURE_ACL, &result);
    // The statistics go back under the spoiled handle.
    acl_stats_destroy(spoiled.vmr_id, made.stats_id, &result);
    free_vmr(&spoiled);
    return result;
}

#define DEFINE_CASE(name, operation)                                 \
    int name(void) {                                                 \
        return tc_kiv_acl_tcam_invalid_fea_id(PRM_TCAM_##operation); \
    }
PRM_KIV_ACL_INVALID_FEATURE_CASES(DEFINE_CASE)
#undef DEFINE_CASE

// --- One spoiled field -----------------------------------------------------------------------------------

// A request that needs a TCAM with its first entry; the TCAM and the statistics go whatever the answer.
static int run_on_tcam(const prm_kiv_tcam_negative *negative) {
    tcam made;
    int result = 0;
    if (!make_tcam(&made, &result)) return result;
    if (made.rc != PRM_ERROR_NONE) return result;

    prm_info spoiled;
    prm_kiv_tcam_send_negative(negative, made.vmr_id, &spoiled, &result);
    acl_destroy(made.vmr_id, PRM_TCAM_FEATURE_ACL, &result);
    acl_stats_destroy(made.vmr_id, made.stats_id, &result);
    free_vmr(&spoiled);
    return result;
}

static int run_spoiled(const prm_kiv_tcam_negative *negative) {
    const bool needs_tcam = negative->opcode != PRM_TCAM_CREATE && negative->keys;
    return needs_tcam ? run_on_tcam(negative) : prm_kiv_tcam_run_negative(negative, 0);
}

#define DEFINE_CASE(name, operation, index, keys, spoil, code, success, failure)                             \
    int name(void) {                                                                                         \
        static const prm_kiv_tcam_negative kNegative = {PRM_TCAM_FEATURE_ACL,                                \
                                                        PRM_TCAM_##operation,                                \
                                                        PRM_KIV_ACL_INDEX_##index,                           \
                                                        PRM_KIV_TCAM_##operation,                            \
                                                        PRM_KIV_TCAM_##keys,                                 \
                                                        spoil,                                               \
                                                        {kFile, #name, PRM_ERROR_##code, success, failure}}; \
        return run_spoiled(&kNegative);                                                                      \
    }
PRM_KIV_ACL_SPOILED_CASES(DEFINE_CASE)
#undef DEFINE_CASE
