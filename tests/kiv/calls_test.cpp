// Whole runs of a suite whose calls fail: what is said of the failures that nothing in a case tells.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/kiv/process.h"

namespace {

using kiv_test::Finished;
using kiv_test::Process;
using kiv_test::read_text;
using testing::HasSubstr;
using testing::Not;

class CallsTest : public testing::Test {
  protected:
    Finished run(std::vector<std::string> arguments, const std::string &ci = "") {
        arguments.insert(arguments.end(), {"--json", "run.json", "--junit", "run.xml", "--tap", "run.tap"});
        return Process("calls", arguments, directory_.path(), {{"CI", ci}}).finish();
    }
    // The last event of a case or fixture, or the summary.
    nlohmann::json event(const std::string &name) {
        nlohmann::json found;
        std::istringstream lines(read_text(directory_.file("run.json")));
        for (std::string line; std::getline(lines, line);) {
            const nlohmann::json event = nlohmann::json::parse(line);
            for (const char *field : {"Test", "Fixture", "Action"})
                if (event.value(field, "") == name) found = event;
        }
        return found;
    }
    std::string report(const char *name) { return read_text(directory_.file(name)); }

    kiv_test::TemporaryDirectory directory_;
};

class CallsOfEveryRun : public CallsTest, public testing::WithParamInterface<const char *> {};
INSTANTIATE_TEST_SUITE_P(, CallsOfEveryRun, testing::Values("--timeout=60", "--no-fork"),
                         [](const auto &how) { return how.index == 0 ? "Supervised" : "InPlace"; });

TEST_P(CallsOfEveryRun, WhatTheCaseTellsNeedsNoSaying) {
    const Finished finished = run({GetParam(), "told"});
    EXPECT_THAT(finished.out, HasSubstr("PASSED: 6 cases, 5 passed, 1 unchecked"));
    EXPECT_THAT(finished.out, Not(HasSubstr("unnoticed")));
    EXPECT_EQ(event("checked")["FailedCalls"], 1);
    EXPECT_FALSE(event("checked").contains("UnnoticedCalls"));
    EXPECT_EQ(event("summary")["FailedCalls"], 6);
    EXPECT_FALSE(event("summary").contains("UnnoticedCalls"));
}

TEST_P(CallsOfEveryRun, WhatTheCaseDoesNotTellIsSaidEverywhere) {
    const Finished finished = run({GetParam(), "silent"});
    const std::string all = "3 calls failed unnoticed: bd_add: resource busy (2 times), bd_add: 0x00000016";
    EXPECT_THAT(finished.out, HasSubstr("  says_nothing\n      " + all + "\n"));
    EXPECT_THAT(finished.out,
                HasSubstr("  unchecked\n      1 call failed unnoticed: bd_add: resource busy\n"));
    EXPECT_THAT(finished.out,
                HasSubstr("  said_before\n      1 call failed unnoticed: bd_add: resource busy\n"));
    EXPECT_THAT(finished.out,
                HasSubstr("\nCalls failed unnoticed\n  silent/says_nothing\n  silent/unchecked\n  "
                          "silent/said_before\n"));
    EXPECT_THAT(finished.out, HasSubstr("\nPASSED: 3 cases, 2 passed, 1 unchecked\n"));
    EXPECT_THAT(finished.out, HasSubstr("\n        5 calls failed unnoticed, in 3 cases and fixtures\n"));
    EXPECT_EQ(event("says_nothing")["Verdict"], "passed");
    EXPECT_EQ(event("says_nothing")["FailedCalls"], 3);
    EXPECT_EQ(event("says_nothing")["UnnoticedCalls"],
              nlohmann::json::parse(R"([{"Count":2,"Operation":"bd_add","Code":2830668288,"CodeName":"E_BUSY",
                  "CodeText":"resource busy"},{"Count":1,"Operation":"bd_add","Code":22}])"));
    EXPECT_EQ(event("summary")["UnnoticedCalls"], 5);
    EXPECT_EQ(event("summary")["WithUnnoticedCalls"], 3);
    EXPECT_THAT(report("run.xml"), HasSubstr("<system-err>" + all + "</system-err>"));
    EXPECT_THAT(report("run.xml"), HasSubstr("failures=\"0\""));
    EXPECT_THAT(report("run.tap"), HasSubstr("    # " + all + "\n"));
    EXPECT_THAT(report("run.tap"), HasSubstr("\n# 5 calls failed unnoticed, in 3 cases and fixtures\n"));
}

TEST_P(CallsOfEveryRun, QuietRunShowsThemToo) {
    const Finished finished = run({GetParam(), "-q", "silent/unchecked", "told"});
    EXPECT_THAT(finished.out,
                HasSubstr("  unchecked\n      1 call failed unnoticed: bd_add: resource busy\n"));
    EXPECT_THAT(finished.out, Not(HasSubstr("shown")));
}

