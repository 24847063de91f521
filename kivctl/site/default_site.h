// The default site's inventory and plan, built in: a new site starts with them.
#ifndef KIVCTL_SITE_DEFAULT_SITE_H
#define KIVCTL_SITE_DEFAULT_SITE_H

#include <string_view>

namespace kivctl {

extern const std::string_view kDefaultInventory, kDefaultPlan;

}  // namespace kivctl

#endif
