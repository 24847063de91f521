// kivctl report from outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kiv/reports/report_test.h"
#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::HasSubstr;

using Report = CommandTest;

TEST_F(Report, WritesTheSameReportsAsTheRun) {
    const std::string base = directory_.path("r");
    const Ran ran = kivctl("report " + file(sample_results()) + " --junit " + base + ".xml --tap " + base +
                           ".tap --json " + base + ".jsonl --html " + base + ".html");
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_EQ(kiv_test::read_text(base + ".xml"), kiv_test::read_text(TEST_DATA "/golden/sample.xml"));
    EXPECT_EQ(kiv_test::read_text(base + ".tap"), kiv_test::read_text(TEST_DATA "/golden/sample.tap"));
    EXPECT_EQ(kiv_test::read_text(base + ".jsonl"), kiv_test::read_text(TEST_DATA "/golden/sample.jsonl"));
    EXPECT_THAT(kiv_test::read_text(base + ".html"), HasSubstr("tc_kiv_update_mainif_mtu"));
}

TEST_F(Report, OfAKilledRunListsWhatItDidNotReach) {
    const std::string text = sample_results();
    const std::string base = directory_.path("r");
    EXPECT_EQ(kivctl("report " + file(text.substr(0, text.size() / 3)) + " --junit " + base + " --tap " +
                     base + ".tap")
                  .status,
              0);
    std::string error;
    EXPECT_GE(kiv::test::junit_case_names(kiv_test::read_text(base), &error).size(), 12u);
    EXPECT_EQ(error, "");
}

TEST_F(Report, NeedsAFormatAndAPlaceToWrite) {
    const std::string results = file(sample_results());
    EXPECT_EQ(kivctl("report " + results).status, 2);
    const Ran ran = kivctl("report " + results + " --junit " + directory_.path("none/r.xml"));
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err, HasSubstr("none/r.xml: No such file or directory"));
}

TEST_F(Report, OfAKilledRunTellsItsEnd) {
    const std::string text = results_of({{"a/x"}, {"b/y"}});
    const std::string cut = file(text.substr(0, text.find("\"Action\":\"run\",\"Package\":\"b\"")));
    const std::string whole = directory_.path("whole.jsonl");
    EXPECT_EQ(kivctl("report " + cut + " --json " + whole).status, 0);
    EXPECT_EQ(kivctl("gate " + whole).out,
              "not run            b/y: the run ended before it\nnot good: 2 cases, 1 to answer for\n");
    EXPECT_THAT(kiv_test::read_text(whole), HasSubstr("\"Selected\":2,\"Counts\":{\"passed\":1,"));
    EXPECT_THAT(kiv_test::read_text(whole), HasSubstr("\"StoppedBecause\":\"the run ended before it\"}\n"));
}

TEST_F(Report, NothingIsWrittenUnlessAllCanBe) {
    const std::string good = directory_.path("r.tap");
    EXPECT_EQ(
        kivctl("report " + file(sample_results()) + " --tap " + good + " --html " + directory_.path("no/r"))
            .status,
        2);
    EXPECT_FALSE(std::filesystem::exists(good));
    EXPECT_EQ(kivctl("report " + directory_.path("none") + " --tap " + good).status, 2);
}

TEST_F(Report, WhatCouldNotBeWrittenIsSaidAndUnusable) {
    const std::string results = file(sample_results());
    for (const char *format : {"json", "junit", "tap", "html"}) {
        const Ran ran = kivctl("report " + results + " --" + format + " /dev/full");
        EXPECT_EQ(ran.status, 2) << format;
        EXPECT_EQ(ran.err, "kivctl: /dev/full: No space left on device\n");
    }
    EXPECT_EQ(kivctl("merge " + results + " -o /dev/full").status, 2);
    for (const char *command : {"rerun", "gate"}) {
        const Ran ran = shell(KIVCTL " " + std::string(command) + " " + results + " >/dev/full");
        EXPECT_EQ(ran.status, 2) << command;
        EXPECT_EQ(ran.err, "kivctl: standard output could not be written\n");
    }
    const std::string limited = directory_.path("limited");
    const Ran ran = shell("ulimit -f 1; " KIVCTL " report " + results + " --json " + limited);
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.err, "kivctl: " + limited + ": File too large\n");
}

TEST_F(Report, ALineOfAGigabyteIsRefusedInBoundedMemory) {
#ifdef __SANITIZE_ADDRESS__
    const std::string bound;  // its shadow memory is terabytes
#else
    const std::string bound = "ulimit -v 2000000; ";
#endif
    const Ran ran = shell(bound + "head -c 1000000000 /dev/zero | " KIVCTL " gate -");
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.err, "kivctl: -:1: a line of more than 256 MiB: these are not results of a run\n");
}

}  // namespace
}  // namespace kivctl::test
