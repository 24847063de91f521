// What a history answers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "kivctl/history/answers.h"
#include "tests/kivctl/history/runs.h"

namespace kivctl::history::test {
namespace {

using kiv::Verdict;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A history with what is asked of it, and the case f/x.
struct Read {
    explicit Read(const Kept &kept, const Filter &filter = {})
        : database(Database::to_read(kept.path(), {})), history(database, filter) {
        x = history.select({"f/x"}).at(0);
    }
    Database database;
    History history;
    uint32_t x;

    std::vector<Standing> standings_of_x(const std::vector<std::string> &by) const {
        std::vector<Standing> found = standings(history, history.groups(by));
        std::erase_if(found, [&](const Standing &one) { return one.subject != x; });
        return found;
    }
    std::string day(size_t run) const {
        return run == kNoRun ? "never" : time_text(history.runs[run].started).substr(5, 5);
    }
};

TEST(Standings, TellSinceWhenACaseFails) {
    Kept kept;
    add_days(kept, ".F..,-FFF,-");
    const Read read(kept);
    const auto found = read.standings_of_x({"card"});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_TRUE(found[0].failing) << "a run without it, or in which it did not run, says nothing";
    EXPECT_EQ(read.day(found[0].first_bad), "01-07");
    EXPECT_EQ(read.day(found[0].last_good), "01-04");
    EXPECT_EQ(read.day(found[0].last), "01-09");
    EXPECT_EQ(found[0].in_a_row, 3u);
    EXPECT_EQ(found[0].bad, 4u);
    EXPECT_EQ(found[0].ran, 7u);
}

TEST(Standings, EachCardHasItsOwn) {
    Kept kept;
    for (int day = 0; day < 6; ++day) {
        add_days(kept, ".", {{"card", "good"}}, day);
        add_days(kept, day < 3 ? "." : "F", {{"card", "bad"}, {"release", day < 3 ? "1" : "2"}}, day);
    }
    const Read read(kept);
    const auto found = read.standings_of_x({"card"});
    ASSERT_EQ(found.size(), 2u);
    EXPECT_FALSE(found[0].failing);
    EXPECT_EQ(found[0].bad, 0u);
    EXPECT_TRUE(found[1].failing);
    EXPECT_EQ(found[1].in_a_row, 3u);
    EXPECT_EQ(read.day(found[1].first_bad), "01-04");
    EXPECT_EQ(read.history.runs[found[1].first_bad].label("release"), "2");
    EXPECT_EQ(read.history.runs[found[1].last_good].label("release"), "1");
}

TEST(Standings, RunsCountInTheOrderInWhichTheyBegan) {
    Kept kept;
    add_days(kept, "FF", {}, 5);
    add_days(kept, "..", {}, 0);
    const auto found = Read(kept).standings_of_x({});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_TRUE(found[0].failing);
    EXPECT_EQ(found[0].in_a_row, 2u);
}

TEST(Filters, KeepTheRunsThatAreAskedFor) {
    Kept kept;
    add_days(kept, "....", {{"card", "a"}}, 0);
    add_days(kept, "F", {{"card", "b"}}, 2);
    const auto days = [&](const Filter &filter) {
        const Read read(kept, filter);
        std::vector<std::string> days;
        for (size_t r = 0; r < read.history.runs.size(); ++r) days.push_back(read.day(r));
        return days;
    };
    EXPECT_EQ(days({}).size(), 5u);
    EXPECT_THAT(days({{{"card", "b"}}, {}, 0}), ElementsAre("01-03"));
    EXPECT_THAT(days({{}, {}, 2}), ElementsAre("01-03", "01-04"));
    int64_t since = 0;
    ASSERT_TRUE(parse_since("2026-01-03", 0, &since));
    EXPECT_THAT(days({{{"card", "a"}}, since, 0}), ElementsAre("01-03", "01-04"));
}

TEST(Filters, TimesAreDaysOrPointsInTimeOrAgo) {
    int64_t since = 0;
    constexpr int64_t kSecond = 1000000000, kNow = 1767240000 * kSecond;
    EXPECT_TRUE(parse_since("2d", kNow, &since));
    EXPECT_EQ(since, kNow - 2 * 86400 * kSecond);
    EXPECT_TRUE(parse_since("12h", kNow, &since));
    EXPECT_EQ(since, kNow - 12 * 3600 * kSecond);
    EXPECT_TRUE(parse_since("2026-01-01T04:00:00Z", 0, &since));
    EXPECT_EQ(since, kNow);
    for (const char *const bad : {"", "d", "-1d", "2x", "99999999d", "1.5d", "yesterday", "2026-13-01"})
        EXPECT_FALSE(parse_since(bad, kNow, &since)) << bad;
}

TEST(Flaky, IsWhatChangesWhileTheLabelsDoNot) {
    Kept kept;
    add_days(kept, ".F.F.F..", {{"release", "1"}});
    const Read read(kept);
    const auto found = flaky(read.history, read.history.groups({}), 2);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].subject, read.x);
    EXPECT_EQ(found[0].changes, 6u);
    EXPECT_EQ(found[0].pairs, 7u);
    EXPECT_EQ(read.day(found[0].last), "01-07");
    EXPECT_NEAR(found[0].score, 0.487, 0.001);
    EXPECT_THAT(flaky(read.history, read.history.groups({}), 7), IsEmpty());
}

