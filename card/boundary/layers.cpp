// Backends in front of the one that answers.
#include "card/boundary/layers.h"

namespace card {
namespace {

InFrontOf layers[kLayerCount];

}  // namespace

void put_in_front(Layer layer, InFrontOf make) {
    layers[static_cast<size_t>(layer)] = make;
}

const Backend &with_layers(const Backend &answering) {
    const Backend *outermost = &answering;
    for (const InFrontOf make : layers) {
        if (make != nullptr) outermost = &make(*outermost);
    }
    return *outermost;
}

}  // namespace card
