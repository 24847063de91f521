// Arbitrary text as a fault rule: what the fuzz target and the test with pseudo-random text share.
#ifndef TESTS_FUZZ_CARD_RULE_FEED_H
#define TESTS_FUZZ_CARD_RULE_FEED_H

#include <cstddef>
#include <cstdint>

// Ends the process when a rule that is taken covers no operation, or an error points outside of the text.
void feed_rule(const uint8_t *data, size_t size);

#endif
