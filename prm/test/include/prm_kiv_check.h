// Shorthands for the framework's check calls, so that a case reads: call, check, line.
#ifndef PRM_KIV_CHECK_H
#define PRM_KIV_CHECK_H

#include "cerr.h"
#include "kiv.h"

// Checks a status against 0. `file` is the source path without directories of the platform and extension.
static inline int kiv_check_success(prm_status_t status, const char *file, const char *function, int line) {
    return kiv_jyx_check_cerrno_(status, CERR_SUCCESS, "CERR_SUCCESS", file, function, line);
}

// First byte of every message format of kiv_check__.
#define KIV_CHECK_FORMAT "\xff"

#endif
