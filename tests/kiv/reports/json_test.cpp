// The event stream: what each line says.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "kiv/reports/escape.h"
#include "kiv/reports/results_reader.h"
#include "tests/kiv/reports/report_test.h"

namespace kiv::test {
namespace {

std::vector<nlohmann::json> events(const std::string &content) {
    std::vector<nlohmann::json> all;
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);) all.push_back(nlohmann::json::parse(line));
    return all;
}

std::string sample_json() {
    return report_of(make_json_reporter, play_sample_run);
}

// The stream of a run of that one case.
std::string json_of(const CaseResult &result) {
    return report_of(make_json_reporter, [&](Reporter &reporter) {
        reporter.run_begins({});
        reporter.case_ended(result);
    });
}

TEST(Json, Golden) {
    expect_golden("sample.jsonl", sample_json());
}

TEST(Json, BeginsWithTheRunAndEndsWithTheSummary) {
    const auto all = events(sample_json());
    EXPECT_EQ(all.front()["Action"], "start");
    EXPECT_EQ(all.front()["Selected"].size(), 12u);
    EXPECT_EQ(all.front()["Selected"][0]["Description"], "Condigures MTU for main interfaces");
    EXPECT_EQ(all.back()["Action"], "summary");
    EXPECT_EQ(all.back()["Counts"]["passed"], 4);
}

TEST(Json, EveryEventIsSeenWhenItIsTold) {
    std::string content;
    auto reporter = make_json_reporter(std::make_unique<MemorySink>(&content));
    const auto last = [&] { return events(content).back()["Action"]; };
    reporter->run_begins({});
    EXPECT_EQ(last(), "start");
    reporter->folder_begins({"a", "", 1});
    EXPECT_EQ(last(), "folder");
    FixtureResult fixture;
    fixture.folder = "a";
    fixture.output = "opening";
    reporter->fixture_ended(fixture);
    EXPECT_EQ(last(), "fixture");
    reporter->case_begins("a", "b");
    reporter->case_ended(passing_case("a", "b"));
    EXPECT_EQ(last(), "pass");
    reporter->folder_ended({"a", "", 1});
    EXPECT_EQ(last(), "folder-end");
    reporter->run_ended({});
    EXPECT_EQ(last(), "summary");
}

TEST(Json, BytesThatAreNotTextCanBeRecovered) {
    for (const auto &event : events(sample_json())) {
        if (event["Action"] != "output" || !event.contains("OutputBase64")) continue;
        std::string bytes;
        ASSERT_TRUE(reports::from_base64(event["OutputBase64"].get<std::string>(), &bytes));
        EXPECT_EQ(bytes, "ERROR: <leaf> \"delete\" & co\r\n\ttab, bell \a, byte \xFF, end\n");
        return;
    }
    FAIL() << "no such event";
}

TEST(Json, LongOutputComesInPiecesThatJoin) {
    std::string output, joined;
    for (int i = 0; i < 3000; ++i) output += i % 50 == 0 ? "\n" : i % 3 == 0 ? "\xE2\x82\xAC" : "\x02";
    CaseResult result = passing_case("a", "b");
    result.output = output;
    for (const auto &event : events(json_of(result))) {
        EXPECT_NE(event["Action"], "part");
        EXPECT_FALSE(event.contains("OutputBase64"));
        if (event["Action"] == "output") joined += event["Output"].get<std::string>();
    }
    EXPECT_EQ(joined, output);
}

TEST(Json, ALineThatNoPageHoldsComesInParts) {
    std::string joined;
    CaseResult result = passing_case("a", "b");
    result.reason = std::string(10000, '"') + "\xE2\x82\xAC";
    for (const auto &event : events(json_of(result)))
        if (event["Action"] == "part") joined += event["Text"].get<std::string>();
    EXPECT_EQ(nlohmann::json::parse(joined)["Reason"], result.reason);
}

CaseResult case_with_calls() {
    CaseResult result = passing_case("f", "with_calls");
    result.verdict = Verdict::failed;
    result.checks = 2;
    result.failed_checks = 1;
    result.failures.resize(1);
    result.failures[0].number = 2;
    result.calls_told.left_out = 3;
    result.calls_told.calls = {{"add({id 7}) = 0", {"record.id = 7"}, 0, false},
                               {"modify({id \xff}) = ?", {}, 1, true}};
    result.differences = {1, {"call 2: id: 7, not 8"}, "the trace"};
    return result;
}

TEST(Json, CallsAreReadBackAsTheyWereTold) {
    struct Kept : Reporter {
        void case_ended(const CaseResult &result) override { result_ = result; }
        CaseResult result_;
    } kept;
    reports::ReadStatus status;
    ASSERT_TRUE(reports::read_results(json_of(case_with_calls()), "events", kept, &status)) << status.error;
    const CaseResult &read = kept.result_;
    EXPECT_EQ(read.calls_told.left_out, 3u);
    ASSERT_EQ(read.calls_told.calls.size(), 2u);
    EXPECT_EQ(read.calls_told.calls[0].text, "add({id 7}) = 0");
    EXPECT_THAT(read.calls_told.calls[0].fields, testing::ElementsAre("record.id = 7"));
    EXPECT_FALSE(read.calls_told.calls[0].failed);
    EXPECT_EQ(read.calls_told.calls[1].text, "modify({id \xff}) = ?");
    EXPECT_EQ(read.calls_told.calls[1].checks_before, 1u);
    EXPECT_TRUE(read.calls_told.calls[1].failed);
    EXPECT_EQ(read.failures.at(0).number, 2u);
    EXPECT_THAT(read.differences.told, testing::ElementsAre("call 2: id: 7, not 8"));
    EXPECT_EQ(read.differences.from, "the trace");
}

}  // namespace
}  // namespace kiv::test
