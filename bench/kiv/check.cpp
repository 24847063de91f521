// The cases for Check, each in a process of its own. A failed check ends its case there.
#include <check.h>

#include <cstdlib>

#define BENCH_CHECK(status) ck_assert_uint_eq(status, 0u)
#include "bench/kiv/cases.h"

#ifdef BENCH_240
#define CASE(n)            \
    START_TEST(case_##n) { \
        bench::trivial();  \
    }                      \
    END_TEST
BENCH_EACH_OF_240(CASE)
#else
static bench::Load wanted;
START_TEST(one) {
    wanted.at(_i)();
}
END_TEST
#endif

int main() {
    Suite *const suite = suite_create("bench");
    TCase *const cases = tcase_create("bench");
    tcase_set_timeout(cases, 1);
#ifdef BENCH_240
#define ROW(n) tcase_add_test(cases, case_##n);
    BENCH_EACH_OF_240(ROW)
#else
    wanted = bench::load();
    if (wanted.function == bench::passing) tcase_set_timeout(cases, 60);
    tcase_add_loop_test(cases, one, 0, wanted.count);
#endif
    suite_add_tcase(suite, cases);
    SRunner *const runner = srunner_create(suite);
    srunner_run_all(runner, CK_NORMAL);
    const int failed = srunner_ntests_failed(runner);
    srunner_free(runner);
    return failed != 0;
}
