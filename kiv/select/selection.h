// From selectors to the cases that run, and their order.
#ifndef KIV_SELECT_SELECTION_H
#define KIV_SELECT_SELECTION_H

#include <cstdint>
#include <string>
#include <vector>

#include "kiv/registry.h"
#include "kiv/select/plan.h"

namespace kiv {

struct SelectionRequest {
    std::vector<Selector> selectors;  // of plans and of the command line, in order
    bool all = false;                 // without selectors: manual cases too
};

// The selected cases, as places in context.cases, in run order. A selector takes its cases in registration
// order; one that an earlier selector took stays where it is. Excludes hold wherever they stand; with nothing
// but excludes the rest of the automatic cases (with `all`, of all cases) is selected. False, with *error
// set, when a selector names nothing.
bool select_cases(const kiv_context &context, const SelectionRequest &request,
                  std::vector<uint32_t> *selected, std::string *error);

// Folders in a random order, and the cases within each: cases of one folder stay together, folders below one
// parent too. The same seed gives the same order everywhere.
void shuffle_cases(const kiv_context &context, uint32_t seed, std::vector<uint32_t> *selected);

// Keeps what shard `index` (from 0) of `count` runs. Whole folders, because the cases of one build on each
// other: each goes to the shard that has the fewest cases so far, the biggest first.
void shard_cases(const kiv_context &context, int index, int count, std::vector<uint32_t> *selected);

}  // namespace kiv

#endif
