// A suite of as many trivial cases as SAMPLE_CASES says: for measuring, and for memory that must not grow.
#include <cstdio>
#include <cstdlib>

#include "kiv.h"

static const char kFile[] = "tests/kiv/samples/many";

static long sample_checks = 1;
static int sample_fails;

static int trivial() {
    for (long i = 0; i < sample_checks; ++i)
        kiv_jyx_check_cerrno_(sample_fails ? 5 : 0, 0, "CERR_SUCCESS", kFile, "trivial", 14);
    return 1;
}

int main(int argc, char **argv) {
    const char *cases = getenv("SAMPLE_CASES");
    if (const char *text = getenv("SAMPLE_CHECKS")) sample_checks = atol(text);
    sample_fails = getenv("SAMPLE_FAILS") != nullptr;
    const int count = cases ? atoi(cases) : 240;
    kiv_context_t context = nullptr;
    kiv_create(&context);
    kiv_folder_t folder = nullptr;
    for (int i = 0; i < count; ++i) {
        char name[32];
        if (i % 1000 == 0) {
            snprintf(name, sizeof name, "folder%d", i / 1000);
            folder = kiv_create_test_folder(context, nullptr, name, name);
        }
        snprintf(name, sizeof name, "test_%06d", i);
        kiv_create_test_case(context, folder, name, "Trivial", trivial, KIV_MODE_AUTOMATIC);
    }
    kiv_run(argc, argv, context);
    kiv_destroy(&context);
    return 0;
}
