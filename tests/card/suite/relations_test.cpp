// The default site's plan with the real framework: what must always be so between the card's entries is so
// after every operation, and the card ends as the cases mean to leave it.
#include "tests/card/suite/relations.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <new>
#include <span>
#include <string>
#include <vector>

#include "card/sim/backend.h"
#include "kiv/observer.h"
#include "tests/app/calls/fault.h"

int prm_kiv_main(int argc, char **argv);  // the suite's

namespace {

using relations::Relation;

constexpr std::span<const Relation> (*kTables[])() = {relations::of_interfaces, relations::of_forwarding,
                                                      relations::of_layer2};

// What the run leaves for the process that started it.
struct Outcome {
    struct Broken {
        char relation[80], in_case[100], by[120];
        uint32_t times;
    };
    bool good;
    uint32_t cases, operations, broken_count;
    Broken broken[64];
    // The card after the run.
    uint32_t statistics, tunnels, pseudowires, adjacencies, next_hops[64];
};

Outcome &outcome() {
    static Outcome *const shared =
        new (mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
            Outcome();
    return *shared;
}

std::string running;

void take_down(const Relation &relation, const std::string &by) {
    Outcome &run = outcome();
    for (uint32_t i = 0; i < run.broken_count; ++i) {
        if (std::strcmp(run.broken[i].relation, relation.name) != 0) continue;
        ++run.broken[i].times;
        return;
    }
    if (run.broken_count == std::size(run.broken)) return;
    Outcome::Broken &its = run.broken[run.broken_count++];
    std::snprintf(its.relation, sizeof its.relation, "%s", relation.name);
    std::snprintf(its.in_case, sizeof its.in_case, "%s", running.c_str());
    std::snprintf(its.by, sizeof its.by, "%s", by.c_str());
    its.times = 1;
}

void check_all(card::OperationId, prm_status_t) {
    ++outcome().operations;
    for (const auto table : kTables) {
        for (const Relation &relation : table()) {
            const std::string by = relation.broken_by(*sim::current_card());
            if (!by.empty()) take_down(relation, by);
        }
    }
}

// Subscribed behind the glue of the card: what it chooses stands in front of the simulated card.
class Watcher : public kiv::Observer {
  public:
    unsigned interests() const override { return kCases; }
    void worker_begins(int) override {
        card::use_backend(&fault::in_front_of(sim::backend(), {}, check_all));
    }
    void case_begins(std::string_view folder, std::string_view name) override {
        ++outcome().cases;
        running = std::string(folder) + "/" + std::string(name);
    }
    void worker_ends() override {
        const sim::Card &card = *sim::current_card();
        Outcome &run = outcome();
        run.statistics = card.accounts[sim::Resource::statistics].used;
        run.tunnels = card.accounts[sim::Resource::tunnel].used;
        run.pseudowires = card.accounts[sim::Resource::pseudowire].used;
        card.adjacency.table.for_each([&](u32 nh, const sim::Adjacency &, u32) {
            if (run.adjacencies < std::size(run.next_hops)) run.next_hops[run.adjacencies++] = nh;
        });
    }
    void run_ended(const kiv::Summary &summary) override {
        outcome().good = summary.good() && summary.with_unnoticed_calls == 0;
    }
};

// In a process that begins like a fresh program.
[[noreturn]] void run_plan(const std::string &directory) {
    const int nothing = open("/dev/null", O_RDWR);
    for (const int fd : {0, 1, 2}) dup2(nothing, fd);
    unsetenv("CI");
    Watcher watcher;
    kiv::subscribe(&watcher);
    std::vector<std::string> words = {"prm_kiv",         "--no-fork", "--quiet", "--site",
                                      CARD_DEFAULT_SITE, "--out",     directory};
    std::vector<char *> arguments;
    for (std::string &word : words) arguments.push_back(word.data());
    prm_kiv_main(static_cast<int>(words.size()), arguments.data());
    _exit(0);
}

class PlanTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        const std::string directory = testing::TempDir() + "relations." + std::to_string(getpid());
        outcome();
        const pid_t child = fork();
        if (child == 0) run_plan(directory);
        int status = 0;
        waitpid(child, &status, 0);
        if (!WIFEXITED(status)) outcome().good = false;
        std::filesystem::remove_all(directory);
    }
    static bool has_adjacency(u32 nh) {
        const Outcome &run = outcome();
        return std::count(run.next_hops, run.next_hops + run.adjacencies, nh) != 0;
    }
};

TEST_F(PlanTest, RelationsHoldAfterEveryOperation) {
    const Outcome &run = outcome();
    EXPECT_TRUE(run.good);
    EXPECT_EQ(run.cases, 240u);
    EXPECT_GT(run.operations, 2000u);
    for (uint32_t i = 0; i < run.broken_count; ++i) {
        const Outcome::Broken &its = run.broken[i];
        ADD_FAILURE() << its.relation << ": broken " << its.times << " times, first in " << its.in_case
                      << " by " << its.by;
    }
}

