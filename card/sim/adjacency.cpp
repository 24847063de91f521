// Transmit adjacencies, next hops and tunnels on the simulated card.
#include "card/sim/adjacency.h"

#include "card/sim/backend.h"

namespace sim {

void install_adjacency(card::Backend &) {}

}  // namespace sim
