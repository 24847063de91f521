// Puts what a history answers into words, for people or as one JSON object a line.
#ifndef KIVCTL_HISTORY_ANSWERS_H
#define KIVCTL_HISTORY_ANSWERS_H

#include "kivctl/history/questions.h"

namespace kivctl::history {

// "2026-11-21 04:00:00", UTC.
std::string time_text(int64_t nanoseconds);

struct Asked {
    const History &history;
    bool json = false;
    std::vector<uint32_t> subjects;  // answers tell of these alone
};

// How each case stands on each card: `all` of them, or those that fail.
std::string tell_standings(const Asked &asked, const History::Groups &groups,
                           const std::vector<Standing> &found, bool all);
std::string tell_flaky(const Asked &asked, const std::vector<Flaky> &found);
std::string tell_fresh(const Asked &asked, const std::vector<Fresh> &found);
std::string tell_slower(const Asked &asked, const History::Groups &groups, const std::vector<Slower> &found);
std::string tell_differences(const Asked &asked, const std::vector<Difference> &found);
std::string tell_runs(const Asked &asked);

}  // namespace kivctl::history

#endif
