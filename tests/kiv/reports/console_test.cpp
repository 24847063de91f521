// What the console shows of a run.
#include "kiv/reports/console.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using std::chrono::nanoseconds;
using testing::HasSubstr;

class ConsoleTest : public testing::Test {
  protected:
    ConsoleTest() { file_ = tmpfile(); }
    ~ConsoleTest() override { fclose(file_); }

    std::string shown(kiv::ConsoleStyle style) {
        kiv::Console console(fileno(file_), style);
        kiv::RunInfo info;
        info.program = "prm_kiv";
        info.selected_cases = 4;
        info.card = "sim";
        info.site = "site/sim";
        info.disk0 = "kiv-out/disk0";
        console.run_begins(info);
        console.folder_begins({"acl", "ACL Testcases", 4});
        kiv::FixtureResult set_up;
        set_up.folder = "acl";
        set_up.set_up = set_up.ran = true;
        console.fixture_ended(set_up);
        kiv::CaseResult result;
        result.folder = "acl";
        result.name = "stats_create";
        console.case_begins("acl", "stats_create");
        result.verdict = kiv::Verdict::passed;
        result.duration = nanoseconds(2'500'000);
        result.output = "Success in ACL Stats Create 1 \n";
        if (style.verbose) console.live_output(result.output);
        console.case_ended(result);
        result.name = "create";
        console.case_begins("acl", "create");
        result.verdict = kiv::Verdict::failed;
        result.duration = nanoseconds(12'000);
        kiv::Check check;
        check.status = 0x457c2a00;
        check.expected_name = "PRM_ERROR_NONE";
        check.status_text = "invalid argument";
        check.file = "prm/test/src/prm_kiv_acl";
        check.function = "tc_kiv_acl_tcam_create";
        check.line = 77;
        result.failures = {check};
        check.is_condition = true;
        check.expected_name = "rc == EOK";
        check.message = "79: create failed rc 22\n";
        check.line = 79;
        result.failures.push_back(check);
        result.failed_checks = 4;
        result.output = "Failure in create\nno newline \x1b[1m";
        if (style.verbose) console.live_output(result.output);
        console.case_ended(result);
        kiv::CaseResult aborted;
        aborted.folder = "acl";
        aborted.name = "delete";
        aborted.verdict = kiv::Verdict::aborted;
        aborted.reason = "called abort";
        aborted.duration = nanoseconds(1'000);
        console.case_ended(aborted);
        aborted.name = "a name with blanks";
        aborted.verdict = kiv::Verdict::not_run;
        aborted.reason = "its worker ended in acl/delete";
        console.case_ended(aborted);
        kiv::Summary summary;
        summary.selected = 4;
        summary.duration = nanoseconds(3'000'000);
        for (const kiv::Verdict verdict :
             {kiv::Verdict::passed, kiv::Verdict::failed, kiv::Verdict::aborted, kiv::Verdict::not_run})
            ++summary.counts[static_cast<size_t>(verdict)];
        summary.checks = 9;
        summary.failed_checks = 4;
        summary.notes = {"fault rule 1 fired twice"};
        console.run_ended(summary);
        console.flush();
        std::string text(static_cast<size_t>(ftell_end()), '\0');
        rewind(file_);
        text.resize(fread(text.data(), 1, text.size(), file_));
        return text;
    }
    long ftell_end() {
        fseek(file_, 0, SEEK_END);
        return ftell(file_);
    }

    FILE *file_;
};

constexpr const char *kPlain =
    R"(Running 4 cases, card sim
Site site/sim
Flash kiv-out/disk0

acl  ACL Testcases
  passed               2.5 ms  stats_create
  FAILED                12 us  create
      prm/test/src/prm_kiv_acl, tc_kiv_acl_tcam_create, line 77
        expected 0x00000000 PRM_ERROR_NONE
        got      0x457c2a00 invalid argument
      prm/test/src/prm_kiv_acl, tc_kiv_acl_tcam_create, line 79
        not true: rc == EOK
        79: create failed rc 22
      and 2 more failed checks
    | Failure in create
    | no newline \x1b[1m
  ABORTED              1.0 us  delete
      called abort
  not run                      a name with blanks
      its worker ended in acl/delete

Slowest
     2.5 ms  acl/stats_create
      12 us  acl/create
     1.0 us  acl/delete

Not good
  acl/create
  acl/delete
  acl/a name with blanks

Notes
  fault rule 1 fired twice

Again
  prm_kiv acl/create acl/delete 'acl/a name with blanks'

FAILED: 4 cases, 1 passed, 1 failed, 1 aborted, 1 not run
        9 checks, 4 failed, in 3.0 ms
)";

TEST_F(ConsoleTest, ShowsWhatFailedAndWhy) {
    EXPECT_EQ(shown({}), kPlain);
}

TEST_F(ConsoleTest, FitsEightyColumns) {
    std::string line;
    for (const char c : shown({})) {
        if (c != '\n') {
            line += c;
            continue;
        }
        EXPECT_LE(line.size(), 80u) << line;
        line.clear();
    }
}

TEST_F(ConsoleTest, QuietLeavesOutWhatIsGood) {
    kiv::ConsoleStyle style;
    style.quiet = true;
    const std::string text = shown(style);
    EXPECT_EQ(text.find("  passed  "), std::string::npos);
    EXPECT_THAT(text, HasSubstr("acl  ACL Testcases\n  FAILED"));
}

TEST_F(ConsoleTest, VerboseShowsOutputOnceAndBeforeTheVerdict) {
    kiv::ConsoleStyle style;
    style.verbose = true;
    const std::string text = shown(style);
    EXPECT_THAT(text, HasSubstr("    | Success in ACL Stats Create 1 \n  passed "));
    EXPECT_EQ(text.find("Failure in create"), text.rfind("Failure in create"));
}

TEST_F(ConsoleTest, ColorChangesNothingButColor) {
    kiv::ConsoleStyle style;
    style.color = true;
    std::string text = shown(style);
    EXPECT_THAT(text, HasSubstr("\033[31mFAILED\033[0m"));
    for (size_t at; (at = text.find('\033')) != std::string::npos;)
        text.erase(at, text.find('m', at) - at + 1);
    EXPECT_EQ(text, kPlain);
}

}  // namespace
