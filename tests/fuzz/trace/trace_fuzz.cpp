// libFuzzer target: arbitrary bytes as a trace.
#include "tests/fuzz/trace/feed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    feed_trace(data, size);
    return 0;
}
