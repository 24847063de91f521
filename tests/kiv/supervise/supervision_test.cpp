// What the run makes of cases that bring their worker down: sample suites, run from outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <sstream>

#include "tests/kiv/process.h"

namespace {

using kiv_test::Finished;
using kiv_test::Process;
using kiv_test::TemporaryDirectory;
using testing::HasSubstr;
using testing::Not;

struct Fault {
    const char *folder;
    const char *verdict;
    const char *reason;
};

class FaultTest : public testing::TestWithParam<Fault> {};

// Everything before is kept, what depends on the dead worker is reported as not run, and the next folder
// runs.
TEST_P(FaultTest, EndsItsFolderAndNothingElse) {
    const Fault fault = GetParam();
    // Only what ends by running out of time gets little of it: the machine may be busy.
    const bool hangs = std::string(fault.verdict) == "TIMED OUT";
    const Finished run =
        kiv_test::run("faulty", {fault.folder, "last", "--timeout", hangs ? "0.4" : "60", "--grace", "0.3"});
    EXPECT_THAT(run.out, testing::ContainsRegex("passed +[0-9.]+ [mnu]?s  before"));
    EXPECT_THAT(run.out, testing::ContainsRegex(std::string(fault.verdict) + " +[0-9.]+ [mnu]?s  fault"));
    EXPECT_THAT(run.out, HasSubstr(fault.reason));
    EXPECT_THAT(run.out, HasSubstr("not run                      tear-down of " + std::string(fault.folder)));
    EXPECT_THAT(run.out, HasSubstr("its worker ended in " + std::string(fault.folder) + "/fault"));
    EXPECT_THAT(run.out, testing::ContainsRegex("not run +after"));
    EXPECT_THAT(run.out, testing::ContainsRegex("passed +[0-9.]+ [mnu]?s  passes"));
    EXPECT_THAT(run.out, HasSubstr("FAILED: 4 cases, 2 passed, 1 "));
    EXPECT_EQ(run.exit_code, 0);
}

INSTANTIATE_TEST_SUITE_P(
    All, FaultTest,
    testing::Values(Fault{"aborts", "ABORTED", "called abort"},
                    Fault{"leaves", "CRASHED", "left the worker with exit code 3"},
                    Fault{"leaves_at_once", "CRASHED", "left the worker with exit code 0"},
                    Fault{"throws", "ABORTED", "nobody catches this"},
                    Fault{"hangs", "TIMED OUT", "took longer than 400 ms"},
                    Fault{"hangs_ignoring_sigterm", "TIMED OUT", "ignored SIGTERM for 300 ms and was killed"},
                    Fault{"spins_printing", "TIMED OUT", "and again"},
                    Fault{"stops", "TIMED OUT", "stopped by SIGSTOP"},
#ifndef __SANITIZE_ADDRESS__  // which ends such cases its own way
                    Fault{"segfaults", "CRASHED", "ended by SIGSEGV (Segmentation fault)"},
                    Fault{"exhausts_memory", "ABORTED", "std::bad_alloc"},
#endif
                    Fault{"recurses", "CRASHED", "fault"}),
    [](const auto &info) { return std::string(info.param.folder); });

TEST(Supervision, KeepsChecksAndOutputOfACaseThatAborts) {
    const Finished run = kiv_test::run("faulty", {"aborts"});
    EXPECT_THAT(run.out, HasSubstr("tests/kiv/samples/faulty, aborts, line 25"));
    EXPECT_THAT(run.out, HasSubstr("got      0x00000007"));
    EXPECT_THAT(run.out, HasSubstr("    | last words\n"));
    EXPECT_THAT(run.out, HasSubstr("1 failed, in"));
}

TEST(Supervision, GoesOnWithTheNextCaseWhenAskedTo) {
    const Finished run = kiv_test::run("faulty", {"aborts", "-v", "--on-crash", "next-case"});
    EXPECT_THAT(run.out, testing::ContainsRegex("passed +[0-9.]+ [mnu]?s  after"));
    EXPECT_THAT(run.out, HasSubstr("torn down"));  // by the second worker, which set the folder up again
    EXPECT_THAT(run.out, HasSubstr("FAILED: 3 cases, 2 passed, 1 aborted"));
}

TEST(Supervision, StopsAfterACrashWhenAskedTo) {
    const Finished run = kiv_test::run("faulty", {"aborts", "last", "--on-crash", "stop"});
    EXPECT_THAT(run.out, HasSubstr("Stopped: after the worker ended in aborts/fault"));
    EXPECT_THAT(run.out, HasSubstr("FAILED: 4 cases, 1 passed, 1 aborted, 2 not run"));
}

TEST(Supervision, FirstBadCaseMayBeACrash) {
    const Finished run = kiv_test::run("faulty", {"aborts", "last", "--fail-fast"});
    EXPECT_THAT(run.out, HasSubstr("Stopped: after the worker ended in aborts/fault"));
    EXPECT_THAT(run.out, HasSubstr("FAILED: 4 cases, 1 passed, 1 aborted, 2 not run"));
}

TEST(Supervision, DyingSetUpTakesItsFoldersCasesWithIt) {
    const Finished run = kiv_test::run("faulty", {"dying_set_up", "last"});
    EXPECT_THAT(run.out, testing::ContainsRegex("ABORTED +[0-9.]+ [mnu]?s  set-up of dying_set_up"));
    EXPECT_THAT(run.out, HasSubstr("the set-up of dying_set_up ended its worker"));
    EXPECT_THAT(run.out, HasSubstr("FAILED: 3 cases, 1 passed, 2 not run, 1 failed fixture"));
}

TEST(Supervision, DyingTearDownLeavesItsCasesAlone) {
    const Finished run = kiv_test::run("faulty", {"dying_tear_down", "last"});
    EXPECT_THAT(run.out, testing::ContainsRegex("ABORTED +[0-9.]+ [mnu]?s  tear-down of dying_tear_down"));
    EXPECT_THAT(run.out, HasSubstr("FAILED: 2 cases, 2 passed, 1 failed fixture"));
}

TEST(Supervision, SurvivesClosedDescriptors) {
    const Finished run =
        kiv_test::run("faulty", {"closes_descriptors", "closes_streams", "runs_a_program", "-v"});
    EXPECT_THAT(run.out, HasSubstr("still here"));
    EXPECT_THAT(run.out, HasSubstr("without streams"));
    EXPECT_THAT(run.out, HasSubstr("a stream again"));
    EXPECT_THAT(run.out, HasSubstr("| from a program"));  // written past the streams, after they were closed
    EXPECT_THAT(run.out, HasSubstr("FAILED: 9 cases, 8 passed, 1 reported an error"));
}

TEST(Supervision, ChildOfACaseIsNoSecondWorker) {
    const Finished run = kiv_test::run("faulty", {"forks", "child_goes_on", "last", "-v"});
    EXPECT_THAT(run.out, HasSubstr("| from the child\n"));
    EXPECT_THAT(run.out, HasSubstr("| and by its printf\n"));
    EXPECT_THAT(run.out, HasSubstr("FAIL: a check failed in a child process"));
    EXPECT_THAT(run.out, HasSubstr("7 cases, 6 passed, 1 reported an error"));
}

TEST(Supervision, EndsWhatCasesLeaveBehind) {
    const TemporaryDirectory directory;
    const std::string ids = directory.file("ids");
    Process process("faulty", {"leaves_children"}, directory.path(), {{"SAMPLE_PIDS", ids}});
    const Finished run = process.finish();
    EXPECT_THAT(run.out, HasSubstr("PASSED: 3 cases"));
    EXPECT_THAT(run.out, HasSubstr("3 processes that cases left behind were ended"));
    std::istringstream list(kiv_test::read_text(ids));
    int count = 0;
    for (int id; list >> id; ++count) EXPECT_FALSE(kiv_test::process_exists(id)) << id;
    EXPECT_EQ(count, 3);
}

TEST(Supervision, LinesOfThreadsStayWhole) {
    const Finished run = kiv_test::run("faulty", {"prints_from_threads", "-v"});
    size_t lines = 0;
    for (size_t at = 0; (at = run.out.find("    | a line of a thread\n", at)) != std::string::npos; ++at)
        ++lines;
    EXPECT_EQ(lines, 4000u);
}

#ifndef __SANITIZE_ADDRESS__
constexpr long kMostMemory = 24 * 1024;  // KiB

TEST(Supervision, GigabyteOfPrintsGoesToAFileAndNotToMemory) {
    const TemporaryDirectory directory;
    Process process("faulty", {"prints_a_lot"}, directory.path(), {{"SAMPLE_BYTES", "1073741824"}});
    const Finished run = process.finish();
    EXPECT_THAT(run.out, HasSubstr("PASSED: 3 cases"));
    EXPECT_THAT(run.out,
                HasSubstr("whole in " + directory.path() + "/kiv-out/output/prints_a_lot.fault.txt"));
    EXPECT_LT(run.peak_kib, kMostMemory);
}

TEST(Supervision, DirectWritesAreKeptWholeInBoundedMemory) {
    const TemporaryDirectory directory;
    Process process("faulty", {"writes_a_lot"}, directory.path(), {{"SAMPLE_BYTES", "200000000"}});
    const Finished run = process.finish();
    EXPECT_THAT(run.out, HasSubstr("PASSED: 3 cases"));
    EXPECT_THAT(run.out, HasSubstr("output: 200000000 bytes, whole in "));
    EXPECT_LT(run.peak_kib, kMostMemory);
}

TEST(Supervision, HundredThousandCasesNeedLittleMemory) {
    const Finished run = kiv_test::run("many", {"-q"}, {{"SAMPLE_CASES", "100000"}});
    EXPECT_THAT(run.out, HasSubstr("PASSED: 100000 cases, 100000 passed"));
    EXPECT_LT(run.peak_kib, 20 * 1024);
}

TEST(Supervision, MemoryDoesNotGrowWithTheCasesThatRun) {
    const auto peak = [](const char *passes) {
        const Finished run = kiv_test::run("many",
                                           {"-q", "--repeat", passes, "--json", "/dev/null", "--junit",
                                            "/dev/null", "--tap", "/dev/null", "--html", "/dev/null"},
                                           {{"SAMPLE_CASES", "200"}});
        EXPECT_THAT(run.out, HasSubstr("PASSED: "));
        return run.peak_kib;
    };
    EXPECT_LT(peak("500"), peak("5") + 2048);
}
#endif

TEST(Supervision, InterruptEndsTheRunWithASummaryAndNoProcess) {
    const TemporaryDirectory directory;
    Process process("faulty", {"hangs", "last", "-v"}, directory.path());
    ASSERT_TRUE(process.wait_for("waiting"));
    process.signal_group(SIGINT);  // what a terminal does
    const Finished run = process.finish();
    EXPECT_THAT(run.out, HasSubstr("Stopped: interrupted (SIGINT)"));
    EXPECT_THAT(run.out, HasSubstr("FAILED: 4 cases, 1 passed, 1 crashed, 2 not run"));
    EXPECT_EQ(run.exit_code, 0);
    EXPECT_FALSE(kiv_test::group_exists(process.id()));
}

TEST(Supervision, TerminationOfTheRunEndsAWorkerThatIgnoresIt) {
    const TemporaryDirectory directory;
    Process process("faulty", {"hangs_ignoring_sigterm/fault", "--grace", "0.2", "-v"}, directory.path());
    ASSERT_TRUE(process.wait_for("hangs_ignoring_sigterm"));
    usleep(100000);
    process.signal_process(SIGTERM);
    const Finished run = process.finish();
    EXPECT_THAT(run.out, HasSubstr("Stopped: interrupted (SIGTERM)"));
    EXPECT_FALSE(kiv_test::group_exists(process.id()));
}

TEST(Supervision, KilledRunLeavesNoWorker) {
    const TemporaryDirectory directory;
    Process process("faulty", {"hangs_ignoring_sigterm/fault"}, directory.path());
    ASSERT_TRUE(process.wait_for("hangs_ignoring_sigterm"));
    usleep(100000);
    process.signal_process(SIGKILL);
    const Finished run = process.finish();
    EXPECT_EQ(run.signal, SIGKILL);
    EXPECT_TRUE(kiv_test::group_is_gone(process.id()));
}

TEST(Supervision, StopsAtTheFirstBadCaseWithItsTearDown) {
    const Finished run = kiv_test::run("mixed", {"--fail-fast", "-v"});
    EXPECT_THAT(run.out, HasSubstr("tear-down"));
    EXPECT_THAT(run.out, HasSubstr("Stopped: after the first case that is not good"));
    EXPECT_THAT(run.out, HasSubstr("FAILED: 9 cases, 1 passed, 1 failed, 7 not run"));
}

TEST(Supervision, InPlaceRunGivesTheSameResults) {
    const Finished supervised = kiv_test::run("mixed", {"-second/below", "--disk0", "flash"});
    const Finished in_place = kiv_test::run("mixed", {"-second/below", "--disk0", "flash", "--no-fork"});
    const auto summary = [](const std::string &out) {
        const size_t at = out.rfind("FAILED:");
        return out.substr(at, out.find(", in ", at) - at);
    };
    EXPECT_EQ(summary(supervised.out), summary(in_place.out));
    EXPECT_THAT(supervised.out,
                HasSubstr("FAILED: 8 cases, 4 passed, 1 failed, 2 reported an error, 1 unchecked"));
}

}  // namespace
