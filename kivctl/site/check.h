// What is wrong with a site's input files.
#ifndef KIVCTL_SITE_CHECK_H
#define KIVCTL_SITE_CHECK_H

#include <string>
#include <vector>

namespace kivctl {

struct Problem {
    std::string file;  // as it is reached from the site's directory
    int line = 0;      // 0: the whole file
    std::string field;
    std::string text;

    // "FILE:LINE: FIELD: TEXT"
    std::string message() const;
    bool operator==(const Problem &) const = default;
};

struct SiteCheck {
    std::vector<Problem> problems;
    size_t files = 0, cases = 0;  // looked at
};

// False, with *error set, when the directory is no site.
bool check_site(const std::string &directory, SiteCheck *check, std::string *error);

}  // namespace kivctl

#endif
