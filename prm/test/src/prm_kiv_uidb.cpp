// Interface database: reusable steps, and the cases that switch single features of a fixed interface.
#include "prm_kiv_uidb.h"

#include <stdlib.h>
#include <string.h>

#include "kiv.h"
#include "prm_kiv_check.h"
#include "prm_kiv_main.h"

static const char kFile[] = "prm/test/src/prm_kiv_uidb";

enum : u32 {
    kMainInterface = 0x8000088,      // the site's fixed main interface
    kDot1qSubInterface = 0x800F110,  // a fixed 802.1Q sub-interface
};

void prm_kiv_uidb_fill(uidb_feature *feature, u16 qualifier, u32 feature_id, u32 value) {
    memset(feature, 0, sizeof *feature);
    feature->qualifier = qualifier;
    feature->feature_id = feature_id;
    feature->value = value;
}

prm_status_t kiv_util_uidb_set_feature(const uidb_feature *feature, u32 if_handle) {
    typedef uidb_client_data_of<1> message_t;
    message_t *const message = static_cast<message_t *>(malloc(sizeof(message_t)));
    if (message == nullptr) {
        kiv_printf("Malloc Failed for uidb_client_data \n");
        return PRM_KIV_NO_MEMORY_STATUS;
    }
    prm_kiv_uidb_head(message, if_handle);
    message->features[0] = *feature;

    kiv_printf("Call UIDB Set feature\n");
    const prm_status_t rc = uidb_set_feature(0, &message->head);  // cookie 0 here, unlike everywhere else
    free(message);
    kiv_check_success_here(rc, kFile, "kiv_util_uidb_set_feature", __LINE__);
    return rc;
}

prm_status_t kiv_util_uidb_set_feature_batch(uintptr_t cookie, uidb_feature_batch *batch) {
    if (batch == nullptr) {
        kiv_printf("%s Invalid param passed\n", "kiv_util_uidb_set_feature_batch");
        return PRM_KIV_INVALID_PARAM_STATUS;
    }
    return uidb_set_feature_batch(cookie, batch);
}

static prm_status_t set_l2_flag(u32 if_handle, u32 flag) {
    uidb_feature feature;
    prm_kiv_uidb_fill(&feature, 0, UIDB_FEATURE_L2, flag);
    return kiv_util_uidb_set_feature(&feature, if_handle);
}

prm_status_t kiv_util_uidb_l2_enable(u32 if_handle) {
    const prm_status_t rc = set_l2_flag(if_handle, 1);
    kiv_printf("%s:kiv_util_uidb_set_feature called rc=0x%x", "kiv_util_uidb_l2_enable", rc);
    return rc;
}

prm_status_t kiv_util_uidb_l2_disable(u32 if_handle) {
    const prm_status_t rc = set_l2_flag(if_handle, 0);
    kiv_printf("%s:kiv_util_uidb_set_feature called rc=0x%x", "kiv_util_uidb_l2_disable", rc);
    return rc;
}

prm_status_t kiv_util_create_single_interface(u32 np_port, u32 parent_ifh, u32 if_handle) {
    uidb_create_msg *const message =
        prm_kiv_uidb_new<uidb_create_msg>(if_handle, parent_ifh, UIDB_IFTYPE_SUB_INTERFACE, np_port & 0xFF);
    if (message == nullptr) {
        kiv_printf("Could not allocate uidb_create_msg\n");
        return PRM_KIV_NO_MEMORY_STATUS;
    }
    kiv_printf("channel_map = %d\n if_handle = 0x%X\n iftype = %d \nparent_ifh = 0x%X\n",
               message->channel_map, if_handle, UIDB_IFTYPE_SUB_INTERFACE, parent_ifh);
    kiv_printf("Calling uidb_create_single_interface\n");
    const prm_status_t rc = uidb_create_interface_batch(UIDB_CLIENT_COOKIE, message, 1);
    free(message);
    return rc;
}

