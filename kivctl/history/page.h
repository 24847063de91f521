// A history as one page: a grid of its cases by its runs.
#ifndef KIVCTL_HISTORY_PAGE_H
#define KIVCTL_HISTORY_PAGE_H

#include "kivctl/history/answers.h"

namespace kivctl::history {

// From page.html, up to where the data go; made by the build.
extern const std::string_view kPageHead;

// Runs that a page shows at most, the last ones.
inline constexpr size_t kPageRuns = 1000;

std::string page_of(const Asked &asked);

}  // namespace kivctl::history

#endif
