// Shorthands for the framework's check calls, so that a case reads: call, check, line.
#ifndef PRM_KIV_CHECK_H
#define PRM_KIV_CHECK_H

#include <stdlib.h>

#include "cerr.h"
#include "kiv.h"

// Checks a status against 0. `file` is the source path without directories of the platform and extension.
static inline int kiv_check_success(prm_status_t status, const char *file, const char *function, int line) {
    return kiv_jyx_check_cerrno_(status, CERR_SUCCESS, "CERR_SUCCESS", file, function, line);
}

// First byte of every message format of kiv_check__.
#define KIV_CHECK_FORMAT "\xff"

// Reports the fatal failure of a case or step that got no memory, and ends the process.
[[noreturn]] static inline void kiv_fail_without_memory(const char *file, const char *function, int line) {
    kiv_check__(0, 0, "kiv_fail()", file, function, line, KIV_CHECK_FORMAT "Memory allocation failed");
    abort();
}

#endif
