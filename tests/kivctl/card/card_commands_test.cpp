// kivctl card from outside: what it prints and its exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/kivctl/card/sample_state.h"
#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class CardCommands : public testing::Test {
  protected:
    std::string sample(const std::string &from = "", const std::string &to = "",
                       const std::string &name = "state.json") {
        std::string text = kSampleState;
        if (!from.empty()) text.replace(text.find(from), from.size(), to);
        return directory_.write(name, text);
    }
    TemporaryDirectory directory_;
};

TEST_F(CardCommands, ShowPrintsTheWholeStateAsTables) {
    const Ran ran = kivctl("card show " + sample());
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, "");
    EXPECT_EQ(ran.out, R"(Card of type 0x1e1002, 64 ports, mirroring on; state after span/session

Interfaces
  HANDLE     KIND  UIDB  PARENT     PORT  ENCAPSULATION      FEATURES        REWRITE  BUNDLE
  0x8000088  main  10               1                        ipv4, mtu 1000
  0x800f210  sub   20    0x8000088  1     0x8100 310, 1 tag  l2              push1    9 [dangling]

Load distribution
  POINTER  FORM   MODE   PATHS
  0x4000   words  plain  next_hop 100005 [dangling]; next_hop 7 -> on interface 0x8000088, labels 5, 6

IPv4 routes
  VRF  PREFIX       BY      POINTS AT
  0    1.1.1.2/32   direct
  0    10.0.0.1/32  ldi     ldi 0x4000 -> next_hop 100005, no adjacency [ends nowhere]  tag=3

TCAM entries
  TCAM  INDEX  MATCH                    RESULT
  0x1   0      src_ipv4 1.1.1.1, ttl 9  stats_id 17
  0x1   1      anything

novelties
  id=5  shape=round  none=null

Accounts
  RESOURCE        USED
  mirror_session  4 of 4        state=EXHAUSTED
  adjacency       1 of 1048576

8 entries, 3 dangling references, 1 resource exhausted: mirror_session
)");
}

TEST_F(CardCommands, ShowPrintsOneFamilyAlone) {
    const Ran ran = kivctl("card show " + sample() + " ipv4_leaves");
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out, HasSubstr("10.0.0.1/32"));
    EXPECT_THAT(ran.out, Not(HasSubstr("Interfaces")));
    EXPECT_THAT(ran.out, HasSubstr("2 entries, 1 dangling reference"));
    EXPECT_THAT(kivctl("card show " + sample() + " accounts").out, HasSubstr("tunnel          0 of 65536"));
    EXPECT_EQ(kivctl("card show " + sample() + " pseudowires").status, 0);
}

TEST_F(CardCommands, ShowTellsWhatCountersCounted) {
    const Ran ran = kivctl("card show " +
                           sample("\"novelties\":{", R"("queues":{"key":["port","qos_group"],"entries":[
{"port":1,"qos_group":7,"fid0":"0x2","priority":0,"rate":100,"all":{"stats_id":"0x4000008","packets":10,"bytes":1045},"committed":{"stats_id":"0x4000009","packets":4,"bytes":406},"dropped":{"stats_id":"0x400000a","packets":0,"bytes":0},"depth":6},
{"port":1,"qos_group":6,"fid0":"0x3","priority":1,"rate":100,"all":{"stats_id":"0x400000c","packets":0,"bytes":0},"depth":0}]},
"novelties":{)") + " queues");
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out, HasSubstr(R"(Queues
  PORT  QOS GROUP  QUEUE  PRIORITY  RATE  PACKETS/BYTES                 DEPTH
  1     7          0x2    0         100   all 10/1045, committed 4/406  6
  1     6          0x3    1         100   nothing                       0
)"));
}

TEST_F(CardCommands, ShowPrintsWhatDanglesAlone) {
    const Ran ran = kivctl("card show --dangling " + sample());
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out, HasSubstr("0x800f210"));
    EXPECT_THAT(ran.out, HasSubstr("10.0.0.1/32"));
    EXPECT_THAT(ran.out, Not(HasSubstr("1.1.1.2/32")));
    EXPECT_THAT(ran.out, Not(HasSubstr("Accounts")));
}

TEST_F(CardCommands, ShowReadsStandardInput) {
    EXPECT_THAT(shell(KIVCTL " card show - ipv4_leaves < " + sample()).out, HasSubstr("1.1.1.2/32"));
}

TEST_F(CardCommands, ShowRefusesFamiliesAndFilesThatAreNone) {
    const Ran family = kivctl("card show " + sample() + " routes");
    EXPECT_EQ(family.status, 2);
    EXPECT_THAT(family.err,
                HasSubstr("no family \"routes\"; there are: accounts, interfaces, load_distributions"));
    const Ran file = kivctl("card show " + directory_.write("torn.json", "{\"format\":1,\n"));
    EXPECT_EQ(file.status, 2);
    EXPECT_THAT(file.err, HasSubstr("torn.json:2: format: the file ends early"));
    EXPECT_EQ(kivctl("card show " + directory_.path("none")).status, 2);
    EXPECT_EQ(kivctl("card").status, 2);
}

