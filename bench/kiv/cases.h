// The cases that every framework runs. A framework's source defines BENCH_CHECK(status), its check that a
// status is 0, before it includes this; then all cases are the same but for that one line.
#ifndef BENCH_KIV_CASES_H
#define BENCH_KIV_CASES_H

#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace bench {

// Read anew by every check: no compiler knows the outcome.
inline volatile unsigned good = 0, bad = 5;

constexpr int kPassingChecks = 10'000'000;
constexpr int kFailingCases = 1000, kFailingChecks = 100;  // as many a case as every framework keeps
constexpr int kCrashCases = 20, kCrashAt = 9;

inline void trivial() {
    BENCH_CHECK(bench::good);
}

inline void passing() {
    for (int i = 0; i < kPassingChecks; ++i) BENCH_CHECK(bench::good);
}

inline void failing() {
    for (int i = 0; i < kFailingChecks; ++i) BENCH_CHECK(bench::bad);
}

inline void aborting() {
    BENCH_CHECK(bench::good);
    abort();
}

inline void hanging() {
    BENCH_CHECK(bench::good);
    while (true) pause();
}

// What BENCH_LOAD asks for: `count` cases, all of them `function` but for the one at `odd`.
struct Load {
    int count = 0;
    void (*function)() = trivial;
    int odd = -1;
    void (*odd_function)() = trivial;

    void (*at(int i) const)() { return i == odd ? odd_function : function; }
};

inline Load load() {
    const char *const kind = getenv("BENCH_LOAD");
    if (kind == nullptr) return {};
    if (strcmp(kind, "passing") == 0) return {1, passing};
    if (strcmp(kind, "failing") == 0) return {kFailingCases, failing};
    if (strcmp(kind, "abort") == 0) return {kCrashCases, trivial, kCrashAt, aborting};
    if (strcmp(kind, "hang") == 0) return {kCrashCases, trivial, kCrashAt, hanging};
    return {atoi(kind)};
}

}  // namespace bench

// M(000) to M(239).
#define BENCH_TEN(M, n) M(n##0) M(n##1) M(n##2) M(n##3) M(n##4) M(n##5) M(n##6) M(n##7) M(n##8) M(n##9)
#define BENCH_HUNDRED(M, n) \
    BENCH_TEN(M, n##0)      \
    BENCH_TEN(M, n##1)      \
    BENCH_TEN(M, n##2)      \
    BENCH_TEN(M, n##3)      \
    BENCH_TEN(M, n##4)      \
    BENCH_TEN(M, n##5) BENCH_TEN(M, n##6) BENCH_TEN(M, n##7) BENCH_TEN(M, n##8) BENCH_TEN(M, n##9)
#define BENCH_EACH_OF_240(M) \
    BENCH_HUNDRED(M, 0)      \
    BENCH_HUNDRED(M, 1) BENCH_TEN(M, 20) BENCH_TEN(M, 21) BENCH_TEN(M, 22) BENCH_TEN(M, 23)

#endif
