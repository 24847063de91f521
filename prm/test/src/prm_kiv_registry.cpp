// Registration: every folder, fixture and case of the suite, in the order that the run follows.
//
// The order within a folder is part of the design: a case may use what an earlier one created or read.
#include "prm_kiv_registry.h"

#include "prm_kiv_acl.h"
#include "prm_kiv_bvi.h"
#include "prm_kiv_input.h"
#include "prm_kiv_label.h"
#include "prm_kiv_lag.h"
#include "prm_kiv_lpts.h"
#include "prm_kiv_main.h"
#include "prm_kiv_nr_ldi.h"
#include "prm_kiv_qos.h"
#include "prm_kiv_route.h"
#include "prm_kiv_span.h"
#include "prm_kiv_stats_alloc_read.h"
#include "prm_kiv_subif.h"
#include "prm_kiv_tcam.h"
#include "prm_kiv_tx_adj.h"
#include "prm_kiv_uidb.h"
#include "prm_kiv_vpls.h"
#include "prm_kiv_vxlan.h"
#include "prm_kiv_xconnect.h"

struct Registration {
    const char *name;
    const char *description;
    kiv_function_t function;
    int mode;
};

enum { AUTO = KIV_MODE_AUTOMATIC, MANUAL = KIV_MODE_MANUAL };

// clang-format off
#define CASE(function, description, mode) {#function, description, function, mode}
#define NAMED(name, function, description, mode) {name, description, function, mode}
#define REWRITE_CASE(function, source_op, destination_op, line) CASE(function, #function, MANUAL),

static const Registration kL2BundleCases[] = {
    CASE(tc_kiv_create_bdl_l2_main_if, "Configures Bundle Main Interface", AUTO),
    CASE(tc_kiv_cfg_bdl_member, "cfg Bundle Member", AUTO),
    CASE(tc_kiv_add_bdl_members, "Add Bundle Members", AUTO),
    CASE(tc_kiv_remove_bdl_members, "Remove Bundle Members", AUTO),
    CASE(tc_kiv_uncfg_bdl_member, "uncfg Bundle Member", AUTO),
    CASE(tc_kiv_delete_bdl_main_if, "Delete Bundle Main interface", AUTO),
};

static const Registration kL3BundleCases[] = {
    CASE(tc_kiv_create_bdl_l3_main_if, "Configures Bundle Main Interface", AUTO),
    CASE(tc_kiv_cfg_bdl_member, "cfg Bundle Member", AUTO),
    CASE(tc_kiv_add_bdl_members, "Add Bundle Members", AUTO),
    CASE(tc_kiv_remove_bdl_members, "Remove Bundle Members", AUTO),
    CASE(tc_kiv_uncfg_bdl_member, "uncfg Bundle Member", AUTO),
    CASE(tc_kiv_create_bdl_sub_interfaces, "Configures bundle Sub interfaces", AUTO),
    CASE(tc_kiv_modify_bdl_sub_interfaces, "Configures bundle Sub interfaces", AUTO),
    CASE(tc_kiv_add_bdl_subif_port, "Add Ports to Bundle Sub interfaces", AUTO),
    CASE(tc_kiv_remove_bdl_subif_port, "Remove Ports from Bundle Sub interfaces", AUTO),
    CASE(tc_kiv_delete_bdl_subifs, "Delete Bundle Sub interface", AUTO),
    CASE(tc_kiv_delete_bdl_main_if, "Delete Bundle Main interface", AUTO),
};

static const Registration kBundleCases[] = {
    CASE(tc_kiv_update_bdl_mtu, "Configures MTU on Bundle Main Interface", AUTO),
    CASE(tc_kiv_update_bdl_subif_mtu, "Configures MTU on Bundle Sub Interface", AUTO),
};

static const Registration kSubInterfaceCases[] = {
    CASE(tc_kiv_create_sub_interfaces, "Configures Sub interfaces", AUTO),
    CASE(tc_kiv_modify_sub_interfaces, "Encap change on Sub interfaces", AUTO),
    CASE(tc_kiv_delete_sub_interfaces, "Delete Sub interfaces", AUTO),
};

