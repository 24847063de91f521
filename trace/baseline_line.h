// A line of a baseline taken apart: the operation, its fields and its result, for who tells two calls apart.
#ifndef TRACE_BASELINE_LINE_H
#define TRACE_BASELINE_LINE_H

#include <string>
#include <string_view>
#include <vector>

namespace trace {

struct LineField {
    std::string path;  // "flags" of a parameter called record, "-> index", "request.port" of others
    std::string_view value;
};

struct CallLine {
    std::string_view operation;
    std::vector<LineField> fields;
    std::string_view result;  // "0", "CARD_ERROR_TABLE_FULL"; empty when it tells none
};

// The line's texts are views of it. False where it is no call as append_line writes them.
bool read_call_line(std::string_view line, CallLine *call);

// The operation alone: "prm_srh_bd_add" of "prm_srh_bd_add(...". Empty when there is none.
std::string_view operation_of(std::string_view line);

}  // namespace trace

#endif
