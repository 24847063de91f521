// The page of the HTML report, from page.html; made by the build.
#ifndef KIV_REPORTS_PAGE_H
#define KIV_REPORTS_PAGE_H

#include <string_view>

namespace kiv::reports {
extern const std::string_view kPageHead;
}

#endif
