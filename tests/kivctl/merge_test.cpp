// kivctl merge from outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kiv/reports/recorded_run.h"
#include "tests/kiv/reports/report_test.h"
#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::HasSubstr;

using Merge = CommandTest;

TEST_F(Merge, MakesShardsOneRun) {
    const std::string one = file(
        results_of({{"a/x"}, {"b/y", kiv::Verdict::failed}}, true, 0, 2, "2026-11-21T04:00:01.500Z"), "1");
    const std::string two = file(results_of({{"c/z"}}, true, 1, 2), "2");
    const Ran ran = kivctl("merge " + two + " " + one + " -o " + directory_.path("all"));
    EXPECT_EQ(ran.status, 0) << ran.err;
    kiv::reports::RecordedRun all;
    std::string error;
    ASSERT_TRUE(kiv::reports::read_run(kiv_test::read_text(directory_.path("all")), "all", &all, &error))
        << error;
    EXPECT_TRUE(all.complete);
    EXPECT_EQ(all.info.shard_count, 1);
    EXPECT_EQ(all.info.started_at, "2026-11-21T04:00:00.000Z");
    EXPECT_EQ(all.info.selected.selectors(), (std::vector<std::string>{"a/x", "b/y", "c/z"}));
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

// The stream of a shard that came to its end, with something in every field of its summary.
std::string shard_with(int index, const std::string &second, const std::vector<kiv::FolderInfo> &folders,
                       const kiv::Summary &summary) {
    kiv::RunInfo info;
    info.program = "prm_kiv";
    info.started_at = "2026-11-21T04:00:0" + second + "Z";
    info.host = "lc" + std::to_string(index);
    info.shard_index = index;
    info.shard_count = 2;
    info.folders = folders;
    for (const kiv::FolderInfo &folder : folders) info.selected.push_back(folder.path + "/case");
    info.selected_cases = summary.selected;
    return kiv::test::report_of(kiv::make_json_reporter, [&](kiv::Reporter &reporter) {
        reporter.run_begins(info);
        for (const kiv::FolderInfo &folder : folders)
            reporter.case_ended(kiv::test::passing_case(folder.path, "case"));
        reporter.run_ended(summary);
    });
}

TEST_F(Merge, AddsWhatTheSummariesSay) {
    kiv::Summary first, second;
    first.duration = std::chrono::seconds(3);
    first.selected = 5;
    first.counts[static_cast<size_t>(kiv::Verdict::passed)] = 4;
    first.counts[static_cast<size_t>(kiv::Verdict::failed)] = 1;
    first.checks = 20;
    first.failed_checks = 2;
    first.failed_fixtures = 1;
    first.notes = {"one process that a case left behind was ended"};
    second.duration = std::chrono::seconds(2);
    second.selected = 3;
    second.counts[static_cast<size_t>(kiv::Verdict::passed)] = 1;
    second.counts[static_cast<size_t>(kiv::Verdict::not_run)] = 2;
    second.checks = 7;
    second.failed_checks = 1;
    second.failed_fixtures = 2;
    second.interrupted = true;
    second.stopped_because = "interrupted (SIGINT)";
    second.notes = {"fault rule 1 fired twice"};
    const std::string one = file(shard_with(0, "1.5", {{"b", "", 4}, {"a", "A", 1}}, first), "1");
    const std::string two = file(shard_with(1, "3", {{"a", "A", 2}, {"c", "", 1}}, second), "2");
    ASSERT_EQ(kivctl("merge " + two + " " + one + " -o " + directory_.path("all")).status, 0);
    kiv::reports::RecordedRun all;
    std::string error;
    ASSERT_TRUE(kiv::reports::read_run(kiv_test::read_text(directory_.path("all")), "all", &all, &error))
        << error;
    EXPECT_EQ(all.info.host, "lc0") << "of the part that began first";
    EXPECT_EQ(all.info.started_at, "2026-11-21T04:00:01.5Z");
    EXPECT_EQ(all.info.shard_index, 0);
    EXPECT_EQ(all.info.selected_cases, 8u);
    EXPECT_EQ(all.info.selected.selectors(),
              (std::vector<std::string>{"b/case", "a/case", "a/case", "c/case"}));
    ASSERT_EQ(all.info.folders.size(), 3u);
    EXPECT_EQ(all.info.folders[0].path, "b");
    EXPECT_EQ(all.info.folders[1].path, "a");
    EXPECT_EQ(all.info.folders[1].title, "A");
    EXPECT_EQ(all.info.folders[1].selected_cases, 3u);
    EXPECT_EQ(all.info.folders[2].path, "c");
    ASSERT_EQ(all.cases().size(), 4u);
    EXPECT_EQ(all.cases()[3]->started, std::chrono::milliseconds(1500));
    EXPECT_EQ(all.summary.duration, std::chrono::milliseconds(3500))
        << "to the end of the part that ended last";
    EXPECT_EQ(all.summary.selected, 8u);
    EXPECT_EQ(all.summary.counts[static_cast<size_t>(kiv::Verdict::passed)], 5u);
    EXPECT_EQ(all.summary.counts[static_cast<size_t>(kiv::Verdict::failed)], 1u);
    EXPECT_EQ(all.summary.counts[static_cast<size_t>(kiv::Verdict::not_run)], 2u);
    EXPECT_EQ(all.summary.checks, 27u);
    EXPECT_EQ(all.summary.failed_checks, 3u);
    EXPECT_EQ(all.summary.failed_fixtures, 3u);
    EXPECT_TRUE(all.summary.interrupted);
    EXPECT_EQ(all.summary.stopped_because, "interrupted (SIGINT)");
    EXPECT_EQ(all.summary.notes, (std::vector<std::string>{"one process that a case left behind was ended",
                                                           "fault rule 1 fired twice"}));
}

TEST_F(Merge, TheFirstReasonToStopStays) {
    kiv::Summary first, second;
    first.stopped_because = "after the first case that is not good (--fail-fast)";
    first.interrupted = true;
    second.stopped_because = "interrupted (SIGINT)";
    file(shard_with(0, "1", {{"a", "", 1}}, first), "1");
    file(shard_with(1, "1", {{"b", "", 1}}, second), "2");
    const std::string all = directory_.path("all");
    ASSERT_EQ(kivctl("merge " + directory_.path("1") + " " + directory_.path("2") + " -o " + all).status, 0);
    const std::string text = kiv_test::read_text(all);
    EXPECT_THAT(text,
                HasSubstr("\"StoppedBecause\":\"after the first case that is not good (--fail-fast)\"}"));
    EXPECT_THAT(text, HasSubstr("\"Interrupted\":true"));
    EXPECT_THAT(text, HasSubstr("\"Host\":\"lc1\"")) << "of parts that began together, the last";
}

TEST_F(Merge, RunsOfDifferentProgramsAreNotOne) {
    std::string other = results_of({{"b/y"}}, true, 1, 2);
    other.replace(other.find("prm_kiv"), 7, "another");
    const Ran ran = kivctl("merge " + file(results_of({{"a/x"}}, true, 0, 2), "1") + " " + file(other, "2") +
                           " -o " + directory_.path("all"));
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.err, "kivctl: " + directory_.path("2") + ": Program: \"another\", but \"prm_kiv\" in " +
                           directory_.path("1") + "\n");
}

