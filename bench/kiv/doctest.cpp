// The cases for doctest.
#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include <string>
#include <vector>

#define BENCH_CHECK(status) CHECK_EQ(status, 0u)
#include "bench/kiv/cases.h"

#ifdef BENCH_240
#define CASE(n)             \
    TEST_CASE("case_" #n) { \
        bench::trivial();   \
    }
BENCH_EACH_OF_240(CASE)
#else
// What TEST_CASE does, a line number for each case.
static void register_cases() {
    const bench::Load load = bench::load();
    static std::vector<std::string> names;
    names.reserve(static_cast<size_t>(load.count));
    for (int i = 0; i < load.count; ++i) {
        names.push_back("case_" + std::to_string(i));
        doctest::detail::regTest(
            doctest::detail::TestCase(load.at(i), __FILE__, static_cast<unsigned>(i), {}) *
            names.back().c_str());
    }
}
#endif

int main(int argc, char **argv) {
#ifndef BENCH_240
    register_cases();
#endif
    doctest::Context context(argc, argv);
    return context.run();
}
