// Registration: what main creates, in which order, and that it runs the suite once and always returns 0.
#include <algorithm>
#include <deque>
#include <fstream>
#include <map>
#include <set>

#include "prm_kiv_span.h"
#include "tests/standin/suite_test.h"

int prm_kiv_main(int argc, char **argv);

namespace {

struct Folder {
    std::string path;
};

struct Framework {
    std::vector<std::string> events;
    std::deque<Folder> folders;
    std::map<std::string, kiv_function_t> functions;  // by selector; the last of a repeated name
    std::multiset<std::string> selectors;
    kiv_context_t *context_address = nullptr;
    int argc = 0;
    std::vector<std::string> arguments;
    bool bad_context = false;
    int result = 0;
};
Framework *framework;

kiv_context_t the_context() {
    return reinterpret_cast<kiv_context_t>(framework);
}

void note(const std::string &event) {
    framework->events.push_back(event);
}

}  // namespace

extern "C" {

void kiv_create(kiv_context_t *context) {
    framework->context_address = context;
    *context = the_context();
    note("kiv_create");
}

kiv_folder_t kiv_create_test_folder(kiv_context_t context, kiv_folder_t parent, const char *name,
                                    const char *title) {
    framework->bad_context |= context != the_context();
    Folder folder;
    folder.path = (parent != nullptr ? reinterpret_cast<Folder *>(parent)->path + "/" : "") + name;
    framework->folders.push_back(folder);
    note("folder " + folder.path + " \"" + title + "\"");
    return reinterpret_cast<kiv_folder_t>(&framework->folders.back());
}

void kiv_add_fixture(kiv_folder_t folder, kiv_function_t set_up, kiv_function_t tear_down) {
    const char *kind = "unknown";
    if (set_up == setup_bm_prm_conn && tear_down == teardown_bm_prm_conn) kind = "connection";
    if (set_up == prm_kiv_span_enable && tear_down == prm_kiv_span_disable) kind = "enable";
    if (set_up == prm_kiv_span_all_sessions_create && tear_down == prm_kiv_span_all_sessions_destroy)
        kind = "sessions";
    note("fixture " + reinterpret_cast<Folder *>(folder)->path + " " + kind);
}

void kiv_create_test_case(kiv_context_t context, kiv_folder_t folder, const char *name,
                          const char *description, kiv_function_t function, int mode) {
    framework->bad_context |= context != the_context();
    const std::string selector = reinterpret_cast<Folder *>(folder)->path + "/" + name;
    framework->functions[selector] = function;
    framework->selectors.insert(selector);
    note("case " + selector + " " + std::to_string(mode) + " \"" + description + "\"");
}

int kiv_run(int argc, char **argv, kiv_context_t context) {
    framework->bad_context |= context != the_context();
    framework->argc = argc;
    for (int i = 0; i < argc; ++i) framework->arguments.push_back(argv[i]);
    note("kiv_run");
    return framework->result;
}

void kiv_destroy(kiv_context_t *context) {
    framework->bad_context |= context != framework->context_address;
    note("kiv_destroy");
}

}  // extern "C"

namespace {

class RegistryTest : public testing::Test {
  protected:
    void SetUp() override {
        framework = &framework_;
        char *argv[] = {program_, nullptr};
        result_ = prm_kiv_main(1, argv);
    }
    size_t count(const std::string &kind) const {
        return static_cast<size_t>(
            std::count_if(framework_.events.begin(), framework_.events.end(),
                          [&](const std::string &e) { return e.rfind(kind + " ", 0) == 0; }));
    }
    Framework framework_;
    char program_[8] = "prm_kiv";
    int result_ = -1;
};

TEST_F(RegistryTest, EighteenFoldersAndTwoHundredAndFortyRegistrations) {
    EXPECT_EQ(count("folder"), 18u);
    EXPECT_EQ(count("case"), 240u);
}

TEST_F(RegistryTest, EverythingIsRegisteredInItsFixedOrder) {
    std::ifstream golden(REGISTRATION_GOLDEN);
    ASSERT_TRUE(golden) << REGISTRATION_GOLDEN;
    std::vector<std::string> expected;
    for (std::string line; std::getline(golden, line);) expected.push_back(line);
    EXPECT_EQ(framework_.events, expected);
}

TEST_F(RegistryTest, EveryCallGetsTheContextThatWasCreated) {
    EXPECT_FALSE(framework_.bad_context);
}

TEST_F(RegistryTest, TheCommandLineIsHandedOverWhole) {
    EXPECT_EQ(framework_.argc, 1);
    EXPECT_EQ(framework_.arguments, std::vector<std::string>{program_});
}

TEST_F(RegistryTest, MainReturnsZeroWhateverTheRunProduced) {
    EXPECT_EQ(result_, 0);
    Framework failing;
    failing.result = 7;
    framework = &failing;
    EXPECT_EQ(prm_kiv_main(0, nullptr), 0);
}

TEST_F(RegistryTest, RepeatedRegistrationsAreTheSameFunction) {
    EXPECT_EQ(framework_.selectors.count("prm-kiv/tc_prm_v4_leaf_delete"), 2u);
    for (const char *name : {"tc_kiv_cfg_bdl_member", "tc_kiv_add_bdl_members", "tc_kiv_remove_bdl_members",
                             "tc_kiv_uncfg_bdl_member", "tc_kiv_delete_bdl_main_if"})
        EXPECT_EQ(framework_.functions[std::string("prm-kiv-l2-bdl/") + name],
                  framework_.functions[std::string("prm-kiv-l3-bdl/") + name])
            << name;
    EXPECT_EQ(framework_.functions["prm-kiv-subif/tc_kiv_delete_sub_interfaces"],
              framework_.functions["prm-kiv-l2subif/tc_kiv_delete_sub_interfaces"]);
}

TEST_F(RegistryTest, ShortNamesOfTheTwoClassificationFoldersAreDifferentFunctions) {
    for (const char *name :
         {"neg_create_null_prm_info", "neg_create_invalid_opcode", "neg_destroy_invalid_vmr_id"}) {
        const kiv_function_t acl = framework_.functions[std::string("acl/") + name];
        const kiv_function_t qos = framework_.functions[std::string("qos/") + name];
        EXPECT_TRUE(acl == nullptr || acl != qos) << name;
    }
}

TEST_F(RegistryTest, SpanFixturesAreCasesOfTheManualFolderToo) {
    EXPECT_EQ(framework_.functions["span/manual/prm_kiv_span_enable"], &prm_kiv_span_enable);
    EXPECT_EQ(framework_.functions["span/manual/prm_kiv_span_disable"], &prm_kiv_span_disable);
    EXPECT_EQ(framework_.functions["span/manual/prm_kiv_span_all_sessions_create"],
              &prm_kiv_span_all_sessions_create);
    EXPECT_EQ(framework_.functions["span/manual/prm_kiv_span_all_sessions_destroy"],
              &prm_kiv_span_all_sessions_destroy);
}

}  // namespace
