// Transmit adjacencies, next hops and tunnels on the simulated card.
#include "card/sim/adjacency.h"

#include <algorithm>

#include "card/sim/backend.h"
#include "card/sim/request.h"

namespace sim {
namespace {

// The bits of adj_flags0 that requests write; the others are as they were found.
constexpr u8 kKindBits = 0x17;

prm_status_t check_reserved_bytes(const prm_tx_adj &record) {
    return success_if(all_zero(record.reserved0) && all_zero(record.reserved24) && record.reserved73 == 0 &&
                          all_zero(record.reserved76) && all_zero(record.reserved82) &&
                          all_zero(record.reserved94) && all_zero(record.reserved112) &&
                          all_zero(record.reserved120),
                      CARD_ERROR_RESERVED_BYTES);
}

prm_status_t check_labels(const prm_tx_adj &record) {
    return success_if(record.label0 <= kMaxLabel && record.label1 <= kMaxLabel && record.label2 <= kMaxLabel,
                      CARD_ERROR_BAD_VALUE);
}

// An add or modify. Next hops, interface-database indices and tunnels are names: they need not have come from
// a pool or exist. All ones for an interface index are what a failed lookup yields, and are accepted.
prm_status_t check_adjacency(const prm_tx_adj &record) {
    if (const prm_status_t status = check_reserved_bytes(record)) return status;
    if ((record.adj_flags0 & kKindBits & ~PRM_TX_ADJ_NORMAL) != 0 ||
        (record.adj_flags3 & ~PRM_TX_ADJ_OPTION2) != 0)
        return CARD_ERROR_BAD_KIND;
    if (record.nh_idx == 0) return CARD_ERROR_BAD_VALUE;
    switch (record.adj_flags2) {
        case 0:
            return success_if(record.nh_idx2 == 0 && record.label0 == 0 && record.label1 == 0 &&
                                  record.label2 == 0 && record.tunnel_if == 0 && record.adj_flags3 == 0,
                              CARD_ERROR_BAD_VALUE);
        case PRM_TX_ADJ_LABELS:
            if (record.nh_idx2 == 0 || record.tunnel_if != 0) return CARD_ERROR_BAD_VALUE;
            return check_labels(record);
        case PRM_TX_ADJ_EOMPLS:
            if (record.nh_idx2 == 0 || record.tunnel_if == 0) return CARD_ERROR_BAD_VALUE;
            return check_labels(record);
        default:
            return CARD_ERROR_BAD_KIND;
    }
}

u32 key_of(const prm_tx_adj &record) {
    return record.adj_flags2 != 0 ? record.nh_idx2 : record.nh_idx;
}

Adjacency as_programmed(const prm_tx_adj &record) {
    Adjacency adjacency;
    adjacency.flags0 = record.adj_flags0 & kKindBits;
    adjacency.flags2 = record.adj_flags2;
    adjacency.flags3 = record.adj_flags3;
    std::copy(std::begin(record.dmac), std::end(record.dmac), adjacency.dmac);
    adjacency.uidb = record.uidb;
    adjacency.over = record.adj_flags2 != 0 ? record.nh_idx : 0;
    adjacency.labels[0] = record.label0;
    adjacency.labels[1] = record.label1;
    adjacency.labels[2] = record.label2;
    adjacency.tunnel = record.tunnel_if;
    return adjacency;
}

// One over itself leads nowhere, and does not keep itself: a client that names a fixed next hop may have been
// given that very index.
void hold_references(Card &card, u32 nh, const Adjacency &adjacency) {
    if (adjacency.over != nh) card.adjacency.hold_next_hop(adjacency.over);
    card.adjacency.tunnels.use(adjacency.tunnel);
    card.interfaces.uidb_pool.use(adjacency.uidb);
}

void release_references(Card &card, u32 nh, const Adjacency &adjacency) {
    if (adjacency.over != nh) card.adjacency.release_next_hop(adjacency.over);
    card.adjacency.tunnels.unuse(adjacency.tunnel);
    card.interfaces.uidb_pool.unuse(adjacency.uidb);
}

void program(Card &card, u32 nh, Adjacency *entry, bool created, const prm_tx_adj &record) {
    const Adjacency before = *entry;
    *entry = as_programmed(record);
    hold_references(card, nh, *entry);
    if (created) {
        card.adjacency.next_hops.use(nh);
    } else {
        release_references(card, nh, before);
    }
    card.adjacency.pending.erase(nh);
}

// A pseudowire goes out with the tunnel that its adjacency had when it was made.
prm_status_t check_pseudowires(const Card &card, u32 nh, const Adjacency &before, const prm_tx_adj &record) {
    if (before.flags2 != PRM_TX_ADJ_EOMPLS) return CERR_SUCCESS;
    if (record.adj_flags2 == PRM_TX_ADJ_EOMPLS && record.tunnel_if == before.tunnel) return CERR_SUCCESS;
    bool used = false;
    card.l2.pseudowires.for_each(
        [&](u32, const Pseudowire &pseudowire, u32) { used = used || pseudowire.next_hop == nh; });
    return success_if(!used, CARD_ERROR_IN_USE);
}

prm_status_t add(Card &card, prm_handle_t client, prm_tx_adj *record) {
    if (const prm_status_t status = require(card, client, record)) return status;
    if (const prm_status_t status = check_adjacency(*record)) return status;
    AdjacencyState &state = card.adjacency;
    if (state.next_hops.is_unreserved(key_of(*record))) return CARD_ERROR_NOT_RESERVED;
    Adjacency *entry;
    bool created;
    if (const prm_status_t status = state.table.put(key_of(*record), &entry, &created)) return status;
    if (!created)
        if (const prm_status_t status = check_pseudowires(card, key_of(*record), *entry, *record))
            return status;
    program(card, key_of(*record), entry, created, *record);
    return CERR_SUCCESS;
}

prm_status_t mod(Card &card, prm_handle_t client, prm_tx_adj *record) {
    if (const prm_status_t status = require(card, client, record)) return status;
    if (const prm_status_t status = check_adjacency(*record)) return status;
    AdjacencyState &state = card.adjacency;
    Adjacency *const entry = state.table.find(key_of(*record));
    if (entry == nullptr) return CARD_ERROR_NOT_FOUND;
    if (const prm_status_t status = check_pseudowires(card, key_of(*record), *entry, *record)) return status;
    program(card, key_of(*record), entry, false, *record);
    return CERR_SUCCESS;
}

// A delete names the next hop twice in its plain form, and once, with the tunnel, for Ethernet over MPLS.
prm_status_t check_delete(const prm_tx_adj &record) {
    if (const prm_status_t status = check_reserved_bytes(record)) return status;
    if ((record.adj_flags0 & kKindBits) != 0 ||
        (record.adj_flags3 & ~(PRM_TX_ADJ_OPTION1 | PRM_TX_ADJ_OPTION2)) != 0)
        return CARD_ERROR_BAD_KIND;
    switch (record.adj_flags2) {
        case PRM_TX_ADJ_DELETE:
            return success_if(record.nh_idx == record.nh_idx2 && record.tunnel_if == 0, CARD_ERROR_BAD_VALUE);
        case PRM_TX_ADJ_EOMPLS_DELETE:
            return success_if(record.nh_idx == 0, CARD_ERROR_BAD_VALUE);
        default:
            return CARD_ERROR_BAD_KIND;
    }
}

prm_status_t del(Card &card, prm_handle_t client, prm_tx_adj *record) {
    if (const prm_status_t status = require(card, client, record)) return status;
    if (const prm_status_t status = check_delete(*record)) return status;
    AdjacencyState &state = card.adjacency;
    const u32 nh = record->nh_idx2;
    const Adjacency *const entry = state.table.find(nh);
    if (entry == nullptr) return CARD_ERROR_NOT_FOUND;
    const bool eompls = record->adj_flags2 == PRM_TX_ADJ_EOMPLS_DELETE;
    if ((entry->flags2 == PRM_TX_ADJ_EOMPLS) != eompls) return CARD_ERROR_BAD_KIND;
    if (entry->tunnel != record->tunnel_if) return CARD_ERROR_UNKNOWN_REFERENCE;

    const Adjacency before = *entry;
    if (const prm_status_t status = state.table.remove(nh)) return status;
    release_references(card, nh, before);
    state.tunnels.retire(before.tunnel);
    state.next_hops.unuse(nh);
    state.next_hops.retire(nh);
    return CERR_SUCCESS;
}

// A next hop has no owner in its request, and is reserved one at a time.
prm_status_t reserve_next_hop(Card &card, prm_handle_t client, prm_buddy_reserve *request) {
    if (const prm_status_t status = require_or_none(card, client, request)) return status;
    if (request->owner != 0 && !is_owner(card, request->owner)) return CARD_ERROR_BAD_OWNER;
    if (!reserved_bytes_clear(*request) || request->word36 != 0 || request->byte296 != 0)
        return CARD_ERROR_RESERVED_BYTES;
    if (request->count != 1) return CARD_ERROR_BAD_COUNT;
    return reserve_into(card.adjacency.next_hops, request);
}

prm_status_t reserve_tunnel(Card &card, prm_handle_t client, prm_buddy_reserve *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (const prm_status_t status = check_plain_reservation(card, *request)) return status;
    return reserve_into(card.adjacency.tunnels, request);
}

prm_status_t set_pending(Card &card, u32 nh) {
    AdjacencyState &state = card.adjacency;
    if (!state.next_hops.in_use(nh) && !state.table.contains(nh)) return CARD_ERROR_NOT_RESERVED;
    if (!state.table.contains(nh)) state.pending.insert(nh);
    return CERR_SUCCESS;
}

}  // namespace

void install_adjacency(card::Backend &backend) {
    backend.prm_srh_tx_adj_add = on_card<add>;
    backend.prm_srh_tx_adj_mod = on_card<mod>;
    backend.prm_srh_tx_adj_del = on_card<del>;
    backend.prm_srh_tx_adj_buddy_reserve = on_card<reserve_next_hop>;
    backend.prm_srh_l3_intf_buddy_reserve = on_card<reserve_tunnel>;
    backend.prm_set_nh_idx_hw_pending = on_card<set_pending>;
}

}  // namespace sim
