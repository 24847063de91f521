// Who subscribed to follow the runs of this process.
#ifndef KIV_OBSERVERS_H
#define KIV_OBSERVERS_H

#include <vector>

#include "kiv/observer.h"

namespace kiv {

// In the order of their subscription.
const std::vector<Observer *> &observers();

// What the first observer that knows the status says of it; empty when none does.
std::string_view status_text(uint32_t status);

}  // namespace kiv

#endif