TEST_P(CallsOfEveryRun, FixturesAreTreatedLikeCases) {
    const Finished finished = run({GetParam(), "fixtures"});
    EXPECT_THAT(finished.out,
                HasSubstr("  set-up of fixtures\n      1 call failed unnoticed: bd_add: resource busy\n"));
    EXPECT_THAT(finished.out, HasSubstr("PASSED: 1 case, 1 passed\n"));
    EXPECT_THAT(finished.out, HasSubstr("1 call failed unnoticed, in 1 case or fixture\n"));
    EXPECT_EQ(event("set-up")["Verdict"], "passed");
    EXPECT_EQ(event("set-up")["UnnoticedCalls"][0]["Operation"], "bd_add");
    EXPECT_THAT(report("run.xml"), HasSubstr("<testcase name=\"set-up\""));
    EXPECT_THAT(report("run.tap"), HasSubstr("# set-up of fixtures: passed\n"));

    const Finished counted = run({GetParam(), "fixtures", "--failed-calls", "fail"});
    EXPECT_THAT(counted.out, HasSubstr("FAILED: 1 case, 1 passed, 1 failed fixture\n"));
    EXPECT_EQ(event("set-up")["Verdict"], "failed");
    EXPECT_THAT(report("run.xml"),
                HasSubstr("message=\"set-up of fixtures: 1 call failed unnoticed: bd_add: resource busy\""));
}

TEST_P(CallsOfEveryRun, TheyFailTheCaseWhereTheyCount) {
    const Finished finished = run({GetParam(), "silent/says_nothing", "told", "--failed-calls", "fail"});
    EXPECT_THAT(finished.out, HasSubstr("  FAILED "));
    EXPECT_THAT(finished.out, HasSubstr("\nFAILED: 7 cases, 5 passed, 1 failed, 1 unchecked\n"));
    EXPECT_EQ(event("says_nothing")["Verdict"], "failed");
    EXPECT_THAT(report("run.xml"),
                HasSubstr("<failure type=\"failed\" message=\"3 calls failed unnoticed: bd_add: "));
    EXPECT_THAT(report("run.tap"), HasSubstr("not ok 1 says_nothing\n"));
}

TEST_F(CallsTest, TheyCountUnderContinuousIntegration) {
    for (const char *ci : {"true", "1", "yes"})
        EXPECT_THAT(run({"silent/unchecked"}, ci).out, HasSubstr("FAILED: 1 case, 1 failed")) << ci;
    for (const char *ci : {"", "0", "false"})
        EXPECT_THAT(run({"silent/unchecked"}, ci).out, HasSubstr("PASSED: 1 case, 1 unchecked")) << ci;
    EXPECT_THAT(run({"silent/unchecked", "--failed-calls", "ignore"}, "true").out,
                HasSubstr("PASSED: 1 case"));
    EXPECT_THAT(run({"told"}, "true").out, HasSubstr("PASSED: 6 cases"));
}

TEST_F(CallsTest, TheyStayWhenTheWorkerDies) {
    const Finished finished = run({"wild/dies"});
    EXPECT_THAT(
        finished.out,
        HasSubstr("  dies\n      1 call failed unnoticed: bd_add: resource busy\n      called abort\n"));
    EXPECT_EQ(event("dies")["Verdict"], "aborted");
    EXPECT_EQ(event("dies")["FailedCalls"], 1);
}

TEST_P(CallsOfEveryRun, BadCasesSayWhatElseWentWrong) {
    run({GetParam(), "wild/failed", "wild/reported", "wild/fails_otherwise"});
    EXPECT_EQ(event("failed")["FailedCalls"], 1);
    EXPECT_FALSE(event("failed").contains("UnnoticedCalls"));
    EXPECT_FALSE(event("reported").contains("UnnoticedCalls"));
    EXPECT_EQ(event("fails_otherwise")["UnnoticedCalls"][0]["Count"], 1);
}

TEST_P(CallsOfEveryRun, AMillionOfThemTakesNoMemory) {
    const Finished finished = run({GetParam(), "wild/many"});
    EXPECT_THAT(finished.out,
                HasSubstr("1000000 calls failed unnoticed: bd_add: 0x00010000, bd_add: 0x00010001, "
                          "bd_add: 0x00010002 and 999997 more\n"));
    EXPECT_EQ(event("many")["FailedCalls"], 1'000'000);
    EXPECT_LT(finished.peak_kib, 64 * 1024);
}

TEST_F(CallsTest, ChildOfTheCaseMayTellToo) {
    EXPECT_THAT(run({"wild/child_shows"}).out, Not(HasSubstr("unnoticed")));
    EXPECT_EQ(event("child_shows")["FailedCalls"], 1);
}

TEST_F(CallsTest, CallsOfAForkedChildAreNotCounted) {
    run({"wild/in_a_child"});
    EXPECT_FALSE(event("in_a_child").contains("FailedCalls"));
}

}  // namespace
