// A run that was recorded, repeated from its trace: the same verdicts, checks, prints and calls.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "tests/kiv/process.h"
#include "trace/file_writer.h"

namespace {

using testing::HasSubstr;
using Json = nlohmann::json;

class ReplayTest : public testing::Test {
  protected:
    std::string file() const { return directory_.file("run.pcap"); }
    // The suite on its site. The output; the status is in status_.
    std::string run(const std::string &arguments) {
        const std::string command = PRM_KIV " --site " SITE " --no-baseline --out " + directory_.file("out") +
                                    " " + arguments + " >" + directory_.file("shown") + " 2>&1";
        status_ = WEXITSTATUS(std::system(command.c_str()));
        return kiv_test::read_text(directory_.file("shown"));
    }
    // What a run tells, without what differs from run to run.
    std::vector<std::string> events_of(const std::string &arguments) {
        const std::string path = directory_.file("run.json");
        std::filesystem::remove(path);
        run(arguments + " --json " + path);
        std::vector<std::string> events;
        std::istringstream lines(kiv_test::read_text(path));
        for (std::string line; std::getline(lines, line);) {
            Json event = Json::parse(line);
            if (event["Action"] == "start") continue;
            event.erase("Time");
            event.erase("Elapsed");
            event.erase("Notes");
            events.push_back(event.dump());
        }
        return events;
    }
    void expect_repeated(const std::string &fault, const std::string &selection = "") {
        const std::vector<std::string> recorded = events_of(fault + " " + selection + " --trace " + file());
        const std::vector<std::string> repeated = events_of(selection + " --card replay:" + file());
        EXPECT_GT(recorded.size(), 3u);
        ASSERT_EQ(repeated.size(), recorded.size()) << fault;
        for (size_t i = 0; i < recorded.size(); ++i) EXPECT_EQ(repeated[i], recorded[i]) << fault;
    }
    // Cases of a sample whose workers die.
    std::string sample(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(),
                         {"--no-site", "--out", directory_.file("out"), "--on-crash", "next-case"});
        return kiv_test::run("traced", arguments).out;
    }
    void expect_refused(const std::string &bytes, const std::string &reason) {
        const std::string path = directory_.write("bad.pcap", bytes);
        const std::string out = run("--card replay:" + path);
        EXPECT_EQ(status_, 2) << out;
        EXPECT_THAT(out, HasSubstr(path + ": " + reason));
        EXPECT_THAT(out, HasSubstr("Nothing was run."));
    }

    kiv_test::TemporaryDirectory directory_;
    int status_ = 0;
};

TEST_F(ReplayTest, FullPlanIsRepeatedToTheLastEvent) {
    expect_repeated("");
    EXPECT_THAT(run("-q --card replay:" + file()), HasSubstr("PASSED: 240 cases, 222 passed, 18 unchecked"));
}

TEST_F(ReplayTest, RefusalsAndReadBacksThatFailedFailAgain) {
    expect_repeated("--fault 'prm_srh_bd_add@3: status=CARD_ERROR_TABLE_FULL'");
    expect_repeated("--fault 'zor_vop_prm_tcam_vmr_read@2: undone'");
}

TEST_F(ReplayTest, CallsThatEndedTheirWorkerEndItAgain) {
    expect_repeated("--fault 'prm_srh_xid_add@2: die=SEGV'");
    expect_repeated("--fault 'prm_srh_lpts_add@1: hang'", "--timeout 1 prm-lpts prm-kiv-l2");
}

TEST_F(ReplayTest, SomeCasesOfAFullTraceRunAlone) {
    run("--trace " + file());
    EXPECT_THAT(run("-q --card replay:" + file() + " prm-kiv-l2-vpls"), HasSubstr("PASSED: 5 cases"));
    EXPECT_THAT(run("-q --card replay:" + file() + " --repeat 2 acl qos"), HasSubstr("PASSED: "));
    EXPECT_THAT(run("-q --card replay:" + file() + ",lenient qos acl"), HasSubstr("PASSED: "));
}

