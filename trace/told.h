// Entries of one case or fixture as calls that are shown to people.
#ifndef TRACE_TOLD_H
#define TRACE_TOLD_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "trace/call.h"

namespace trace {

// The calls in a series of entries of this build, and how many more there were before them. The bytes belong
// to whoever has the entries.
struct Calls {
    std::vector<Call> calls;
    uint64_t left_out = 0;
};
Calls calls_in(std::string_view entries);

}  // namespace trace

#endif
