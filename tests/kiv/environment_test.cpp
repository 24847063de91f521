// What a run takes over from a test environment, the terminal and the machine.
#include "kiv/environment.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "kiv/files.h"
#include "tests/kiv/process.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EnvironmentTest : public testing::Test {
  protected:
    EnvironmentTest() { clear(); }
    ~EnvironmentTest() override { clear(); }
    static void clear() {
        for (const char *name :
             {"TEST_TOTAL_SHARDS", "TEST_SHARD_INDEX", "TEST_SHARD_STATUS_FILE", "TESTBRIDGE_TEST_ONLY",
              "TESTBRIDGE_TEST_RUNNER_FAIL_FAST", "XML_OUTPUT_FILE", "TEST_PREMATURE_EXIT_FILE",
              "TEST_TMPDIR", "NO_COLOR", "CI_NODE_INDEX", "CI_NODE_TOTAL", "SLURM_ARRAY_TASK_ID",
              "SLURM_ARRAY_TASK_COUNT", "SLURM_ARRAY_TASK_MIN", "SLURM_ARRAY_TASK_STEP"})
            unsetenv(name);
    }
    bool apply() { return kiv::apply_test_environment(&options_, &error_); }
    bool apply_shard(const char *index, const char *total) {
        options_ = {};
        setenv("TEST_SHARD_INDEX", index, 1);
        setenv("TEST_TOTAL_SHARDS", total, 1);
        return apply();
    }
    std::vector<std::string> selectors() const {
        std::vector<std::string> texts;
        for (const kiv::Selector &selector : options_.selectors)
            texts.push_back((selector.excludes ? "-" : "") + selector.text);
        return texts;
    }

    kiv_test::TemporaryDirectory directory_;
    kiv::Options options_;
    std::string error_;
};

TEST_F(EnvironmentTest, NothingIsTakenFromNothing) {
    ASSERT_TRUE(apply());
    EXPECT_FALSE(options_.sharded);
    EXPECT_FALSE(options_.fail_fast);
    EXPECT_EQ(options_.out, "");
    EXPECT_EQ(options_.reports.files[0], "");
    EXPECT_THAT(selectors(), IsEmpty());
}

TEST_F(EnvironmentTest, ShardsCountFromZero) {
    ASSERT_TRUE(apply_shard("2", "3"));
    EXPECT_TRUE(options_.sharded);
    EXPECT_EQ(options_.shard_index, 2);
    EXPECT_EQ(options_.shard_count, 3);
    ASSERT_TRUE(apply_shard("0", "1"));
    EXPECT_FALSE(options_.sharded);
}

TEST_F(EnvironmentTest, ShardsOfJobsAreTakenWhenAsked) {
    using Variables = std::vector<std::pair<const char *, const char *>>;
    const auto shard = [&](const Variables &variables) {
        clear();
        options_ = {};
        error_.clear();
        for (const auto &[name, value] : variables) setenv(name, value, 1);
        if (!kiv::shard_of_environment(&options_, &error_)) return error_;
        EXPECT_TRUE(options_.sharded);
        return std::to_string(options_.shard_index) + " of " + std::to_string(options_.shard_count);
    };
    EXPECT_EQ(shard({{"CI_NODE_INDEX", "1"}, {"CI_NODE_TOTAL", "4"}}), "0 of 4") << "counts from 1";
    EXPECT_EQ(shard({{"CI_NODE_INDEX", "4"}, {"CI_NODE_TOTAL", "4"}}), "3 of 4");
    EXPECT_EQ(
        shard(
            {{"SLURM_ARRAY_TASK_ID", "12"}, {"SLURM_ARRAY_TASK_COUNT", "3"}, {"SLURM_ARRAY_TASK_MIN", "10"}}),
        "2 of 3");
    EXPECT_EQ(shard({{"SLURM_ARRAY_TASK_ID", "4"},
                     {"SLURM_ARRAY_TASK_COUNT", "3"},
                     {"SLURM_ARRAY_TASK_MIN", "0"},
                     {"SLURM_ARRAY_TASK_STEP", "2"}}),
              "2 of 3");
    EXPECT_EQ(shard({{"TEST_SHARD_INDEX", "0"}, {"TEST_TOTAL_SHARDS", "2"}}), "0 of 2");
    EXPECT_EQ(shard({{"CI_NODE_INDEX", "5"}, {"CI_NODE_TOTAL", "4"}}),
              "--shard auto: CI_NODE_INDEX=5 of CI_NODE_TOTAL=4 is no shard");
    EXPECT_EQ(shard({{"CI_NODE_INDEX", "0"}, {"CI_NODE_TOTAL", "4"}}),
              "--shard auto: CI_NODE_INDEX=0 of CI_NODE_TOTAL=4 is no shard");
    EXPECT_EQ(
        shard({{"SLURM_ARRAY_TASK_ID", "7"}, {"SLURM_ARRAY_TASK_COUNT", "3"}, {"SLURM_ARRAY_TASK_MIN", "1"}}),
        "--shard auto: SLURM_ARRAY_TASK_ID=7 of SLURM_ARRAY_TASK_COUNT=3 is no shard")
        << "an array with gaps";
    EXPECT_EQ(shard({}),
              "--shard auto: no variable tells which shard this is (TEST_SHARD_INDEX, CI_NODE_INDEX, "
              "SLURM_ARRAY_TASK_ID)");
    ASSERT_TRUE(apply()) << "nobody asked";
}

TEST_F(EnvironmentTest, ShardsOfJobsAreLeftAloneWhenNotAsked) {
    setenv("CI_NODE_INDEX", "1", 1);
    setenv("CI_NODE_TOTAL", "4", 1);
    ASSERT_TRUE(apply());
    EXPECT_FALSE(options_.sharded) << "the jobs may be a matrix of cards, each to run everything";
}

