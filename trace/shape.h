// Calls by shape: what stays the same on another site, whose interfaces, ports, VLANs and names are others.
#ifndef TRACE_SHAPE_H
#define TRACE_SHAPE_H

#include <string>
#include <string_view>

#include "trace/baseline_line.h"

namespace trace {

// Takes out the fields whose values a site chooses, or follow from such a value.
void drop_chosen_by_site(CallLine *call);

// What is left of a line, in a form that compares; the line itself where it cannot be read.
std::string shape_of(std::string_view line);

}  // namespace trace

#endif
