// What the suite reads at a site.
#include "kivctl/site/formats.h"

namespace kivctl {
namespace {

constexpr size_t kInterfaces = 0, kParameters = 1;  // of kiv::kInputFiles

// --- Input files ---

constexpr Token kNpPortTokens[] = {{"NP_PORT", Kind::port, 16}};
constexpr Token kMainTokens[] = {
    {"INTF_NAME", Kind::text, 199}, {"NP_PORT", Kind::port, 8}, {"MAIN_IFH", Kind::existing_handle, 32}};
constexpr Token kBundleTokens[] = {{"BDL_IFH", Kind::made_handle, 32}, {"LAG_ID", Kind::decimal, 8}};
constexpr Token kBundleSubTokens[] = {{"SUB_IFH", Kind::made_handle, 32}, {"OVLAN", Kind::vlan, 32},
                                      {"IVLAN", Kind::vlan, 32},          {"OTPID", Kind::hexadecimal, 32},
                                      {"BDL_IFH", Kind::made_handle, 32}, {"LAG_ID", Kind::decimal, 8}};
constexpr Token kSubTokens[] = {{"SUB_IFH", Kind::made_handle, 32},
                                {"OVLAN", Kind::vlan, 32},
                                {"IVLAN", Kind::vlan, 32},
                                {"OTPID", Kind::hexadecimal, 32}};
constexpr Token kAdjacencyTokens[] = {{"IFH", Kind::existing_handle, 32},
                                      {"UIDB", Kind::decimal, 16},
                                      {"INTF_NAME", Kind::text, 29},
                                      {"NP_PORT", Kind::port, 32}};
constexpr Token kUidbTokens[] = {{"IFH", Kind::existing_handle, 32}, {"UIDB", Kind::decimal, 32}};
constexpr Token kCircuitTokens[] = {{"IFH", Kind::existing_handle, 32},
                                    {"OVLAN", Kind::vlan, 16},
                                    {"IVLAN", Kind::vlan, 16},
                                    {"OTPID", Kind::hexadecimal, 16},
                                    {"UIDB", Kind::decimal, 32}};
constexpr Token kRewriteTokens[] = {{"IFH", Kind::existing_handle, 32}, {"OVLAN", Kind::vlan, 16},
                                    {"IVLAN", Kind::vlan, 16},          {"OTPID", Kind::hexadecimal, 16},
                                    {"UIDB", Kind::decimal, 32},        {"ROVLAN", Kind::vlan, 16},
                                    {"RIVLAN", Kind::vlan, 16},         {"ROTPID", Kind::hexadecimal, 16}};
constexpr Token kDomainTokens[] = {{"IFH", Kind::existing_handle, 32, false},
                                   {"UIDB", Kind::decimal, 16},
                                   {"BD-ID", Kind::decimal, 32},
                                   {"ING-DIS", Kind::decimal, 1, false},
                                   {"EGR-DIS", Kind::decimal, 1, false},
                                   {"MAC_MOVE_SEC_ENABLED", Kind::decimal, 1, false},
                                   {"MAC_MOVE_SEC_ACTION", Kind::decimal, 2, false},
                                   {"MAC_LEARN_ENABLE", Kind::decimal, 1, false}};

constexpr std::string_view kBesideNpPort[] = {"INTF_NAME", "MAIN_IFH"};

constexpr Reader kNpPorts{"the NP-port reader", kInterfaces, 2, 3, kNpPortTokens, kBesideNpPort};
constexpr Reader kMains{"the main-interface reader", kInterfaces, 2, 3, kMainTokens, {}, "MAIN_IFH"};
constexpr Reader kBundles{"the bundle reader", kParameters, 1, 2, kBundleTokens};
constexpr Reader kBundleSubs{
    "the bundle sub-interface reader", kParameters, 2, 6, kBundleSubTokens, {}, "SUB_IFH"};
constexpr Reader kSubs{"the sub-interface reader", kParameters, 4, 4, kSubTokens, {}, "SUB_IFH"};
constexpr Reader kAdjacencies{"the adjacency reader", kParameters, 2, kMaxFields, kAdjacencyTokens};
constexpr Reader kUidbs{"the cross-connect reader", kParameters, 2, 2, kUidbTokens, {}, "IFH"};
constexpr Reader kCircuits{"the encapsulation reader", kParameters, 2, 5, kCircuitTokens, {}, "IFH"};
constexpr Reader kRewrites{"the rewrite reader", kParameters, 2, 8, kRewriteTokens, {}, "IFH"};
constexpr Reader kBvi{"the bridged-interface reader", kParameters, 1, 2, kUidbTokens};
constexpr Reader kDomains{"the bridge-domain reader", kParameters, 1, kMaxFields, kDomainTokens};

constexpr const Reader *kReadBundle[] = {&kNpPorts, &kBundles};
constexpr const Reader *kReadBundleSub[] = {&kBundleSubs};
constexpr const Reader *kReadBundleSubPort[] = {&kNpPorts, &kBundleSubs};
constexpr const Reader *kReadNewSub[] = {&kMains, &kSubs};
constexpr const Reader *kReadSub[] = {&kSubs};
constexpr const Reader *kReadAdjacency[] = {&kAdjacencies};
constexpr const Reader *kReadUidbs[] = {&kUidbs};
constexpr const Reader *kReadCircuits[] = {&kCircuits};
constexpr const Reader *kReadRewrites[] = {&kRewrites};
constexpr const Reader *kReadBvi[] = {&kBvi};
constexpr const Reader *kReadDomain[] = {&kDomains};

// --- Standard input ---

constexpr Token kDomainFields[] = {
    {"bridge domain", Kind::decimal, 32}, {"VNI", Kind::decimal, 24}, {"source VTEP", Kind::hexadecimal, 32}};
constexpr Token kAcFields[] = {{"bridge domain", Kind::decimal, 32}, {"uidb index", Kind::decimal, 16}};
constexpr Token kVspFields[] = {{"bridge domain", Kind::decimal, 32},
                                {"circuit xid", Kind::hexadecimal, 32},
                                {"uidb index", Kind::decimal, 16}};
constexpr Token kOleFields[] = {{"bridge domain", Kind::decimal, 32},
                                {"remote VTEP", Kind::hexadecimal, 32},
                                {"next hop", Kind::decimal, 32}};
constexpr Token kShgFields[] = {{"address or VNI", Kind::hexadecimal, 32},
                                {"interface handle", Kind::hexadecimal, 32},
                                {"is-SHG", Kind::decimal, 32}};

constexpr Input kDomainLines{Script::records, 0, kDomainFields};
constexpr Input kAcLines{Script::records, 0, kAcFields};
constexpr Input kVspLines{Script::records, 0, kVspFields};
constexpr Input kOleLines{Script::records, 0, kOleFields};
constexpr Input kVplagLines{Script::vplags, 0, {}};
constexpr Input kMacLines{Script::macs, 0, {}};
constexpr Input kShgLines{Script::records, 0, kShgFields};
constexpr Input kOneHandle{Script::handles, 1, {}};
constexpr Input kFourHandles{Script::handles, 4, {}};
constexpr Input kCountedHandles{Script::counted_handles, 0, {}};
constexpr Input kCountedSources{Script::counted_sources, 0, {}};

// --- Cases ---

// Cases of one folder that read the same.
struct Group {
    std::string_view folder;
    std::span<const Reader *const> readers;
    Input input;
    std::span<const std::string_view> names;
};

constexpr std::string_view kAdjacencyCases[] = {"tc_kiv_tx_adj_add",       "tc_kiv_tx_adj_del",
                                                "tc_kiv_tx_adj_modify",    "tc_kiv_tx_adj_add_uidb_get_fail",
                                                "tc_kiv_tx_adj_add_misc",  "tc_kiv_tx_adj_add_punt",
                                                "tc_kiv_tx_adj_add_null0", "tc_kiv_tx_adj_add_drop_nh"};
constexpr std::string_view kL2BundleCases[] = {"tc_kiv_create_bdl_l2_main_if", "tc_kiv_cfg_bdl_member",
                                               "tc_kiv_add_bdl_members",       "tc_kiv_remove_bdl_members",
                                               "tc_kiv_uncfg_bdl_member",      "tc_kiv_delete_bdl_main_if"};
constexpr std::string_view kL3BundleCases[] = {"tc_kiv_create_bdl_l3_main_if", "tc_kiv_cfg_bdl_member",
                                               "tc_kiv_add_bdl_members",       "tc_kiv_remove_bdl_members",
                                               "tc_kiv_uncfg_bdl_member",      "tc_kiv_delete_bdl_main_if"};
constexpr std::string_view kL3BundleSubCases[] = {
    "tc_kiv_create_bdl_sub_interfaces", "tc_kiv_modify_bdl_sub_interfaces", "tc_kiv_delete_bdl_subifs"};
constexpr std::string_view kL3BundleSubPortCases[] = {"tc_kiv_add_bdl_subif_port",
                                                      "tc_kiv_remove_bdl_subif_port"};
constexpr std::string_view kNewSubCases[] = {"tc_kiv_create_sub_interfaces"};
constexpr std::string_view kSubCases[] = {"tc_kiv_modify_sub_interfaces", "tc_kiv_delete_sub_interfaces"};
constexpr std::string_view kNewL2SubCases[] = {"tc_kiv_create_l2_sub_interfaces"};
constexpr std::string_view kL2SubCases[] = {"tc_kiv_modify_l2_sub_interfaces",
                                            "tc_kiv_delete_sub_interfaces"};
constexpr std::string_view kUidbCases[] = {"tc_kiv_xconnect_add_locsw", "tc_kiv_xconnect_remove_locsw"};
constexpr std::string_view kCircuitCases[] = {"tc_kiv_xconnect_encap_chg_locsw"};
constexpr std::string_view kRewriteCases[] = {
    "tc_kiv_xconnect_add_locsw_with_push1_rw",  "tc_kiv_xconnect_add_locsw_with_pop1_rw",
    "tc_kiv_xconnect_add_locsw_with_swap11_rw", "tc_kiv_xconnect_rw_st_norw_st_pop1",
    "tc_kiv_xconnect_rw_st_norw_st_push1",      "tc_kiv_xconnect_rw_st_norw_st_swap11",
    "tc_kiv_xconnect_rw_st_push1_st_push1",     "tc_kiv_xconnect_rw_st_push1_st_swap11",
    "tc_kiv_xconnect_rw_st_push1_st_swap12",    "tc_kiv_xconnect_rw_st_push2_st_push2",
    "tc_kiv_xconnect_rw_st_push2_st_swap12",    "tc_kiv_xconnect_rw_st_pop1_st_pop1",
    "tc_kiv_xconnect_rw_st_pop1_st_swap11",     "tc_kiv_xconnect_rw_st_swap11_st_swap11",
    "tc_kiv_xconnect_rw_st_swap11_st_swap12",   "tc_kiv_xconnect_rw_st_swap12_st_swap12",
    "tc_kiv_xconnect_rw_st_norw_dt_pop1",       "tc_kiv_xconnect_rw_st_norw_dt_push1",
    "tc_kiv_xconnect_rw_st_norw_dt_swap11",     "tc_kiv_xconnect_rw_st_norw_dt_swap21",
    "tc_kiv_xconnect_rw_st_norw_dt_swap12",     "tc_kiv_xconnect_rw_st_norw_dt_swap22",
    "tc_kiv_xconnect_rw_st_push1_dt_norw",      "tc_kiv_xconnect_rw_st_push1_dt_push1",
    "tc_kiv_xconnect_rw_st_push1_dt_push2",     "tc_kiv_xconnect_rw_st_push1_dt_swap11",
    "tc_kiv_xconnect_rw_st_push1_dt_swap12",    "tc_kiv_xconnect_rw_st_push1_dt_swap22",
    "tc_kiv_xconnect_rw_st_push2_dt_push1",     "tc_kiv_xconnect_rw_st_push2_dt_push2",
    "tc_kiv_xconnect_rw_st_push2_dt_swap12",    "tc_kiv_xconnect_rw_st_pop1_dt_norw",
    "tc_kiv_xconnect_rw_st_pop1_dt_pop1",       "tc_kiv_xconnect_rw_st_pop1_dt_swap11",
    "tc_kiv_xconnect_rw_st_pop1_dt_swap21",     "tc_kiv_xconnect_rw_st_swap11_dt_norw",
    "tc_kiv_xconnect_rw_st_swap11_dt_pop1",     "tc_kiv_xconnect_rw_st_swap11_dt_push1",
    "tc_kiv_xconnect_rw_st_swap11_dt_swap11",   "tc_kiv_xconnect_rw_st_swap11_dt_swap21",
    "tc_kiv_xconnect_rw_st_swap11_dt_swap12",   "tc_kiv_xconnect_rw_st_swap11_dt_swap22",
    "tc_kiv_xconnect_rw_st_swap12_dt_norw",     "tc_kiv_xconnect_rw_st_swap12_dt_push1",
    "tc_kiv_xconnect_rw_st_swap12_dt_swap11",   "tc_kiv_xconnect_rw_st_swap12_dt_swap12",
    "tc_kiv_xconnect_rw_st_swap12_dt_swap22"};
constexpr std::string_view kDomainCases[] = {"tc_kiv_vpls_create_bd_with_ac", "tc_kiv_vpls_add_ac",
                                             "tc_kiv_vpls_mod_ac", "tc_kiv_vpls_del_ac",
                                             "tc_kiv_vpls_del_bd_with_ac"};
constexpr std::string_view kBviCases[] = {"tc_kiv_bvI_with_ac_main_port_in_bd_bvi_bind_first",
                                          "tc_kiv_bvI_with_ac_main_port_in_bd_ac_bind_first",
                                          "tc_kiv_bvi_vrf_and_mac_modify", "tc_kiv_bvi_cleanup"};
constexpr std::string_view kVxlanDomainCases[] = {"tc_kiv_vxlan_bd_add", "tc_kiv_vxlan_bd_del"};
constexpr std::string_view kAcCases[] = {"tc_kiv_vxlan_ac_bind", "tc_kiv_vxlan_ac_unbind"};
constexpr std::string_view kVspCases[] = {"tc_kiv_vxlan_vsp_ac_bind", "tc_kiv_vxlan_vsp_ac_unbind"};
constexpr std::string_view kOleCases[] = {"tc_kiv_vxlan_ole_add", "tc_kiv_vxlan_ole_mod",
                                          "tc_kiv_vxlan_ole_del"};
constexpr std::string_view kVplagCases[] = {"tc_kiv_vxlan_vplag_add", "tc_kiv_vxlan_vplag_member_set",
                                            "tc_kiv_vxlan_vplag_del"};
constexpr std::string_view kMacCases[] = {"tc_kiv_evpn_mac_install", "tc_kiv_evpn_mac_uninstall"};
constexpr std::string_view kShgCases[] = {"tc_kiv_fpem_shg_df_add", "tc_kiv_fpem_shg_df_del"};
constexpr std::string_view kManualSpanCases[] = {"prm_kiv_span_port_add", "prm_kiv_span_port_delete"};
constexpr std::string_view kBusySpanCases[] = {"prm_kiv_span_session_destroy_when_port_present"};
constexpr std::string_view kPortSpanCases[] = {"prm_kiv_span_port_add_delete"};
constexpr std::string_view kPortNegativeSpanCases[] = {
    "prm_kiv_span_port_add_invalid_session", "prm_kiv_span_port_delete_invalid_session",
    "prm_kiv_span_port_add_delete_invalid_dir", "prm_kiv_span_port_add_delete_l3_subintf"};
constexpr std::string_view kMiscSpanCases[] = {"prm_kiv_span_port_add_valid_but_nonexistent_session",
                                               "prm_kiv_span_port_delete_valid_but_nonexistent_session"};

constexpr Group kGroups[] = {
    {"prm-kiv", kReadAdjacency, {}, kAdjacencyCases},
    {"prm-kiv-l2-bdl", kReadBundle, {}, kL2BundleCases},
    {"prm-kiv-l3-bdl", kReadBundle, {}, kL3BundleCases},
    {"prm-kiv-l3-bdl", kReadBundleSub, {}, kL3BundleSubCases},
    {"prm-kiv-l3-bdl", kReadBundleSubPort, {}, kL3BundleSubPortCases},
    {"prm-kiv-subif", kReadNewSub, {}, kNewSubCases},
    {"prm-kiv-subif", kReadSub, {}, kSubCases},
    {"prm-kiv-l2subif", kReadNewSub, {}, kNewL2SubCases},
    {"prm-kiv-l2subif", kReadSub, {}, kL2SubCases},
    {"prm-kiv-l2", kReadUidbs, {}, kUidbCases},
    {"prm-kiv-l2", kReadCircuits, {}, kCircuitCases},
    {"prm-kiv-l2", kReadRewrites, {}, kRewriteCases},
    {"prm-kiv-l2-vpls", kReadDomain, {}, kDomainCases},
    {"prm-kiv-bvi", kReadBvi, {}, kBviCases},
    {"prm-kiv-vxlan", {}, kDomainLines, kVxlanDomainCases},
    {"prm-kiv-vxlan", {}, kAcLines, kAcCases},
    {"prm-kiv-vxlan", {}, kVspLines, kVspCases},
    {"prm-kiv-vxlan", {}, kOleLines, kOleCases},
    {"prm-kiv-vxlan", {}, kVplagLines, kVplagCases},
    {"prm-kiv-vxlan", {}, kMacLines, kMacCases},
    {"prm-kiv-vxlan", {}, kShgLines, kShgCases},
    {"span/manual", {}, kCountedSources, kManualSpanCases},
    {"span/session", {}, kFourHandles, kBusySpanCases},
    {"span/port", {}, kCountedHandles, kPortSpanCases},
    {"span/port", {}, kOneHandle, kPortNegativeSpanCases},
    {"span/misc", {}, kOneHandle, kMiscSpanCases},
};

constexpr std::string_view kFolders[] = {
    "prm-kiv",     "prm-kiv-bdl",  "prm-kiv-l2-bdl",  "prm-kiv-l3-bdl", "prm-kiv-subif", "prm-kiv-l2subif",
    "prm-lpts",    "prm-kiv-l2",   "prm-kiv-l2-vpls", "prm-kiv-vxlan",  "prm-kiv-bvi",   "span",
    "span/manual", "span/session", "span/port",       "span/misc",      "acl",           "qos"};

}  // namespace

std::span<const std::string_view> suite_folders() {
    return kFolders;
}

const std::vector<CaseFormat> &case_formats() {
    static const std::vector<CaseFormat> formats = [] {
        std::vector<CaseFormat> all;
        for (const Group &group : kGroups)
            for (const std::string_view name : group.names)
                all.push_back({group.folder, name, group.readers, group.input});
        return all;
    }();
    return formats;
}

const CaseFormat *find_format(std::string_view folder, std::string_view name) {
    for (const CaseFormat &format : case_formats())
        if (format.folder == folder && format.name == name) return &format;
    return nullptr;
}

}  // namespace kivctl
