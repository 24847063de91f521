// Calls by shape: see shape.h.
#include "trace/shape.h"

#include <algorithm>

namespace trace {
namespace {

struct SiteField {
    std::string_view name;  // the last part of a path, without an index
    std::string_view why;
};

// A test holds them against the sites: none is left out that differs between two of them, and none stands
// here that does not.
constexpr SiteField kSiteFields[] = {
    {"if_handle", "interface handles are the site's"},
};

std::string_view last_name(std::string_view path) {
    const size_t begin = path.find_last_of(". ");
    if (begin != std::string_view::npos) path.remove_prefix(begin + 1);
    return path.substr(0, path.find('['));
}

}  // namespace

void drop_chosen_by_site(CallLine *call) {
    std::erase_if(call->fields, [](const LineField &field) {
        return std::ranges::find(kSiteFields, last_name(field.path), &SiteField::name) !=
               std::end(kSiteFields);
    });
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
