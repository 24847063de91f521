// A platform that accepts everything, remembers nothing and answers files and standard input from memory.
#include "tests/fuzz/suite/platform.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "cerr.h"
#include "event_manager.h"
#include "kiv.h"
#include "platform_info.h"
#include "prm_mgr.h"
#include "prm_srh.h"
#include "uidb.h"
#include "wyk_hal_wrapper.h"
#include "zor_vop_prm.h"

namespace {
const uint8_t *flash_bytes;
size_t flash_size;

// Formats into nowhere, so that a text argument that is no text is seen.
void format(const char *text, va_list arguments) {
    static char sink[4096];
    vsnprintf(sink, sizeof sink, text, arguments);
}
}  // namespace

void set_flash(const uint8_t *bytes, size_t size) {
    flash_bytes = bytes;
    flash_size = size;
}

// The operations' arguments are of no interest here.
#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {

#define OPERATION(family, result, name, parameters, arguments, ...) \
    result name parameters {                                        \
        return static_cast<result>(0);                              \
    }
#include "card/operations.def"

int kiv_printf(const char *text, ...) {
    va_list arguments;
    va_start(arguments, text);
    format(text, arguments);
    va_end(arguments);
    return 0;
}

int kiv_jyx_check_cerrno_(u32 status, u32 expected, const char *name, const char *file, const char *function,
                          int line) {
    return status == expected ? 1 : 0;
}

int kiv_check__(int flags, int condition, const char *condition_text, const char *file, const char *function,
                int line, const char *text, ...) {
    va_list arguments;
    va_start(arguments, text);
    format(text, arguments);
    va_end(arguments);
    return condition;
}

void kiv_create(kiv_context_t *context) {
    *context = nullptr;
}
kiv_folder_t kiv_create_test_folder(kiv_context_t context, kiv_folder_t parent, const char *name,
                                    const char *title) {
    return nullptr;
}
void kiv_add_fixture(kiv_folder_t folder, kiv_function_t set_up, kiv_function_t tear_down) {}
void kiv_create_test_case(kiv_context_t context, kiv_folder_t folder, const char *name,
                          const char *description, kiv_function_t function, int mode) {}
int kiv_run(int argc, char **argv, kiv_context_t context) {
    return 0;
}
void kiv_destroy(kiv_context_t *context) {}

FILE *__real_fopen(const char *path, const char *mode);
FILE *__wrap_fopen(const char *path, const char *mode) {
    static const char kFlash[] = "/disk0:/";
    if (std::strncmp(path, kFlash, sizeof kFlash - 1) != 0) return __real_fopen(path, mode);
    if (flash_bytes == nullptr) return nullptr;
    if (mode[0] == 'w') return fmemopen(nullptr, 4096, "w+");
    // What a case appends is lost: every file reads as the content given.
    return fmemopen(const_cast<uint8_t *>(flash_bytes), flash_size, "r");
}

[[noreturn]] void __wrap_abort(void) {
    throw SuiteAborted();
}

}  // extern "C"