TEST_F(CardCommands, ShowOfADamagedFilePrintsWhatStandsBeforeTheDamage) {
    const Ran torn = kivctl("card show " + sample("\"tag\":3", "\"tag\":x", "damaged.json"));
    EXPECT_EQ(torn.status, 2);
    EXPECT_THAT(torn.out, HasSubstr("0x8000088"));
    EXPECT_THAT(torn.err, HasSubstr("damaged.json:17: families.ipv4_leaves.entries[1].tag: syntax error"));
}

TEST_F(CardCommands, DiffOfTheSameStateIsEmpty) {
    const std::string before = sample();
    // When and by which worker a state was taken does not count.
    const std::string after =
        sample("\"worker\":1,\"after\":\"span/session\"", "\"worker\":2,\"after\":\"\"", "b.json");
    const Ran ran = kivctl("card diff " + before + " " + after);
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, "same: 16 entries\n");
    EXPECT_THAT(kivctl("card diff --json " + before + " " + after).out, IsEmpty());
}

TEST_F(CardCommands, DiffTellsWhatWasAddedRemovedAndChanged) {
    const std::string before = sample();
    std::string text = kSampleState;
    const auto change = [&](const std::string &from, const std::string &to) {
        text.replace(text.find(from), from.size(), to);
    };
    change("\"used\":1,\"limit\":1048576", "\"used\":2,\"limit\":1048576");
    change("{\"vrf\":0,\"prefix\":\"1.1.1.2/32\",\"flags0\":\"direct\"}",
           "{\"vrf\":7,\"prefix\":\"1.1.1.2/32\",\"flags0\":\"direct\"}");
    change("\"flags0\":\"ldi\",\"tag\":3", "\"flags0\":\"ldi\"");
    change("\"outer_tpid\":\"0x8100\",\"outer_vlan\":310", "\"outer_tpid\":\"0x88a8\",\"outer_vlan\":311");
    const std::string after = directory_.write("b.json", text);
    const Ran ran = kivctl("card diff " + before + " " + after);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, R"(accounts
  ~ name adjacency: used 1 => 2
interfaces
  ~ handle 0x800f210: outer_tpid 0x8100 => 0x88a8, outer_vlan 310 => 311
ipv4_leaves
  - vrf 0 prefix 1.1.1.2/32: flags0 direct
  ~ vrf 0 prefix 10.0.0.1/32: tag 3 => (none)
  + vrf 7 prefix 1.1.1.2/32: flags0 direct
different: 1 added, 1 removed, 3 changed, 12 the same
)");
    EXPECT_EQ(kivctl("card diff -q " + before + " " + after).out, "");
    EXPECT_EQ(kivctl("card diff -q " + before + " " + after).status, 1);

    const Ran json = kivctl("card diff --json " + before + " " + after);
    EXPECT_EQ(json.status, 1);
    std::vector<nlohmann::json> lines;
    std::istringstream stream(json.out);
    for (std::string line; std::getline(stream, line);) lines.push_back(nlohmann::json::parse(line));
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0],
              nlohmann::json::parse(R"({"family": "accounts", "key": "name adjacency", "change": "changed",
        "fields": {"used": {"before": "1", "after": "2"}}})"));
    EXPECT_EQ(lines[3]["fields"]["tag"], nlohmann::json::parse(R"({"before": "3", "after": null})"));
    EXPECT_EQ(lines[4]["change"], "added");
    EXPECT_EQ(lines[4]["entry"]["flags0"], "direct");
}

// The order of entries does not count, and entries with the same key are told apart.
TEST_F(CardCommands, DiffTakesEntriesWithOneKeyApart) {
    const std::string before =
        sample("{\"vrf\":0,\"prefix\":\"1.1.1.2/32\",\"flags0\":\"direct\"}",
               "{\"vrf\":1,\"prefix\":\"a\",\"tag\":1},{\"vrf\":1,\"prefix\":\"a\",\"tag\":2}");
    const std::string after =
        sample("{\"vrf\":0,\"prefix\":\"1.1.1.2/32\",\"flags0\":\"direct\"}",
               "{\"vrf\":1,\"prefix\":\"a\",\"tag\":1},{\"vrf\":1,\"prefix\":\"a\",\"tag\":3}", "b.json");
    const Ran ran = kivctl("card diff " + before + " " + after);
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out, HasSubstr("  ~ vrf 1 prefix a #2: tag 2 => 3\n"));
}

TEST_F(CardCommands, DiffRefusesWhatItCannotUse) {
    const std::string torn = directory_.write("torn.json", "{\"format\":1,\n");
    EXPECT_EQ(kivctl("card diff " + sample() + " " + torn).status, 2);
    const Ran ran = kivctl("card diff " + torn + " " + sample());
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err, HasSubstr("torn.json:2: format: the file ends early"));
    EXPECT_EQ(ran.out, "");
    EXPECT_THAT(kivctl("card diff - " + sample()).err,
                HasSubstr("standard input can be shown, not compared"));
    EXPECT_EQ(kivctl("card diff - " + sample()).status, 2);
}

}  // namespace
}  // namespace kivctl::test
