// Multi-path groups, EVPN MACs, split-horizon and overlay entries on the simulated card.
#ifndef CARD_SIM_EVPN_H
#define CARD_SIM_EVPN_H

#include "card/sim/accounts.h"
#include "card/sim/inventory.h"

namespace sim {

struct EvpnState {
    EvpnState(Accounts &, const Inventory &) {}
};

}  // namespace sim

#endif
