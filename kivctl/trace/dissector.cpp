#include "kivctl/trace/trace_commands.h"
namespace kivctl {
int write_dissector(const DissectorOptions &) {
    return 2;
}
}  // namespace kivctl
