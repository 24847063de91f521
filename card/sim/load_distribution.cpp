// Load-distribution entries on the simulated card.
#include "card/sim/load_distribution.h"

#include "card/sim/backend.h"
#include "card/sim/request.h"

namespace sim {
namespace {

constexpr u32 kPointerLowBits = (1u << PRM_NR_LDI_PTR_SHIFT) - 1;

u32 index_of(u32 pointer) {
    return pointer >> PRM_NR_LDI_PTR_SHIFT;
}

// What adds and deletes have in common.
prm_status_t check_request(const prm_nr_ldi &record) {
    if (record.owner != PRM_OWNER) return CARD_ERROR_BAD_OWNER;
    if (!all_zero(record.reserved4) || !all_zero(record.reserved24)) return CARD_ERROR_RESERVED_BYTES;
    if (record.ldi_kind != PRM_NR_LDI_KIND) return CARD_ERROR_BAD_KIND;
    if (record.ldi_mode != PRM_NR_LDI_MODE_PLAIN && record.ldi_mode != PRM_NR_LDI_MODE_BLOCK)
        return CARD_ERROR_BAD_KIND;
    if (record.ldi_ptr == 0 || (record.ldi_ptr & kPointerLowBits) != 0) return CARD_ERROR_BAD_POINTER;
    if (record.path_len != PRM_NR_LDI_WORDS_LEN && record.path_len != PRM_NR_LDI_BLOCK_LEN)
        return CARD_ERROR_BAD_LENGTH;
    return success_if(record.ldi_valid <= 1, CARD_ERROR_BAD_VALUE);
}

prm_status_t read_words(const prm_nr_ldi_path_words &words, LoadDistribution *entry) {
    if (words.word0 != 0 || words.word132 != 0) return CARD_ERROR_RESERVED_BYTES;
    entry->words = true;
    entry->nh_idx = words.nh_idx;
    return CERR_SUCCESS;
}

prm_status_t read_block(const prm_nr_ldi_path_block &block, LoadDistribution *entry) {
    if (!all_zero(block.reserved1) || !all_zero(block.reserved13) || !all_zero(block.reserved57) ||
        !all_zero(block.reserved65))
        return CARD_ERROR_RESERVED_BYTES;
    if ((block.flags & ~(PRM_NR_LDI_PATH_LABEL0 | PRM_NR_LDI_PATH_LABEL1)) != 0) return CARD_ERROR_BAD_KIND;
    if (block.label0 > kMaxLabel || block.label1 > kMaxLabel) return CARD_ERROR_BAD_VALUE;
    const bool labelled = block.label0 != 0 || block.label1 != 0;
    if (block.flags == 0 && (labelled || block.mpls_nh_idx != 0)) return CARD_ERROR_BAD_VALUE;
    entry->path_flags = block.flags;
    entry->label0 = block.label0;
    entry->label1 = block.label1;
    entry->nh_idx = block.nh_idx;
    entry->mpls_nh_idx = block.mpls_nh_idx;
    return CERR_SUCCESS;
}

prm_status_t read_path(const prm_nr_ldi &record, LoadDistribution *entry) {
    entry->mode = static_cast<u8>(record.ldi_mode);
    const prm_status_t status = record.path_len == PRM_NR_LDI_WORDS_LEN ? read_words(record.words, entry)
                                                                        : read_block(record.block, entry);
    if (status != CERR_SUCCESS) return status;
    return success_if(entry->nh_idx != 0, CARD_ERROR_BAD_VALUE);
}

// Next hops are names: one without an adjacency is accepted, one with an adjacency keeps it.
bool hold_next_hop(Card &card, u32 nh) {
    card.adjacency.next_hops.use(nh);
    return card.adjacency.table.hold(nh);
}

void release_next_hop(Card &card, u32 nh, bool holds) {
    if (holds) card.adjacency.table.release(nh);
    card.adjacency.next_hops.unuse(nh);
}

void hold_references(Card &card, LoadDistribution *entry) {
    entry->holds_adjacency = hold_next_hop(card, entry->nh_idx);
    entry->holds_mpls_adjacency = hold_next_hop(card, entry->mpls_nh_idx);
}

void release_references(Card &card, const LoadDistribution &entry) {
    release_next_hop(card, entry.nh_idx, entry.holds_adjacency);
    release_next_hop(card, entry.mpls_nh_idx, entry.holds_mpls_adjacency);
}

prm_status_t add(Card &card, prm_handle_t client, prm_nr_ldi *record) {
    if (const prm_status_t status = require(card, client, record)) return status;
    if (const prm_status_t status = check_request(*record)) return status;
    LoadDistribution wanted;
    if (const prm_status_t status = read_path(*record, &wanted)) return status;

    LoadDistribution *entry;
    bool created;
    const u32 pointer = record->ldi_ptr;
    if (const prm_status_t status = card.load_distribution.table.put(pointer, &entry, &created))
        return status;
    const LoadDistribution before = *entry;
    *entry = wanted;
    hold_references(card, entry);
    if (created) {
        card.load_distribution.indices.use(index_of(pointer));
    } else {
        release_references(card, before);
    }
    return CERR_SUCCESS;
}

prm_status_t del(Card &card, prm_handle_t client, prm_nr_ldi *record) {
    if (const prm_status_t status = require(card, client, record)) return status;
    if (const prm_status_t status = check_request(*record)) return status;
    LoadDistributionState &state = card.load_distribution;
    const u32 pointer = record->ldi_ptr;
    const LoadDistribution *const entry = state.table.find(pointer);
    if (entry == nullptr) return CARD_ERROR_NOT_FOUND;
    const LoadDistribution before = *entry;
    if (const prm_status_t status = state.table.remove(pointer)) return status;
    release_references(card, before);
    state.indices.unuse(index_of(pointer));
    state.indices.retire(index_of(pointer));
    return CERR_SUCCESS;
}

// A reservation names the label of a swap entry, or nothing.
prm_status_t check_reservation(const prm_buddy_reserve &request) {
    if (request.owner != PRM_OWNER) return CARD_ERROR_BAD_OWNER;
    if (!reserved_bytes_clear(request)) return CARD_ERROR_RESERVED_BYTES;
    if (request.byte296 > 1 || request.word36 > kMaxLabel) return CARD_ERROR_BAD_VALUE;
    return success_if((request.byte296 != 0) == (request.word36 != 0), CARD_ERROR_BAD_VALUE);
}

// The first pointer of `count` consecutive entries.
prm_status_t reserve(Card &card, prm_handle_t client, prm_buddy_reserve *request) {
    if (const prm_status_t status = require_or_none(card, client, request)) return status;
    if (const prm_status_t status = check_reservation(*request)) return status;
    u32 index = 0;
    const prm_status_t status = card.load_distribution.indices.reserve(request->count, &index);
    if (status == CERR_SUCCESS) request->index = index << PRM_NR_LDI_PTR_SHIFT;
    return status;
}

}  // namespace

void install_load_distribution(card::Backend &backend) {
    backend.prm_srh_nr_ldi_add = on_card<add>;
    backend.prm_srh_nr_ldi_del = on_card<del>;
    backend.prm_srh_nr_ldi_buddy_reserve = on_card<reserve>;
}

}  // namespace sim
