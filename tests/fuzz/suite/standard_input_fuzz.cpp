// Fuzz target: the readers of standard input.
#include "tests/fuzz/suite/feed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    feed_standard_input(bytes, size);
    return 0;
}