static const Registration kL2SubInterfaceCases[] = {
    CASE(tc_kiv_create_l2_sub_interfaces, "Configures Sub interfaces", AUTO),
    CASE(tc_kiv_modify_l2_sub_interfaces, "Encap change on Sub interfaces", AUTO),
    CASE(tc_kiv_delete_sub_interfaces, "Delete Sub interfaces", AUTO),
};

// The MPLS statistics and label-entry cases are registered after the LPTS folder: a table of their own.
static const Registration kGeneralCases[] = {
    CASE(tc_kiv_update_mainif_mtu, "Condigures MTU for main interfaces", AUTO),
    CASE(tc_kiv_update_subif_mtu, "Configures MTU for ST 0x8100 Sub interface", AUTO),
    CASE(tc_kiv_uidb_ipv4_enable, "Checks IPv4 Enable", AUTO),
    CASE(tc_kiv_uidb_ipv4_disable, "Checks IPv4 Disable", AUTO),
    CASE(tc_kiv_uidb_mpls_enable, "Checks MPLS enable functionality", AUTO),
    CASE(tc_kiv_uidb_mpls_disable, "Checks MPLS disable functionality", AUTO),
    CASE(tc_kiv_nr_ldi_add, "Checks nr ldi Add", AUTO),
    CASE(tc_kiv_nr_ldi_del, "Checks nr ldi Delete", AUTO),
    CASE(tc_kiv_nr_ldi_add_mpls, "Checks nr ldi Add for MPLS", AUTO),
    CASE(tc_kiv_nr_ldi_del_mpls, "Checks nr ldi Delete for MPLS", AUTO),
    CASE(tc_kiv_nr_ldi_buddy_reserve, "Checks nr ldi buddy reserve", AUTO),
    CASE(tc_prm_v4_leaf_reserve, "Checks IPv4 Leaf Reserve", AUTO),
    CASE(tc_prm_v4_leaf_add, "Checks Add leaf entry", AUTO),
    CASE(tc_prm_v4_leaf_delete, "Checks Delete leaf entry", AUTO),
    CASE(tc_prm_v4_leaf_mpath_add, "Checks Add leaf entry", AUTO),
    CASE(tc_prm_v4_leaf_delete, "Checks Delete leaf entry", AUTO),
    CASE(tc_prm_v6_leaf_reserve, "Checks IPv6 Leaf Reserve", AUTO),
    CASE(tc_prm_v6_leaf_add, "Checks IPv6 Add leaf entry", AUTO),
    CASE(tc_prm_v6_leaf_delete, "Checks IPv6 Delete leaf entry", AUTO),
    CASE(tc_kiv_tx_adj_add, "Checks TX adj add", MANUAL),
    CASE(tc_kiv_tx_adj_del, "Checks TX adj add", MANUAL),
    CASE(tc_kiv_tx_adj_modify, "Checks TX adj add modify", MANUAL),
    CASE(tc_kiv_tx_adj_add_uidb_get_fail, "Checks TX adj add uidb get fail", MANUAL),
    CASE(tc_kiv_tx_adj_add_misc, "Checks TX adj add misc", MANUAL),
    CASE(tc_kiv_tx_adj_add_punt, "Checks TX adj add punt ", MANUAL),
    CASE(tc_kiv_tx_adj_add_null0, "Checks TX adj add null0", MANUAL),
    CASE(tc_kiv_tx_adj_add_drop_nh, "Checks TX adj add drop nh", MANUAL),
    CASE(tc_kiv_tx_adj_del_all, "Checks TX adj add drop nh", MANUAL),
    CASE(tc_kiv_tx_adj_buddy_reserve, "Checks TX adj buddy reserve", MANUAL),
    CASE(tc_mpls_leaf_buddy_reserve, "Checks MPLS label Reserve", AUTO),
    CASE(tc_mpls_leaf_buddy_release, "Checks MPLS label Release", AUTO),
    CASE(tc_mpls_fwding_chain_create_pop, "Checks MPLS label chain POP", AUTO),
    CASE(tc_mpls_fwding_chain_create_swap, "Checks MPLS label chain Swap", AUTO),
    CASE(tc_mpls_fwding_chain_create_push, "Checks MPLS label chain push", AUTO),
    CASE(tc_mpls_fwding_chain_create_pop_eos0, "Checks MPLS label chain POP for EOS0", AUTO),
    CASE(tc_mpls_fwding_chain_create_swap_eos0, "Checks MPLS label chain Swap for EOS0", AUTO),
    CASE(tc_mpls_fwding_chain_create_push_eos0, "Checks MPLS label chain push for EOS0", AUTO),
    CASE(tc_mpls_fwding_chain_create_pop_to_swap, "Checks MPLS label chain POP to SWAP", AUTO),
    CASE(tc_mpls_fwding_chain_create_swap_to_pop, "Checks MPLS label chain SWAP to POP", AUTO),
};

