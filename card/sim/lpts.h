// Local packet transport entries on the simulated card.
#ifndef CARD_SIM_LPTS_H
#define CARD_SIM_LPTS_H

#include "card/sim/accounts.h"
#include "card/sim/inventory.h"

namespace sim {

struct LptsState {
    LptsState(Accounts &, const Inventory &) {}
};

}  // namespace sim

#endif
