// kivctl compare from outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using Compare = CommandTest;

TEST_F(Compare, TellsWhatChanged) {
    const std::string before = file(results_of({{"a/same"},
                                                {"a/breaks"},
                                                {"a/heals", kiv::Verdict::failed},
                                                {"a/worse", kiv::Verdict::failed},
                                                {"a/slow", kiv::Verdict::passed, 20},
                                                {"a/quick", kiv::Verdict::passed, 0.001},
                                                {"a/gone"}}),
                                    "old");
    const std::string after = file(results_of({{"a/same"},
                                               {"a/breaks", kiv::Verdict::aborted},
                                               {"a/heals"},
                                               {"a/worse", kiv::Verdict::crashed},
                                               {"a/slow", kiv::Verdict::passed, 50},
                                               {"a/quick", kiv::Verdict::passed, 1},
                                               {"a/new"}}),
                                   "new");
    const Ran ran = kivctl("compare " + before + " " + after);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out,
              "Newly failing (1):\n  a/breaks: passed -> aborted: aborted\n"
              "Newly passing (1):\n  a/heals: failed -> passed\n"
              "Another verdict (1):\n  a/worse: failed -> crashed\n"
              "Slower (1):\n  a/slow: 0.020000 s -> 0.050000 s (x 2.5)\n"
              "Only in the old results (1):\n  a/gone\n"
              "Only in the new results (1):\n  a/new\n"
              "1 newly failing, 1 newly passing, 1 slower, 3 unchanged\n");
}

TEST_F(Compare, TheFactorDecidesWhatIsSlower) {
    const std::string before = file(results_of({{"a/x", kiv::Verdict::passed, 20}}), "old");
    const std::string after = file(results_of({{"a/x", kiv::Verdict::passed, 50}}), "new");
    EXPECT_EQ(kivctl("compare --fail-on-slower " + before + " " + after).status, 1);
    EXPECT_EQ(kivctl("compare --fail-on-slower --factor 3 " + before + " " + after).status, 0);
    EXPECT_EQ(kivctl("compare --fail-on-slower --at-least 1 " + before + " " + after).status, 0);
    EXPECT_EQ(kivctl("compare --factor 0 " + before + " " + after).status, 2);
}

}  // namespace
}  // namespace kivctl::test
