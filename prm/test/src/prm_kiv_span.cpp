// SPAN: mirror sessions and their source interfaces. The interfaces are typed on standard input; a negative
// case that finds its request accepted ends the process.
#include "prm_kiv_span.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kiv.h"
#include "prm_kiv_check.h"
#include "prm_kiv_main.h"
#include "prm_kiv_uidb.h"
#include "prm_srh.h"
#include "uidb.h"

static const char kFile[] = "prm/test/src/prm_kiv_span";

enum { kLineSize = 100 };  // a line of standard input holds at most 99 characters
enum { kSessions = PRM_SPAN_SESSIONS };

// Destination port of each session.
static const u32 kDestPorts[kSessions] = {20, 33, 3, 0};
static const u32 kBusyDestPorts[kSessions] = {10, 11, 12, 13};  // in the destroy-while-busy case

static const int kDirections[] = {0, 1, 2};
static const int kInvalidDirections[] = {-1, 3};

enum : u32 {
    kUnusedSession = 1,        // of the cases whose sources are refused
    kInvalidSession = 5,       // of a source
    kInvalidIfh = 0xDEADBEEF,  // no such interface
};

enum { EOK = CERR_SUCCESS };

// Checks a condition under its own text.
#define REQUIRE_FIXED(condition, function, line, ...) \
    KIV_REQUIRE_FIXED(condition, #condition, kFile, function, line, __VA_ARGS__)

// --- Steps ---

prm_status_t kiv_span_op(prm_span_request *request, u32 operation) {
    switch (operation) {
        case KIV_SPAN_CREATE:
            return prm_srh_span_fwd_add(prm_async_handle, request);
        case KIV_SPAN_DESTROY:
            return prm_srh_span_fwd_del(prm_async_handle, request);
        case KIV_SPAN_ENABLE:
            return prm_srh_span_enable(prm_async_handle, request);
        case KIV_SPAN_DISABLE:
            return prm_srh_span_disable(prm_async_handle, request);
        default:
            kiv_printf("Invalid Event");
            return CERR_SUCCESS;
    }
}

prm_status_t kiv_span_session_op(u32 session, u32 dest_port, u32 operation) {
    prm_span_request request;
    memset(&request, 0, sizeof request);
    request.session_id = session;
    request.dest_port = dest_port;
    return kiv_span_op(&request, operation);
}

prm_status_t kiv_span_src_set(u32 if_handle, u32 session, int direction, int add) {
    auto *const message = prm_kiv_uidb_new<uidb_client_data_of<1>>(if_handle);
    if (message == nullptr) {
        kiv_printf("Malloc Failed for uidb_client_data \n");
        return PRM_KIV_NO_MEMORY_STATUS;
    }
    prm_kiv_uidb_fill(&message->features[0], static_cast<u16>(direction), UIDB_FEATURE_SPAN_SOURCE,
                      add != 0 ? session : session | UIDB_SPAN_SOURCE_REMOVE);

    kiv_printf("Call UIDB Set feature\n");
    const prm_status_t rc = uidb_set_feature(0, &message->head);  // cookie 0
    free(message);
    kiv_printf("%s returned error is 0x%x\n", "kiv_util_uidb_set_feature", rc);
    return rc;
}

// Number on the next line of standard input; `missing` when there is no further line.
static long read_number(int base, long missing) {
    char line[kLineSize];
    if (fgets(line, sizeof line, stdin) == nullptr) return missing;
    return strtol(line, nullptr, base);
}

int kiv_span_read_input(u32 *if_handle, int *direction, u32 *session) {
    if (if_handle != nullptr) {
        *if_handle = static_cast<u32>(read_number(16, *if_handle));
        kiv_printf("ifhandle is 0x%x\n", *if_handle);
    }
    if (direction != nullptr) {
        *direction = static_cast<int>(read_number(10, *direction));
        kiv_printf("direction is %d\n", *direction);
    }
    if (session != nullptr) {
        *session = static_cast<u32>(read_number(10, *session));
        kiv_printf("session id is 0x%x\n", *session);
    }
    return 0;
}

// Reads and checks one interface handle.
static u32 read_handle(const char *function, int line) {
    u32 handle = 0;
    const int rc = kiv_span_read_input(&handle, nullptr, nullptr);
    kiv_check_success_fixed(static_cast<prm_status_t>(rc), kFile, function, line);
    return handle;
}

// Reads how many interfaces follow; a count outside the limits ends the process.
static int read_count(const char *function, int line) {
    const long num = read_number(10, 0);
    REQUIRE_FIXED((num >= 1) && (num <= ZOR_SPAN_MAX_SRC_INTFS), function, line,
                  "Totatl number of interfaces has to be between 1 and %d", ZOR_SPAN_MAX_SRC_INTFS);
    kiv_printf("Total number of inputs is %d\n", static_cast<int>(num));
    return static_cast<int>(num);
}

// Operates on one session of the fixed table; checks.
static int session_op(u32 session, u32 operation, const char *function, int line) {
    const prm_status_t rc = kiv_span_session_op(session, kDestPorts[session], operation);
    return kiv_check_success_fixed(rc, kFile, function, line);
}

static int all_sessions(u32 operation, const char *function, int line) {
    int result = 0;
    for (int i = 0; i < kSessions; ++i) result = session_op(i, operation, function, line);
    return result;
}

static int all_sessions_in_reverse(u32 operation, const char *function, int line) {
    int result = 0;
    for (int i = kSessions - 1; i >= 0; --i) result = session_op(i, operation, function, line);
    return result;
}

// --- Folder "manual", and the fixtures ---

static int switch_span(u32 operation, const char *function, int line) {
    kiv_printf("Entered %s\n", function);
    const prm_status_t rc = kiv_span_session_op(0, 0, operation);
    return kiv_check_success_fixed(rc, kFile, function, line);
}

int prm_kiv_span_enable(void) {
    return switch_span(KIV_SPAN_ENABLE, "prm_kiv_span_enable", 173);
}

int prm_kiv_span_disable(void) {
    return switch_span(KIV_SPAN_DISABLE, "prm_kiv_span_disable", 188);
}

int prm_kiv_span_session_create(void) {
    const prm_status_t rc = kiv_span_session_op(0, 3, KIV_SPAN_CREATE);
    return kiv_check_success_fixed(rc, kFile, "prm_kiv_span_session_create", 211);
}

int prm_kiv_span_session_destroy(void) {
    const prm_status_t rc = kiv_span_session_op(0, 0, KIV_SPAN_DESTROY);
    return kiv_check_success_fixed(rc, kFile, "prm_kiv_span_session_destroy", 229);
}

int prm_kiv_span_all_sessions_create(void) {
    return all_sessions(KIV_SPAN_CREATE, "prm_kiv_span_all_sessions_create", 242);
}

int prm_kiv_span_all_sessions_destroy(void) {
    return all_sessions(KIV_SPAN_DESTROY, "prm_kiv_span_all_sessions_destroy", 259);
}

struct SourceLines {
    int count, read, set;
};

// Reads sets of handle, direction and session, and adds or removes the source that each names.
static int set_sources_read(int add, const char *function, SourceLines lines) {
    int result = 0;
    const int num = read_count(function, lines.count);
    for (int k = 0; k < num; ++k) {
        u32 handle = 0, session = 0;
        int direction = 0;
        kiv_printf("input set %d\n", k);
        const int input = kiv_span_read_input(&handle, &direction, &session);
        kiv_check_success_fixed(static_cast<prm_status_t>(input), kFile, function, lines.read);
        const prm_status_t rc = kiv_span_src_set(handle, session, direction, add);
        result = kiv_check_success_fixed(rc, kFile, function, lines.set);
    }
    return result;
}

int prm_kiv_span_port_add(void) {
    return set_sources_read(1, "prm_kiv_span_port_add", {477, 485, 488});
}

int prm_kiv_span_port_delete(void) {
    return set_sources_read(0, "prm_kiv_span_port_delete", {506, 512, 515});
}

// --- Folder "session": SPAN is on ---

int prm_kiv_span_session_create_destroy(void) {
    static const char kCase[] = "prm_kiv_span_session_create_destroy";
    for (int i = 0; i < kSessions; ++i) {
        session_op(i, KIV_SPAN_CREATE, kCase, 280);
        session_op(i, KIV_SPAN_DESTROY, kCase, 283);
    }
    all_sessions(KIV_SPAN_CREATE, kCase, 290);
    all_sessions(KIV_SPAN_DESTROY, kCase, 295);

    all_sessions(KIV_SPAN_CREATE, kCase, 302);
    all_sessions_in_reverse(KIV_SPAN_DESTROY, kCase, 307);

    all_sessions_in_reverse(KIV_SPAN_CREATE, kCase, 314);
    return all_sessions(KIV_SPAN_DESTROY, kCase, 319);
}

int prm_kiv_span_invalid_session_valid_dest_port(void) {
    const prm_status_t rc = kiv_span_session_op(4, 1, KIV_SPAN_CREATE);
    return kiv_check_status_fixed(rc, PRM_ERROR_BCM_E_BADID, "PRM_ERROR_BCM_E_BADID", kFile,
                                  "prm_kiv_span_invalid_session_valid_dest_port", 331);
}

int prm_kiv_span_valid_session_invalid_dest_port(void) {
    const prm_status_t rc = kiv_span_session_op(0, 500, KIV_SPAN_CREATE);
    return kiv_check_status_fixed(rc, PRM_ERROR_BCM_E_PORT, "PRM_ERROR_BCM_E_PORT", kFile,
                                  "prm_kiv_span_valid_session_invalid_dest_port", 342);
}

// The pieces of the destroy-while-busy case. From its second part on every message begins with the check's
// line.
static const char kBusyCase[] = "prm_kiv_span_session_destroy_when_port_present";

static void busy_create(u32 session, int line) {
    const prm_status_t rc = kiv_span_session_op(session, kBusyDestPorts[session], KIV_SPAN_CREATE);
    REQUIRE_FIXED(rc == EOK, kBusyCase, line, "Line %d: Failed to create session %d rc %d", line, session,
                  rc);
}

static void busy_add_source(u32 handle, u32 session, int direction, int line) {
    const prm_status_t rc = kiv_span_src_set(handle, session, direction, 1);
    REQUIRE_FIXED(rc == EOK, kBusyCase, line, "Line %d: Failed to enable span on ifh 0x%x session %d rc %d",
                  line, handle, session, rc);
}

static void busy_destroy_refused(u32 session, int line) {
    const prm_status_t rc = kiv_span_session_op(session, kBusyDestPorts[session], KIV_SPAN_DESTROY);
    REQUIRE_FIXED(rc == PRM_ERROR_BCM_E_BUSY, kBusyCase, line, "%d: rc is not E_BUSY rc %d\n", line, rc);
}

static void busy_remove_source(u32 handle, u32 session, int direction, int line) {
    const prm_status_t rc = kiv_span_src_set(handle, session, direction, 0);
    REQUIRE_FIXED(rc == EOK, kBusyCase, line, "%d: Failed to disable span on ifh 0x%x session %d rc %d", line,
                  handle, session, rc);
}

static void busy_destroy(u32 session, int line) {
    const prm_status_t rc = kiv_span_session_op(session, kBusyDestPorts[session], KIV_SPAN_DESTROY);
    REQUIRE_FIXED(rc == EOK, kBusyCase, line, "%d: Failed to destroy session %d rc %d", line, session, rc);
}

// One session at a time, without the line in the messages.
static void busy_session_alone(u32 handle, u32 session, int direction) {
    const u32 dest_port = kBusyDestPorts[session];
    prm_status_t rc = kiv_span_session_op(session, dest_port, KIV_SPAN_CREATE);
    REQUIRE_FIXED(rc == EOK, kBusyCase, 368, "Failed to create session %d rc %d", session, rc);
    rc = kiv_span_src_set(handle, session, direction, 1);
    REQUIRE_FIXED(rc == EOK, kBusyCase, 372, "Failed to enable span on ifh 0x%x session %d rc %d", handle,
                  session, rc);
    rc = kiv_span_session_op(session, dest_port, KIV_SPAN_DESTROY);
    REQUIRE_FIXED(rc == PRM_ERROR_BCM_E_BUSY, kBusyCase, 377, "rc is not E_BUSY rc %d\n", rc);
    rc = kiv_span_src_set(handle, session, direction, 0);
    REQUIRE_FIXED(rc == EOK, kBusyCase, 381, "Failed to disable span on ifh 0x%x session %d rc %d", handle,
                  session, rc);
    rc = kiv_span_session_op(session, dest_port, KIV_SPAN_DESTROY);
    REQUIRE_FIXED(rc == EOK, kBusyCase, 387, "Failed to destroy session %d rc %d", session, rc);
}

// The line ends in a lone conversion character, which prints as it stands.
static void print_trying_to_delete(u32 session) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
    kiv_printf("%d: trying to delete session %\n", session);
#pragma GCC diagnostic pop
}

