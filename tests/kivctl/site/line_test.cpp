// Lines are taken apart as strtok does it.
#include "kivctl/site/line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kivctl::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(LineTest, SeparatorsCollapse) {
    EXPECT_THAT(split("a,b", ','), ElementsAre("a", "b"));
    EXPECT_THAT(split(",,a,,b,,", ','), ElementsAre("a", "b"));
    EXPECT_THAT(split(",", ','), IsEmpty());
    EXPECT_THAT(split("", ','), IsEmpty());
}

TEST(LineTest, LinesKnowTheirNumberAndWhetherTheyAreEnded) {
    const std::vector<Line> lines = read_lines("A:1\n\nB:2");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].number, 1);
    EXPECT_EQ(lines[0].text, "A:1");
    EXPECT_EQ(lines[0].bytes(), 4u);
    EXPECT_EQ(lines[1].number, 2);
    EXPECT_THAT(lines[1].fields, IsEmpty());
    EXPECT_TRUE(lines[1].ended);
    EXPECT_EQ(lines[2].number, 3);
    EXPECT_EQ(lines[2].text, "B:2");
    EXPECT_FALSE(lines[2].ended);
    EXPECT_EQ(lines[2].bytes(), 3u);
    EXPECT_THAT(read_lines(""), IsEmpty());
}

TEST(LineTest, AFieldIsANameAndAValue) {
    const std::vector<Field> fields = read_lines("A:1,B,C::2,D:3:4,:\n").at(0).fields;
    ASSERT_EQ(fields.size(), 5u);
    EXPECT_EQ(fields[0].name, "A");
    EXPECT_TRUE(fields[0].has_value);
    EXPECT_EQ(fields[0].value, "1");
    EXPECT_FALSE(fields[0].extra);
    EXPECT_EQ(fields[1].name, "B");
    EXPECT_FALSE(fields[1].has_value);
    EXPECT_EQ(fields[2].value, "2");
    EXPECT_EQ(fields[3].value, "3");
    EXPECT_TRUE(fields[3].extra);
    EXPECT_EQ(fields[4].name, "");
    EXPECT_FALSE(fields[4].has_value);
}

TEST(LineTest, TheNewlineBelongsToTheLastField) {
    const std::vector<Line> lines = read_lines("A:1,B:2,\nC:3");
    EXPECT_FALSE(lines[0].fields[0].last);
    EXPECT_TRUE(lines[0].fields[1].last);
    EXPECT_FALSE(lines[1].fields[0].last) << "there is none";
}

}  // namespace
}  // namespace kivctl::test
