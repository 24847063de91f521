// KTAP: nested folders with plans that hold.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tests/kiv/reports/report_test.h"

namespace kiv::test {
namespace {

std::string tap_of(const std::function<void(Reporter &)> &play) {
    return report_of(make_tap_reporter, play);
}

// A strict reader: every plan is met by results numbered from 1, at every level.
std::string plan_problem(const std::string &tap) {
    struct Level {
        int plan = -1, done = 0;
    };
    std::vector<Level> levels;
    std::istringstream lines(tap);
    std::string line;
    while (std::getline(lines, line)) {
        const size_t indent = line.find_first_not_of(' ');
        if (indent == std::string::npos || line[indent] == '#') continue;
        const size_t depth = indent / 4 + 1;
        std::string text = line.substr(indent);
        if (text == "KTAP version 1") {
            if (depth != levels.size() + 1) return "a version line at the wrong level: " + line;
            levels.emplace_back();
            continue;
        }
        while (levels.size() > depth) {
            if (levels.back().done != levels.back().plan) return "plan not met before: " + line;
            levels.pop_back();
        }
        if (levels.size() != depth) return "at the wrong level: " + line;
        Level &level = levels.back();
        if (text.rfind("1..", 0) == 0) {
            level.plan = std::stoi(text.substr(3));
            continue;
        }
        if (text.rfind("not ", 0) == 0) text = text.substr(4);
        if (text.rfind("ok ", 0) != 0) return "neither plan nor result: " + line;
        if (std::stoi(text.substr(3)) != ++level.done) return "misnumbered: " + line;
    }
    while (!levels.empty()) {
        if (levels.back().done != levels.back().plan) return "plan not met at the end";
        levels.pop_back();
    }
    return "";
}

TEST(Tap, Golden) {
    const std::string tap = tap_of(play_sample_run);
    expect_golden("sample.tap", tap);
    EXPECT_EQ(plan_problem(tap), "");
}

TEST(Tap, PlansHoldInALongRun) {
    EXPECT_EQ(plan_problem(tap_of([](Reporter &reporter) { play_long_run(reporter, 333, 700); })), "");
}

TEST(Tap, PlansHoldWhenARunIsRepeated) {
    for (const uint32_t seed : {0u, 7u}) {
        const std::string tap = tap_of([&](Reporter &reporter) {
            RunInfo info;
            info.repeat = 3;
            info.seed = seed;
            info.selected = {"span/manual/a", "span/session/b", "span/session/c"};
            reporter.run_begins(info);
            for (int pass = 0; pass < 3; ++pass) {
                reporter.folder_begins({"span/manual", "", 1});
                reporter.case_ended(passing_case("span/manual", "a"));
                reporter.folder_begins({"span/session", "", 2});
                reporter.case_ended(passing_case("span/session", "b"));
                reporter.case_ended(passing_case("span/session", "c"));
            }
            reporter.run_ended({});
        });
        EXPECT_EQ(seed != 0 ? "" : plan_problem(tap), "") << tap;
        if (seed != 0) {
            EXPECT_THAT(tap, testing::HasSubstr("\n1.."));
        }
    }
}

TEST(Tap, CasesLeftOverAreSkippedWhereTheyBelong) {
    const std::string tap = tap_of([](Reporter &reporter) {
        RunInfo info;
        info.selected = {"a/one", "a/two", "b/three"};
        reporter.run_begins(info);
        reporter.folder_begins({"a", "", 2});
        reporter.case_ended(passing_case("a", "one"));
        reporter.folder_ended({"a", "", 2});
        reporter.folder_begins({"b", "", 1});
        reporter.case_ended(passing_case("b", "three"));
        CaseResult left = passing_case("a", "two");
        left.verdict = Verdict::not_run;
        reporter.case_ended(left);
        reporter.run_ended({});
    });
    EXPECT_EQ(plan_problem(tap), "") << tap;
    EXPECT_THAT(tap, testing::HasSubstr("    ok 2 two # SKIP not run\n"));
}

}  // namespace
}  // namespace kiv::test
