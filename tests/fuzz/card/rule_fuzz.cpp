// libFuzzer target: arbitrary text as a fault rule.
#include "tests/fuzz/card/rule_feed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    feed_rule(data, size);
    return 0;
}
