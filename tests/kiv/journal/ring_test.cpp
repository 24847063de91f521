// The journal through the ring between two processes: nothing is lost, nothing changes, and damage is found.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <functional>

#include "kiv/journal/ring.h"
#include "kiv/journal/ring_journal.h"
#include "tests/kiv/lines.h"

namespace {

using kiv::CheckView;
using kiv::Printed;

using Lines = kiv_test::JournalLines;

void tell(kiv::Journal &journal) {
    journal.group_begins(5'000'000'000, 2);
    journal.fixture_begins(3, true, 10);
    journal.fixture_ended(20, {1, 0});
    journal.case_begins(7, 30);
    CheckView check;
    check.status = 0xa8b89200;
    check.expected = 1;
    check.line = -5;
    check.expected_name = "NAME";
    check.file = "file";
    journal.failed_check(check);
    check.is_condition = true;
    check.message = "message";
    check.status_text = "text";
    check.function = "function";
    journal.failed_check(check);
    journal.text(Printed::print, "");
    journal.text(Printed::print, "printed");
    journal.text(Printed::direct, "seven b");
    journal.text(Printed::print, std::string(200'000, 'x'));
    journal.reads_input("stdin of it", 4);
    journal.case_ended(40, {9, 2});
    journal.group_ended();
    journal.note("noted");
    journal.done();
}

constexpr kiv::RecordBounds kBounds{6'000'000'000, 10};

class RingTest : public testing::Test {
  protected:
    RingTest() {
        std::string error;
        if (!ring_.create(&error)) ADD_FAILURE() << error;
    }
    kiv::Ring ring_;
    bool damaged_ = false;
};

TEST_F(RingTest, EventsArriveAsTheyWereTold) {
    kiv::RingJournal journal(ring_);
    tell(journal);
    Lines there;
    kiv::replay_ring(ring_, there, kBounds, kiv::Ring::kSize, &damaged_);
    EXPECT_TRUE(there.done_);
    EXPECT_FALSE(damaged_);
    EXPECT_EQ(there.text_,
              "group 5000000000 2\nset-up 3 10\nfixture-end 20 1\ncase 7 30\n"
              "code 2830668288 1 -5 NAME|||file|\n"
              "condition 2830668288 1 -5 NAME|text|message|file|function\n"
              "print \nprint printed\ndirect seven b\nprint 65536\ndirect 65536\ndirect 65536\ndirect 3392\n"
              "stdin of it 4 0\ncase-end 40 2\ngroup-end 0 0\nnote noted\n");
}

TEST_F(RingTest, MoreThanTheRingHoldsGoesThroughBetweenProcesses) {
    constexpr int kPrints = 20000;
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
        ring_.become_writer();
        kiv::RingJournal journal(ring_);
        std::string text;
        for (int i = 0; i < kPrints; ++i) {
            text.assign(static_cast<size_t>(i % 3000), static_cast<char>('a' + i % 26));
            journal.text(Printed::print, text);
        }
        journal.done();
        _exit(0);
    }
    class Checker : public Lines {
      public:
        void text(Printed, std::string_view text) override {
            const std::string wanted(static_cast<size_t>(count_ % 3000),
                                     static_cast<char>('a' + count_ % 26));
            if (text != wanted) ++wrong_;
            ++count_;
        }
        int count_ = 0, wrong_ = 0;
    } checker;
    while (!checker.done_) {
        if (kiv::replay_ring(ring_, checker, kBounds, kiv::Ring::kSize, &damaged_) == 0)
            ring_.wait_readable(10'000'000);
    }
    waitpid(writer, nullptr, 0);
    EXPECT_EQ(checker.count_, kPrints);
    EXPECT_EQ(checker.wrong_, 0);
}

TEST_F(RingTest, QuestionsAreAnswered) {
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
        kiv::RingJournal journal(ring_);
        const bool first = journal.go_on(), second = journal.go_on();
        _exit(first && !second ? 0 : 1);
    }
    Lines there;
    while (there.questions_ < 2) kiv::replay_ring(ring_, there, kBounds, kiv::Ring::kSize, &damaged_);
    int status = -1;
    waitpid(writer, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(RingTest, DamageIsFound) {
    for (size_t place = 0; place < 48; ++place) {
        ring_.reset();
        damaged_ = false;
        kiv::RingJournal journal(ring_);
        journal.text(Printed::print, "some text");
        journal.case_ended(1, {});
        size_t size;
        const_cast<char *>(ring_.readable(&size))[place] ^= 0x5a;
        Lines there;
        kiv::replay_ring(ring_, there, kBounds, kiv::Ring::kSize,
                         &damaged_);  // neither a crash nor an endless loop
    }
    ring_.reset();
    kiv::RingJournal(ring_).case_ended(1, {});
    size_t size;
    memset(const_cast<char *>(ring_.readable(&size)), 0, 8);
    Lines there;
    kiv::replay_ring(ring_, there, kBounds, kiv::Ring::kSize, &damaged_);
    EXPECT_TRUE(damaged_);
}

TEST_F(RingTest, NumbersThatNoRunHasAreDamage) {
    const auto damaged = [&](auto tell_one) {
        ring_.reset();
        damaged_ = false;
        kiv::RingJournal journal(ring_);
        tell_one(journal);
        Lines there;
        kiv::replay_ring(ring_, there, {100, 10}, kiv::Ring::kSize, &damaged_);
        return damaged_;
    };
    EXPECT_FALSE(damaged([](kiv::Journal &journal) { journal.fixture_begins(9, true, 0); }));
    EXPECT_TRUE(damaged([](kiv::Journal &journal) { journal.fixture_begins(10, true, 0); }));
    EXPECT_FALSE(damaged([](kiv::Journal &journal) { journal.case_begins(99, 0); }));
    EXPECT_TRUE(damaged([](kiv::Journal &journal) { journal.case_begins(100, 0); }));
    EXPECT_FALSE(damaged([](kiv::Journal &journal) { journal.group_begins(98, 2); }));
    EXPECT_TRUE(damaged([](kiv::Journal &journal) { journal.group_begins(98, 3); }));
    EXPECT_TRUE(damaged([](kiv::Journal &journal) { journal.group_begins(100, 0); }));
}

TEST_F(RingTest, TextsThatRunOverTheirRecordAreDamage) {
    // A record's texts have their sizes right before them.
    struct {
        size_t place;
        std::function<void(kiv::Journal &)> tell;
    } const kCases[] = {
        {12, [](kiv::Journal &journal) { journal.text(Printed::print, "12345678"); }},
        {12, [](kiv::Journal &journal) { journal.reads_input("12345678", 1); }},
        {8, [](kiv::Journal &journal) { journal.note("12345678"); }},
        {32, [](kiv::Journal &journal) { journal.failed_check(CheckView()); }},
        {48, [](kiv::Journal &journal) { journal.failed_check(CheckView()); }},
    };
    for (const auto &[place, tell_one] : kCases) {
        for (const uint32_t wrong : {20u, 0xffffffffu}) {
            ring_.reset();
            damaged_ = false;
            kiv::RingJournal journal(ring_);
            tell_one(journal);
            journal.done();
            size_t size;
            memcpy(const_cast<char *>(ring_.readable(&size)) + place, &wrong, sizeof wrong);
            Lines there;
            kiv::replay_ring(ring_, there, kBounds, kiv::Ring::kSize, &damaged_);
            EXPECT_TRUE(damaged_) << place;
            EXPECT_EQ(there.text_, "");
        }
    }
}

TEST_F(RingTest, LongTextsOfChecksAndNotesAreCut) {
    kiv::RingJournal journal(ring_);
    const std::string text(200'000, 'x');
    CheckView check;
    for (const auto field : CheckView::kTexts) check.*field = text;
    journal.failed_check(check);
    journal.note(text);
    journal.reads_input(text, 1);
    class Sizes : public Lines {
      public:
        void failed_check(const CheckView &check) override {
            for (const auto field : CheckView::kTexts) {
                sizes_.push_back((check.*field).size());
                EXPECT_THAT(std::string(check.*field), testing::EndsWith("xxx... [cut: 200000 bytes]"));
            }
        }
        void note(std::string_view text) override {
            sizes_.push_back(text.size());
            EXPECT_THAT(std::string(text), testing::EndsWith("xxx... [cut: 200000 bytes]"));
        }
        void reads_input(std::string_view source, uint32_t) override { sizes_.push_back(source.size()); }
        std::vector<size_t> sizes_;
    } there;
    kiv::replay_ring(ring_, there, kBounds, kiv::Ring::kSize, &damaged_);
    EXPECT_THAT(there.sizes_, testing::ElementsAre(4096, 4096, 4096, 4096, 4096, 65536, 65536));
}

TEST_F(RingTest, NextWorkerFindsNothingOfTheLast) {
    const auto asks = [&](int answers) {
        ring_.reset();
        const pid_t writer = fork();
        if (writer == 0) _exit(kiv::RingJournal(ring_).go_on());
        usleep(20'000);  // it waits for an answer of its own
        Lines there;
        there.answers_ = answers;
        while (there.questions_ < 1) kiv::replay_ring(ring_, there, kBounds, kiv::Ring::kSize, &damaged_);
        int status = -1;
        waitpid(writer, &status, 0);
        return WEXITSTATUS(status);
    };
    EXPECT_EQ(asks(2), 1);
    EXPECT_EQ(asks(0), 0);
    ring_.control().worker.counters = {5, 6};
    ring_.reset();
    EXPECT_EQ(ring_.control().worker.counters.checks, 0u);
    EXPECT_EQ(ring_.control().worker.counters.failed, 0u);
}

TEST_F(RingTest, WaitEndsWithARecordAnInterruptOrItsTime) {
    const auto milliseconds = [](auto wait) {
        const auto begin = std::chrono::steady_clock::now();
        wait();
        return (std::chrono::steady_clock::now() - begin) / std::chrono::milliseconds(1);
    };
    EXPECT_GE(milliseconds([&] { ring_.wait_readable(30'000'000); }), 30);
    kiv::RingJournal(ring_).done();
    EXPECT_LT(milliseconds([&] { ring_.wait_readable(60'000'000'000); }), 30'000);
    Lines there;
    kiv::replay_ring(ring_, there, kBounds, kiv::Ring::kSize, &damaged_);
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
        usleep(20'000);
        kiv::RingJournal(ring_).done();
        _exit(0);
    }
    EXPECT_LT(milliseconds([&] { ring_.wait_readable(60'000'000'000); }), 30'000);
    waitpid(writer, nullptr, 0);
}

std::atomic<int> handler_prints;
kiv::RingJournal *journal_of_the_handler;

void print_from_a_handler(int) {
    ++handler_prints;
    journal_of_the_handler->text(Printed::print, "from a handler");
}

TEST_F(RingTest, HandlerThatPrintsWhileItsThreadIsAtItSpoilsNothing) {
    constexpr int kPrints = 200'000;
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
        kiv::RingJournal journal(ring_);
        journal_of_the_handler = &journal;
        signal(SIGALRM, print_from_a_handler);
        const itimerval often{{0, 50}, {0, 50}};
        setitimer(ITIMER_REAL, &often, nullptr);
        for (int i = 0; i < kPrints; ++i) journal.text(Printed::direct, "12345678");
        signal(SIGALRM, SIG_IGN);
        journal.done();
        _exit(handler_prints > 100 ? 0 : 1);
    }
    class Counter : public Lines {
      public:
        void text(Printed kind, std::string_view text) override {
            if (text != (kind == Printed::print ? "from a handler" : "12345678")) ++wrong_;
            if (kind == Printed::direct) ++count_;
        }
        int count_ = 0, wrong_ = 0;
    } there;
    while (!there.done_ && !damaged_)
        if (kiv::replay_ring(ring_, there, kBounds, kiv::Ring::kSize, &damaged_) == 0)
            ring_.wait_readable(10'000'000);
    kill(writer, damaged_ ? SIGKILL : 0);
    int status = -1;
    waitpid(writer, &status, 0);
    EXPECT_FALSE(damaged_);
    EXPECT_EQ(status, 0) << "hardly a handler ran";
    EXPECT_EQ(there.count_, kPrints);
    EXPECT_EQ(there.wrong_, 0);
}

}  // namespace
