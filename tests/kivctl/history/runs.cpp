// Runs of a made-up plan.
#include "tests/kivctl/history/runs.h"

#include <fmt/core.h>

#include "kivctl/history/answers.h"

namespace kivctl::history::test {

kiv::reports::RecordedRun run_of(int day, const std::vector<Play> &plays) {
    kiv::reports::RecordedRun run;
    run.complete = true;
    run.info.program = "prm_kiv";
    // 2026-01-01, 04:00.
    std::string time = time_text((int64_t{1767240000} + int64_t{86400} * day) * 1000000000);
    time[10] = 'T';
    run.info.started_at = time + "Z";
    run.info.selected_cases = plays.size();
    for (const Play &play : plays) {
        kiv::CaseResult result;
        result.folder = play.folder;
        result.name = play.name;
        result.verdict = play.verdict;
        result.mode = 1;
        result.duration = std::chrono::nanoseconds(static_cast<int64_t>(play.milliseconds * 1e6));
        if (play.verdict == kiv::Verdict::failed) {
            kiv::Check check;
            check.expected_name = "CERR_SUCCESS";
            check.status = 0x457c2a00;
            check.file = "prm/test/src/prm_kiv_" + play.folder;
            check.function = play.name;
            check.line = 7;
            result.failures = {check};
            result.checks = result.failed_checks = 1;
            result.output = "ERROR: <" + play.name + ">\n";
        }
        ++run.summary.selected;
        run.summary.add(result);
        run.events.emplace_back(std::move(result));
    }
    return run;
}

void Kept::add(const kiv::reports::RecordedRun &run, const Labels &labels) {
    Database database = open();
    Store(database).add(run, {}, labels);
}

void add_days(Kept &kept, const std::string &letters, const Labels &labels, int first_day,
              const std::string &name) {
    Database database = kept.open();
    Store store(database);
    for (size_t i = 0; i < letters.size(); ++i) {
        std::vector<Play> plays = {{"other", "y"}};
        const kiv::Verdict verdict = letters[i] == 'F'   ? kiv::Verdict::failed
                                     : letters[i] == '-' ? kiv::Verdict::not_run
                                                         : kiv::Verdict::passed;
        if (letters[i] != ',') plays.push_back({"f", name, verdict});
        kiv::reports::RecordedRun run = run_of(first_day + static_cast<int>(i), plays);
        // Runs of several cards begin together here, which they never do.
        for (const auto &[label, value] : labels) run.info.arguments.push_back(label + value);
        store.add(run, {}, labels);
    }
}

}  // namespace kivctl::history::test