static const Registration kGeneralLabelCases[] = {
    CASE(tc_prm_mpls_stats_alloc, "Checks MPLS stats_ptr allocation", AUTO),
    CASE(tc_prm_mpls_leaf_add, "Checks MPLS label Entry Add", AUTO),
    CASE(tc_prm_mpls_leaf_del, "Checks MPLS label Entry Delete", AUTO),
    CASE(tc_prm_mpls_leaf_add_eos0, "Checks MPLS label Entry Add for EOS0", AUTO),
    CASE(tc_prm_mpls_leaf_del_eos0, "Checks MPLS label Entry Delete for EOS0", AUTO),
};

static const Registration kLptsCases[] = {
    CASE(tc_kiv_lpts_v4_entry_add, "Checks LPTS add for V4 case", AUTO),
    CASE(tc_kiv_lpts_v4_entry_read, "Checks reading of LPTS from hardware", AUTO),
    CASE(tc_kiv_lpts_invalid_entry_read, "Attempts to read and invalid LPTS entry", AUTO),
    CASE(tc_kiv_lpts_entry_delete, "Attempts to delete LPTS entry", AUTO),
    CASE(tc_kiv_lpts_invalid_entry_delete, "Attempts to delete an invalid LPTS entry", AUTO),
    CASE(tc_kiv_lpts_v6_entry_add, "Checks LPTS add for V6 case", AUTO),
    CASE(tc_kiv_lpts_v6_entry_read, "Checks reading of V6 LPTS from hardware", AUTO),
};

static const Registration kL2Cases[] = {
    CASE(tc_kiv_uidb_l2_enable, "Enables l2 flag", AUTO),
    CASE(tc_kiv_uidb_l2_disable, "Disables l2 flag", AUTO),
    CASE(tc_kiv_xconnect_add_locsw, "xconnect add local switching", AUTO),
    CASE(tc_kiv_xconnect_encap_chg_locsw, "xconnect add local switching", AUTO),
    CASE(tc_kiv_xconnect_remove_locsw, "xconnect remove local switching", AUTO),
    CASE(tc_kiv_xconnect_add_locsw_with_push1_rw, "xconnect add local switching", AUTO),
    CASE(tc_kiv_xconnect_add_locsw_with_pop1_rw, "xconnect add local switching", AUTO),
    CASE(tc_kiv_xconnect_add_locsw_with_swap11_rw, "xconnect add local switching", AUTO),
    KIV_XCONNECT_REWRITE_CASES(REWRITE_CASE)
    CASE(tc_kiv_xconnect_add_l2p_x_pw, "xconnect add l2port_to_pw", AUTO),
    CASE(tc_kiv_xconnect_remove_l2p_x_pw, "xconnect remove l2port_to_pw", AUTO),
    CASE(tc_kiv_vpls_xconnect_add_l2p_x_pw, "xconnect add l2port_to_pw", AUTO),
    CASE(tc_kiv_vpls_xconnect_remove_l2p_x_pw, "xconnect remove l2port_to_pw", AUTO),
};

