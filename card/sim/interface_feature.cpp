// Features of interfaces: which there are, what they take, and setting them.
#include "card/sim/interface_feature.h"

#include <bit>
#include <cstring>
#include <utility>

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

constexpr u32 kVlanMax = 4094;  // 4095 is reserved
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

bool differs(const Interface &a, const Interface &b, Feature feature) {
    return a.has(feature) != b.has(feature) || a.value(feature) != b.value(feature);
}

u8 lag_id_of(const Interface &interface) {
    return static_cast<u8>(interface.value(Feature::LAG_ID));
}

// The tags of an encapsulation are its VLANs, or one tag without a VLAN, a priority tag.
prm_status_t check_tags(const Interface &interface) {
    const bool outer = interface.value(Feature::OUTER_VLAN) != 0,
               inner = interface.value(Feature::INNER_VLAN) != 0;
    if (inner && !outer) return CARD_ERROR_BAD_ENCAPSULATION;
    const u32 vlans = (outer ? 1 : 0) + (inner ? 1 : 0);
    u32 tags = vlans;
    if (interface.has(Feature::VLAN_TAGS)) {
        tags = interface.value(Feature::VLAN_TAGS);
        if (tags != vlans && (tags != 1 || vlans != 0)) return CARD_ERROR_BAD_ENCAPSULATION;
    }
    return success_if(tags_taken(interface.value(Feature::REWRITE_OP)) <= tags, CARD_ERROR_TOO_FEW_TAGS);
}

// ---- What no two interfaces have at a time.

enum Claim : u32 { kIngressPointer = 1, kEgressPointer = 2, kEncapsulation = 4, kBundleId = 8, kEvery = 15 };

u32 changed_claims(const Interface &a, const Interface &b) {
    u32 changed = 0;
    if (differs(a, b, Feature::STATS_INGRESS)) changed |= kIngressPointer;
    if (differs(a, b, Feature::STATS_EGRESS)) changed |= kEgressPointer;
    if (differs(a, b, Feature::LAG_ID)) changed |= kBundleId;
    for (const Feature part : {Feature::OUTER_TPID, Feature::OUTER_VLAN, Feature::INNER_VLAN}) {
        if (differs(a, b, part)) changed |= kEncapsulation;
    }
    return changed;
}

// visit(holders, key, refusal) for those of `which` that the interface has, until one is refused: the map
// from keys to the interfaces that have them, and the code for an interface that comes second.
template <typename Visit>
prm_status_t visit_claims(Card &card, const Interface &its, u32 which, Visit visit) {
    prm_status_t status = CERR_SUCCESS;
    const auto visit_pointer = [&](Claim claim, Feature feature) {
        if (status == CERR_SUCCESS && (which & claim) != 0 && its.has(feature))
            status = visit(card.statistics.counting, its.value(feature), CARD_ERROR_IN_USE);
    };
    visit_pointer(kIngressPointer, Feature::STATS_INGRESS);
    visit_pointer(kEgressPointer, Feature::STATS_EGRESS);
    if (status == CERR_SUCCESS && (which & kEncapsulation) != 0 && its.value(Feature::OUTER_VLAN) != 0)
        status = visit(card.interfaces.encapsulations, encapsulation_of(its), CARD_ERROR_ENCAPSULATION_TAKEN);
    if (status == CERR_SUCCESS && (which & kBundleId) != 0 && its.kind == InterfaceKind::BUNDLE &&
        its.has(Feature::LAG_ID))
        status = visit(card.interfaces.bundle_interfaces, lag_id_of(its), CARD_ERROR_BUNDLE_EXISTS);
    return status;
}

prm_status_t claim(Card &card, u32 if_handle, const Interface &its, u32 which) {
    return visit_claims(card, its, which, [&](auto &holders, const auto &key, prm_status_t refusal) {
        return success_if(holders.try_emplace(key, if_handle).first->second == if_handle, refusal);
    });
}

// Leaves alone what another interface has.
void disclaim(Card &card, u32 if_handle, const Interface &its, u32 which) {
    visit_claims(card, its, which, [&](auto &holders, const auto &key, prm_status_t) {
        const auto slot = holders.find(key);
        if (slot != holders.end() && slot->second == if_handle) holders.erase(slot);
        return prm_status_t{CERR_SUCCESS};
    });
}

// A main or sub-interface holds the bundle that it belongs to.
void hold_bundle(Card &card, const Interface &its) {
    if (its.kind != InterfaceKind::BUNDLE && its.has(Feature::LAG_ID))
        card.interfaces.bundles.hold(lag_id_of(its));
}

void release_bundle(Card &card, const Interface &its) {
    if (its.kind != InterfaceKind::BUNDLE && its.has(Feature::LAG_ID))
        card.interfaces.bundles.release(lag_id_of(its));
}

std::bitset<256> subif_ports_of(const Card &card, u32 if_handle) {
    const auto ports = card.interfaces.subif_ports.find(if_handle);
    return ports != card.interfaces.subif_ports.end() ? ports->second : std::bitset<256>();
}

u32 feature_count(const Interface &its, const std::bitset<256> &ports) {
    return static_cast<u32>(std::popcount(its.features)) + static_cast<u32>(ports.count());
}

