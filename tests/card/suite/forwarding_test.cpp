// The suite's layer-3, MPLS and LPTS cases on a simulated card, in registration order: no failing check, no
// failing outcome, and the negative cases see their failure.
#include <algorithm>
#include <functional>
#include <string>

#include "prm_kiv_main.h"
#include "tests/card/sim/card_test.h"
#include "tests/standin/flash.h"
#include "tests/standin/told.h"

namespace sim {
namespace {

using standin::Case;
using standin::Told;

const char *const kFolders[] = {"prm-kiv", "prm-lpts"};
const char *const kParts[] = {"nr_ldi", "_leaf_", "tx_adj", "mpls_fwding", "mpls_stats", "lpts"};

bool is_layer3(const Case &c) {
    bool folder = false, part = false;
    for (const char *name : kFolders) folder = folder || c.folder->path == name;
    for (const char *text : kParts) part = part || c.name.find(text) != std::string::npos;
    return folder && part;
}

class L3CasesTest : public testing::Test {
  protected:
    void SetUp() override {
        const Told connected = standin::told_by("set-up", setup_bm_prm_conn);
        ASSERT_EQ(connected.failed_checks, std::vector<std::string>{});
        standin::flash_file("kiv_tcs_input_file",
                            "IFH:8000088,UIDB:40,INTF_NAME:GigabitEthernet0/0/0/1,NP_PORT:1\n"
                            "IFH:80000c8,UIDB:41,INTF_NAME:GigabitEthernet0/0/0/2,NP_PORT:2\n");
    }
    void TearDown() override { standin::clear_flash(); }

    // Runs a case; no check of it may fail. What it told.
    static Told run(const Case &test_case) {
        testing::internal::CaptureStdout();
        const Told told = standin::told_by(test_case);
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(told.failed_checks, std::vector<std::string>{}) << told.name;
        return told;
    }
    // Runs every layer-3 case in registration order.
    void run_all(const std::function<void(const Told &)> &visit = [](const Told &) {}) const {
        for (const Case &c : registered.cases)
            if (is_layer3(c)) visit(run(c));
    }

    u32 used(Resource resource) const { return card.accounts[resource].used; }

    Card card{small_inventory()};
    CurrentCard use{card};
    const standin::Registration &registered = standin::register_suite();
};

// An unmet expectation in an outcome line. The invalid read's own step reports the failure that its case
// expects.
bool reports_an_error(const Told &told) {
    if (told.name == "tc_kiv_lpts_invalid_entry_read")
        return told.printed.find("SUCCESS: Reading invalid entry failed") == std::string::npos;
    return told.printed.find("ERROR") != std::string::npos || told.printed.find("FAIL") != std::string::npos;
}

TEST_F(L3CasesTest, AllCasesSucceedInRegistrationOrder) {
    int cases = 0;
    run_all([&](const Told &told) {
        ++cases;
        EXPECT_FALSE(reports_an_error(told)) << told.name << ": " << told.printed;
    });
    EXPECT_GE(cases, 5 + 8 + 10 + 10 + 5 + 7);
}

TEST_F(L3CasesTest, ASecondAndThirdRunOnTheSameCardSucceedToo) {
    for (int round = 0; round < 3; ++round)
        run_all([&](const Told &told) {
            EXPECT_FALSE(reports_an_error(told)) << told.name << ": " << told.printed;
        });
}

TEST_F(L3CasesTest, NegativeCasesSeeTheirFailure) {
    int seen = 0;
    run_all([&](const Told &told) {
        const char *expected = nullptr;
        if (told.name == "tc_kiv_tx_adj_buddy_reserve") expected = "SUCCESS: Buddy Reserve failed. rc = 0x";
        if (told.name == "tc_kiv_lpts_invalid_entry_read")
            expected = "SUCCESS: Reading invalid entry failed.";
        if (told.name == "tc_kiv_lpts_invalid_entry_delete")
            expected = "SUCCESS: Deleting invalid LPTS entrye";
        if (expected == nullptr) return;
        ++seen;
        EXPECT_NE(told.printed.find(expected), std::string::npos) << told.printed;
    });
    EXPECT_EQ(seen, 3);
}

TEST_F(L3CasesTest, WhatTheCasesLeaveBehindIsOnTheCard) {
    run_all();
    EXPECT_EQ(used(Resource::ipv4_leaf), 1u);  // the push chains' recursive leaf
    EXPECT_EQ(used(Resource::ipv6_leaf), 0u);
    EXPECT_EQ(used(Resource::lpts), 1u);   // the IPv6 entry
    EXPECT_EQ(used(Resource::label), 4u);  // 55000 and 55002, each with and without end-of-stack
    EXPECT_EQ(used(Resource::nr_ldi), 1u + 8u);
    EXPECT_EQ(used(Resource::leaf), 2u);
    // Three in the fixed reservation and one a chain; the multipath entry is a name.
    EXPECT_EQ(used(Resource::nr_ldi_index), 3u + 8u);
}

// The second of the five listed was deleted by its own case, and no other adjacency got its index: the delete
// says so and the adjacency that was modified, which no list has, stays.
TEST_F(L3CasesTest, DeleteAllLeavesTheLastTwoListedNextHopsAndTheOneThatWasModified) {
    const auto refusals = [](const Told &told) {
        size_t count = 0;
        for (size_t at = 0; (at = told.printed.find("call 1 failed", at)) != std::string::npos; ++at) ++count;
        return count;
    };
    run_all([&](const Told &told) {
        if (told.name == "tc_kiv_tx_adj_del_all") {
            EXPECT_EQ(card.adjacency.table.size(), 3u);
            EXPECT_EQ(refusals(told), 1u) << told.printed;
        }
    });

    // Once more: all five are gone, every delete is refused and says so, and no outcome line speaks of an
    // error.
    const Told again = run(*registered.find("prm-kiv/tc_kiv_tx_adj_del_all").at(0));
    EXPECT_FALSE(reports_an_error(again)) << again.printed;
    EXPECT_EQ(refusals(again), 5u) << again.printed;
}

TEST_F(L3CasesTest, TheCleanupFileGrowsAcrossRunsAndIsLeftAsItIs) {
    const auto lines = [&] {
        const std::string text = standin::flash_text("kiv_tcs_cleanup_file");
        return std::count(text.begin(), text.end(), '\n');
    };
    run_all();
    EXPECT_EQ(lines(), 7);
    run_all();
    EXPECT_EQ(lines(), 14);
    EXPECT_EQ(standin::flash_text("kiv_tcs_output_file").rfind("nh_index : ", 0), 0u);
}

}  // namespace
}  // namespace sim
