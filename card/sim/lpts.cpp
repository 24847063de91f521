// Local packet transport entries on the simulated card.
#include "card/sim/lpts.h"

#include "card/sim/backend.h"
#include "card/sim/request.h"

namespace sim {
namespace {

prm_status_t check_request(const Card &card, const prm_lpts_request &request, u32 data_len) {
    if (!is_owner(card, request.owner)) return CARD_ERROR_BAD_OWNER;
    if (!all_zero(request.reserved4) || request.word64 != 0) return CARD_ERROR_RESERVED_BYTES;
    return success_if(request.data_len == data_len, CARD_ERROR_BAD_LENGTH);
}

// The bytes of an address past the four of IPv4.
bool is_ipv4(const prm_lpts_address &address) {
    return address.v6_words[2] == 0 && address.v6_words[3] == 0 && address.v6_words[4] == 0 &&
           address.v6_words[5] == 0 && address.v6_words[6] == 0 && address.v6_words[7] == 0;
}

prm_status_t check_addresses(const prm_lpts_entry &entry) {
    switch (entry.l3_proto) {
        case PRM_LPTS_PROTO_IPV4:
            if (entry.local_plen > 32 || entry.remote_plen > 32) return CARD_ERROR_BAD_VALUE;
            return success_if(is_ipv4(entry.local_addr) && is_ipv4(entry.remote_addr),
                              CARD_ERROR_RESERVED_BYTES);
        case PRM_LPTS_PROTO_IPV6:
            return success_if(entry.local_plen <= 128 && entry.remote_plen <= 128, CARD_ERROR_BAD_VALUE);
        default:
            return CARD_ERROR_BAD_KIND;
    }
}

prm_status_t check_entry(const prm_lpts_entry &entry) {
    if (entry.lpts_type != PRM_LPTS_TYPE) return CARD_ERROR_BAD_KIND;
    if (entry.lpts_mask0 != PRM_LPTS_MASK_ALL || entry.lpts_mask1 != PRM_LPTS_MASK_ALL ||
        entry.lpts_valid != 1)
        return CARD_ERROR_BAD_VALUE;
    if (!all_zero(entry.reserved6) || !all_zero(entry.reserved12) || !all_zero(entry.reserved49) ||
        !all_zero(entry.reserved80) || !all_zero(entry.reserved104) || !all_zero(entry.reserved110) ||
        !all_zero(entry.reserved118))
        return CARD_ERROR_RESERVED_BYTES;
    return check_addresses(entry);
}

prm_lpts_id id_of(u32 entry_id, const prm_lpts_entry &entry) {
    const u32 place = entry_id - LptsState::kFirstEntry;
    return {.group = entry.l3_proto == PRM_LPTS_PROTO_IPV4 ? LptsState::kIpv4Group : LptsState::kIpv6Group,
            .entry = entry_id,
            .policer = LptsState::kFirstPolicer + place,
            .statistics = LptsState::kFirstStatistics + place,
            .word16 = 0};
}

// The entry of an identifier, all of whose ids must be its own; null when there is none.
const prm_lpts_entry *find(const Card &card, const prm_lpts_id &id) {
    const prm_lpts_entry *const entry = card.lpts.table.find(id.entry);
    if (entry == nullptr) return nullptr;
    const prm_lpts_id own = id_of(id.entry, *entry);
    const bool same = own.group == id.group && own.policer == id.policer && own.statistics == id.statistics;
    return same ? entry : nullptr;
}

prm_status_t add(Card &card, prm_handle_t client, prm_lpts_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (const prm_status_t status = check_request(card, *request, sizeof request->entry)) return status;
    if (const prm_status_t status = check_entry(request->entry)) return status;
    u32 entry_id;
    prm_lpts_entry *entry;
    const prm_status_t status = add_numbered(card.lpts.ids, card.lpts.table, &entry_id, &entry);
    if (status != CERR_SUCCESS) return status;
    *entry = request->entry;
    request->id = id_of(entry_id, *entry);
    return CERR_SUCCESS;
}

prm_status_t get(Card &card, prm_handle_t client, prm_lpts_request *request, u32 word) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (word != PRM_LPTS_GET_WORD) return CARD_ERROR_BAD_VALUE;
    if (const prm_status_t status = check_request(card, *request, sizeof request->id)) return status;
    const prm_lpts_entry *const entry = find(card, request->id);
    if (entry == nullptr) return CARD_ERROR_NOT_FOUND;
    request->entry = *entry;
    return CERR_SUCCESS;
}

prm_status_t del(Card &card, prm_handle_t client, prm_lpts_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (const prm_status_t status = check_request(card, *request, sizeof request->id)) return status;
    if (find(card, request->id) == nullptr) return CARD_ERROR_NOT_FOUND;
    remove_numbered(card.lpts.ids, card.lpts.table, request->id.entry);
    return CERR_SUCCESS;
}

}  // namespace

void install_lpts(card::Backend &backend) {
    backend.prm_srh_lpts_add = on_card<add>;
    backend.prm_srh_lpts_get = on_card<get>;
    backend.prm_srh_lpts_del = on_card<del>;
}

}  // namespace sim
