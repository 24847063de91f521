// kivctl gate from outside: what it says, and its exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kiv/reports/report_test.h"
#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

using Gate = CommandTest;

TEST_F(Gate, IsGoodWhenEverythingPassed) {
    const Ran ran = kivctl("gate " + file(results_of({{"a/x"}, {"a/y"}})));
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, "good: 2 cases, 0 to answer for\n");
    EXPECT_THAT(ran.err, IsEmpty());
}

TEST_F(Gate, NamesWhatFailed) {
    const Ran ran = kivctl("gate " + file(sample_results()));
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out,
                HasSubstr("failed             prm-kiv/tc_prm_v4_leaf_delete: prm/test/src/prm_kiv_uidb:120"));
    EXPECT_THAT(ran.out,
                HasSubstr("crashed            tear-down of span: ended by SIGSEGV (Segmentation fault)"));
    EXPECT_THAT(ran.out, HasSubstr("not good: 12 cases, 9 to answer for\n"));
}

TEST_F(Gate, EveryOptionDecidesOneVerdict) {
    const std::string unchecked = file(results_of({{"a/x", kiv::Verdict::unchecked}}), "u");
    EXPECT_EQ(kivctl("gate " + unchecked).status, 0);
    EXPECT_EQ(kivctl("gate --unchecked fail " + unchecked).status, 1);
    const std::string lines = file(results_of({{"a/x", kiv::Verdict::reported_error}}), "l");
    EXPECT_EQ(kivctl("gate " + lines).status, 1);
    EXPECT_EQ(kivctl("gate --error-lines ignore " + lines).status, 0);
    const std::string not_run = file(results_of({{"a/w"}, {"a/x", kiv::Verdict::not_run}}), "n");
    EXPECT_EQ(kivctl("gate " + not_run).status, 1);
    EXPECT_EQ(kivctl("gate --not-run ignore " + not_run).status, 0);
    const std::string nothing = file(results_of({}), "e");
    EXPECT_EQ(kivctl("gate " + nothing).status, 1);
    EXPECT_EQ(kivctl("gate --empty ignore " + nothing).status, 0);
    const std::string cut = file(results_of({{"a/x"}}, false), "c");
    EXPECT_EQ(kivctl("gate " + cut).status, 1);
    EXPECT_EQ(kivctl("gate --incomplete ignore " + cut).status, 0);
}

TEST_F(Gate, AFailureCountsWhateverIsIgnored) {
    for (const kiv::Verdict verdict :
         {kiv::Verdict::failed, kiv::Verdict::aborted, kiv::Verdict::crashed, kiv::Verdict::timed_out})
        EXPECT_EQ(kivctl("gate --error-lines ignore --not-run ignore " + file(results_of({{"a/x", verdict}})))
                      .status,
                  1);
}

TEST_F(Gate, UnusableResultsHaveAStatusOfTheirOwn) {
    const Ran ran = kivctl("gate " + file("nonsense\n"));
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err, HasSubstr("results.jsonl:1: these are not results of a run"));
    EXPECT_EQ(kivctl("gate " + directory_.path("none")).status, 2);
    EXPECT_EQ(kivctl("gate").status, 2);
    EXPECT_EQ(kivctl("gate --unchecked maybe x").status, 2);
    EXPECT_EQ(kivctl("frobnicate").status, 2);
    EXPECT_EQ(kivctl("--help").status, 0);
}

TEST_F(Gate, ATornLastLineIsToleratedAndSaid) {
    const std::string text = results_of({{"a/x"}, {"a/y"}});
    const Ran ran = kivctl("gate " + file(text.substr(0, text.size() - 20)));
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.err, HasSubstr("the last line is cut off and was left out"));
    EXPECT_THAT(ran.out, HasSubstr("the run did not come to its end"));
}

TEST_F(Gate, ReadsStandardInputAndSaysNothingWhenAsked) {
    const Ran ran =
        shell("cat " + file(results_of({{"a/x", kiv::Verdict::failed}})) + " | " KIVCTL " gate -q -");
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out, IsEmpty());
}

