// Port mirroring on the simulated card: sessions with their destination ports, and their source interfaces.
#ifndef CARD_SIM_SPAN_H
#define CARD_SIM_SPAN_H

#include "card/sim/inventory.h"
#include "card/sim/table.h"

namespace sim {

struct Card;

constexpr u32 kMaxMirrorSources = 400;  // of a session

struct MirrorSession {
    u32 dest_port = 0;
};

struct MirrorSource {
    u32 session_id = 0;
};

// A source is an interface in one direction; it mirrors to one session.
constexpr u64 mirror_source_key(u32 if_handle, u16 direction) {
    return u64{if_handle} << 16 | direction;
}

struct SpanState {
    SpanState(Accounts &accounts, const Inventory &)
        : sessions(accounts[Resource::mirror_session]), sources(accounts[Resource::mirror_source]) {}

    bool enabled = false;  // sessions can be created and keep their sources while mirroring is off
    Table<u32, MirrorSession> sessions;  // held by their sources
    Table<u64, MirrorSource> sources;    // each holds its session and its interface

    bool is_destination(u32 port) const;
};

// Feature UIDB_FEATURE_SPAN_SOURCE of an interface: adds it to the session of that number as a source, or
// removes it with UIDB_SPAN_SOURCE_REMOVE. check_mirror_source() tells what set_mirror_source() would answer.
prm_status_t check_mirror_source(const Card &card, u32 if_handle, u16 direction, u32 value);
prm_status_t set_mirror_source(Card &card, u32 if_handle, u16 direction, u32 value);

}  // namespace sim

#endif
