// A suite of a project that links the installed framework: one good folder with another below, and a bad one.
#include <kiv.h>
#include <kiv/observer.h>

static int passes() {
    return kiv_jyx_check_cerrno_(0, 0, "CERR_SUCCESS", "consumer", __func__, 5);
}

static int fails() {
    return kiv_check__(0, 0, "false", "consumer", __func__, 7,
                       "\xff"
                       "always");
}

int main(int argc, char **argv) {
    kiv_context_t context = nullptr;
    kiv_create(&context);
    kiv_folder_t good = kiv_create_test_folder(context, nullptr, "good", "Passes");
    kiv_create_test_case(context, good, "passes", "Passes", passes, KIV_MODE_AUTOMATIC);
    kiv_folder_t below = kiv_create_test_folder(context, good, "below", "Passes too");
    kiv_create_test_case(context, below, "passes", "Passes", passes, KIV_MODE_AUTOMATIC);
    kiv_folder_t bad = kiv_create_test_folder(context, nullptr, "bad", "Fails");
    kiv_create_test_case(context, bad, "fails", "Fails", fails, KIV_MODE_AUTOMATIC);
    kiv_run(argc, argv, context);
    kiv_destroy(&context);
    return 0;
}
