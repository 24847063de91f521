// What --rerun-failed selects, by the event stream of a run.
#include "kiv/select/rerun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kiv/reports/memory_sink.h"
#include "tests/kiv/temporary.h"

namespace kiv::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Rerun : public testing::Test {
  protected:
    Rerun() { info_.program = "prm_kiv"; }

    // The stream of what `play` tells of a run.
    template <class Play>
    std::string stream(Play play) {
        return report_of(make_json_reporter, [&](Reporter &reporter) {
            info_.selected_cases = info_.selected.size() * static_cast<size_t>(info_.repeat);
            reporter.run_begins(info_);
            play(reporter);
        });
    }

    std::vector<std::string> selected(const std::string &text) {
        std::vector<Selector> selectors;
        std::string error;
        EXPECT_TRUE(read_failed(directory_.write("run.json", text), &selectors, &error)) << error;
        std::vector<std::string> names;
        for (const Selector &selector : selectors) {
            EXPECT_FALSE(selector.excludes);
            names.push_back(selector.text);
        }
        return names;
    }

    std::string error_of(const std::string &text) {
        std::vector<Selector> selectors;
        std::string error;
        EXPECT_FALSE(read_failed(directory_.write("run.json", text), &selectors, &error));
        return error;
    }

    static CaseResult ended(const std::string &folder, const std::string &name, Verdict verdict) {
        CaseResult result;
        result.folder = folder;
        result.name = name;
        result.mode = 1;
        result.verdict = verdict;
        return result;
    }

    static FixtureResult fixture(const std::string &folder, Verdict verdict) {
        FixtureResult result;
        result.folder = folder;
        result.set_up = true;
        result.ran = verdict != Verdict::not_run;
        result.verdict = verdict;
        return result;
    }

    kiv_test::TemporaryDirectory directory_;
    RunInfo info_;
};

TEST_F(Rerun, TakesWhatDidNotPassInTheOrderOfTheRun) {
    info_.selected = {"b/bad", "b/good", "a/silent", "a/skipped", "a/lines", "a/dead", "a/dead#2"};
    EXPECT_THAT(selected(stream([](Reporter &reporter) {
                    reporter.case_ended(ended("b", "bad", Verdict::failed));
                    reporter.case_ended(ended("b", "good", Verdict::passed));
                    reporter.case_ended(ended("a", "silent", Verdict::unchecked));
                    reporter.case_ended(ended("a", "skipped", Verdict::not_run));
                    reporter.case_ended(ended("a", "lines", Verdict::reported_error));
                    reporter.case_ended(ended("a", "dead", Verdict::passed));
                    reporter.case_ended(ended("a", "dead#2", Verdict::crashed));
                    reporter.run_ended({});
                })),
                ElementsAre("b/bad", "a/skipped", "a/lines", "a/dead#2"));
}

// The event of a case that printed many failing lines is longer than a page, and comes in parts.
TEST_F(Rerun, TakesTheCasesWithTheLoudestFailures) {
    info_.selected = {"a/loud", "a/quiet"};
    const std::string text = stream([](Reporter &reporter) {
        CaseResult loud = ended("a", "loud", Verdict::reported_error);
        loud.error_lines.assign(20, "ERROR: " + std::string(393, 'x'));
        reporter.case_ended(loud);
        reporter.case_ended(ended("a", "quiet", Verdict::passed));
        reporter.run_ended({});
    });
    ASSERT_THAT(text, HasSubstr("\"Action\":\"part\""));
    EXPECT_THAT(selected(text), ElementsAre("a/loud"));
}

TEST_F(Rerun, TakesWhatAKilledRunDidNotReach) {
    info_.selected = {"a/good", "a/bad", "a/running", "b/never"};
    const std::string text = stream([](Reporter &reporter) {
        reporter.case_ended(ended("a", "good", Verdict::passed));
        reporter.case_ended(ended("a", "bad", Verdict::failed));
    });
    EXPECT_THAT(selected(text), ElementsAre("a/bad", "a/running", "b/never"));
    EXPECT_THAT(selected(text.substr(0, text.size() - 10)), ElementsAre("a/bad", "a/running", "b/never"))
        << "cut off in its last line";
}

