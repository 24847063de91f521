// The text of a baseline: reading it, and what is said of one that is broken.
#include "trace/baseline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "trace/baseline_line.h"

namespace trace {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string problem_of(const std::string &text) {
    Baseline baseline;
    std::string error;
    EXPECT_FALSE(baseline.read(text, "b/x.txt", &error)) << text;
    return error;
}

TEST(BaselineText, IsReadAsItIsWritten) {
    BaselineWriter writer("a/b", {"prm-kiv", "span/port"});
    writer.begin();
    writer.call("prm_srh_register(-> client#1, 0, null, set) = 0");
    writer.end(SectionKind::SET_UP, "", "");
    writer.begin();
    writer.end(SectionKind::CASE, "tc_x: y", outcome_text("reported an error", 1));
    writer.begin();
    writer.call("event_manager_destroy(manager#1@set-up -> 0)");
    writer.call("is_veltora_family() = 1");
    writer.end(SectionKind::TEAR_DOWN, "", "");

    Baseline baseline;
    std::string error;
    ASSERT_TRUE(baseline.read(writer.text(), "b", &error)) << error;
    ASSERT_EQ(baseline.sections().size(), 3u);
    EXPECT_THAT(baseline.after(), ElementsAre("prm-kiv", "span/port"));
    EXPECT_TRUE(baseline.sections()[0].is(SectionKind::SET_UP, ""));
    EXPECT_THAT(baseline.sections()[0].calls, ElementsAre("prm_srh_register(-> client#1, 0, null, set) = 0"));
    EXPECT_TRUE(baseline.sections()[1].is(SectionKind::CASE, "tc_x: y"));
    EXPECT_EQ(baseline.sections()[1].outcome, "reported an error, 1 check");
    EXPECT_TRUE(baseline.sections()[2].is(SectionKind::TEAR_DOWN, ""));
    EXPECT_EQ(baseline.sections()[2].calls.size(), 2u);
}

TEST(BaselineText, BrokenLinesAreNamed) {
    EXPECT_EQ(problem_of(""), "b/x.txt:1: no case");
    EXPECT_EQ(problem_of("# only\n"), "b/x.txt:1: no case");
    EXPECT_EQ(problem_of("  a() = 0\n"), "b/x.txt:1: a call before the first case");
    EXPECT_EQ(problem_of("set-up\n  a(\n"), "b/x.txt:2: not a call: OPERATION(ARGUMENTS) = RESULT is wanted");
    EXPECT_THAT(problem_of("case x\n"), HasSubstr("b/x.txt:1: a case wants"));
    EXPECT_THAT(problem_of("case x: passed\n"), HasSubstr("b/x.txt:1: a case wants"));
    EXPECT_THAT(problem_of("case x: passed, many checks\n"), HasSubstr("b/x.txt:1: a case wants"));
    EXPECT_THAT(problem_of("case x: passed, 1 check\n<<<<<<< mine\n"), HasSubstr("b/x.txt:2: neither"));
    EXPECT_THAT(problem_of("after a, \nset-up\n"), HasSubstr("b/x.txt:1: \"after\" wants folders"));
    EXPECT_EQ(problem_of("set-up\n  a() = 0"), "b/x.txt:2: the file ends within this line");
}

TEST(BaselineText, ACaseStandsThereOnce) {
    EXPECT_EQ(problem_of("case x: passed, 1 check\ncase y: passed, 1 check\ncase x: passed, 2 checks\n"),
              "b/x.txt:3: the case stands here twice");
    Baseline baseline;
    std::string error;
    EXPECT_TRUE(baseline.read("set-up\ntear-down\nset-up\n", "b", &error))
        << "a fixture may run more than once";
}

TEST(BaselineText, NoBytesAreTooMuch) {
    for (const std::string &bad :
         {std::string(100'000, '{'), "set-up\n  a(" + std::string(100'000, '{') + "\n",
          std::string("\0\n", 2), "set-up\n  a({x " + std::string(50'000, '"') + "}) = 0\n  b(,) = 0\n",
          std::string("set-up\n  a(1 -> ) = 0\n"), std::string("set-up\n  a({a 1,}) = 0\n")})
        EXPECT_THAT(problem_of(bad), testing::StartsWith("b/x.txt:"));
}

TEST(BaselineFile, ThatIsMissingOrNoFileIsTold) {
    Baseline baseline;
    std::string error;
    bool exists = true;
    EXPECT_TRUE(baseline.read_file(testing::TempDir() + "no/such.txt", &exists, &error));
    EXPECT_FALSE(exists);
    EXPECT_FALSE(baseline.read_file(testing::TempDir(), &exists, &error));
    EXPECT_TRUE(exists);
    EXPECT_THAT(error, HasSubstr("not a regular file"));
}

TEST(BaselinePath, StaysInItsDirectory) {
    EXPECT_EQ(baseline_path("d", "span/session"), "d/span/session.txt");
    for (const char *const bad : {"", "..", "../x", "a/../../x", "/x", "a//b", "a/"})
        EXPECT_EQ(baseline_path("d", bad), "") << bad;
}

TEST(CallLine, IsTakenApart) {
    CallLine call;
    ASSERT_TRUE(
        read_call_line("prm_srh_bd_add(client#1@set-up, {bd_id 7, keys {[0].a 1, text \"x, }(\"}, flags "
                       "a|b=2} -> {index nh#1}) = CARD_ERROR_TABLE_FULL",
                       &call));
    EXPECT_EQ(call.operation, "prm_srh_bd_add");
    EXPECT_EQ(call.result, "CARD_ERROR_TABLE_FULL");
    std::string fields;
    for (const LineField &field : call.fields) fields += field.path + "=" + std::string(field.value) + ";";
    EXPECT_EQ(fields,
              "client=client#1@set-up;bd_id=7;keys[0].a=1;keys.text=\"x, }(\";flags=a|b=2;-> index=nh#1;");
    EXPECT_TRUE(read_call_line("event_manager_destroy(manager#1 -> 0)", &call));
    EXPECT_EQ(call.fields.size(), 2u);
    EXPECT_FALSE(read_call_line("a(1))", &call));
    EXPECT_FALSE(read_call_line("a b(1)", &call));
}

}  // namespace
}  // namespace trace