prm_status_t kiv_util_intf_stats_alloc(u32 direction, u32 *pointer) {
    u32 count = 1;
    const prm_status_t rc = prm_stats_cl_alloc(prm_async_handle, direction, PRM_STATS_CLASS_INTERFACE,
                                               2 /* sent as is */, &count, pointer);
    if (rc != CERR_SUCCESS) return rc;

    kiv_printf("Got Stats Ptr: 0x%x\n", *pointer);
    if (count != 1) kiv_printf("Got %d stats, asked for 1 Stats\n", count);
    return rc;
}

int prm_kiv_uidb_set_ip_mtu(u32 if_handle, u32 mtu, const char *file, const char *function, int here,
                            const char *success_line) {
    auto *const message = prm_kiv_uidb_new<uidb_client_data_of<1>>(if_handle);
    if (message == nullptr) {
        kiv_printf("Malloc Failed for uidb_client_data \n");
        kiv_fail_without_memory_here(file, function, here);
    }
    prm_kiv_uidb_fill(&message->features[0], UIDB_QUALIFIER_IP_MTU, UIDB_FEATURE_IP_MTU, mtu);

    kiv_printf("Call UIDB Set feature to set IP MTU\n");
    const prm_status_t rc = uidb_set_feature(UIDB_CLIENT_COOKIE, &message->head);
    const int result = kiv_check_success_here(rc, file, function, here);
    kiv_printf("%s", success_line);
    free(message);
    return result;
}

int tc_kiv_update_mainif_mtu(void) {
    return prm_kiv_uidb_set_ip_mtu(kMainInterface, 1000, kFile, "tc_kiv_update_mainif_mtu", __LINE__,
                                   "Mainif MTU set Successfully\n");
}

int tc_kiv_update_subif_mtu(void) {
    // The line speaks of the main interface here too.
    return prm_kiv_uidb_set_ip_mtu(kDot1qSubInterface, 500, kFile, "tc_kiv_update_subif_mtu", __LINE__,
                                   "Mainif MTU set Successfully\n");
}

// Sets one feature of the main interface by a batch of one entry.
static int set_feature_by_batch(u32 feature_id, u32 value, const char *function, int here) {
    auto *const batch = prm_kiv_uidb_new<uidb_feature_batch_of<1>>();
    if (batch == nullptr) {
        kiv_printf("%s %d Memory allocation failed", function, here);
        kiv_fail_without_memory_here(kFile, function, here);
    }
    prm_kiv_uidb_fill_entry(&batch->entries[0], kMainInterface, 0, feature_id, value);

    const prm_status_t rc = kiv_util_uidb_set_feature_batch(UIDB_CLIENT_COOKIE, &batch->head);
    const int result = kiv_check_success_here(rc, kFile, function, here);
    kiv_printf("kiv_util_uidb_set_feature_batch called rc: 0x%x\n", rc);
    free(batch);
    return result;
}

int tc_kiv_uidb_ipv4_enable(void) {
    return set_feature_by_batch(UIDB_FEATURE_IPV4_ENABLE, 1, "tc_kiv_uidb_ipv4_enable", __LINE__);
}

int tc_kiv_uidb_ipv4_disable(void) {
    return set_feature_by_batch(UIDB_FEATURE_IPV4_ENABLE, 0, "tc_kiv_uidb_ipv4_disable", __LINE__);
}

int tc_kiv_uidb_mpls_enable(void) {
    return set_feature_by_batch(UIDB_FEATURE_MPLS_ENABLE, 1, "tc_kiv_uidb_mpls_enable", __LINE__);
}

int tc_kiv_uidb_mpls_disable(void) {
    return set_feature_by_batch(UIDB_FEATURE_MPLS_ENABLE, 0, "tc_kiv_uidb_mpls_disable", __LINE__);
}

// Switches the main interface's layer-2 flag; the step checks, so the case returns whether it succeeded.
static int set_main_interface_l2_flag(u32 flag, const char *function) {
    const prm_status_t rc = set_l2_flag(kMainInterface, flag);
    kiv_printf("%s:kiv_util_uidb_set_feature called", function);
    return rc == CERR_SUCCESS ? 1 : 0;
}

int tc_kiv_uidb_l2_enable(void) {
    return set_main_interface_l2_flag(1, "tc_kiv_uidb_l2_enable");
}

int tc_kiv_uidb_l2_disable(void) {
    return set_main_interface_l2_flag(0, "tc_kiv_uidb_l2_disable");
}
