// The comparison with a baseline: every difference is told, at its call, and none where there is none.
#include "trace/baseline_compare.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace trace {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

BaselineSection section_of(const Lines &calls) {
    BaselineSection section;
    section.name = "tc_x";
    section.outcome = "passed, 3 checks";
    section.calls.assign(calls.begin(), calls.end());
    return section;
}

Lines compared(const Lines &now, const Lines &then, const std::string &outcome = "passed, 3 checks") {
    SectionComparison comparison;
    const BaselineSection section = section_of(then);
    comparison.begin(section);
    for (const std::string &line : now) comparison.call(line);
    Lines lines;
    const Differences differences = comparison.end(outcome);
    for (const BaselineDifference &difference : differences.told)
        lines.push_back(difference_text(difference));
    EXPECT_EQ(differences.count, lines.size());
    return lines;
}

const std::string kA = "a({x 1}) = 0", kB = "b({x 1, y 2}) = 0", kC = "c(1) = 0", kD = "d() = 0";

TEST(Comparison, FindsNothingWhereThereIsNothing) {
    EXPECT_THAT(compared({kA, kB, kA}, {kA, kB, kA}), IsEmpty());
    EXPECT_THAT(compared({}, {}), IsEmpty());
}

TEST(Comparison, TellsTheFieldAndBothValues) {
    EXPECT_THAT(compared({kA, "b({x 1, y 3}) = 0", kC}, {kA, kB, kC}),
                ElementsAre("call 2: b: argument1.y: 3, baseline 2"));
    EXPECT_THAT(compared({"prm_srh_bd_add(client#1, {bd_id 7}) = 0"},
                         {"prm_srh_bd_add(client#1, {flags0 learn}) = 0"}),
                ElementsAre("call 1: prm_srh_bd_add: bd_id: 7, baseline 0",
                            "call 1: prm_srh_bd_add: flags0: 0, baseline learn"));
    EXPECT_THAT(compared({"a({x 1}) = CARD_ERROR_TABLE_FULL"}, {kA}),
                ElementsAre("call 1: a: result: CARD_ERROR_TABLE_FULL, baseline 0"));
    EXPECT_THAT(compared({"a({x 1} -> {i nh#2}) = 0"}, {"a({x 1} -> {i nh#1}) = 0"}),
                ElementsAre("call 1: a: -> argument1.i: nh#2, baseline nh#1"));
}

TEST(Comparison, TellsMissingAndAdditionalCalls) {
    EXPECT_THAT(compared({kA, kC, kD}, {kA, kB, kC, kD}),
                ElementsAre("call 2 of the baseline is missing: " + kB));
    EXPECT_THAT(compared({kA, kB, kC, kD}, {kA, kC, kD}), ElementsAre("call 2 is additional: " + kB));
    EXPECT_THAT(compared({kA}, {kA, kB, kC}), ElementsAre("call 2 of the baseline is missing: " + kB,
                                                          "call 3 of the baseline is missing: " + kC));
    EXPECT_THAT(compared({kA, kB}, {}),
                ElementsAre("call 1 is additional: " + kA, "call 2 is additional: " + kB));
    EXPECT_THAT(compared({kA, kC}, {kA, kB}),
                ElementsAre("call 2 of the baseline is missing: " + kB, "call 2 is additional: " + kC));
}

// One of many alike: neither is the rest of them told of.
TEST(Comparison, FindsItsWayAmongCallsThatAreAlike) {
    Lines many;
    for (int i = 0; i < 100; ++i) many.push_back("a({x " + std::to_string(i) + "}) = 0");
    Lines now = many;
    now.erase(now.begin() + 40);
    EXPECT_THAT(compared(now, many), ElementsAre("call 41 of the baseline is missing: a({x 40}) = 0"));
    EXPECT_THAT(compared(many, now), ElementsAre("call 41 is additional: a({x 40}) = 0"));
    now = many;
    now[40] = "a({x 7777}) = 0";
    EXPECT_THAT(compared(now, many), ElementsAre("call 41: a: argument1.x: 7777, baseline 40"));
    const Lines same(100, kA);
    now = same;
    now[99] = "a({x 2}) = 0";
    EXPECT_THAT(compared(now, same), ElementsAre("call 100: a: argument1.x: 2, baseline 1"));
    now = same;
    now[0] = "a({x 2}) = 0";
    EXPECT_THAT(compared(now, same), ElementsAre("call 1: a: argument1.x: 2, baseline 1"));
}

TEST(Comparison, TellsACaseThatStoppedHalfWay) {
    EXPECT_THAT(compared({kA}, {kA}, "unchecked, 0 checks"),
                ElementsAre("verdict: unchecked, baseline passed", "checks: 0 checks, baseline 3 checks"));
}

// Whatever is changed, left out or put in, something is told; and no more is kept than can be.
TEST(Comparison, NoChangeGoesUntold) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        Lines then;
        for (size_t i = random() % 60; i > 0; --i)
            then.push_back(std::string(1, static_cast<char>('a' + random() % 3)) + "({x " +
                           std::to_string(random() % 4) + "}) = 0");
        Lines now = then;
        for (int changes = 1 + static_cast<int>(random() % 3); changes > 0; --changes) {
            const size_t at = now.empty() ? 0 : random() % now.size();
            if (now.empty() || random() % 3 == 0)
                now.insert(now.begin() + static_cast<std::ptrdiff_t>(at), "b({x 9}) = 0");
            else if (random() % 2 == 0)
                now.erase(now.begin() + static_cast<std::ptrdiff_t>(at));
            else
                now[at] = "c({x 8}) = 0";
        }
        const BaselineSection section = section_of(then);
        SectionComparison comparison;
        comparison.begin(section);
        for (const std::string &line : now) comparison.call(line);
        EXPECT_EQ(comparison.end("passed, 3 checks").count > 0, now != then);
    }
}

TEST(Comparison, KeepsNoMoreThanItMay) {
    const Lines then(10, kA);
    const BaselineSection section = section_of(then);
    SectionComparison comparison;
    comparison.begin(section);
    for (int i = 0; i < 1'000'000; ++i) comparison.call(kB);
    const Differences differences = comparison.end("passed, 3 checks");
    EXPECT_EQ(differences.told.size(), SectionComparison::kTold);
    EXPECT_GE(differences.count, 1'000'000u);
}

}  // namespace
}  // namespace trace
