// Transmit adjacencies, next hops and tunnels on the simulated card.
#ifndef CARD_SIM_ADJACENCY_H
#define CARD_SIM_ADJACENCY_H

#include "card/sim/accounts.h"
#include "card/sim/inventory.h"

namespace sim {

struct AdjacencyState {
    AdjacencyState(Accounts &, const Inventory &) {}
};

}  // namespace sim

#endif
