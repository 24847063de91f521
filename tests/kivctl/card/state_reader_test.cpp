// Reading a card's state: entries with flat fields, and what is refused with file, line and field.
#include "kivctl/card/state_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "tests/fuzz/kivctl/state_feed.h"
#include "tests/kivctl/card/sample_state.h"
#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

// Takes down what it is told, a line each.
class Teller : public StateVisitor {
  public:
    void header(std::string_view name, std::string_view value) override {
        lines.push_back(std::string(name) + "=" + std::string(value));
    }
    void account(const StateAccount &account) override {
        lines.push_back(account.name + " " + std::to_string(account.used) + " of " +
                        std::to_string(account.limit) + (account.exhausted() ? " exhausted" : ""));
    }
    void family_begins(const std::string &name, const std::vector<std::string> &keys) override {
        family = name;
        std::string line = name + " by";
        for (const std::string &key : keys) line += " " + key;
        lines.push_back(line);
    }
    void entry(const StateEntry &entry) override {
        std::string line = family + ":";
        for (const StateField &field : entry) {
            line += " " + field.name + "=" + field.value;
            if (!field.ends.empty()) line += "->" + field.ends;
            if (field.dangling) line += "!";
            if (field.ends_dangling) line += "?";
        }
        lines.push_back(line);
    }
    void family_ends() override { lines.push_back(family + " ends"); }

    std::vector<std::string> lines;
    std::string family;
};

std::string problem_of(std::string text) {
    StateVisitor nothing;
    std::string error;
    EXPECT_FALSE(read_state_text(text, "state.json", nothing, &error)) << text;
    return error;
}

std::string sample_with(const std::string &from, const std::string &to) {
    std::string text = kSampleState;
    const size_t at = text.find(from);
    EXPECT_NE(at, text.npos) << from;
    return text.replace(at, from.size(), to);
}

TEST(StateReader, TellsEverythingInItsOrder) {
    Teller teller;
    std::string error;
    ASSERT_TRUE(read_state_text(kSampleState, "state.json", teller, &error)) << error;
    EXPECT_THAT(
        teller.lines,
        ElementsAre(
            "run.worker=1", "run.after=span/session", "card.type=0x1e1002", "card.veltora_family=false",
            "card.ports=64", "card.np_local_ports[0]=48", "card.mirroring=true",
            "mirror_session 4 of 4 exhausted", "adjacency 1 of 1048576", "tunnel 0 of 65536",
            "interfaces by handle",
            "interfaces: handle=0x8000088 kind=main uidb=10 np_port=1 ipv4_enable=true ip_mtu=1000 "
            "np_port_feature=1",
            "interfaces: handle=0x800f210 kind=sub uidb=20 parent=interface 0x8000088 np_port=1 l2=true "
            "vlan_tags=1 outer_tpid=0x8100 outer_vlan=310 rewrite_op=push1 bundle=bundle 9!",
            "interfaces ends", "load_distributions by ldi_ptr",
            "load_distributions: ldi_ptr=0x4000 mode=plain form=words paths= paths[0].next_hop=next_hop "
            "100005! "
            "paths[1].next_hop=next_hop 7->on interface 0x8000088 paths[1].labels=5, 6",
            "load_distributions ends", "ipv4_leaves by vrf prefix",
            "ipv4_leaves: vrf=0 prefix=1.1.1.2/32 flags0=direct",
            "ipv4_leaves: vrf=0 prefix=10.0.0.1/32 flags0=ldi tag=3 ldi_ptr=ldi 0x4000->next_hop 100005, no "
            "adjacency?",
            "ipv4_leaves ends", "tcam_entries by vmr_id ace_index",
            "tcam_entries: vmr_id=0x1 ace_index=0 match.src_ipv4=1.1.1.1 match.ttl=9 result.stats_id=17",
            "tcam_entries: vmr_id=0x1 ace_index=1", "tcam_entries ends", "novelties by id",
            "novelties: id=5 shape=round none=null", "novelties ends", "pseudowires by xid",
            "pseudowires ends"));
}

TEST(StateReader, NamesAReferenceAfterItsOwnObjectWhereverItStandsInThere) {
    Teller teller;
    std::string error;
    ASSERT_TRUE(read_state_text(
        sample_with("\"shape\":\"round\"", R"("link":{"colour":"red","to":"x","dangling":true})"),
        "state.json", teller, &error))
        << error;
    EXPECT_THAT(teller.lines, testing::Contains("novelties: id=5 link.colour=red link=x! none=null"));
}

TEST(StateEntry, IsEmptyAtFirstAndAfterwards) {
    StateEntry entry;
    EXPECT_EQ(entry.size(), 0u);
    entry.add("id").value = "5";
    EXPECT_EQ(entry.size(), 1u);
    entry.clear();
    EXPECT_EQ(entry.size(), 0u);
    EXPECT_EQ(entry.find("id"), nullptr);
}

TEST(StateReader, DoesNotCareHowTheDocumentIsLaidOut) {
    std::string one_line = kSampleState;
    std::erase(one_line, '\n');
    Teller laid_out, flat;
    std::string error;
    ASSERT_TRUE(read_state_text(kSampleState, "a", laid_out, &error));
    ASSERT_TRUE(read_state_text(one_line, "b", flat, &error));
    EXPECT_EQ(laid_out.lines, flat.lines);
}