int prm_kiv_span_session_destroy_when_port_present(void) {
    u32 handles[kSessions];
    for (u32 &handle : handles) {
        handle = read_handle(kBusyCase, 356);
        kiv_printf("%d: ifh is 0x%x", 357, handle);
    }

    for (int i = 0; i < kSessions; ++i)
        for (int direction : kDirections) busy_session_alone(handles[0], i, direction);

    // All sessions present.
    for (int i = 0; i < kSessions; ++i) busy_create(i, 399);
    for (int i = kSessions - 1; i >= 0; --i) {
        for (int direction : kDirections) {
            busy_add_source(handles[0], i, direction, 406);
            print_trying_to_delete(i);
            busy_destroy_refused(i, 412);
            busy_remove_source(handles[0], i, direction, 416);
        }
    }
    for (int i = 0; i < kSessions; ++i) busy_destroy(i, 424);

    // All sessions busy, each with a source of its own; not in direction 2.
    for (int direction = 0; direction < 2; ++direction) {
        for (int i = 0; i < kSessions; ++i) {
            busy_create(i, 437);
            busy_add_source(handles[i], i, direction, 441);
        }
        for (int i = 0; i < kSessions; ++i) busy_destroy_refused(i, 448);
        for (int i = 0; i < kSessions; ++i) {
            busy_remove_source(handles[i], i, direction, 453);
            busy_destroy(i, 459);
        }
    }
    return 1;
}