TEST_F(Rerun, OfARepeatedRunTakesWhatFailedInAnyPass) {
    info_.selected = {"a/flaky", "a/good"};
    info_.repeat = 2;
    EXPECT_THAT(selected(stream([](Reporter &reporter) {
                    reporter.case_ended(ended("a", "flaky", Verdict::failed));
                    reporter.case_ended(ended("a", "good", Verdict::passed));
                    reporter.case_ended(ended("a", "flaky", Verdict::passed));
                    reporter.case_ended(ended("a", "good", Verdict::passed));
                    reporter.run_ended({});
                })),
                ElementsAre("a/flaky"));
}

TEST_F(Rerun, OfARepeatedRunThatWasKilledTakesWhatItDidNotReachInEveryPass) {
    info_.selected = {"a/first", "a/second"};
    info_.repeat = 2;
    EXPECT_THAT(selected(stream([](Reporter &reporter) {
                    reporter.case_ended(ended("a", "first", Verdict::passed));
                    reporter.case_ended(ended("a", "second", Verdict::passed));
                    reporter.case_ended(ended("a", "first", Verdict::passed));
                })),
                ElementsAre("a/second"));
}

// Written by a release that listed the cases of every pass.
TEST_F(Rerun, OfARepeatedRunThatListsEveryPassTakesTheSame) {
    info_.repeat = 2;
    info_.selected = {"a/first", "a/second", "a/first", "a/second"};
    std::string text = stream([](Reporter &reporter) {
        for (int pass = 0; pass < 2; ++pass)
            for (const char *const name : {"first", "second"})
                reporter.case_ended(ended("a", name, Verdict::passed));
    });
    const std::string count = "\"SelectedCases\":";
    text.replace(text.find(count) + count.size(), 1, "4");
    EXPECT_THAT(selected(text), IsEmpty());
}

TEST_F(Rerun, AFixtureThatFailedBringsTheCasesOfItsFolder) {
    info_.selected = {"a/one", "span/session/two", "span/three", "spanner/four"};
    EXPECT_THAT(selected(stream([](Reporter &reporter) {
                    reporter.fixture_ended(fixture("a", Verdict::not_run));
                    reporter.case_ended(ended("a", "one", Verdict::passed));
                    reporter.fixture_ended(fixture("span", Verdict::failed));
                    reporter.case_ended(ended("span/session", "two", Verdict::passed));
                    reporter.case_ended(ended("span", "three", Verdict::passed));
                    reporter.case_ended(ended("spanner", "four", Verdict::passed));
                    reporter.run_ended({});
                })),
                ElementsAre("span/session/two", "span/three"));
}

TEST_F(Rerun, OfARunThatPassedTakesNothing) {
    info_.selected = {"a/good"};
    EXPECT_THAT(selected(stream([](Reporter &reporter) {
                    reporter.case_ended(ended("a", "good", Verdict::passed));
                    reporter.run_ended({});
                })),
                IsEmpty());
}

TEST_F(Rerun, WhatIsNoRunIsRefusedWithItsPlace) {
    const std::string path = directory_.file("run.json");
    EXPECT_EQ(error_of("<xml/>\n"), path + ":1: these are not results of a run");
    EXPECT_EQ(error_of(""), path + ":0: no results: the file is empty");
    const std::string good = stream([](Reporter &) {});
    EXPECT_EQ(error_of(good + "{\"Action\":\"pass\"}\n{}\n"), path + ":2: Package: missing");
    std::vector<Selector> selectors;
    std::string error;
    EXPECT_FALSE(read_failed(directory_.file("none"), &selectors, &error));
    EXPECT_EQ(error, directory_.file("none") + ": No such file or directory");
}

}  // namespace
}  // namespace kiv::test
