// The suite's layer-3, MPLS and LPTS cases on a simulated card, in registration order: no failing check, no
// failing outcome, and the negative cases see their failure.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <string>

#include "kiv.h"
#include "prm_kiv_main.h"
#include "prm_kiv_registry.h"
#include "prm_srh.h"
#include "tests/card/sim/card_test.h"
#include "zor_vop_prm.h"

namespace {

struct Case {
    std::string folder, name;
    kiv_function_t function;
};

// What the framework is told and what the cases print.
struct Framework {
    std::deque<std::string> folders;  // a folder is the address of its name
    std::vector<Case> cases;
    std::string printed;
    int failed_checks = 0;
};
Framework framework;

// Directory that stands for the card's flash.
std::string flash;

const char *const kFolders[] = {"prm-kiv", "prm-lpts"};
const char *const kParts[] = {"nr_ldi", "_leaf_", "tx_adj", "mpls_fwding", "mpls_stats", "lpts"};

bool is_layer3(const Case &c) {
    bool folder = false, part = false;
    for (const char *name : kFolders) folder = folder || c.folder == name;
    for (const char *text : kParts) part = part || c.name.find(text) != std::string::npos;
    return folder && part;
}

}  // namespace

extern "C" {

void kiv_create(kiv_context_t *context) {
    *context = nullptr;
}
kiv_folder_t kiv_create_test_folder(kiv_context_t, kiv_folder_t, const char *name, const char *) {
    return reinterpret_cast<kiv_folder_t>(&framework.folders.emplace_back(name));
}
void kiv_add_fixture(kiv_folder_t, kiv_function_t, kiv_function_t) {}
void kiv_create_test_case(kiv_context_t, kiv_folder_t folder, const char *name, const char *,
                          kiv_function_t function, int) {
    framework.cases.push_back({*reinterpret_cast<std::string *>(folder), name, function});
}
int kiv_run(int, char **, kiv_context_t) {
    return 0;
}
void kiv_destroy(kiv_context_t *) {}

int kiv_printf(const char *format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    const int size = vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    framework.printed += text;
    return size;
}
int kiv_jyx_check_cerrno_(u32 status, u32 expected, const char *, const char *, const char *function,
                          int line) {
    if (status == expected) return 1;
    ++framework.failed_checks;
    ADD_FAILURE() << function << ":" << line << ": " << cerr_strerror(status);
    return 0;
}
int kiv_check__(int, int condition, const char *, const char *, const char *, int, const char *, ...) {
    return condition;
}

FILE *__real_fopen(const char *path, const char *mode);
FILE *__wrap_fopen(const char *path, const char *mode);
FILE *__wrap_fopen(const char *path, const char *mode) {
    const std::string name = path;
    if (name.rfind("/disk0:/", 0) != 0) return __real_fopen(path, mode);
    return __real_fopen((flash + name.substr(7)).c_str(), mode);
}
}

namespace sim {
namespace {

class L3CasesTest : public CardTest {
  protected:
    void SetUp() override {
        CardTest::SetUp();
        prm_async_handle = client;
        framework = Framework();
        prm_kiv_register(nullptr);
        char pattern[] = "/tmp/kiv-l3-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        flash = pattern;
        write("kiv_tcs_input_file",
              "IFH:8000088,UIDB:40,INTF_NAME:GigabitEthernet0/0/0/1,NP_PORT:1\n"
              "IFH:80000c8,UIDB:41,INTF_NAME:GigabitEthernet0/0/0/2,NP_PORT:2\n");
    }
    void TearDown() override { EXPECT_EQ(std::system(("rm -rf '" + flash + "'").c_str()), 0); }

    void write(const std::string &name, const std::string &text) {
        FILE *file = __real_fopen((flash + "/" + name).c_str(), "w");
        ASSERT_NE(file, nullptr);
        fputs(text.c_str(), file);
        fclose(file);
    }
    std::string read(const std::string &name) {
        std::string text;
        FILE *file = __real_fopen((flash + "/" + name).c_str(), "r");
        if (file == nullptr) return text;
        for (int c; (c = fgetc(file)) != EOF;) text += static_cast<char>(c);
        fclose(file);
        return text;
    }

