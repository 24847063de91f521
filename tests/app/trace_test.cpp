// The calls of a run from outside: beside what is not good, as they happen, and in a file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "tests/kiv/process.h"
#include "trace/reader.h"
#include "trace/text.h"

namespace {

using kiv_test::Finished;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Json = nlohmann::json;

class TraceTest : public testing::Test {
  protected:
    Finished run(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(),
                         {"--no-site", "--out", directory_.file("out"), "--on-crash", "next-case"});
        return kiv_test::run("traced", arguments);
    }
    std::string file() const { return directory_.file("run.pcap"); }
    // An event a line.
    std::vector<std::string> events() const {
        trace::Reader reader;
        std::string error;
        if (!reader.open(file(), &error)) return {error};
        std::vector<std::string> lines;
        trace::Naming names;
        for (trace::Event event; reader.next(&event);) {
            std::string line;
            if (event.is_call) {
                names.learn(event.call);
                trace::append_line(&line, event.call, names, {.schema = &reader.schema()});
            } else {
                const char *const kKinds[] = {"worker",           "case",          "end of case",
                                              "set-up",           "end of set-up", "tear-down",
                                              "end of tear-down", "check",         "print"};
                line = kKinds[static_cast<size_t>(event.mark.kind) -
                              static_cast<size_t>(trace::EntryKind::worker)];
                for (const std::string_view text : {event.mark.texts[0], event.mark.texts[1]})
                    if (!text.empty()) line += " " + std::string(text);
            }
            lines.push_back(line);
        }
        if (!reader.problem().empty()) lines.push_back(reader.problem());
        return lines;
    }

    kiv_test::TemporaryDirectory directory_;
};

TEST_F(TraceTest, CallsSinceTheLastGoodCheckStandAboveAFailedOne) {
    const std::string out = run({"f/fails"}).out;
    const size_t second = out.find("bd_id 22"), third = out.find("prm_srh_bd_mod("),
                 check = out.find("line 3");
    EXPECT_EQ(out.find("bd_id 21"), std::string::npos) << out;
    EXPECT_LT(second, third) << out;
    EXPECT_LT(third, check) << out;
    EXPECT_NE(check, std::string::npos) << out;
}

TEST_F(TraceTest, CasesThatAreGoodShowNone) {
    EXPECT_THAT(run({"f/good"}).out, Not(HasSubstr("prm_srh_bd_add")));
}

TEST_F(TraceTest, CaseWithoutAFailedCheckShowsItsLastCalls) {
    EXPECT_THAT(run({"f/says_error"}).out, HasSubstr("bd_id 23"));
    EXPECT_THAT(run({"f/says_error", "--no-fork"}).out, HasSubstr("bd_id 23"));
}

TEST_F(TraceTest, CaseThatTookItsWorkerDownShowsWhatItDidLast) {
    const std::string died = run({"f/dies"}).out;
    EXPECT_THAT(died, HasSubstr("bd_id 24"));
    const std::string inside = run({"f/dies_in_a_call"}).out;
    EXPECT_THAT(inside, HasSubstr("prm_srh_bd_add("));
    EXPECT_THAT(inside, HasSubstr("= ?"));
}

TEST_F(TraceTest, EveryReportHasTheCallsOfWhatIsNotGood) {
    run({"--json", directory_.file("run.json"), "--junit", directory_.file("run.xml"), "f/fails", "f/good",
         "f/says_nothing"});
    EXPECT_THAT(kiv_test::read_text(directory_.file("run.xml")), HasSubstr("call: prm_srh_bd_mod("));
    std::vector<std::string> of;
    std::istringstream lines(kiv_test::read_text(directory_.file("run.json")));
    for (std::string line; std::getline(lines, line);) {
        const Json event = Json::parse(line);
        if (event["Action"] != "call") continue;
        of.push_back(event["Test"].get<std::string>() + " " +
                     std::to_string(event["ChecksBefore"].get<int>()) +
                     (event.value("Failed", false) ? " failed" : ""));
        EXPECT_THAT(event["Fields"].dump(), HasSubstr("record.bd_id = "));
    }
    EXPECT_THAT(of, ElementsAre("fails 0", "fails 1", "fails 1 failed", "says_nothing 0 failed"));
}

TEST_F(TraceTest, PageHasTheCallsOfEveryCase) {
    run({"--html", directory_.file("run.html"), "f/good"});
    EXPECT_THAT(kiv_test::read_text(directory_.file("run.html")), HasSubstr("\"Action\":\"call\""));
}

TEST_F(TraceTest, ShownCallsComeAsTheyHappen) {
    const std::string out = run({"--show-calls", "f/good", "f/dies_in_a_call"}).out;
    const size_t connected = out.find("event_manager_create("), added = out.find("bd_id 7"),
                 verdict = out.find("good");
    EXPECT_LT(connected, added) << out;
    EXPECT_LT(added, verdict) << out;
    EXPECT_THAT(out, HasSubstr("= ?"));
}

