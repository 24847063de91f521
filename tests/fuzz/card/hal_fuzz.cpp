// libFuzzer target: arbitrary bytes as requests of the NP HAL wrapper.
#include "tests/fuzz/card/feed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    feed_hal(data, size);
    return 0;
}
