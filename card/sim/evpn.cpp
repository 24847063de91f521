// Multi-path groups, EVPN MACs, split-horizon and overlay entries on the simulated card.
#include "card/sim/evpn.h"

#include "card/sim/backend.h"

namespace sim {

void install_evpn(card::Backend &) {}

}  // namespace sim