static const Registration kVplsCases[] = {
    CASE(tc_kiv_vpls_create_bd_with_ac, "add BD with AC", MANUAL),
    CASE(tc_kiv_vpls_add_ac, "add AC in BD", MANUAL),
    CASE(tc_kiv_vpls_mod_ac, "modify AC ", MANUAL),
    CASE(tc_kiv_vpls_del_ac, "del AC in BD", MANUAL),
    CASE(tc_kiv_vpls_del_bd_with_ac, "del BD with AC", MANUAL),
};

static const Registration kVxlanCases[] = {
    CASE(tc_kiv_vxlan_bd_add, "add vxlan BD", MANUAL),
    CASE(tc_kiv_vxlan_bd_del, "del vxlan BD", MANUAL),
    CASE(tc_kiv_vxlan_ac_bind, "vxlan ac bind", MANUAL),
    CASE(tc_kiv_vxlan_ac_unbind, "vxlan ac unbind", MANUAL),
    CASE(tc_kiv_vxlan_vplag_add, "add vxlan vplag", MANUAL),
    CASE(tc_kiv_vxlan_vplag_member_set, "set vxlan vplag members", MANUAL),
    CASE(tc_kiv_vxlan_vplag_del, "del vxlan vplag", MANUAL),
    CASE(tc_kiv_evpn_mac_install, "install evpn mac", MANUAL),
    CASE(tc_kiv_evpn_mac_uninstall, "del evpn mac", MANUAL),
    CASE(tc_kiv_fpem_shg_df_add, "add shg add", MANUAL),
    CASE(tc_kiv_fpem_shg_df_del, "add shg del", MANUAL),
    CASE(tc_kiv_vxlan_ole_add, "Checks OLE TX adj add", MANUAL),
    CASE(tc_kiv_vxlan_ole_mod, "Checks OLE TX adj mod", MANUAL),
    CASE(tc_kiv_vxlan_ole_del, "Checks OLE TX adj del", MANUAL),
    CASE(tc_kiv_vxlan_vsp_ac_bind, "vxlan vsp ac bind", MANUAL),
    CASE(tc_kiv_vxlan_vsp_ac_unbind, "vxlan vsp ac unbind", MANUAL),
};

static const Registration kBviCases[] = {
    CASE(tc_kiv_bvI_with_ac_main_port_in_bd_bvi_bind_first, "xconnect add bvi to bd", MANUAL),
    CASE(tc_kiv_bvI_with_ac_main_port_in_bd_ac_bind_first, "xconnect add bvi to bd II", MANUAL),
    CASE(tc_kiv_bvi_vrf_and_mac_modify, "BVI VRF and MAC modify", MANUAL),
    CASE(tc_kiv_bvi_cleanup, "BVI in BD clean up", MANUAL),
};

static const Registration kSpanManualCases[] = {
    CASE(prm_kiv_span_enable, "Enable SPAN on router", MANUAL),
    CASE(prm_kiv_span_disable, "Disable SPAN on router", MANUAL),
    CASE(prm_kiv_span_session_create, "SPAN session create", MANUAL),
    CASE(prm_kiv_span_session_destroy, "SPAN session destroy", MANUAL),
    CASE(prm_kiv_span_all_sessions_create, "SPAN all sessions create", MANUAL),
    CASE(prm_kiv_span_all_sessions_destroy, "SPAN all sessions destroy", MANUAL),
    CASE(prm_kiv_span_port_add, "SPAN Port add", MANUAL),
    CASE(prm_kiv_span_port_delete, "SPAN Port delete", MANUAL),
};

static const Registration kSpanSessionCases[] = {
    CASE(prm_kiv_span_session_create_destroy, "SPAN session create and destroy", AUTO),
    CASE(prm_kiv_span_invalid_session_valid_dest_port, "SPAN session create and destroy", AUTO),
    CASE(prm_kiv_span_valid_session_invalid_dest_port, "SPAN session create and destroy", AUTO),
    CASE(prm_kiv_span_session_destroy_when_port_present, "SPAN session create and destroy", MANUAL),
};

