// Label entries and their indices on the simulated card.
#include "card/sim/label.h"

#include "card/sim/backend.h"

namespace sim {

void install_label(card::Backend &) {}

}  // namespace sim
