// The input files: each is read as the readers of the cases that find it read it.
#ifndef KIVCTL_SITE_INPUT_FILES_H
#define KIVCTL_SITE_INPUT_FILES_H

#include "kivctl/site/problem.h"
#include "kivctl/site/tree.h"
#include "kivctl/site/values.h"

namespace kivctl {

// Interfaces that cases make exist for other cases too.
void add_made_handles(Tree &tree, Values &values);

void check_input_files(Tree &tree, Values &values, Problems &problems);

}  // namespace kivctl

#endif