static const Registration kSpanPortCases[] = {
    CASE(prm_kiv_span_port_add_delete, "SPAN source ports add delete", MANUAL),
    CASE(prm_kiv_span_port_add_invalid_session, "Valid source port add + Invalid session id", MANUAL),
    CASE(prm_kiv_span_port_delete_invalid_session, "Valid source port delete + Invalid session id", MANUAL),
    CASE(prm_kiv_span_port_add_delete_invalid_ifh, "span port add delete with invalid ifh", AUTO),
    CASE(prm_kiv_span_port_add_delete_invalid_dir, "span port add delete with invalid direction", MANUAL),
    CASE(prm_kiv_span_port_add_delete_l3_subintf, "span port add delete with l3 subinterface", MANUAL),
};

static const Registration kSpanMiscCases[] = {
    CASE(prm_kiv_span_port_add_valid_but_nonexistent_session, "span port add + valid but nonexistent session", MANUAL),
    CASE(prm_kiv_span_port_delete_valid_but_nonexistent_session, "span port delete + valid but nonexistent session", MANUAL),
};

static const Registration kAclCases[] = {
    NAMED("create", tc_kiv_acl_tcam_create, "ACL create test case", AUTO),
    NAMED("modify", tc_kiv_acl_tcam_modify, "ACL modify test case", AUTO),
    NAMED("neg_create_null_prm_info", tc_kiv_acl_tcam_create_null_info_ptr, "ACL NULL prm info", AUTO),
    NAMED("neg_create_null_vmr", tc_kiv_acl_tcam_create_null_vmr_ptr, "ACL NULL vmr", AUTO),
    NAMED("neg_create_invalid_feature_id", tc_kiv_acl_tcam_create_invalid_fea_id, "ACL Invalid feature id", AUTO),
    NAMED("neg_create_invalid_port_number", tc_kiv_acl_tcam_create_invalid_port_num, "ACL Invalid port number", AUTO),
    NAMED("neg_create_invalid_value_mask_key_size", tc_kiv_acl_tcam_create_invalid_value_mask_key_sz, "ACL Invalid value mask key size", AUTO),
    NAMED("neg_create_invalid_result_key_size", tc_kiv_acl_tcam_create_invalid_result_key_sz, "ACL Invalid result key size", AUTO),
    NAMED("neg_create_invalid_no_of_entries", tc_kiv_acl_tcam_create_invalid_nr_entries, "ACL Invalid number of ace entries", AUTO),
    NAMED("neg_create_invalid_operation_code", tc_kiv_acl_tcam_create_invalid_opcode, "ACL Invalid operation code", AUTO),
    NAMED("neg_insert_null_prm_info", tc_kiv_acl_tcam_insert_null_info_ptr, "ACL NULL prm info ", AUTO),
    NAMED("neg_insert_null_vmr", tc_kiv_acl_tcam_insert_null_vmr_ptr, "ACL NULL VMR ptr ", AUTO),
    NAMED("neg_insert_invalid_feature_id", tc_kiv_acl_tcam_insert_invalid_fea_id, "ACL invalid feature id", AUTO),
    NAMED("neg_insert_invalid_vmr_id", tc_kiv_acl_tcam_insert_invalid_vmr_id, "ACL invalid vmr id ", AUTO),
    NAMED("neg_insert_invalid_port_number", tc_kiv_acl_tcam_insert_invalid_port_num, "ACL invalid port number", AUTO),
    NAMED("neg_insert_invalid_no_of_entries", tc_kiv_acl_tcam_insert_invalid_nr_entries, "ACL invalid no of entries ", AUTO),
    NAMED("neg_insert_invalid_operation_code", tc_kiv_acl_tcam_insert_invalid_opcode, "ACL invalid opcode ", AUTO),
    NAMED("neg_insert_invalid_ace_index", tc_kiv_acl_tcam_insert_invalid_ace_index, "ACL invalid ace index ", AUTO),
    NAMED("neg_delete_null_prm_info", tc_kiv_acl_tcam_delete_null_info_ptr, "ACL NULL prm info ", AUTO),
    NAMED("neg_delete_invalid_feature_id", tc_kiv_acl_tcam_delete_invalid_fea_id, "ACL invalid feature id ", AUTO),
    NAMED("neg_delete_invalid_vmr_id", tc_kiv_acl_tcam_delete_invalid_vmr_id, "ACL invalid vmr id ", AUTO),
    NAMED("neg_delete_invalid_port_number", tc_kiv_acl_tcam_delete_invalid_port_num, "ACL invalid port number ", AUTO),
    NAMED("neg_delete_invalid_no_of_entries", tc_kiv_acl_tcam_delete_invalid_nr_entries, "ACL invalid number of entries ", AUTO),
    NAMED("neg_delete_invalid_ace_index", tc_kiv_acl_tcam_delete_invalid_ace_index, "ACL invalid ace index ", AUTO),
    NAMED("neg_destroy_null_prm_info", tc_kiv_acl_tcam_destroy_null_info_ptr, "ACL NULL prm info ", AUTO),
    NAMED("neg_destroy_invalid_feature_id", tc_kiv_acl_tcam_destroy_invalid_fea_id, "ACL Invalid feature id ", AUTO),
    NAMED("neg_destroy_invalid_vmr_id", tc_kiv_acl_tcam_destroy_invalid_vmr_id, "ACL Invalid vmr id", AUTO),
};

