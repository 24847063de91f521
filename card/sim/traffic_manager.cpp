// Traffic-manager policies and queues on the simulated card.
#include "card/sim/traffic_manager.h"

#include "card/sim/backend.h"

namespace sim {

void install_traffic_manager(card::Backend &) {}

}  // namespace sim