// The next hops that were handed out are in the order of the cases: add, delete, modify, failed lookup,
// miscellaneous, punt, null0, drop. Delete-all takes the first five of a list that modify is not in.
TEST_F(PlanTest, TheAdjacencyThatWasModifiedStays) {
    const u32 first = 100030;
    for (const u32 stays : {2u, 6u, 7u}) EXPECT_TRUE(has_adjacency(first + stays)) << stays;
    for (const u32 gone : {0u, 1u, 3u, 4u, 5u}) EXPECT_FALSE(has_adjacency(first + gone)) << gone;
}

TEST_F(PlanTest, ThePseudowireTakesItsAdjacencyAndItsTunnelWithIt) {
    const Outcome &run = outcome();
    EXPECT_EQ(run.pseudowires, 0u);
    EXPECT_EQ(run.tunnels, 0u);
    EXPECT_FALSE(has_adjacency(100053));
}

TEST_F(PlanTest, NoStatisticsPointerIsReleased) {
    // An ingress and an egress one of every sub-interface that a case creates, and one for MPLS.
    EXPECT_EQ(outcome().statistics, 2u * (4 + 4 + 2) + 1);
}

// ---- Each relation can be seen broken.

sim::Interface &at(sim::Card &card, u32 handle) {
    return *card.interfaces.table.find(handle);
}
void set(sim::Card &card, u32 handle, sim::Feature feature, u32 value) {
    at(card, handle).features |= 1u << static_cast<u32>(feature);
    at(card, handle).values[static_cast<size_t>(feature)] = value;
}
template <typename Key, typename Entry>
Entry &entry(sim::Table<Key, Entry> &table, Key key) {
    Entry *its;
    EXPECT_EQ(table.add(key, &its), 0u);
    return *its;
}

// An entry that no operation would let in.
template <typename Result>
void put_in_tcam(sim::Card &card, u32 feature, const Result &result) {
    u8 value[sim::kTcamKeyBytes] = {}, mask[sim::kTcamKeyBytes] = {}, bytes[sim::kTcamResultBytes] = {};
    std::memcpy(bytes, &result, sizeof result);
    auto &tcams = const_cast<sim::Table<u64, sim::Tcam> &>(card.tcam.tcams());
    entry(tcams, u64{feature} << PRM_TCAM_VMR_FEATURE_SHIFT | 1).entries.set(0, value, mask, bytes);
}

// Of the default site's inventory: a main interface, sub-interfaces of it, a bundle and its sub-interface.
constexpr u32 kMain = 0x8000088, kRouted = 0x800f110, kSwitched = 0x800f210, kBundleSub = 0x800a110;
constexpr u8 kBundle = 10;

