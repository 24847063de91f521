// The codes that the simulated card answers with, and their texts: its own beyond those of cerr.h.
#ifndef CARD_SIM_CODES_H
#define CARD_SIM_CODES_H

#include "cerr.h"
#include "prm_types.h"

// The card's own codes have a subsystem number of their own; the low nine bits are 0 as in all codes.
#define CODE(name, number, text) \
    inline constexpr prm_status_t CARD_ERROR_##name = 0x5CA00000u + (number << 9);
#include "card/sim/codes.def"

namespace sim {

// What an operation answers that a condition alone decides.
constexpr prm_status_t success_if(bool condition, prm_status_t otherwise) {
    return condition ? static_cast<prm_status_t>(CERR_SUCCESS) : otherwise;
}

// Text of a code, of the card's own and of those of cerr.h; one fixed text for every other code. Never null.
const char *code_text(u32 code);

// Name of a code ("CARD_ERROR_TABLE_FULL"), or null for an unknown one.
const char *code_name(u32 code);

}  // namespace sim

#endif
