// kivctl merge from outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kiv/reports/recorded_run.h"
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

}  // namespace
}  // namespace kivctl::test