TEST_F(TraceTest, FileTellsOfEverythingInOrderAlthoughWorkersDie) {
    const Finished ran = run({"--trace", file(), "f/good", "f/dies", "f/dies_in_a_call"});
    EXPECT_EQ(ran.exit_code, 0);
    std::vector<std::string> all = events();
    for (std::string &line : all) line.resize(std::min(line.size(), std::max(line.find('('), size_t{1})));
    const auto is_connecting = [](const std::string &line) {
        return line == "event_manager_create" || line == "prm_mgr_open" || line == "prm_srh_register" ||
               line.find("set-up") != line.npos;
    };
    std::erase_if(all, is_connecting);
    EXPECT_THAT(all, ElementsAre("worker", "case f good", "prm_srh_bd_add", "check CERR_SUCCESS",
                                 "end of case f good", "case f dies", "prm_srh_bd_add", "worker",
                                 "case f dies_in_a_call", "prm_srh_bd_add"));
}

TEST_F(TraceTest, FileIsTheSameInOneProcess) {
    run({"--trace", file(), "f/good", "f/fails"});
    const std::vector<std::string> forked = events();
    run({"--trace", file(), "f/good", "f/fails", "--no-fork"});
    EXPECT_EQ(events(), forked);
    EXPECT_GT(forked.size(), 12u);
}

TEST_F(TraceTest, RepeatedRunIsWhole) {
    run({"--trace", file(), "--repeat", "3", "f/good"});
    const std::vector<std::string> all = events();
    EXPECT_EQ(std::count(all.begin(), all.end(), "case f good"), 3);
}

TEST_F(TraceTest, PrintsAreThere) {
    run({"--trace", file(), "f/says_error"});
    EXPECT_THAT(events(), testing::Contains("print ERROR: something is wrong\n"));
}

TEST_F(TraceTest, OnlyAFamilyIsRecorded) {
    run({"--trace", file(), "--trace-only", "connection,span", "f/good"});
    for (const std::string &line : events()) EXPECT_THAT(line, Not(HasSubstr("bd_add")));
    EXPECT_THAT(events(), testing::Contains(HasSubstr("prm_mgr_open")));
}

TEST_F(TraceTest, MistakesAreSaidAndNothingIsRun) {
    Finished wrong = run({"--trace", file(), "--trace-only", "l3"});
    EXPECT_EQ(wrong.exit_code, 2);
    EXPECT_THAT(wrong.out, HasSubstr("--trace-only l3: no operation is of that family; did you mean l2?"));
    wrong = run({"--trace", file(), "--trace-limit", "3K"});
    EXPECT_EQ(wrong.exit_code, 2);
    EXPECT_THAT(wrong.out, HasSubstr("--trace-limit 3K: not a size of "));
    wrong = run({"--trace", file(), "--trace-limit", "much"});
    EXPECT_EQ(wrong.exit_code, 2);
    wrong = run({"--trace", "/nowhere/run.pcap"});
    EXPECT_EQ(wrong.exit_code, 2);
    EXPECT_THAT(wrong.out, HasSubstr("--trace /nowhere/run.pcap: No such file or directory"));
    wrong = run({"--trace-limit", "1M"});
    EXPECT_EQ(wrong.exit_code, 2);
}

TEST_F(TraceTest, LimitKeepsTheEnd) {
    run({"--trace", file(), "--trace-limit", "512K", "--repeat", "2000", "f/good"});
    EXPECT_LE(std::filesystem::file_size(file()), size_t{512} * 1024);
    EXPECT_TRUE(std::filesystem::exists(file() + ".1"));
    EXPECT_THAT(events(), Not(IsEmpty()));
}

TEST_F(TraceTest, RunThatIsKilledLeavesAFileThatCanBeRead) {
    const std::vector<std::string> words = {"--quiet", "--no-site", "--repeat", "800",
                                            "--trace", file(),      "f/good"};
    std::mt19937 random(20261122);
    const auto begin = std::chrono::steady_clock::now();
    kiv_test::Process("traced", words, directory_.path()).finish();
    const auto whole = (std::chrono::steady_clock::now() - begin) / std::chrono::microseconds(1);
    const size_t all = events().size();
    size_t in_the_middle = 0;
    for (int round = 0; round < 200; ++round) {
        std::filesystem::remove(file());
        kiv_test::Process process("traced", words, directory_.path());
        usleep(static_cast<unsigned>(std::uniform_int_distribution<int64_t>(1000, whole)(random)));
        process.signal_process(SIGKILL);
        process.finish();
        ASSERT_TRUE(kiv_test::group_is_gone(process.id()));
        if (!std::filesystem::exists(file())) continue;
        trace::Reader reader;
        std::string error;
        ASSERT_TRUE(reader.open(file(), &error)) << error;
        size_t count = 0;
        for (trace::Event event; reader.next(&event);) ++count;
        const size_t size = std::filesystem::file_size(file());
        // What is not whole is the end, at most.
        EXPECT_TRUE(reader.problem().empty() ? reader.offset() == size
                                             : reader.problem().find("cut off") != std::string::npos &&
                                                   size - reader.offset() < trace::kLargestEntry)
            << reader.problem();
        in_the_middle += count > 0 && count < all;
    }
    EXPECT_GT(in_the_middle, 10u);
}

}  // namespace
