// A small suite with every kind of case that leaves its worker alive: what the end-to-end tests run.
#include <cstdio>
#include <cstring>

#include "kiv.h"

static const char kFile[] = "tests/kiv/samples/mixed";

static int passes() {
    return kiv_jyx_check_cerrno_(0, 0, "CERR_SUCCESS", kFile, __func__, 11);
}

static int fails() {
    kiv_printf("about to fail\n");
    kiv_jyx_check_cerrno_(0x457c2a00, 0, "CERR_SUCCESS", kFile, __func__, 15);
    return kiv_check__(0, 1 == 2, "1 == 2", kFile, __func__, 16, "\xff%d: not the same", 16);
}

static int says_nothing() {
    kiv_printf("SUCCESS: of its own\n");
    return 0;
}

static int reports_an_error() {
    printf("ERROR: the system under test said no, rc = %d", 22);
    return 0;
}

static int prints_everywhere() {
    kiv_printf("one ");
    printf("two ");
    fputs("three ", stderr);
    puts("four");
    return kiv_check__(0, 1, "true", kFile, __func__, 31, "\xff%d: fine", 31);
}

static int reads_a_line() {
    char line[200];
    while (fgets(line, sizeof line, stdin)) kiv_printf("read %s", line);
    return kiv_jyx_check_cerrno_(0, 0, "CERR_SUCCESS", kFile, __func__, 37);
}

static int reads_the_flash() {
    char line[200];
    FILE *file = fopen("/disk0:/kiv_input_file", "r");
    if (file == nullptr) {
        perror("kiv_input_file");
        return 1;
    }
    while (fgets(line, sizeof line, file)) kiv_printf("flash %s", line);
    fclose(file);
    return kiv_jyx_check_cerrno_(0, 0, "CERR_SUCCESS", kFile, __func__, 49);
}

static int set_up() {
    kiv_printf("set-up\n");
    return 0;
}

static int tear_down() {
    kiv_printf("tear-down\n");
    return 0;
}

static int failing_set_up() {
    return kiv_jyx_check_cerrno_(5, 0, "CERR_SUCCESS", kFile, __func__, 62);
}

int main(int argc, char **argv) {
    kiv_context_t context = nullptr;
    kiv_create(&context);
    kiv_folder_t first = kiv_create_test_folder(context, nullptr, "first", "First things");
    kiv_add_fixture(first, set_up, tear_down);
    kiv_create_test_case(context, first, "passes", "Passes", passes, KIV_MODE_AUTOMATIC);
    kiv_create_test_case(context, first, "fails", "Fails twice", fails, KIV_MODE_AUTOMATIC);
    kiv_create_test_case(context, first, "passes", "Passes again", passes, KIV_MODE_AUTOMATIC);
    kiv_create_test_case(context, first, "manual", "Wants an operator", passes, KIV_MODE_MANUAL);
    kiv_folder_t second = kiv_create_test_folder(context, nullptr, "second", "Second things");
    kiv_create_test_case(context, second, "says_nothing", "No check", says_nothing, KIV_MODE_AUTOMATIC);
    kiv_create_test_case(context, second, "reports_an_error", "A line", reports_an_error, KIV_MODE_AUTOMATIC);
    kiv_create_test_case(context, second, "prints_everywhere", "Output", prints_everywhere,
                         KIV_MODE_AUTOMATIC);
    kiv_create_test_case(context, second, "reads_a_line", "Input", reads_a_line, KIV_MODE_AUTOMATIC);
    kiv_create_test_case(context, second, "reads_the_flash", "Flash", reads_the_flash, KIV_MODE_AUTOMATIC);
    kiv_folder_t below = kiv_create_test_folder(context, second, "below", "Below the second");
    kiv_add_fixture(below, failing_set_up, tear_down);
    kiv_create_test_case(context, below, "passes", "Passes", passes, KIV_MODE_AUTOMATIC);
    kiv_run(argc, argv, context);
    kiv_destroy(&context);
    return 0;
}
