// A starting point for a site.
#ifndef KIVCTL_SITE_NEW_H
#define KIVCTL_SITE_NEW_H

#include <string>
#include <vector>

namespace kivctl {

// Writes a site with example values into `directory`, which must not exist or be empty; *written lists the
// files. False, with *error set, when that fails.
bool new_site(const std::string &directory, std::vector<std::string> *written, std::string *error);

}  // namespace kivctl

#endif
