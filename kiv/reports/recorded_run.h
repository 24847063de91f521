// The results of one run, whole in memory: where everything starts that works on a run that is over.
#ifndef KIV_REPORTS_RECORDED_RUN_H
#define KIV_REPORTS_RECORDED_RUN_H

#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "kiv/results.h"

namespace kiv::reports {

struct FolderBegins {
    FolderInfo folder;
};
struct FolderEnds {
    FolderInfo folder;
};

struct RecordedRun {
    std::string path;
    RunInfo info;
    std::vector<std::variant<FolderBegins, FixtureResult, CaseResult, FolderEnds>> events;
    Summary summary;
    bool complete = false;  // the run told of its end
    bool torn = false;      // the last line was cut

    std::vector<const CaseResult *> cases() const;
    std::vector<const FixtureResult *> fixtures() const;

    // How often each case is told of, by selector: as often as the run has passes, unless it was killed.
    std::map<std::string, int> told() const;

    // Makes a run that ended early whole: a not-run result for each case that it did not reach, and a
    // summary.
    void finish(const std::string &reason);

    void replay(Reporter &reporter) const;

    // What the run's own counts say that its events do not, "FIELD: what differs"; empty when they agree.
    std::string contradiction() const;
};

// Reads an event stream; `path` is its name in messages. False, with *error set ("PATH:LINE: FIELD: what is
// wrong"), when it cannot be used; a last line that is cut off can.
bool read_run(std::string_view text, const std::string &path, RecordedRun *run, std::string *error);

}  // namespace kiv::reports

#endif