TEST(Flaky, AChangeWithTheLabelsIsNone) {
    Kept kept;
    const std::string letters = ".F.F.F";
    for (int day = 0; day < 6; ++day)
        add_days(kept, letters.substr(static_cast<size_t>(day), 1),
                 {{"commit", std::to_string(day)}, {"card", "a"}}, day);
    const Read read(kept);
    EXPECT_THAT(flaky(read.history, read.history.groups({}), 1), IsEmpty());
    const auto found = flaky(read.history, read.history.groups({"card"}), 1);
    ASSERT_EQ(found.size(), 1u) << "unless only the card counts";
    EXPECT_EQ(found[0].changes, 5u);
}

TEST(Flaky, CardsTakingTurnsAreNotFlaky) {
    Kept kept;
    for (int day = 0; day < 10; ++day) {
        add_days(kept, ".", {{"card", "good"}}, day);
        add_days(kept, "F", {{"card", "bad"}}, day);
    }
    const Read read(kept);
    EXPECT_THAT(flaky(read.history, read.history.groups({}), 1), IsEmpty());
}

TEST(Flaky, CircumstancesAreNoLabels) {
    Kept kept;
    const std::string letters = ".F.F";
    for (int day = 0; day < 4; ++day)
        add_days(kept, letters.substr(static_cast<size_t>(day), 1),
                 {{"host", std::to_string(day)},
                  {"pipeline", std::to_string(day)},
                  {"job", std::to_string(day)},
                  {"url", std::to_string(day)}},
                 day);
    const Read read(kept);
    EXPECT_EQ(flaky(read.history, read.history.groups({}), 1).size(), 1u);
}

TEST(Flaky, PassesOfOneRunAreRepeats) {
    Kept kept;
    kept.add(run_of(0, {{"f", "x"}, {"f", "x", Verdict::failed}, {"f", "x"}, {"f", "y"}}));
    const Read read(kept);
    const auto found = flaky(read.history, read.history.groups({}), 1);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].changes, 2u);
    EXPECT_EQ(found[0].pairs, 2u);
}

TEST(Flaky, ManyRepeatsMakeASureScore) {
    EXPECT_EQ(likely_share(0, 0), 0);
    EXPECT_LT(likely_share(0, 100), 1e-9);
    EXPECT_LT(likely_share(1, 2), likely_share(10, 20));
    EXPECT_LT(likely_share(10, 20), likely_share(500, 1000));
    EXPECT_NEAR(likely_share(500, 1000), 0.469, 0.001);
}

