// Which calls stand above a failed check.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kiv/results.h"

namespace {

std::string before(const kiv::CallsTold &calls, uint64_t check, const std::vector<uint64_t> &failed) {
    std::vector<kiv::Check> failures(failed.size());
    for (size_t i = 0; i < failed.size(); ++i) failures[i].number = failed[i];
    kiv::Check one;
    one.number = check;
    std::string texts;
    for (const kiv::ToldCall &call : calls.before(one, failures)) texts += call.text;
    return texts;
}

TEST(ToldCalls, ThoseSinceTheLastCheckThatPassedBelongToAFailedOne) {
    kiv::CallsTold calls;
    calls.calls = {{"a", {}, 0}, {"b", {}, 0}, {"c", {}, 1}, {"d", {}, 2}, {"e", {}, 2}, {"f", {}, 4}};
    EXPECT_EQ(before(calls, 1, {1}), "ab");
    EXPECT_EQ(before(calls, 2, {2}), "c");
    EXPECT_EQ(before(calls, 3, {2, 3}), "cde");
    EXPECT_EQ(before(calls, 3, {1, 2, 3}), "abcde");
    EXPECT_EQ(before(calls, 3, {1, 3}), "de");
    EXPECT_EQ(before(calls, 4, {4}), "");
    EXPECT_EQ(before(calls, 9, {9}), "");
}

TEST(ToldCalls, CheckWithoutANumberHasNone) {
    kiv::CallsTold calls;
    calls.calls = {{"a", {}, 0}};
    EXPECT_EQ(before(calls, 0, {0}), "");
    EXPECT_EQ(before({}, 1, {1}), "");
}

}  // namespace
