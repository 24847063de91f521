// The journal through the ring between two processes: nothing is lost, nothing changes, and damage is found.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "kiv/journal/ring.h"
#include "kiv/journal/ring_journal.h"

namespace {

using kiv::Counters;
using kiv::CheckView;
using kiv::Printed;

// Writes every event as a line.
class Lines : public kiv::Journal {
  public:
    void group_begins(uint64_t position, uint32_t count) override { add("group", position, count); }
    void group_ended() override { add("group-end", 0, 0); }
    void fixture_begins(uint32_t folder, bool set_up, int64_t time) override {
        add(set_up ? "set-up" : "tear-down", folder, static_cast<uint64_t>(time));
    }
    void fixture_ended(int64_t time, const Counters &counters) override {
        add("fixture-end", static_cast<uint64_t>(time), counters.checks);
    }
    void case_begins(uint64_t position, int64_t time) override {
        add("case", position, static_cast<uint64_t>(time));
    }
    void case_ended(int64_t time, const Counters &counters) override {
        add("case-end", static_cast<uint64_t>(time), counters.failed);
    }
    void failed_check(const CheckView &check) override {
        text_ += std::string(check.is_condition ? "condition " : "code ") + std::to_string(check.status) +
                 " " + std::to_string(check.expected) + " " + std::to_string(check.line) + " " +
                 std::string(check.expected_name) + "|" + std::string(check.status_text) + "|" +
                 std::string(check.message) + "|" + std::string(check.file) + "|" +
                 std::string(check.function) + "\n";
    }
    void text(Printed kind, std::string_view text) override {
        text_ += kind == Printed::print ? "print " : "direct ";
        if (text.size() > 100)
            text_ += std::to_string(text.size());
        else
            text_ += text;
        text_ += "\n";
        bytes_ += text.size();
    }
    void reads_input(std::string_view source, uint32_t lines) override { add(std::string(source), lines, 0); }
    void note(std::string_view text) override { text_ += "note " + std::string(text) + "\n"; }
    void done() override { done_ = true; }
    bool go_on() override { return ++questions_ < 2; }

    std::string text_;
    uint64_t bytes_ = 0;
    bool done_ = false;
    int questions_ = 0;

  private:
    void add(const std::string &what, uint64_t one, uint64_t two) {
        text_ += what + " " + std::to_string(one) + " " + std::to_string(two) + "\n";
    }
};

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
        kiv::replay_ring(ring_, there, kBounds, kiv::Ring::kSize, &damaged_);  // neither a crash nor an endless loop
    }
    ring_.reset();
    kiv::RingJournal(ring_).case_ended(1, {});
    size_t size;
    memset(const_cast<char *>(ring_.readable(&size)), 0, 8);
    Lines there;
    kiv::replay_ring(ring_, there, kBounds, kiv::Ring::kSize, &damaged_);
    EXPECT_TRUE(damaged_);
}

}  // namespace
