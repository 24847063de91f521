// Suites that attack the run: a sample suite, run from outside.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <sstream>
#include <tuple>

#include "tests/kiv/process.h"

namespace {

using kiv_test::Finished;
using kiv_test::Process;
using kiv_test::read_text;
using kiv_test::TemporaryDirectory;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

Finished attack(const std::vector<std::string> &arguments) {
    return kiv_test::run("hostile", arguments);
}

TEST(Attack, AJumpOutOfAPrintLosesNothingThatComesLater) {
    for (const char *folder : {"jump", "jump_stream"}) {
        const Finished run = attack({folder, "last", "-v", "--timeout", "60"});
        EXPECT_THAT(run.out, HasSubstr("    | after all jumps\n"));
        EXPECT_THAT(run.out, HasSubstr("PASSED: 6 cases, 6 passed\n        6 checks, 0 failed")) << folder;
    }
    EXPECT_THAT(attack({"jump_stream", "-v", "--timeout", "60"}).out, HasSubstr("    | from a thread\n"));
    EXPECT_THAT(attack({"jump", "last", "--fail-fast", "-q", "--timeout", "60"}).out,
                HasSubstr("PASSED: 6 cases"));
}

// Lines that begin as the run's own do.
int lines_with(const std::string &text, const std::string &begin) {
    std::istringstream lines(text);
    int count = 0;
    for (std::string line; std::getline(lines, line);) count += line.starts_with(begin);
    return count;
}

TEST(Attack, NoTextOfACaseLooksLikeOneOfTheRun) {
    for (const char *folder : {"lies", "lies_in_a_line", "writes_everywhere", "odd\nPASSED: 1 case"}) {
        for (const char *how : {"--color=never", "-v"}) {
            const Finished run = attack({folder, how});
            EXPECT_EQ(lines_with(run.out, "PASSED"), 0) << run.out;
            EXPECT_EQ(lines_with(run.out, "FAILED: "), 1) << run.out;
            EXPECT_THAT(run.out, Not(HasSubstr("\033"))) << folder;
            EXPECT_THAT(run.out, Not(HasSubstr("\r"))) << folder;
        }
    }
    const Finished list = attack({"--list"});
    EXPECT_EQ(lines_with(list.out, "PASSED"), 0) << list.out;
}

TEST(Attack, TheSummaryCarriesTheMarkThatItIsGiven) {
    const auto marked = [](const char *folder) {
        return kiv_test::run("hostile", {folder, "-v"}, {{"KIV_SUMMARY_MARK", "k7f3"}}).out;
    };
    EXPECT_EQ(lines_with(marked("last"), "PASSED [k7f3]: 3 cases"), 1);
    EXPECT_EQ(lines_with(marked("lies"), "FAILED [k7f3]: 3 cases"), 1);
}

TEST(Attack, ReportsAreOutOfACasesReach) {
    const TemporaryDirectory directory;
    const std::string events = directory.file("events");
    Process("hostile", {"writes_everywhere", "--json", events}, directory.path()).finish();
    EXPECT_THAT(read_text(events), HasSubstr("\"Action\":\"summary\""));
    EXPECT_THAT(read_text(events), Not(HasSubstr("\nPASSED")));
}

// A shell command; SUITE is the sample, and the working directory one of its own.
class AttackOnFiles : public testing::Test {
  protected:
    int shell(const std::string &command) {
        const std::string whole = "cd " + directory_.path() +
                                  " && SUITE=" SAMPLES "/kiv_sample_hostile && unset CI && (" + command +
                                  ") </dev/null >out 2>err";
        const int status = system(whole.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string text(const std::string &name) const { return read_text(directory_.file(name)); }
    bool exists(const std::string &name) const { return access(directory_.file(name).c_str(), F_OK) == 0; }

    TemporaryDirectory directory_;
};

bool ends_within(pid_t process, int seconds) {
    for (int i = 0; i < 100 * seconds; ++i) {
        siginfo_t info{};
        if (waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
            info.si_pid != 0)
            return true;
        usleep(10'000);
    }
    return false;
}

bool comes_to_hold(const std::string &path, const std::string &text, int seconds) {
    for (int i = 0; i < 100 * seconds; ++i) {
        if (read_text(path).find(text) != std::string::npos) return true;
        usleep(10'000);
    }
    return false;
}

TEST(StalledReader, OfTheConsoleDoesNotStopTheClock) {
    const TemporaryDirectory directory;
    const std::string events = directory.file("events");
    Process process("hostile",
                    {"much", "hangs", "last", "-v", "--timeout", "2", "--grace", "0.2", "--json", events},
                    directory.path());
    EXPECT_TRUE(comes_to_hold(events, "\"Action\":\"summary\"", 60));  // while nobody reads
    const Finished run = process.finish();
    EXPECT_THAT(read_text(events), ContainsRegex("took longer than 2[.0]* s"));
    EXPECT_THAT(run.out, HasSubstr(" bytes are left out here: nobody read them in time]"));
    EXPECT_THAT(run.out, HasSubstr("FAILED: 9 cases, 7 passed, 1 timed out, 1 not run"));
}

TEST(StalledReader, LosesNothingWhenItReadsOnInTime) {
    const TemporaryDirectory directory;
    Process process("hostile", {"much", "-v"}, directory.path());
    usleep(1'000'000);
    const Finished run = process.finish();
    EXPECT_THAT(run.out, Not(HasSubstr("left out")));
    EXPECT_THAT(run.out, HasSubstr("    | line 0 of"));
    EXPECT_THAT(run.out, HasSubstr("    | line 99999 of"));
    EXPECT_THAT(run.out, HasSubstr("PASSED: 3 cases"));
}

TEST(StalledReader, SecondInterruptEndsTheRunAtOnce) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const TemporaryDirectory directory;
        Process process("hostile", {"spins", "-v"}, directory.path());
        usleep(500'000);  // by then the pipe is full
        process.signal_process(signal);
        usleep(100'000);
        process.signal_process(signal);
        EXPECT_TRUE(ends_within(process.id(), 10));
    }
}

TEST(StalledReader, OfAReportIsGivenUpAndSaid) {
    const TemporaryDirectory directory;
    const std::string events = directory.file("events");
    ASSERT_EQ(mkfifo(events.c_str(), 0600), 0);
    const int reader = open(events.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    Process process("hostile", {"much", "hangs", "--timeout", "1", "--grace", "0.2", "--json", events},
                    directory.path());
    EXPECT_TRUE(ends_within(process.id(), 60));
    const Finished run = process.finish();
    close(reader);
    EXPECT_THAT(run.out, HasSubstr("NOT WRITTEN: " + events + ": its reader takes nothing\n"));
    EXPECT_THAT(run.out, HasSubstr("FAILED: 6 cases, 4 passed, 1 timed out, 1 not run"));
}

TEST_F(AttackOnFiles, AFullDeviceIsSaidInTheLastLine) {
    for (const char *format : {"json", "junit", "tap", "html"}) {
        EXPECT_EQ(shell("$SUITE last --" + std::string(format) + " /dev/full"), 2);
        EXPECT_THAT(text("out"), testing::EndsWith("NOT WRITTEN: /dev/full: No space left on device\n"));
    }
}

TEST_F(AttackOnFiles, AReaderThatGoesLeavesAGoodRunGood) {
    for (const char *what : {"last", "much -v"}) {
        shell("TEST_PREMATURE_EXIT_FILE=mark $SUITE " + std::string(what) + " --json events | true");
        EXPECT_FALSE(exists("mark")) << what;
        EXPECT_THAT(text("events"), HasSubstr("\"Action\":\"summary\"")) << what;
    }
    shell("mkfifo fifo; (head -c 10 fifo >/dev/null &) ; $SUITE much --json fifo");
    EXPECT_THAT(text("out"), HasSubstr("PASSED: 3 cases"));
    EXPECT_THAT(text("out"), testing::EndsWith("NOT WRITTEN: fifo: Broken pipe\n"));
}

TEST_F(AttackOnFiles, AFileSizeLimitEndsNoRun) {
    EXPECT_EQ(
        shell("ulimit -f 64; $SUITE fills last --json events --junit junit --html page --output-limit 4"), 2);
    EXPECT_THAT(text("out"), HasSubstr("PASSED: 6 cases, 6 passed"));
    EXPECT_THAT(text("out"), Not(HasSubstr("whole in")));
    EXPECT_THAT(text("out"), testing::EndsWith("/page: File too large\n"));
    EXPECT_THAT(text("events"), HasSubstr("the whole output could not be kept: "));
    EXPECT_THAT(text("err"), testing::IsEmpty());
}

TEST_F(AttackOnFiles, ClosedStandardDescriptorsAreNoPlaceForReports) {
    for (const char *closed : {">&-", "<&- >&- 2>&-", "<&-", "2>&-"}) {
        EXPECT_EQ(shell("$SUITE direct last --json events --junit junit --tap tap " + std::string(closed)),
                  0);
        EXPECT_THAT(text("events"), testing::StartsWith("{\"Time\""));
        EXPECT_THAT(text("events"), HasSubstr("\"Action\":\"summary\""));
        EXPECT_THAT(text("events"), HasSubstr("written past the streams")) << closed;
        EXPECT_THAT(text("tap"), testing::StartsWith("KTAP version 1\n1..2\n"));
        EXPECT_THAT(text("junit"), testing::EndsWith("</testsuites>\n"));
    }
}

TEST_F(AttackOnFiles, FewDescriptorsAreEnoughForDirectWrites) {
    for (const char *limit : {"60", "20"}) {
        EXPECT_EQ(shell("ulimit -n " + std::string(limit) + "; $SUITE direct -v --json events --junit junit"),
                  0);
        EXPECT_THAT(text("out"), HasSubstr("    | written past the streams\n")) << limit;
        EXPECT_THAT(text("out"), HasSubstr("PASSED: 3 cases"));
    }
}

// What a case leaves of the run's memory: whatever it is, each case is told of once, and the run ends.
TEST(Attack, DamagedMemoryCostsNoRunAndMakesNoCaseUp) {
    int damaged = 0;
    for (int seed = 1; seed <= 60; ++seed) {
        const TemporaryDirectory directory;
        const Finished run = Process("hostile", {"scribbles", "last", "--timeout", "2", "--grace", "0.2"},
                                     directory.path(), {{"SAMPLE_SEED", std::to_string(seed)}})
                                 .finish();
        EXPECT_THAT(run.out, ContainsRegex("(PASSED|FAILED): 6 cases, [3-6] passed"))
            << "seed " << seed << run.out;
        for (const char *name : {"before", "attack", "after"}) {
            size_t count = 0;
            const std::string word = "  " + std::string(name) + "\n";
            for (size_t at = 0; (at = run.out.find(word, at)) != std::string::npos; ++at) ++count;
            EXPECT_EQ(count, 2u) << name << ", seed " << seed << "\n" << run.out;
        }
        damaged += run.out.find("the case damaged the run's memory") != std::string::npos;
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(damaged, 10);
}

TEST(Attack, AThreadMayEndBeforeTheHelperThatItForked) {
    const Finished run = attack({"forks_from_a_thread", "-v"});
    EXPECT_THAT(run.out, HasSubstr("    | helped\n"));
    EXPECT_THAT(run.out, HasSubstr("PASSED: 3 cases, 3 passed"));
}

TEST(Attack, AReopenedStreamIsTheCasesOwn) {
    for (const char *folder : {"reopens_stdout", "reopens_stderr"}) {
        const TemporaryDirectory directory;
        const Finished run = Process("hostile", {folder, "-v"}, directory.path()).finish();
        EXPECT_THAT(run.out, HasSubstr("    | a stream as ever\n"));
        EXPECT_THAT(run.out, HasSubstr("    | and the other\n"));
        EXPECT_THAT(run.out, Not(HasSubstr("nobody sees this")));
        EXPECT_THAT(run.out, HasSubstr("PASSED: 3 cases, 3 passed")) << folder;
        const std::string reopened = std::string(folder) == "reopens_stderr" ? "for the file\n" : "";
        EXPECT_EQ(read_text(directory.file("reopened.txt")), reopened);
    }
}

// The processes whose numbers stand in a file.
std::vector<int> processes_in(const std::string &path) {
    std::istringstream list(read_text(path));
    std::vector<int> ids;
    for (int id; list >> id;) ids.push_back(id);
    return ids;
}

bool is_gone(int id) {
    for (int i = 0; i < 1000 && kiv_test::process_exists(id); ++i) usleep(10'000);
    return !kiv_test::process_exists(id);
}

TEST(Attack, NothingSurvivesASupervisorThatIsKilled) {
    for (const auto &[folder, said, count] :
         {std::tuple{"grandchildren", "left three", 3u}, {"programs", "left two", 2u}}) {
        const TemporaryDirectory directory;
        const std::string ids = directory.file("ids");
        directory.write("ids", "");
        chmod(directory.path().c_str(), 0777);
        chmod(ids.c_str(), 0666);
        Process process("hostile", {folder, "-v"}, directory.path(), {{"SAMPLE_PIDS", ids}});
        ASSERT_TRUE(process.wait_for(said));
        process.signal_process(SIGKILL);
        process.finish();
        const std::vector<int> left = processes_in(ids);
        EXPECT_EQ(left.size(), count);
        for (const int id : left) EXPECT_TRUE(is_gone(id)) << folder << " " << id;
        EXPECT_TRUE(kiv_test::group_is_gone(process.id()));
    }
}

TEST(Attack, AWorkerThatBecameSomebodyElseDiesWithItsSupervisor) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become somebody else";
    const TemporaryDirectory directory;
    Process process("hostile", {"becomes_nobody", "-v"}, directory.path());
    ASSERT_TRUE(process.wait_for("somebody else"));
    process.signal_process(SIGKILL);
    process.finish();
    EXPECT_TRUE(kiv_test::group_is_gone(process.id()));
}

TEST(Attack, ACaseThatKillsItsParentEndsItselfOnly) {
    const Finished run = attack({"kills_its_parent", "last"});
    EXPECT_THAT(run.out, ContainsRegex("CRASHED +[0-9.]+ [mnu]?s  attack"));
    EXPECT_THAT(run.out, HasSubstr("FAILED: 6 cases, 4 passed, 1 crashed, 1 not run"));
}

TEST(Attack, ATestOfCTestPassesByTheRunsOwnSummaryOnly) {
    const TemporaryDirectory directory;
    const std::string script =
        "cd " + directory.path() +
        " && cmake -DPROGRAM=" SAMPLES
        "/kiv_sample_hostile -DARGUMENTS=--no-site '-DSELECTORS=lies;lies_in_a_line;last'"
        " -DPREFIX=t. -DWORKING_DIRECTORY=. -DTESTS=CTestTestfile.cmake -P " SCRIPTS
        "/KivDiscoverTestsScript.cmake >out 2>&1 && ctest >>out 2>&1";
    EXPECT_NE(system(script.c_str()), 0);
    const std::string out = read_text(directory.file("out"));
    EXPECT_THAT(out, ContainsRegex("t.lies [.]+[*]+Failed"));
    EXPECT_THAT(out, ContainsRegex("t.lies_in_a_line [.]+[*]+Failed"));
    EXPECT_THAT(out, ContainsRegex("t.last [.]+ +Passed"));
}

TEST(Attack, AFolderWithASemicolonInItsNameIsATestOfCTest) {
    const TemporaryDirectory directory;
    const std::string script = "cd " + directory.path() +
                               " && cmake -DPROGRAM=" SAMPLES
                               "/kiv_sample_hostile -DARGUMENTS=--no-site '-DSELECTORS=semi*;last'"
                               " -DPREFIX=t. -DWORKING_DIRECTORY=. -DTESTS=CTestTestfile.cmake -P " SCRIPTS
                               "/KivDiscoverTestsScript.cmake >out 2>&1 && ctest >>out 2>&1";
    EXPECT_EQ(system(script.c_str()), 0);
    EXPECT_THAT(read_text(directory.file("out")), ContainsRegex("t.semi;colon [.]+ +Passed"));
    EXPECT_THAT(read_text(directory.file("out")), HasSubstr("100% tests passed, 0 tests failed out of 2"));
}

}  // namespace
