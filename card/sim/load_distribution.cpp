// Load-distribution entries on the simulated card.
#include "card/sim/load_distribution.h"

#include <cstddef>
#include <cstring>
#include <utility>

#include "card/sim/backend.h"
#include "card/sim/request.h"

namespace sim {
namespace {

constexpr u32 kPointerLowBits = (1u << PRM_NR_LDI_PTR_SHIFT) - 1;

u32 index_of(u32 pointer) {
    return pointer >> PRM_NR_LDI_PTR_SHIFT;
}

// What adds and deletes have in common.
prm_status_t check_request(const Card &card, const prm_nr_ldi &record) {
    if (!is_owner(card, record.owner)) return CARD_ERROR_BAD_OWNER;
    if (!all_zero(record.reserved4) || !all_zero(record.reserved24)) return CARD_ERROR_RESERVED_BYTES;
    if (record.ldi_kind != PRM_NR_LDI_KIND) return CARD_ERROR_BAD_KIND;
    if (record.ldi_mode != PRM_NR_LDI_MODE_PLAIN && record.ldi_mode != PRM_NR_LDI_MODE_BLOCK)
        return CARD_ERROR_BAD_KIND;
    if (record.ldi_ptr == 0 || (record.ldi_ptr & kPointerLowBits) != 0) return CARD_ERROR_BAD_POINTER;
    if (record.path_len == 0 || record.path_len > sizeof record.path_data ||
        record.path_len % PRM_NR_LDI_BLOCK_LEN != 0)
        return CARD_ERROR_BAD_LENGTH;
    return success_if(record.ldi_valid <= 1, CARD_ERROR_BAD_VALUE);
}

// As many words as two blocks have bytes: two lists, each a word that is 0 and next hops, 0 for none. What
// the second list is for the requests do not tell; its next hops are kept.
prm_status_t read_words(const prm_nr_ldi_path_words &words, LoadDistribution *entry) {
    if (words.word132 != 0) return CARD_ERROR_RESERVED_BYTES;
    entry->words = true;
    const u8 *const data = reinterpret_cast<const u8 *>(&words);
    constexpr size_t kLists[][2] = {
        {offsetof(prm_nr_ldi_path_words, nh_idx), offsetof(prm_nr_ldi_path_words, word132)},
        {offsetof(prm_nr_ldi_path_words, reserved136), sizeof words}};
    for (const auto &[begin, end] : kLists) {
        for (size_t at = begin; at < end; at += sizeof(u32)) {
            u32 nh;
            std::memcpy(&nh, data + at, sizeof nh);
            if (nh != 0) entry->paths.push_back({.nh_idx = nh});
        }
    }
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
    entry->paths.push_back({block.nh_idx, block.mpls_nh_idx, block.label0, block.label1, block.flags});
    return success_if(block.nh_idx != 0, CARD_ERROR_BAD_VALUE);
}

prm_status_t read_blocks(const prm_nr_ldi &record, LoadDistribution *entry) {
    for (u32 at = 0; at < record.path_len; at += PRM_NR_LDI_BLOCK_LEN) {
        prm_nr_ldi_path_block block;
        std::memcpy(&block, record.path_data + at, sizeof block);
        if (const prm_status_t status = read_block(block, entry)) return status;
    }
    return CERR_SUCCESS;
}

// Words and two blocks are equally long. Where words have their first next hop a block without flags has
// zeros; one with flags does not begin with a zero.
prm_status_t read_paths(const prm_nr_ldi &record, LoadDistribution *entry) {
    entry->mode = static_cast<u8>(record.ldi_mode);
    entry->valid = record.ldi_valid != 0;
    const bool words =
        record.path_len == PRM_NR_LDI_WORDS_LEN && record.words.word0 == 0 && record.words.nh_idx != 0;
    return words ? read_words(record.words, entry) : read_blocks(record, entry);
}

// Next hops are names: one without an adjacency is accepted, one with an adjacency keeps it.
void hold_references(Card &card, const LoadDistribution &entry) {
    for (const LoadDistribution::Path &path : entry.paths) {
        card.adjacency.hold_next_hop(path.nh_idx);
        card.adjacency.hold_next_hop(path.mpls_nh_idx);
    }
}

void release_references(Card &card, const LoadDistribution &entry) {
    for (const LoadDistribution::Path &path : entry.paths) {
        card.adjacency.release_next_hop(path.nh_idx);
        card.adjacency.release_next_hop(path.mpls_nh_idx);
    }
}

prm_status_t add(Card &card, prm_handle_t client, prm_nr_ldi *record) {
    if (const prm_status_t status = require(card, client, record)) return status;
    if (const prm_status_t status = check_request(card, *record)) return status;
    LoadDistribution wanted;
    if (const prm_status_t status = read_paths(*record, &wanted)) return status;

    LoadDistribution *entry;
    bool created;
    const u32 pointer = record->ldi_ptr;
    if (const prm_status_t status = card.load_distribution.table.put(pointer, &entry, &created))
        return status;
    if (created) {
        card.load_distribution.indices.use(index_of(pointer));
        hold_references(card, wanted);
    } else if (wanted.paths != entry->paths) {
        hold_references(card, wanted);
        release_references(card, *entry);
    }
    *entry = std::move(wanted);
    return CERR_SUCCESS;
}

prm_status_t del(Card &card, prm_handle_t client, prm_nr_ldi *record) {
    if (const prm_status_t status = require(card, client, record)) return status;
    if (const prm_status_t status = check_request(card, *record)) return status;
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
prm_status_t check_reservation(const Card &card, const prm_buddy_reserve &request) {
    if (!is_owner(card, request.owner)) return CARD_ERROR_BAD_OWNER;
    if (!reserved_bytes_clear(request)) return CARD_ERROR_RESERVED_BYTES;
    if (request.byte296 > 1 || request.word36 > kMaxLabel) return CARD_ERROR_BAD_VALUE;
    return success_if((request.byte296 != 0) == (request.word36 != 0), CARD_ERROR_BAD_VALUE);
}

// The first pointer of `count` consecutive entries.
prm_status_t reserve(Card &card, prm_handle_t client, prm_buddy_reserve *request) {
    if (const prm_status_t status = require_or_none(card, client, request)) return status;
    if (const prm_status_t status = check_reservation(card, *request)) return status;
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
