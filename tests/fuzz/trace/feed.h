// Arbitrary bytes as a trace: what the fuzz target and the test with pseudo-random changes share.
#ifndef TESTS_FUZZ_TRACE_FEED_H
#define TESTS_FUZZ_TRACE_FEED_H

#include <cstddef>
#include <cstdint>
#include <string>

// Reads the bytes, shows every call as text, and answers calls from them. The first byte says what the others
// are: a whole file, entries behind this build's schema, or entries as they lie in memory. Ends the process
// when the reader contradicts itself.
void feed_trace(const uint8_t *data, size_t size);

// A trace of this build with a few calls and what stands around them; where its entries begin.
std::string sample_trace(size_t *entries);

#endif
