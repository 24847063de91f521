// The supervisor killed at random moments of a run with every report on: each file parses afterwards, tells
// the same cases, and no process is left.
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <pugixml.hpp>
#include <random>

#include "kiv/reports/results_reader.h"
#include "tests/kiv/process.h"

namespace {

using kiv_test::Process;
using kiv_test::read_text;
using kiv_test::TemporaryDirectory;

struct CountingReporter : kiv::Reporter {
    void case_ended(const kiv::CaseResult &) override { ++cases; }
    int cases = 0;
};

int cases_of_events(const std::string &text) {
    CountingReporter reporter;
    kiv::reports::ReadStatus status;
    // Before the run begins the report says just that.
    EXPECT_TRUE(kiv::reports::read_results(text, "events", reporter, &status) ||
                status.error.find("nothing was run") != std::string::npos)
        << text.substr(0, 200);
    return reporter.cases;
}

// Finished cases only: a document that was cut has no element for the others.
int cases_of_junit(const std::string &text) {
    pugi::xml_document document;
    const pugi::xml_parse_result parsed = document.load_buffer(text.data(), text.size());
    EXPECT_TRUE(parsed) << parsed.description();
    return static_cast<int>(document.select_nodes("//testcase").size());
}

int cases_of_tap(const std::string &text) {
    EXPECT_EQ(text.rfind("KTAP version 1\n", 0), 0u);
    int cases = 0;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at);
        const std::string line = text.substr(at, end - at);
        if (line.rfind("    ok ", 0) == 0 || line.rfind("    not ok ", 0) == 0) ++cases;
        if (end == std::string::npos) break;
        at = end + 1;
    }
    return cases;
}

TEST(KilledSupervisor, LeavesEveryReportWellFormed) {
    const TemporaryDirectory directory;
    const std::string events = directory.file("r.json"), junit = directory.file("r.xml"),
                      tap = directory.file("r.tap"), page = directory.file("r.html");
    const std::vector<std::string> words = {"--quiet", "--json", events,   "--junit", junit,
                                            "--tap",   tap,      "--html", page};
    const std::map<std::string, std::string> environment = {{"SAMPLE_CASES", "20000"}};
    // How long a whole run takes depends on what else the machine does.
    const auto begin = std::chrono::steady_clock::now();
    Process("many", words, directory.path(), environment).finish();
    const auto whole = (std::chrono::steady_clock::now() - begin) / std::chrono::microseconds(1);
    std::mt19937 random(20261121);
    int in_the_middle = 0;
    for (int round = 0; round < 200 && in_the_middle < 60; ++round) {
        for (const std::string &file : {events, junit, tap, page}) std::filesystem::remove(file);
        Process process("many", words, directory.path(), environment);
        usleep(static_cast<unsigned>(std::uniform_int_distribution<int64_t>(1000, whole)(random)));
        process.signal_process(SIGKILL);
        process.finish();
        ASSERT_TRUE(kiv_test::group_is_gone(process.id())) << "round " << round;
        // Before the run began there is no file at all; from then on there are all of them.
        if (!std::filesystem::exists(page)) continue;

        const int told[] = {cases_of_events(read_text(events)), cases_of_junit(read_text(junit)),
                            cases_of_tap(read_text(tap))};
        // The files are written one after the other for each case.
        EXPECT_LE(*std::max_element(told, told + 3) - *std::min_element(told, told + 3), 1)
            << "round " << round;
        EXPECT_NE(read_text(page).find("</html>"), std::string::npos) << "round " << round;
        if (told[0] > 0 && told[0] < 20000) ++in_the_middle;
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(in_the_middle, 20) << "hardly a run was killed while it wrote";
}

}  // namespace
