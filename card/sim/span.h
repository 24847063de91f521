// Mirror sessions and their sources on the simulated card.
#ifndef CARD_SIM_SPAN_H
#define CARD_SIM_SPAN_H

#include "card/sim/accounts.h"
#include "card/sim/inventory.h"
#include "prm_types.h"

namespace sim {

struct SpanState {
    SpanState(Accounts &, const Inventory &) {}
};

struct Card;

// Feature UIDB_FEATURE_SPAN_SOURCE of an interface: adds it to a mirror session as a source, or removes it;
// check_mirror_source() tells what set_mirror_source() would answer.
prm_status_t check_mirror_source(Card &card, u32 if_handle, u16 direction, u32 value);
prm_status_t set_mirror_source(Card &card, u32 if_handle, u16 direction, u32 value);

}  // namespace sim

#endif
