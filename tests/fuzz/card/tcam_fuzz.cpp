// libFuzzer target: arbitrary bytes as TCAM requests.
#include "tests/fuzz/card/feed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    feed_tcam(data, size);
    return 0;
}
