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

// False, with *error set, when the directory is no site.
bool check_site(const std::string &directory, SiteCheck *check, std::string *error);

}  // namespace kivctl

#endif