TEST(New, FailsNowAndNeverBefore) {
    Kept kept;
    add_days(kept, "....F", {}, 0);
    Read read(kept);
    auto found = fresh(read.history, read.history.groups({"card"}));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].subject, read.x);
    EXPECT_EQ(found[0].ran_before, 4u);
    EXPECT_EQ(read.day(found[0].run), "01-05");
    add_days(kept, "F", {}, 5);
    const Read later(kept);
    EXPECT_THAT(fresh(later.history, later.history.groups({"card"})), IsEmpty())
        << "it failed the night before";
}

TEST(New, WhatFailedOnceOnAnyCardIsNotNew) {
    Kept kept;
    add_days(kept, ".F.", {{"card", "a"}}, 0);
    add_days(kept, "..F", {{"card", "b"}}, 0);
    const Read read(kept);
    EXPECT_THAT(fresh(read.history, read.history.groups({"card"})), IsEmpty());
}

TEST(New, AllCardsOfANightAreNow) {
    Kept kept;
    for (const char *const card : {"a", "b", "c"}) add_days(kept, "...F", {{"card", card}});
    const Read read(kept);
    EXPECT_EQ(fresh(read.history, read.history.groups({"card"})).size(), 1u);
}

std::vector<double> noisy(size_t count, double level, uint32_t seed) {
    // A tenth of the numbers is far out, as on a machine that is also used for something else.
    std::mt19937 engine(seed);
    std::vector<double> numbers;
    for (size_t i = 0; i < count; ++i) {
        const double u = static_cast<double>(engine()) / 4294967296.0,
                     v = static_cast<double>(engine()) / 4294967296.0;
        numbers.push_back(level * (1 + 0.05 * (u + v - 1)) * (engine() % 10 == 0 ? 3 : 1));
    }
    return numbers;
}

TEST(Changes, AStepIsFoundWhereItIs) {
    for (const size_t after : {8u, 40u, 192u}) {
        std::vector<double> numbers = noisy(200 - after, 1, 1);
        const auto more = noisy(after, 1.3, 2);
        numbers.insert(numbers.end(), more.begin(), more.end());
        const auto change = last_change(numbers);
        ASSERT_TRUE(change.has_value()) << after;
        EXPECT_NEAR(static_cast<double>(change->at), static_cast<double>(200 - after), 1) << after;
        EXPECT_NEAR(change->before, 1, 0.03);
        EXPECT_NEAR(change->after, 1.3, 0.08);
    }
}

TEST(Changes, NoiseIsNone) {
    int found = 0;
    for (uint32_t seed = 0; seed < 240; ++seed)
        found += last_change(noisy(200, 1, 100 + seed)).has_value() ? 1 : 0;
    EXPECT_LE(found, 1) << "of 240 cases that did not change";
}

TEST(Changes, FewRunsAreNone) {
    std::vector<double> numbers(20, 1.0);
    for (size_t i = 16; i < 20; ++i) numbers[i] = 2;
    EXPECT_FALSE(last_change(numbers).has_value());
    numbers.push_back(2);
    EXPECT_TRUE(last_change(numbers).has_value());
    EXPECT_FALSE(last_change(std::vector<double>{1, 1, 1, 2, 2, 2, 2, 2, 2}).has_value());
    EXPECT_FALSE(last_change(std::vector<double>{}).has_value());
}

TEST(Changes, TheLastOfSeveralCounts) {
    std::vector<double> numbers;
    for (const double level : {1.0, 2.0, 1.5}) {
        const auto more = noisy(50, level, static_cast<uint32_t>(level * 10));
        numbers.insert(numbers.end(), more.begin(), more.end());
    }
    const auto change = last_change(numbers);
    ASSERT_TRUE(change.has_value());
    EXPECT_NEAR(static_cast<double>(change->at), 100, 1);
    EXPECT_NEAR(change->before, 2, 0.1);
    EXPECT_NEAR(change->after, 1.5, 0.1);
}

