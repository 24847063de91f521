// What every format says of checks, of how a process ended and of why a case did not pass.
#include "kiv/reports/wording.h"

#include <gtest/gtest.h>

namespace kiv::reports {
namespace {

Check status_check(uint32_t status) {
    Check check;
    check.status = status;
    check.expected_name = "CERR_SUCCESS";
    check.file = "prm/test/src/prm_kiv_uidb";
    check.function = "tc_kiv_x";
    check.line = 120;
    return check;
}

CaseResult ended(Verdict verdict) {
    CaseResult result;
    result.folder = "acl";
    result.name = "create";
    result.verdict = verdict;
    return result;
}

FixtureResult fixture(Verdict verdict) {
    FixtureResult result;
    result.folder = "span";
    result.ran = true;
    result.verdict = verdict;
    return result;
}

TEST(Wording, ACheckIsOneLine) {
    Check check = status_check(0x457c2a00);
    EXPECT_EQ(check_line(check),
              "prm/test/src/prm_kiv_uidb:120: tc_kiv_x: expected CERR_SUCCESS (0x00000000), got 0x457c2a00");
    check.status_text = "invalid argument";
    EXPECT_EQ(check_line(check),
              "prm/test/src/prm_kiv_uidb:120: tc_kiv_x: expected CERR_SUCCESS (0x00000000), got 0x457c2a00 "
              "(invalid argument)");
    check.is_condition = true;
    check.expected_name = "rc == EOK";
    EXPECT_EQ(check_line(check), "prm/test/src/prm_kiv_uidb:120: tc_kiv_x: \"rc == EOK\" does not hold");
    check.message = "79: create failed\n\n";
    EXPECT_EQ(check_line(check),
              "prm/test/src/prm_kiv_uidb:120: tc_kiv_x: \"rc == EOK\" does not hold: 79: create failed");
}

TEST(Wording, AProcessEndsByASignalOrByItself) {
    EXPECT_EQ(end_text(11, -1), "ended by SIGSEGV (Segmentation fault)");
    EXPECT_EQ(end_text(40, -1), "ended by signal 40");
    EXPECT_EQ(end_text(0, 3), "left the worker with exit code 3");
    EXPECT_EQ(end_text(0, 0), "left the worker with exit code 0");
    EXPECT_EQ(end_text(0, -1), "");
}

TEST(Wording, AHeadlineIsTheFirstThingThatWentWrong) {
    CaseResult result = ended(Verdict::failed);
    EXPECT_EQ(headline(result), "failed");
    result.failures = {status_check(1), status_check(2)};
    result.failed_checks = 1;
    const std::string first = check_line(status_check(1));
    EXPECT_EQ(headline(result), first);
    result.failed_checks = 2;
    EXPECT_EQ(headline(result), first + " (and 1 more)");
    result.reason = "not said beside checks";
    EXPECT_EQ(headline(result), first + " (and 1 more)");

    result = ended(Verdict::reported_error);
    EXPECT_EQ(headline(result), "reported an error");
    result.reason = "printed \"ERROR: it\"";
    EXPECT_EQ(headline(result), "printed \"ERROR: it\"");
    result.error_lines = {"ERROR: it", "ERROR: again"};
    EXPECT_EQ(headline(result), "ERROR: it");

    result = ended(Verdict::crashed);
    result.error_lines = {"ERROR: before it"};
    EXPECT_EQ(headline(result), "crashed");
    result.signal = 11;
    EXPECT_EQ(headline(result), "ended by SIGSEGV (Segmentation fault)");
    result.reason = "wrote over the memory of the run";
    EXPECT_EQ(headline(result), "wrote over the memory of the run");
    EXPECT_EQ(headline(ended(Verdict::not_run)), "not run");
}

TEST(Wording, TheHeadlineOfAFixtureSaysWhichItIs) {
    FixtureResult result = fixture(Verdict::failed);
    EXPECT_EQ(headline(result), "tear-down of span: failed");
    result.failures = {status_check(1), status_check(2)};
    EXPECT_EQ(headline(result), "tear-down of span: " + check_line(status_check(1)));
    result = fixture(Verdict::crashed);
    result.set_up = true;
    result.failures = {status_check(1)};
    EXPECT_EQ(headline(result), "set-up of span: crashed");
    result.signal = 9;
    EXPECT_EQ(headline(result), "set-up of span: ended by SIGKILL (Killed)");
    result.reason = "took longer than 5 s";
    EXPECT_EQ(headline(result), "set-up of span: took longer than 5 s");
}

TEST(Wording, DetailsAreEverythingALineEach) {
    CaseResult result = ended(Verdict::failed);
    EXPECT_EQ(details(result), "");
    result.description = "ACL create test case\n";
    result.failures = {status_check(1), status_check(2)};
    result.failed_checks = 3;
    result.error_lines = {"ERROR: it"};
    result.output_file = "kiv-out/output/acl.create.txt";
    const std::string checks = check_line(status_check(1)) + "\n" + check_line(status_check(2)) + "\n";
    const std::string behind = "reported: ERROR: it\nwhole output: kiv-out/output/acl.create.txt\n";
    EXPECT_EQ(details(result),
              "description: ACL create test case\n" + checks + "and 1 more failed check\n" + behind);
    result.failed_checks = 4;
    EXPECT_EQ(details(result),
              "description: ACL create test case\n" + checks + "and 2 more failed checks\n" + behind);
    result.failed_checks = 2;
    result.description = "";
    EXPECT_EQ(details(result), checks + behind);
    result = ended(Verdict::timed_out);
    EXPECT_EQ(details(result), "timed out\n");

    FixtureResult failed = fixture(Verdict::reported_error);
    failed.reason = "printed \"ERROR: it\"";
    failed.failures = {status_check(1)};
    EXPECT_EQ(details(failed), "printed \"ERROR: it\"\n" + check_line(status_check(1)) + "\n");
}

}  // namespace
}  // namespace kiv::reports
