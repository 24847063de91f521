// Features of interfaces: which there are, what they take, and setting them.
#include "card/sim/interface_feature.h"

#include <bit>
#include <cstring>

#include "card/sim/backend.h"
#include "prm_mgr.h"

namespace sim {
namespace {

// Kinds of interface that a feature applies to.
constexpr u8 kMain = 1, kSub = 2, kBundle = 4, kBvi = 8, kPhysical = kMain | kSub, kAll = 15;

struct FeatureRow {
    u32 id;
    u16 qualifier;
    Feature feature;
    u8 kinds;
    u32 low, high;
};

constexpr u32 kVlanMax = 4095;
constexpr u32 kMtuMin = 64, kMtuMax = 16384;

constexpr FeatureRow kFeatures[] = {
    {UIDB_FEATURE_IP_MTU, UIDB_QUALIFIER_IP_MTU, Feature::IP_MTU, kAll, kMtuMin, kMtuMax},
    {UIDB_FEATURE_NP_PORT, 0, Feature::NP_PORT, kPhysical, 0, 255},
    {UIDB_FEATURE_LAG_ID, 0, Feature::LAG_ID, kAll & ~kBvi, 0, 255},
    {UIDB_FEATURE_L2, 0, Feature::L2, kAll & ~kBvi, 0, 1},
    {UIDB_FEATURE_STATS_POINTER, UIDB_QUALIFIER_INGRESS, Feature::STATS_INGRESS, kAll, 0, ~0u},
    {UIDB_FEATURE_STATS_POINTER, UIDB_QUALIFIER_EGRESS, Feature::STATS_EGRESS, kAll, 0, ~0u},
    {UIDB_FEATURE_MPLS_ENABLE, 0, Feature::MPLS_ENABLE, kAll, 0, 1},
    {UIDB_FEATURE_VRF, 0, Feature::VRF, kAll, 0, 0xFFFF},
    {UIDB_FEATURE_IPV4_ENABLE, 0, Feature::IPV4_ENABLE, kAll, 0, 1},
    {UIDB_FEATURE_REWRITE_OP, 0, Feature::REWRITE_OP, kAll & ~kBvi, 0, 255},
    {UIDB_FEATURE_MAC, 0, Feature::MAC, kAll, 0, ~0u},
    {UIDB_FEATURE_VLAN_TAGS, 0, Feature::VLAN_TAGS, kSub, 0, 2},
    {UIDB_FEATURE_OUTER_TPID, 0, Feature::OUTER_TPID, kSub, 0, 0xFFFF},
    {UIDB_FEATURE_OUTER_VLAN, 0, Feature::OUTER_VLAN, kSub, 0, kVlanMax},
    {UIDB_FEATURE_INNER_VLAN, 0, Feature::INNER_VLAN, kSub, 0, kVlanMax},
    {UIDB_FEATURE_REWRITE_OUTER_TPID, 0, Feature::REWRITE_OUTER_TPID, kAll & ~kBvi, 0, 0xFFFF},
    {UIDB_FEATURE_REWRITE_OUTER_VLAN, 0, Feature::REWRITE_OUTER_VLAN, kAll & ~kBvi, 0, kVlanMax},
    {UIDB_FEATURE_REWRITE_INNER_VLAN, 0, Feature::REWRITE_INNER_VLAN, kAll & ~kBvi, 0, kVlanMax},
};

u8 kind_bit(InterfaceKind kind) {
    switch (kind) {
        case InterfaceKind::MAIN:
            return kMain;
        case InterfaceKind::SUB:
            return kSub;
        case InterfaceKind::BUNDLE:
            return kBundle;
        case InterfaceKind::BVI:
            return kBvi;
    }
    return 0;
}

// The row of a record in *row, or why there is none.
prm_status_t find_row(const uidb_feature &record, const FeatureRow **row) {
    bool known = false;
    for (const FeatureRow &candidate : kFeatures) {
        if (candidate.id != record.feature_id) continue;
        known = true;
        if (candidate.qualifier != record.qualifier) continue;
        *row = &candidate;
        return CERR_SUCCESS;
    }
    return known ? CARD_ERROR_BAD_QUALIFIER : CARD_ERROR_UNKNOWN_FEATURE;
}

u32 stats_direction(Feature feature) {
    return feature == Feature::STATS_INGRESS ? PRM_STATS_INGRESS : PRM_STATS_EGRESS;
}

bool in_bundle(const Card &card, const Interface &interface) {
    const Interface *const parent = card.interfaces.table.find(interface.parent);
    return interface.kind == InterfaceKind::SUB && parent != nullptr && parent->kind == InterfaceKind::BUNDLE;
}

prm_status_t check_subif_port(const Card &card, u32 if_handle, const Interface &interface,
                              const uidb_feature &record) {
    if (!in_bundle(card, interface)) return CARD_ERROR_FEATURE_NOT_APPLICABLE;
    if (record.qualifier != 0) return CARD_ERROR_BAD_QUALIFIER;
    if (!has_port(card, record.value_byte)) return CARD_ERROR_UNKNOWN_PORT;
    if (record.member_add > 1) return CARD_ERROR_BAD_VALUE;
    const auto ports = card.interfaces.subif_ports.find(if_handle);
    const bool there = ports != card.interfaces.subif_ports.end() && ports->second.test(record.value_byte);
    if (record.member_add == 0) return success_if(there, CARD_ERROR_NOT_FOUND);
    if (!there && !card.interfaces.feature_account.has(1)) return CARD_ERROR_TABLE_FULL;
    return CERR_SUCCESS;
}

void apply_subif_port(Card &card, u32 if_handle, const uidb_feature &record) {
    std::bitset<256> &ports = card.interfaces.subif_ports[if_handle];
    const bool add = record.member_add != 0;
    if (ports.test(record.value_byte) != add) card.interfaces.feature_account.used += add ? 1 : ~0u;
    ports.set(record.value_byte, add);
    if (ports.none()) card.interfaces.subif_ports.erase(if_handle);
}

constexpr u32 kUnknownRewrite = ~0u;

// How many tags of a frame a rewrite operation takes away or replaces.
u32 tags_taken(u32 operation) {
    switch (operation) {
        case UIDB_REWRITE_NORW:
        case UIDB_REWRITE_PUSH1:
        case UIDB_REWRITE_PUSH2:
            return 0;
        case UIDB_REWRITE_SWAP11:
        case UIDB_REWRITE_SWAP12:
        case UIDB_REWRITE_POP1:
            return 1;
        case UIDB_REWRITE_SWAP21:
        case UIDB_REWRITE_SWAP22:
            return 2;
        default:
            return kUnknownRewrite;
    }
}

// A bundle's main interface names the bundle before it is formed; a sub-interface needs one that is there.
prm_status_t check_lag_id(const Card &card, u32 if_handle, const Interface &interface, u8 lag_id) {
    if (interface.kind == InterfaceKind::BUNDLE) {
        const auto owner = card.interfaces.bundle_interfaces.find(lag_id);
        const bool taken = owner != card.interfaces.bundle_interfaces.end() && owner->second != if_handle;
        return success_if(!taken, CARD_ERROR_BUNDLE_EXISTS);
    }
    return success_if(card.interfaces.bundles.contains(lag_id), CARD_ERROR_UNKNOWN_BUNDLE);
}

void leave_lag(Card &card, u32 if_handle, const Interface &interface) {
    if (!interface.has(Feature::LAG_ID)) return;
    const u8 lag_id = static_cast<u8>(interface.value(Feature::LAG_ID));
    if (interface.kind != InterfaceKind::BUNDLE) {
        card.interfaces.bundles.release(lag_id);
        return;
    }
    const auto owner = card.interfaces.bundle_interfaces.find(lag_id);
    if (owner != card.interfaces.bundle_interfaces.end() && owner->second == if_handle) {
        card.interfaces.bundle_interfaces.erase(owner);
    }
}

void join_lag(Card &card, u32 if_handle, const Interface &interface, u8 lag_id) {
    if (interface.kind == InterfaceKind::BUNDLE) {
        card.interfaces.bundle_interfaces[lag_id] = if_handle;
    } else {
        card.interfaces.bundles.hold(lag_id);
    }
}

void leave_statistics(Card &card, const Interface &interface, Feature feature) {
    if (!interface.has(feature)) return;
    card.statistics.detach_and_free(PRM_STATS_CLASS_INTERFACE, stats_direction(feature),
                                    interface.value(feature));
}

}  // namespace

prm_status_t check_feature(Card &card, u32 if_handle, const uidb_feature &record) {
    const Interface *const interface = card.interfaces.table.find(if_handle);
    if (record.feature_id == UIDB_FEATURE_SPAN_SOURCE) {
        return check_mirror_source(card, if_handle, record.qualifier, record.value);
    }
    if (interface == nullptr) return CARD_ERROR_UNKNOWN_INTERFACE;
    if (record.feature_id == UIDB_FEATURE_BUNDLE_SUBIF_PORT) {
        return check_subif_port(card, if_handle, *interface, record);
    }
    const FeatureRow *row;
    if (const prm_status_t status = find_row(record, &row)) return status;
    if ((row->kinds & kind_bit(interface->kind)) == 0) return CARD_ERROR_FEATURE_NOT_APPLICABLE;
    if (record.value < row->low || record.value > row->high) return CARD_ERROR_BAD_VALUE;
    if (!interface->has(row->feature) && !card.interfaces.feature_account.has(1))
        return CARD_ERROR_TABLE_FULL;
    switch (row->feature) {
        case Feature::NP_PORT:
            return success_if(has_port(card, record.value), CARD_ERROR_UNKNOWN_PORT);
        case Feature::L2:
            // A circuit needs its interface switched.
            return success_if(record.value != 0 || !interface->is_layer2() || interface->circuits == 0,
                              CARD_ERROR_IN_USE);
        case Feature::REWRITE_OP:
            return success_if(tags_taken(record.value) != kUnknownRewrite, CARD_ERROR_BAD_VALUE);
        case Feature::LAG_ID:
            return check_lag_id(card, if_handle, *interface, static_cast<u8>(record.value));
        case Feature::STATS_INGRESS:
        case Feature::STATS_EGRESS:
            if (interface->has(row->feature) && interface->value(row->feature) == record.value) break;
            return card.statistics.check_attach(PRM_STATS_CLASS_INTERFACE, stats_direction(row->feature),
                                                record.value);
        default:
            break;
    }
    return CERR_SUCCESS;
}

prm_status_t check_rewrite(const Card &card, u32 if_handle, const uidb_feature *records, u32 count) {
    const Interface &interface = *card.interfaces.table.find(if_handle);
    u32 operation = 0;
    u32 outer = interface.value(Feature::OUTER_VLAN), inner = interface.value(Feature::INNER_VLAN);
    for (u32 i = 0; i < count; ++i) {
        if (records[i].feature_id == UIDB_FEATURE_REWRITE_OP) operation = records[i].value;
        if (records[i].feature_id == UIDB_FEATURE_OUTER_VLAN) outer = records[i].value;
        if (records[i].feature_id == UIDB_FEATURE_INNER_VLAN) inner = records[i].value;
    }
    const u32 tags = outer == 0 ? 0 : inner == 0 ? 1 : 2;
    return success_if(tags_taken(operation) <= tags, CARD_ERROR_TOO_FEW_TAGS);
}

prm_status_t apply_feature(Card &card, u32 if_handle, const uidb_feature &record) {
    if (record.feature_id == UIDB_FEATURE_SPAN_SOURCE) {
        return set_mirror_source(card, if_handle, record.qualifier, record.value);
    }
    if (record.feature_id == UIDB_FEATURE_BUNDLE_SUBIF_PORT) {
        apply_subif_port(card, if_handle, record);
        return CERR_SUCCESS;
    }
    const FeatureRow *row;
    if (const prm_status_t status = find_row(record, &row)) return status;
    Interface &interface = *card.interfaces.table.find(if_handle);
    switch (row->feature) {
        case Feature::LAG_ID:
            leave_lag(card, if_handle, interface);
            join_lag(card, if_handle, interface, static_cast<u8>(record.value));
            break;
        case Feature::STATS_INGRESS:
        case Feature::STATS_EGRESS:
            if (interface.has(row->feature) && interface.value(row->feature) == record.value) break;
            leave_statistics(card, interface, row->feature);
            if (const prm_status_t status = card.statistics.attach(
                    PRM_STATS_CLASS_INTERFACE, stats_direction(row->feature), record.value)) {
                return status;
            }
            break;
        default:
            break;
    }
    if (!interface.has(row->feature)) ++card.interfaces.feature_account.used;
    interface.features |= 1u << static_cast<u32>(row->feature);
    if (row->feature == Feature::MAC) {
        std::memcpy(interface.mac, record.mac, sizeof interface.mac);
    } else {
        interface.values[static_cast<size_t>(row->feature)] = record.value;
    }
    return CERR_SUCCESS;
}

void release_features(Card &card, u32 if_handle) {
    const Interface &interface = *card.interfaces.table.find(if_handle);
    leave_lag(card, if_handle, interface);
    leave_statistics(card, interface, Feature::STATS_INGRESS);
    leave_statistics(card, interface, Feature::STATS_EGRESS);
    u32 count = static_cast<u32>(std::popcount(interface.features));
    if (const auto ports = card.interfaces.subif_ports.find(if_handle);
        ports != card.interfaces.subif_ports.end()) {
        count += static_cast<u32>(ports->second.count());
        card.interfaces.subif_ports.erase(ports);
    }
    card.interfaces.feature_account.used -= count;
}

}  // namespace sim