TEST_F(Gate, CountsTheCasesOfAllResults) {
    const std::string one = file(results_of({{"a/x"}, {"a/y", kiv::Verdict::failed}}), "1");
    const std::string two = file(results_of({{"b/z", kiv::Verdict::timed_out}}), "2");
    const Ran ran = kivctl("gate " + one + " " + two);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out,
              "failed             a/y\n"
              "timed out          b/z\n"
              "not good: 3 cases, 2 to answer for\n");
    EXPECT_EQ(kivctl("gate " + one + " " + directory_.path("none")).status, 2);
}

// The results of a run with that fixture.
std::string results_with(const kiv::FixtureResult &fixture) {
    return kiv::test::report_of(kiv::make_json_reporter, [&](kiv::Reporter &reporter) {
        kiv::RunInfo info;
        kiv::Summary summary;
        info.selected_cases = summary.selected = 1;
        reporter.run_begins(info);
        reporter.fixture_ended(fixture);
        summary.add(fixture);
        const kiv::CaseResult result = kiv::test::passing_case("a", "x");
        reporter.case_ended(result);
        summary.add(result);
        reporter.run_ended(summary);
    });
}

TEST_F(Gate, AFixtureCountsWhenItFailedAndNotWhenItDidNotRun) {
    kiv::FixtureResult fixture;
    fixture.folder = "a";
    fixture.ran = true;
    fixture.set_up = true;
    EXPECT_EQ(kivctl("gate " + file(results_with(fixture))).status, 0);
    fixture.verdict = kiv::Verdict::failed;
    fixture.reason = "no connection";
    const Ran ran = kivctl("gate " + file(results_with(fixture)));
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "failed             set-up of a: no connection\nnot good: 1 cases, 1 to answer for\n");
    fixture.ran = false;
    fixture.verdict = kiv::Verdict::not_run;
    EXPECT_EQ(kivctl("gate " + file(results_with(fixture))).out, "good: 1 cases, 0 to answer for\n");
}

TEST_F(Gate, AWorkerThatEndedBadlyOutsideOfCasesCounts) {
    kiv::FixtureResult worker;
    worker.of_worker = worker.ran = true;
    worker.verdict = kiv::Verdict::crashed;
    worker.reason = "left with exit code 23 after its last case";
    const std::string results = file(results_with(worker));
    const Ran ran = kivctl("gate " + results);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out,
              "crashed            worker: left with exit code 23 after its last case\n"
              "not good: 1 cases, 1 to answer for\n");
    const std::string merged = directory_.file("merged"), again = directory_.file("again");
    EXPECT_EQ(kivctl("merge " + results + " -o " + merged).status, 0);
    EXPECT_EQ(kivctl("report " + merged + " --json " + again).status, 0);
    EXPECT_EQ(kivctl("gate " + again).out, ran.out);
    EXPECT_EQ(kivctl("rerun " + again).out, "a/x\n");
}

TEST_F(Gate, ASummaryThatSaysOtherThanTheEventsIsNamed) {
    const std::string good = results_of({{"a/x"}, {"a/y"}});
    const auto changed = [&](const std::string &from, const std::string &to) {
        std::string text = good;
        const size_t at = text.rfind(from);
        if (at == std::string::npos) ADD_FAILURE() << from;
        const Ran ran = kivctl("gate -- " + file(text.replace(at, from.size(), to)));
        EXPECT_EQ(ran.status, 2) << ran.out;
        return ran.err;
    };
    EXPECT_THAT(changed("\"FailedFixtures\":0", "\"FailedFixtures\":1"),
                HasSubstr("FailedFixtures: the summary says 1, the events tell of 0\n"));
    EXPECT_THAT(changed("\"Selected\":2", "\"Selected\":3"),
                HasSubstr("Selected: the summary says 3, the events tell of 2\n"));
    EXPECT_THAT(changed("\"SelectedCases\":2", "\"SelectedCases\":9"),
                HasSubstr("SelectedCases: the start says 9, the events tell of 2\n"));
    EXPECT_THAT(changed("\"passed\":2", "\"passed\":1"),
                HasSubstr("Counts.passed: the summary says 1, the events tell of 2\n"));
}

