// Route leaves on the simulated card.
#ifndef CARD_SIM_ROUTE_H
#define CARD_SIM_ROUTE_H

#include "card/sim/accounts.h"
#include "card/sim/inventory.h"

namespace sim {

struct RouteState {
    RouteState(Accounts &, const Inventory &) {}
};

}  // namespace sim

#endif
