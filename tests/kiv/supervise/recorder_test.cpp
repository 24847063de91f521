// What becomes of a run's events: verdicts, reasons, counts, and what is reported of those that did not come.
#include "kiv/supervise/recorder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>

#include "kiv/files.h"
#include "kiv/journal/ring_journal.h"
#include "tests/kiv/lines.h"
#include "tests/kiv/process.h"
#include "tests/kiv/suite.h"
#include "tests/kiv/watcher.h"

namespace {

using kiv::Printed;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr int64_t kStart = 1'000'000;

class RecorderTest : public testing::Test {
  protected:
    RecorderTest() {
        kiv_folder *outer = suite_.folder("outer");
        kiv_add_fixture(outer, kiv_test::does_nothing, kiv_test::does_nothing);
        kiv_folder *bare = suite_.folder("bare", outer);
        kiv_folder *inner = suite_.folder("inner", bare);
        kiv_add_fixture(inner, kiv_test::does_nothing, kiv_test::does_nothing);
        suite_.test(inner, "a", KIV_MODE_AUTOMATIC, "Checks a");
        for (const char *name : {"b", "c"}) suite_.test(inner, name);
        suite_.test(outer, "last");
        make({});
    }
    void make(const kiv::ConsoleStyle &style, bool fail_fast = false) {
        kiv::Recorder::Settings settings;
        settings.output_directory = directory_.file("output");
        settings.fail_fast = fail_fast;
        recorder_.reset();
        console_.reset();
        schedule_.emplace(suite_.context(), std::vector<uint32_t>{0, 1, 2, 3}, 1, false, 0);
        shown_.emplace(open(directory_.file("shown").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600));
        console_.emplace(shown_->number(), style);
        auto report = std::make_unique<kiv_test::ReportLines>();
        told_ = report.get();
        std::vector<std::unique_ptr<kiv::Reporter>> reports;
        reports.push_back(std::move(report));
        recorder_.emplace(*schedule_, &*console_, std::move(reports), settings);
        recorder_->run_begins({});
    }
    std::string shown() {
        console_->flush();
        return kiv_test::read_text(directory_.file("shown"));
    }
    void run_case(uint64_t position, const std::string &print = "", const kiv::Counters &counters = {1, 0}) {
        recorder_->case_begins(position, kStart);
        if (!print.empty()) recorder_->text(Printed::print, print);
        recorder_->case_ended(kStart + 7, counters);
    }
    void fixture(uint32_t folder, bool set_up, const std::string &print = "",
                 const kiv::Counters &counters = {}) {
        recorder_->fixture_begins(folder, set_up, kStart);
        if (!print.empty()) recorder_->text(Printed::print, print);
        recorder_->fixture_ended(kStart + 5, counters);
    }
    static kiv::WorkerEnd ended_by(int signal) {
        kiv::WorkerEnd end;
        end.signal = signal;
        return end;
    }

