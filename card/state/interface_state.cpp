// State: interfaces with their features, bundles, mirror sessions and their sources.
#include <fmt/core.h>

#include <bitset>
#include <set>

#include "card/state/families.h"
#include "uidb.h"

namespace card {
namespace {

using sim::Feature;

std::string_view kind_name(sim::InterfaceKind kind) {
    switch (kind) {
        case sim::InterfaceKind::MAIN:
            return "main";
        case sim::InterfaceKind::SUB:
            return "sub";
        case sim::InterfaceKind::BUNDLE:
            return "bundle";
        case sim::InterfaceKind::BVI:
            return "bvi";
    }
    return "unknown";
}

std::vector<u32> set_bits(const std::bitset<256> &bits) {
    std::vector<u32> numbers;
    for (u32 i = 0; i < bits.size(); ++i) {
        if (bits[i]) numbers.push_back(i);
    }
    return numbers;
}

enum class As { number, hex, flag };

// Features that are values and nothing else, in the order they are shown in.
struct FeatureRow {
    Feature feature;
    std::string_view name;
    As as;
};
constexpr FeatureRow kFeatures[] = {
    {Feature::L2, "l2", As::flag},
    {Feature::VLAN_TAGS, "vlan_tags", As::number},
    {Feature::OUTER_TPID, "outer_tpid", As::hex},
    {Feature::OUTER_VLAN, "outer_vlan", As::number},
    {Feature::INNER_VLAN, "inner_vlan", As::number},
    {Feature::REWRITE_OUTER_TPID, "rewrite_outer_tpid", As::hex},
    {Feature::REWRITE_OUTER_VLAN, "rewrite_outer_vlan", As::number},
    {Feature::REWRITE_INNER_VLAN, "rewrite_inner_vlan", As::number},
    {Feature::IPV4_ENABLE, "ipv4_enable", As::flag},
    {Feature::MPLS_ENABLE, "mpls_enable", As::flag},
    {Feature::VRF, "vrf", As::number},
    {Feature::IP_MTU, "ip_mtu", As::number},
    {Feature::NP_PORT, "np_port_feature", As::number},
};

void write_features(const sim::Card &card, const sim::Interface &interface, FamilyWriter &out) {
    for (const FeatureRow &row : kFeatures) {
        if (!interface.has(row.feature)) continue;
        const u32 value = interface.value(row.feature);
        switch (row.as) {
            case As::number:
                out.number(row.name, value);
                break;
            case As::hex:
                out.hex(row.name, value);
                break;
            case As::flag:
                out.json().key(row.name);
                out.json().boolean(value != 0);
                break;
        }
    }
    if (interface.has(Feature::REWRITE_OP)) {
        std::string_view name = "unknown";
        for (const prm_name &op : uidb_rewrite_ops) {
            if (op.value == interface.value(Feature::REWRITE_OP)) name = op.text;
        }
        out.text("rewrite_op", name);
    }
    if (interface.has(Feature::MAC)) out.mac("mac", interface.mac);
    if (interface.has(Feature::LAG_ID))
        out.reference("bundle", out.resolver().bundle(static_cast<u8>(interface.value(Feature::LAG_ID))));
    const auto statistics = [&](Feature feature, std::string_view name, const sim::IndexPool &pool) {
        if (interface.has(feature))
            out.reference(name, out.resolver().statistics(interface.value(feature), pool));
    };
    statistics(Feature::STATS_INGRESS, "stats_ingress", card.statistics.interface_ingress);
    statistics(Feature::STATS_EGRESS, "stats_egress", card.statistics.interface_egress);
}

// Ports of a bundle's sub-interface, each with whether it is a member of the bundle.
void write_subif_ports(const sim::Card &card, u32 handle, const sim::Interface &interface,
                       FamilyWriter &out) {
    const auto ports = card.interfaces.subif_ports.find(handle);
    if (ports == card.interfaces.subif_ports.end()) return;
    out.numbers("bundle_subif_ports", set_bits(ports->second));
    const sim::Interface *const parent = card.interfaces.table.find(interface.parent);
    const u32 lag_id = parent != nullptr ? parent->value(Feature::LAG_ID) : 0;
    const sim::Bundle *const bundle = card.interfaces.bundles.find(static_cast<u8>(lag_id));
    out.begin_list("bundle_members");
    for (const u32 port : set_bits(ports->second)) {
        out.begin_item();
        out.reference("port", {fmt::format("member {} of bundle {}", port, lag_id),
                               bundle == nullptr || !bundle->members.test(port)});
        out.end_item();
    }
    out.end_list();
}

void write_interfaces(const sim::Card &card, FamilyWriter &out) {
    in_order(card.interfaces.table, [&](u32 handle, const sim::Interface &interface, u32 users) {
        out.begin_entry();
        out.hex("handle", handle);
        out.text("kind", kind_name(interface.kind));
        out.number("uidb", interface.uidb);
        if (interface.parent != 0) out.reference("parent", out.resolver().interface(interface.parent));
        if (interface.kind == sim::InterfaceKind::MAIN || interface.kind == sim::InterfaceKind::SUB)
            out.number("np_port", interface.np_port);
        write_features(card, interface, out);
        write_subif_ports(card, handle, interface, out);
        out.count("sub_interfaces", interface.sub_interfaces);
        out.count("circuits", interface.circuits);
        out.count("users", users);
        out.end_entry();
    });
}

// Formed ones, and those that an interface or a port is only configured for.
void write_bundles(const sim::Card &card, FamilyWriter &out) {
    std::set<u8> ids;
    card.interfaces.bundles.for_each([&](u8 id, const sim::Bundle &, u32) { ids.insert(id); });
    for (const auto &[id, handle] : card.interfaces.bundle_interfaces) ids.insert(id);
    for (const auto &[port, id] : card.interfaces.configured_members) ids.insert(id);
    for (const u8 id : ids) {
        const sim::Bundle *const bundle = card.interfaces.bundles.find(id);
        out.begin_entry();
        out.number("lag_id", id);
        out.flag("formed", bundle != nullptr);
        const auto interface = card.interfaces.bundle_interfaces.find(id);
        if (interface != card.interfaces.bundle_interfaces.end())
            out.reference("interface", out.resolver().interface(interface->second));
        if (bundle != nullptr) out.numbers("members", set_bits(bundle->members));
        std::bitset<256> configured;
        for (const auto &[port, its_id] : card.interfaces.configured_members) {
            if (its_id == id) configured.set(port);
        }
        out.numbers("configured_members", set_bits(configured));
        out.count("users", card.interfaces.bundles.users(id));
        out.end_entry();
    }
}

void write_mirror_sessions(const sim::Card &card, FamilyWriter &out) {
    in_order(card.span.sessions, [&](u32 id, const sim::MirrorSession &session, u32 sources) {
        out.begin_entry();
        out.number("session_id", id);
        out.number("dest_port", session.dest_port);
        out.number("sources", sources);
        out.end_entry();
    });
}

void write_mirror_sources(const sim::Card &card, FamilyWriter &out) {
    in_order(card.span.sources, [&](u64 key, const sim::MirrorSource &source, u32) {
        out.begin_entry();
        out.reference("interface", out.resolver().interface(static_cast<u32>(key >> 16)));
        out.number("direction", key & 0xFFFF);
        out.reference("session", out.resolver().mirror_session(source.session_id));
        out.end_entry();
    });
}

constexpr Family kFamilies[] = {
    {"interfaces", "handle", write_interfaces},
    {"bundles", "lag_id", write_bundles},
    {"mirror_sessions", "session_id", write_mirror_sessions},
    {"mirror_sources", "interface direction", write_mirror_sources},
};

}  // namespace

std::span<const Family> interface_families() {
    return kFamilies;
}

}  // namespace card