// What a record may say of an interface, whatever else the message says.
prm_status_t check_record(Card &card, const Interface &interface, const FeatureRow &row,
                          const uidb_feature &record) {
    if ((row.kinds & kind_bit(interface.kind)) == 0) return CARD_ERROR_FEATURE_NOT_APPLICABLE;
    if (record.value < row.low || record.value > row.high) return CARD_ERROR_BAD_VALUE;
    switch (row.feature) {
        case Feature::NP_PORT:
            if (!has_port(card, record.value)) return CARD_ERROR_UNKNOWN_PORT;
            if (in_bundle(card, interface)) return CARD_ERROR_FEATURE_NOT_APPLICABLE;
            return success_if(record.value == interface.np_port, CARD_ERROR_WRONG_PORT);
        case Feature::LAG_ID:
            return success_if(interface.kind != InterfaceKind::SUB || in_bundle(card, interface),
                              CARD_ERROR_FEATURE_NOT_APPLICABLE);
        case Feature::REWRITE_OP:
            return success_if(tags_taken(record.value) != kUnknownRewrite, CARD_ERROR_BAD_VALUE);
        case Feature::MAC:
            return success_if(!is_group(record.mac), CARD_ERROR_GROUP_MAC);
        case Feature::STATS_INGRESS:
        case Feature::STATS_EGRESS:
            return success_if(card.statistics.is_allocated(PRM_STATS_CLASS_INTERFACE,
                                                           stats_direction(row.feature), record.value),
                              CARD_ERROR_UNKNOWN_STATISTICS);
        default:
            return CERR_SUCCESS;
    }
}

}  // namespace

FeatureMessage::Draft *FeatureMessage::draft(u32 if_handle) {
    for (auto draft = drafts_.rbegin(); draft != drafts_.rend(); ++draft) {
        if (draft->handle == if_handle) return &*draft;
    }
    Interface *const interface = card_.interfaces.table.find(if_handle);
    if (interface == nullptr) return nullptr;
    drafts_.push_back({if_handle, interface, *interface, std::nullopt});
    return &drafts_.back();
}

const Interface *FeatureMessage::find(u32 if_handle) const {
    for (const Draft &draft : drafts_) {
        if (draft.handle == if_handle) return &draft.other;
    }
    return card_.interfaces.table.find(if_handle);
}

prm_status_t FeatureMessage::add(u32 if_handle, const uidb_feature &record) {
    if (record.feature_id == UIDB_FEATURE_SPAN_SOURCE) {
        mirror_changes_.push_back({if_handle, record.qualifier, record.value});
        return CERR_SUCCESS;
    }
    Draft *const draft = this->draft(if_handle);
    if (draft == nullptr) return CARD_ERROR_UNKNOWN_INTERFACE;
    if (record.feature_id == UIDB_FEATURE_BUNDLE_SUBIF_PORT) return add_subif_port(*draft, record);
    const FeatureRow *row;
    if (const prm_status_t status = find_row(record, &row)) return status;
    Interface &interface = draft->other;
    if (const prm_status_t status = check_record(card_, interface, *row, record)) return status;
    interface.features |= 1u << static_cast<u32>(row->feature);
    if (row->feature == Feature::MAC) {
        std::memcpy(interface.mac, record.mac, sizeof interface.mac);
    } else {
        interface.values[static_cast<size_t>(row->feature)] = record.value;
    }
    return CERR_SUCCESS;
}

prm_status_t FeatureMessage::add_subif_port(Draft &draft, const uidb_feature &record) {
    if (!in_bundle(card_, draft.other)) return CARD_ERROR_FEATURE_NOT_APPLICABLE;
    if (record.qualifier != 0) return CARD_ERROR_BAD_QUALIFIER;
    if (!has_port(card_, record.value_byte)) return CARD_ERROR_UNKNOWN_PORT;
    if (record.member_add > 1) return CARD_ERROR_BAD_VALUE;
    if (!draft.other_ports) draft.other_ports = subif_ports_of(card_, draft.handle);
    const bool add = record.member_add != 0;
    if (!add && !draft.other_ports->test(record.value_byte)) return CARD_ERROR_NOT_FOUND;
    draft.other_ports->set(record.value_byte, add);
    return CERR_SUCCESS;
}

// Whether an interface can be as it will be.
prm_status_t FeatureMessage::check(const Draft &draft) const {
    const Interface &will_be = draft.other;
    // A circuit needs its interface switched.
    if (!will_be.is_layer2() && draft.interface->is_layer2() && draft.interface->circuits != 0)
        return CARD_ERROR_IN_USE;
    if (will_be.is_layer2() &&
        (will_be.value(Feature::IPV4_ENABLE) != 0 || will_be.value(Feature::MPLS_ENABLE) != 0))
        return CARD_ERROR_LAYER2_INTERFACE;
    if (const prm_status_t status = check_tags(will_be)) return status;
    return differs(*draft.interface, will_be, Feature::LAG_ID) ? check_lag_id(draft)
                                                               : prm_status_t{CERR_SUCCESS};
}

