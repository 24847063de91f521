// A platform that accepts everything, remembers nothing and answers files and standard input from memory.
#include "tests/fuzz/suite/platform.h"

#include <cstdio>
#include <cstring>

#include "cerr.h"
#include "event_manager.h"
#include "platform_info.h"
#include "prm_mgr.h"
#include "prm_srh.h"
#include "uidb.h"
#include "wyk_hal_wrapper.h"
#include "zor_vop_prm.h"

namespace {
const uint8_t *flash_bytes;
size_t flash_size;
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
