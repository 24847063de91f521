// Label entries and their indices on the simulated card.
#include "card/sim/label.h"

#include "card/sim/backend.h"
#include "card/sim/request.h"
#include "prm_srh_mpls_leaf.h"

namespace sim {
namespace {

prm_status_t check_request(const Card &card, const zor_label_request &request) {
    if (!is_owner(card, request.owner)) return CARD_ERROR_BAD_OWNER;
    if (!all_zero(request.reserved4) || !all_zero(request.reserved16) || !all_zero(request.reserved159))
        return CARD_ERROR_RESERVED_BYTES;
    return success_if(request.key.label <= kMaxLabel, CARD_ERROR_BAD_VALUE);
}

// The form of an entry: pop and look up alone, or a load-distribution pointer, a recursive pointer, or both.
prm_status_t check_form(const zor_label_payload &payload, u32 pointer) {
    if ((payload.flags0 & ~(ZOR_LABEL_RECURSIVE | ZOR_LABEL_NR_LDI)) != 0 ||
        (payload.flags2 & ~ZOR_LABEL_POP_LOOKUP) != 0)
        return CARD_ERROR_BAD_KIND;
    if ((payload.flags0 == 0) == (payload.flags2 == 0)) return CARD_ERROR_BAD_KIND;
    if ((payload.flags0 & ZOR_LABEL_NR_LDI) == 0 && pointer != 0) return CARD_ERROR_BAD_VALUE;
    if ((payload.flags0 & ZOR_LABEL_RECURSIVE) == 0 && payload.label_ptr_rec != 0)
        return CARD_ERROR_BAD_VALUE;
    return CERR_SUCCESS;
}

// An add or modify. The pointer word has its place by end-of-stack; the other place stays clear.
prm_status_t read_entry(const zor_label_request &request, LabelEntry *entry) {
    if (request.key_len != ZOR_LABEL_KEY_LEN || request.payload_len != sizeof request.payload)
        return CARD_ERROR_BAD_LENGTH;
    const zor_label_payload &payload = request.payload;
    const bool eos = request.key.eos != 0;
    if (request.key.eos > 1 || payload.flags1 != ZOR_LABEL_ALWAYS ||
        payload.flags3 != (eos ? ZOR_LABEL_EOS : 0))
        return CARD_ERROR_BAD_VALUE;
    if (!all_zero(request.key.reserved5) || !all_zero(payload.reserved4) || payload.reserved12 != 0 ||
        !all_zero(payload.reserved17) || !all_zero(payload.reserved56) || !all_zero(payload.reserved82) ||
        (eos ? payload.label_ptr_eos0 : payload.label_ptr_eos1) != 0)
        return CARD_ERROR_RESERVED_BYTES;
    const u32 pointer = eos ? payload.label_ptr_eos1 : payload.label_ptr_eos0;
    if (const prm_status_t status = check_form(payload, pointer)) return status;
    *entry = {pointer, payload.label_ptr_rec, payload.leaf_hw_idx, payload.flags0, payload.flags2};
    return CERR_SUCCESS;
}

bool points_at_entry(const LabelEntry &entry) {
    return (entry.flags0 & ZOR_LABEL_NR_LDI) != 0;
}

void hold_references(Card &card, const LabelEntry &entry) {
    if (points_at_entry(entry)) card.load_distribution.table.hold(entry.pointer);
    card.label.indices.use(entry.leaf_hw_idx);
}

void release_references(Card &card, const LabelEntry &entry) {
    if (points_at_entry(entry)) card.load_distribution.table.release(entry.pointer);
    card.label.indices.unuse(entry.leaf_hw_idx);
}

bool same_references(const LabelEntry &a, const LabelEntry &b) {
    return points_at_entry(a) == points_at_entry(b) && a.pointer == b.pointer &&
           a.leaf_hw_idx == b.leaf_hw_idx;
}

template <bool modify>
prm_status_t add_or_modify(Card &card, prm_handle_t client, zor_label_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (const prm_status_t status = check_request(card, *request)) return status;
    LabelEntry wanted;
    if (const prm_status_t status = read_entry(*request, &wanted)) return status;
    if (points_at_entry(wanted) && !card.load_distribution.table.contains(wanted.pointer))
        return CARD_ERROR_UNKNOWN_REFERENCE;

    const u32 key = label_key(request->key.label, request->key.eos != 0);
    LabelEntry *entry;
    bool created = false;
    if constexpr (modify) {
        entry = card.label.table.find(key);
        if (entry == nullptr) return CARD_ERROR_NOT_FOUND;
    } else if (const prm_status_t status = card.label.table.put(key, &entry, &created)) {
        return status;
    }
    const LabelEntry before = *entry;
    *entry = wanted;
    if (created) {
        hold_references(card, wanted);
    } else if (!same_references(wanted, before)) {
        hold_references(card, wanted);
        release_references(card, before);
    }
    return CERR_SUCCESS;
}

bool remove_entry(Card &card, u32 key) {
    const LabelEntry *const entry = card.label.table.find(key);
    if (entry == nullptr) return false;
    const LabelEntry before = *entry;
    card.label.table.remove(key);
    release_references(card, before);
    return true;
}

// A delete names the label alone and removes its entries of either end-of-stack.
prm_status_t del(Card &card, prm_handle_t client, zor_label_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (const prm_status_t status = check_request(card, *request)) return status;
    if (request->key_len != ZOR_LABEL_DELETE_KEY_LEN || request->payload_len != 0)
        return CARD_ERROR_BAD_LENGTH;
    const u32 label = request->key.label;
    const bool removed_eos0 = remove_entry(card, label_key(label, false));
    const bool removed_eos1 = remove_entry(card, label_key(label, true));
    return success_if(removed_eos0 || removed_eos1, CARD_ERROR_NOT_FOUND);
}

prm_status_t reserve(Card &card, prm_handle_t client, prm_buddy_reserve *request) {
    if (const prm_status_t status = require_or_none(card, client, request)) return status;
    if (const prm_status_t status = check_plain_reservation(card, *request)) return status;
    return reserve_into(card.label.indices, request);
}

// An index that a label entry uses is not given back.
prm_status_t release(Card &card, prm_handle_t client, prm_mpls_leaf_release *request) {
    if (const prm_status_t status = require_or_none(card, client, request)) return status;
    if (!is_owner(card, request->owner)) return CARD_ERROR_BAD_OWNER;
    if (!all_zero(request->reserved12)) return CARD_ERROR_RESERVED_BYTES;
    return card.label.indices.release(request->index, request->count);
}

}  // namespace

void install_label(card::Backend &backend) {
    backend.prm_srh_mpls_leaf_buddy_reserve = on_card<reserve>;
    backend.prm_srh_mpls_leaf_buddy_release = on_card<release>;
    backend.zor_vop_prm_srh_label_ufib_add = on_card<add_or_modify<false>>;
    backend.zor_vop_prm_srh_label_ufib_mod = on_card<add_or_modify<true>>;
    backend.zor_vop_prm_srh_label_ufib_del = on_card<del>;
}

}  // namespace sim
