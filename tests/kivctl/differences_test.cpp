// Calls that differ from the baseline, in the commands: what the gate makes of them, what merge and report
// carry on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char *kTwo =
    R"("Differences":["call 3: prm_srh_bd_add: bd_id: 7, baseline 8","call 4 is additional: x() = 0"],)";

// A run of a set-up and a case.
std::string run_that_differs(const std::string &verdict, const std::string &of_case,
                             const std::string &of_fixture = "", const std::string &sums = "") {
    const std::string action = verdict == "passed" ? "pass" : "fail";
    const std::string set_up = of_fixture.empty() ? "passed" : "failed";
    return R"({"Time":"2026-11-21T04:00:00.000Z","Action":"start","Format":1,"Program":"prm_kiv","SelectedCases":1,)"
           R"("Folders":[],"Selected":[{"Selector":"a/x"}]})"
           "\n"
           R"({"Time":"2026-11-21T04:00:00.0Z","Action":"fixture","Package":"a","Fixture":"set-up","Elapsed":0.1,)" +
           of_fixture + R"("Ran":true,"Verdict":")" + set_up + "\"}\n" +
           R"({"Time":"2026-11-21T04:00:00.1Z","Package":"a","Test":"x","Action":"run"})"
           "\n"
           R"({"Time":"2026-11-21T04:00:00.1Z","Package":"a","Test":"x","Action":")" +
           action + R"(","Elapsed":0.1,)" + of_case + R"("Verdict":")" + verdict +
           R"(","Mode":1,"Checks":1})" + "\n" +
           R"({"Time":"2026-11-21T04:00:01.0Z","Action":"summary","Elapsed":1,"Selected":1,"Counts":{")" +
           verdict + R"(":1},"Checks":1,"FailedChecks":0,"FailedFixtures":)" +
           (of_fixture.empty() ? "0," : "1,") + sums +
           R"("Interrupted":false})"
           "\n";
}

class DifferencesTest : public testing::Test {
  protected:
    TemporaryDirectory directory_;
};

TEST_F(DifferencesTest, AreNotGoodUnlessTheyAreAllowed) {
    const std::string results = directory_.write("results.jsonl", run_that_differs("failed", kTwo));
    const Ran ran = kivctl("gate " + results);
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out, HasSubstr("a/x: 2 differences from the baseline: call 3: prm_srh_bd_add: bd_id: 7, "
                                   "baseline 8, and 1 more\n"));
    EXPECT_EQ(kivctl("gate --allow-differences " + results).status, 0);
    const std::string good = directory_.write("good.jsonl", run_that_differs("passed", ""));
    EXPECT_EQ(kivctl("gate " + good).status, 0);
}

TEST_F(DifferencesTest, OfAFixtureCountToo) {
    const std::string results = directory_.write("results.jsonl", run_that_differs("passed", "", kTwo));
    const Ran ran = kivctl("gate " + results);
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out, HasSubstr("set-up of a: 2 differences from the baseline: call 3"));
    EXPECT_EQ(kivctl("gate --allow-differences " + results).status, 0);
}

TEST_F(DifferencesTest, AllowedOnesExcuseNothingElse) {
    const std::string crashed = directory_.write("crashed.jsonl", run_that_differs("crashed", kTwo));
    EXPECT_EQ(kivctl("gate --allow-differences " + crashed).status, 1);
    const std::string check = R"("FailedChecks":1,)";
    const std::string failed = directory_.write("failed.jsonl", run_that_differs("failed", kTwo + check));
    EXPECT_EQ(kivctl("gate --allow-differences " + failed).status, 1);
}

TEST_F(DifferencesTest, SurviveMergeAndReport) {
    const std::string results = directory_.write(
        "results.jsonl", run_that_differs("failed", kTwo, kTwo, R"("Differences":4,"WithDifferences":2,)"));
    const std::string merged = directory_.write("merged.jsonl", ""),
                      again = directory_.write("again.jsonl", ""), junit = directory_.write("again.xml", ""),
                      tap = directory_.write("again.tap", "");
    EXPECT_EQ(kivctl("merge " + results + " -o " + merged).status, 0);
    EXPECT_EQ(kivctl("report " + merged + " --json " + again + " --junit " + junit + " --tap " + tap).status,
              0);
    for (const std::string &stream : {merged, again}) {
        const std::string text = shell("cat " + stream).out;
        EXPECT_THAT(text, HasSubstr(R"("Differences":4,"WithDifferences":2)"));
        EXPECT_THAT(text, HasSubstr(R"("Differences":["call 3: prm_srh_bd_add: bd_id: 7, baseline 8",)"));
        EXPECT_EQ(kivctl("gate " + stream).status, 1);
    }
    const std::string line = "differs from the baseline: call 3: prm_srh_bd_add: bd_id: 7, baseline 8";
    EXPECT_THAT(shell("cat " + junit).out, HasSubstr(line));
    EXPECT_THAT(shell("cat " + tap).out, HasSubstr(line));
    EXPECT_THAT(shell("cat " + tap).out,
                HasSubstr("# 4 differences from the baseline, in 2 cases and fixtures\n"));
}

TEST_F(DifferencesTest, MoreThanAreToldAreCounted) {
    const std::string results = directory_.write(
        "results.jsonl", run_that_differs("failed", std::string(kTwo) + R"("DifferenceCount":70,)"));
    EXPECT_THAT(kivctl("gate " + results).out, HasSubstr("70 differences from the baseline: call 3"));
    const std::string broken = directory_.write(
        "broken.jsonl", run_that_differs("failed", std::string(kTwo) + R"("DifferenceCount":1,)"));
    const Ran ran = kivctl("gate " + broken);
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err, HasSubstr("DifferenceCount: fewer than are told"));
    EXPECT_THAT(
        kivctl("gate " + directory_.write("list.jsonl", run_that_differs("failed", R"("Differences":3,)")))
            .err,
        HasSubstr("Differences: not a list"));
}

}  // namespace
}  // namespace kivctl::test
