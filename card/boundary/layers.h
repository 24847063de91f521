// Backends in front of the one that answers: what sees the calls, or changes them, on their way there.
#ifndef CARD_BOUNDARY_LAYERS_H
#define CARD_BOUNDARY_LAYERS_H

#include "card/boundary/backend.h"

namespace card {

// From the answering backend outwards: what is recorded is what the suite sees.
enum class Layer { FAULTS, RECORDING };
inline constexpr size_t kLayerCount = 2;

// Makes a backend that passes calls on to `behind`, which outlives it. The layer owns what it makes.
using InFrontOf = const Backend &(*)(const Backend &behind);

// From the next with_layers on, `layer` is made so; null takes it away.
void put_in_front(Layer layer, InFrontOf make);

// What a process that is to ask `answering` gives to use_backend: all layers, each made anew.
const Backend &with_layers(const Backend &answering);

}  // namespace card

#endif
