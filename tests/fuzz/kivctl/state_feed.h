// Arbitrary bytes as a card's state: what the fuzz target and the test with pseudo-random changes share.
#ifndef TESTS_FUZZ_KIVCTL_STATE_FEED_H
#define TESTS_FUZZ_KIVCTL_STATE_FEED_H

#include <cstddef>
#include <cstdint>

// Reads the bytes and prints what can be read as tables. Ends the process when the reader tells events in an
// order that no document has, or refuses without a reason.
void feed_state(const uint8_t *data, size_t size);

#endif
