// Relations of interfaces, bundles and statistics pointers.
#include <absl/strings/str_cat.h>

#include <bit>
#include <map>
#include <set>
#include <tuple>

#include "tests/card/suite/relations.h"

namespace relations {
namespace {

using sim::Card;
using sim::Feature;
using sim::Interface;
using sim::InterfaceKind;

std::string hex(u32 number) {
    return absl::StrCat("0x", absl::Hex(number));
}

// The first interface that a predicate says something of, by handle.
template <typename Says>
std::string first(const Card &card, Says says) {
    std::map<u32, const Interface *> sorted;
    card.interfaces.table.for_each([&](u32 handle, const Interface &its, u32) { sorted[handle] = &its; });
    for (const auto &[handle, its] : sorted) {
        const std::string said = says(handle, *its);
        if (!said.empty()) return hex(handle) + ": " + said;
    }
    return {};
}

const Interface *parent_of(const Card &card, const Interface &its) {
    return card.interfaces.table.find(its.parent);
}

bool is_below(const Card &card, const Interface &its, InterfaceKind kind) {
    const Interface *const parent = parent_of(card, its);
    return its.kind == InterfaceKind::SUB && parent != nullptr && parent->kind == kind;
}

std::string has_its_index(const Card &card) {
    return first(card, [&](u32 handle, const Interface &its) -> std::string {
        if (card.interfaces.handle_of_uidb(its.uidb) == handle) return {};
        return absl::StrCat("uidb ", its.uidb, " is that of ", hex(card.interfaces.handle_of_uidb(its.uidb)));
    });
}

std::string sub_interface_has_a_parent(const Card &card) {
    std::map<u32, u32> below;
    card.interfaces.table.for_each([&](u32, const Interface &its, u32) { ++below[its.parent]; });
    return first(card, [&](u32 handle, const Interface &its) -> std::string {
        if (its.kind == InterfaceKind::SUB && parent_of(card, its) == nullptr) return "no parent";
        if (its.sub_interfaces != below[handle])
            return absl::StrCat(its.sub_interfaces, " sub-interfaces counted, ", below[handle], " there");
        return {};
    });
}

std::string one_main_interface_a_port(const Card &card) {
    std::set<u8> ports;
    return first(card, [&](u32, const Interface &its) -> std::string {
        if (its.kind != InterfaceKind::MAIN || ports.insert(its.np_port).second) return {};
        return absl::StrCat("port ", its.np_port, " has another");
    });
}

std::string sub_interface_on_its_parents_port(const Card &card) {
    return first(card, [&](u32, const Interface &its) -> std::string {
        if (!is_below(card, its, InterfaceKind::MAIN)) return {};
        return its.np_port == parent_of(card, its)->np_port ? "" : "another port than its parent";
    });
}

std::string port_feature_is_the_port(const Card &card) {
    return first(card, [&](u32, const Interface &its) -> std::string {
        if (!its.has(Feature::NP_PORT)) return {};
        if (is_below(card, its, InterfaceKind::BUNDLE)) return "a port, below a bundle";
        return its.value(Feature::NP_PORT) == its.np_port ? "" : "the feature names another port";
    });
}

std::string bundle_feature_is_the_parents_bundle(const Card &card) {
    return first(card, [&](u32, const Interface &its) -> std::string {
        if (its.kind != InterfaceKind::SUB || !its.has(Feature::LAG_ID)) return {};
        if (!is_below(card, its, InterfaceKind::BUNDLE)) return "a bundle, but not below one";
        const Interface &parent = *parent_of(card, its);
        return parent.value(Feature::LAG_ID) == its.value(Feature::LAG_ID) ? "" : "another than its parent's";
    });
}

std::string one_encapsulation_a_parent(const Card &card) {
    std::set<std::tuple<u32, u32, u32, u32>> seen;
    return first(card, [&](u32, const Interface &its) -> std::string {
        const u32 outer = its.value(Feature::OUTER_VLAN), inner = its.value(Feature::INNER_VLAN);
        if (its.kind != InterfaceKind::SUB || outer == 0) return {};
        const u32 tpid = its.value(Feature::OUTER_TPID) != 0 ? its.value(Feature::OUTER_TPID) : 0x8100;
        if (seen.insert({its.parent, tpid, outer, inner}).second) return {};
        return absl::StrCat(outer, ".", inner, " is another's");
    });
}

std::string tags_are_vlans(const Card &card) {
    return first(card, [&](u32, const Interface &its) -> std::string {
        const u32 outer = its.value(Feature::OUTER_VLAN) != 0, inner = its.value(Feature::INNER_VLAN) != 0;
        if (inner > outer) return "an inner VLAN without an outer one";
        const u32 tags = its.value(Feature::VLAN_TAGS);
        const bool priority = tags == 1 && outer == 0;
        if (!its.has(Feature::VLAN_TAGS) || tags == outer + inner || priority) return {};
        return absl::StrCat(tags, " tags");
    });
}

std::string rewrite_takes_tags_that_are_there(const Card &card) {
    return first(card, [&](u32, const Interface &its) -> std::string {
        u32 taken = 0;
        switch (its.value(Feature::REWRITE_OP)) {
            case UIDB_REWRITE_SWAP11:
            case UIDB_REWRITE_SWAP12:
            case UIDB_REWRITE_POP1:
                taken = 1;
                break;
            case UIDB_REWRITE_SWAP21:
            case UIDB_REWRITE_SWAP22:
                taken = 2;
                break;
        }
        return taken <= its.value(Feature::VLAN_TAGS) ? "" : absl::StrCat("takes ", taken, " tags");
    });
}

std::string layer2_routes_nothing(const Card &card) {
    return first(card, [&](u32, const Interface &its) -> std::string {
        const bool routes = its.value(Feature::IPV4_ENABLE) != 0 || its.value(Feature::MPLS_ENABLE) != 0;
        return its.is_layer2() && routes ? "layer 2 with IPv4 or MPLS" : "";
    });
}

std::string interface_mac_is_unicast(const Card &card) {
    return first(card, [&](u32, const Interface &its) -> std::string {
        return its.has(Feature::MAC) && (its.mac[0] & 1) != 0 ? "a group MAC" : "";
    });
}

std::string one_interface_a_bundle_id(const Card &card) {
    const std::string doubled = first(card, [&](u32 handle, const Interface &its) -> std::string {
        if (its.kind != InterfaceKind::BUNDLE || !its.has(Feature::LAG_ID)) return {};
        const auto owner =
            card.interfaces.bundle_interfaces.find(static_cast<u8>(its.value(Feature::LAG_ID)));
        const bool its_own = owner != card.interfaces.bundle_interfaces.end() && owner->second == handle;
        return its_own ? "" : "its bundle id is another's";
    });
    if (!doubled.empty()) return doubled;
    for (const auto &[id, handle] : card.interfaces.bundle_interfaces) {
        const Interface *const its = card.interfaces.table.find(handle);
        if (its == nullptr || its->value(Feature::LAG_ID) != id)
            return absl::StrCat("bundle id ", id, " is stale");
    }
    return {};
}

std::string formed_bundle_has_an_interface(const Card &card) {
    std::string broken;
    card.interfaces.bundles.for_each([&](u8 id, const sim::Bundle &, u32) {
        if (!card.interfaces.bundle_interfaces.contains(id)) broken = absl::StrCat("bundle ", id);
    });
    return broken;
}

std::string members_are_configured(const Card &card) {
    std::string broken;
    card.interfaces.bundles.for_each([&](u8 id, const sim::Bundle &bundle, u32) {
        for (u32 port = 0; port < 256; ++port) {
            if (!bundle.members.test(port)) continue;
            const auto configured = card.interfaces.configured_members.find(static_cast<u8>(port));
            if (configured == card.interfaces.configured_members.end() || configured->second != id)
                broken = absl::StrCat("bundle ", id, ", port ", port);
        }
    });
    return broken;
}

std::string counts_on_pointers_of_its_own(const Card &card) {
    const auto &counting = card.statistics.counting;
    size_t found = 0;
    const std::string broken = first(card, [&](u32 handle, const Interface &its) -> std::string {
        for (const Feature feature : {Feature::STATS_INGRESS, Feature::STATS_EGRESS}) {
            if (!its.has(feature)) continue;
            const auto slot = counting.find(its.value(feature));
            if (slot == counting.end() || slot->second != handle) return "a pointer that is not its own";
            const sim::IndexPool &pool = feature == Feature::STATS_INGRESS ? card.statistics.interface_ingress
                                                                           : card.statistics.interface_egress;
            if (!pool.in_use(its.value(feature))) return "a pointer that was never allocated";
            ++found;
        }
        return {};
    });
    if (!broken.empty()) return broken;
    return counting.size() == found ? "" : "pointers counted on by nobody";
}

std::string features_are_accounted_for(const Card &card) {
    u32 features = 0;
    card.interfaces.table.for_each(
        [&](u32, const Interface &its, u32) { features += static_cast<u32>(std::popcount(its.features)); });
    for (const auto &[handle, ports] : card.interfaces.subif_ports)
        features += static_cast<u32>(ports.count());
    const u32 used = card.accounts[sim::Resource::feature].used;
    return used == features ? "" : absl::StrCat(used, " used, ", features, " there");
}

constexpr Relation kTable[] = {
    {"an interface is found by its index", has_its_index},
    {"a sub-interface has a parent, which counts it", sub_interface_has_a_parent},
    {"one main interface a port", one_main_interface_a_port},
    {"a sub-interface is on its parent's port", sub_interface_on_its_parents_port},
    {"the port feature is the port, and not below a bundle", port_feature_is_the_port},
    {"the bundle feature of a sub-interface is its parent's bundle", bundle_feature_is_the_parents_bundle},
    {"one encapsulation, one sub-interface", one_encapsulation_a_parent},
    {"the number of tags is the number of VLANs", tags_are_vlans},
    {"a rewrite takes no more tags than the encapsulation has", rewrite_takes_tags_that_are_there},
    {"no IPv4 or MPLS on a layer-2 interface", layer2_routes_nothing},
    {"the MAC of an interface is unicast", interface_mac_is_unicast},
    {"one interface, one bundle id", one_interface_a_bundle_id},
    {"a formed bundle has an interface", formed_bundle_has_an_interface},
    {"members of a bundle are configured for it", members_are_configured},
    {"a statistics pointer counts for one interface", counts_on_pointers_of_its_own},
    {"features are accounted for", features_are_accounted_for},
};

}  // namespace

std::span<const Relation> of_interfaces() {
    return kTable;
}

}  // namespace relations