    // Runs every layer-3 case in registration order; visit(name, what it printed).
    void run_all(const std::function<void(const std::string &, const std::string &)> &visit) {
        for (const Case &c : framework.cases) {
            if (!is_layer3(c)) continue;
            framework.printed.clear();
            testing::internal::CaptureStdout();
            c.function();
            testing::internal::GetCapturedStdout();
            visit(c.name, framework.printed);
        }
    }
};

// An unmet expectation in an outcome line. The invalid read's own step reports the failure that its case
// expects.
bool reports_an_error(const std::string &name, const std::string &text) {
    if (name == "tc_kiv_lpts_invalid_entry_read")
        return text.find("SUCCESS: Reading invalid entry failed") == std::string::npos;
    return text.find("ERROR") != std::string::npos || text.find("FAIL") != std::string::npos;
}

TEST_F(L3CasesTest, AllCasesSucceedInRegistrationOrder) {
    int cases = 0;
    run_all([&](const std::string &name, const std::string &text) {
        ++cases;
        EXPECT_FALSE(reports_an_error(name, text)) << name << ": " << text;
    });
    EXPECT_EQ(cases, 5 + 8 + 10 + 10 + 5 + 7);
    EXPECT_EQ(framework.failed_checks, 0);
}

TEST_F(L3CasesTest, ASecondAndThirdRunOnTheSameCardSucceedToo) {
    for (int round = 0; round < 3; ++round)
        run_all([&](const std::string &name, const std::string &text) {
            EXPECT_FALSE(reports_an_error(name, text)) << name << ": " << text;
        });
    EXPECT_EQ(framework.failed_checks, 0);
}

TEST_F(L3CasesTest, NegativeCasesSeeTheirFailure) {
    int seen = 0;
    run_all([&](const std::string &name, const std::string &text) {
        const char *expected = nullptr;
        if (name == "tc_kiv_tx_adj_buddy_reserve") expected = "SUCCESS: Buddy Reserve failed. rc = 0x";
        if (name == "tc_kiv_lpts_invalid_entry_read") expected = "SUCCESS: Reading invalid entry failed.";
        if (name == "tc_kiv_lpts_invalid_entry_delete") expected = "SUCCESS: Deleting invalid LPTS entrye";
        if (expected == nullptr) return;
        ++seen;
        EXPECT_NE(text.find(expected), std::string::npos) << text;
    });
    EXPECT_EQ(seen, 3);
}

TEST_F(L3CasesTest, WhatTheCasesLeaveBehindIsOnTheCard) {
    run_all([](const std::string &, const std::string &) {});
    EXPECT_EQ(used(Resource::ipv4_leaf), 1u);  // the push chains' recursive leaf
    EXPECT_EQ(used(Resource::ipv6_leaf), 0u);
    EXPECT_EQ(used(Resource::lpts), 1u);   // the IPv6 entry
    EXPECT_EQ(used(Resource::label), 4u);  // 55000 and 55002, each with and without end-of-stack
    EXPECT_EQ(used(Resource::nr_ldi), 1u + 8u);
    EXPECT_EQ(used(Resource::leaf), 2u);
    // Three in the fixed reservation and one a chain; the multipath entry is a name.
    EXPECT_EQ(used(Resource::nr_ldi_index), 3u + 8u);
}

// The second of the five listed was deleted by its own case; its index is then the modify case's.
TEST_F(L3CasesTest, DeleteAllLeavesTheLastTwoListedNextHops) {
    kiv_function_t delete_all = nullptr;
    for (const Case &c : framework.cases)
        if (c.name == "tc_kiv_tx_adj_del_all") delete_all = c.function;
    run_all([&](const std::string &name, const std::string &) {
        if (name == "tc_kiv_tx_adj_del_all") {
            EXPECT_EQ(card.adjacency.table.size(), 2u);
        }
    });

    // Once more, after the chains took over the freed next hops and hold them: every delete is refused and
    // says so, and no outcome line speaks of an error.
    framework.printed.clear();
    testing::internal::CaptureStdout();
    delete_all();
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(reports_an_error("", framework.printed)) << framework.printed;
    size_t refusals = 0;
    for (size_t at = 0; (at = framework.printed.find("call 1 failed", at)) != std::string::npos; ++at)
        ++refusals;
    EXPECT_EQ(refusals, 5u) << framework.printed;
}

TEST_F(L3CasesTest, TheCleanupFileGrowsAcrossRunsAndIsLeftAsItIs) {
    const auto lines = [&] {
        const std::string text = read("kiv_tcs_cleanup_file");
        return std::count(text.begin(), text.end(), '\n');
    };
    run_all([](const std::string &, const std::string &) {});
    EXPECT_EQ(lines(), 7);
    run_all([](const std::string &, const std::string &) {});
    EXPECT_EQ(lines(), 14);
    EXPECT_EQ(read("kiv_tcs_output_file").rfind("nh_index : ", 0), 0u);
}

}  // namespace
}  // namespace sim