TEST_F(Gate, EveryPassOfACaseIsCounted) {
    const std::string results = file(results_of(std::vector<Play>(600, {"a/x"})));
    EXPECT_EQ(kivctl("gate " + results).out, "good: 600 cases, 0 to answer for\n");
}

TEST_F(Gate, ResultsInWhichNoCaseRanAreNamed) {
    const std::string path = file(results_of({{"a/x", kiv::Verdict::not_run}}));
    EXPECT_EQ(kivctl("gate --not-run ignore " + path).out,
              path + ": no case ran\nnot good: 1 cases, 1 to answer for\n");
}

TEST_F(Gate, SaysWhyACaseOfAKilledRunDidNotRun) {
    const std::string text = results_of({{"a/x"}, {"b/y"}});
    const std::string path = file(text.substr(0, text.find("\"Action\":\"run\",\"Package\":\"b\"")));
    const Ran ran = kivctl("gate " + path);
    EXPECT_EQ(ran.out, path + ": the run did not come to its end\n" +
                           "not run            b/y: the run ended before it\n" +
                           "not good: 2 cases, 2 to answer for\n");
    EXPECT_EQ(ran.err, "kivctl: " + path + ": the last line is cut off and was left out\nkivctl: " + path +
                           ": the run did not tell of its end\n");
}

TEST_F(Gate, ARunThatDidNotBeginIsUnusableAndSaysWhy) {
    const Ran ran = kivctl(
        "gate " + file("{\"Time\":\"2026-11-21T04:00:00.000Z\",\"Action\":\"nothing-run\",\"Format\":1,"
                       "\"Program\":\"prm_kiv\",\"Arguments\":[\"frist\"],\"Reason\":\"no folder or case is "
                       "called \\\"frist\\\"\"}\n"));
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.out, IsEmpty());
    EXPECT_THAT(ran.err, HasSubstr("results.jsonl:1: unusable: nothing was run: no folder or case is called "
                                   "\"frist\"\n"));
}

TEST_F(Gate, CountsThatContradictTheEventsAreUnusable) {
    const std::string text = results_of({{"a/x"}, {"a/y"}, {"b/z"}});
    const std::pair<std::string, std::string> kChanges[] = {
        {"\"SelectedCases\":3", "SelectedCases: the start says 2, the events tell of 3"},
        {"\"Selected\":3", "Selected: the summary says 2, the events tell of 3"},
        {"\"Counts\":{\"passed\":3", "Counts.passed: the summary says 2, the events tell of 3"}};
    for (const auto &[field, why] : kChanges) {
        std::string changed = text;
        changed.replace(changed.find(field), field.size(), field.substr(0, field.size() - 1) + "2");
        const Ran ran = kivctl("gate " + file(changed));
        EXPECT_EQ(ran.status, 2);
        EXPECT_THAT(ran.err, HasSubstr("results.jsonl: unusable: " + why));
    }
    // An event that was taken out.
    const size_t at = text.rfind("{\"Time\"", text.find("\"Action\":\"pass\",\"Package\":\"b\""));
    EXPECT_EQ(kivctl("gate " + file(text.substr(0, at) + text.substr(text.find('\n', at) + 1))).status, 2);
    kiv::FixtureResult fixture;
    fixture.folder = "a";
    fixture.ran = true;
    std::string changed = results_with(fixture);
    const std::string field = "\"FailedFixtures\":0";
    changed.replace(changed.find(field), field.size(), "\"FailedFixtures\":1");
    EXPECT_THAT(kivctl("gate " + file(changed)).err, HasSubstr("FailedFixtures: the summary says 1"));
}

