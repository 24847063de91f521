// Fuzz target: the readers of the card's flash files.
#include "tests/fuzz/suite/feed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    feed_flash_readers(bytes, size);
    return 0;
}
