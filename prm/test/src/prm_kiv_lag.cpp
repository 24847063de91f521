// Link bundles: the steps that update a bundle and create its main interface, and the cases that build one,
// change its members, give it sub-interfaces and take it down.
#include "prm_kiv_lag.h"

#include <stdlib.h>
#include <string.h>

#include "kiv.h"
#include "prm_kiv_check.h"
#include "prm_kiv_input.h"
#include "prm_kiv_subif.h"
#include "prm_kiv_uidb.h"

static const char kFile[] = "prm/test/src/prm_kiv_lag";

enum : u32 {
    kBundle = 0x800A000,              // fixed bundle main interface of the MTU cases
    kBundleSubInterface = 0x800A110,  // fixed bundle sub-interface of the MTU cases
};

enum { kBundleSubInterfaces = 2 };

static const u8 kSourceMac[6] = {0x12, 0x12, 0x34, 0x34, 0x12, 0x12};

static prm_status_t update_lag(u32 member_count, const u16 *ports, u32 lag, uidb_lag_op operation) {
    uidb_lag_update update;
    memset(&update, 0, sizeof update);
    update.lag_id = static_cast<u8>(lag);
    update.member_count = static_cast<u8>(member_count);
    for (int i = 0; i < update.member_count && i < UIDB_LAG_MAX_MEMBERS; ++i) update.members[i] = ports[i];
    update.lag_op = operation;

    const prm_status_t rc = uidb_update_lag(UIDB_CLIENT_COOKIE, &update);
    return rc != CERR_SUCCESS ? rc : update.lag_status;
}

prm_status_t kiv_util_lag_create(u32 member_count, const u16 *ports, u32 lag) {
    return update_lag(member_count, ports, lag, UIDB_LAG_CREATE);
}

prm_status_t kiv_util_lag_set_members(u32 member_count, const u16 *ports, u32 lag) {
    return update_lag(member_count, ports, lag, UIDB_LAG_SET_MEMBERS);
}

prm_status_t kiv_util_lag_delete(u32 lag) {
    return update_lag(0, nullptr, lag, UIDB_LAG_DELETE);
}

prm_status_t kiv_util_lag_member_cfg(u32 np_port, u32 lag, int configure) {
    const u16 member = static_cast<u16>(np_port);
    return update_lag(1, &member, lag, configure != 0 ? UIDB_LAG_CONFIG_MEMBER : UIDB_LAG_UNCONFIG_MEMBER);
}

// --- Main interface ---

static prm_status_t create_bundle_interface(u32 bundle_ifh) {
    uidb_create_msg *const message =
        prm_kiv_uidb_new<uidb_create_msg>(bundle_ifh, 0, UIDB_IFTYPE_BUNDLE_MAIN, 0);
    if (message == nullptr) {
        kiv_printf("Could not allocate uidb_create_msg\n");
        return PRM_KIV_NO_MEMORY_STATUS;
    }
    kiv_printf("if_handle = 0x%X\n iftype = %d \n", bundle_ifh, UIDB_IFTYPE_BUNDLE_MAIN);
    kiv_printf("Calling uidb_create_single_interface\n");
    const prm_status_t rc = uidb_create_interface_batch(UIDB_CLIENT_COOKIE, message, 1);
    free(message);
    return rc;
}

// Tells the bundle interface its layer and its bundle id.
static void set_bundle_features(u32 lag, u32 bundle_ifh, u32 l2_flag) {
    auto *const message = prm_kiv_uidb_new<uidb_client_data_of<2>>(bundle_ifh);
    if (message == nullptr) {
        kiv_printf("Malloc Failed for uidb_client_data \n");
        kiv_fail_without_memory_here(kFile, "kiv_util_cfg_bdl_main_if", __LINE__);
    }
    prm_kiv_uidb_fill(&message->features[0], 0, UIDB_FEATURE_L2, l2_flag);
    prm_kiv_uidb_fill(&message->features[1], 0, UIDB_FEATURE_LAG_ID, lag);

    kiv_printf("Call UIDB Set feature\n");
    const prm_status_t rc = uidb_set_feature(UIDB_CLIENT_COOKIE, &message->head);
    kiv_check_success_here(rc, kFile, "kiv_util_cfg_bdl_main_if", __LINE__);
    free(message);
}