static const Registration kQosCases[] = {
    NAMED("stats", tc_kiv_qos_stats_create, "create stats ", AUTO),
    NAMED("policer", tc_kiv_qos_police_create, "create policer ", AUTO),
    NAMED("policer_pps", tc_kiv_qos_police_create_for_pps, "create pps policer ", AUTO),
    NAMED("match_cos", tc_kiv_qos_tcam_cos_create, "Match on cos with 2 Policer Confirm Actions", AUTO),
    NAMED("match_prec", tc_kiv_qos_tcam_prec_create, "Match on v4Prec with 2 Policer Confirm/Exceed Actions", AUTO),
    NAMED("match_protocol", tc_kiv_qos_tcam_protocol_create, "Match on OSPFv6 with policer & 2 confirm actions", AUTO),
    NAMED("match_exp", tc_kiv_qos_tcam_exp_create, "Match on EXP with 2 police pps Confirm/Exceed actions", AUTO),
    NAMED("match_acl1", tc_kiv_qos_tcam_acl1_create, "Match on v4ACL1 { SrcIP,DstIP, L4 Src/Dst Ports }", AUTO),
    NAMED("match_acl2", tc_kiv_qos_tcam_acl2_create, "Match on v6ACL2 { SrcIP, DstIP, Fragment }", AUTO),
    NAMED("neg_create_null_prm_info", tc_kiv_qos_tcam_create_null_info_ptr, "QOS prm NULL info", AUTO),
    NAMED("neg_create_null_vmr", tc_kiv_qos_tcam_create_null_vmr_ptr, "QOS NULL vmr", AUTO),
    NAMED("neg_create_invalid_feature_id", tc_kiv_qos_tcam_create_invalid_fea_id, "QOS Invalid feature id", AUTO),
    NAMED("neg_create_invalid_port_number", tc_kiv_qos_tcam_create_invalid_port_num, "QOS Invalid port number", AUTO),
    NAMED("neg_create_invalid_value_mask_key_size", tc_kiv_qos_tcam_create_invalid_value_mask_key_sz, "QOS Invalid value mask key size", AUTO),
    NAMED("neg_create_invalid_result_key_size", tc_kiv_qos_tcam_create_invalid_result_key_sz, "QOS Invalid result key size", AUTO),
    NAMED("neg_create_invalid_no_of_entries", tc_kiv_qos_tcam_create_invalid_nr_entries, "QOS Invalid number of ace entries", AUTO),
    NAMED("neg_create_invalid_operation_code", tc_kiv_qos_tcam_create_invalid_opcode, "QOS Invalid operation code", AUTO),
    NAMED("neg_destroy_null_prm_info", tc_kiv_qos_tcam_destroy_null_info_ptr, "QOS NULL prm info", AUTO),
    NAMED("neg_destroy_invalid_feature_id", tc_kiv_qos_tcam_destroy_invalid_fea_id, "QOS Invalid feature id", AUTO),
    NAMED("neg_destroy_invalid_vmr_id", tc_kiv_qos_tcam_destroy_invalid_vmr_id, "QOS Invalid vmr id", AUTO),
    NAMED("spq_lls_port", tc_kiv_qos_sp_queue_lls_port, "Strict Priority Queue on LLS port", AUTO),
    NAMED("spq_hsp_port", tc_kiv_qos_sp_queue_hsp_port, "Strict Priority Queue on HSP port", AUTO),
    NAMED("spq_random_pri", tc_kiv_qos_sp_queue_random_pri, "SP Queue with Random Priority", AUTO),
    NAMED("spq_multi_p1_pri", tc_kiv_qos_sp_queue_multi_p1_pri, "SP Queue with Multi P1 Priority", AUTO),
    NAMED("scale_sp_queue_on_all_ports", tc_kiv_qos_egr_scale_sp_queue, "Scale Test Configure Strict Priority on all Ports", AUTO),
    NAMED("egr_cc_dealloc_fp_q", tc_kiv_qos_egr_deallocate_fp_q, "Egress QoS Code Coverage Case Deallocate Def Queue", AUTO),
    NAMED("egr_cc_conf_port_shaper", tc_kiv_qos_egr_conf_port_shaper, "Egress QoS Code Coverage Case Config Port Shaper", AUTO),
    NAMED("egr_cc_remove_port_shaper", tc_kiv_qos_egr_remove_port_shaper, "Egress QoS Code Coverage Case Remove Port Shaper", AUTO),
    NAMED("egr_cc_get_tm_info", tc_kiv_qos_egr_get_tm_info, "Egress QoS Code Coverage Case Get TM Info", AUTO),
    NAMED("egr_cc_def_case", tc_kiv_qos_egr_def_case, "Egress QoS Code Coverage Case Default Case", AUTO),
    NAMED("egr_cc_pol_hdl", tc_kiv_qos_egr_pol_hdl, "Egress QoS Negative Case Police Handle", AUTO),
    NAMED("egr_neg_case_invalid_mqc_lvl", tc_kiv_qos_egr_invalid_mqc_lvl, "Egress QoS Negative Case Invalid MQC level", AUTO),
    NAMED("egr_neg_invalid_np_id", tc_kiv_qos_egr_invalid_np_id, "Egress QoS Negative Case Invalid NP id", AUTO),
    NAMED("egr_neg_queue_ingress_dir", tc_kiv_qos_egr_queue_ingress_dir, "Egress QoS Negative Case Queue Create in Ingress Dir", AUTO),
    NAMED("egr_neg_invalid_ing_mqc_depth", tc_kiv_qos_egr_invalid_in_mqc_depth, "Egress QoS Negative Case Inv MQC depth Ingress Dir", AUTO),
    NAMED("egr_neg_invalid_egr_mqc_depth", tc_kiv_qos_egr_invalid_out_mqc_depth, "Egress QoS Negative Case Inv MQC depth Egress Dir", AUTO),
};

