// kivctl trace from outside: what show, summary, stats and diff print, and their exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/kivctl/run.h"
#include "tests/kivctl/trace/sample_trace.h"

namespace kivctl::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class TraceCommands : public testing::Test {
  protected:
    // Two cases, the second of which fails; `client` and `next_hop` are what the platform hands out.
    std::string sample(const std::string &name = "a.pcap", uint64_t client = 0x1000, uint32_t next_hop = 7,
                       uint32_t bd_id = 5) {
        SampleTrace trace(directory_.path(name));
        trace.worker(1);
        trace.set_up("l2");
        trace.register_client(client);
        trace.begin_case("l2", "good");
        trace.add_bridge_domain(client, bd_id);
        trace.check(true, 10);
        trace.reserve_next_hop(client, next_hop);
        trace.use_next_hop(client, next_hop);
        trace.end_case("l2", "good");
        trace.begin_case("l2", "bad");
        trace.print("\nadds it\nagain\n");
        trace.add_bridge_domain(client, 6, 0x5ca25800);
        trace.check(false, 20);
        trace.done();
        return directory_.path(name);
    }
    std::string cut(const std::string &path, size_t bytes) {
        const std::string text = kiv_test::read_text(path);
        return directory_.write("cut.pcap", text.substr(0, text.size() - bytes));
    }
    TemporaryDirectory directory_;
};

