// The families of the state: one function each, in the order of the document.
#ifndef CARD_STATE_FAMILIES_H
#define CARD_STATE_FAMILIES_H

#include <span>
#include <string_view>

#include "card/sim/card.h"
#include "card/state/entry_writer.h"

namespace card {

struct Family {
    std::string_view name;
    std::string_view key;  // fields that tell entries apart, separated by blanks
    void (*write)(const sim::Card &card, FamilyWriter &out);
};

// Each source of card/state tells its own.
std::span<const Family> interface_families();   // interfaces, bundles, mirroring
std::span<const Family> forwarding_families();  // routes, labels, load distribution, adjacencies, transport
std::span<const Family> layer2_families();      // bridge domains, circuits, overlays
std::span<const Family> classification_families();  // TCAMs, queues, policies
std::span<const Family> session_families();         // connections, statistics pointers, reserved indices

}  // namespace card

#endif
