// What is always so between the entries of a simulated card. Each table names its relations; relations_test
// holds them after every operation of the default site's plan. Another family adds its table beside these.
#ifndef TESTS_CARD_SUITE_RELATIONS_H
#define TESTS_CARD_SUITE_RELATIONS_H

#include <span>
#include <string>

#include "card/sim/card.h"

namespace relations {

struct Relation {
    const char *name;
    // Empty where it holds, else what breaks it.
    std::string (*broken_by)(const sim::Card &card);
};

std::span<const Relation> of_interfaces();
std::span<const Relation> of_forwarding();
std::span<const Relation> of_layer2();

}  // namespace relations

#endif