TEST_F(ReplayTest, CasesAfterADeadWorkerAreAnswered) {
    sample({"f", "--trace", file()});
    const std::string out = sample({"f", "--card", "replay:" + file()});
    EXPECT_THAT(out, HasSubstr("6 cases, 2 passed, 1 failed, 1 aborted, 1 crashed, 1 reported an error"));
    EXPECT_THAT(out, testing::Not(HasSubstr("differs from")));
    EXPECT_THAT(out, HasSubstr("CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN"));
}

TEST_F(ReplayTest, CasesThatTheTraceDoesNotHaveAreTold) {
    sample({"f/good", "--trace", file()});
    const std::string out = sample({"f/fails", "--card", "replay:" + file()});
    EXPECT_THAT(out, HasSubstr("differs from the trace: the trace does not have this case"));
    EXPECT_THAT(out, HasSubstr("call 1: prm_srh_bd_add: the trace has no calls here"));
    EXPECT_THAT(out, HasSubstr("CARD_ERROR_NOT_IN_TRACE"));
    EXPECT_THAT(out, HasSubstr("4 differences from the trace, in 1 case or fixture"));
}

TEST_F(ReplayTest, WhatIsNoTraceIsRefusedAndNothingIsRun) {
    EXPECT_THAT(run("--card replay:/nowhere/run.pcap"),
                HasSubstr("--card replay: /nowhere/run.pcap: No such file or directory"));
    EXPECT_EQ(status_, 2);
    EXPECT_THAT(run("--card replay:"), HasSubstr("no trace is named"));
    EXPECT_THAT(run("--card replay:/tmp"), HasSubstr("/tmp: not a regular file"));
    expect_refused("", "not a trace");
    expect_refused("<html>not a trace, but long enough to be one</html>", "not a trace");
}

TEST_F(ReplayTest, DamagedTraceIsRefusedWithThePlaceInIt) {
    run("--trace " + file() + " prm-kiv-l2-vpls");
    const std::string whole = kiv_test::read_text(file());
    expect_refused(whole.substr(0, whole.size() - 5), "cut off after byte ");
    // The size of a call's first block of memory, in the first entry that has some.
    size_t at = sizeof(trace::FileHead), spoiled = 0;
    while (at < whole.size()) {
        const auto *const bytes = reinterpret_cast<const uint8_t *>(whole.data()) + at;
        const auto packet = trace::read_fixed<trace::PacketHead>(bytes);
        const auto entry = trace::read_fixed<trace::EntryHead>(bytes + sizeof packet);
        const auto begins = trace::read_fixed<trace::CallBegins>(bytes + sizeof packet + sizeof entry);
        if (entry.kind == trace::EntryKind::call_begins && begins.blocks > 0) {
            spoiled = at + sizeof packet + sizeof entry + sizeof begins + 8 * begins.arguments + 10;
            break;
        }
        at += sizeof packet + packet.size;
    }
    std::string damaged = whole;
    damaged.at(spoiled) = '\x7f';
    expect_refused(damaged, "damaged: a call that is none, after byte " + std::to_string(at));
    damaged = whole;
    damaged.at(at + 8) = '\1';
    expect_refused(damaged, "damaged after byte " + std::to_string(at));
    // What is whole of a run that was killed will do for who asks for it.
    const std::string path = directory_.write("cut.pcap", whole.substr(0, whole.size() - 5));
    const std::string out = run("--card replay:" + path + ",lenient prm-kiv-l2-vpls");
    EXPECT_THAT(out, HasSubstr("The trace is not whole: " + path + ": cut off after byte "));
    EXPECT_THAT(out, HasSubstr("PASSED: 5 cases"));
}

TEST_F(ReplayTest, TraceOfSomeFamiliesIsRefusedWhenStrict) {
    run("--trace " + file() + " --trace-only l2 prm-kiv-l2-vpls");
    EXPECT_THAT(run("--card replay:" + file()), HasSubstr("not all were recorded"));
    EXPECT_EQ(status_, 2);
}

}  // namespace
