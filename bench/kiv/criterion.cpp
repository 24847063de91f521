// The cases for Criterion, which runs each in a process of its own and registers them at link time: the
// load's cases are suites that the driver selects by --filter.
#include <criterion/criterion.h>

#define BENCH_CHECK(status) cr_expect_eq(status, 0u)
#include "bench/kiv/cases.h"

#ifdef BENCH_240
#define CASE(n)             \
    Test(bench, case_##n) { \
        bench::trivial();   \
    }
BENCH_EACH_OF_240(CASE)
#else
Test(passing, passing) {
    bench::passing();
}
Test(failing, failing) {
    bench::failing();
}

// Twenty cases, the tenth of which is another.
#define CASES_AROUND(suite, tenth)                                                            \
    CASE_OF(suite, 0)                                                                         \
    CASE_OF(suite, 1)                                                                         \
    CASE_OF(suite, 2)                                                                         \
    CASE_OF(suite, 3)                                                                         \
    CASE_OF(suite, 4)                                                                         \
    CASE_OF(suite, 5)                                                                         \
    CASE_OF(suite, 6) CASE_OF(suite, 7) CASE_OF(suite, 8) Test(suite, case_9, .timeout = 1) { \
        tenth();                                                                              \
    }                                                                                         \
    CASE_OF(suite, 10)                                                                        \
    CASE_OF(suite, 11)                                                                        \
    CASE_OF(suite, 12)                                                                        \
    CASE_OF(suite, 13)                                                                        \
    CASE_OF(suite, 14)                                                                        \
    CASE_OF(suite, 15) CASE_OF(suite, 16) CASE_OF(suite, 17) CASE_OF(suite, 18) CASE_OF(suite, 19)
#define CASE_OF(suite, n)   \
    Test(suite, case_##n) { \
        bench::trivial();   \
    }
CASES_AROUND(aborting, bench::aborting)
CASES_AROUND(hanging, bench::hanging)
#endif