    kiv_test::Suite suite_;
    kiv_test::TemporaryDirectory directory_;
    std::optional<kiv::Schedule> schedule_;
    std::optional<kiv::Descriptor> shown_;
    std::optional<kiv::Console> console_;
    std::optional<kiv::Recorder> recorder_;
    kiv_test::ReportLines *told_ = nullptr;
};

TEST_F(RecorderTest, VerdictFollowsChecksAndLines) {
    recorder_->group_begins(0, 3);
    run_case(0, "fine\n", {3, 0});
    run_case(1, "ERROR: no\nSUCCESS: after all\n", {3, 0});
    run_case(2, "ERROR: no\n", {3, 1});
    recorder_->group_begins(3, 1);
    run_case(3, "SUCCESS: it says\n", {0, 0});
    recorder_->finish(kStart);
    EXPECT_EQ(told_->text_,
              "folder outer/bare/inner 3\n"
              "case outer/bare/inner/a passed 0/3: \n"
              "case outer/bare/inner/b reported an error 0/3: printed \"ERROR: no\"\n"
              "case outer/bare/inner/c failed 1/3: \n"
              "end of outer/bare/inner\nfolder outer 1\n"
              "case outer/last unchecked 0/0: \n"
              "end of outer\n");
    EXPECT_EQ(told_->summary_.checks, 9u);
    EXPECT_EQ(told_->summary_.failed_checks, 1u);
    EXPECT_THAT(told_->summary_.counts, ElementsAre(1, 1, 0, 0, 0, 1, 1, 0));
    EXPECT_FALSE(told_->summary_.good());
    EXPECT_EQ(told_->cases_[0].duration.count(), 7);
    EXPECT_EQ(told_->cases_[0].started.count(), kStart - recorder_->run_started());
}

TEST_F(RecorderTest, AResultCarriesWhatTheCaseIsDescribedAs) {
    run_case(0);
    run_case(1);
    ASSERT_EQ(told_->cases_.size(), 2u);
    EXPECT_EQ(told_->cases_[0].description, "Checks a");
    EXPECT_EQ(told_->cases_[1].description, "");
}

TEST_F(RecorderTest, FixtureThatFailsOrReportsAnErrorIsAFailedOne) {
    fixture(0, true, "", {2, 0});
    fixture(0, true, "", {0, 0});
    EXPECT_EQ(recorder_->summary().failed_fixtures, 0u);
    fixture(2, true, "", {2, 1});
    fixture(2, false, "FAIL:x\n", {2, 0});
    recorder_->finish(kStart);
    EXPECT_EQ(told_->text_,
              "set-up of outer passed: \nset-up of outer passed: \nset-up of outer/bare/inner failed: \n"
              "tear-down of outer/bare/inner reported an error: printed \"FAIL:x\"\n");
    EXPECT_EQ(told_->summary_.failed_fixtures, 2u);
    EXPECT_EQ(told_->summary_.checks, 6u);
    EXPECT_EQ(told_->summary_.failed_checks, 1u);
    EXPECT_EQ(told_->fixtures_[3].output, "FAIL:x\n");
    EXPECT_EQ(told_->fixtures_[3].duration.count(), 5);
}

TEST_F(RecorderTest, FailFastEndsAfterABadCaseOrFixtureAndNotAfterASkippedOne) {
    make({}, true);
    run_case(0);
    fixture(0, true);
    EXPECT_TRUE(recorder_->go_on());
    recorder_->skip_to(2, "of no concern");
    EXPECT_TRUE(recorder_->go_on());
    run_case(2, "ERROR: no\n");
    EXPECT_FALSE(recorder_->go_on());
    make({}, true);
    fixture(0, true, "ERROR: no\n");
    EXPECT_FALSE(recorder_->go_on());
    make({}, false);
    run_case(0, "ERROR: no\n");
    EXPECT_TRUE(recorder_->go_on());
}

TEST_F(RecorderTest, DyingWorkerLeavesACaseAndTheTearDownsItOwes) {
    fixture(0, true);
    fixture(1, true);
    fixture(2, true);
    recorder_->group_begins(0, 3);
    recorder_->case_begins(0, kStart);
    kiv::CheckView check;
    check.line = 12;
    recorder_->failed_check(check);
    recorder_->text(Printed::print, "last words");
    told_->text_.clear();
    recorder_->worker_died(ended_by(SIGSEGV), kStart + 9, {4, 1});
    EXPECT_EQ(told_->text_,
              "case outer/bare/inner/a crashed 1/4: ended by SIGSEGV (Segmentation fault)\n"
              "tear-down of outer/bare/inner did not run: its worker ended in outer/bare/inner/a\n"
              "tear-down of outer did not run: its worker ended in outer/bare/inner/a\n");
    const kiv::CaseResult &result = told_->cases_[0];
    EXPECT_EQ(result.signal, SIGSEGV);
    EXPECT_EQ(result.exit_code, -1);
    EXPECT_EQ(result.output, "last words");
    EXPECT_EQ(result.failures.size(), 1u);
    EXPECT_EQ(result.duration.count(), 9);
    EXPECT_EQ(recorder_->summary().failed_fixtures, 0u);
    EXPECT_EQ(recorder_->dead_set_up(), nullptr);
    EXPECT_EQ(recorder_->next_position(), 1u);
    EXPECT_EQ(recorder_->group_end(), 3u);
}

TEST_F(RecorderTest, ObserversCompleteEveryResultBeforeItIsTold) {
    kiv_test::Watcher::fresh().completes_ = true;
    fixture(0, true);
    run_case(0);
    recorder_->case_begins(1, kStart);
    recorder_->worker_died(ended_by(SIGABRT), kStart, {});
    recorder_->skip_to(3, "left out");
    kiv_test::Watcher::fresh();
    for (const kiv::CaseResult &result : told_->cases_)
        EXPECT_THAT(result.differences.told, ElementsAre("of " + result.selector()));
    EXPECT_EQ(told_->cases_.size(), 3u);
    ASSERT_EQ(told_->fixtures_.size(), 2u);
    EXPECT_THAT(told_->fixtures_[0].differences.told, ElementsAre("of set-up of outer"));
    EXPECT_THAT(told_->fixtures_[1].differences.told, ElementsAre("of tear-down of outer"));
}

TEST_F(RecorderTest, WhatDiffersFromTheBaselineHasFailed) {
    kiv_test::Watcher::fresh().completes_ = true;
    fixture(0, true);
    run_case(0);
    recorder_->case_begins(1, kStart);
    recorder_->worker_died(ended_by(SIGABRT), kStart, {});
    kiv_test::Watcher::fresh();
    EXPECT_EQ(told_->fixtures_[0].verdict, kiv::Verdict::failed);
    EXPECT_EQ(told_->cases_[0].verdict, kiv::Verdict::failed);
    EXPECT_EQ(told_->cases_[1].verdict, kiv::Verdict::aborted);
    EXPECT_EQ(recorder_->summary().differences, 4u) << "of the tear-down, which did not run, too";
    EXPECT_EQ(recorder_->summary().with_differences, 4u);
    EXPECT_FALSE(recorder_->summary().good());
}

TEST_F(RecorderTest, WhatWasSentInPiecesIsReceivedWhole) {
    kiv_test::Watcher &watcher = kiv_test::Watcher::fresh();
    recorder_->sent("before a case", true);
    recorder_->case_begins(0, kStart);
    recorder_->sent("on", false);
    recorder_->sent("e", true);
    recorder_->sent("two", true);
    recorder_->sent("never ended", false);
    recorder_->case_ended(kStart, {});
    recorder_->case_begins(1, kStart);
    recorder_->sent("three", true);
    EXPECT_EQ(watcher.text_, "received one\nreceived two\nreceived three\n");
}

TEST_F(RecorderTest, EndOfAWorkerHasAVerdictAndAReason) {
    kiv::WorkerEnd late;
    late.signal = SIGTERM;
    late.timed_out = true;
    late.how = "took longer than 2 s";
    kiv::WorkerEnd left;
    left.exit_code = 3;
    kiv::WorkerEnd interrupted = ended_by(SIGTERM);
    interrupted.interrupted = true;
    interrupted.how = "interrupted; ignored SIGTERM";
    const std::pair<kiv::WorkerEnd, const char *> kEnds[] = {
        {ended_by(SIGABRT), "aborted 0/0: called abort"},
        {ended_by(40), "crashed 0/0: ended by signal 40"},
        {left, "crashed 0/0: left the worker with exit code 3"},
        {late, "timed out 0/0: took longer than 2 s"},
        {interrupted, "crashed 0/0: interrupted"},
    };
    for (const auto &[end, text] : kEnds) {
        recorder_->case_begins(0, kStart);
        told_->text_.clear();
        recorder_->worker_died(end, kStart, {});
        EXPECT_EQ(told_->text_, "case outer/bare/inner/a " + std::string(text) + "\n");
        EXPECT_EQ(told_->cases_.back().exit_code, end.exit_code);
    }
}

TEST_F(RecorderTest, DyingSetUpOwesNoTearDownOfItsOwn) {
    fixture(0, true);
    recorder_->fixture_begins(2, true, kStart);
    told_->text_.clear();
    recorder_->worker_died(ended_by(SIGABRT), kStart, {1, 0});
    EXPECT_EQ(told_->text_,
              "set-up of outer/bare/inner aborted: called abort\n"
              "tear-down of outer did not run: its worker ended in set-up of outer/bare/inner\n");
    EXPECT_EQ(recorder_->dead_set_up()->path, "outer/bare/inner");
    EXPECT_EQ(told_->fixtures_[1].signal, SIGABRT);
    recorder_->finish(kStart);
    EXPECT_EQ(told_->summary_.failed_fixtures, 1u);
    EXPECT_EQ(told_->summary_.checks, 1u);
}

TEST_F(RecorderTest, DyingTearDownIsNotOwedAgain) {
    fixture(0, true);
    recorder_->fixture_begins(0, false, kStart);
    told_->text_.clear();
    recorder_->worker_died(ended_by(SIGABRT), kStart, {});
    EXPECT_EQ(told_->text_, "tear-down of outer aborted: called abort\n");
    EXPECT_EQ(recorder_->dead_set_up(), nullptr);
}

TEST_F(RecorderTest, TearDownThatRanIsNotOwed) {
    fixture(0, true);
    fixture(0, false);
    recorder_->case_begins(3, kStart);
    told_->text_.clear();
    recorder_->worker_died(ended_by(SIGABRT), kStart, {});
    EXPECT_EQ(told_->text_, "case outer/last aborted 0/0: called abort\n");
}

TEST_F(RecorderTest, WorkerThatEndsBetweenCasesIsAFixtureThatFailedUnlessTheRunIsInterrupted) {
    fixture(0, true);
    told_->text_.clear();
    recorder_->text(Printed::direct, "last words");
    recorder_->worker_died(ended_by(SIGKILL), kStart, {});
    EXPECT_EQ(told_->text_,
              "worker crashed: ended by SIGKILL (Killed) between cases\n"
              "tear-down of outer did not run: its worker ended\n");
    EXPECT_EQ(told_->fixtures_[1].output, "last words");
    EXPECT_EQ(told_->fixtures_[1].signal, SIGKILL);
    kiv::WorkerEnd end = ended_by(SIGTERM);
    end.interrupted = true;
    recorder_->worker_died(end, kStart, {});
    recorder_->finish(kStart);
    EXPECT_EQ(told_->summary_.failed_fixtures, 1u);
    EXPECT_THAT(told_->summary_.notes, ElementsAre());
}

TEST_F(RecorderTest, CasesThatAreNotReachedAreToldFolderByFolder) {
    recorder_->group_begins(0, 3);
    run_case(0, "of the first\n");
    told_->text_.clear();
    recorder_->stop("it is enough");
    EXPECT_EQ(told_->text_,
              "case outer/bare/inner/b not run 0/0: the run stopped before it\n"
              "case outer/bare/inner/c not run 0/0: the run stopped before it\n"
              "end of outer/bare/inner\nfolder outer 1\n"
              "case outer/last not run 0/0: the run stopped before it\n"
              "end of outer\n");
    EXPECT_EQ(told_->cases_[1].output, "");
    recorder_->stop("twice");
    recorder_->interrupted("too late");
    recorder_->finish(kStart);
    EXPECT_EQ(told_->summary_.stopped_because, "it is enough");
    EXPECT_TRUE(told_->summary_.interrupted);
    EXPECT_EQ(told_->summary_.counts[static_cast<size_t>(kiv::Verdict::not_run)], 3u);
}

TEST_F(RecorderTest, StopsOnlyARunThatIsNotOver) {
    recorder_->stop_if_unfinished();
    EXPECT_EQ(told_->cases_.size(), 4u);
    EXPECT_EQ(recorder_->summary().stopped_because, "after the first case that is not good (--fail-fast)");
    make({});
    for (uint64_t position = 0; position < 4; ++position) run_case(position);
    recorder_->stop_if_unfinished();
    EXPECT_EQ(recorder_->summary().stopped_because, "");
}

TEST_F(RecorderTest, OutputOutsideOfCasesIsANoteOfBoundedLength) {
    recorder_->text(Printed::direct, std::string(4000, 'a'));
    recorder_->text(Printed::direct, std::string(4000, 'b'));
    recorder_->text(Printed::direct, "c");
    recorder_->finish(kStart);
    EXPECT_THAT(told_->summary_.notes,
                ElementsAre("output outside of cases: " + std::string(4000, 'a') + std::string(96, 'b')));
}

TEST_F(RecorderTest, NotesAreBounded) {
    for (int i = 0; i < 2000; ++i) recorder_->note("again");
    EXPECT_EQ(recorder_->summary().notes.size(), 1000u);
}

TEST_F(RecorderTest, ScriptIsAnnouncedToWhoWatches) {
    recorder_->case_begins(0, kStart);
    recorder_->reads_input("the script", 2);
    EXPECT_THAT(shown(), Not(HasSubstr("standard input")));
    kiv::ConsoleStyle style;
    style.verbose = true;
    make(style);
    recorder_->case_begins(0, kStart);
    recorder_->reads_input("the script", 2);
    recorder_->reads_input("the script", 1);
    recorder_->reads_input("there is none", 0);
    EXPECT_THAT(shown(), HasSubstr("outer/bare/inner/a reads standard input: 2 lines from the script\n"));
    EXPECT_THAT(shown(), HasSubstr("outer/bare/inner/a reads standard input: 1 line from the script\n"));
    EXPECT_THAT(shown(), HasSubstr("reads standard input: end of input, there is none\n"));
    EXPECT_FALSE(recorder_->operator_types());
}

TEST_F(RecorderTest, OperatorSeesWhatTheCaseHasSaidAndSays) {
    recorder_->case_begins(0, kStart);
    recorder_->text(Printed::print, "which one?\n");
    recorder_->reads_input("", 0);
    EXPECT_TRUE(recorder_->operator_types());
    EXPECT_THAT(shown(), HasSubstr("type its lines, Ctrl-D ends them\n    | which one?\n"));
    recorder_->text(Printed::print, "and now?\n");
    EXPECT_THAT(shown(), HasSubstr("| and now?\n"));
    recorder_->case_ended(kStart, {});
    recorder_->case_begins(1, kStart);
    EXPECT_FALSE(recorder_->operator_types());
    recorder_->text(Printed::print, "of the next\n");
    EXPECT_THAT(shown(), Not(HasSubstr("of the next")));
}

TEST_F(RecorderTest, RunningItemHasAName) {
    EXPECT_EQ(recorder_->item_name(), "");
    recorder_->fixture_begins(2, true, kStart);
    EXPECT_EQ(recorder_->item_name(), "set-up of outer/bare/inner");
    recorder_->fixture_begins(2, false, kStart);
    EXPECT_EQ(recorder_->item_name(), "tear-down of outer/bare/inner");
    recorder_->case_begins(1, kStart);
    EXPECT_EQ(recorder_->item_name(), "outer/bare/inner/b");
    EXPECT_EQ(told_->begun_, std::vector<std::string>{"outer/bare/inner/b"});
}

// Every byte of a run's records wrong in turn: nothing that arrives takes the recorder down.
TEST_F(RecorderTest, RecordsThatACaseWroteOverAreSurvived) {
    kiv::Ring ring;
    std::string error;
    ASSERT_TRUE(ring.create(&error)) << error;
    const kiv::RecordBounds bounds{schedule_->size(), 3};
    for (size_t place = 0;; ++place) {
        ring.reset();
        kiv::RingJournal journal(ring);
        journal.group_begins(0, 3);
        journal.fixture_begins(0, true, 1);
        journal.text(Printed::print, "of the set-up");
        journal.fixture_ended(2, {});
        journal.case_begins(0, 3);
        journal.failed_check(kiv::CheckView());
        journal.case_ended(4, {1, 1});
        journal.fixture_begins(0, false, 5);
        journal.fixture_ended(6, {});
        journal.group_ended();
        journal.note("noted");
        journal.done();
        size_t size;
        char *bytes = const_cast<char *>(ring.readable(&size));
        if (place >= size) break;
        bytes[place] ^= static_cast<char>(1 << place % 8);
        make({});
        bool damaged = false;
        kiv::replay_ring(ring, *recorder_, bounds, kiv::Ring::kSize, &damaged);
        recorder_->worker_died(ended_by(SIGKILL), 7, {});
        recorder_->stop("it is over");
        recorder_->finish(8);
    }
}

}  // namespace
