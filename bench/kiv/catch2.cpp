// The cases for Catch2.
#define CATCH_CONFIG_RUNNER
#include <catch2/catch.hpp>
#include <string>

#define BENCH_CHECK(status) CHECK(status == 0u)
#include "bench/kiv/cases.h"

#ifdef BENCH_240
#define CASE(n)                        \
    TEST_CASE("case_" #n, "[bench]") { \
        bench::trivial();              \
    }
BENCH_EACH_OF_240(CASE)
#else
static void register_cases() {
    const bench::Load load = bench::load();
    for (int i = 0; i < load.count; ++i)
        REGISTER_TEST_CASE(load.at(i), "case_" + std::to_string(i), "[bench]");
}
#endif

int main(int argc, char **argv) {
#ifndef BENCH_240
    register_cases();
#endif
    return Catch::Session().run(argc, argv);
}
