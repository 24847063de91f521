// Follows every operation that the tests call, and holds what it does against its row in card/operations.def.
#ifndef TESTS_CARD_SIM_WATCH_H
#define TESTS_CARD_SIM_WATCH_H

#include "card/boundary/backend.h"

namespace sim {

// The simulated card, watched: what a row calls IN is unchanged after the call, and no account but the row's
// resources is charged or freed.
const card::Backend &watched_backend();

}  // namespace sim

#endif
