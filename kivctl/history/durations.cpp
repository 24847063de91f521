// What a history is asked about durations, and about two sets of its runs.
#include <algorithm>
#include <cmath>

#include "kivctl/history/questions.h"

namespace kivctl::history {
namespace {

// The durations of a case's good results, and the run of each.
struct Series {
    std::vector<double> seconds;
    std::vector<size_t> runs;
};

// By subject; of the last of these runs, in their order.
std::vector<Series> series_of(const History &history, std::vector<size_t> runs, size_t last) {
    if (last != 0 && runs.size() > last)
        runs.erase(runs.begin(), runs.end() - static_cast<std::ptrdiff_t>(last));
    std::vector<Series> all(history.subjects.size());
    for (const size_t r : runs) {
        const Run &run = history.runs[r];
        const std::vector<int64_t> durations = history.durations(run);
        const std::vector<uint32_t> &lineup = history.lineups[run.lineup];
        for (size_t i = 0; i < lineup.size(); ++i) {
            if (run.verdicts[i] == '-' || History::is_bad(run.verdicts[i])) continue;
            Series &series = all[lineup[i]];
            series.seconds.push_back(static_cast<double>(durations[i]) * 1e-9);
            series.runs.push_back(r);
        }
    }
    return all;
}

// Whether one of two shares of failures is larger than chance makes likely.
bool shares_differ(const Difference::Side &a, const Difference::Side &b) {
    const double na = static_cast<double>(a.ran), nb = static_cast<double>(b.ran);
    const double all = static_cast<double>(a.bad + b.bad) / (na + nb);
    const double error = std::sqrt(all * (1 - all) * (1 / na + 1 / nb));
    return error > 0 &&
           std::fabs(static_cast<double>(a.bad) / na - static_cast<double>(b.bad) / nb) > 2.58 * error;
}

// -1, 0, 1: the second set is quicker, about the same, slower.
int slower_side(const Series &a, const Series &b, const SlowerOptions &options, Difference *difference) {
    if (a.seconds.size() < kShortestLevel || b.seconds.size() < kShortestLevel) return 0;
    difference->a.seconds = median(a.seconds);
    difference->b.seconds = median(b.seconds);
    const double least = std::min(difference->a.seconds, difference->b.seconds),
                 most = std::max(difference->a.seconds, difference->b.seconds);
    if (most < options.least_seconds || most < least * (1 + options.least_share)) return 0;
    std::vector<double> both = a.seconds;
    both.insert(both.end(), b.seconds.begin(), b.seconds.end());
    if (!is_change(both, a.seconds.size())) return 0;
    return difference->b.seconds > difference->a.seconds ? 1 : -1;
}

}  // namespace

std::vector<Slower> slower(const History &history, const History::Groups &groups,
                           const SlowerOptions &options) {
    std::vector<std::vector<size_t>> runs_of(groups.names.size());
    for (size_t r = 0; r < history.runs.size(); ++r) runs_of[groups.of_run[r]].push_back(r);
    std::vector<Slower> found;
    for (uint32_t group = 0; group < runs_of.size(); ++group) {
        if (runs_of[group].size() < 2 * kShortestLevel) continue;
        const std::vector<Series> all = series_of(history, runs_of[group], options.runs);
        for (uint32_t subject = 0; subject < all.size(); ++subject) {
            const Series &series = all[subject];
            const auto change = last_change(series.seconds);
            if (!change || change->after < options.least_seconds ||
                change->after < change->before * (1 + options.least_share))
                continue;
            found.push_back({subject, group, change->before, change->after, change->noise,
                             change->at - change->from, series.runs.size() - change->at,
                             series.runs[change->at], series.runs[change->at - 1]});
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const Slower &a, const Slower &b) {
        return a.after * b.before > b.after * a.before;
    });
    return found;
}

std::vector<Difference> differences(const History &history, const Labels &a, const Labels &b,
                                    const SlowerOptions &options) {
    using Kind = Difference::Kind;
    std::vector<size_t> runs[2];
    for (size_t r = 0; r < history.runs.size(); ++r) {
        if (has_labels(history.runs[r], a)) runs[0].push_back(r);
        if (has_labels(history.runs[r], b)) runs[1].push_back(r);
    }
    std::vector<Difference> all(history.subjects.size());
    for (int side = 0; side < 2; ++side)
        for (const size_t r : runs[side])
            history.outcomes(history.runs[r], [&](uint32_t subject, bool bad) {
                Difference::Side &counts = side == 0 ? all[subject].a : all[subject].b;
                ++counts.ran;
                if (bad) ++counts.bad, counts.last_bad = r;
            });
    const std::vector<Series> before = series_of(history, runs[0], options.runs),
                              after = series_of(history, runs[1], options.runs);
    std::vector<Difference> found;
    for (uint32_t i = 0; i < all.size(); ++i) {
        Difference &one = all[i];
        one.subject = i;
        if (one.a.ran + one.b.ran == 0) continue;
        const int slower = slower_side(before[i], after[i], options, &one);
        if (one.b.ran == 0)
            one.kind = Kind::only_in_a;
        else if (one.a.ran == 0)
            one.kind = one.b.bad != 0 ? Kind::only_b_fails : Kind::only_in_b;
        else if (one.a.bad == 0 && one.b.bad != 0)
            one.kind = Kind::only_b_fails;
        else if (one.a.bad != 0 && one.b.bad == 0)
            one.kind = Kind::only_a_fails;
        else if (one.a.bad != 0 && shares_differ(one.a, one.b))
            one.kind = one.b.bad * one.a.ran > one.a.bad * one.b.ran ? Kind::fails_more : Kind::fails_less;
        else if (slower != 0)
            one.kind = slower > 0 ? Kind::slower : Kind::faster;
        else
            continue;
        found.push_back(one);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto &x, const auto &y) { return x.kind < y.kind; });
    return found;
}

}  // namespace kivctl::history