#undef CASE
#undef NAMED
#undef REWRITE_CASE
// clang-format on

template <size_t N>
static void register_cases(kiv_context_t context, kiv_folder_t folder, const Registration (&cases)[N]) {
    for (const Registration &row : cases)
        kiv_create_test_case(context, folder, row.name, row.description, row.function, row.mode);
}

static void add_connection_fixture(kiv_folder_t folder) {
    kiv_add_fixture(folder, setup_bm_prm_conn, teardown_bm_prm_conn);
}

// A top-level folder whose cases run with the connection open.
static kiv_folder_t create_connected_folder(kiv_context_t context, const char *name, const char *title) {
    const kiv_folder_t folder = kiv_create_test_folder(context, nullptr, name, title);
    add_connection_fixture(folder);
    return folder;
}

static void register_span(kiv_context_t context) {
    const kiv_folder_t span = create_connected_folder(context, "span", "SPAN");

    const kiv_folder_t manual = kiv_create_test_folder(context, span, "manual", "manual test cases");
    register_cases(context, manual, kSpanManualCases);

    const kiv_folder_t session =
        kiv_create_test_folder(context, span, "session", "PRM KIV SPAN session oper");
    kiv_add_fixture(session, prm_kiv_span_enable, prm_kiv_span_disable);
    register_cases(context, session, kSpanSessionCases);

    const kiv_folder_t port = kiv_create_test_folder(context, span, "port", "PRM KIV SPAN port oper");
    kiv_add_fixture(port, prm_kiv_span_all_sessions_create, prm_kiv_span_all_sessions_destroy);
    register_cases(context, port, kSpanPortCases);

    const kiv_folder_t misc = kiv_create_test_folder(context, span, "misc", "PRM KIV SPAN misc");
    kiv_add_fixture(misc, prm_kiv_span_enable, prm_kiv_span_disable);
    register_cases(context, misc, kSpanMiscCases);
}

