// kivctl compare from outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::HasSubstr;

using Compare = CommandTest;

TEST_F(Compare, TellsWhatChanged) {
    const std::string before = file(results_of({{"a/same"},
                                                {"a/breaks"},
                                                {"a/heals", kiv::Verdict::failed},
                                                {"a/worse", kiv::Verdict::failed},
                                                {"a/slow", kiv::Verdict::passed, 20},
                                                {"a/quick", kiv::Verdict::passed, 0.001},
                                                {"a/gone"}}),
                                    "old");
    const std::string after = file(results_of({{"a/same"},
                                               {"a/breaks", kiv::Verdict::aborted},
                                               {"a/heals"},
                                               {"a/worse", kiv::Verdict::crashed},
                                               {"a/slow", kiv::Verdict::passed, 50},
                                               {"a/quick", kiv::Verdict::passed, 1},
                                               {"a/new"}}),
                                   "new");
    const Ran ran = kivctl("compare " + before + " " + after);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out,
              "Newly failing (1):\n  a/breaks: passed -> aborted: aborted\n"
              "Newly passing (1):\n  a/heals: failed -> passed\n"
              "Another verdict (1):\n  a/worse: failed -> crashed\n"
              "Slower (1):\n  a/slow: 0.020000 s -> 0.050000 s (x 2.5)\n"
              "Only in the old results (1):\n  a/gone\n"
              "Only in the new results (1):\n  a/new\n"
              "1 newly failing, 1 newly passing, 1 slower, 3 unchanged\n");
}

TEST_F(Compare, TheFactorDecidesWhatIsSlower) {
    const std::string before = file(results_of({{"a/x", kiv::Verdict::passed, 20}}), "old");
    const std::string after = file(results_of({{"a/x", kiv::Verdict::passed, 50}}), "new");
    EXPECT_EQ(kivctl("compare --fail-on-slower " + before + " " + after).status, 1);
    EXPECT_EQ(kivctl("compare --fail-on-slower --factor 3 " + before + " " + after).status, 0);
    EXPECT_EQ(kivctl("compare --fail-on-slower --at-least 1 " + before + " " + after).status, 0);
    EXPECT_EQ(kivctl("compare --factor 0 " + before + " " + after).status, 2);
}

TEST_F(Compare, NothingChangedIsOneLine) {
    const std::string run = file(results_of({{"a/x"}, {"a/y", kiv::Verdict::failed}}));
    const Ran ran = kivctl("compare " + run + " " + run);
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, "0 newly failing, 0 newly passing, 0 slower, 2 unchanged\n");
}

TEST_F(Compare, ACaseThatOnlyTheNewRunHasMustBeGood) {
    const std::string before = file(results_of({{"a/x"}}), "old");
    const std::string after = file(results_of({{"a/x"}, {"a/new", kiv::Verdict::not_run}}), "new");
    const Ran ran = kivctl("compare " + before + " " + after);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out,
              "Newly failing (1):\n  a/new (new here): not run\n"
              "1 newly failing, 0 newly passing, 0 slower, 1 unchanged\n");
}

TEST_F(Compare, OfACaseThatRanSeveralTimesTheWorstVerdictAndTheShortestTimeCount) {
    const std::string before = file(results_of({{"a/x", kiv::Verdict::passed, 20},
                                                {"a/y", kiv::Verdict::passed, 20},
                                                {"a/y", kiv::Verdict::passed, 500}}),
                                    "old");
    const std::string after = file(results_of({{"a/x", kiv::Verdict::passed, 500},
                                               {"a/y", kiv::Verdict::passed, 100},
                                               {"a/y", kiv::Verdict::failed, 90},
                                               {"a/y", kiv::Verdict::crashed, 30},
                                               {"a/y", kiv::Verdict::not_run, 1},
                                               {"a/x", kiv::Verdict::unchecked, 20}}),
                                   "new");
    EXPECT_EQ(kivctl("compare " + before + " " + after).out,
              "Newly failing (1):\n  a/y: passed -> failed: failed\n"
              "1 newly failing, 0 newly passing, 0 slower, 1 unchanged\n");
}

TEST_F(Compare, TimesOfCasesThatDidNotRunSayNothing) {
    const std::string before = file(results_of({{"a/x", kiv::Verdict::not_run, 1}, {"a/y"}}), "old");
    const std::string after =
        file(results_of({{"a/x", kiv::Verdict::passed, 900}, {"a/y", kiv::Verdict::not_run, 900}}), "new");
    EXPECT_EQ(kivctl("compare " + before + " " + after).out,
              "Newly failing (1):\n  a/y: passed -> not run: not run\n"
              "Newly passing (1):\n  a/x: not run -> passed\n"
              "1 newly failing, 1 newly passing, 0 slower, 0 unchanged\n");
}

TEST_F(Compare, SlowerIsMoreThanTheFactorAndNoLessThanTheTime) {
    const std::string before = file(results_of({{"a/x", kiv::Verdict::passed, 250}}), "old");
    const std::string twice = file(results_of({{"a/x", kiv::Verdict::passed, 500}}), "new");
    const std::string arguments = "compare --fail-on-slower " + before + " " + twice;
    EXPECT_EQ(kivctl(arguments).status, 0) << "twice as long is not more than twice as long";
    EXPECT_EQ(kivctl(arguments + " --factor 1.9 --at-least 0.5").status, 1);
    EXPECT_EQ(kivctl(arguments + " --factor 1.9 --at-least 0.51").status, 0);
    EXPECT_EQ(kivctl("compare --factor 1.9 " + before + " " + twice).status, 0) << "told, no failure";
    const std::string none = file(results_of({{"a/x", kiv::Verdict::passed, 0}}), "none");
    EXPECT_THAT(kivctl("compare " + none + " " + twice).out, HasSubstr("  a/x: 0.000000 s -> 0.500000 s\n"));
}

TEST_F(Compare, WhatAKilledRunDidNotReachDidNotRun) {
    const std::string whole = results_of({{"a/x"}, {"b/y"}});
    const std::string before = file(whole, "old");
    const std::string after =
        file(whole.substr(0, whole.find("\"Action\":\"run\",\"Package\":\"b\"")), "new");
    EXPECT_THAT(kivctl("compare " + before + " " + after).out,
                HasSubstr("  b/y: passed -> not run: the run ended before it\n"));
    EXPECT_EQ(kivctl("compare " + before + " " + directory_.path("nothing")).status, 2);
    EXPECT_EQ(kivctl("compare " + directory_.path("nothing") + " " + before).status, 2);
}

}  // namespace
}  // namespace kivctl::test
