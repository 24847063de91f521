// SPAN: mirror sessions and their source interfaces: reusable steps, and cases, some of which are the
// fixtures of the SPAN folders.
#ifndef PRM_KIV_SPAN_H
#define PRM_KIV_SPAN_H

#include "prm_srh_span.h"
#include "prm_types.h"

enum { ZOR_SPAN_MAX_SRC_INTFS = 400 };  // source interfaces that a case takes

// What kiv_span_op asks the resource manager for.
enum kiv_span_operation : u32 {
    KIV_SPAN_CREATE = 0,
    KIV_SPAN_DESTROY = 1,
    KIV_SPAN_ENABLE = 12,
    KIV_SPAN_DISABLE = 13,
};

#ifdef __cplusplus
extern "C" {
#endif

// Sends a record by one of kiv_span_operation; any other operation is told and is no error.
prm_status_t kiv_span_op(prm_span_request *request, u32 operation);
prm_status_t kiv_span_session_op(u32 session, u32 dest_port, u32 operation);

// Adds an interface to a session's sources in a direction (0, 1 and 2 are valid), or removes it.
prm_status_t kiv_span_src_set(u32 ifh, u32 session, int direction, int add);

// Reads a line of standard input for each pointer that is not null and tells its value: handle (hexadecimal),
// direction and session (decimal). A missing line leaves its value as it was. Returns 0.
int kiv_span_read_input(u32 *ifh, int *direction, u32 *session);

// Set-up and tear-down of the SPAN sub-folders; registered as cases too.
int prm_kiv_span_enable(void);
int prm_kiv_span_disable(void);
int prm_kiv_span_all_sessions_create(void);
int prm_kiv_span_all_sessions_destroy(void);

int prm_kiv_span_session_create(void);
int prm_kiv_span_session_destroy(void);
int prm_kiv_span_port_add(void);
int prm_kiv_span_port_delete(void);

int prm_kiv_span_session_create_destroy(void);
int prm_kiv_span_invalid_session_valid_dest_port(void);
int prm_kiv_span_valid_session_invalid_dest_port(void);
int prm_kiv_span_session_destroy_when_port_present(void);

int prm_kiv_span_port_add_delete(void);
int prm_kiv_span_port_add_invalid_session(void);
int prm_kiv_span_port_delete_invalid_session(void);
int prm_kiv_span_port_add_delete_invalid_ifh(void);
int prm_kiv_span_port_add_delete_invalid_dir(void);
int prm_kiv_span_port_add_delete_l3_subintf(void);

int prm_kiv_span_port_add_valid_but_nonexistent_session(void);
int prm_kiv_span_port_delete_valid_but_nonexistent_session(void);

#ifdef __cplusplus
}
#endif

#endif