TEST(StateReader, RefusesWhatIsNoStateWithFileLineAndField) {
    EXPECT_THAT(problem_of(""), StartsWith("state.json:1: "));
    EXPECT_EQ(problem_of("[]"), "state.json:1: not a card state");
    EXPECT_EQ(problem_of("5"), "state.json:1: not a card state");
    EXPECT_THAT(problem_of("{}"), HasSubstr("families: missing: not a card state"));
    EXPECT_THAT(problem_of(sample_with("\"format\":1", "\"format\":2")),
                StartsWith("state.json:1: format: 2 is not known; known: 1"));
    EXPECT_THAT(problem_of(sample_with("\"format\":1,", "")),
                HasSubstr("format and kind have to stand before it"));
    EXPECT_THAT(problem_of(sample_with("card state", "results")),
                StartsWith("state.json:1: kind: not a card state"));
    EXPECT_THAT(problem_of(sample_with("\"families\":{", "\"families\":[")),
                StartsWith("state.json:9: families: "));
    EXPECT_EQ(problem_of(R"({"format":1,"kind":"card state","families":7})"),
              "state.json:1: families: not an object");
    EXPECT_EQ(problem_of(R"({"format":1,"kind":"card state","accounts":7})"),
              "state.json:1: accounts: not an object");
    EXPECT_THAT(problem_of(sample_with("{\"vrf\":0,\"prefix\":\"1.1.1.2/32\",\"flags0\":\"direct\"}", "7")),
                StartsWith("state.json:16: families.ipv4_leaves.entries[0]: unexpected"));
    EXPECT_THAT(problem_of(sample_with("{\"vrf\":0,\"prefix\":\"1.1.1.2/32\",\"flags0\":\"direct\"}", "[7]")),
                StartsWith("state.json:16: families.ipv4_leaves.entries[0]: an entry is an object"));
    EXPECT_THAT(problem_of(sample_with("\"key\":[\"xid\"],\"entries\":[]", "\"key\":[\"xid\"]")),
                StartsWith("state.json:23: families.pseudowires: has no entries"));
    EXPECT_THAT(
        problem_of(sample_with("\"tag\":3", "\"tag\":" + std::string(40, '[') + std::string(40, ']'))),
        HasSubstr("nested too deeply"));
}

TEST(StateReader, TellsWhereADamagedFileIsDamaged) {
    EXPECT_THAT(problem_of(sample_with("\"tag\":3", "\"tag\":x")),
                StartsWith("state.json:17: families.ipv4_leaves.entries[1].tag: syntax error"));
    std::string cut = kSampleState;
    cut.resize(cut.find("\"ttl\""));
    EXPECT_EQ(problem_of(cut),
              "state.json:19: families.tcam_entries.entries[0].match.src_ipv4: the file ends early");
}

TEST(StateReader, ReadsAStreamAndTellsWhatCannotBeRead) {
    Teller teller;
    std::string error;
    EXPECT_FALSE(read_state("/no/such/file", teller, &error));
    EXPECT_EQ(error, "/no/such/file: No such file or directory");
    EXPECT_FALSE(read_state("/tmp", teller, &error));
    EXPECT_EQ(error, "/tmp: Is a directory");
}

// A file larger than any buffer, so that entries and names are cut everywhere.
TEST(StateReader, ReadsFilesOfAnySizeTheSame) {
    std::string text = sample_with("{\"id\":5,", "{\"id\":4}");
    text = text.substr(0, text.find("{\"id\":4}"));
    for (int i = 0; i < 30000; ++i)
        text += (i ? ",\n" : "") + std::string("{\"id\":") + std::to_string(i) + ",\"shape\":\"round\"}";
    text += "]}}}";
    const TemporaryDirectory directory;
    const std::string path = directory.write("large.json", text);
    Teller from_file, from_text;
    std::string error;
    ASSERT_TRUE(read_state(path, from_file, &error)) << error;
    ASSERT_TRUE(read_state_text(text, path, from_text, &error)) << error;
    EXPECT_EQ(from_file.lines, from_text.lines);
    EXPECT_EQ(from_file.lines[from_file.lines.size() - 2], "novelties: id=29999 shape=round");
}

TEST(StateReader, SurvivesWhateverBecomesOfAFile) {
    std::mt19937 random(1);
    const std::string sample = kSampleState;
    for (int round = 0; round < 3000; ++round) {
        std::string changed = sample;
        for (unsigned change = random() % 4 + 1; change > 0; --change) {
            const size_t at = random() % changed.size();
            switch (random() % 3) {
                case 0:
                    changed[at] = static_cast<char>(random());
                    break;
                case 1:
                    changed.erase(at, random() % 20);
                    break;
                default:
                    changed.insert(at, sample.substr(random() % sample.size(), random() % 60));
                    break;
            }
        }
        feed_state(reinterpret_cast<const uint8_t *>(changed.data()), changed.size());
    }
}

}  // namespace
}  // namespace kivctl::test
