// Registration: what main creates, in which order, and that it runs the suite once and always returns 0.
#include "prm_kiv_span.h"
#include "tests/standin/golden.h"
#include "tests/standin/registration.h"
#include "tests/standin/suite_test.h"

namespace {

using standin::Registration;
using Step = Registration::Step;

const char *fixture_kind(const standin::Folder &folder) {
    const auto is = [&](kiv_function_t set_up, kiv_function_t tear_down) {
        return folder.set_up == set_up && folder.tear_down == tear_down;
    };
    if (is(setup_bm_prm_conn, teardown_bm_prm_conn)) return "connection";
    if (is(prm_kiv_span_enable, prm_kiv_span_disable)) return "enable";
    if (is(prm_kiv_span_all_sessions_create, prm_kiv_span_all_sessions_destroy)) return "sessions";
    return "unknown";
}

// A line of registration.golden.
std::string line_of(const Registration::Event &event) {
    switch (event.step) {
        case Step::create:
            return "kiv_create";
        case Step::folder:
            return "folder " + event.folder->path + " \"" + event.folder->title + "\"";
        case Step::fixture:
            return "fixture " + event.folder->path + " " + fixture_kind(*event.folder);
        case Step::test_case:
            return "case " + event.test_case->folder->path + "/" + event.test_case->name + " " +
                   std::to_string(event.test_case->mode) + " \"" + event.test_case->description + "\"";
        case Step::run:
            return "kiv_run";
        case Step::destroy:
            return "kiv_destroy";
    }
    return "";
}

class RegistryTest : public testing::Test {
  protected:
    kiv_function_t function(const std::string &selector) const {
        const auto cases = registered_.find(selector);
        EXPECT_FALSE(cases.empty()) << selector;
        return cases.empty() ? nullptr : cases.back()->function;
    }
    int result_ = -1;
    const Registration &registered_ = standin::register_suite(0, &result_);
};

TEST_F(RegistryTest, EighteenFoldersAndTwoHundredAndFortyRegistrations) {
    EXPECT_EQ(registered_.folders.size(), 18u);
    EXPECT_EQ(registered_.cases.size(), 240u);
}

TEST_F(RegistryTest, EverythingIsRegisteredInItsFixedOrder) {
    std::string lines;
    for (const Registration::Event &event : registered_.events) lines += line_of(event) + "\n";
    expect_golden_file(REGISTRATION_GOLDEN, lines);
}

TEST_F(RegistryTest, EveryCallGetsTheContextThatWasCreated) {
    EXPECT_FALSE(registered_.foreign_context);
}

TEST_F(RegistryTest, TheCommandLineIsHandedOverWhole) {
    EXPECT_EQ(registered_.arguments, std::vector<std::string>{"prm_kiv"});
}

TEST_F(RegistryTest, MainReturnsZeroWhateverTheRunProduced) {
    EXPECT_EQ(result_, 0);
    standin::register_suite(7, &result_);
    EXPECT_EQ(result_, 0);
}

TEST_F(RegistryTest, RepeatedRegistrationsAreTheSameFunction) {
    const auto repeated = registered_.find("prm-kiv/tc_prm_v4_leaf_delete");
    ASSERT_EQ(repeated.size(), 2u);
    EXPECT_EQ(repeated[0]->function, repeated[1]->function);
    for (const char *name : {"tc_kiv_cfg_bdl_member", "tc_kiv_add_bdl_members", "tc_kiv_remove_bdl_members",
                             "tc_kiv_uncfg_bdl_member", "tc_kiv_delete_bdl_main_if"})
        EXPECT_EQ(function(std::string("prm-kiv-l2-bdl/") + name),
                  function(std::string("prm-kiv-l3-bdl/") + name))
            << name;
    EXPECT_EQ(function("prm-kiv-subif/tc_kiv_delete_sub_interfaces"),
              function("prm-kiv-l2subif/tc_kiv_delete_sub_interfaces"));
}

TEST_F(RegistryTest, ShortNamesOfTheTwoClassificationFoldersAreDifferentFunctions) {
    for (const std::string name : {"neg_create_null_prm_info", "neg_destroy_invalid_vmr_id"})
        EXPECT_NE(function("acl/" + name), function("qos/" + name)) << name;
}

TEST_F(RegistryTest, SpanFixturesAreCasesOfTheManualFolderToo) {
    EXPECT_EQ(function("span/manual/prm_kiv_span_enable"), &prm_kiv_span_enable);
    EXPECT_EQ(function("span/manual/prm_kiv_span_disable"), &prm_kiv_span_disable);
    EXPECT_EQ(function("span/manual/prm_kiv_span_all_sessions_create"), &prm_kiv_span_all_sessions_create);
    EXPECT_EQ(function("span/manual/prm_kiv_span_all_sessions_destroy"), &prm_kiv_span_all_sessions_destroy);
}

}  // namespace
