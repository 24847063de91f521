// The floor: a plain array of functions and one printf each.
#include <cstdio>
#include <string>
#include <vector>

static unsigned failures;
#define BENCH_CHECK(status)                                                                         \
    do {                                                                                            \
        const unsigned result = status;                                                             \
        if (result != 0)                                                                            \
            printf("%s:%d: failed: status %u, check %u\n", __FILE__, __LINE__, result, ++failures); \
    } while (0)
#include "bench/kiv/cases.h"

struct Case {
    const char *name;
    void (*function)();
};

#ifdef BENCH_240
#define CASE(n)              \
    static void case_##n() { \
        bench::trivial();    \
    }
BENCH_EACH_OF_240(CASE)
#define ROW(n) {"case_" #n, case_##n},
static const Case kCases[] = {BENCH_EACH_OF_240(ROW)};
#endif

int main(int argc, char **) {
#ifdef BENCH_240
    const Case *const cases = kCases;
    const int count = sizeof kCases / sizeof kCases[0];
#else
    const bench::Load load = bench::load();
    const int count = load.count;
    std::vector<std::string> names;
    names.reserve(static_cast<size_t>(count));
    std::vector<Case> registered;
    for (int i = 0; i < count; ++i) {
        names.push_back("case_" + std::to_string(i));
        registered.push_back({names.back().c_str(), load.at(i)});
    }
    const Case *const cases = registered.data();
#endif
    const bool list = argc > 1;
    for (int i = 0; i < count; ++i) {
        const unsigned before = failures;
        if (!list) cases[i].function();
        printf("%s%s\n", cases[i].name, list ? "" : failures == before ? " passed" : " failed");
    }
    printf("%d cases\n", count);
}
