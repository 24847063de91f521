// The commands on a trace; each answers with the exit status.
#ifndef KIVCTL_TRACE_TRACE_COMMANDS_H
#define KIVCTL_TRACE_TRACE_COMMANDS_H

#include <cstddef>
#include <string>
#include <vector>

namespace kivctl {

// Which calls of a trace are looked at: those that fit everything that is given.
struct CallFilterOptions {
    std::string place;               // pattern of FOLDER/CASE, of a case or of a folder
    std::string operation;           // pattern of its name
    std::vector<std::string> where;  // FIELD=VALUE
    std::string status;              // "failed", "good", "unreturned", or a code by name or number
};

struct TraceShowOptions {
    std::string file;
    CallFilterOptions filter;
    bool changes = false;  // of each call what the previous one of its operation had otherwise
    bool hex = false, times = false, json = false;
    bool zeros = false;  // fields that are 0 too
    bool raw = false;    // handles as the numbers that they were
};
int show_trace(const TraceShowOptions &options);

struct TraceSummaryOptions {
    std::string file;
    CallFilterOptions filter;
    size_t slowest = 10;
};
int summarize_trace(const TraceSummaryOptions &options);
// Per operation, how many calls took how long.
int trace_statistics(const TraceSummaryOptions &options);

struct TraceDiffOptions {
    std::string before, after;
    CallFilterOptions filter;
    bool json = false, quiet = false;
};
int diff_traces(const TraceDiffOptions &options);

struct DissectorOptions {
    std::string trace;  // whose operations and records; empty: of this build
};
int write_dissector(const DissectorOptions &options);

}  // namespace kivctl

#endif