static void register_acl(kiv_context_t context, kiv_folder_t folder) {
    register_cases(context, folder, kAclCases);
}

static void register_qos(kiv_context_t context, kiv_folder_t folder) {
    register_cases(context, folder, kQosCases);
}

void prm_kiv_register(kiv_context_t context) {
    const kiv_folder_t general = kiv_create_test_folder(context, nullptr, "prm-kiv", "PRM KIV");
    const kiv_folder_t bundle = kiv_create_test_folder(context, nullptr, "prm-kiv-bdl", "PRM KIV BDL");
    const kiv_folder_t l2_bundle =
        kiv_create_test_folder(context, nullptr, "prm-kiv-l2-bdl", "PRM KIV L2 BDL");
    const kiv_folder_t l3_bundle =
        kiv_create_test_folder(context, nullptr, "prm-kiv-l3-bdl", "PRM KIV L3 BDL");
    const kiv_folder_t subif = kiv_create_test_folder(context, nullptr, "prm-kiv-subif", "PRM KIV SUBIF");
    const kiv_folder_t l2_subif =
        kiv_create_test_folder(context, nullptr, "prm-kiv-l2subif", "PRM KIV L2 SUBIF");

    add_connection_fixture(general);
    add_connection_fixture(bundle);
    add_connection_fixture(subif);
    add_connection_fixture(l2_subif);
    add_connection_fixture(l2_bundle);
    add_connection_fixture(l3_bundle);

    register_cases(context, l2_bundle, kL2BundleCases);
    register_cases(context, l3_bundle, kL3BundleCases);
    register_cases(context, bundle, kBundleCases);
    register_cases(context, subif, kSubInterfaceCases);
    register_cases(context, l2_subif, kL2SubInterfaceCases);
    register_cases(context, general, kGeneralCases);

    register_cases(context, create_connected_folder(context, "prm-lpts", "PRM LPTS"), kLptsCases);
    register_cases(context, general, kGeneralLabelCases);
    register_cases(context, create_connected_folder(context, "prm-kiv-l2", "PRM KIV L2"), kL2Cases);
    register_cases(context, create_connected_folder(context, "prm-kiv-l2-vpls", "PRM KIV L2 VPLS"),
                   kVplsCases);
    register_cases(context, create_connected_folder(context, "prm-kiv-vxlan", "PRM KIV VXLAN"), kVxlanCases);
    register_cases(context, create_connected_folder(context, "prm-kiv-bvi", "PRM KIV BVI"), kBviCases);
    register_span(context);
    register_acl(context, create_connected_folder(context, "acl", "ACL Testcases"));
    register_qos(context, create_connected_folder(context, "qos", "QOS Testcases"));
}
