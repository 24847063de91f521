// The suite's checks, so that a case reads: call, check, line; and the contract that they keep.
//
// The file names, line numbers and texts with which the suite reports, misspellings included, and every byte
// that it sends are matched by others. They are never renumbered or corrected. Two words stand where that
// shows:
// - "Fixed": the line that a check reports is part of the contract, whatever line the check moves to. A check
//   whose line is not reports the one where it stands, and its name ends in `_here`.
// - "Sent as is": a value whose meaning the platform's makers did not tell us.
#ifndef PRM_KIV_CHECK_H
#define PRM_KIV_CHECK_H

#include <stdlib.h>

#include "cerr.h"
#include "kiv.h"

// In all of these `file` is the source path without directories of the platform and extension, `function` the
// name that the check is reported under; `fixed_line` is a number of the contract, `here` is __LINE__.

// Checks a status against an expected one.
static inline int kiv_check_status_fixed(prm_status_t status, prm_status_t expected,
                                         const char *expected_name, const char *file, const char *function,
                                         int fixed_line) {
    return kiv_jyx_check_cerrno_(status, expected, expected_name, file, function, fixed_line);
}
static inline int kiv_check_status_here(prm_status_t status, prm_status_t expected, const char *expected_name,
                                        const char *file, const char *function, int here) {
    return kiv_jyx_check_cerrno_(status, expected, expected_name, file, function, here);
}

// Checks a status against 0.
static inline int kiv_check_success_fixed(prm_status_t status, const char *file, const char *function,
                                          int fixed_line) {
    return kiv_check_status_fixed(status, CERR_SUCCESS, "CERR_SUCCESS", file, function, fixed_line);
}
static inline int kiv_check_success_here(prm_status_t status, const char *file, const char *function,
                                         int here) {
    return kiv_check_status_here(status, CERR_SUCCESS, "CERR_SUCCESS", file, function, here);
}

// First byte of every message format of kiv_check__.
#define KIV_CHECK_FORMAT "\xff"

// Checks a condition, reported as `text`; when it does not hold, the process ends. The message, a printf
// format and its arguments, comes last.
#define KIV_REQUIRE_FIXED(condition, text, file, function, fixed_line, ...)                    \
    do {                                                                                       \
        const bool holds = (condition);                                                        \
        kiv_check__(0, holds, text, file, function, fixed_line, KIV_CHECK_FORMAT __VA_ARGS__); \
        if (!holds) abort();                                                                   \
    } while (0)

// Reports the fatal failure of a case or step that got no memory, and ends the process.
[[noreturn]] static inline void kiv_fail_without_memory_fixed(const char *file, const char *function,
                                                              int fixed_line) {
    kiv_check__(0, 0, "kiv_fail()", file, function, fixed_line, KIV_CHECK_FORMAT "Memory allocation failed");
    abort();
}
[[noreturn]] static inline void kiv_fail_without_memory_here(const char *file, const char *function,
                                                             int here) {
    kiv_fail_without_memory_fixed(file, function, here);
}

#endif