// --- Folder "port": all sessions exist ---

int prm_kiv_span_port_add_delete(void) {
    static const char kCase[] = "prm_kiv_span_port_add_delete";
    static const struct {
        int direction, sessions, add_line, remove_line;
    } kRounds[] = {{0, 4, 551, 556}, {1, 4, 551, 556}, {2, 2, 563, 567}};

    int result = 0;
    u32 handles[ZOR_SPAN_MAX_SRC_INTFS];
    const int num = read_count(kCase, 534);
    for (int k = 0; k < num; ++k) {
        kiv_printf("input set %d\n", k);
        handles[k] = read_handle(kCase, 540);
    }
    for (const auto &round : kRounds) {
        for (int k = 0; k < num; ++k) {
            const prm_status_t rc = kiv_span_src_set(handles[k], k % round.sessions, round.direction, 1);
            kiv_check_success_fixed(rc, kFile, kCase, round.add_line);
        }
        for (int k = 0; k < num; ++k) {
            const prm_status_t rc = kiv_span_src_set(handles[k], k % round.sessions, round.direction, 0);
            result = kiv_check_success_fixed(rc, kFile, kCase, round.remove_line);
        }
    }
    return result;
}

// Reads a handle and adds it to a session that must refuse it, or removes it, in each direction.
static int refused_session(u32 session, int add, bool tell_handle, const char *function, int read_line,
                           int line) {
    const u32 handle = read_handle(function, read_line);
    if (tell_handle) kiv_printf("%s: ifh is 0x%x", function, handle);
    for (int direction : kDirections) {
        const prm_status_t rc = kiv_span_src_set(handle, session, direction, add);
        REQUIRE_FIXED(rc != EOK, function, line, "Expected a failure\n");
        kiv_printf("rx rc is 0x%x\n", rc);
    }
    kiv_printf("%s:kiv_util_uidb_set_feature called", function);
    return 1;
}

