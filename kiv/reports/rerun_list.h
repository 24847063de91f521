// Which cases of a run are to be run again: what --rerun-failed selects and `kivctl rerun` prints.
#ifndef KIV_REPORTS_RERUN_LIST_H
#define KIV_REPORTS_RERUN_LIST_H

#include <string>
#include <vector>

#include "kiv/reports/recorded_run.h"

namespace kiv::reports {

struct RerunRule {
    bool unchecked = false;  // cases that recorded no check, too
    bool not_run = true;     // cases that were selected and did not run
};

struct RerunCase {
    std::string selector;
    bool again = false;
};

// Every case of the run, in run order, each once. A case is to be run again when any of its passes did not
// come out well, when the run was killed before it reached it, and, since a fixture only runs with its cases,
// when a fixture of its folder or of one above failed; all of them when a worker ended badly outside of
// cases.
std::vector<RerunCase> rerun_list(const RecordedRun &run, const RerunRule &rule);

}  // namespace kiv::reports

#endif