TEST_F(EnvironmentTest, ShardThatMakesNoSenseIsNamed) {
    const std::pair<const char *, const char *> kWrong[] = {{"3", "3"},       {"-1", "3"}, {"0", "0"},
                                                            {"0", "-1"},      {"x", "3"},  {"1x", "3"},
                                                            {"0", "1000001"}, {"", "3"}};
    for (const auto &[index, total] : kWrong) {
        EXPECT_FALSE(apply_shard(index, total)) << index << "/" << total;
        EXPECT_EQ(error_, "TEST_SHARD_INDEX=" + std::string(index) + " of TEST_TOTAL_SHARDS=" + total +
                              " is no shard");
    }
}

TEST_F(EnvironmentTest, CommandLineIsStronger) {
    setenv("TEST_SHARD_INDEX", "1", 1);
    setenv("TEST_TOTAL_SHARDS", "2", 1);
    setenv("TESTBRIDGE_TEST_ONLY", "of/the/build", 1);
    setenv("XML_OUTPUT_FILE", "build.xml", 1);
    setenv("TEST_TMPDIR", "build", 1);
    options_.sharded = true;
    options_.shard_count = 7;
    options_.selectors = {kiv::make_selector("mine")};
    options_.reports.files[0] = "mine.xml";
    options_.out = "mine";
    ASSERT_TRUE(apply());
    EXPECT_EQ(options_.shard_count, 7);
    EXPECT_THAT(selectors(), ElementsAre("mine"));
    EXPECT_EQ(options_.reports.files[0], "mine.xml");
    EXPECT_EQ(options_.out, "mine");
    options_ = {};
    ASSERT_TRUE(apply());
    EXPECT_EQ(options_.reports.files[0], "build.xml");
    EXPECT_EQ(options_.out, "build");
}

TEST_F(EnvironmentTest, FilterIsSeveralSelectors) {
    setenv("TESTBRIDGE_TEST_ONLY", ":acl:qos/x,-span  last:", 1);
    ASSERT_TRUE(apply());
    EXPECT_THAT(selectors(), ElementsAre("acl", "qos/x", "-span", "last"));
}

TEST_F(EnvironmentTest, FailFastIsAskedForWithAOne) {
    setenv("TESTBRIDGE_TEST_RUNNER_FAIL_FAST", "0", 1);
    ASSERT_TRUE(apply());
    EXPECT_FALSE(options_.fail_fast);
    setenv("TESTBRIDGE_TEST_RUNNER_FAIL_FAST", "1", 1);
    ASSERT_TRUE(apply());
    EXPECT_TRUE(options_.fail_fast);
}

TEST_F(EnvironmentTest, StatusFileSaysThatShardsAreKnown) {
    setenv("TEST_SHARD_STATUS_FILE", directory_.file("status").c_str(), 1);
    ASSERT_TRUE(apply());
    EXPECT_EQ(access(directory_.file("status").c_str(), F_OK), 0);
    setenv("TEST_SHARD_STATUS_FILE", directory_.file("no/status").c_str(), 1);
    EXPECT_FALSE(apply());
    EXPECT_EQ(error_, directory_.file("no/status") + ": No such file or directory");
}

TEST_F(EnvironmentTest, MarkGoesOnlyWithAGoodRun) {
    const std::string mark = directory_.file("premature");
    setenv("TEST_PREMATURE_EXIT_FILE", mark.c_str(), 1);
    kiv::PrematureExitMark run;
    run.begun();
    EXPECT_EQ(access(mark.c_str(), F_OK), 0);
    run.ended(false);
    EXPECT_EQ(access(mark.c_str(), F_OK), 0);
    run.ended(true);
    EXPECT_NE(access(mark.c_str(), F_OK), 0);
}

TEST_F(EnvironmentTest, ShardsLeaveTheirFilesApart) {
    options_.out = "/out";
    EXPECT_EQ(kiv::output_directory(options_), "/out");
    options_.shard_index = 1;
    options_.shard_count = 3;
    EXPECT_EQ(kiv::output_directory(options_), "/out/shard-2-of-3");
    options_.out.clear();
    EXPECT_EQ(kiv::output_directory(options_), kiv::absolute_path("kiv-out/shard-2-of-3"));
}

TEST_F(EnvironmentTest, ColorIsForTerminalsThatKnowIt) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY), file = open("/dev/null", O_WRONLY);
    ASSERT_TRUE(isatty(terminal));
    setenv("TERM", "xterm", 1);
    EXPECT_TRUE(kiv::use_color("auto", terminal));
    EXPECT_FALSE(kiv::use_color("never", terminal));
    EXPECT_FALSE(kiv::use_color("auto", file));
    EXPECT_TRUE(kiv::use_color("always", file));
    setenv("TERM", "dumb", 1);
    EXPECT_FALSE(kiv::use_color("auto", terminal));
    setenv("TERM", "xterm", 1);
    setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(kiv::use_color("auto", terminal));
    EXPECT_TRUE(kiv::use_color("always", terminal));
    setenv("NO_COLOR", "", 1);
    EXPECT_TRUE(kiv::use_color("auto", terminal));
    close(terminal);
    close(file);
}

TEST(Machine, HasANameAndATime) {
    char name[256];
    gethostname(name, sizeof name);
    EXPECT_EQ(kiv::host_name(), name);
    EXPECT_THAT(kiv::utc_now(),
                testing::MatchesRegex("20[0-9][0-9]-[01][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:"
                                      "[0-6][0-9][.][0-9][0-9][0-9]Z"));
}

}  // namespace
