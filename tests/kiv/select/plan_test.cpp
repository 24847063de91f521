// Plan files and suggestions.
#include "kiv/select/plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kiv/select/nearest.h"
#include "tests/kiv/process.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class PlanTest : public testing::Test {
  protected:
    bool read(const std::string &text) {
        selectors_.clear();
        error_.clear();
        return kiv::read_plan(directory_.write("plan", text), &selectors_, &error_);
    }
    std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const kiv::Selector &selector : selectors_)
            texts.push_back((selector.excludes ? "-" : "") + selector.text + "@" +
                            std::to_string(selector.line));
        return texts;
    }
    kiv_test::TemporaryDirectory directory_;
    std::vector<kiv::Selector> selectors_;
    std::string error_;
};

TEST_F(PlanTest, OneSelectorALineWithComments) {
    ASSERT_TRUE(read("# nightly\n\nacl\n  qos/stats_create   # first\r\n-qos/neg_*\nf/case#2\n\tlast"));
    EXPECT_THAT(texts(), ElementsAre("acl@3", "qos/stats_create@4", "-qos/neg_*@5", "f/case#2@6", "last@7"));
}

TEST_F(PlanTest, EmptyPlanHasNoSelectors) {
    ASSERT_TRUE(read(""));
    EXPECT_TRUE(selectors_.empty());
}

TEST_F(PlanTest, TwoWordsOnALineAreAMistake) {
    EXPECT_FALSE(read("acl\nqos span\n"));
    EXPECT_THAT(error_, testing::EndsWith("plan:2: one selector a line, not \"qos span\""));
}

TEST_F(PlanTest, BinaryFileIsNoPlan) {
    EXPECT_FALSE(
        read(std::string("\x7f"
                         "ELF\x02\x01\0\0",
                         8)));
    EXPECT_THAT(error_, HasSubstr("plan:1: a control character"));
}

TEST_F(PlanTest, EveryControlCharacterIsAMistake) {
    for (const char c : {'\x01', '\x1f', '\x7f'}) {
        EXPECT_FALSE(read(std::string("acl") + c + "\n")) << static_cast<int>(c);
        EXPECT_THAT(error_, HasSubstr("plan:1: a control character"));
    }
    EXPECT_TRUE(read("acl~\n")) << error_;
}

TEST_F(PlanTest, CommentBeginsAtTheLineOrBehindABlank) {
    ASSERT_TRUE(read("one#1\ntwo\t# comment\nthree # comment\n#four\n"));
    EXPECT_THAT(texts(), ElementsAre("one#1@1", "two@2", "three@3"));
}

TEST_F(PlanTest, DashAloneIsAName) {
    EXPECT_EQ(kiv::make_selector("-").text, "-");
    EXPECT_FALSE(kiv::make_selector("-").excludes);
    EXPECT_EQ(kiv::make_selector("-a/").text, "a");
    EXPECT_TRUE(kiv::make_selector("-a/").excludes);
    EXPECT_EQ(kiv::make_selector("/").text, "/");
    EXPECT_EQ(kiv::make_selector("").text, "");
}

TEST_F(PlanTest, MissingFileIsNamed) {
    EXPECT_FALSE(kiv::read_plan("/nowhere/plan", &selectors_, &error_));
    EXPECT_EQ(error_, "/nowhere/plan: No such file or directory");
}

TEST(Nearest, CountsInsertedRemovedReplacedAndSwapped) {
    EXPECT_EQ(kiv::edit_distance("create", "create", 9), 0u);
    EXPECT_EQ(kiv::edit_distance("create", "craete", 9), 1u);
    EXPECT_EQ(kiv::edit_distance("create", "crete", 9), 1u);
    EXPECT_EQ(kiv::edit_distance("create", "xcreatx", 9), 2u);
    EXPECT_EQ(kiv::edit_distance("", "abc", 9), 3u);
    EXPECT_EQ(kiv::edit_distance("abcdef", "ghijkl", 4), 4u);
}

TEST(Nearest, NamesTheBestFirstAndOnlyNearOnes) {
    kiv::Nearest nearest("destroyd");
    for (const char *name : {"create", "destroy", "destroyed", "insert"}) nearest.offer(name);
    EXPECT_THAT(nearest.names(), ElementsAre("destroy", "destroyed"));
    EXPECT_EQ(nearest.question(), "; did you mean destroy or destroyed?");
}

TEST(Nearest, NamesEachOnceAndThreeAtMost) {
    kiv::Nearest nearest("case");
    for (const char *name : {"cases", "case", "cases", "cast", "vase", "base"}) nearest.offer(name);
    EXPECT_THAT(nearest.names(), ElementsAre("case", "cases", "cast"));
    EXPECT_EQ(nearest.question(), "; did you mean case, cases or cast?");
}

TEST(Nearest, SwapCountsAsOneSlip) {
    EXPECT_EQ(kiv::edit_distance("ab", "ba", 9), 1u);
    EXPECT_EQ(kiv::edit_distance("abcd", "badc", 9), 2u);
}

TEST(Nearest, PartOfALongerNameIsNearUnlessItIsTooShort) {
    kiv::Nearest part("v4_leaf");
    part.offer("tc_prm_v4_leaf_delete");
    EXPECT_THAT(part.names(), ElementsAre("tc_prm_v4_leaf_delete"));
    kiv::Nearest shortest("add");
    shortest.offer("prm_kiv_span_port_add");
    EXPECT_THAT(shortest.names(), ElementsAre("prm_kiv_span_port_add"));
    kiv::Nearest too_short("ad");
    too_short.offer("prm_kiv_span_port_add");
    EXPECT_THAT(too_short.names(), testing::IsEmpty());
}

TEST(Nearest, ThirdOfTheWordMayBeWrong) {
    for (const auto &[word, candidate, near] :
         std::initializer_list<std::tuple<const char *, const char *, bool>>{
             {"abcd", "abxy", true},
             {"abcd", "axyz", false},
             {"abcdefghi", "abcdefxyz", true},
             {"abcdefghi", "abcdewxyz", false}}) {
        kiv::Nearest nearest(word);
        nearest.offer(candidate);
        EXPECT_EQ(!nearest.names().empty(), near) << word << " " << candidate;
    }
}

TEST(PlanFile, WhatHasNoEndIsRefusedInBoundedMemory) {
    std::vector<kiv::Selector> selectors;
    std::string error;
    EXPECT_FALSE(kiv::read_plan("/dev/zero", &selectors, &error));
    EXPECT_EQ(error, "/dev/zero: File too large");
}

}  // namespace
