// Who subscribed to follow the runs of this process.
#ifndef KIV_OBSERVERS_H
#define KIV_OBSERVERS_H

#include <vector>

#include "kiv/observer.h"

namespace kiv {

// In the order of their subscription.
const std::vector<Observer *> &observers();

}  // namespace kiv

#endif