// A bundle's main interface names the bundle before it is formed, and keeps its name while it is; any other
// interface needs a bundle that is there, a sub-interface that of its parent.
prm_status_t FeatureMessage::check_lag_id(const Draft &draft) const {
    const u8 lag_id = lag_id_of(draft.other);
    if (draft.interface->kind == InterfaceKind::BUNDLE) {
        const bool formed = draft.interface->has(Feature::LAG_ID) &&
                            card_.interfaces.bundles.contains(lag_id_of(*draft.interface));
        return success_if(!formed, CARD_ERROR_BUNDLE_FORMED);
    }
    if (!card_.interfaces.bundles.contains(lag_id)) return CARD_ERROR_UNKNOWN_BUNDLE;
    if (draft.interface->kind != InterfaceKind::SUB) return CERR_SUCCESS;
    const Interface *const parent = find(draft.interface->parent);
    const bool same = parent != nullptr && parent->has(Feature::LAG_ID) && lag_id_of(*parent) == lag_id;
    return success_if(same, CARD_ERROR_WRONG_BUNDLE);
}

// Whether the account has room for what is new.
prm_status_t FeatureMessage::check_room() const {
    u32 before = 0, after = 0;
    for (const Draft &draft : drafts_) {
        const std::bitset<256> ports =
            draft.other_ports ? subif_ports_of(card_, draft.handle) : std::bitset<256>();
        before += feature_count(*draft.interface, ports);
        after += feature_count(draft.other, draft.other_ports.value_or(ports));
    }
    return success_if(after <= before || card_.interfaces.feature_account.has(after - before),
                      CARD_ERROR_TABLE_FULL);
}

// Puts the drafts in the place of the interfaces, or, when one would have what another has, nothing. Done
// twice, everything is as it was.
prm_status_t FeatureMessage::exchange() {
    for (Draft &draft : drafts_) {
        disclaim(card_, draft.handle, *draft.interface, changed_claims(*draft.interface, draft.other));
    }
    for (size_t i = 0; i < drafts_.size(); ++i) {
        const auto changed = [&](const Draft &draft) {
            return changed_claims(*draft.interface, draft.other);
        };
        const prm_status_t status = claim(card_, drafts_[i].handle, drafts_[i].other, changed(drafts_[i]));
        if (status == CERR_SUCCESS) continue;
        for (size_t k = 0; k <= i; ++k)
            disclaim(card_, drafts_[k].handle, drafts_[k].other, changed(drafts_[k]));
        for (const Draft &draft : drafts_) claim(card_, draft.handle, *draft.interface, changed(draft));
        return status;
    }
    for (Draft &draft : drafts_) {
        if (differs(*draft.interface, draft.other, Feature::LAG_ID)) {
            hold_bundle(card_, draft.other);
            release_bundle(card_, *draft.interface);
        }
        const std::bitset<256> ports =
            draft.other_ports ? subif_ports_of(card_, draft.handle) : std::bitset<256>();
        card_.interfaces.feature_account.used +=
            feature_count(draft.other, draft.other_ports.value_or(ports)) -
            feature_count(*draft.interface, ports);
        std::swap(*draft.interface, draft.other);
        if (!draft.other_ports) continue;
        card_.interfaces.subif_ports[draft.handle] = *draft.other_ports;
        if (draft.other_ports->none()) card_.interfaces.subif_ports.erase(draft.handle);
        draft.other_ports = ports;
    }
    return CERR_SUCCESS;
}

// One after the other; what was changed is changed back when one of them is refused.
prm_status_t FeatureMessage::set_mirror_sources() {
    const auto is_source = [&](const MirrorChange &change) {
        return card_.span.sources.contains(mirror_source_key(change.handle, change.direction));
    };
    for (size_t i = 0; i < mirror_changes_.size(); ++i) {
        MirrorChange &change = mirror_changes_[i];
        const bool before = is_source(change);
        const prm_status_t status = set_mirror_source(card_, change.handle, change.direction, change.value);
        change.changed = status == CERR_SUCCESS && is_source(change) != before;
        if (status == CERR_SUCCESS) continue;
        while (i-- > 0) {
            const MirrorChange &done = mirror_changes_[i];
            if (done.changed)
                set_mirror_source(card_, done.handle, done.direction, done.value ^ UIDB_SPAN_SOURCE_REMOVE);
        }
        return status;
    }
    return CERR_SUCCESS;
}

prm_status_t FeatureMessage::set() {
    for (const Draft &draft : drafts_) {
        if (const prm_status_t status = check(draft)) return status;
    }
    if (const prm_status_t status = check_room()) return status;
    if (const prm_status_t status = exchange()) return status;
    const prm_status_t status = set_mirror_sources();
    if (status != CERR_SUCCESS) exchange();
    return status;
}

void release_features(Card &card, u32 if_handle) {
    const Interface &interface = *card.interfaces.table.find(if_handle);
    disclaim(card, if_handle, interface, kEvery);
    release_bundle(card, interface);
    card.interfaces.feature_account.used -= feature_count(interface, subif_ports_of(card, if_handle));
    card.interfaces.subif_ports.erase(if_handle);
}

}  // namespace sim
