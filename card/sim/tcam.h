// TCAM entries and their statistics on the simulated card.
#ifndef CARD_SIM_TCAM_H
#define CARD_SIM_TCAM_H

#include "card/sim/accounts.h"
#include "card/sim/inventory.h"

namespace sim {

struct TcamState {
    TcamState(Accounts &, const Inventory &) {}
};

}  // namespace sim

#endif
