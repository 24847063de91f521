// Resource-manager client library: the request record of port mirroring (SPAN).
#ifndef PRM_SRH_SPAN_H
#define PRM_SRH_SPAN_H

#include "prm_fields.h"
#include "prm_types.h"

// Mirror sessions that the resource manager knows: 0 to 3.
enum : u32 { PRM_SPAN_SESSIONS = 4 };

// Record of prm_srh_span_fwd_add, _fwd_del, _enable and _disable. Enabling and disabling send it empty.
struct PRM_PACKED prm_span_request {
    u8 reserved0[12];
    u32 session_id;
    u8 reserved16[52];
    u32 dest_port;  // destination port of the session
    u8 reserved72[2044];
};
static_assert(sizeof(prm_span_request) == 2116, "ABI");
static_assert(offsetof(prm_span_request, session_id) == 12, "ABI");
static_assert(offsetof(prm_span_request, dest_port) == 68, "ABI");

inline constexpr prm_field prm_span_request_fields[] = {
    PRM_FIELD(prm_span_request, reserved0).reserved(),
    PRM_FIELD(prm_span_request, session_id).number().names_a(PRM_HANDLE_MIRROR_SESSION),
    PRM_FIELD(prm_span_request, reserved16).reserved(),
    PRM_FIELD(prm_span_request, dest_port).number().names_a(PRM_HANDLE_PORT),
    PRM_FIELD(prm_span_request, reserved72).reserved(),
};
inline constexpr prm_record prm_span_request_record = PRM_RECORD(prm_span_request);

#endif