static prm_status_t set_source_mac(u32 lag) {
    uidb_port_feature feature;
    memset(&feature, 0, sizeof feature);
    feature.port = lag & 0xFF;
    feature.feature_id = UIDB_PORT_FEATURE_SOURCE_MAC;
    memcpy(feature.mac, kSourceMac, sizeof feature.mac);
    feature.enable = 1;
    return uidb_set_port_feature(UIDB_CLIENT_COOKIE, &feature);
}

prm_status_t kiv_util_cfg_bdl_main_if(u32 lag, u32 bundle_ifh, u32 l2_flag, u32 member_count,
                                      const u16 *ports) {
    static const char kStep[] = "kiv_util_cfg_bdl_main_if";

    prm_status_t rc = create_bundle_interface(bundle_ifh);
    kiv_check_success_here(rc, kFile, kStep, __LINE__);
    kiv_printf("Bdl uidb creation successful\n");

    set_bundle_features(lag, bundle_ifh, l2_flag);

    kiv_printf("Setting src mac\n");
    rc = set_source_mac(lag);
    kiv_check_success_here(rc, kFile, kStep, __LINE__);
    kiv_printf("MAc Address Set Successful\n");

    // The first member is configured before the trunk exists.
    rc = kiv_util_lag_member_cfg(ports[0], lag, 1);
    kiv_check_success_here(rc, kFile, kStep, __LINE__);

    rc = kiv_util_lag_create(member_count, ports, lag);
    kiv_check_success_here(rc, kFile, kStep, __LINE__);
    kiv_printf("Trunk create Successful\n");
    return rc;
}

static void read_ports_and_bundle(void) {
    kiv_util_read_np_ports();
    kiv_util_read_bdl_params();
}

int tc_kiv_create_bdl_l2_main_if(void) {
    read_ports_and_bundle();
    const prm_status_t rc = kiv_util_cfg_bdl_main_if(lag_id, bdl_ifh, 1, 1, port.number);
    return kiv_check_success_here(rc, kFile, "tc_kiv_create_bdl_l2_main_if", __LINE__);
}

int tc_kiv_create_bdl_l3_main_if(void) {
    read_ports_and_bundle();
    const prm_status_t rc = kiv_util_cfg_bdl_main_if(lag_id, bdl_ifh, 0, 1, port.number);
    return kiv_check_success_here(rc, kFile, "tc_kiv_create_bdl_l3_main_if", __LINE__);
}

int tc_kiv_delete_bdl_main_if(void) {
    static const char kCase[] = "tc_kiv_delete_bdl_main_if";
    read_ports_and_bundle();

    prm_status_t rc = kiv_util_lag_delete(lag_id);
    kiv_check_success_here(rc, kFile, kCase, __LINE__);
    kiv_printf("Trunk Deletion Successful\n");

    // The member of the trunk; the configure and unconfigure cases name the other one.
    rc = kiv_util_lag_member_cfg(port.number[0], lag_id, 0);
    kiv_check_success_here(rc, kFile, kCase, __LINE__);

    rc = uidb_delete_interface(UIDB_CLIENT_COOKIE, bdl_ifh);
    const int result = kiv_check_success_here(rc, kFile, kCase, __LINE__);
    kiv_printf("Deleting Main Bdl interface successful\n");
    return result;
}

// --- Members ---

// Both cases tell the same two lines.
static int configure_member(int configure, const char *function, int here) {
    read_ports_and_bundle();
    kiv_printf("Configure one trunk member\n");
    const prm_status_t rc = kiv_util_lag_member_cfg(port.number[1], lag_id, configure);
    const int result = kiv_check_success_here(rc, kFile, function, here);
    kiv_printf("Adding members to trunk successful\n");
    return result;
}

int tc_kiv_cfg_bdl_member(void) {
    return configure_member(1, "tc_kiv_cfg_bdl_member", __LINE__);
}

int tc_kiv_uncfg_bdl_member(void) {
    return configure_member(0, "tc_kiv_uncfg_bdl_member", __LINE__);
}

int tc_kiv_add_bdl_members(void) {
    read_ports_and_bundle();
    kiv_printf("Add 1 trunk member\n");
    const prm_status_t rc = kiv_util_lag_set_members(2, port.number, lag_id);
    const int result = kiv_check_success_here(rc, kFile, "tc_kiv_add_bdl_members", __LINE__);
    kiv_printf("Adding members to trunk successful\n");
    return result;
}

