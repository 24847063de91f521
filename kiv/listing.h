// What --list prints.
#ifndef KIV_LISTING_H
#define KIV_LISTING_H

#include <string>

#include "kiv/options.h"
#include "kiv/registry.h"

namespace kiv {

// The plain list is a plan: selectors, with what else there is to say as comments.
std::string list_cases(const kiv_context &context, const std::vector<uint32_t> &cases, ListKind kind);

}  // namespace kiv

#endif
