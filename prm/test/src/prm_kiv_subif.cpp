// Sub-interfaces: the steps that create, re-encapsulate and delete one, and the cases that do so with the
// four of the input files, as layer-3 and as layer-2 interfaces.
#include "prm_kiv_subif.h"

#include <stdlib.h>

#include "kiv.h"
#include "platform_info.h"
#include "prm_kiv_check.h"
#include "prm_kiv_input.h"
#include "prm_kiv_main.h"
#include "prm_kiv_uidb.h"
#include "uidb.h"

static const char kFile[] = "prm/test/src/prm_kiv_subif";

enum { kSubInterfaces = 4 };

// Allocates one direction's statistics pointer; 0 when none is granted.
static u32 allocate_statistics(u32 direction, int line) {
    u32 pointer = 0;
    const prm_status_t rc = kiv_util_intf_stats_alloc(direction, &pointer);
    kiv_check_success_fixed(rc, kFile, "kiv_util_cfg_subif", line);
    return pointer;
}

// Sends where a new sub-interface belongs (`membership`: NP port or bundle) and its statistics pointers.
static void set_membership_and_statistics(u32 sub_ifh, u32 membership, u32 number, u32 ingress, u32 egress) {
    auto *const batch = prm_kiv_uidb_new<uidb_feature_batch_of<3>>();
    if (batch == nullptr) {
        kiv_printf("%s %d Memory allocation failed\n", "kiv_util_cfg_subif", 69);
        kiv_fail_without_memory_fixed(kFile, "kiv_util_cfg_subif", 70);
    }
    prm_kiv_uidb_fill_entry(&batch->entries[0], sub_ifh, 0, membership, number & 0xFF);
    prm_kiv_uidb_fill_entry(&batch->entries[1], sub_ifh, UIDB_QUALIFIER_INGRESS, UIDB_FEATURE_STATS_POINTER,
                            ingress);
    prm_kiv_uidb_fill_entry(&batch->entries[2], sub_ifh, UIDB_QUALIFIER_EGRESS, UIDB_FEATURE_STATS_POINTER,
                            egress);

    kiv_printf("Call UIDB Set feature batch\n");
    const prm_status_t rc = kiv_util_uidb_set_feature_batch(UIDB_CLIENT_COOKIE, &batch->head);
    kiv_check_success_fixed(rc, kFile, "kiv_util_cfg_subif", 113);
    free(batch);
}

// Lines that a step reports under.
struct Lines {
    int no_memory;
    int check;
};

// Sends a sub-interface's layer-2 flag and encapsulation; the status of the call.
static prm_status_t set_encapsulation(u32 sub_ifh, u32 outer_vlan, u32 inner_vlan, u32 outer_tpid,
                                      u32 l2_flag, u32 tags, const char *function, Lines lines) {
    auto *const message = prm_kiv_uidb_new<uidb_client_data_of<5>>(sub_ifh);
    if (message == nullptr) {
        kiv_printf("Malloc Failed for uidb_client_data \n");
        kiv_fail_without_memory_fixed(kFile, function, lines.no_memory);
    }
    prm_kiv_uidb_fill(&message->features[0], 0, UIDB_FEATURE_L2, l2_flag);
    prm_kiv_uidb_fill(&message->features[1], 0, UIDB_FEATURE_OUTER_TPID, outer_tpid);
    prm_kiv_uidb_fill(&message->features[2], 0, UIDB_FEATURE_OUTER_VLAN, outer_vlan);
    prm_kiv_uidb_fill(&message->features[3], 0, UIDB_FEATURE_INNER_VLAN, inner_vlan);
    prm_kiv_uidb_fill(&message->features[4], 0, UIDB_FEATURE_VLAN_TAGS, tags);

    kiv_printf("Call UIDB Set feature\n");
    const prm_status_t rc = uidb_set_feature(UIDB_CLIENT_COOKIE, &message->head);
    kiv_check_success_fixed(rc, kFile, function, lines.check);
    free(message);
    return rc;
}

// Enables IPv4 on a new layer-3 sub-interface; the status of the call.
static prm_status_t enable_ipv4(u32 sub_ifh) {
    auto *const batch = prm_kiv_uidb_new<uidb_feature_batch_of<1>>();
    if (batch == nullptr) {
        kiv_printf("%s %d Memory allocation failed\n", "kiv_util_cfg_subif", 191);
        kiv_fail_without_memory_fixed(kFile, "kiv_util_cfg_subif", 192);
    }
    prm_kiv_uidb_fill_entry(&batch->entries[0], sub_ifh, 0, UIDB_FEATURE_IPV4_ENABLE, 1);

    kiv_printf("Call UIDB Set feature batch\n");
    const prm_status_t rc = kiv_util_uidb_set_feature_batch(UIDB_CLIENT_COOKIE, &batch->head);
    kiv_check_success_fixed(rc, kFile, "kiv_util_cfg_subif", 216);
    kiv_printf("kiv_util_uidb_set_feature_batch called rc: 0x%x\n", rc);
    free(batch);
    return rc;
}

