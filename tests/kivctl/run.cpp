// Runs programs.
#include "tests/kivctl/run.h"

#include <stdlib.h>
#include <sys/wait.h>

#include <cstdlib>

#include "tests/kiv/reports/report_test.h"

namespace kivctl::test {

Ran shell(const std::string &command) {
    const TemporaryDirectory directory;
    // What a test environment says is not meant for the programs that the test runs.
    for (const char *name : {"CTEST_INTERACTIVE_DEBUG_MODE", "DASHBOARD_TEST_FROM_CTEST"}) unsetenv(name);
    Ran ran;
    const int status = std::system(
        ("{ " + command + "\n} >" + directory.path("out") + " 2>" + directory.path("err") + " </dev/null")
            .c_str());
    ran.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    ran.out = kiv_test::read_text(directory.path("out"));
    ran.err = kiv_test::read_text(directory.path("err"));
    return ran;
}

Ran kivctl(const std::string &arguments) {
    return shell(KIVCTL " " + arguments);
}

std::string results_of(const std::vector<Play> &plays, bool ends, int shard, int shards,
                       const std::string &started_at) {
    kiv::RunInfo info;
    info.program = "prm_kiv";
    info.started_at = started_at;
    info.shard_index = shard;
    info.shard_count = shards;
    for (const Play &play : plays) {
        info.selected.push_back(play.name, "describes " + play.name);
    }
    info.selected_cases = plays.size();
    return kiv::test::report_of(kiv::make_json_reporter, [&](kiv::Reporter &reporter) {
        reporter.run_begins(info);
        kiv::Summary summary;
        summary.selected = plays.size();
        for (const Play &play : plays) {
            kiv::CaseResult result = kiv::test::passing_case(play.name.substr(0, play.name.rfind('/')),
                                                             play.name.substr(play.name.rfind('/') + 1));
            result.verdict = play.verdict;
            result.duration = std::chrono::nanoseconds(static_cast<int64_t>(play.milliseconds * 1e6));
            if (play.verdict == kiv::Verdict::reported_error) result.error_lines = {"ERROR: it"};
            reporter.case_ended(result);
            summary.add(result);
        }
        if (ends) reporter.run_ended(summary);
    });
}

std::string sample_results() {
    return kiv::test::report_of(kiv::make_json_reporter, kiv::test::play_sample_run);
}

}  // namespace kivctl::test
