// The default site's baseline: a run keeps it, and no byte that a case sends and no call that fails can
// change without its run being told of.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "card/boundary/layers.h"
#include "card/sim/backend.h"
#include "tests/app/calls/fault.h"
#include "tests/app/calls/flip.h"
#include "tests/app/calls/suite_run.h"

namespace {

using card::OperationId;
using Calls = std::map<OperationId, uint32_t>;

const suite_run::Outcome &differing_run(const flip::Flip &flip, const std::vector<std::string> &words = {}) {
    return suite_run::run(
        [&] {
            card::use_backend(&flip::in_front_of(
                card::with_layers(sim::backend()), flip,
                [](OperationId operation) { suite_run::note_call(operation, CERR_SUCCESS); }));
        },
        words);
}

const suite_run::Outcome &differing_run(const fault::Fault &fault) {
    return suite_run::run([&] {
        card::use_backend(
            &card::with_layers(fault::in_front_of(sim::backend(), fault, suite_run::note_call)));
    });
}

Calls calls_of(const suite_run::Outcome &run) {
    EXPECT_TRUE(run.good);
    EXPECT_EQ(run.differences, 0u);
    Calls calls;
    for (uint32_t i = 0; i < run.calls; ++i) ++calls[run.call[i].operation];
    return calls;
}

// The first, the last and one between.
std::vector<uint32_t> some_of(uint32_t calls) {
    std::vector<uint32_t> some = {1, (calls + 1) / 2, calls};
    some.erase(std::unique(some.begin(), some.end()), some.end());
    return some;
}

TEST(Baseline, IsKeptByEveryRun) {
    for (const std::vector<std::string> &words : std::vector<std::vector<std::string>>{
             {}, {"--all"}, {"acl", "prm-kiv"}, {"qos", "acl"}, {"--repeat", "2", "acl"}}) {
        const suite_run::Outcome &run = differing_run(flip::Flip{}, words);
        EXPECT_TRUE(run.good) << testing::PrintToString(words);
        EXPECT_EQ(run.differences, 0u) << testing::PrintToString(words);
    }
}

TEST(Baseline, NoFlippedBitGoesUnnoticed) {
    size_t flipped = 0;
    for (const auto &[operation, calls] : calls_of(differing_run(flip::Flip{}))) {
        for (const uint32_t call : some_of(calls)) {
            const suite_run::Outcome &run = differing_run(flip::Flip{operation, call, 1});
            EXPECT_FALSE(run.good) << card::row(operation).name << ", call " << call;
            EXPECT_GT(run.differences, 0u) << card::row(operation).name << ", call " << call;
            ++flipped;
        }
    }
    EXPECT_GT(flipped, 80u);
}

TEST(Baseline, NoFailedCallGoesUnnoticed) {
    size_t failed = 0;
    for (const auto &[operation, calls] : calls_of(differing_run(fault::Fault{}))) {
        const uint32_t call = (calls + 1) / 2;
        const suite_run::Outcome &run = differing_run(fault::Fault{operation, call, 0x5CA0F200});
        EXPECT_FALSE(run.good) << card::row(operation).name << ", call " << call;
        EXPECT_TRUE(run.differences > 0 || !run.ended) << card::row(operation).name << ", call " << call;
        ++failed;
    }
    EXPECT_GT(failed, 40u);
}

// Every call of the plan. Takes minutes: run it with --gtest_also_run_disabled_tests when a case or a record
// is new.
template <class Run>
void expect_a_full_table(const Calls &calls, Run run) {
    size_t all = 0, all_unnoticed = 0;
    printf("%-40s %6s %9s\n", "operation", "calls", "unnoticed");
    for (const auto &[operation, count] : calls) {
        size_t unnoticed = 0;
        for (uint32_t call = 1; call <= count; ++call) {
            if (!run(operation, call).good) continue;
            ++unnoticed;
            printf("unnoticed: %s, call %u\n", card::row(operation).name.data(), call);
        }
        printf("%-40s %6u %9zu\n", card::row(operation).name.data(), count, unnoticed);
        all += count;
        all_unnoticed += unnoticed;
    }
    printf("%-40s %6zu %9zu\n", "all", all, all_unnoticed);
    EXPECT_EQ(all_unnoticed, 0u);
}

TEST(Baseline, DISABLED_TableOfEveryFlippedCall) {
    for (const uint64_t seed : {1, 2})
        expect_a_full_table(calls_of(differing_run(flip::Flip{})), [&](OperationId operation, uint32_t call) {
            return differing_run(flip::Flip{operation, call, seed});
        });
}

TEST(Baseline, DISABLED_TableOfEveryFailedCall) {
    expect_a_full_table(calls_of(differing_run(fault::Fault{})), [](OperationId operation, uint32_t call) {
        return differing_run(fault::Fault{operation, call, 0x5CA0F200});
    });
}

}  // namespace