int tc_kiv_remove_bdl_members(void) {
    read_ports_and_bundle();
    kiv_printf("Remove 1 trunk member\n");
    const prm_status_t rc = kiv_util_lag_set_members(1, port.number, lag_id);
    const int result = kiv_check_success_here(rc, kFile, "tc_kiv_remove_bdl_members", __LINE__);
    kiv_printf("Removing members to trunk successful\n");
    return result;
}

// --- Sub-interfaces ---

int tc_kiv_create_bdl_sub_interfaces(void) {
    int result = 0;
    kiv_util_read_bdl_subif_params();
    for (int i = 0; i < kBundleSubInterfaces; ++i) {
        // The NP ports are those that an earlier case read.
        const prm_status_t rc =
            kiv_util_cfg_subif(parent_ifh[i], create_ifh[i], port.number[i] & 0xFF, sub_lag_id[i],
                               ovlan.word[i], ivlan.word[i], otpid.word[i], 0, 1);
        result = kiv_check_success_here(rc, kFile, "tc_kiv_create_bdl_sub_interfaces", __LINE__);
    }
    return result;
}

int tc_kiv_modify_bdl_sub_interfaces(void) {
    int result = 0;
    kiv_util_read_bdl_subif_params();
    for (int i = 0; i < kBundleSubInterfaces; ++i) {
        kiv_util_chg_subif_encap(create_ifh[i], 0, 0, 0, 0);  // clears; the step checks
        const prm_status_t rc =
            kiv_util_chg_subif_encap(create_ifh[i], ovlan.word[i], ivlan.word[i], otpid.word[i], 0);
        result = kiv_check_success_here(rc, kFile, "tc_kiv_modify_bdl_sub_interfaces", __LINE__);
    }
    return result;
}

// Adds the second NP port to both bundle sub-interfaces, or removes it from them.
static int set_member_port(u32 add, const char *function, int here) {
    kiv_util_read_np_ports();
    kiv_util_read_bdl_subif_params();

    auto *const batch = prm_kiv_uidb_new<uidb_feature_batch_of<kBundleSubInterfaces>>();
    if (batch == nullptr) {
        kiv_printf("%s %d Memory allocation failed\n", function, here);
        kiv_fail_without_memory_here(kFile, function, here);
    }
    for (int i = 0; i < kBundleSubInterfaces; ++i) {
        uidb_batch_entry *const entry = &batch->entries[i];
        prm_kiv_uidb_fill_entry(entry, create_ifh[i], 0, UIDB_FEATURE_BUNDLE_SUBIF_PORT,
                                port.number[1] & 0xFF);
        entry->feature.member_add = add;
        entry->feature.member_valid = 1;
    }

    kiv_printf("Call UIDB Set feature batch\n");
    const prm_status_t rc = uidb_set_feature_batch(UIDB_CLIENT_COOKIE, &batch->head);
    const int result = kiv_check_success_here(rc, kFile, function, here);
    free(batch);
    return result;
}

int tc_kiv_add_bdl_subif_port(void) {
    return set_member_port(1, "tc_kiv_add_bdl_subif_port", __LINE__);
}

int tc_kiv_remove_bdl_subif_port(void) {
    return set_member_port(0, "tc_kiv_remove_bdl_subif_port", __LINE__);
}

int tc_kiv_delete_bdl_subifs(void) {
    int result = 0;
    kiv_util_read_bdl_subif_params();
    for (int i = 0; i < kBundleSubInterfaces; ++i) {
        const prm_status_t rc = uidb_delete_interface(UIDB_CLIENT_COOKIE, create_ifh[i]);
        result = kiv_check_success_here(rc, kFile, "tc_kiv_delete_bdl_subifs", __LINE__);
    }
    kiv_printf("Deleting sub interface successful\n");
    return result;
}

// --- MTU ---

int tc_kiv_update_bdl_mtu(void) {
    return prm_kiv_uidb_set_ip_mtu(kBundle, 1000, kFile, "tc_kiv_update_bdl_mtu", __LINE__,
                                   "Bundle mainif MTU set Successfully\n");
}

int tc_kiv_update_bdl_subif_mtu(void) {
    return prm_kiv_uidb_set_ip_mtu(kBundleSubInterface, 500, kFile, "tc_kiv_update_bdl_subif_mtu", __LINE__,
                                   "Bundle Subif MTU set Successfully\n");
}
