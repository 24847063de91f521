// The calls of a case: what they return, count and tell, within a run and outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kiv.h"
#include "kiv/worker/live.h"
#include "tests/kiv/lines.h"
#include "tests/kiv/watcher.h"

namespace {

using kiv_test::Watcher;

int check_status(u32 status, u32 expected = 0) {
    return kiv_jyx_check_cerrno_(status, expected, "NAME", "file", "function", 5);
}

int check_condition(int condition) {
    return kiv_check__(0, condition, "text", "file", "function", 6,
                       "\xff"
                       "%d: message",
                       6);
}

class ChecksTest : public testing::Test {
  protected:
    ChecksTest() { kiv::go_live(&journal_, &counters_); }
    ~ChecksTest() override { kiv::go_live(nullptr, nullptr); }

    Watcher &watcher_ = Watcher::fresh();
    kiv_test::JournalLines journal_;
    kiv::Counters counters_{};
};

TEST_F(ChecksTest, StatusCheckReturnsWhetherItPassed) {
    EXPECT_EQ(check_status(3, 3), 1);
    EXPECT_EQ(check_status(3, 4), 0);
    EXPECT_EQ(counters_.checks, 2u);
    EXPECT_EQ(counters_.failed, 1u);
    EXPECT_EQ(journal_.text_, "code 3 4 5 NAME|||file|function\n");
}

TEST_F(ChecksTest, FailedCheckKnowsItsNumber) {
    check_status(0);
    check_condition(0);
    check_status(0);
    check_status(1);
    EXPECT_THAT(journal_.numbers_, testing::ElementsAre(2, 4));
    EXPECT_EQ(kiv::tally().checks, 4u);
    EXPECT_EQ(kiv::tally().failed, 2u);
}

TEST_F(ChecksTest, ConditionIsReturnedAsItCame) {
    EXPECT_EQ(check_condition(22), 22);
    EXPECT_EQ(check_condition(0), 0);
    EXPECT_EQ(counters_.checks, 2u);
    EXPECT_EQ(counters_.failed, 1u);
    EXPECT_EQ(journal_.text_, "condition 0 0 6 text||6: message|file|function\n");
}

TEST_F(ChecksTest, FormatWithoutItsMarkAndMissingTextsAreTaken) {
    kiv_check__(0, 0, nullptr, nullptr, nullptr, 1, "plain");
    kiv_check__(0, 0, nullptr, nullptr, nullptr, 2, nullptr);
    kiv_jyx_check_cerrno_(1, 0, nullptr, nullptr, nullptr, 3);
    EXPECT_EQ(journal_.text_, "condition 0 0 1 ||plain||\ncondition 0 0 2 ||||\ncode 1 0 3 ||||\n");
}

TEST_F(ChecksTest, FirstHundredFailuresAreToldAndAllAreCounted) {
    for (int i = 0; i < 150; ++i) check_status(7);
    EXPECT_EQ(counters_.failed, 150u);
    EXPECT_EQ(std::count(journal_.text_.begin(), journal_.text_.end(), '\n'), 100);
}

TEST_F(ChecksTest, ObserversSeeFailuresBeyondTheHundredToo) {
    watcher_.interests_ = Watcher::kChecks;
    kiv::heed_observers();
    for (int i = 0; i < 150; ++i) check_status(7);
    EXPECT_EQ(std::count(watcher_.text_.begin(), watcher_.text_.end(), '\n'), 150);
}

// Subscribed behind the watcher; knows every status.
class KnowsAll : public kiv::Observer {
  public:
    static KnowsAll &subscribed() {
        static KnowsAll *const observer = [] {
            Watcher::fresh();
            KnowsAll *const made = new KnowsAll;
            kiv::subscribe(made);
            return made;
        }();
        return *observer;
    }
    const char *status_text(uint32_t) override { return asked_ ? "any" : nullptr; }
    bool asked_ = false;
};

TEST_F(ChecksTest, FirstObserverWhoKnowsAFailedStatusNamesIt) {
    KnowsAll::subscribed().asked_ = true;
    watcher_.known_status_ = 7;
    watcher_.interests_ = Watcher::kChecks;
    kiv::heed_observers();
    check_status(7);
    check_status(8);
    check_status(7, 7);
    check_condition(0);
    KnowsAll::subscribed().asked_ = false;
    EXPECT_EQ(journal_.text_,
              "code 7 0 5 NAME|known||file|function\n"
              "code 8 0 5 NAME|any||file|function\n"
              "condition 0 0 6 text||6: message|file|function\n");
    EXPECT_EQ(watcher_.text_,
              "failed NAME|known||5\nfailed NAME|any||5\npassed NAME|||5\nfailed text||6: message|6\n");
}

TEST_F(ChecksTest, NobodyIsToldOutsideOfARun) {
    watcher_.interests_ = Watcher::kChecks | Watcher::kPrints;
    kiv::heed_observers();
    kiv::go_live(nullptr, nullptr);
    EXPECT_EQ(check_status(7), 0);
    EXPECT_EQ(check_status(0), 1);
    EXPECT_EQ(check_condition(9), 9);
    testing::internal::CaptureStdout();
    EXPECT_EQ(kiv_printf("%s\n", "to standard output"), 19);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "to standard output\n");
    EXPECT_EQ(journal_.text_, "");
    EXPECT_EQ(watcher_.text_, "");
    EXPECT_EQ(counters_.checks, 0u);
}

TEST_F(ChecksTest, PrintsOfAnyLengthArriveWhole) {
    uint64_t sum = 0;
    for (const size_t size : {1u, 1022u, 1023u, 1024u, 1025u, 5000u}) {
        EXPECT_EQ(kiv_printf("%s", std::string(size, 'x').c_str()), static_cast<int>(size));
        sum += size;
    }
    EXPECT_EQ(journal_.bytes_, sum);
    const std::string before = journal_.text_;
    EXPECT_EQ(kiv_printf("%s", ""), 0);  // says nothing
    EXPECT_EQ(journal_.text_, before);
}

TEST_F(ChecksTest, ChildOfACaseCountsNothingAndTakesNoNotes) {
    const auto counters = static_cast<kiv::Counters *>(
        mmap(nullptr, sizeof(kiv::Counters), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    kiv::go_live(&journal_, counters);
    watcher_.interests_ = Watcher::kChecks;
    kiv::heed_observers();
    kiv::take_notes(&journal_);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        check_status(7);
        check_status(0);
        check_condition(0);
        kiv::add_note("of a child");
        _exit(journal_.text_.empty() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    kiv::take_notes(nullptr);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(counters->checks, 0u);
    EXPECT_EQ(counters->failed, 0u);
    char text[1000];
    const ssize_t got = read(ends[0], text, sizeof text);
    EXPECT_EQ(std::string(text, static_cast<size_t>(got)),
              "FAIL: a check failed in a child process: file, function, line 5\n"
              "FAIL: a check failed in a child process: file, function, line 6\n");
    close(ends[0]);
    close(ends[1]);
    munmap(counters, sizeof *counters);
}

}  // namespace
