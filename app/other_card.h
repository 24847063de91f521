// What --card takes besides the simulated card and shared libraries: whoever has such a card offers it.
#ifndef APP_OTHER_CARD_H
#define APP_OTHER_CARD_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "card/boundary/backend.h"
#include "kiv/results.h"

namespace app {

struct OtherCard {
    std::string_view prefix;  // "replay:"
    // What stands behind the prefix. False, with *error set: nothing is run.
    bool (*open)(const std::string &what, kiv::RunInfo &info, const card::Backend **answering,
                 std::string *error);
    // As Observer::status_text.
    const char *(*status_text)(uint32_t status);
};

// Filled before the run begins.
inline std::vector<OtherCard> &other_cards() {
    static std::vector<OtherCard> cards;
    return cards;
}

}  // namespace app

#endif
