// Times and durations as text.
#include "kiv/reports/time.h"

#include <gtest/gtest.h>

#include "tests/kiv/reports/report_test.h"

namespace kiv::reports {
namespace {

using namespace std::chrono_literals;

using kiv::test::appended;

TEST(Numbers, SecondsKeepEveryNanosecond) {
    const auto text = [](std::chrono::nanoseconds time) {
        return appended([&](std::string &to) { append_seconds(to, time); });
    };
    EXPECT_EQ(text(0ns), "0");
    EXPECT_EQ(text(1ns), "0.000000001");
    EXPECT_EQ(text(1500ms), "1.5");
    EXPECT_EQ(text(12s), "12");
    EXPECT_EQ(text(-20ms), "-0.02");
}

TEST(DurationText, HasThreeDigitsAtMost) {
    const std::pair<int64_t, const char *> cases[] = {{0, "0 ns"},
                                                      {35, "35 ns"},
                                                      {999, "999 ns"},
                                                      {1000, "1.0 us"},
                                                      {9'949, "9.9 us"},
                                                      {35'400, "35 us"},
                                                      {1'500'000, "1.5 ms"},
                                                      {999'000'000, "999 ms"},
                                                      {1'000'000'000, "1.0 s"},
                                                      {99'400'000'000, "99 s"},
                                                      {125'000'000'000, "2 min 5 s"},
                                                      {7'500'000'000'000, "2 h 5 min"}};
    for (const auto &[time, text] : cases) EXPECT_EQ(duration_text(std::chrono::nanoseconds(time)), text);
}

TEST(Clock, AddsToTheStart) {
    Clock clock;
    clock.start("2024-02-29T23:59:59.999Z");
    EXPECT_EQ(appended([&](std::string &to) { clock.append(to, 1000001ns); }),
              "2024-03-01T00:00:00.000000001Z");
    EXPECT_EQ(appended([&](std::string &to) { clock.append_to_second(to, 0ns); }), "2024-02-29T23:59:59");
    int64_t ns = 0;
    EXPECT_FALSE(parse_time("2024-02-30T00:00:00Z", &ns));
    EXPECT_FALSE(parse_time("2024-02-29T00:00:00+01:00", &ns));
    EXPECT_FALSE(parse_time("", &ns));
    EXPECT_TRUE(parse_time("1970-01-01T00:00:01.5Z", &ns));
    EXPECT_EQ(ns, 1500000000);
}

}  // namespace
}  // namespace kiv::reports
