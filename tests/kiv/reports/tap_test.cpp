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

// The sub-folder comes before the cases of its parent.
TEST(Tap, CasesLeftOverBehindASubFolderAreSkippedToo) {
    const std::string tap = tap_of([](Reporter &reporter) {
        RunInfo info;
        info.selected = {"a/sub/one", "a/two", "a/three"};
        reporter.run_begins(info);
        reporter.folder_begins({"a/sub", "", 1});
        reporter.case_ended(passing_case("a/sub", "one"));
        reporter.folder_begins({"a", "", 2});
        reporter.case_ended(passing_case("a", "two"));
        reporter.run_ended({});
    });
    EXPECT_EQ(plan_problem(tap), "") << tap;
    EXPECT_THAT(tap, testing::HasSubstr("    ok 3 three # SKIP not run\nok 1 a\n"));
}

TEST(Tap, ACaseWithoutAFolderIsAnItemOfTheRun) {
    const std::string tap = tap_of([](Reporter &reporter) {
        RunInfo info;
        info.selected = {"/one", "/two", "a/three"};
        reporter.run_begins(info);
        reporter.case_ended(passing_case("", "one"));
        reporter.case_ended(passing_case("", "two"));
        reporter.case_ended(passing_case("a", "three"));
        reporter.run_ended({});
    });
    EXPECT_EQ(plan_problem(tap), "") << tap;
    EXPECT_THAT(tap, testing::HasSubstr("1..3\n"));
    EXPECT_THAT(tap, testing::HasSubstr("\nok 2 two\n"));
}

// A fixture runs while its sub-folders are open: what fails is its own folder.
TEST(Tap, AFixtureThatFailedMakesItsFolderNotOk) {
    const std::string tap = tap_of([](Reporter &reporter) {
        RunInfo info;
        info.selected = {"span/manual/a", "span/session/b", "acl/c"};
        reporter.run_begins(info);
        reporter.folder_begins({"span/manual", "", 1});
        reporter.case_ended(passing_case("span/manual", "a"));
        FixtureResult fixture;
        fixture.folder = "span/manual";
        fixture.ran = true;
        fixture.reason = "said no";
        fixture.output = "of no interest\n";
        reporter.fixture_ended(fixture);
        reporter.folder_begins({"span/session", "", 1});
        reporter.case_ended(passing_case("span/session", "b"));
        fixture.folder = "span";
        fixture.verdict = Verdict::reported_error;
        fixture.output = "one\ntwo";
        reporter.fixture_ended(fixture);
        reporter.folder_begins({"acl", "", 1});
        reporter.case_ended(passing_case("acl", "c"));
        fixture.folder = "acl";
        fixture.ran = false;
        fixture.verdict = Verdict::not_run;
        fixture.reason = "its worker ended";
        fixture.output = "";
        reporter.fixture_ended(fixture);
        reporter.run_ended({});
    });
    EXPECT_EQ(plan_problem(tap), "") << tap;
    EXPECT_THAT(tap, testing::HasSubstr("        ok 1 b\n"
                                        "        # tear-down of span: reported an error\n"
                                        "        # said no\n"
                                        "        # one\n"
                                        "        # two\n"
                                        "    ok 2 session\n"
                                        "not ok 1 span\n"));
    EXPECT_THAT(tap, testing::HasSubstr("    # tear-down of acl: not run\n"
                                        "    # its worker ended\n"
                                        "ok 2 acl\n"));
    EXPECT_THAT(tap, testing::Not(testing::HasSubstr("of no interest")));
}

TEST(Tap, AWorkerThatEndedBadlyMakesItsLastFolderNotOk) {
    const std::string tap = tap_of([](Reporter &reporter) {
        RunInfo info;
        info.selected = {"acl/c"};
        reporter.run_begins(info);
        reporter.folder_begins({"acl", "", 1});
        reporter.case_ended(passing_case("acl", "c"));
        reporter.folder_ended({"acl", "", 1});
        FixtureResult worker;
        worker.of_worker = worker.ran = true;
        worker.verdict = Verdict::crashed;
        worker.reason = "left with exit code 23 after its last case";
        reporter.fixture_ended(worker);
        reporter.run_ended({});
    });
    EXPECT_EQ(plan_problem(tap), "") << tap;
    EXPECT_THAT(tap, testing::HasSubstr("    ok 1 c\n"
                                        "    # worker: crashed\n"
                                        "    # left with exit code 23 after its last case\n"
                                        "not ok 1 acl\n"));
}

// The passes of a shuffled run have orders of their own: each level counts what it had.
TEST(Tap, AShuffledRepeatedRunPlansAtTheEnd) {
    const std::string tap = tap_of([](Reporter &reporter) {
        RunInfo info;
        info.repeat = 2;
        info.seed = 7;
        info.selected = {"a/one", "a/two"};
        reporter.run_begins(info);
        for (const char *const first : {"one", "two"}) {
            reporter.folder_begins({"a", "", 2});
            reporter.case_ended(passing_case("a", first));
            reporter.case_ended(passing_case("a", first == std::string("one") ? "two" : "one"));
            reporter.folder_ended({"a", "", 2});
            reporter.folder_begins({"b", "", 1});
            reporter.case_ended(passing_case("b", "three"));
        }
        reporter.run_ended({});
    });
    EXPECT_EQ(tap,
              "KTAP version 1\n# \n"
              "    KTAP version 1\n    # Subtest: a\n    ok 1 one\n    ok 2 two\n    1..2\nok 1 a\n"
              "    KTAP version 1\n    # Subtest: b\n    ok 1 three\n    1..1\nok 2 b\n"
              "    KTAP version 1\n    # Subtest: a\n    ok 1 two\n    ok 2 one\n    1..2\nok 3 a\n"
              "    KTAP version 1\n    # Subtest: b\n    ok 1 three\n    1..1\nok 4 b\n"
              "1..4\n# Totals:\n");
}

TEST(Tap, NamesCannotBeTakenForDirectives) {
    const std::string tap = tap_of([](Reporter &reporter) {
        RunInfo info;
        info.program = "prm\nkiv";
        info.arguments = {"a\tb"};
        info.card = "sim";
        info.selected = {"a/one # SKIP it", "a/two#2\nok 3"};
        reporter.run_begins(info);
        reporter.case_ended(passing_case("a", "one # SKIP it"));
        reporter.case_ended(passing_case("a", "two#2\nok 3"));
        Summary summary;
        summary.stopped_because = "somebody\npressed Ctrl-C";
        summary.notes = {"a note"};
        summary.counts[static_cast<size_t>(Verdict::passed)] = 2;
        reporter.run_ended(summary);
    });
    EXPECT_THAT(tap, testing::HasSubstr("# prm kiv a b\n# card sim\n    KTAP"));
    EXPECT_THAT(tap, testing::HasSubstr("    ok 1 one \\# SKIP it\n    ok 2 two#2 ok 3\n"));
    EXPECT_THAT(tap, testing::EndsWith("ok 1 a\n# stopped: somebody\n# pressed Ctrl-C\n# a note\n"
                                       "# Totals: passed:2\n"));
}

}  // namespace
}  // namespace kiv::test