int prm_kiv_span_port_add_invalid_session(void) {
    return refused_session(kInvalidSession, 1, true, "prm_kiv_span_port_add_invalid_session", 579, 585);
}

int prm_kiv_span_port_delete_invalid_session(void) {
    return refused_session(kInvalidSession, 0, true, "prm_kiv_span_port_delete_invalid_session", 600, 606);
}

// Adds or removes a source that must be refused, in each of `directions`.
template <size_t N>
static void refused_source(u32 handle, const int (&directions)[N], int add, bool tell_rc,
                           const char *function, int line) {
    for (int direction : directions) {
        const prm_status_t rc = kiv_span_src_set(handle, kUnusedSession, direction, add);
        REQUIRE_FIXED(rc != EOK, function, line, "Expected failure\n");
        if (tell_rc) kiv_printf("rc is 0x%x\n", rc);
    }
}

int prm_kiv_span_port_add_delete_invalid_ifh(void) {
    static const char kCase[] = "prm_kiv_span_port_add_delete_invalid_ifh";
    refused_source(kInvalidIfh, kDirections, 1, true, kCase, 666);
    refused_source(kInvalidIfh, kDirections, 0, true, kCase, 674);
    return 1;
}

int prm_kiv_span_port_add_delete_invalid_dir(void) {
    static const char kCase[] = "prm_kiv_span_port_add_delete_invalid_dir";
    const u32 handle = read_handle(kCase, 688);
    kiv_printf("%s: ifh is 0x%x", kCase, handle);
    refused_source(handle, kInvalidDirections, 1, true, kCase, 695);
    refused_source(handle, kInvalidDirections, 0, true, kCase, 703);
    return 1;
}

int prm_kiv_span_port_add_delete_l3_subintf(void) {
    static const char kCase[] = "prm_kiv_span_port_add_delete_l3_subintf";
    const u32 handle = read_handle(kCase, 717);
    refused_source(handle, kDirections, 1, false, kCase, 723);
    refused_source(handle, kDirections, 0, false, kCase, 730);
    return 1;
}

// --- Folder "misc": SPAN is on, no session exists ---

int prm_kiv_span_port_add_valid_but_nonexistent_session(void) {
    return refused_session(kUnusedSession, 1, false, "prm_kiv_span_port_add_valid_but_nonexistent_session",
                           621, 627);
}

int prm_kiv_span_port_delete_valid_but_nonexistent_session(void) {
    return refused_session(kUnusedSession, 0, false, "prm_kiv_span_port_delete_valid_but_nonexistent_session",
                           642, 648);
}
