// What a history is asked about verdicts.
#include "kivctl/history/questions.h"

#include <algorithm>
#include <cmath>

namespace kivctl::history {

std::vector<Standing> standings(const History &history, const History::Groups &groups) {
    const size_t count = history.subjects.size();
    std::vector<Standing> all(count * groups.names.size());
    for (size_t r = 0; r < history.runs.size(); ++r) {
        const uint32_t group = groups.of_run[r];
        history.outcomes(history.runs[r], [&](uint32_t subject, bool bad) {
            Standing &standing = all[subject * groups.names.size() + group];
            if (bad && !standing.failing) standing.first_bad = r, standing.in_a_row = 0;
            if (bad)
                ++standing.bad, ++standing.in_a_row, standing.last_bad = r;
            else
                standing.last_good = r;
            standing.subject = subject;
            standing.group = group;
            standing.failing = bad;
            standing.last = r;
            ++standing.ran;
        });
    }
    std::erase_if(all, [](const Standing &standing) { return standing.ran == 0; });
    return all;
}

double likely_share(size_t hits, size_t tries) {
    if (tries == 0) return 0;
    constexpr double z = 1.96;
    const double n = static_cast<double>(tries), p = static_cast<double>(hits) / n;
    const double middle = p + z * z / (2 * n), spread = z * std::sqrt(p * (1 - p) / n + z * z / (4 * n * n));
    return std::max(0.0, (middle - spread) / (1 + z * z / n));
}

std::vector<Flaky> flaky(const History &history, const History::Groups &groups, size_t least) {
    enum : char { kUnknown, kGoodLast, kBadLast };
    const size_t count = history.subjects.size();
    std::vector<Flaky> all(count);
    std::vector<std::vector<char>> last(groups.names.size());  // by group, of each subject
    for (size_t r = 0; r < history.runs.size(); ++r) {
        const Run &run = history.runs[r];
        std::vector<char> &seen = last[groups.of_run[r]];
        if (seen.empty()) seen.assign(count, kUnknown);
        const auto tell = [&](uint32_t subject, bool bad) {
            const char now = bad ? kBadLast : kGoodLast;
            if (seen[subject] != kUnknown) {
                ++all[subject].pairs;
                if (seen[subject] != now) ++all[subject].changes, all[subject].last = r;
            }
            seen[subject] = now;
        };
        // A case that ran several times in a run is a pair with itself.
        const std::vector<uint32_t> &lineup = history.lineups[run.lineup];
        for (size_t i = 0; i < lineup.size(); ++i)
            if (run.verdicts[i] != '-' && !history.subjects[lineup[i]].is_worker())
                tell(lineup[i], History::is_bad(run.verdicts[i]));
    }
    for (uint32_t i = 0; i < count; ++i) {
        all[i].subject = i;
        all[i].score = likely_share(all[i].changes, all[i].pairs);
    }
    std::erase_if(all, [&](const Flaky &one) { return one.changes < std::max<size_t>(least, 1); });
    std::stable_sort(all.begin(), all.end(),
                     [](const Flaky &a, const Flaky &b) { return a.score > b.score; });
    return all;
}

std::vector<Fresh> fresh(const History &history, const History::Groups &groups) {
    struct Sum {
        size_t ran = 0, earlier_bad = 0, run = kNoRun;
    };
    std::vector<Sum> sums(history.subjects.size());
    for (const Standing &standing : standings(history, groups)) {
        Sum &sum = sums[standing.subject];
        sum.ran += standing.ran - (standing.failing ? 1 : 0);
        sum.earlier_bad += standing.bad - (standing.failing ? 1 : 0);
        if (standing.failing && (sum.run == kNoRun || standing.last < sum.run)) sum.run = standing.last;
    }
    std::vector<Fresh> found;
    for (uint32_t i = 0; i < sums.size(); ++i)
        if (sums[i].run != kNoRun && sums[i].earlier_bad == 0) found.push_back({i, sums[i].run, sums[i].ran});
    std::stable_sort(found.begin(), found.end(),
                     [](const Fresh &a, const Fresh &b) { return a.run > b.run; });
    return found;
}

}  // namespace kivctl::history
