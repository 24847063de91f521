// Counters of statistics ids.
#include "card/sim/counters.h"

#include <gtest/gtest.h>

namespace sim {
namespace {

TEST(CountersTest, AnIdCountsPacketsAndTheirBytes) {
    Counters counters;
    EXPECT_EQ(counters.of(7), (Count{0, 0}));
    counters.count(7, 64);
    counters.count(7, 1500);
    EXPECT_EQ(counters.of(7), (Count{2, 1564}));
    EXPECT_EQ(counters.of(8), (Count{0, 0}));
}

TEST(CountersTest, AnIdThatIsHandedOutBeginsAtZeroAndNoOtherDoes) {
    for (const u32 number : {2u, 3u, 1000000u}) {
        Counters counters;
        for (const u32 id : {9u, 10u, 9u + number, 0xFFFFFFFFu}) counters.count(id, 100);
        counters.start(10, number);
        EXPECT_EQ(counters.of(10), Count{}) << number;
        EXPECT_EQ(counters.of(9 + number), Count{}) << number;
        EXPECT_EQ(counters.of(9), (Count{1, 100})) << number;
        EXPECT_EQ(counters.of(0xFFFFFFFF), (Count{1, 100})) << number;
    }
}

}  // namespace
}  // namespace sim
