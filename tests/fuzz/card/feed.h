// Arbitrary bytes as requests of the TCAM and of the NP HAL wrapper: what the fuzz targets and the test with
// pseudo-random bytes share. Each feed works on a small card of its own and ends the process (a sanitizer's
// report, an assertion) on any breach: a block touched beyond its size, or accounts that disagree with the
// tables.
#ifndef TESTS_FUZZ_CARD_FEED_H
#define TESTS_FUZZ_CARD_FEED_H

#include <cstddef>
#include <cstdint>

// A sequence of TCAM calls. For each: a byte chooses the operation, a byte how the 384 bytes of the record
// that follow are used (as they are, or over a well-formed record, with the latest handle, with buffers of
// exactly the size they must have).
void feed_tcam(const uint8_t *data, size_t size);

// A sequence of wrapper calls. For each: a byte chooses the operation, a byte how the bytes that follow are
// used. Blocks have exactly the size that the operation's form has for the request's count.
void feed_hal(const uint8_t *data, size_t size);

#endif
