// What is wrong with a site's files: each is read as whoever reads it does.
#ifndef KIVCTL_SITE_CHECK_H
#define KIVCTL_SITE_CHECK_H

#include <string>
#include <vector>

#include "kivctl/site/problem.h"

namespace kivctl {

struct SiteCheck {
    std::vector<Problem> problems;
    size_t files = 0, cases = 0;  // looked at
};

struct SiteUse {
    bool simulated_card = false;  // which has no interfaces but those of the inventory
    bool reads_plan = true;       // false: whoever asks knows all cases, and checks the plan by them
    bool reads_baseline = true;   // false: whoever asks reads it
};

// False, with *error set, when the directory is no site.
bool check_site(const std::string &directory, SiteCheck *check, std::string *error, const SiteUse &use = {});

}  // namespace kivctl

#endif
