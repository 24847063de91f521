// Which cases of a run are to be run again.
#include "kiv/reports/rerun_list.h"

#include <set>

namespace kiv::reports {
namespace {

bool counts(Verdict verdict, const RerunRule &rule) {
    if (verdict == Verdict::unchecked) return rule.unchecked;
    if (verdict == Verdict::not_run) return rule.not_run;
    return !verdict_is_good(verdict);
}

}  // namespace

std::vector<RerunCase> rerun_list(const RecordedRun &run, const RerunRule &rule) {
    std::vector<RerunCase> list;
    std::map<std::string, size_t> places;
    const auto place = [&](const std::string &selector) -> RerunCase & {
        const auto [found, is_new] = places.try_emplace(selector, list.size());
        if (is_new) list.push_back({selector});
        return list[found->second];
    };
    for (const CaseResult *const result : run.cases()) {
        RerunCase &test = place(result->selector());
        test.again = test.again || counts(result->verdict, rule);
    }
    if (!run.complete) {
        std::map<std::string, int> told = run.told();
        for (size_t at = 0; at < run.info.selected.size(); ++at) {
            const std::string selector = run.info.selected.selector(at);
            if (told[selector] < run.info.repeat && counts(Verdict::not_run, rule))
                place(selector).again = true;
        }
    }
    std::set<std::string> broken;  // folders, each with a slash behind it; empty: all, when it was the worker
    for (const FixtureResult *const fixture : run.fixtures())
        if (fixture->failed()) broken.insert(fixture->of_worker ? "" : fixture->folder + "/");
    for (RerunCase &test : list)
        for (const std::string &folder : broken) test.again = test.again || test.selector.starts_with(folder);
    return list;
}

}  // namespace kiv::reports
