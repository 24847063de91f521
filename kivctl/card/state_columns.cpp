// Columns as a network engineer looks for them: see state_columns.h.
#include "kivctl/card/state_columns.h"

#include <fmt/core.h>

#include <algorithm>
#include <iterator>

namespace kivctl {
namespace {

std::string_view value_of(const StateEntry &entry, std::string_view name) {
    const StateField *const field = entry.find(name);
    return field != nullptr ? std::string_view(field->value) : std::string_view();
}

bool is_set(std::string_view value) {
    return !value.empty() && value != "0" && value != "0x0";
}

void append_item(std::string *list, std::string_view between, std::string_view item) {
    if (item.empty()) return;
    if (!list->empty()) *list += between;
    *list += item;
}

// "0x8100 100/200": a TPID with outer and inner VLAN.
std::string tags_text(const StateEntry &entry, std::string_view tpid_name, std::string_view outer_name,
                      std::string_view inner_name) {
    const std::string_view tpid = value_of(entry, tpid_name), outer = value_of(entry, outer_name),
                           inner = value_of(entry, inner_name);
    if (!is_set(outer)) return {};
    std::string text = fmt::format("{} {}", is_set(tpid) ? tpid : "vlan", outer);
    if (is_set(inner)) fmt::format_to(std::back_inserter(text), "/{}", inner);
    return text;
}

std::string encapsulation(const StateEntry &entry) {
    std::string text = tags_text(entry, "outer_tpid", "outer_vlan", "inner_vlan");
    const std::string_view tags = value_of(entry, "vlan_tags");
    if (!tags.empty()) append_item(&text, ", ", fmt::format("{} tag{}", tags, tags == "1" ? "" : "s"));
    return text;
}

std::string rewrite(const StateEntry &entry) {
    std::string text(value_of(entry, "rewrite_op"));
    append_item(&text, " ",
                tags_text(entry, "rewrite_outer_tpid", "rewrite_outer_vlan", "rewrite_inner_vlan"));
    return text;
}

// What is switched on or set, one word or two each.
std::string features(const StateEntry &entry) {
    std::string text;
    if (value_of(entry, "l2") == "true") append_item(&text, ", ", "l2");
    if (value_of(entry, "ipv4_enable") == "true") append_item(&text, ", ", "ipv4");
    if (value_of(entry, "mpls_enable") == "true") append_item(&text, ", ", "mpls");
    const auto add = [&](std::string_view word, std::string_view name) {
        if (const StateField *const field = entry.find(name))
            append_item(&text, ", ", fmt::format("{} {}", word, field->value));
    };
    add("vrf", "vrf");
    add("mtu", "ip_mtu");
    add("mac", "mac");
    // That of the interface says it already.
    if (value_of(entry, "np_port_feature") != value_of(entry, "np_port")) add("np_port", "np_port_feature");
    return text;
}

// The flags of an entry that are set, of all its bytes.
std::string flags(const StateEntry &entry) {
    std::string text;
    for (const std::string_view name : {"flags0", "flags1", "flags2"})
        append_item(&text, "|", value_of(entry, name));
    return text;
}

// What the fields below a name have: "src_ipv4 1.1.1.1, ttl 9".
std::string below(const StateEntry &entry, std::string_view prefix) {
    std::string text;
    for (const StateField &field : entry) {
        if (field.name.starts_with(prefix))
            append_item(&text, ", ",
                        fmt::format("{} {}", std::string_view(field.name).substr(prefix.size()),
                                    field_text(field, true)));
    }
    return text;
}

std::string match(const StateEntry &entry) {
    const std::string text = below(entry, "match.");
    return text.empty() ? "anything" : text;
}

std::string result(const StateEntry &entry) {
    return below(entry, "result.");
}

// "next_hop 100005, labels 55002, 55003; next_hop 100006".
std::string paths(const StateEntry &entry) {
    std::string text;
    for (int i = 0;; ++i) {
        const std::string path = below(entry, fmt::format("paths[{}].", i));
        if (path.empty()) return text;
        append_item(&text, "; ", path);
    }
}

// "all 10/1045, dropped 1/109": packets and bytes of the counters that have counted.
std::string counted(const StateEntry &entry) {
    std::string text;
    for (const std::string_view name : {"all", "committed", "dropped", "conform", "exceed", "violate"}) {
        const std::string_view packets = value_of(entry, fmt::format("{}.packets", name));
        if (is_set(packets))
            append_item(
                &text, ", ",
                fmt::format("{} {}/{}", name, packets, value_of(entry, fmt::format("{}.bytes", name))));
    }
    return text.empty() ? "nothing" : text;
}

std::string prefix(const StateEntry &entry, std::string_view address, std::string_view length) {
    const std::string_view its_length = value_of(entry, length);
    return fmt::format("{}/{}", value_of(entry, address), its_length.empty() ? "0" : its_length);
}
std::string local_prefix(const StateEntry &entry) {
    return prefix(entry, "key.local_addr", "key.local_plen");
}
std::string remote_prefix(const StateEntry &entry) {
    return prefix(entry, "key.remote_addr", "key.remote_plen");
}

std::string used(const StateEntry &entry) {
    return fmt::format("{} of {}", value_of(entry, "used"), value_of(entry, "limit"));
}

StateColumn plain(std::string_view heading, std::string_view field) {
    return {heading, {field}};
}
// A reference, whose kind the heading tells.
StateColumn bare(std::string_view heading, std::string_view field) {
    return {heading, {field}, nullptr, true};
}
StateColumn made(std::string_view heading, std::string (*make)(const StateEntry &),
                 std::vector<std::string_view> fields) {
    return {heading, std::move(fields), make};
}

std::vector<StateColumns> all_columns() {
    return {
        {"interfaces",
         "Interfaces",
         {plain("HANDLE", "handle"), plain("KIND", "kind"), plain("UIDB", "uidb"), bare("PARENT", "parent"),
          plain("PORT", "np_port"),
          made("ENCAPSULATION", encapsulation, {"outer_tpid", "outer_vlan", "inner_vlan", "vlan_tags"}),
          made("FEATURES", features,
               {"l2", "ipv4_enable", "mpls_enable", "vrf", "ip_mtu", "mac", "np_port_feature"}),
          made("REWRITE", rewrite,
               {"rewrite_op", "rewrite_outer_tpid", "rewrite_outer_vlan", "rewrite_inner_vlan"}),
          bare("BUNDLE", "bundle")}},
        {"bundles",
         "Bundles",
         {plain("BUNDLE", "lag_id"), bare("INTERFACE", "interface"), plain("MEMBERS", "members"),
          plain("CONFIGURED", "configured_members"), plain("FORMED", "formed")}},
        {"mirror_sessions",
         "Mirror sessions",
         {plain("SESSION", "session_id"), plain("TO PORT", "dest_port"), plain("SOURCES", "sources")}},
        {"mirror_sources",
         "Mirror sources",
         {bare("INTERFACE", "interface"), plain("DIRECTION", "direction"), bare("SESSION", "session")}},
        {"adjacencies",
         "Adjacencies",
         {plain("NEXT HOP", "next_hop"), plain("FORM", "form"), plain("FORWARDS", "forwards"),
          plain("MAC", "dmac"), plain("OUT BY", "uidb"), plain("LABELS", "labels"), plain("OVER", "over"),
          bare("TUNNEL", "tunnel")}},
        {"load_distributions",
         "Load distribution",
         {plain("POINTER", "ldi_ptr"), plain("FORM", "form"), plain("MODE", "mode"),
          made("PATHS", paths, {"paths*"})}},
        {"labels",
         "Labels",
         {plain("LABEL", "label"), plain("EOS", "eos"), made("BY", flags, {"flags0", "flags2"}),
          plain("POINTS AT", "label_ptr")}},
        {"ipv4_leaves",
         "IPv4 routes",
         {plain("VRF", "vrf"), plain("PREFIX", "prefix"), made("BY", flags, {"flags0", "flags1"}),
          plain("POINTS AT", "ldi_ptr")}},
        {"ipv6_leaves",
         "IPv6 routes",
         {plain("VRF", "vrf"), plain("PREFIX", "prefix"), made("BY", flags, {"flags0", "flags1"}),
          plain("POINTS AT", "ldi_ptr")}},
        {"lpts",
         "Local packet transport",
         {plain("ENTRY", "entry"), plain("PROTOCOL", "key.l3_proto"), plain("L4", "key.l4_proto"),
          made("LOCAL", local_prefix, {"key.local_addr", "key.local_plen"}), plain("PORT", "key.local_port"),
          made("REMOTE", remote_prefix, {"key.remote_addr", "key.remote_plen"}),
          plain("PORT", "key.remote_port")}},
        {"bridge_domains",
         "Bridge domains",
         {plain("DOMAIN", "bd_id"), plain("VNI", "vni"), plain("SOURCE VTEP", "source_vtep"),
          plain("MEMBERS", "members")}},
        {"circuits",
         "Circuits",
         {plain("CIRCUIT", "circuit"), plain("INTERFACE", "interface"), plain("SERVICE", "service")}},
        {"pseudowires",
         "Pseudowires",
         {plain("XID", "xid"), plain("CIRCUIT", "circuit"), bare("NEXT HOP", "next_hop"),
          bare("TUNNEL", "tunnel")}},
        {"vplags",
         "Virtual-port LAGs",
         {plain("VPLAG", "vplag_id"), plain("SOURCE VTEP", "source_vtep"), made("PATHS", paths, {"paths*"})}},
        {"evpn_macs",
         "EVPN MAC addresses",
         {bare("DOMAIN", "bridge_domain"), plain("MAC", "mac"), plain("TYPE", "type"), plain("FEC", "fec")}},
        {"shg_dfs",
         "Split-horizon designated forwarders",
         {plain("ADDRESS OR VNI", "address_or_vni"), bare("INTERFACE", "interface"), plain("SHG", "is_shg")}},
        {"overlays",
         "Overlay adjacencies",
         {bare("DOMAIN", "bridge_domain"), plain("REMOTE VTEP", "remote_vtep"),
          bare("NEXT HOP", "next_hop")}},
        {"tcams",
         "TCAMs",
         {plain("TCAM", "vmr_id"), plain("FEATURE", "feature"), plain("PORT", "port_num"),
          plain("ENTRIES", "entries")}},
        {"tcam_entries",
         "TCAM entries",
         {plain("TCAM", "vmr_id"), plain("INDEX", "ace_index"), made("MATCH", match, {"match.*"}),
          made("RESULT", result, {"result.*"})}},
        {"acl_statistics",
         "ACL statistics",
         {plain("STATISTICS", "stats_id"), plain("PACKETS", "packets"), plain("BYTES", "bytes")}},
        {"default_queues",
         "Default queues",
         {plain("PORT", "port"), plain("QUEUE", "fid0"), plain("RATE", "rate"),
          made("PACKETS/BYTES", counted, {"all.*", "committed.*", "dropped.*"}), plain("DEPTH", "depth")}},
        {"queues",
         "Queues",
         {plain("PORT", "port"), plain("QOS GROUP", "qos_group"), plain("QUEUE", "fid0"),
          plain("PRIORITY", "priority"), plain("RATE", "rate"),
          made("PACKETS/BYTES", counted, {"all.*", "committed.*", "dropped.*"}), plain("DEPTH", "depth")}},
        {"port_shapers", "Port shapers", {plain("SHAPER", "shaper")}},
        {"policies",
         "Policies",
         {plain("STATISTICS", "stats_id"), plain("KIND", "kind"), plain("POLICER", "policer_id"),
          plain("COMMITTED", "committed_rate"), plain("BURST", "burst"),
          made("PACKETS/BYTES", counted, {"conform.*", "exceed.*", "violate.*"})}},
        {"platform_policers",
         "Policers of the platform's own",
         {plain("POLICER", "policer_id"), plain("STATISTICS", "stats_id"),
          made("PACKETS/BYTES", counted, {"conform.*", "exceed.*", "violate.*"})}},
        {"event_managers", "Event managers", {plain("HANDLE", "handle")}},
        {"connections",
         "Connections",
         {plain("HANDLE", "handle"), plain("NAME", "name"), bare("EVENT MANAGER", "event_manager")}},
        {"clients",
         "Clients",
         {plain("HANDLE", "handle"), plain("NAME", "name"), bare("CONNECTION", "connection")}},
        {"statistics",
         "Statistics pointers",
         {plain("POINTER", "pointer"), plain("CLASS", "class"), plain("DIRECTION", "direction"),
          plain("CLIENT", "client"), bare("INTERFACE", "interface")}},
        {"indices",
         "Indices handed out or named",
         {plain("POOL", "pool"), plain("INDEX", "index"), plain("RESERVED", "reserved"),
          plain("NAMED BY", "named_by")}},
        {"accounts", "Accounts", {plain("RESOURCE", "name"), made("USED", used, {"used", "limit"})}},
    };
}

}  // namespace

bool StateColumn::takes(std::string_view field) const {
    return std::ranges::any_of(fields, [&](std::string_view own) {
        return own.ends_with('*') ? field.starts_with(own.substr(0, own.size() - 1)) : own == field;
    });
}

void StateColumn::append_text(std::string *out, const StateEntry &entry) const {
    if (make != nullptr) {
        *out += make(entry);
    } else if (const StateField *const field = entry.find(fields.front())) {
        append_field(out, *field, bare);
    }
}

const StateColumns &columns_of(std::string_view family) {
    static const std::vector<StateColumns> kColumns = all_columns();
    static const StateColumns kNone = {};
    const auto found = std::ranges::find(kColumns, family, &StateColumns::family);
    return found != kColumns.end() ? *found : kNone;
}

void append_field(std::string *out, const StateField &field, bool bare) {
    std::string_view value = field.value;
    if (bare && field.is_reference) value.remove_prefix(value.find(' ') + 1);
    *out += value;
    if (!field.ends.empty()) {
        *out += " -> ";
        *out += field.ends;
    }
    if (field.dangling) *out += " [dangling]";
    if (field.ends_dangling) *out += " [ends nowhere]";
}

std::string field_text(const StateField &field, bool bare) {
    std::string text;
    append_field(&text, field, bare);
    return text;
}

}  // namespace kivctl
