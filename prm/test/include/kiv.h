// The test framework as a suite sees it: folders, fixtures, cases, the run, prints and the two checks.
//
// Everything has C linkage. The framework owns contexts and folders; texts given to it are copied.
// A case or fixture takes no argument and reports only through the print and check calls below: what
// it returns is not used.
#ifndef KIV_H
#define KIV_H

#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct kiv_context *kiv_context_t;
typedef struct kiv_folder *kiv_folder_t;
typedef int (*kiv_function_t)(void);

// Modes of a case: an automatic case runs unless told otherwise; a manual one needs a site or an operator
// and runs when a selector or the plan names it.
enum { KIV_MODE_AUTOMATIC = 1, KIV_MODE_MANUAL = 4 };

// Creates a context and stores it in *context.
void kiv_create(kiv_context_t *context);

// Creates a folder below `parent` (null: at the top level). The folder lives as long as the context.
kiv_folder_t kiv_create_test_folder(kiv_context_t context, kiv_folder_t parent, const char *name,
                                    const char *title);

// Wraps the folder's cases, those of its sub-folders included, in a set-up and a tear-down.
void kiv_add_fixture(kiv_folder_t folder, kiv_function_t set_up, kiv_function_t tear_down);

void kiv_create_test_case(kiv_context_t context, kiv_folder_t folder, const char *name,
                          const char *description, kiv_function_t function, int mode);

// Runs what the command line selects. Returns 0 when the run went through with nothing failed.
int kiv_run(int argc, char **argv, kiv_context_t context);

// Destroys the context and everything created in it; *context becomes null.
void kiv_destroy(kiv_context_t *context);

// Prints like printf, without a newline of its own; the text belongs to the running case.
int kiv_printf(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Records whether `status` is `expected`. Returns 1 when it is, else 0.
int kiv_jyx_check_cerrno_(u32 status, u32 expected, const char *expected_name, const char *file,
                          const char *function, int line);

// Records whether `condition` holds; `text` is the condition as written. The format's first byte is 0xFF
// and is not printed. `flags` is always 0. Returns the condition.
int kiv_check__(int flags, int condition, const char *text, const char *file, const char *function, int line,
                const char *format, ...);

#ifdef __cplusplus
}
#endif

#endif