TEST_F(TraceCommands, ShowPrintsACallALineBelowItsPlace) {
    const Ran ran = kivctl("trace show " + sample());
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, "");
    EXPECT_EQ(ran.out, R"(== worker 1
== l2/set-up
     1  prm_srh_register(-> client#1, 1, null, null) = 0
== l2/good
     2  prm_srh_bd_add(client#1@set-up, {kind 10, bd_id 5}) = 0
        passed prm/test/src/sample, tc_sample, line 10
     3  prm_srh_tx_adj_buddy_reserve(client#1@set-up, {count 1} -> {index nh#1}) = 0
     4  prm_srh_vxlan_ole_add(client#1@set-up, {nh_id nh#1}) = 0
== l2/bad
        | adds it
        | again
     5  prm_srh_bd_add(client#1@set-up, {kind 10, bd_id 6}) = CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN
        FAILED prm/test/src/sample, tc_sample, line 20: expected 0x00000000 CERR_SUCCESS, got 0x5ca25800 unknown bridge domain
)");
}

TEST_F(TraceCommands, ShowTakesOnlyWhatFitsAllOfItsFilters) {
    const std::string path = sample();
    const std::string fifth =
        "== l2/bad\n     5  prm_srh_bd_add(client#1@set-up, {kind 10, bd_id 6}) = "
        "CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN\n";
    for (const char *const filter :
         {"--where bd_id=6", "--where record.bd_id=0x6", "--status failed", "--status 0x5ca25800",
          "--status CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN", "--operation '*bd*' --case l2/bad",
          "--operation prm_srh_bd_add --case b?d", "--status failed --where kind=10 --where bd_id=6"})
        EXPECT_EQ(kivctl("trace show " + path + " " + filter).out, fifth) << filter;
    EXPECT_THAT(kivctl("trace show --status good --case l2 " + path).out, Not(HasSubstr("     5  ")));
    EXPECT_THAT(kivctl("trace show --where nh_id=nh#1 " + path).out, StartsWith("== l2/good\n     4  "));
    // A field that is 0 is looked at, too.
    EXPECT_THAT(kivctl("trace show --operation prm_srh_bd_add --where vni_low=0 " + path).out,
                HasSubstr("     2  "));
    EXPECT_EQ(kivctl("trace show --where kind=10 --where bd_id=7 " + path).out, "");
    EXPECT_EQ(kivctl("trace show --where d_id=6 " + path).status, 2);
}

TEST_F(TraceCommands, WhatNoCallCanFitIsSaidWithWhatIsNear) {
    const std::string path = sample();
    const auto refused = [&](const std::string &filter) {
        const Ran ran = kivctl("trace show " + path + " " + filter);
        EXPECT_EQ(ran.status, 2);
        EXPECT_EQ(ran.out, "");
        return ran.err;
    };
    EXPECT_EQ(refused("--where bd_idd=5"),
              "kivctl: --where bd_idd=5: no operation has a field bd_idd; did you mean bd_id?\n");
    EXPECT_EQ(refused("--where bd_id"), "kivctl: --where bd_id: not FIELD=VALUE\n");
    EXPECT_THAT(refused("--operation prm_srh_bd_ad"),
                HasSubstr("the trace knows no such operation; did you mean prm_srh_bd_add"));
    EXPECT_THAT(refused("--status CARD_ERROR_TABLE_FUL"), HasSubstr("did you mean CARD_ERROR_TABLE_FULL"));
}

TEST_F(TraceCommands, ChangesAreThoseAgainstThePreviousCallOfTheOperation) {
    EXPECT_EQ(kivctl("trace show --changes --operation prm_srh_bd_add " + sample()).out,
              "== l2/good\n"
              "     2  prm_srh_bd_add(client#1@set-up, {kind 10, bd_id 5}) = 0\n"
              "== l2/bad\n"
              "     5  prm_srh_bd_add: record.bd_id 5 -> 6, returns 0 -> CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN\n");
}

TEST_F(TraceCommands, HexHasTheBytesAndWhatTheyBecame) {
    const std::string shown = kivctl("trace show --hex --operation '*buddy*' " + sample()).out;
    EXPECT_THAT(shown,
                HasSubstr("        record: 2352 bytes\n"
                          "        0000  00 00 00 00 01 00 00 00 00 00 00 00 00 00 00 00  ................\n"
                          "        0010  00 00 00 00 "));
    EXPECT_THAT(shown, HasSubstr("        record, after: 2352 bytes\n"));
    EXPECT_THAT(shown, HasSubstr("        0010  07 00 00 00 "));
}

TEST_F(TraceCommands, JsonHasEveryFieldOfEveryCallAndWhatIsBetweenThem) {
    std::istringstream lines(kivctl("trace show --json " + sample()).out);
    std::vector<nlohmann::json> told;
    for (std::string line; std::getline(lines, line);) told.push_back(nlohmann::json::parse(line));
    ASSERT_EQ(told.size(), 13U);
    EXPECT_EQ(told[0]["type"], "worker");
    EXPECT_EQ(told[6]["operation"], "prm_srh_tx_adj_buddy_reserve");
    EXPECT_EQ(told[6]["place"], "l2/good");
    EXPECT_EQ(told[6]["in"]["record.count"], 1);
    EXPECT_EQ(told[6]["in"]["record.index"], 0);
    EXPECT_EQ(told[6]["out"], (nlohmann::json{{"record.index", "nh#1"}}));
    EXPECT_EQ(told[6]["took"], 3000);
    EXPECT_EQ(told[11]["failed"], true);
    EXPECT_EQ(told[11]["returns"], "CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN");
    EXPECT_EQ(told[12]["passed"], false);
    std::istringstream raw(kivctl("trace show --raw --json --operation '*buddy*' " + sample()).out);
    EXPECT_EQ(nlohmann::json::parse(raw)["out"]["record.index"], 7);
}

TEST_F(TraceCommands, ACallThatNeverReturnedIsShownAsSuch) {
    SampleTrace trace(directory_.path("dead.pcap"));
    trace.begin_case("l2", "dies");
    const std::string name = "client";
    trace.last_call(card::OperationId::prm_srh_set_name, {0, reinterpret_cast<uint64_t>(name.c_str())});
    trace.done();
    EXPECT_EQ(kivctl("trace show --status unreturned " + directory_.path("dead.pcap")).out,
              "== l2/dies\n     1  prm_srh_set_name(null, \"client\") = ?\n");
}

TEST_F(TraceCommands, ADamagedTraceIsReadUpToThere) {
    const std::string path = cut(sample(), 10);
    for (const char *const command : {"show ", "summary ", "stats "}) {
        const Ran ran = kivctl(std::string("trace ") + command + path);
        EXPECT_EQ(ran.status, 1);
        EXPECT_THAT(ran.err, StartsWith("kivctl: " + path + ": cut off after byte "));
        EXPECT_THAT(ran.err, HasSubstr("; what is whole before it was read"));
        EXPECT_THAT(ran.out, HasSubstr("prm_srh_bd_add"));
    }
    EXPECT_EQ(kivctl("trace diff " + path + " " + path).status, 2);
}

TEST_F(TraceCommands, WhatIsNoTraceIsRefused) {
    const std::string path = directory_.write("results.jsonl", "{\"event\":\"run_begins\"}\n");
    for (const std::string &command : {"show " + path, "summary " + path, "stats " + path,
                                       "diff " + path + " " + path, "dissector " + path}) {
        const Ran ran = kivctl("trace " + command);
        EXPECT_EQ(ran.status, 2) << command;
        EXPECT_EQ(ran.err, "kivctl: " + path + ": not a trace: it does not begin like one\n") << command;
        EXPECT_EQ(ran.out, "") << command;
    }
    EXPECT_THAT(kivctl("trace show " + directory_.path("none")).err, HasSubstr("none: No such file"));
}

TEST_F(TraceCommands, StandardInputIsReadToo) {
    EXPECT_EQ(shell("cat " + sample() + " | " KIVCTL " trace show -").out,
              kivctl("trace show " + sample()).out);
}

TEST_F(TraceCommands, SummaryCountsCallsFailuresAndTime) {
    const Ran ran = kivctl("trace summary --slowest 1 " + sample());
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, R"(5 calls in 2 cases, 1 failed, 0 never returned, in 15 us
2 checks, 1 failed

operation                                    calls   failed       time       mean    longest
prm_srh_bd_add                                   2        1     7.0 us     3.5 us     5.0 us
prm_srh_vxlan_ole_add                            1        0     4.0 us     4.0 us     4.0 us
prm_srh_tx_adj_buddy_reserve                     1        0     3.0 us     3.0 us     3.0 us
prm_srh_register                                 1        0     1.0 us     1.0 us     1.0 us

slowest
    5.0 us  #5 prm_srh_bd_add  l2/bad
)");
}

TEST_F(TraceCommands, StatsCountsCallsByTheirTime) {
    EXPECT_EQ(kivctl("trace stats --operation prm_srh_bd_add " + sample()).out,
              "prm_srh_bd_add: 2 calls, mean 3.5 us\n"
              "  <   2.0 us         1 ##################################################\n"
              "  <   4.1 us         0 \n"
              "  <   8.2 us         1 ##################################################\n");
}

TEST_F(TraceCommands, TracesThatDifferInHandlesAloneAreTheSame) {
    const Ran ran = kivctl("trace diff " + sample() + " " + sample("b.pcap", 0x2000, 9));
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, "the same: calls 5, places 3\n");
    EXPECT_EQ(kivctl("trace diff -q " + sample() + " " + sample("b.pcap", 0x2000, 9)).out, "");
}

TEST_F(TraceCommands, DiffNamesTheCallTheFieldAndBothValues) {
    const Ran ran = kivctl("trace diff " + sample() + " " + sample("b.pcap", 0x2000, 9, 8));
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(
        ran.out,
        "l2/good\n"
        "  ~ #2 prm_srh_bd_add: record.bd_id 5 -> 8\n"
        "places 1 of 3 differ; calls: 1 changed, 0 only in the first, 0 only in the second, 4 the same\n");
    const auto told = nlohmann::json::parse(
        kivctl("trace diff --json " + sample() + " " + sample("b.pcap", 0x2000, 9, 8)).out);
    EXPECT_EQ(told["type"], "changed");
    EXPECT_EQ(told["place"], "l2/good");
    EXPECT_EQ(told["field"], "record.bd_id");
    EXPECT_EQ(told["before"], "5");
    EXPECT_EQ(told["after"], "8");
}

// A case that reserves next hops and uses the last; `more`: one of them is only in this trace.
void reserve(const std::string &path, bool more, bool uses_it = false) {
    SampleTrace trace(path);
    trace.begin_case("l2", "hops");
    trace.reserve_next_hop(0x10, 3);
    if (more) {
        trace.add_bridge_domain(0x10, 77);
        trace.reserve_next_hop(0x10, 4);
    }
    trace.add_bridge_domain(0x10, 1);
    trace.reserve_next_hop(0x10, 5);
    trace.use_next_hop(0x10, uses_it ? 4 : 5);
    trace.use_next_hop(0x10, 3);
    trace.done();
}

TEST_F(TraceCommands, WhatOnlyOneTraceHasDoesNotMakeTheHandlesBehindItDifferent) {
    const std::string a = directory_.path("a.pcap"), b = directory_.path("b.pcap");
    reserve(a, false);
    reserve(b, true);
    const Ran ran = kivctl("trace diff " + a + " " + b);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, R"(l2/hops
  + #2 prm_srh_bd_add(client#1, {kind 10, bd_id 77})"
                       R"() = 0
  + #3 prm_srh_tx_adj_buddy_reserve(client#1, {count 1} -> {index nh#2}) = 0
places 1 of 1 differ; calls: 0 changed, 0 only in the first, 2 only in the second, 5 the same
)");
    EXPECT_THAT(kivctl("trace diff " + b + " " + a).out,
                HasSubstr("calls: 0 changed, 2 only in the first, 0 only in the second, 5 the same"));
    // What only the second trace was handed is not what the first one used, though it has the same name.
    reserve(b, true, true);
    EXPECT_THAT(kivctl("trace diff " + a + " " + b).out,
                HasSubstr("  ~ #4/#6 prm_srh_vxlan_ole_add: record.nh_id nh#2 -> nh#2\n"));
}

TEST_F(TraceCommands, PlacesAreFoundInAnyOrder) {
    const auto trace_of = [&](const std::string &name, const std::vector<std::string> &cases) {
        SampleTrace trace(directory_.path(name));
        trace.set_up("l2");
        trace.register_client(0x10);
        for (const std::string &one : cases) {
            trace.begin_case("l2", one);
            trace.add_bridge_domain(0x10, static_cast<uint32_t>(one[0]));
        }
        trace.done();
        return directory_.path(name);
    };
    const std::string a = trace_of("a.pcap", {"x", "y", "z", "y"});
    EXPECT_EQ(kivctl("trace diff " + a + " " + trace_of("b.pcap", {"y", "z", "x", "y"})).out,
              "the same: calls 5, places 5\n");
    const Ran ran = kivctl("trace diff " + a + " " + trace_of("b.pcap", {"n", "y", "x"}));
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(
        ran.out,
        "+ l2/n: 1 call\n- l2/z: 1 call\n- l2/y: 1 call\n"
        "places 3 of 6 differ; calls: 0 changed, 2 only in the first, 1 only in the second, 3 the same\n");
    EXPECT_EQ(kivctl("trace diff --case x " + a + " " + directory_.path("b.pcap")).status, 0);
}

TEST_F(TraceCommands, AnotherNumberOfChecksIsADifference) {
    for (const int checks : {1, 2}) {
        SampleTrace trace(directory_.path(std::to_string(checks)));
        trace.begin_case("l2", "x");
        for (int i = 0; i < checks; ++i) trace.check(true, i);
        trace.done();
    }
    EXPECT_THAT(kivctl("trace diff " + directory_.path("1") + " " + directory_.path("2")).out,
                StartsWith("l2/x\n  ~ checks 1 -> 2\n"));
}

}  // namespace
}  // namespace kivctl::test
