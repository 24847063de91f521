// Which cases others build on, by the order of a plan.
#ifndef KIV_SELECT_NEEDED_H
#define KIV_SELECT_NEEDED_H

#include <cstdint>
#include <string>
#include <vector>

#include "kiv/registry.h"

namespace kiv {

// Cases are places in context.cases. The cases of a folder build on each other in the plan's order: create
// before modify before delete. Folders build on nothing.

// The selected cases and, before each, those of its folder that stand before it in the plan. Folders keep the
// order in which they were selected; a case that the plan does not have comes last of its folder.
std::vector<uint32_t> with_needed(const kiv_context &context, const std::vector<uint32_t> &selected,
                                  const std::vector<uint32_t> &plan);

// The same cases, those that the plan has first, in its order.
std::vector<uint32_t> in_plan_order(const std::vector<uint32_t> &selected, const std::vector<uint32_t> &plan);

// What the selected cases build on that does not run before them: "prm-kiv-l2/b builds on prm-kiv-l2/a", one
// line; empty when there is nothing.
std::string told_needs(const kiv_context &context, const std::vector<uint32_t> &selected,
                       const std::vector<uint32_t> &plan);

}  // namespace kiv

#endif