void add_durations(Kept &kept, const std::vector<double> &milliseconds, const Labels &labels = {}) {
    Database database = kept.open();
    Store store(database);
    for (size_t i = 0; i < milliseconds.size(); ++i)
        store.add(run_of(static_cast<int>(i), {{"f", "x", Verdict::passed, milliseconds[i]}, {"f", "y"}}), {},
                  labels);
}

TEST(Slower, TellsSinceWhich) {
    Kept kept;
    std::vector<double> times = noisy(40, 20, 3);
    const auto more = noisy(20, 30, 4);
    times.insert(times.end(), more.begin(), more.end());
    add_durations(kept, times);
    const Read read(kept);
    const auto found = slower(read.history, read.history.groups({"card"}), {});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].subject, read.x);
    EXPECT_EQ(read.day(found[0].since), "02-10");
    EXPECT_EQ(read.day(found[0].last_before), "02-09");
    EXPECT_NEAR(found[0].before, 0.020, 0.001);
    EXPECT_NEAR(found[0].after, 0.030, 0.002);
    EXPECT_EQ(found[0].runs_before, 40u);
    EXPECT_EQ(found[0].runs_after, 20u);
    EXPECT_THAT(slower(read.history, read.history.groups({"card"}), {.least_seconds = 0.05}), IsEmpty());
    EXPECT_THAT(slower(read.history, read.history.groups({"card"}), {.least_share = 0.6}), IsEmpty());
    EXPECT_THAT(slower(read.history, read.history.groups({"card"}), {.runs = 15}), IsEmpty())
        << "all since then";
}

TEST(Slower, QuickerAgainIsNotSlower) {
    Kept kept;
    std::vector<double> times(10, 20);
    times.insert(times.end(), 10, 40);
    times.insert(times.end(), 10, 20);
    add_durations(kept, times);
    const Read read(kept);
    EXPECT_THAT(slower(read.history, read.history.groups({"card"}), {}), IsEmpty());
}

TEST(Slower, AnotherMachineIsNoChange) {
    Kept kept;
    add_durations(kept, std::vector<double>(10, 20), {{"host", "quick"}});
    add_durations(kept, std::vector<double>(10, 60), {{"host", "slow"}});
    const Read read(kept);
    EXPECT_THAT(slower(read.history, read.history.groups({"card", "host", "site"}), {}), IsEmpty());
}

TEST(Compare, TellsWhatDiffersBetweenTwoReleases) {
    Kept kept;
    const Labels one = {{"release", "1"}}, two = {{"release", "2"}};
    for (int day = 0; day < 20; ++day)
        kept.add(run_of(day, {{"f", "x", day % 10 == 0 ? Verdict::failed : Verdict::passed},
                              {"f", "heals", day % 2 == 0 ? Verdict::failed : Verdict::passed},
                              {"f", "slow", Verdict::passed, 20},
                              {"f", "gone"},
                              {"f", "same", day % 3 == 0 ? Verdict::failed : Verdict::passed}}),
                 one);
    for (int day = 20; day < 40; ++day)
        kept.add(run_of(day, {{"f", "x", day % 10 != 0 ? Verdict::failed : Verdict::passed},
                              {"f", "heals"},
                              {"f", "slow", Verdict::passed, 30},
                              {"f", "breaks", Verdict::crashed},
                              {"f", "same", day % 3 == 0 ? Verdict::failed : Verdict::passed}}),
                 two);
    const Read read(kept);
    std::vector<std::string> told;
    for (const Difference &one_of : differences(read.history, one, two, {}))
        told.push_back(read.history.subjects[one_of.subject].name + " " +
                       std::to_string(static_cast<int>(one_of.kind)));
    using Kind = Difference::Kind;
    const auto line = [](const char *name, Kind kind) {
        return name + std::string(" ") + std::to_string(static_cast<int>(kind));
    };
    EXPECT_THAT(told, ElementsAre(line("breaks", Kind::only_b_fails), line("heals", Kind::only_a_fails),
                                  line("x", Kind::fails_more), line("slow", Kind::slower),
                                  line("gone", Kind::only_in_a)));
}

}  // namespace
}  // namespace kivctl::history::test
