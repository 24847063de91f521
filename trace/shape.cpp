// Calls by shape: see shape.h.
#include "trace/shape.h"

#include <algorithm>

namespace trace {
namespace {

// Interfaces, ports and bundles; VLANs; bridge domains, circuits and tunnels over VXLAN. A test holds them
// against two sites: none is left out that differs between them, and none stands here that does not.
constexpr SiteField kSiteFields[] = {
    {"if_handle", ""},
    {"parent_ifh", ""},
    {"channel_map", ""},
    {"port", ""},
    {"lag_id", ""},
    {"members", ""},
    {"value", "lag_id"},
    {"value", "np_port"},
    {"value_byte", "bundle_subif_port"},
    {"value", "outer_vlan"},
    {"value", "inner_vlan"},
    {"value", "rewrite_outer_vlan"},
    {"value", "rewrite_inner_vlan"},
    {"uidb", ""},
    {"member_uidb", ""},
    {"segment1_key", ""},
    {"segment2_key", ""},
    {"bd_id", ""},
    {"ac_xid", ""},
    {"vni_low", ""},
    {"address_or_vni", ""},
    {"source_vtep", ""},
    {"remote_vtep", ""},
    {"nh_id", ""},
    {"fec", ""},
    {"mac", ""},
};

std::string_view last_name(std::string_view path) {
    const size_t begin = path.find_last_of(". ");
    if (begin != std::string_view::npos) path.remove_prefix(begin + 1);
    return path.substr(0, path.find('['));
}

// Of a field of a feature record: which feature it is.
std::string_view feature_beside(const CallLine &call, std::string_view path) {
    const std::string of_it(path.substr(0, path.rfind('.') + 1));
    const auto beside = std::ranges::find(call.fields, of_it + "feature_id", &LineField::path);
    return beside != call.fields.end() ? beside->value : std::string_view();
}

bool is_chosen_by_site(const CallLine &call, const LineField &field) {
    const std::string_view name = last_name(field.path);
    return std::ranges::any_of(kSiteFields, [&](const SiteField &row) {
        return row.name == name && (row.feature.empty() || row.feature == feature_beside(call, field.path));
    });
}

}  // namespace

std::span<const SiteField> site_fields() {
    return kSiteFields;
}

void drop_chosen_by_site(CallLine *call) {
    std::vector<LineField> kept;
    for (const LineField &field : call->fields)
        if (!is_chosen_by_site(*call, field)) kept.push_back(field);
    call->fields = std::move(kept);
}

std::string shape_of(std::string_view line) {
    CallLine call;
    if (!read_call_line(line, &call)) return std::string(line);
    drop_chosen_by_site(&call);
    std::string shape(call.operation);
    for (const LineField &field : call.fields) {
        shape += '\n';
        shape += field.path;
        shape += '=';
        shape += field.value;
    }
    shape += '\n';
    shape += call.result;
    return shape;
}

}  // namespace trace
