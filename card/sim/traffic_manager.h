// Traffic-manager policies and queues on the simulated card.
#ifndef CARD_SIM_TRAFFIC_MANAGER_H
#define CARD_SIM_TRAFFIC_MANAGER_H

#include "card/sim/accounts.h"
#include "card/sim/inventory.h"

namespace sim {

struct TrafficManagerState {
    TrafficManagerState(Accounts &, const Inventory &) {}
};

}  // namespace sim

#endif
