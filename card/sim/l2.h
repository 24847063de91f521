// Attachment circuits, cross-connects and bridge domains on the simulated card.
#ifndef CARD_SIM_L2_H
#define CARD_SIM_L2_H

#include "card/sim/accounts.h"
#include "card/sim/inventory.h"

namespace sim {

struct L2State {
    L2State(Accounts &, const Inventory &) {}
};

}  // namespace sim

#endif
