// Mirror sessions and their sources on the simulated card.
#include "card/sim/span.h"

#include "card/sim/backend.h"

namespace sim {

prm_status_t check_mirror_source(Card &, u32, u16, u32) {
    return CARD_ERROR_NOT_SUPPORTED;
}

prm_status_t set_mirror_source(Card &, u32, u16, u32) {
    return CARD_ERROR_NOT_SUPPORTED;
}

void install_span(card::Backend &) {}

}  // namespace sim
