// Calls by shape: what stays the same on another site, whose interfaces, ports, VLANs and names are others.
#ifndef TRACE_SHAPE_H
#define TRACE_SHAPE_H

#include <span>
#include <string>
#include <string_view>

#include "trace/baseline_line.h"

namespace trace {

// A field whose values a site chooses, or follow from such a value.
struct SiteField {
    std::string_view name;     // the last part of its path, without an index
    std::string_view feature;  // of a feature record: the feature whose value it is; else empty
};
std::span<const SiteField> site_fields();

// Takes those out.
void drop_chosen_by_site(CallLine *call);

// What is left of a line, in a form that compares; the line itself where it cannot be read.
std::string shape_of(std::string_view line);

}  // namespace trace

#endif
