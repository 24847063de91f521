// Field tables by record and by operation: see registry.h.
#include "card/records/registry.h"

#include <absl/container/flat_hash_map.h>

#include <algorithm>

#include "prm_buddy_reserve.h"
#include "prm_srh_l2.h"
#include "prm_srh_lpts.h"
#include "prm_srh_mpls_leaf.h"
#include "prm_srh_nr_ldi.h"
#include "prm_srh_span.h"
#include "prm_srh_tx_adj.h"
#include "uidb.h"
#include "wyk_hal_records.h"
#include "zor_vop_prm_label.h"
#include "zor_vop_prm_leaf.h"
#include "zor_vop_prm_tcam.h"

namespace card {
namespace {

constexpr const prm_record *kRecords[] = {
    &prm_buddy_reserve_record,
    &prm_nr_ldi_record,
    &prm_nr_ldi_path_words_record,
    &prm_nr_ldi_path_block_record,
    &prm_tx_adj_record,
    &prm_mpls_leaf_release_record,
    &zor_label_request_record,
    &zor_label_key_record,
    &zor_label_payload_record,
    &zor_leaf_request_record,
    &zor_ipv4_key_record,
    &zor_leaf_payload_record,
    &prm_lpts_request_record,
    &prm_lpts_request_added_record,
    &prm_lpts_request_read_record,
    &prm_lpts_entry_record,
    &prm_lpts_id_record,
    &prm_xid_request_record,
    &prm_bd_request_record,
    &prm_l2_ecmp_request_record,
    &prm_vplag_info_record,
    &prm_shg_df_request_record,
    &prm_shg_df_entry_record,
    &prm_evpn_mac_request_record,
    &prm_evpn_mac_entry_record,
    &prm_vxlan_ole_request_record,
    &prm_span_request_record,
    &prm_info_record,
    &prm_tcam_acl_key_record,
    &prm_tcam_qos_key_record,
    &prm_tcam_acl_key_read_record,
    &prm_tcam_qos_key_read_record,
    &prm_tcam_acl_result_record,
    &prm_tcam_qos_result_record,
    &uidb_create_msg_record,
    &uidb_feature_record,
    &uidb_client_data_record,
    &uidb_batch_entry_record,
    &uidb_feature_batch_record,
    &uidb_port_feature_record,
    &uidb_lag_update_record,
    &wyk_hal_policy_request_record,
    &wyk_hal_policy_record,
    &wyk_hal_policy_response_record,
    &wyk_hal_ids_record,
    &wyk_hal_release_record,
    &wyk_hal_release_head_record,
    &wyk_hal_release_status_record,
    &wyk_hal_node_record,
    &wyk_hal_result_request_record,
    &wyk_hal_result_item_record,
    &wyk_hal_result_response_record,
    &wyk_hal_config_request_record,
    &wyk_hal_config_response_record,
    &wyk_hal_class_config_record,
    &wyk_hal_stats_request_record,
    &wyk_hal_stats_response_record,
    &wyk_hal_queue_depth_request_record,
    &wyk_hal_queue_depth_response_record,
    &wyk_hal_default_queue_record,
    &wyk_hal_default_queue_response_record,
    &wyk_hal_port_shaper_record,
    &wyk_hal_port_shaper_removal_record,
    &wyk_hal_tm_info_record,
};

// Parameters as declared, in the order of OperationId.
constexpr std::string_view kParameters[] = {
#define OPERATION(family, result, name, parameters, ...) #parameters,
#include "card/operations.def"
};

// The type of the pointer parameter called `record`; empty when there is none.
std::string_view record_type(OperationId operation) {
    const std::string_view parameters = kParameters[static_cast<size_t>(operation)];
    const size_t end = parameters.find(" *record");
    if (end == std::string_view::npos) return {};
    const size_t begin = parameters.find_last_of("( ", end - 1) + 1;
    return parameters.substr(begin, end - begin);
}

struct HalRow {
    OperationId operation;
    u32 hal_type;
    HalLayout layout;
};

constexpr u32 kNoType = ~0u;
using Op = OperationId;

constexpr HalRow kHal[] = {
    {Op::wyk_hal_wrapper_engine_op,
     WYK_HAL_DEFAULT_QUEUE_ALLOCATE,
     {&wyk_hal_default_queue_record, &wyk_hal_default_queue_response_record}},
    {Op::wyk_hal_wrapper_engine_op,
     WYK_HAL_PORT_SHAPER_CONFIGURE,
     {&wyk_hal_port_shaper_record, &wyk_hal_policy_response_record}},
    {Op::wyk_hal_wrapper_engine_op,
     WYK_HAL_PORT_SHAPER_REMOVE,
     {&wyk_hal_port_shaper_removal_record, &wyk_hal_policy_response_record}},
    {Op::wyk_hal_wrapper_engine_op, WYK_HAL_TM_INFO, {nullptr, &wyk_hal_tm_info_record}},
    {Op::wyk_hal_wrapper_engine_op, WYK_HAL_DEFAULT_QUEUE_RELEASE, {&wyk_hal_default_queue_record, nullptr}},
    {Op::wyk_hal_wrapper_get_result,
     kNoType,
     {&wyk_hal_result_request_record, &wyk_hal_result_response_record}},
    {Op::wyk_hal_wrapper_config_policy_in_tm,
     kNoType,
     {&wyk_hal_policy_request_record, &wyk_hal_policy_response_record}},
    {Op::wyk_hal_wrapper_get_stats, kNoType, {&wyk_hal_stats_request_record, &wyk_hal_stats_response_record}},
    {Op::wyk_hal_wrapper_get_queue_depth,
     kNoType,
     {&wyk_hal_queue_depth_request_record, &wyk_hal_queue_depth_response_record}},
    {Op::wyk_hal_wrapper_get_config,
     kNoType,
     {&wyk_hal_config_request_record, &wyk_hal_config_response_record}},
    {Op::wyk_hal_wrapper_deallocate_nodes,
     kNoType,
     {&wyk_hal_release_record, &wyk_hal_release_status_record}},
};

struct ArgumentRow {
    OperationId operation;
    std::string_view parameter;
    prm_handle_kind kind;
};

// Handles among the arguments, but for `client`, which is a client's everywhere.
constexpr ArgumentRow kArguments[] = {
    {Op::event_manager_destroy, "manager", PRM_HANDLE_EVENT_MANAGER},
    {Op::prm_mgr_open, "manager", PRM_HANDLE_EVENT_MANAGER},
    {Op::prm_mgr_open, "out", PRM_HANDLE_CONNECTION},
    {Op::prm_mgr_close, "connection", PRM_HANDLE_CONNECTION},
    {Op::prm_srh_register, "manager", PRM_HANDLE_EVENT_MANAGER},
    {Op::prm_srh_register, "out", PRM_HANDLE_CLIENT},
    {Op::prm_stats_cl_alloc, "pointer", PRM_HANDLE_STATISTICS},
    {Op::prm_set_nh_idx_hw_pending, "nh_index", PRM_HANDLE_NEXT_HOP},
    {Op::uidb_delete_interface, "if_handle", PRM_HANDLE_INTERFACE},
};

}  // namespace

std::span<const prm_record *const> all_records() {
    return kRecords;
}

const prm_record *find_record(std::string_view name) {
    static const auto *const by_name = [] {
        auto *const map = new absl::flat_hash_map<std::string_view, const prm_record *>;
        for (const prm_record *const record : kRecords) map->emplace(record->name, record);
        return map;
    }();
    const auto found = by_name->find(name);
    return found != by_name->end() ? found->second : nullptr;
}

RecordLayout record_layout(OperationId operation) {
    const prm_record *const record = find_record(record_type(operation));
    switch (operation) {
        case Op::prm_srh_lpts_add:
            return {record, &prm_lpts_request_added_record};
        case Op::prm_srh_lpts_get:
            return {record, &prm_lpts_request_read_record};
        default:
            return {record, record};
    }
}

bool reads_back(OperationId operation) {
    return operation == Op::zor_vop_prm_tcam_vmr_read;
}

HalLayout hal_layout(OperationId operation, u32 hal_type) {
    for (const HalRow &row : kHal) {
        if (row.operation == operation && (row.hal_type == kNoType || row.hal_type == hal_type))
            return row.layout;
    }
    return {};
}

HalSizes hal_sizes(OperationId operation, u32 hal_type, u32 policies, const void *request) {
    const HalLayout layout = hal_layout(operation, hal_type);
    size_t items = operation == Op::wyk_hal_wrapper_config_policy_in_tm ? policies : 0;
    if (items == 0 && layout.request != nullptr && request != nullptr)
        items = item_count(*layout.request, {static_cast<const u8 *>(request), layout.request->size});
    const auto size = [&](const prm_record *record) -> size_t {
        if (record == nullptr) return 0;
        constexpr size_t kMaxBlock = 0xFFFF;
        const size_t item_size = record->items.record != nullptr ? record->items.record->size : 1;
        const size_t room = (kMaxBlock - record->size - record->items.tail) / item_size;
        return size_with_items(*record, std::min(items, room));
    };
    return {size(layout.request), size(layout.response)};
}

prm_handle_kind argument_kind(OperationId operation, std::string_view parameter) {
    for (const ArgumentRow &row : kArguments) {
        if (row.operation == operation && row.parameter == parameter) return row.kind;
    }
    return parameter == "client" ? PRM_HANDLE_CLIENT : PRM_HANDLE_NONE;
}

prm_handle_kind result_kind(OperationId operation) {
    return operation == Op::event_manager_create ? PRM_HANDLE_EVENT_MANAGER : PRM_HANDLE_NONE;
}

prm_handle_kind reserved_kind(OperationId operation) {
    switch (operation) {
        case Op::prm_srh_nr_ldi_buddy_reserve:
            return PRM_HANDLE_LDI;
        case Op::prm_srh_tx_adj_buddy_reserve:
            return PRM_HANDLE_NEXT_HOP;
        case Op::prm_srh_l3_intf_buddy_reserve:
            return PRM_HANDLE_TUNNEL;
        case Op::prm_srh_mpls_leaf_buddy_reserve:
            return PRM_HANDLE_LABEL_INDEX;
        case Op::zor_vop_prm_srh_ip_leaf_reserve:
            return PRM_HANDLE_LEAF_INDEX;
        case Op::prm_srh_vplag_buddy_reserve:
            return PRM_HANDLE_VPLAG;
        default:
            return PRM_HANDLE_NONE;
    }
}

std::string_view handle_name(prm_handle_kind kind) {
    switch (kind) {
        case PRM_HANDLE_NONE:
            return "";
        case PRM_HANDLE_INTERFACE:
            return "interface";
        case PRM_HANDLE_PORT:
            return "port";
        case PRM_HANDLE_BUNDLE:
            return "bundle";
        case PRM_HANDLE_BRIDGE_DOMAIN:
            return "bridge_domain";
        case PRM_HANDLE_XID:
            return "xid";
        case PRM_HANDLE_MIRROR_SESSION:
            return "mirror_session";
        case PRM_HANDLE_EVENT_MANAGER:
            return "event_manager";
        case PRM_HANDLE_CONNECTION:
            return "connection";
        case PRM_HANDLE_CLIENT:
            return "client";
        case PRM_HANDLE_RESERVED_INDEX:
            return "index";
        case PRM_HANDLE_UIDB:
            return "uidb";
        case PRM_HANDLE_STATISTICS:
            return "statistics";
        case PRM_HANDLE_NEXT_HOP:
            return "next_hop";
        case PRM_HANDLE_TUNNEL:
            return "tunnel";
        case PRM_HANDLE_LDI:
            return "ldi";
        case PRM_HANDLE_LABEL_INDEX:
            return "label_index";
        case PRM_HANDLE_LEAF_INDEX:
            return "leaf_index";
        case PRM_HANDLE_LPTS_ENTRY:
            return "lpts_entry";
        case PRM_HANDLE_LPTS_POLICER:
            return "lpts_policer";
        case PRM_HANDLE_LPTS_STATISTICS:
            return "lpts_statistics";
        case PRM_HANDLE_VPLAG:
            return "vplag";
        case PRM_HANDLE_TCAM:
            return "tcam";
        case PRM_HANDLE_ACL_STATISTICS:
            return "acl_statistics";
        case PRM_HANDLE_TM_STATISTICS:
            return "tm_statistics";
        case PRM_HANDLE_POLICER:
            return "policer";
        case PRM_HANDLE_QUEUE:
            return "queue";
    }
    return "";
}

}  // namespace card
