// The supervision of workers that hang, leave badly, never begin, or write where they must not.
#include "kiv/supervise/supervisor.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <stdexcept>

#include "kiv.h"
#include "kiv/files.h"
#include "kiv/worker/live.h"
#include "tests/kiv/lines.h"
#include "tests/kiv/process.h"
#include "tests/kiv/suite.h"
#include "tests/kiv/watcher.h"

namespace {

using kiv_test::Watcher;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr int64_t kMillisecond = 1'000'000;
constexpr int64_t kLong = 600'000 * kMillisecond;

[[noreturn]] void wait_forever() {
    while (true) pause();
}

int passes() {
    return kiv_jyx_check_cerrno_(0, 0, "OK", "file", "passes", 1);
}

int aborts() {
    abort();
}

int hangs() {
    kiv_printf("hangs\n");
    wait_forever();
}

int ignores_the_end() {
    signal(SIGTERM, SIG_IGN);
    kiv_printf("hangs\n");
    wait_forever();
}

int stops_itself() {
    raise(SIGSTOP);
    wait_forever();
}

template <int milliseconds>
int takes() {
    for (int i = 0; i < milliseconds / 10; ++i) usleep(10'000);
    return passes();
}

int leaves_with_4_afterwards() {
    atexit([] { _exit(4); });
    return passes();
}

int aborts_afterwards() {
    atexit([] { abort(); });
    return passes();
}

int hangs_afterwards_until_it_is_ended() {
    atexit([] {
        signal(SIGTERM, [](int) { _exit(0); });
        wait_forever();
    });
    return passes();
}

int reports_a_leak_afterwards() {
    atexit([] {
        constexpr std::string_view kReport = "100 bytes leaked\n";
        _exit(write(STDERR_FILENO, kReport.data(), kReport.size()) < 0 ? 1 : 23);
    });
    return passes();
}

int hangs_afterwards() {
    atexit(wait_forever);
    return passes();
}

// One that knows nothing of its worker.
int leaves_a_child() {
    const pid_t child = fork();
    if (child == 0) {
        if (fork() != 0) _exit(0);
        wait_forever();
    }
    waitpid(child, nullptr, 0);
    return passes();
}

int forks_a_child_that_checks() {
    const pid_t child = fork();
    if (child == 0) {
        kiv_jyx_check_cerrno_(1, 0, "OK", "file", "child", 1);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    return passes();
}

// The memory of the run is all that is shared.
int writes_over_the_run() {
    usleep(500'000);  // what was told so far has been read
    FILE *maps = fopen("/proc/self/maps", "r");
    char line[300];
    while (maps != nullptr && fgets(line, sizeof line, maps) != nullptr) {
        unsigned long begin, end;
        if (strstr(line, "rw-s") != nullptr && sscanf(line, "%lx-%lx", &begin, &end) == 2)
            memset(reinterpret_cast<void *>(begin), 0x5a, end - begin);
    }
    wait_forever();
}

int reads_a_line() {
    char line[100];
    if (fgets(line, sizeof line, stdin) != nullptr) kiv_printf("read %s", line);
    return passes();
}

int writes_past_the_streams() {
    static int count = 0;
    const std::string text = "direct " + std::to_string(++count) + "\n";
    if (write(STDOUT_FILENO, text.data(), text.size()) < 0) return 1;
    return passes();
}

int closes_its_input() {
    close(STDIN_FILENO);
    usleep(1000);
    return passes();
}

int opens_a_file() {
    const int fd = open("/dev/null", O_RDONLY);
    kiv_printf(fd > STDERR_FILENO ? "as ever" : "in the place of a standard descriptor");
    close(fd);
    return passes();
}

int sends_and_dies() {
    kiv::send("first");
    kiv::send(std::string(300'000, 'x'));
    abort();
}

// Does something beside the test, from a process of its own, which ends with this.
class Beside {
  public:
    explicit Beside(const std::function<void(pid_t tester)> &what) {
        const pid_t tester = getpid();
        process_ = fork();
        if (process_ < 0) throw std::runtime_error("no process");
        if (process_ != 0) return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // the number of a test that is gone may be anybody's
        what(tester);
        _exit(0);
    }
    ~Beside() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    Beside(const Beside &) = delete;
    Beside &operator=(const Beside &) = delete;

  private:
    pid_t process_;
};

class SupervisorTest : public testing::Test {
  protected:
    SupervisorTest() {
        policy_.announcement = policy_.leaving_grace = policy_.interrupted_grace = kLong;
        policy_.grace = kLong;
        folder_ = suite_.folder("f");
    }
    void add(const char *name, kiv_function_t function, kiv_folder *folder = nullptr) {
        kiv_create_test_case(folder_->context, folder ? folder : folder_, name, "", function,
                             KIV_MODE_AUTOMATIC);
    }
    // Runs what was added and returns what the reports were told.
    std::string run(int repeat = 1, bool verbose = false) {
        kiv::ConsoleStyle style;
        style.verbose = verbose;
        kiv_context &context = suite_.context();
        std::vector<uint32_t> all(context.cases.size());
        for (uint32_t i = 0; i < all.size(); ++i) all[i] = i;
        const kiv::Schedule schedule(context, all, repeat, false, 0);
        const kiv::Descriptor shown(open(directory_.file("shown").c_str(), O_WRONLY | O_CREAT, 0600));
        kiv::Console console(shown.number(), style);
        auto report = std::make_unique<kiv_test::ReportLines>();
        kiv_test::ReportLines &told = *report;
        std::vector<std::unique_ptr<kiv::Reporter>> reports;
        reports.push_back(std::move(report));
        kiv::Recorder recorder(schedule, &console, std::move(reports), {directory_.file("output")});
        recorder.run_begins({});
        const kiv::Work work{schedule, nullptr, "", false};
        kiv::Supervisor(work, recorder, policy_).run();
        summary_ = recorder.finish(kiv::now_ns());
        console.flush();
        shown_ = kiv_test::read_text(directory_.file("shown"));
        cases_ = told.cases_;
        fixtures_ = told.fixtures_;
        return told.text_;
    }
    // Waits in another process until the run has shown `text`.
    void wait_until_shown(const char *text) const {
        while (kiv_test::read_text(directory_.file("shown")).find(text) == std::string::npos) usleep(1000);
    }

    Watcher &watcher_ = Watcher::fresh();
    kiv_test::TemporaryDirectory directory_;
    kiv_test::Suite suite_;
    kiv_folder *folder_;
    kiv::Policy policy_;
    kiv::Summary summary_;
    std::string shown_;
    std::vector<kiv::CaseResult> cases_;
    std::vector<kiv::FixtureResult> fixtures_;
};

TEST_F(SupervisorTest, SlowCaseIsAnnouncedAgainAtTwiceTheTime) {
    policy_.announcement = 40 * kMillisecond;
    policy_.timeout = kLong;
    add("slow", takes<400>);
    EXPECT_EQ(run(), "folder f 1\ncase f/slow passed 0/1: \nend of f\n");
    size_t count = 0;
    for (size_t at = 0; (at = shown_.find("still running after ", at)) != std::string::npos; ++at) ++count;
    EXPECT_GE(count, 2u);  // after 40, 80, 160 and 320 ms, or later
    EXPECT_LE(count, 4u);
    EXPECT_THAT(shown_,
                ContainsRegex("still running after [0-9.]+ m?s: f/slow [(]ended after 10 min 0 s[)]"));
}

TEST_F(SupervisorTest, CaseThatIsLateIsEndedByForceWhenItIgnoresTheEnd) {
    policy_.timeout = policy_.grace = 100 * kMillisecond;
    add("late", ignores_the_end);
    add("after", passes);
    EXPECT_EQ(run(),
              "folder f 2\n"
              "case f/late timed out 0/0: took longer than 100 ms; ignored SIGTERM for 100 ms and "
              "was killed\n"
              "case f/after not run 0/0: its worker ended in f/late\nend of f\n");
    EXPECT_EQ(cases_[0].signal, SIGKILL);
}

TEST_F(SupervisorTest, NextWorkerIsNotLateBecauseTheLastWas) {
    policy_.timeout = 100 * kMillisecond;
    policy_.on_crash = kiv::OnCrash::next_case;
    add("late", hangs);
    add("aborts", aborts);
    EXPECT_EQ(run(),
              "folder f 2\ncase f/late timed out 0/0: took longer than 100 ms\nend of f\n"
              "folder f 1\ncase f/aborts aborted 0/0: called abort\nend of f\n");
    EXPECT_EQ(cases_[0].signal, SIGTERM);
}

TEST_F(SupervisorTest, StoppedCaseIsSaidAndEndsPolitely) {
    policy_.timeout = 100 * kMillisecond;
    add("stops", stops_itself);
    EXPECT_THAT(run(),
                HasSubstr("case f/stops timed out 0/0: took longer than 100 ms, stopped by SIGSTOP\n"));
    EXPECT_EQ(cases_[0].signal, SIGTERM);
    EXPECT_THAT(shown_, HasSubstr("stopped by SIGSTOP: f/stops\n"));
}

TEST_F(SupervisorTest, TimeInWhichTheRunWasStoppedDoesNotCount) {
    policy_.timeout = 600 * kMillisecond;
    add("slow", takes<1200>);
    const Beside continues([](pid_t tester) {
        while (kill(tester, SIGCONT) == 0) usleep(30'000);
    });
    EXPECT_THAT(run(), HasSubstr("case f/slow passed"));
}

TEST_F(SupervisorTest, InterruptEndsTheCaseAndTheRun) {
    add("hangs", hangs);
    add("after", passes);
    add("other", passes, suite_.folder("other"));
    const Beside interrupts([this](pid_t tester) {
        wait_until_shown("hangs");
        kill(tester, SIGINT);
    });
    EXPECT_EQ(run(1, true),
              "folder f 2\ncase f/hangs crashed 0/0: interrupted\n"
              "case f/after not run 0/0: the run was interrupted\nend of f\n"
              "folder other 1\ncase other/other not run 0/0: the run was interrupted\nend of other\n");
    EXPECT_TRUE(summary_.interrupted);
    EXPECT_EQ(summary_.stopped_because, "interrupted (SIGINT)");
    EXPECT_THAT(shown_, HasSubstr("interrupted: ending f/hangs\n"));
}

TEST_F(SupervisorTest, SecondInterruptKillsAtOnce) {
    add("hangs", ignores_the_end);
    const Beside interrupts([this](pid_t tester) {
        wait_until_shown("hangs");
        kill(tester, SIGINT);
        wait_until_shown("interrupted: ending");
        kill(tester, SIGINT);
    });
    EXPECT_THAT(run(1, true), HasSubstr("case f/hangs crashed 0/0: interrupted\n"));
    EXPECT_EQ(cases_[0].signal, SIGKILL);
}

TEST_F(SupervisorTest, InterruptedRunWaitsForAShortTimeOnly) {
    policy_.interrupted_grace = 50 * kMillisecond;
    add("hangs", ignores_the_end);
    const Beside interrupts([this](pid_t tester) {
        wait_until_shown("hangs");
        kill(tester, SIGTERM);
    });
    run(1, true);
    EXPECT_EQ(cases_[0].signal, SIGKILL);
    EXPECT_EQ(summary_.stopped_because, "interrupted (SIGTERM)");
}

TEST_F(SupervisorTest, InterruptBetweenCasesIsNobodysFailure) {
    watcher_.on_worker_begins_ = [tester = getpid()](int) {
        kill(tester, SIGINT);
        wait_forever();
    };
    add("never", passes);
    EXPECT_EQ(run(), "folder f 1\ncase f/never not run 0/0: the run was interrupted\nend of f\n");
    EXPECT_EQ(summary_.failed_fixtures, 0u);
    EXPECT_THAT(summary_.notes, IsEmpty());
}

TEST_F(SupervisorTest, WorkerThatLeavesBadlyAfterItsLastCaseFailsTheRun) {
    add("leaves", leaves_with_4_afterwards);
    EXPECT_EQ(run(),
              "folder f 1\ncase f/leaves passed 0/1: \nend of f\n"
              "worker crashed: left with exit code 4 after its last case\n");
    EXPECT_FALSE(summary_.good());
}

TEST_F(SupervisorTest, WorkerThatDiesAfterItsLastCaseFailsTheRun) {
    add("aborts", aborts_afterwards);
    EXPECT_EQ(run(),
              "folder f 1\ncase f/aborts passed 0/1: \nend of f\n"
              "worker aborted: ended by SIGABRT (Aborted) while it left, after its last case\n");
    EXPECT_EQ(fixtures_[0].signal, SIGABRT);
    EXPECT_EQ(summary_.failed_fixtures, 1u);
    EXPECT_FALSE(summary_.good());
}

TEST_F(SupervisorTest, WorkerThatDoesNotLeaveIsEnded) {
    policy_.leaving_grace = 100 * kMillisecond;
    add("hangs", hangs_afterwards);
    EXPECT_EQ(run(),
              "folder f 1\ncase f/hangs passed 0/1: \nend of f\n"
              "worker timed out: did not leave within 100 ms after its last case\n");
    EXPECT_FALSE(summary_.good());
}

TEST_F(SupervisorTest, WorkerThatLeavesWellOnlyWhenItIsEndedFailsTheRun) {
    policy_.leaving_grace = 100 * kMillisecond;
    add("hangs", hangs_afterwards_until_it_is_ended);
    EXPECT_THAT(run(), HasSubstr("worker timed out: did not leave within 100 ms after its last case\n"));
    EXPECT_FALSE(summary_.good());
}

TEST_F(SupervisorTest, WhatAWorkerSaysWhenItLeavesBadlyIsKept) {
    add("reports", reports_a_leak_afterwards);
    EXPECT_THAT(run(), HasSubstr("worker crashed: left with exit code 23 after its last case\n"));
    EXPECT_EQ(fixtures_.at(0).output, "100 bytes leaked\n");
}

TEST_F(SupervisorTest, WorkerThatNeverComesToACaseEndsTheRun) {
    watcher_.on_worker_begins_ = [](int) { abort(); };
    add("never", passes);
    EXPECT_EQ(run(),
              "worker aborted: called abort between cases\n"
              "folder f 1\ncase f/never not run 0/0: no worker came as far\nend of f\n");
    EXPECT_EQ(summary_.stopped_because, "a worker ended before its first case");
    EXPECT_THAT(summary_.notes, IsEmpty());
    EXPECT_EQ(fixtures_.at(0).reason, "called abort between cases");
}

TEST_F(SupervisorTest, WorkerThatHangsBetweenCasesIsEnded) {
    policy_.timeout = 100 * kMillisecond;
    watcher_.on_worker_begins_ = [](int) { wait_forever(); };
    add("never", passes);
    EXPECT_THAT(run(), HasSubstr("no worker came as far"));
    EXPECT_EQ(fixtures_.at(0).reason, "did nothing for 100 ms between cases");
    EXPECT_EQ(fixtures_.at(0).verdict, kiv::Verdict::timed_out);
}

TEST_F(SupervisorTest, WhatAWorkerSendsArrivesWholeAlthoughItDies) {
    Watcher &watcher = Watcher::fresh();
    add("sends", sends_and_dies);
    run();
    EXPECT_EQ(watcher.text_, "received first\nreceived 300000 bytes\n");
}

TEST_F(SupervisorTest, EachWorkerHasItsNumberAndItsNotesArrive) {
    watcher_.on_worker_begins_ = [](int worker) { kiv::add_note("worker " + std::to_string(worker)); };
    policy_.on_crash = kiv::OnCrash::next_case;
    add("one", aborts);
    add("two", aborts);
    add("three", passes);
    run();
    EXPECT_THAT(summary_.notes, ElementsAre("worker 1", "worker 2", "worker 3"));
}

TEST_F(SupervisorTest, CrashEndsTheRunWhenToldTo) {
    policy_.on_crash = kiv::OnCrash::stop;
    add("aborts", aborts);
    add("after", passes);
    EXPECT_EQ(run(),
              "folder f 2\ncase f/aborts aborted 0/0: called abort\n"
              "case f/after not run 0/0: the run stopped before it\nend of f\n");
    EXPECT_EQ(summary_.stopped_because, "after the worker ended in f/aborts");
}

TEST_F(SupervisorTest, DyingSetUpTakesItsFoldersCasesOfOnePassWithIt) {
    kiv_folder *dies = suite_.folder("dies");
    kiv_add_fixture(dies, aborts, nullptr);
    add("one", passes, suite_.folder("below", dies));
    add("two", passes, dies);
    add("last", passes, suite_.folder("last"));
    EXPECT_EQ(run(2), [] {
        const std::string pass =
            "folder dies/below 1\nset-up of dies aborted: called abort\n"
            "case dies/below/one not run 0/0: the set-up of dies ended its worker\nend of dies/below\n"
            "folder dies 1\ncase dies/two not run 0/0: the set-up of dies ended its worker\nend of dies\n"
            "folder last 1\ncase last/last passed 0/1: \nend of last\n";
        return pass + pass;
    }());
}

TEST_F(SupervisorTest, CaseThatWritesOverTheRunIsEndedAndNothingElse) {
    add("fine", passes);
    add("writes", writes_over_the_run);
    add("last", passes, suite_.folder("last"));
    EXPECT_EQ(run(),
              "folder f 2\ncase f/fine passed 0/1: \n"
              "case f/writes crashed 0/0: the case damaged the run's memory\nend of f\n"
              "folder last 1\ncase last/last passed 0/1: \nend of last\n");
}

TEST_F(SupervisorTest, ProcessesThatAreNotTheRunsAreLeftAlone) {
    const pid_t other = fork();
    ASSERT_GE(other, 0);
    if (other == 0) wait_forever();
    add("leaves", leaves_a_child);
    run();
    EXPECT_THAT(summary_.notes, ElementsAre("1 process that a case left behind was ended"));
    EXPECT_TRUE(kiv_test::process_exists(other));
    kill(other, SIGKILL);
    waitpid(other, nullptr, 0);
}

TEST_F(SupervisorTest, WhatGoesPastTheStreamsBelongsToItsCase) {
    for (int i = 0; i < 300; ++i) add("writes", writes_past_the_streams);
    run();
    ASSERT_EQ(cases_.size(), 300u);
    for (size_t i = 0; i < 300; ++i) EXPECT_EQ(cases_[i].output, "direct " + std::to_string(i + 1) + "\n");
}

TEST_F(SupervisorTest, FileOfACaseNeverTakesTheInputsPlace) {
    add("closes", closes_its_input);
    add("opens", opens_a_file);
    run();
    ASSERT_EQ(cases_.size(), 2u);
    EXPECT_EQ(cases_[1].output, "as ever");
}

TEST_F(SupervisorTest, ChildOfACaseCountsNoChecks) {
    add("forks", forks_a_child_that_checks);
    EXPECT_THAT(run(), HasSubstr("case f/forks reported an error 0/1: printed \"FAIL: a check failed in a "
                                 "child process: file, child, line 1\"\n"));
}

// With a terminal for its standard input.
class OperatorTest : public SupervisorTest {
  protected:
    OperatorTest() {
        terminal_ = posix_openpt(O_RDWR | O_NOCTTY);
        if (terminal_ < 0 || grantpt(terminal_) != 0 || unlockpt(terminal_) != 0) return;
        const int side = open(ptsname(terminal_), O_RDWR | O_NOCTTY);
        saved_ = dup(STDIN_FILENO);
        dup2(side, STDIN_FILENO);
        close(side);
    }
    ~OperatorTest() override {
        dup2(saved_, STDIN_FILENO);
        close(saved_);
        close(terminal_);
    }
    int terminal_, saved_ = -1;
};

TEST_F(OperatorTest, MayTakeTheirTime) {
    policy_.timeout = policy_.announcement = 50 * kMillisecond;
    add("reads", reads_a_line);
    const Beside types([this](pid_t) {
        wait_until_shown("type its lines");
        usleep(300'000);
        if (write(terminal_, "typed\n", 6) != 6) _exit(1);
        wait_forever();
    });
    EXPECT_THAT(run(), HasSubstr("case f/reads passed"));
    EXPECT_THAT(shown_, HasSubstr("| read typed\n"));
    EXPECT_THAT(shown_, Not(HasSubstr("still running")));
}

TEST_F(OperatorTest, AreTimedWhenToldTo) {
    policy_.timeout = 50 * kMillisecond;
    policy_.times_operators = true;
    add("reads", reads_a_line);
    EXPECT_THAT(run(), HasSubstr("case f/reads timed out 0/0: took longer than 50 ms"));
}

}  // namespace
