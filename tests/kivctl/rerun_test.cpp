// kivctl rerun from outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using Rerun = CommandTest;

TEST_F(Rerun, BringsTheCasesOfTheFolderThatComeBefore) {
    const std::string results = file(results_of({{"a/create"},
                                                 {"a/modify", kiv::Verdict::failed},
                                                 {"a/delete"},
                                                 {"b/x"},
                                                 {"a/late", kiv::Verdict::unchecked},
                                                 {"c/y", kiv::Verdict::not_run}}));
    EXPECT_EQ(kivctl("rerun " + results).out, "a/create  # needed before\na/modify\nc/y\n");
    EXPECT_EQ(kivctl("rerun --only " + results).out, "a/modify\nc/y\n");
    EXPECT_EQ(kivctl("rerun --only --unchecked --no-not-run " + results).out, "a/modify\na/late\n");
}

TEST_F(Rerun, BringsWhatAKilledRunDidNotReach) {
    const std::string text = results_of({{"a/x"}, {"b/y"}, {"b/z"}});
    const size_t cut = text.find("\"Action\":\"run\",\"Package\":\"b\"");
    EXPECT_EQ(kivctl("rerun " + file(text.substr(0, cut))).out, "b/y\nb/z\n");
}

TEST_F(Rerun, AFailedFixtureBringsItsFolder) {
    const Ran ran = kivctl("rerun " + file(sample_results()));
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out, HasSubstr("span/manual/prm_kiv_span_enable\n"));
}

TEST_F(Rerun, WhatIsNeededBeforeEndsAtTheLastCaseToRunAgainOfEachFolder) {
    const std::string results = file(results_of({{"a/1"},
                                                 {"b/1", kiv::Verdict::failed},
                                                 {"a/2", kiv::Verdict::failed},
                                                 {"a/3"},
                                                 {"b/2"},
                                                 {"a/4", kiv::Verdict::failed},
                                                 {"a/5"}}));
    EXPECT_EQ(kivctl("rerun " + results).out, "a/1  # needed before\nb/1\na/2\na/3  # needed before\na/4\n");
}

// --rerun-failed of the program that ran the cases selects the same, whole or cut off where the run was
// killed.
TEST_F(Rerun, AgreesWithTheRunnersOwnChoice) {
    const std::string sample = "cd " + directory_.path() + " && KIV_SITE= " SAMPLE " --disk0 flash ";
    ASSERT_EQ(shell(sample + "--json whole.jsonl").status, 0);
    const std::string whole = kiv_test::read_text(directory_.file("whole.jsonl"));
    file(whole.substr(0, whole.find("\"Action\":\"run\",\"Package\":\"second\"")), "cut.jsonl");
    for (const std::string name : {"whole.jsonl", "cut.jsonl"}) {
        const std::string plan = kivctl("rerun --only " + directory_.file(name)).out;
        EXPECT_THAT(plan, StartsWith("first/fails\n"));
        EXPECT_THAT(plan, HasSubstr("second/below/passes\n")) << "its set-up failed, or was not reached";
        file(plan, "plan");
        EXPECT_EQ(shell(sample + "--list --rerun-failed " + name).out,
                  shell(sample + "--list --plan plan").out);
    }
}

TEST_F(Rerun, NothingIsAnEmptyPlan) {
    const Ran ran = kivctl("rerun " + file(results_of({{"a/x"}})));
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out, IsEmpty());
}

}  // namespace
}  // namespace kivctl::test