TEST_F(Merge, RunsThatAreNoShardsAreMergedAsTheyCome) {
    const std::string one = file(results_of({{"a/x"}}), "1"), two = file(results_of({{"b/y"}}), "2");
    ASSERT_EQ(kivctl("merge " + two + " " + one + " -o " + directory_.path("all")).status, 0);
    EXPECT_EQ(kivctl("gate " + directory_.path("all")).out, "good: 2 cases, 0 to answer for\n");
    const std::string cut = file(results_of({{"a/x"}, {"a/y"}}, false).substr(0, 400), "3");
    ASSERT_EQ(kivctl("merge " + cut + " " + two + " -o " + directory_.path("all")).status, 0);
    EXPECT_THAT(kivctl("gate " + directory_.path("all")).out,
                HasSubstr("not run            a/y: its run ended before it\n"));
}

TEST_F(Merge, WhatCannotBeReadOrWrittenIsSaid) {
    const std::string one = file(results_of({{"a/x"}}), "1");
    const Ran ran = kivctl("merge " + one + " -o " + directory_.path("none/all"));
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.err, "kivctl: " + directory_.path("none/all") + ": No such file or directory\n");
    EXPECT_EQ(kivctl("merge " + one + " " + directory_.path("none") + " -o " + directory_.path("all")).status,
              2);
    EXPECT_EQ(kivctl("merge " + one).status, 2) << "nowhere to write";
}

}  // namespace
}  // namespace kivctl::test
