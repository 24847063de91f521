// Calls of the default site's plan fail, one in each run: no such run is good and says nothing of it, and the
// run in which none is made to fail raises no alarm.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <iterator>
#include <map>
#include <vector>

#include "card/sim/backend.h"
#include "tests/app/calls/fault.h"
#include "tests/app/calls/suite_run.h"

namespace {

using card::OperationId;
using fault::Fault;
using suite_run::Outcome;

// Without the baseline, which sees every call.
const Outcome &run_with(const Fault &fault, const char *selection = nullptr) {
    std::vector<std::string> words = {"--no-baseline"};
    if (selection != nullptr) words.emplace_back(selection);
    return suite_run::run(
        [&] { card::use_backend(&fault::in_front_of(sim::backend(), fault, suite_run::note_call)); }, words);
}

// A code that no operation answers by itself.
constexpr prm_status_t kCode = 0x5CA0F200;

// The calls of a good run that succeed, by operation.
std::map<OperationId, std::vector<uint32_t>> calls_of_a_good_run() {
    const Outcome &run = run_with({});
    EXPECT_TRUE(run.good);
    EXPECT_LT(run.calls, std::size(run.call));
    std::map<OperationId, uint32_t> made;
    std::map<OperationId, std::vector<uint32_t>> good;
    for (uint32_t i = 0; i < run.calls; ++i) {
        const uint32_t nth = ++made[run.call[i].operation];
        if (run.call[i].good) good[run.call[i].operation].push_back(nth);
    }
    return good;
}

TEST(UnnoticedCalls, AGoodRunRaisesNoAlarm) {
    const Outcome &plan = run_with({});
    EXPECT_TRUE(plan.good);
    EXPECT_EQ(plan.with_unnoticed_calls, 0u);
    EXPECT_GT(plan.calls, 2000u);
    EXPECT_EQ(run_with({}, "--all").with_unnoticed_calls, 0u);
}

// Up to five of each operation, the first and the last among them; the table below has all.
TEST(UnnoticedCalls, NoFailureOfACallGoesUnsaid) {
    size_t failed = 0;
    for (const auto &[operation, calls] : calls_of_a_good_run()) {
        const size_t step = std::max<size_t>(1, (calls.size() + 2) / 4);
        for (size_t at = 0;; at = std::min(at + step, calls.size() - 1)) {
            EXPECT_FALSE(run_with({operation, calls[at], kCode}).silent())
                << card::row(operation).name << ", call " << calls[at];
            ++failed;
            if (at + 1 == calls.size()) break;
        }
    }
    EXPECT_GT(failed, 150u);
}

// Takes a minute: run it with --gtest_also_run_disabled_tests when a case, an operation or an outcome line is
// new.
TEST(UnnoticedCalls, DISABLED_TableOfEveryCall) {
    size_t all = 0, all_green = 0, all_silent = 0;
    printf("%-40s %6s %6s %6s\n", "operation", "calls", "green", "silent");
    for (const auto &[operation, calls] : calls_of_a_good_run()) {
        size_t green = 0, silent = 0;
        for (const uint32_t call : calls) {
            const Outcome &run = run_with({operation, call, kCode});
            green += run.good;
            silent += run.silent();
            if (run.silent()) printf("silent: %s, call %u\n", card::row(operation).name.data(), call);
        }
        printf("%-40s %6zu %6zu %6zu\n", card::row(operation).name.data(), calls.size(), green, silent);
        all += calls.size(), all_green += green, all_silent += silent;
    }
    printf("%-40s %6zu %6zu %6zu\n", "all", all, all_green, all_silent);
    EXPECT_EQ(all_silent, 0u);
}

}  // namespace
