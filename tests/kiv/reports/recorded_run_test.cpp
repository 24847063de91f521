// Reading an event stream back: nothing is lost, and what is broken is said with its place.
#include "kiv/reports/recorded_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "tests/kiv/reports/report_test.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace kiv::test {
namespace {

using reports::read_run;
using reports::RecordedRun;
using testing::HasSubstr;

std::string sample_results() {
    return report_of(make_json_reporter, play_sample_run);
}

std::string rewritten(const RecordedRun &run) {
    return report_of(make_json_reporter, [&](Reporter &reporter) { run.replay(reporter); });
}

std::string error_of(const std::string &text) {
    RecordedRun results;
    std::string error;
    return read_run(text, "R", &results, &error) ? "" : error;
}

// The sample with one field of one line changed; null takes it away.
std::string with_field(const std::string &action, const std::string &field, const nlohmann::json &value) {
    std::string changed;
    std::istringstream lines(sample_results());
    bool done = false;
    for (std::string line; std::getline(lines, line);) {
        nlohmann::json event = nlohmann::json::parse(line);
        if (!done && event["Action"] == action) {
            done = true;
            if (value.is_null())
                event.erase(field);
            else
                event[field] = value;
        }
        changed += event.dump() + "\n";
    }
    EXPECT_TRUE(done) << action;
    return changed;
}

TEST(Results, WrittenAgainTheyAreTheSameBytes) {
    RecordedRun results;
    std::string error;
    const std::string text = sample_results();
    ASSERT_TRUE(read_run(text, "R", &results, &error)) << error;
    EXPECT_TRUE(results.complete);
    EXPECT_EQ(rewritten(results), text);
}

TEST(Results, EveryFieldComesBack) {
    RecordedRun results;
    std::string error;
    ASSERT_TRUE(read_run(sample_results(), "R", &results, &error)) << error;
    const auto cases = results.cases();
    ASSERT_EQ(cases.size(), 12u);
    const CaseResult &failed = *cases[1];
    EXPECT_EQ(failed.selector(), "prm-kiv/tc_prm_v4_leaf_delete");
    EXPECT_EQ(failed.description, "Checks Delete leaf entry");
    EXPECT_EQ(failed.verdict, Verdict::failed);
    EXPECT_EQ(failed.checks, 4u);
    EXPECT_EQ(failed.failed_checks, 3u);
    EXPECT_EQ(failed.duration.count(), 1234567);
    EXPECT_EQ(failed.started.count(), 4234567);
    ASSERT_EQ(failed.failures.size(), 2u);
    EXPECT_EQ(failed.failures[1].line, 127);
    EXPECT_EQ(failed.failures[1].status, 0x457C2A00u);
    EXPECT_EQ(failed.failures[1].status_text, "'prm' invalid argument");
    EXPECT_FALSE(failed.failures[1].is_condition);
    EXPECT_EQ(failed.output, "ERROR: <leaf> \"delete\" & co\r\n\ttab, bell \a, byte \xFF, end\n");
    const CaseResult &late = *cases[4];
    EXPECT_EQ(late.mode, 4);
    EXPECT_EQ(late.signal, 9);
    EXPECT_EQ(late.output_size, 3000000000u);
    EXPECT_EQ(late.output_file, "/tmp/run/output/prm-kiv/tc_kiv_tx_adj_add_punt");
    EXPECT_TRUE(cases[7]->failures[0].is_condition);
    EXPECT_EQ(cases[7]->failures[0].message, "session 5 is not busy, rc = 0\n");
    EXPECT_EQ(cases[10]->exit_code, 3);
    EXPECT_EQ(results.fixtures().size(), 6u);
    EXPECT_EQ(results.info.arguments, sample_info().arguments);
    EXPECT_EQ(results.summary.notes, std::vector<std::string>{"fault rule 1 fired 3 times"});
}

TEST(Results, LongOutputAndLongLinesComeBack) {
    for (const size_t length : {2000u, 5000u, 70000u}) {
        std::string output;
        for (size_t i = 0; i < length; ++i) output += "\xE2\x82\xAC\n\xFF\x01z\""[i * 31 % 8];
        RunInfo info = sample_info();
        info.arguments = {output};
        CaseResult result = passing_case("prm-kiv", "tc_kiv_update_mainif_mtu");
        result.output = output;
        result.output_size = output.size();
        result.reason = output;
        result.error_lines = {output};
        const std::string text = report_of(make_json_reporter, [&](Reporter &reporter) {
            reporter.run_begins(info);
            reporter.case_ended(result);
        });
        RecordedRun results;
        std::string error;
        ASSERT_TRUE(read_run(text, "R", &results, &error)) << error;
        EXPECT_EQ(results.cases()[0]->output, output);
        EXPECT_EQ(results.cases()[0]->reason, output);
        EXPECT_EQ(results.cases()[0]->error_lines[0], output);
        EXPECT_EQ(results.info.arguments[0], output);
    }
}

// Cut anywhere, the stream is usable once its first line is whole.
TEST(Results, CutAnywhereTheyAreUsable) {
    const std::string text = sample_results();
    const size_t first = text.find('\n');
    size_t most = 0;
    for (size_t size = 1; size < text.size(); size += text[size] == '\n' || text[size - 1] == '\n' ? 1 : 9) {
        RecordedRun results;
        std::string error;
        const bool usable = read_run(text.substr(0, size), "R", &results, &error);
        ASSERT_EQ(usable, size >= first) << "cut to " << size << ": " << error;
        if (!usable) continue;
        ASSERT_GE(results.cases().size(), most);
        most = results.cases().size();
        const size_t begin = text.rfind('\n', size - 1) + 1;
        const std::string last = text.substr(begin, size - begin);
        ASSERT_EQ(results.torn, text[size] != '\n' && last.find_first_not_of(' ') != std::string::npos)
            << size;
    }
    EXPECT_EQ(most, 12u);
}

TEST(Results, WhatWasNotReachedIsKnown) {
    const std::string text = sample_results();
    const size_t cut = text.find("\"tc_kiv_tx_adj_add_punt\",\"Elapsed\"");
    RecordedRun results;
    std::string error;
    ASSERT_TRUE(read_run(text.substr(0, text.rfind('\n', cut) + 1), "R", &results, &error)) << error;
    EXPECT_FALSE(results.complete);
    EXPECT_FALSE(results.torn);
    EXPECT_EQ(results.cases().size(), 4u);
    results.finish("the run ended before it");
    EXPECT_EQ(results.cases().size(), 12u);
    EXPECT_EQ(results.summary.counts[static_cast<size_t>(Verdict::not_run)], 8u);
    EXPECT_EQ(results.cases()[4]->description, "Checks TX adj add punt ");
    EXPECT_TRUE(results.complete);
    EXPECT_EQ(results.summary.selected, 12u);
    EXPECT_EQ(results.summary.checks, 5u);
    EXPECT_EQ(results.summary.failed_checks, 3u);
    EXPECT_EQ(results.summary.stopped_because, "the run ended before it");
    const std::string whole = rewritten(results);
    results.finish("once more");
    EXPECT_EQ(rewritten(results), whole);
}

TEST(Results, ABrokenLineIsNamedWithItsField) {
    EXPECT_EQ(error_of(""), "R:0: no results: the file is empty");
    EXPECT_EQ(error_of("hello\n"), "R:1: these are not results of a run");
    EXPECT_EQ(error_of("{}\n"), "R:1: Action: missing");
    EXPECT_EQ(error_of("[1]\n"), "R:1: not an event object");
    EXPECT_THAT(error_of("{\"Action\":\"pass\"}\n"),
                HasSubstr("R:1: Action: the first event is not \"start\""));
    EXPECT_EQ(error_of(with_field("start", "Format", 2)), "R:1: Format: written by a later release");
    EXPECT_EQ(error_of(with_field("start", "Selected", 3)), "R:1: Selected: not a list");
    EXPECT_EQ(error_of(with_field("start", "Program", nullptr)), "R:1: Program: missing");
    EXPECT_THAT(error_of(with_field("pass", "Elapsed", "soon")), HasSubstr(": Elapsed: not a number"));
    EXPECT_THAT(error_of(with_field("pass", "Elapsed", 1e300)), HasSubstr(": Elapsed: out of range"));
    EXPECT_THAT(error_of(with_field("pass", "Verdict", "fine")),
                HasSubstr(": Verdict: unknown verdict \"fine\""));
    EXPECT_THAT(error_of(with_field("pass", "Verdict", "failed")),
                HasSubstr(": Verdict: \"failed\" does not go with \"pass\""));
    EXPECT_THAT(error_of(with_field("pass", "Checks", -1)), HasSubstr(": Checks: too small"));
    EXPECT_THAT(error_of(with_field("pass", "Test", "other")),
                HasSubstr(": Test: \"other\" is not the case that runs"));
    EXPECT_THAT(error_of(with_field("check", "Line", 1.5)), HasSubstr(": Line: not a whole number"));
    EXPECT_THAT(error_of(with_field("check", "Status", 1ull << 40)), HasSubstr(": Status: too large"));
    EXPECT_THAT(error_of(with_field("output", "OutputBase64", "?")), HasSubstr(": OutputBase64: not base64"));
    EXPECT_THAT(error_of(with_field("run", "Time", "noon")), HasSubstr(": Time: not a time in UTC"));
    EXPECT_THAT(error_of(with_field("fixture", "Fixture", "middle")), HasSubstr("neither \"set-up\" nor"));
    EXPECT_THAT(error_of(with_field("folder", "Action", "dance")),
                HasSubstr(": Action: unknown action \"dance\""));
    EXPECT_THAT(error_of(sample_results() + sample_results()), HasSubstr(": Action: a second \"start\""));
    std::string middle = sample_results();
    middle[middle.find('\n') + 1] = '!';
    EXPECT_EQ(error_of(middle), "R:2: not an event object");
}

// 4,000,000 s: the longest time that can be told.
TEST(Results, TimesHaveALimit) {
    const auto ran_for = [](const std::string &at, double seconds) {
        return "{\"Time\":\"2026-01-01T00:00:00Z\",\"Action\":\"start\",\"Format\":1,\"Program\":\"p\","
               "\"SelectedCases\":1,\"Folders\":[],\"Selected\":[]}\n"
               "{\"Time\":\"" +
               at + "\",\"Action\":\"run\",\"Package\":\"a\",\"Test\":\"x\"}\n" +
               "{\"Action\":\"pass\",\"Package\":\"a\",\"Test\":\"x\",\"Elapsed\":" +
               std::to_string(seconds) + ",\"Verdict\":\"passed\",\"Mode\":1,\"Checks\":1}\n";
    };
    EXPECT_EQ(error_of(ran_for("2026-02-16T07:06:39.999999999Z", 3999999)), "");
    EXPECT_EQ(error_of(ran_for("2026-02-16T07:06:40Z", 1)), "R:2: Time: too far from the start of the run");
    EXPECT_EQ(error_of(ran_for("2025-11-15T16:53:20Z", 1)), "R:2: Time: too far from the start of the run");
    EXPECT_EQ(error_of(ran_for("2026-01-01T00:00:00Z", 4000000)), "R:3: Elapsed: out of range");
    EXPECT_EQ(error_of(ran_for("2026-01-01T00:00:00Z", -4000000)), "R:3: Elapsed: out of range");
}

// Whatever is changed in a stream, it is read or refused, and what was read can be written and read again.
TEST(Results, RandomChangesAreReadOrRefused) {
    std::mt19937 random(20261121);
    const std::string text = sample_results();
    const size_t first = text.find('\n') + 1;
    const auto below = [&](size_t limit) {
        return std::uniform_int_distribution<size_t>(0, limit - 1)(random);
    };
    for (int round = 0; round < 500; ++round) {
        std::string changed =
            text.substr(0, round % 2 == 0 ? text.size() : first + below(text.size() - first));
        for (size_t i = below(4); i > 0; --i) {
            const size_t at =
                round % 3 == 0 ? below(changed.size()) : first - 1 + below(changed.size() - first + 1);
            switch (below(4)) {
                case 0:
                    changed[at] = static_cast<char>(below(256));
                    break;
                case 1:
                    changed.erase(at, below(40));
                    break;
                case 2:
                    changed.insert(at, changed.substr(below(changed.size()), below(300)));
                    break;
                case 3:
                    changed[at] = "0123456789{}[]:,\"\\-."[below(20)];
                    break;
            }
        }
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(changed.data()), changed.size());
    }
}

}  // namespace
}  // namespace kiv::test
