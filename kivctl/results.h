// The results of a run, whole in memory, as the companion commands work on them.
#ifndef KIVCTL_RESULTS_H
#define KIVCTL_RESULTS_H

#include <string>
#include <variant>
#include <vector>

#include "kiv/results.h"

namespace kivctl {

struct FolderBegins {
    kiv::FolderInfo folder;
};
struct FolderEnds {
    kiv::FolderInfo folder;
};

struct Results {
    std::string path;
    kiv::RunInfo info;
    std::vector<std::variant<FolderBegins, kiv::FixtureResult, kiv::CaseResult, FolderEnds>> events;
    kiv::Summary summary;
    bool complete = false;  // the run told of its end
    bool torn = false;      // the last line was cut

    std::vector<const kiv::CaseResult *> cases() const;
    std::vector<const kiv::FixtureResult *> fixtures() const;

    // Selected cases that the results do not tell of: a run that was killed has some.
    std::vector<std::string> unreached() const;

    // Makes results that end early whole: a not-run result for each unreached case, and a summary.
    void finish(const std::string &reason);

    void replay(kiv::Reporter &reporter) const;
};

// Reads an event stream; "-" is standard input. What is odd but usable (a torn last line, no end) is said on
// standard error; false, with the reason said there, when the results cannot be used.
bool load(const std::string &path, Results *results);

// The same from text.
bool parse(const std::string &text, const std::string &path, Results *results, std::string *error);

// Counts of the cases in `results`.
kiv::Summary count(const Results &results);

}  // namespace kivctl

#endif
