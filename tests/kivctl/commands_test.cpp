// The commands from outside: what they print, what they write, their exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kivctl/results.h"
#include "tests/kiv/reports/report_test.h"
#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct Play {
    std::string name;
    kiv::Verdict verdict = kiv::Verdict::passed;
    double milliseconds = 20;
};

// Results of a run of those cases, each named folder/case.
std::string results_of(const std::vector<Play> &plays, bool ends = true, int shard = 0, int shards = 1,
                       const std::string &started_at = "2026-11-21T04:00:00.000Z") {
    std::string text;
    auto reporter = kiv::make_json_reporter(std::make_unique<kiv::test::MemorySink>(&text));
    kiv::RunInfo info;
    info.program = "prm_kiv";
    info.started_at = started_at;
    info.shard_index = shard;
    info.shard_count = shards;
    for (const Play &play : plays) {
        info.selected.push_back(play.name);
        info.descriptions.push_back("describes " + play.name);
    }
    info.selected_cases = plays.size();
    reporter->run_begins(info);
    kiv::Summary summary;
    for (const Play &play : plays) {
        kiv::CaseResult result = kiv::test::passing_case(play.name.substr(0, play.name.rfind('/')),
                                                         play.name.substr(play.name.rfind('/') + 1));
        result.verdict = play.verdict;
        result.duration = std::chrono::nanoseconds(static_cast<int64_t>(play.milliseconds * 1e6));
        if (play.verdict == kiv::Verdict::reported_error) result.error_lines = {"ERROR: it"};
        reporter->case_ended(result);
        ++summary.selected;
        ++summary.counts[static_cast<size_t>(play.verdict)];
    }
    if (ends) reporter->run_ended(summary);
    return text;
}

class Kivctl : public testing::Test {
  protected:
    std::string file(const std::string &text, const std::string &name = "results.jsonl") {
        return directory_.write(name, text);
    }
    TemporaryDirectory directory_;
};

using Gate = Kivctl;

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
    EXPECT_THAT(ran.out, HasSubstr("crashed            tear-down of span: ended by signal 11 (SEGV)"));
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

using Rerun = Kivctl;

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

TEST_F(Rerun, NothingIsAnEmptyPlan) {
    const Ran ran = kivctl("rerun " + file(results_of({{"a/x"}})));
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out, IsEmpty());
}

using Merge = Kivctl;

TEST_F(Merge, MakesShardsOneRun) {
    const std::string one = file(
        results_of({{"a/x"}, {"b/y", kiv::Verdict::failed}}, true, 0, 2, "2026-11-21T04:00:01.500Z"), "1");
    const std::string two = file(results_of({{"c/z"}}, true, 1, 2), "2");
    const Ran ran = kivctl("merge " + two + " " + one + " -o " + directory_.path("all"));
    EXPECT_EQ(ran.status, 0) << ran.err;
    Results all;
    std::string error;
    ASSERT_TRUE(parse(kiv::test::read_file(directory_.path("all")), "all", &all, &error)) << error;
    EXPECT_TRUE(all.complete);
    EXPECT_EQ(all.info.shard_count, 1);
    EXPECT_EQ(all.info.started_at, "2026-11-21T04:00:00.000Z");
    EXPECT_EQ(all.info.selected, (std::vector<std::string>{"a/x", "b/y", "c/z"}));
    ASSERT_EQ(all.cases().size(), 3u);
    EXPECT_EQ(all.cases()[0]->started, std::chrono::milliseconds(1500))
        << "times are those of the earliest start";
    EXPECT_EQ(all.summary.counts[static_cast<size_t>(kiv::Verdict::passed)], 2u);
    EXPECT_EQ(kivctl("gate " + directory_.path("all")).status, 1);
}

TEST_F(Merge, RefusesWhatDoesNotBelongTogether) {
    const std::string one = file(results_of({{"a/x"}}, true, 0, 3), "1");
    const std::string two = file(results_of({{"b/y"}}, true, 1, 3), "2");
    const std::string other = file(results_of({{"b/y"}}, true, 1, 2), "3");
    const std::string to = " -o " + directory_.path("all");
    EXPECT_THAT(kivctl("merge " + one + " " + two + to).err, HasSubstr("shard 3 of 3 is missing"));
    EXPECT_EQ(kivctl("merge --partial " + one + " " + two + to).status, 0);
    EXPECT_THAT(kivctl("merge " + one + " " + one + to).err,
                HasSubstr("ShardIndex: shard 1 of 3 is there twice"));
    EXPECT_THAT(kivctl("merge " + one + " " + other + to).err, HasSubstr("ShardCount: 2, but 3 in"));
    EXPECT_EQ(kivctl("merge " + one + " " + other + to).status, 2);
}

TEST_F(Merge, AShardThatWasKilledLeavesCasesThatDidNotRun) {
    const std::string one = file(results_of({{"a/x"}}, false, 0, 2), "1");
    const std::string text = results_of({{"b/y"}, {"b/z"}}, true, 1, 2);
    const std::string two =
        file(text.substr(0, text.find("\"Action\":\"run\",\"Package\":\"b\",\"Test\":\"z\"")), "2");
    EXPECT_EQ(kivctl("merge " + one + " " + two + " -o " + directory_.path("all")).status, 0);
    const Ran gate = kivctl("gate " + directory_.path("all"));
    EXPECT_EQ(gate.status, 1);
    EXPECT_THAT(gate.out, HasSubstr("not run            b/z: shard 2 of 2 ended before it"));
}

using Compare = Kivctl;

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

using Report = Kivctl;

TEST_F(Report, WritesTheSameReportsAsTheRun) {
    const std::string base = directory_.path("r");
    const Ran ran = kivctl("report " + file(sample_results()) + " --junit " + base + ".xml --tap " + base +
                           ".tap --json " + base + ".jsonl --html " + base + ".html");
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_EQ(kiv::test::read_file(base + ".xml"), kiv::test::read_file(TEST_DATA "/golden/sample.xml"));
    EXPECT_EQ(kiv::test::read_file(base + ".tap"), kiv::test::read_file(TEST_DATA "/golden/sample.tap"));
    EXPECT_EQ(kiv::test::read_file(base + ".jsonl"), kiv::test::read_file(TEST_DATA "/golden/sample.jsonl"));
    EXPECT_THAT(kiv::test::read_file(base + ".html"), HasSubstr("tc_kiv_update_mainif_mtu"));
}

TEST_F(Report, OfAKilledRunListsWhatItDidNotReach) {
    const std::string text = sample_results();
    const std::string base = directory_.path("r");
    EXPECT_EQ(kivctl("report " + file(text.substr(0, text.size() / 3)) + " --junit " + base + " --tap " +
                     base + ".tap")
                  .status,
              0);
    std::string error;
    EXPECT_GE(kiv::test::junit_case_names(kiv::test::read_file(base), &error).size(), 12u);
    EXPECT_EQ(error, "");
}

TEST_F(Report, NeedsAFormatAndAPlaceToWrite) {
    const std::string results = file(sample_results());
    EXPECT_EQ(kivctl("report " + results).status, 2);
    const Ran ran = kivctl("report " + results + " --junit " + directory_.path("none/r.xml"));
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err, HasSubstr("none/r.xml: No such file or directory"));
}

}  // namespace
}  // namespace kivctl::test
