// A platform that accepts everything, remembers nothing and answers files and standard input from memory.
#ifndef TESTS_FUZZ_SUITE_PLATFORM_H
#define TESTS_FUZZ_SUITE_PLATFORM_H

#include <cstddef>
#include <cstdint>

// Thrown by the suite's abort.
struct SuiteAborted {};

// Content of every file below "/disk0:/" from now on; not copied. Null: no file can be opened.
void set_flash(const uint8_t *bytes, size_t size);

#endif
