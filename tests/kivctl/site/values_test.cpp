// Values: what strtoul makes of a text, and whether it fits.
#include "kivctl/site/values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kivctl::test {
namespace {

TEST(NumberTest, DigitsOfTheBase) {
    EXPECT_EQ(read_number("190", 10).value, 190u);
    EXPECT_EQ(read_number("19afAF", 16).value, 0x19AFAFu);
    EXPECT_EQ(read_number("0x1f", 16).value, 0x1Fu);
    EXPECT_EQ(read_number("0X1F", 16).value, 0x1Fu);
    EXPECT_TRUE(read_number("0", 10).whole);
    EXPECT_TRUE(read_number("f", 16).whole);
    for (const char *const text : {"", "x", "a", "/", ":", " 1"})
        EXPECT_FALSE(read_number(text, 10).is_number) << text;
    for (const char *const text : {"", "0x", "g", "G", "`", "@"})
        EXPECT_FALSE(read_number(text, 16).is_number) << text;
}

TEST(NumberTest, WhatFollowsTheDigits) {
    const Number decimal = read_number("12a", 10);
    EXPECT_TRUE(decimal.is_number);
    EXPECT_FALSE(decimal.whole);
    EXPECT_EQ(decimal.value, 12u);
    EXPECT_EQ(read_number("0x1", 10).value, 0u) << "no prefix belongs to a decimal";
    EXPECT_FALSE(read_number("0x1", 10).whole);
}

TEST(NumberTest, Overflow) {
    EXPECT_FALSE(read_number("ffffffffffffff", 16).overflow);
    EXPECT_TRUE(read_number("11111111111111111", 16).overflow);
    EXPECT_FALSE(read_number("99999999999999999", 10).overflow);
    EXPECT_TRUE(read_number("99999999999999999999", 10).overflow);
}

class ValuesTest : public testing::Test {
  protected:
    // What is said of the value; empty when nothing is.
    std::string say(const Token &token, const std::string &value, bool with_inventory = true) {
        Problems problems;
        Values values(&problems);
        if (with_inventory) values.set_ports(64);
        values.add_handle(0x20);
        values.check({"file", 3}, token, value);
        const std::vector<Problem> found = problems.sorted();
        return found.empty() ? "" : found[0].message();
    }

    const Token decimal_{"D", Kind::decimal, 8}, hexadecimal_{"H", Kind::hexadecimal, 8};
    const Token port_{"P", Kind::port, 16}, handle_{"I", Kind::existing_handle, 32},
        made_{"M", Kind::made_handle, 32};
};

TEST_F(ValuesTest, OneThatFits) {
    EXPECT_EQ(say(decimal_, "255"), "");
    EXPECT_EQ(say(hexadecimal_, "ff"), "");
    EXPECT_EQ(say(hexadecimal_, "0x00ff"), "");
}

TEST_F(ValuesTest, OneThatIsCut) {
    EXPECT_EQ(say(decimal_, "256"), "file:3: D: 256 does not fit 8 bits: it is cut to 0");
    EXPECT_EQ(say(hexadecimal_, "1f0"), "file:3: H: 1f0 does not fit 8 bits: it is cut to f0");
    EXPECT_EQ(say({"B", Kind::decimal, 1}, "3"), "file:3: B: 3 does not fit 1 bit: it is cut to 1");
    EXPECT_EQ(say(decimal_, "99999999999999999999"),
              "file:3: D: 99999999999999999999 is too large for 8 bits");
}

TEST_F(ValuesTest, OneThatIsNoNumber) {
    EXPECT_EQ(say(decimal_, "x"), "file:3: D: \"x\" is not a decimal number and is read as 0");
    EXPECT_EQ(say(hexadecimal_, "x"), "file:3: H: \"x\" is not a hexadecimal number and is read as 0");
    EXPECT_EQ(say(decimal_, "1x"),
              "file:3: D: \"1x\" is not a decimal number: it is read up to the first other character");
}

TEST_F(ValuesTest, PortsAndHandlesAreThoseOfTheInventory) {
    EXPECT_EQ(say(port_, "63"), "");
    EXPECT_EQ(say(port_, "64"), "file:3: P: 64 is no port of the card: it has 0 to 63");
    EXPECT_EQ(say(port_, "64", false), "");
    EXPECT_EQ(say(handle_, "20"), "");
    EXPECT_EQ(say(handle_, "21"),
              "file:3: I: 0x21 is neither in the inventory (card.toml) nor made by a case");
    EXPECT_EQ(say(handle_, "21", false), "");
    EXPECT_EQ(say(made_, "21"), "");
    EXPECT_EQ(say(decimal_, "64"), "") << "of no port";
}

}  // namespace
}  // namespace kivctl::test
