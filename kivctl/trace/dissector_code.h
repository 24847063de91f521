// What a dissector does with the tables in front of it: the text of dissector.lua.
#ifndef KIVCTL_TRACE_DISSECTOR_CODE_H
#define KIVCTL_TRACE_DISSECTOR_CODE_H

#include <string_view>

namespace kivctl {

extern const std::string_view kDissectorCode;

}  // namespace kivctl

#endif