TEST_F(Gate, ResultsOlderThanAFileOrATimeAreUnusable) {
    const std::string path = file(results_of({{"a/x"}}));  // of 2026-11-21, 04:00
    EXPECT_EQ(kivctl("gate --newer-than 2026-11-21T03:59:59.999Z " + path).status, 0);
    const Ran ran = kivctl("gate --newer-than 2026-11-21T04:00:00.001Z " + path);
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err,
                HasSubstr("results.jsonl: unusable: the run began at 2026-11-21T04:00:00.000Z, which is "
                          "not after 2026-11-21T04:00:00.001Z"));
    const std::string mark = directory_.write("mark", "");
    EXPECT_EQ(
        shell("touch -d 2026-11-21T03:00:00Z " + mark + "; " KIVCTL " gate --newer-than " + mark + " " + path)
            .status,
        0);
    EXPECT_EQ(
        shell("touch -d 2026-11-21T05:00:00Z " + mark + "; " KIVCTL " gate --newer-than " + mark + " " + path)
            .status,
        2);
    const Ran neither = kivctl("gate --newer-than yesterday " + path);
    EXPECT_EQ(neither.status, 2);
    EXPECT_THAT(neither.err, HasSubstr("--newer-than: yesterday is neither a file nor a time"));
}

TEST_F(Gate, SaysWhenOtherCasesRanThanExpected) {
    const std::string one = file(results_of({{"a/x"}, {"a/y"}}), "1");
    const std::string two = file(results_of({{"b/z"}, {"a/x"}, {"b/w", kiv::Verdict::not_run}}), "2");
    EXPECT_EQ(kivctl("gate --not-run ignore --expect-cases 3 " + one + " " + two).status, 0);
    const Ran ran = kivctl("gate --expect-cases 3 " + one);
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out, HasSubstr("2 different cases ran, not 3 (--expect-cases)\n"));
    EXPECT_EQ(kivctl("gate --expect-cases many " + one).status, 2);
}

TEST_F(Gate, EverySelectorOfAnExpectedPlanMustHaveRun) {
    const std::string results =
        file(results_of({{"a/x"}, {"a/y#2"}, {"b/c/z"}, {"b/w", kiv::Verdict::not_run}}), "r");
    const auto gate = [&](const std::string &plan) {
        return kivctl("gate --not-run ignore --expect-plan " + file(plan, "plan") + " " + results);
    };
    EXPECT_EQ(gate("# all\na\nb/c/z\n'a/*'\n").status, 1);  // quotes belong to the shell
    EXPECT_EQ(gate("# all\na/y#2\na\nb/c\na/*\n-b/w\nb\n").out, "good: 4 cases, 0 to answer for\n");
    const Ran missing = gate("a\na/v\nc\n");
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.out, HasSubstr("plan:2: the results have no a/v\n"));
    EXPECT_THAT(missing.out, HasSubstr("plan:3: the results have no c\n"));
    EXPECT_THAT(gate("b\n").out, HasSubstr("plan:1: b/w did not run\n"));
    EXPECT_THAT(gate("a\n-a/x\n").out, HasSubstr("a/x ran, which the plan leaves out\n"));
    EXPECT_EQ(kivctl("gate --expect-plan " + directory_.path("none") + " " + results).status, 2);
}

TEST_F(Gate, ProblemsOfTheSiteCountUnlessAllowed) {
    const std::string path = file(kiv::test::report_of(kiv::make_json_reporter, [&](kiv::Reporter &reporter) {
        kiv::RunInfo info;
        info.selected_cases = 1;
        info.site = "lab";
        info.site_problems = {"lab/plan:3: no such folder"};
        reporter.run_begins(info);
        kiv::Summary summary;
        summary.selected = 1;
        const kiv::CaseResult result = kiv::test::passing_case("a", "x");
        summary.add(result);
        reporter.case_ended(result);
        reporter.run_ended(summary);
    }));
    const Ran ran = kivctl("gate " + path);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "site problem       lab/plan:3: no such folder\nnot good: 1 cases, 1 to answer for\n");
    EXPECT_EQ(kivctl("gate --allow-site-problems " + path).status, 0);
}

}  // namespace
}  // namespace kivctl::test
