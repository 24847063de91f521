// Problems: their messages, their order, each once.
#include "kivctl/site/problem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kivctl::test {
namespace {

using testing::ElementsAre;

TEST(ProblemTest, AMessageNamesWhatIsKnown) {
    EXPECT_EQ((Problem{"a/b", 3, "IFH", "wrong"}.message()), "a/b:3: IFH: wrong");
    EXPECT_EQ((Problem{"a/b", 3, "", "wrong"}.message()), "a/b:3: wrong");
    EXPECT_EQ((Problem{"a/b", 0, "IFH", "wrong"}.message()), "a/b: IFH: wrong");
}

TEST(ProblemTest, EachIsToldOnceByFileAndLineAndAsFound) {
    Problems problems;
    problems.add({"b", 1}, "z", "1");
    problems.add({"b", 1}, "a", "2");
    problems.add({"b", 1}, "z", "1");
    problems.add({"b"}, "", "3");
    problems.add({"a", 9}, "", "4");
    problems.add({"b", 1}, "z", "5");
    std::vector<std::string> texts;
    for (const Problem &problem : problems.sorted()) texts.push_back(problem.text);
    EXPECT_THAT(texts, ElementsAre("4", "3", "1", "2", "5"));
}

TEST(ProblemTest, TextsAreQuotedSoThatEveryCharacterIsSeen) {
    EXPECT_EQ(quoted(" a\t\x1f\r~"), "\" a\\x09\\x1f\\x0d~\"");
    EXPECT_EQ(quoted("\x10\x0f"), "\"\\x10\\x0f\"");
    EXPECT_EQ(quoted("\xc3\xa4"), "\"\xc3\xa4\"");
}

TEST(ProblemTest, TextsAreJoined) {
    EXPECT_EQ(join("a", 1, std::string("b"), size_t{2}, -3), "a1b2-3");
    EXPECT_EQ(hexadecimal(0), "0");
    EXPECT_EQ(hexadecimal(~0ul), "ffffffffffffffff");
}

}  // namespace
}  // namespace kivctl::test