struct Break {
    const char *relation;
    void (*spoil)(sim::Card &card);
};
const Break kBreaks[] = {
    {"an interface is found by its index",
     [](sim::Card &card) { card.interfaces.set_handle_of_uidb(10, 0); }},
    {"a sub-interface has a parent, which counts it",
     [](sim::Card &card) { ++at(card, kMain).sub_interfaces; }},
    {"one main interface a port", [](sim::Card &card) { at(card, kMain).np_port = 2; }},
    {"a sub-interface is on its parent's port", [](sim::Card &card) { at(card, kRouted).np_port = 9; }},
    {"the port feature is the port, and not below a bundle",
     [](sim::Card &card) { set(card, kRouted, sim::Feature::NP_PORT, 9); }},
    {"the bundle feature of a sub-interface is its parent's bundle",
     [](sim::Card &card) { set(card, kBundleSub, sim::Feature::LAG_ID, 11); }},
    {"one encapsulation, one sub-interface",
     [](sim::Card &card) {
         set(card, kSwitched, sim::Feature::OUTER_VLAN, at(card, kRouted).value(sim::Feature::OUTER_VLAN));
     }},
    {"the number of tags is the number of VLANs",
     [](sim::Card &card) { set(card, kRouted, sim::Feature::VLAN_TAGS, 2); }},
    {"a rewrite takes no more tags than the encapsulation has",
     [](sim::Card &card) { set(card, kSwitched, sim::Feature::REWRITE_OP, UIDB_REWRITE_SWAP22); }},
    {"no IPv4 or MPLS on a layer-2 interface",
     [](sim::Card &card) { set(card, kSwitched, sim::Feature::IPV4_ENABLE, 1); }},
    {"the MAC of an interface is unicast",
     [](sim::Card &card) {
         at(card, kMain).features |= 1u << static_cast<u32>(sim::Feature::MAC);
         at(card, kMain).mac[0] = 1;
     }},
    {"one interface, one bundle id",
     [](sim::Card &card) { card.interfaces.bundle_interfaces.erase(kBundle); }},
    {"a formed bundle has an interface",
     [](sim::Card &card) { card.interfaces.bundle_interfaces.erase(kBundle); }},
    {"members of a bundle are configured for it",
     [](sim::Card &card) { card.interfaces.bundles.find(kBundle)->members.set(5); }},
    {"a statistics pointer counts for one interface",
     [](sim::Card &card) { card.statistics.counting[5] = kMain; }},
    {"features are accounted for", [](sim::Card &card) { ++card.interfaces.feature_account.used; }},
    {"an adjacency is held by all that name its next hop",
     [](sim::Card &card) {
         entry(card.load_distribution.table, 64u).paths.push_back({.nh_idx = 7});
         entry(card.adjacency.table, 7u);
     }},
    {"a load-distribution entry is held by all that point at it",
     [](sim::Card &card) { entry(card.label.table, 7u).flags0 = ZOR_LABEL_NR_LDI; }},
    {"the index of a label is reserved",
     [](sim::Card &card) { entry(card.label.table, 7u).leaf_hw_idx = 9; }},
    {"next hop and tunnel of an adjacency are in use",
     [](sim::Card &card) { entry(card.adjacency.table, card.inventory.pools.next_hop); }},
    {"an adjacency keeps the index of its interface",
     [](sim::Card &card) { entry(card.adjacency.table, 7u).uidb = 10; }},
    {"the next hops of a recursive leaf have adjacencies",
     [](sim::Card &card) { entry(card.route.ipv4, sim::ipv4_key(1, 0, 32)).flags1 = ZOR_LEAF_RECURSIVE; }},
    {"leaves have room reserved",
     [](sim::Card &card) {
         for (const u32 address : {1u, 2u}) entry(card.route.ipv4, sim::ipv4_key(address, 0, 32));
     }},
    {"a VNI is of one bridge domain",
     [](sim::Card &card) {
         for (const u32 bd_id : {1u, 2u}) entry(card.l2.bridge_domains, bd_id).vni = 5000;
     }},
    {"overlay adjacencies and EVPN MACs are in domains with a VNI",
     [](sim::Card &card) {
         entry(card.l2.bridge_domains, 1u);
         entry(card.evpn.overlays, sim::overlay_key(1, 7));
     }},
    {"no overlay leads to its domain's own VTEP",
     [](sim::Card &card) {
         entry(card.l2.bridge_domains, 1u).source_vtep = 7;
         entry(card.evpn.overlays, sim::overlay_key(1, 7));
     }},
    {"an EVPN MAC is unicast",
     [](sim::Card &card) {
         entry(card.evpn.macs, sim::EvpnMacKey{1, {1, 0, 0, 0, 0, 1}});
     }},
    {"the circuits on an interface are in one service, several in one bridge domain",
     [](sim::Card &card) {
         for (const u32 xid : {1u, 2u}) {
             sim::Circuit &circuit = entry(card.l2.circuits, sim::vsp_circuit(xid));
             circuit.uidb = at(card, kSwitched).uidb;
             circuit.service_id = xid;
         }
     }},
    {"circuits are on switched interfaces, or on a BVI in a domain that was made for one",
     [](sim::Card &card) {
         const u16 uidb = at(card, kRouted).uidb;
         entry(card.l2.circuits, sim::circuit_on(uidb)).uidb = uidb;
     }},
    {"a pseudowire goes out over an adjacency with label and tunnel",
     [](sim::Card &card) {
         entry(card.adjacency.table, 7u);
         entry(card.l2.pseudowires, 1u).next_hop = 7;
     }},
    {"a port is the destination of one mirror session, and has no interface",
     [](sim::Card &card) { entry(card.span.sessions, 0u).dest_port = at(card, kMain).np_port; }},
    {"a mirror session has at most 400 sources",
     [](sim::Card &card) {
         for (u64 source = 0; source < 401; ++source) entry(card.span.sources, source);
     }},
    {"the statistics that ACL entries name are allocated",
     [](sim::Card &card) {
         prm_tcam_acl_result result = {};
         result.stats_id = 5;
         put_in_tcam(card, PRM_TCAM_FEATURE_ACL, result);
     }},
    {"the statistics and policers that QoS entries name are allocated",
     [](sim::Card &card) {
         prm_tcam_qos_result result = {};
         result.token_bucket_id = 5;
         put_in_tcam(card, PRM_TCAM_FEATURE_QOS, result);
     }},
};

TEST(RelationsTest, EveryRelationIsSeenWhenItIsBroken) {
    sim::Inventory inventory;
    std::string error;
    ASSERT_TRUE(sim::load_inventory(CARD_DEFAULT_SITE "/card.toml", &inventory, &error)) << error;
    for (const auto table : kTables) {
        for (const Relation &relation : table()) {
            const auto row = std::find_if(std::begin(kBreaks), std::end(kBreaks), [&](const Break &its) {
                return std::strcmp(its.relation, relation.name) == 0;
            });
            ASSERT_NE(row, std::end(kBreaks)) << relation.name;
            sim::Card card(inventory);
            EXPECT_EQ(relation.broken_by(card), "") << relation.name;
            row->spoil(card);
            EXPECT_NE(relation.broken_by(card), "") << relation.name;
        }
    }
}

}  // namespace
