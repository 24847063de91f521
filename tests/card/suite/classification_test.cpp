// The classification and QoS folders of the suite, run whole and in registration order on simulated cards of
// every kind: a framework that only records, the real suite, the real card.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "card/sim/backend.h"
#include "card/sim/card.h"
#include "tests/standin/told.h"

// The case that destroys with a spoiled feature id is meant to leave its key buffers behind.
extern "C" const char *__lsan_default_suppressions() {
    return "leak:tc_kiv_qos_tcam_destroy_invalid_fea_id";
}

namespace {

using standin::Told;

struct Kind {
    const char *name;
    u32 card_type;
    bool veltora;
    u32 ports;
    u32 hsp_port;  // 0: the card has none
    u32 processors;

    u32 local_ports() const { return ports / processors; }  // of each processor
};

constexpr Kind kKinds[] = {
    {"TypeA", PLATFORM_CARD_TYPE_A, false, 88, 81, 1},
    {"TypeB", PLATFORM_CARD_TYPE_B, false, 48, 41, 1},
    {"Veltora", 0x1E1003, true, 24, 0, 1},
    {"TwoProcessors", PLATFORM_CARD_TYPE_B, false, 96, 41, 2},
};

void PrintTo(const Kind &kind, std::ostream *out) {
    *out << kind.name;
}

class SuiteOnCardTest : public ::testing::TestWithParam<Kind> {
  protected:
    static sim::Inventory inventory() {
        sim::Inventory inventory;
        inventory.card_type = GetParam().card_type;
        inventory.veltora_family = GetParam().veltora;
        inventory.ports = GetParam().ports;
        inventory.np_local_ports.assign(GetParam().processors, static_cast<u8>(GetParam().local_ports()));
        return inventory;
    }

    void run(const char *folder) {
        Told fixtures;
        runs = standin::told_by_folder(standin::register_suite(), folder, &fixtures);
        EXPECT_GT(fixtures.checks, 0);
        EXPECT_EQ(fixtures.failed_checks, std::vector<std::string>{});
    }

    const Told &run_of(const std::string &name) const {
        for (const Told &each : runs) {
            if (each.name == name) return each;
        }
        static const Told nothing;
        ADD_FAILURE() << "no case " << name;
        return nothing;
    }

    void expect_all_well() const {
        for (const Told &each : runs) {
            EXPECT_EQ(each.failed_checks, std::vector<std::string>{}) << each.name << "\n" << each.printed;
            for (const char *bad :
                 {"Failure", "ERROR", "Error", "FAIL", "Mismatch", "isn't", "is not configured"}) {
                EXPECT_EQ(each.printed.find(bad), std::string::npos) << each.name << "\n" << each.printed;
            }
        }
    }

    u32 used(sim::Resource resource) const { return card.accounts[resource].used; }

    sim::Card card{inventory()};
    sim::CurrentCard use{card};
    std::vector<Told> runs;  // of the last folder
};

TEST_P(SuiteOnCardTest, EveryAclCasePasses) {
    run("acl");
    EXPECT_GE(runs.size(), 27u);
    expect_all_well();
    for (const Told &each : runs) EXPECT_GT(each.checks, 0) << each.name;
    EXPECT_THAT(run_of("create").printed,
                ::testing::AllOf(::testing::HasSubstr("SrcIP inserted correctly"),
                                 ::testing::HasSubstr("DstIP inserted correctly"),
                                 ::testing::HasSubstr("TTL inserted correctly"),
                                 ::testing::HasSubstr("ClassID inserted correctly"),
                                 ::testing::HasSubstr("ACL Stats ID inserted correctly")));
    // Every case leaves the card as it found it.
    EXPECT_EQ(used(sim::Resource::tcam), 0u);
    EXPECT_EQ(used(sim::Resource::tcam_entry), 0u);
    EXPECT_EQ(used(sim::Resource::acl_statistics), 0u);
    EXPECT_EQ(used(sim::Resource::client), 0u);
}

TEST_P(SuiteOnCardTest, EveryQosCasePassesOrDoesNotApply) {
    run("qos");
    EXPECT_GE(runs.size(), 36u);
    expect_all_well();
    for (const Told &each : runs) {
        const bool match =
            each.name == "match_protocol" || each.name == "match_acl1" || each.name == "match_acl2";
        if (match && GetParam().veltora) {
            EXPECT_EQ(each.printed, "This tc is not applicable in Quennick\n") << each.name;
            EXPECT_EQ(each.checks, 0) << each.name;
        } else if (each.name == "spq_hsp_port" && GetParam().hsp_port == 0) {
            EXPECT_EQ(each.printed, "This tc is not required in Quennick or other box");
            EXPECT_EQ(each.checks, 0);
        } else {
            EXPECT_GT(each.checks, 0) << each.name;
        }
    }
    EXPECT_EQ(used(sim::Resource::tcam), 0u);
    EXPECT_EQ(used(sim::Resource::tcam_entry), 0u);
    EXPECT_EQ(used(sim::Resource::policy), 1u) << "of the case that destroys with a spoiled feature id";
    // Default queues stay: the scale case allocates one on every port but the last, of which port 1's is
    // released.
    EXPECT_EQ(used(sim::Resource::queue), GetParam().local_ports() - 2);
}

TEST_P(SuiteOnCardTest, AShiftedKeyIsVerifiedFieldByField) {
    if (GetParam().veltora) GTEST_SKIP() << "does not apply to this family";
    run("qos");
    EXPECT_THAT(run_of("match_acl2").printed,
                ::testing::AllOf(::testing::HasSubstr("SrcIP inserted correctly"),
                                 ::testing::HasSubstr("DstIP inserted correctly"),
                                 ::testing::HasSubstr("Fragment Value inserted correctly"),
                                 ::testing::HasSubstr("Stats ID inserted correctly")));
    EXPECT_THAT(run_of("match_acl1").printed,
                ::testing::AllOf(::testing::HasSubstr("SrcPort inserted correctly"),
                                 ::testing::HasSubstr("DstPort inserted correctly")));
    EXPECT_THAT(run_of("match_prec").printed,
                ::testing::AllOf(::testing::HasSubstr("Token Bucket ID inserted correctly"),
                                 ::testing::HasSubstr("Police Exceed Marking Value2 inserted correctly")));
}

TEST_P(SuiteOnCardTest, EveryClassOfEveryPortReadsBackAsConfigured) {
    run("qos");
    const std::string &output = run_of("scale_sp_queue_on_all_ports").printed;
    const auto count = [&](const std::string &text) {
        size_t n = 0;
        for (size_t at = output.find(text); at != std::string::npos; at = output.find(text, at + 1)) ++n;
        return n;
    };
    EXPECT_EQ(count("is configured properly for class"), 7 * (GetParam().local_ports() - 1));
    EXPECT_EQ(count("BWRR is cnfig crrtly on def-class's SP"), GetParam().local_ports() - 1);
    EXPECT_EQ(count("Success in Deleting SP Queue"), GetParam().local_ports() - 1);
}

TEST_P(SuiteOnCardTest, BothFoldersRunTwiceOnOneCard) {
    for (int round = 0; round < 2; ++round) {
        run("acl");
        expect_all_well();
        run("qos");
        expect_all_well();
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, SuiteOnCardTest, ::testing::ValuesIn(kKinds),
                         [](const auto &info) { return std::string(info.param.name); });

}  // namespace
