// What a history is asked: since when a case fails, which cases are flaky, slower, newly failing, different
// elsewhere.
#ifndef KIVCTL_HISTORY_QUESTIONS_H
#define KIVCTL_HISTORY_QUESTIONS_H

#include "kivctl/history/change.h"
#include "kivctl/history/history.h"

namespace kivctl::history {

inline constexpr size_t kNoRun = SIZE_MAX;

// How a case stands on one card: of its runs there, in their order. Runs are indices of History::runs.
struct Standing {
    uint32_t subject = 0;
    uint32_t group = 0;  // of the groups that were asked for
    size_t ran = 0, bad = 0;
    bool failing = false;       // in its last run
    size_t last = kNoRun;       // its last run
    size_t last_good = kNoRun;  // before the failures that it stands in; of one that is good, its last
    size_t first_bad = kNoRun;  // of its last failures in a row
    size_t last_bad = kNoRun;
    size_t in_a_row = 0;  // how many
};

// Those that ran at all, by subject and then by group.
std::vector<Standing> standings(const History &history, const History::Groups &groups);

// Changes between good and bad from one result to the next of runs with the same labels.
struct Flaky {
    uint32_t subject = 0;
    size_t changes = 0, pairs = 0;
    size_t last = kNoRun;  // the run of the last change
    double score = 0;      // the least share of pairs with a change that this many make likely (95 %)
};
// Those with so many changes at least, the flakiest first.
std::vector<Flaky> flaky(const History &history, const History::Groups &groups, size_t least);

// The lower end of the Wilson interval for `hits` of `tries`.
double likely_share(size_t hits, size_t tries);

// Fails in its last run on some card, and never failed before.
struct Fresh {
    uint32_t subject = 0;
    size_t run = kNoRun;
    size_t ran_before = 0;  // runs without a failure
};
std::vector<Fresh> fresh(const History &history, const History::Groups &groups);

struct Slower {
    uint32_t subject = 0;
    uint32_t group = 0;
    double before = 0, after = 0, noise = 0;  // seconds
    size_t runs_before = 0, runs_after = 0;
    size_t since = kNoRun, last_before = kNoRun;
};
struct SlowerOptions {
    double least_seconds = 0.001;
    double least_share = 0.1;  // of the time before
    size_t runs = 500;         // of each group or side, the last; 0: all
};
// Cases whose good runs of one group take longer since some run, the largest factor first.
std::vector<Slower> slower(const History &history, const History::Groups &groups,
                           const SlowerOptions &options);

// A case in two sets of runs.
struct Difference {
    uint32_t subject = 0;
    struct Side {
        size_t ran = 0, bad = 0;
        size_t last_bad = kNoRun;
        double seconds = 0;  // median of its good runs
    } a, b;
    enum class Kind {
        only_b_fails,
        only_a_fails,
        fails_more,
        fails_less,
        slower,
        faster,
        only_in_a,
        only_in_b
    } kind{};
};
// `b` against `a`; runs that both name are in both.
std::vector<Difference> differences(const History &history, const Labels &a, const Labels &b,
                                    const SlowerOptions &options);

}  // namespace kivctl::history

#endif