prm_status_t kiv_util_cfg_subif(u32 parent, u32 sub_ifh, u32 np_port, u32 bundle_id, u32 outer_vlan,
                                u32 inner_vlan, u32 outer_tpid, u32 l2_flag, u32 bundle_flag) {
    const prm_status_t created = kiv_util_create_single_interface(np_port & 0xFF, parent, sub_ifh);
    kiv_check_success_fixed(created, kFile, "kiv_util_cfg_subif", 48);
    kiv_printf("subif creation successful\n");  // whatever the status

    const u32 ingress = allocate_statistics(PRM_STATS_INGRESS, 52);
    kiv_printf("Ingress Intf Stats Ptr allocated Ptr: 0x%x\n", ingress);
    const u32 egress = allocate_statistics(PRM_STATS_EGRESS, 57);
    kiv_printf("Egress Intf Stats Ptr allocated Ptr: 0x%x\n", egress);

    if (bundle_flag != 0)
        set_membership_and_statistics(sub_ifh, UIDB_FEATURE_LAG_ID, bundle_id, ingress, egress);
    else
        set_membership_and_statistics(sub_ifh, UIDB_FEATURE_NP_PORT, np_port, ingress, egress);

    // At least one tag here, also when the outer VLAN is 0.
    const u32 tags = inner_vlan != 0 ? 2 : 1;
    const prm_status_t encapsulated = set_encapsulation(sub_ifh, outer_vlan, inner_vlan, outer_tpid, l2_flag,
                                                        tags, "kiv_util_cfg_subif", {127, 172});
    if (l2_flag != 0) return encapsulated;
    return enable_ipv4(sub_ifh);
}

prm_status_t kiv_util_chg_subif_encap(u32 sub_ifh, u32 outer_vlan, u32 inner_vlan, u32 outer_tpid,
                                      u32 l2_flag) {
    const u32 tags = outer_vlan == 0 ? 0 : inner_vlan != 0 ? 2 : 1;
    return set_encapsulation(sub_ifh, outer_vlan, inner_vlan, outer_tpid, l2_flag, tags,
                             "kiv_util_chg_subif_encap", {242, 287});
}

prm_status_t kiv_util_delete_subif(u32 sub_ifh) {
    // The client's handle stands in for the cookie here.
    return uidb_delete_interface(reinterpret_cast<uintptr_t>(prm_async_handle), sub_ifh);
}

prm_status_t kiv_util_get_bvi_uidb(u32 *bvi) {
    const u32 type = platform_get_my_card_type();
    if (is_veltora_family() != 0) {
        *bvi = UIDB_BVI_INDEX_VELTORA;
        return CERR_SUCCESS;
    }
    if (type == PLATFORM_CARD_TYPE_A || type == PLATFORM_CARD_TYPE_B) {
        *bvi = UIDB_BVI_INDEX;
        return CERR_SUCCESS;
    }
    kiv_printf("\nINVALID CARD TYPE\n");
    return PRM_KIV_INVALID_PARAM_STATUS;
}

// Creates the four sub-interfaces, two on each main interface.
static int create_sub_interfaces(u32 l2_flag, const char *function, int line) {
    int result = 0;
    kiv_util_read_subif_params(1);
    for (int i = 0; i < kSubInterfaces; ++i) {
        const int main_interface = i / 2;
        const prm_status_t rc =
            kiv_util_cfg_subif(parent_ifh[main_interface], create_ifh[i], port.byte[main_interface], 0,
                               ovlan.word[i], ivlan.word[i], otpid.word[i], l2_flag, 0);
        result = kiv_check_success_fixed(rc, kFile, function, line);
    }
    return result;
}

int tc_kiv_create_sub_interfaces(void) {
    return create_sub_interfaces(0, "tc_kiv_create_sub_interfaces", 432);
}

int tc_kiv_create_l2_sub_interfaces(void) {
    return create_sub_interfaces(1, "tc_kiv_create_l2_sub_interfaces", 449);
}

static int modify_sub_interfaces(u32 l2_flag, const char *function, int line) {
    int result = 0;
    kiv_util_read_subif_params(0);
    for (int i = 0; i < kSubInterfaces; ++i) {
        kiv_util_chg_subif_encap(create_ifh[i], 0, 0, 0, l2_flag);  // clears; the step checks
        const prm_status_t rc =
            kiv_util_chg_subif_encap(create_ifh[i], ovlan.word[i], ivlan.word[i], otpid.word[i], l2_flag);
        result = kiv_check_success_fixed(rc, kFile, function, line);
    }
    return result;
}

int tc_kiv_modify_sub_interfaces(void) {
    return modify_sub_interfaces(0, "tc_kiv_modify_sub_interfaces", 485);
}

int tc_kiv_modify_l2_sub_interfaces(void) {
    return modify_sub_interfaces(1, "tc_kiv_modify_l2_sub_interfaces", 502);
}

int tc_kiv_delete_sub_interfaces(void) {
    int result = 0;
    kiv_util_read_subif_params(0);
    for (int i = 0; i < kSubInterfaces; ++i) {
        const prm_status_t rc = kiv_util_delete_subif(create_ifh[i]);
        result = kiv_check_success_fixed(rc, kFile, "tc_kiv_delete_sub_interfaces", 535);
    }
    return result;
}
