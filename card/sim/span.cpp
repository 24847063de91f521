// Port mirroring on the simulated card: the operations.
#include "card/sim/span.h"

#include "card/sim/backend.h"
#include "prm_srh_span.h"

namespace sim {
namespace {

constexpr u16 kLastDirection = 2;

prm_status_t check_session(const Card &card, prm_handle_t client, const prm_span_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    return success_if(request->session_id < PRM_SPAN_SESSIONS, PRM_ERROR_BCM_E_BADID);
}

bool in_a_bundle(const Card &card, u32 port) {
    bool found = false;
    card.interfaces.bundles.for_each(
        [&](u8, const Bundle &bundle, u32) { found = found || bundle.members.test(port); });
    return found;
}

// A destination port sends mirrored packets alone: no interface sits on it, so that no source is its own
// destination, and it is no other session's.
prm_status_t check_destination(const Card &card, u32 port) {
    prm_status_t status = success_if(!in_a_bundle(card, port), CARD_ERROR_PORT_HAS_INTERFACE);
    card.interfaces.table.for_each([&](u32, const Interface &interface, u32) {
        if (interface.kind == InterfaceKind::MAIN && interface.np_port == port)
            status = CARD_ERROR_PORT_HAS_INTERFACE;
    });
    return card.span.is_destination(port) ? CARD_ERROR_DESTINATION_TAKEN : status;
}

prm_status_t session_add(Card &card, prm_handle_t client, prm_span_request *request) {
    if (const prm_status_t status = check_session(card, client, request)) return status;
    if (!has_port(card, request->dest_port)) return PRM_ERROR_BCM_E_PORT;
    if (card.span.sessions.contains(request->session_id)) return CARD_ERROR_SESSION_EXISTS;
    if (const prm_status_t status = check_destination(card, request->dest_port)) return status;
    MirrorSession *session;
    const prm_status_t status = card.span.sessions.add(request->session_id, &session);
    if (status == CERR_SUCCESS) session->dest_port = request->dest_port;
    return status;
}

prm_status_t session_del(Card &card, prm_handle_t client, prm_span_request *request) {
    if (const prm_status_t status = check_session(card, client, request)) return status;
    const prm_status_t status = card.span.sessions.remove(request->session_id);
    if (status == CARD_ERROR_NOT_FOUND) return CARD_ERROR_NO_SESSION;
    return status == CARD_ERROR_IN_USE ? static_cast<prm_status_t>(PRM_ERROR_BCM_E_BUSY) : status;
}

prm_status_t enable(Card &card, prm_handle_t client, prm_span_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    card.span.enabled = true;
    return CERR_SUCCESS;
}

prm_status_t disable(Card &card, prm_handle_t client, prm_span_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    card.span.enabled = false;
    return CERR_SUCCESS;
}

}  // namespace

bool SpanState::is_destination(u32 port) const {
    bool found = false;
    sessions.for_each(
        [&](u32, const MirrorSession &session, u32) { found = found || session.dest_port == port; });
    return found;
}

prm_status_t check_mirror_source(const Card &card, u32 if_handle, u16 direction, u32 value) {
    const u32 session_id = value & ~UIDB_SPAN_SOURCE_REMOVE;
    const Interface *const interface = card.interfaces.table.find(if_handle);
    if (interface == nullptr) return CARD_ERROR_UNKNOWN_INTERFACE;
    if (is_l3_sub_interface(*interface)) return CARD_ERROR_NO_MIRROR_SOURCE;
    if (direction > kLastDirection) return CARD_ERROR_BAD_DIRECTION;
    if (session_id >= PRM_SPAN_SESSIONS) return PRM_ERROR_BCM_E_BADID;
    if (!card.span.sessions.contains(session_id)) return CARD_ERROR_NO_SESSION;
    const MirrorSource *const source = card.span.sources.find(mirror_source_key(if_handle, direction));
    if ((value & UIDB_SPAN_SOURCE_REMOVE) != 0) {
        return success_if(source != nullptr && source->session_id == session_id, CARD_ERROR_NOT_A_SOURCE);
    }
    if (source != nullptr) return success_if(source->session_id == session_id, CARD_ERROR_OTHER_SESSION);
    if (card.span.sessions.users(session_id) >= kMaxMirrorSources) return CARD_ERROR_TOO_MANY_SOURCES;
    return success_if(card.span.sources.account().has(1), CARD_ERROR_TABLE_FULL);
}

prm_status_t set_mirror_source(Card &card, u32 if_handle, u16 direction, u32 value) {
    if (const prm_status_t status = check_mirror_source(card, if_handle, direction, value)) return status;
    const u32 session_id = value & ~UIDB_SPAN_SOURCE_REMOVE;
    const u64 key = mirror_source_key(if_handle, direction);
    if ((value & UIDB_SPAN_SOURCE_REMOVE) != 0) {
        card.span.sessions.release(session_id);
        card.interfaces.table.release(if_handle);
        return card.span.sources.remove(key);
    }
    MirrorSource *source;
    bool created;
    if (const prm_status_t status = card.span.sources.put(key, &source, &created)) return status;
    if (!created) return CERR_SUCCESS;
    source->session_id = session_id;
    card.span.sessions.hold(session_id);
    card.interfaces.table.hold(if_handle);
    return CERR_SUCCESS;
}

void install_span(card::Backend &backend) {
    backend.prm_srh_span_fwd_add = on_card<session_add>;
    backend.prm_srh_span_fwd_del = on_card<session_del>;
    backend.prm_srh_span_enable = on_card<enable>;
    backend.prm_srh_span_disable = on_card<disable>;
}

}  // namespace sim
