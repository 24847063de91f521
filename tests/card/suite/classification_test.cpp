// The classification and QoS folders of the suite, run whole and in registration order on simulated cards of
// every kind: a framework that only records, the real suite, the real card.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "card/sim/backend.h"
#include "card/sim/card.h"
#include "kiv.h"

int prm_kiv_main(int argc, char **argv);  // the suite's main

struct kiv_folder {
    std::string name;
    kiv_function_t set_up = nullptr, tear_down = nullptr;
};

// The case that destroys with a spoiled feature id is meant to leave its key buffers behind.
extern "C" const char *__lsan_default_suppressions() {
    return "leak:tc_kiv_qos_tcam_destroy_invalid_fea_id";
}

namespace {

struct CaseRun {
    std::string name;
    int checks = 0;
    std::vector<std::string> failed;
    std::string output;
};

struct Registered {
    kiv_folder_t folder;
    std::string name;
    kiv_function_t function;
};

std::vector<std::unique_ptr<kiv_folder>> folders;
std::vector<Registered> registered;
std::string wanted_folder;
std::vector<CaseRun> runs;  // of the wanted folder
CaseRun outside;            // fixtures
CaseRun *running = &outside;

void record(bool passed, const std::string &what) {
    ++running->checks;
    if (!passed) running->failed.push_back(what);
}

}  // namespace

extern "C" {

void kiv_create(kiv_context_t *context) {
    folders.clear();
    registered.clear();
    *context = nullptr;
}

kiv_folder_t kiv_create_test_folder(kiv_context_t, kiv_folder_t, const char *name, const char *) {
    folders.push_back(std::make_unique<kiv_folder>());
    folders.back()->name = name;
    return folders.back().get();
}

void kiv_add_fixture(kiv_folder_t folder, kiv_function_t set_up, kiv_function_t tear_down) {
    folder->set_up = set_up;
    folder->tear_down = tear_down;
}

void kiv_create_test_case(kiv_context_t, kiv_folder_t folder, const char *name, const char *,
                          kiv_function_t function, int) {
    registered.push_back({folder, name, function});
}

int kiv_run(int, char **, kiv_context_t) {
    kiv_folder_t open = nullptr;
    for (const Registered &each : registered) {
        if (each.folder->name != wanted_folder) continue;
        if (open == nullptr) {
            open = each.folder;
            open->set_up();
        }
        runs.push_back({each.name, 0, {}, ""});
        running = &runs.back();
        each.function();
        running = &outside;
    }
    if (open != nullptr) open->tear_down();
    return 0;
}

void kiv_destroy(kiv_context_t *) {}

int kiv_printf(const char *format, ...) {
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    running->output += text;
    return length;
}

int kiv_jyx_check_cerrno_(u32 status, u32 expected, const char *, const char *, const char *function, int) {
    record(status == expected,
           std::string(function) + ": " + std::to_string(status) + ", not " + std::to_string(expected));
    return status == expected;
}

int kiv_check__(int, int condition, const char *text, const char *, const char *function, int, const char *,
                ...) {
    record(condition != 0, std::string(function) + ": " + text);
    return condition;
}
}

namespace {

struct Kind {
    const char *name;
    u32 card_type;
    bool veltora;
    u32 ports;
    u32 hsp_port;  // 0: the card has none
};

constexpr Kind kKinds[] = {
    {"TypeA", PLATFORM_CARD_TYPE_A, false, 88, 81},
    {"TypeB", PLATFORM_CARD_TYPE_B, false, 48, 41},
    {"Veltora", 0x1E1003, true, 24, 0},
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
        inventory.np_local_ports = {static_cast<u8>(GetParam().ports)};
        return inventory;
    }

    void run(const char *folder) {
        wanted_folder = folder;
        runs.clear();
        outside = {};
        char program[] = "suite";
        char *arguments[] = {program, nullptr};
        EXPECT_EQ(prm_kiv_main(1, arguments), 0);
        EXPECT_EQ(outside.failed, std::vector<std::string>{});
    }

    static const CaseRun &run_of(const std::string &name) {
        for (const CaseRun &each : runs) {
            if (each.name == name) return each;
        }
        ADD_FAILURE() << "no case " << name;
        return outside;
    }

    static void expect_all_well() {
        for (const CaseRun &each : runs) {
            EXPECT_EQ(each.failed, std::vector<std::string>{}) << each.name << "\n" << each.output;
            for (const char *bad :
                 {"Failure", "ERROR", "Error", "FAIL", "Mismatch", "isn't", "is not configured"}) {
                EXPECT_EQ(each.output.find(bad), std::string::npos) << each.name << "\n" << each.output;
            }
        }
    }

    u32 used(sim::Resource resource) const { return card.accounts[resource].used; }

    sim::Card card{inventory()};
    sim::CurrentCard use{card};
};

TEST_P(SuiteOnCardTest, EveryAclCasePasses) {
    run("acl");
    EXPECT_EQ(runs.size(), 27u);
    expect_all_well();
    for (const CaseRun &each : runs) EXPECT_GT(each.checks, 0) << each.name;
    EXPECT_THAT(run_of("create").output,
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
    EXPECT_EQ(runs.size(), 36u);
    expect_all_well();
    for (const CaseRun &each : runs) {
        const bool match =
            each.name == "match_protocol" || each.name == "match_acl1" || each.name == "match_acl2";
        if (match && GetParam().veltora) {
            EXPECT_EQ(each.output, "This tc is not applicable in Quennick\n") << each.name;
            EXPECT_EQ(each.checks, 0) << each.name;
        } else if (each.name == "spq_hsp_port" && GetParam().hsp_port == 0) {
            EXPECT_EQ(each.output, "This tc is not required in Quennick or other box");
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
    EXPECT_EQ(used(sim::Resource::queue), GetParam().ports - 2);
}

TEST_P(SuiteOnCardTest, AShiftedKeyIsVerifiedFieldByField) {
    if (GetParam().veltora) GTEST_SKIP() << "does not apply to this family";
    run("qos");
    EXPECT_THAT(run_of("match_acl2").output,
                ::testing::AllOf(::testing::HasSubstr("SrcIP inserted correctly"),
                                 ::testing::HasSubstr("DstIP inserted correctly"),
                                 ::testing::HasSubstr("Fragment Value inserted correctly"),
                                 ::testing::HasSubstr("Stats ID inserted correctly")));
    EXPECT_THAT(run_of("match_acl1").output,
                ::testing::AllOf(::testing::HasSubstr("SrcPort inserted correctly"),
                                 ::testing::HasSubstr("DstPort inserted correctly")));
    EXPECT_THAT(run_of("match_prec").output,
                ::testing::AllOf(::testing::HasSubstr("Token Bucket ID inserted correctly"),
                                 ::testing::HasSubstr("Police Exceed Marking Value2 inserted correctly")));
}

TEST_P(SuiteOnCardTest, EveryClassOfEveryPortReadsBackAsConfigured) {
    run("qos");
    const std::string &output = run_of("scale_sp_queue_on_all_ports").output;
    const auto count = [&](const std::string &text) {
        size_t n = 0;
        for (size_t at = output.find(text); at != std::string::npos; at = output.find(text, at + 1)) ++n;
        return n;
    };
    EXPECT_EQ(count("is configured properly for class"), 7 * (GetParam().ports - 1));
    EXPECT_EQ(count("BWRR is cnfig crrtly on def-class's SP"), GetParam().ports - 1);
    EXPECT_EQ(count("Success in Deleting SP Queue"), GetParam().ports - 1);
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
