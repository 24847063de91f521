// Calls that failed unnoticed, in the commands: what the gate makes of them, what merge and report carry on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char *kCalls =
    R"("FailedCalls":3,"UnnoticedCalls":[{"Count":2,"Operation":"prm_srh_bd_add","Code":1555039232,)"
    R"("CodeName":"CARD_ERROR_X","CodeText":"unknown bridge domain"}],)";

std::string case_events(const std::string &name, const std::string &action, const std::string &verdict,
                        const std::string &calls) {
    const std::string head =
        R"({"Time":"2026-11-21T04:00:00.1Z","Package":"a","Test":")" + name + R"(","Action":")";
    return head + "run\"}\n" + head + action + R"(","Elapsed":0.1,)" + calls + R"("Verdict":")" + verdict +
           R"(","Mode":1,"Checks":1})" + "\n";
}

// A run of a set-up and two cases, one of which has a verdict and such calls.
std::string run_with(const std::string &verdict, const std::string &calls = kCalls,
                     const std::string &fixture = "") {
    return R"({"Time":"2026-11-21T04:00:00.000Z","Action":"start","Format":1,"Program":"prm_kiv","SelectedCases":2,)"
           R"("Folders":[],"Selected":[{"Selector":"a/x"},{"Selector":"a/y"}]})"
           "\n"
           R"({"Time":"2026-11-21T04:00:00.0Z","Action":"fixture","Package":"a","Fixture":"set-up","Elapsed":0.1,)" +
           fixture + R"("Ran":true,"Verdict":"passed"})" + "\n" + case_events("x", "pass", "passed", "") +
           case_events("y", verdict == "failed" ? "fail" : "pass", verdict, calls) +
           R"({"Time":"2026-11-21T04:00:01.0Z","Action":"summary","Elapsed":1,"Selected":2,"Counts":{"passed":1,)"
           "\"" +
           verdict + "\":" + (verdict == "passed" ? "2" : "1") +
           R"(},)"
           R"("Checks":2,"FailedChecks":0,"FailedFixtures":0,"FailedCalls":3,"UnnoticedCalls":2,)"
           R"("WithUnnoticedCalls":1,"Interrupted":false})"
           "\n";
}

class FailedCalls : public testing::Test {
  protected:
    FailedCalls() { unsetenv("CI"); }
    ~FailedCalls() override { unsetenv("CI"); }

    TemporaryDirectory directory_;
};

TEST_F(FailedCalls, CountWhenAsked) {
    for (const char *verdict : {"passed", "unchecked"}) {
        const std::string results = directory_.write("results.jsonl", run_with(verdict));
        EXPECT_EQ(kivctl("gate " + results).status, 0);
        EXPECT_EQ(kivctl("gate --failed-calls ignore " + results).status, 0);
        const Ran ran = kivctl("gate --failed-calls fail " + results);
        EXPECT_EQ(ran.status, 1);
        EXPECT_THAT(ran.out, HasSubstr(verdict));
        EXPECT_THAT(
            ran.out,
            HasSubstr("a/y: 2 calls failed unnoticed: prm_srh_bd_add: unknown bridge domain (2 times)\n"));
        EXPECT_THAT(ran.out, HasSubstr("not good: 2 cases, 1 to answer for\n"));
    }
    const std::string expected =
        directory_.write("expected.jsonl", run_with("passed", R"("FailedCalls":3,)"));
    EXPECT_EQ(kivctl("gate --failed-calls fail " + expected).status, 0);
}

TEST_F(FailedCalls, CountUnderContinuousIntegration) {
    const std::string results = directory_.write("results.jsonl", run_with("passed"));
    for (const char *value : {"true", "1"}) {
        setenv("CI", value, 1);
        EXPECT_EQ(kivctl("gate " + results).status, 1) << value;
        EXPECT_EQ(kivctl("gate --failed-calls ignore " + results).status, 0) << value;
    }
    for (const char *value : {"", "0", "false"}) {
        setenv("CI", value, 1);
        EXPECT_EQ(kivctl("gate " + results).status, 0) << value;
    }
}

TEST_F(FailedCalls, OfAFixtureCountToo) {
    const std::string results = directory_.write("results.jsonl", run_with("passed", "", kCalls));
    EXPECT_EQ(kivctl("gate " + results).status, 0);
    const Ran ran = kivctl("gate --failed-calls fail " + results);
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out, HasSubstr("set-up of a: 2 calls failed unnoticed: prm_srh_bd_add"));
}

// Where the run itself counted them, its verdict is "failed" without a failed check.
TEST_F(FailedCalls, ThatARunCountedCanBeForgiven) {
    const std::string results = directory_.write("results.jsonl", run_with("failed"));
    EXPECT_EQ(kivctl("gate --failed-calls fail " + results).status, 1);
    EXPECT_EQ(kivctl("gate --failed-calls ignore " + results).status, 0);
    const std::string without = directory_.write("without.jsonl", run_with("failed", ""));
    EXPECT_EQ(kivctl("gate --failed-calls ignore " + without).status, 1);
}

TEST_F(FailedCalls, SurviveMergeAndReport) {
    const std::string results = directory_.write("results.jsonl", run_with("passed", kCalls, kCalls));
    const std::string merged = directory_.write("merged.jsonl", ""),
                      again = directory_.write("again.jsonl", "");
    EXPECT_EQ(kivctl("merge " + results + " -o " + merged).status, 0);
    EXPECT_EQ(kivctl("report " + merged + " --json " + again).status, 0);
    for (const std::string &stream : {merged, again}) {
        const std::string text = shell("cat " + stream).out;
        EXPECT_THAT(text, HasSubstr(R"("FailedCalls":3,"UnnoticedCalls":2,"WithUnnoticedCalls":1)"));
        EXPECT_THAT(text, HasSubstr(R"("Count":2,"Operation":"prm_srh_bd_add","Code":1555039232,)"
                                    R"("CodeName":"CARD_ERROR_X","CodeText":"unknown bridge domain")"));
        EXPECT_EQ(kivctl("gate --failed-calls fail " + stream).status, 1);
    }
}

// A run that was killed has no sums: they are made from what it told.
TEST_F(FailedCalls, AreSummedUpForARunThatWasKilled) {
    std::string text = run_with("passed", kCalls, kCalls);
    text.erase(text.rfind("{\"Time\""));
    const std::string whole = directory_.write("whole.jsonl", "");
    EXPECT_EQ(kivctl("report " + directory_.write("cut.jsonl", text) + " --json " + whole).status, 0);
    EXPECT_THAT(shell("cat " + whole).out,
                HasSubstr(R"("FailedCalls":6,"UnnoticedCalls":4,"WithUnnoticedCalls":2)"));
}

TEST_F(FailedCalls, BrokenFieldsAreNamed) {
    for (const auto &[calls, message] : std::vector<std::pair<std::string, std::string>>{
             {R"("FailedCalls":"three",)", "FailedCalls: not a whole number"},
             {R"("UnnoticedCalls":3,)", "UnnoticedCalls: not a list"},
             {R"("UnnoticedCalls":[3],)", "UnnoticedCalls: holds something that is not a call"},
             {R"("UnnoticedCalls":[{"Operation":"x"}],)", "Count: missing"},
             {R"("UnnoticedCalls":[{"Count":1,"Code":4294967296}],)", "Code: too large"}}) {
        const Ran ran = kivctl("gate " + directory_.write("broken.jsonl", run_with("passed", calls)));
        EXPECT_EQ(ran.status, 2);
        EXPECT_THAT(ran.err, HasSubstr("broken.jsonl:6: " + message));
    }
}

}  // namespace
}  // namespace kivctl::test
