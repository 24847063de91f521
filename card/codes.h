// The codes that what stands behind the platform operations answers with beyond those of cerr.h, and the
// texts and names of all of them.
#ifndef CARD_CODES_H
#define CARD_CODES_H

#include "cerr.h"
#include "prm_types.h"

// They have a subsystem number of their own; the low nine bits are 0 as in all codes.
#define CODE(name, number, text) \
    inline constexpr prm_status_t CARD_ERROR_##name = 0x5CA00000u + (number << 9);
#include "card/codes.def"

namespace card {

// Text of a code, of these and of those of cerr.h; one fixed text for every other code. Never null.
const char *code_text(u32 code);

// Name of a code ("CARD_ERROR_TABLE_FULL"), or null for an unknown one.
const char *code_name(u32 code);

// The codes that have a name, one after the other: that with the index, or null behind the last.
const char *code_name_at(size_t index, u32 *code);

}  // namespace card

#endif
