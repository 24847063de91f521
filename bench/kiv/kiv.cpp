// The cases for kiv, through the calls a suite uses.
#include "kiv.h"

#include <string>

#define BENCH_CHECK(status) \
    kiv_jyx_check_cerrno_(status, 0, "CERR_SUCCESS", "bench/kiv/cases", __func__, __LINE__)
#include "bench/kiv/cases.h"

// A case of the suite returns a status, which is not used.
template <void (*kFunction)()>
static int returning() {
    kFunction();
    return 0;
}

#ifdef BENCH_240
#define CASE(n)                 \
    static int case_##n(void) { \
        bench::trivial();       \
        return 0;               \
    }
BENCH_EACH_OF_240(CASE)
#endif

static void register_cases(kiv_context_t context) {
    const kiv_folder_t folder = kiv_create_test_folder(context, nullptr, "bench", "Cases of the benchmark");
#ifdef BENCH_240
#define ROW(n) \
    kiv_create_test_case(context, folder, "case_" #n, "A trivial case", case_##n, KIV_MODE_AUTOMATIC);
    BENCH_EACH_OF_240(ROW)
#else
    static constexpr struct {
        void (*plain)();
        int (*function)(void);
    } kFunctions[] = {
        {bench::trivial, returning<bench::trivial>}, {bench::passing, returning<bench::passing>},
        {bench::failing, returning<bench::failing>}, {bench::aborting, returning<bench::aborting>},
        {bench::hanging, returning<bench::hanging>},
    };
    const bench::Load load = bench::load();
    for (int i = 0; i < load.count; ++i) {
        const std::string name = "case_" + std::to_string(i);
        for (const auto &function : kFunctions) {
            if (function.plain == load.at(i))
                kiv_create_test_case(context, folder, name.c_str(), "A trivial case", function.function,
                                     KIV_MODE_AUTOMATIC);
        }
    }
#endif
}

int main(int argc, char **argv) {
    kiv_context_t context = nullptr;
    kiv_create(&context);
    register_cases(context);
    kiv_run(argc, argv, context);
    kiv_destroy(&context);
}
