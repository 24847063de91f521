// Feeds arbitrary bytes to everything of the suite that reads input. Sanitizers and the guards inside judge;
// a suite that aborts by itself (a check failed) is no finding.
#ifndef TESTS_FUZZ_SUITE_FEED_H
#define TESTS_FUZZ_SUITE_FEED_H

#include <cstddef>
#include <cstdint>

// The bytes are the content of every file on the card's flash; each reader reads it once.
void feed_flash_readers(const uint8_t *bytes, size_t size);

// The first byte chooses the reader (or all of them, for a value past their number), the rest is what it
// reads on standard input.
void feed_standard_input(const uint8_t *bytes, size_t size);

#endif
