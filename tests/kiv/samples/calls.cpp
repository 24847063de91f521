// A suite whose calls fail: what becomes of the failures that its cases tell, and of those that they do not.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "kiv.h"
#include "kiv/observer.h"

static const char kFile[] = "tests/kiv/samples/calls";
static const u32 kBusy = 0xa8b89200;

static u32 fail(u32 code = kBusy) {
    kiv::call_failed("bd_add", code, code == kBusy ? "E_BUSY" : "");
    return code;
}
static int check(u32 status, u32 expected) {
    return kiv_jyx_check_cerrno_(status, expected, "STATUS", kFile, "check", 1);
}
static int passes() {
    return check(0, 0);
}

// --- Told ---

static int checked() {
    return check(fail(), kBusy);
}
static int failed() {
    return check(fail(), 0);
}
static int condition_unequal() {
    fail();
    return kiv_check__(0, 1, "rc != EOK", kFile, __func__, 1, "\xff%s", "Expected failure");
}
static int condition_equal() {
    fail();
    return kiv_check__(0, 1, "(rc == E_BUSY)", kFile, __func__, 1, "\xff%s", "not busy");
}
static int shown() {
    kiv_printf("the call returned 0x%x\n", fail());
    return passes();
}
static int shown_as_signed() {
    printf("the call returned %d\n", static_cast<int>(fail()));
    return passes();
}
static int wanted() {
    fail();
    kiv_printf("ERROR: the step failed\n");
    kiv_printf("SUCCESS: adding twice failed\n");
    return 0;
}
static int reported() {
    fail();
    kiv_printf("ERROR: the step failed\n");
    return passes();
}

// --- Not told ---

static int says_nothing() {
    fail();
    fail(0x16);
    fail();
    kiv_printf("SUCCESS: all of it, 0x16 things, 22 of them\n");
    kiv_check__(0, 1, "rc == EOK", kFile, __func__, 1, "\xff%s", "fine");
    kiv_check__(0, 1, "count != 0", kFile, __func__, 1, "\xff%s", "fine");
    return passes();
}
static int unchecked() {
    fail();
    return 0;
}
static int said_before() {
    kiv_printf("rc = 0x%x\nSUCCESS: it failed\n", kBusy);
    check(kBusy, kBusy);
    fail();
    return passes();
}
static int dies() {
    fail();
    abort();
}
static int fails_otherwise() {
    fail();
    return check(1, 2);
}
static int many() {
    for (u32 i = 0; i < 1'000'000; ++i) fail(0x10000 + i);
    return passes();
}
static int child_shows() {
    fail();
    return system("echo the call returned a8b89200") == 0 ? passes() : 0;
}
static int in_a_child() {
    if (fork() == 0) {
        fail();
        _exit(0);
    }
    return passes();
}

static int silent_fixture() {
    return static_cast<int>(fail() & 0);
}

class Texts : public kiv::Observer {
    const char *status_text(uint32_t status) override { return status == kBusy ? "resource busy" : nullptr; }
};

int main(int argc, char **argv) {
    static Texts texts;
    kiv::subscribe(&texts);
    kiv_context_t context;
    kiv_create(&context);
    kiv_folder_t told = kiv_create_test_folder(context, nullptr, "told", "");
    kiv_folder_t silent = kiv_create_test_folder(context, nullptr, "silent", "");
    kiv_folder_t wild = kiv_create_test_folder(context, nullptr, "wild", "");
    kiv_folder_t fixtures = kiv_create_test_folder(context, nullptr, "fixtures", "");
    kiv_add_fixture(fixtures, silent_fixture, passes);
    const auto add = [&](kiv_folder_t folder, const char *name, kiv_function_t function) {
        kiv_create_test_case(context, folder, name, "", function, KIV_MODE_AUTOMATIC);
    };
    add(told, "checked", checked);
    add(told, "condition_unequal", condition_unequal);
    add(told, "condition_equal", condition_equal);
    add(told, "shown", shown);
    add(told, "shown_as_signed", shown_as_signed);
    add(told, "wanted", wanted);
    add(silent, "says_nothing", says_nothing);
    add(silent, "unchecked", unchecked);
    add(silent, "said_before", said_before);
    add(wild, "failed", failed);
    add(wild, "reported", reported);
    add(wild, "fails_otherwise", fails_otherwise);
    add(wild, "many", many);
    add(wild, "child_shows", child_shows);
    add(wild, "in_a_child", in_a_child);
    add(wild, "dies", dies);
    add(fixtures, "passes", passes);
    kiv_run(argc, argv, context);
    kiv_destroy(&context);
}
