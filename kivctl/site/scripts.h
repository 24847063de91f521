// The scripts: what cases read on standard input, a `stdin` file for each.
#ifndef KIVCTL_SITE_SCRIPTS_H
#define KIVCTL_SITE_SCRIPTS_H

#include "kivctl/site/problem.h"
#include "kivctl/site/tree.h"
#include "kivctl/site/values.h"

namespace kivctl {

void check_scripts(Tree &tree, Values &values, Problems &problems);

}  // namespace kivctl

#endif
