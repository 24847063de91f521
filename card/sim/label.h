// Label entries and their indices on the simulated card.
#ifndef CARD_SIM_LABEL_H
#define CARD_SIM_LABEL_H

#include "card/sim/accounts.h"
#include "card/sim/inventory.h"

namespace sim {

struct LabelState {
    LabelState(Accounts &, const Inventory &) {}
};

}  // namespace sim

#endif
