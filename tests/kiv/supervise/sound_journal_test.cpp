// What a worker can have told, and what it cannot.
#include "kiv/supervise/sound_journal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "kiv/files.h"
#include "tests/kiv/lines.h"
#include "tests/kiv/suite.h"

namespace {

using kiv::Counters;

class SoundJournalTest : public testing::Test {
  protected:
    SoundJournalTest() {
        kiv_folder *outer = suite_.folder("outer");
        kiv_add_fixture(outer, kiv_test::does_nothing, kiv_test::does_nothing);
        for (const char *name : {"a", "b", "c"}) suite_.test(outer, name);
        suite_.test(suite_.folder("other"), "d");
        schedule_.emplace(suite_.context(), std::vector<uint32_t>{0, 1, 2, 3}, 1, false, 0);
        there_.timed_ = false;
        sound_.emplace(*schedule_, there_);
        restart();
    }
    void restart(uint64_t from = 0) {
        there_.text_.clear();
        sound_->restart(from);
        time_ = kiv::now_ns();
    }
    int64_t next() { return time_ += 10; }
    // Up to the middle of case b.
    void tell_some() {
        restart();
        sound_->group_begins(0, 3);
        sound_->fixture_begins(0, true, next());
        sound_->fixture_ended(next(), {});
        sound_->case_begins(0, next());
        sound_->case_ended(next(), {2, 0});
        sound_->case_begins(1, next());
        sound_->failed_check({});
    }

    kiv_test::Suite suite_;
    std::optional<kiv::Schedule> schedule_;
    kiv_test::JournalLines there_;
    std::optional<kiv::SoundJournal> sound_;
    int64_t time_ = 0;
};

TEST_F(SoundJournalTest, WholeRunIsPassedOn) {
    tell_some();
    sound_->case_ended(next(), {1, 1});
    sound_->case_begins(2, next());
    sound_->case_ended(next(), {});
    sound_->fixture_begins(0, false, next());
    sound_->fixture_ended(next(), {});
    sound_->group_ended();
    sound_->group_begins(3, 1);
    sound_->case_begins(3, next());
    sound_->text(kiv::Printed::print, "printed");
    sound_->case_ended(next(), {});
    sound_->group_ended();
    sound_->done();
    sound_->text(kiv::Printed::direct, "of a thread that is left");
    sound_->note("noted");
    EXPECT_TRUE(sound_->is_sound());
    EXPECT_TRUE(there_.done_);
    EXPECT_EQ(there_.text_,
              "group 0 3\nset-up 0 0\nfixture-end 0 0\ncase 0 0\ncase-end 0 0\ncase 1 0\ncode 0 0 0 ||||\n"
              "case-end 0 1\ncase 2 0\ncase-end 0 0\ntear-down 0 0\nfixture-end 0 0\ngroup-end 0 0\n"
              "group 3 1\ncase 3 0\nprint printed\ncase-end 0 0\ngroup-end 0 0\n"
              "direct of a thread that is left\nnote noted\n");
}

TEST_F(SoundJournalTest, WhatNoWorkerTellsEndsIt) {
    const std::pair<const char *, std::function<void()>> kEvents[] = {
        {"a case in a case", [&] { sound_->case_begins(2, next()); }},
        {"a fixture in a case", [&] { sound_->fixture_begins(0, false, next()); }},
        {"the end of a fixture", [&] { sound_->fixture_ended(next(), {}); }},
        {"a group in a case", [&] { sound_->group_begins(3, 1); }},
        {"the end of a group in a case", [&] { sound_->group_ended(); }},
        {"the end in a case", [&] { sound_->done(); }},
        {"a question in a case", [&] { sound_->go_on(); }},
        {"a time before the last",
         [&] {
             sound_->case_ended(time_ - 100, {1, 1});
         }},
        {"a time to come",
         [&] {
             sound_->case_ended(kiv::now_ns() + 3'600'000'000'000, {1, 1});
         }},
        {"more failed checks than checks",
         [&] {
             sound_->case_ended(next(), {1, 2});
         }},
        {"more checks than there was time for",
         [&] {
             sound_->case_ended(next(), {1'000'000'000'000, 1});
         }},
        {"no print", [&] { sound_->text(static_cast<kiv::Printed>(7), "x"); }},
    };
    for (const auto &[what, tell] : kEvents) {
        tell_some();
        const std::string before = there_.text_;
        tell();
        EXPECT_FALSE(sound_->is_sound()) << what;
        sound_->text(kiv::Printed::print, "no more");
        EXPECT_EQ(there_.text_, before) << what;
    }
}

TEST_F(SoundJournalTest, CasesAndGroupsComeInTheirOrderOnce) {
    const std::pair<const char *, std::function<void()>> kEvents[] = {
        {"an earlier case", [&] { sound_->case_begins(0, next()); }},
        {"a later case", [&] { sound_->case_begins(2, next()); }},
        {"another group", [&] { sound_->group_begins(3, 1); }},
        {"a group of another size", [&] { sound_->group_begins(1, 3); }},
        {"a set-up again", [&] { sound_->fixture_begins(0, true, next()); }},
        {"a folder that there is none of", [&] { sound_->fixture_begins(9, true, next()); }},
        {"the end before the tear-down", [&] { sound_->done(); }},
    };
    for (const auto &[what, tell] : kEvents) {
        restart();
        sound_->group_begins(0, 3);
        sound_->fixture_begins(0, true, next());
        sound_->fixture_ended(next(), {});
        sound_->case_begins(0, next());
        sound_->case_ended(next(), {});
        ASSERT_TRUE(sound_->is_sound());
        tell();
        EXPECT_FALSE(sound_->is_sound()) << what;
    }
    restart(2);  // a worker that goes on after another one
    sound_->group_begins(2, 1);
    sound_->case_begins(2, next());
    EXPECT_TRUE(sound_->is_sound());
    sound_->case_ended(next(), {});
    sound_->case_begins(3, next());  // of the next group
    EXPECT_FALSE(sound_->is_sound());
}

TEST_F(SoundJournalTest, CountsAreBelievedAsFarAsTheyFitWhatWasTold) {
    tell_some();
    const auto counts = [&](const Counters &counters) {
        const Counters believed = sound_->believable(counters, time_ + 10'000);
        return std::make_pair(believed.checks, believed.failed);
    };
    EXPECT_EQ(counts({5, 2}), std::make_pair(uint64_t{5}, uint64_t{2}));
    EXPECT_EQ(counts({5, 0}), std::make_pair(uint64_t{5}, uint64_t{1}));  // a failed check was told
    EXPECT_EQ(counts({0, 0}), std::make_pair(uint64_t{1}, uint64_t{1}));
    EXPECT_EQ(counts({1, 7}), std::make_pair(uint64_t{1}, uint64_t{1}));
    EXPECT_EQ(counts({uint64_t{1} << 60, 3}), std::make_pair(uint64_t{1}, uint64_t{1}));
}

}  // namespace
