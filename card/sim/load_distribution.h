// Load-distribution entries on the simulated card.
#ifndef CARD_SIM_LOAD_DISTRIBUTION_H
#define CARD_SIM_LOAD_DISTRIBUTION_H

#include "card/sim/accounts.h"
#include "card/sim/inventory.h"

namespace sim {

struct LoadDistributionState {
    LoadDistributionState(Accounts &, const Inventory &) {}
};

}  // namespace sim

#endif
