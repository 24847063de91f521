// Arbitrary bytes as a card's state.
#include "tests/fuzz/kivctl/state_feed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    feed_state(data, size);
    return 0;
}
