// What requests of several families have in common: owner, reserved bytes, reservations, entries with
// numbers.
#ifndef CARD_SIM_REQUEST_H
#define CARD_SIM_REQUEST_H

#include <algorithm>
#include <cstring>

#include "card/sim/backend.h"
#include "prm_buddy_reserve.h"

namespace sim {

constexpr u32 kMaxLabel = 0xFFFFF;

// Records carry up to two thousand reserved bytes.
template <size_t N>
bool all_zero(const u8 (&bytes)[N]) {
    // Long ones against themselves, one byte on: nothing is faster than the C library's comparison.
    if constexpr (N >= 128) return bytes[0] == 0 && std::memcmp(bytes, bytes + 1, N - 1) == 0;
    // Short ones by words, in place of a call: most requests have several.
    u64 any = 0;
    size_t i = 0;
    for (; i + sizeof any <= N; i += sizeof any) {
        u64 word;
        std::memcpy(&word, bytes + i, sizeof word);
        any |= word;
    }
    for (; i < N; ++i) any |= bytes[i];
    return any == 0;
}

// The bytes that every reservation sends as 0.
inline bool reserved_bytes_clear(const prm_buddy_reserve &request) {
    return all_zero(request.reserved8) && all_zero(request.reserved20) && all_zero(request.reserved40) &&
           all_zero(request.reserved297);
}

// Whether the card's inventory knows that owner of entries and reservations.
inline bool is_owner(const Card &card, u32 owner) {
    const std::vector<u32> &owners = card.inventory.owners;
    return std::find(owners.begin(), owners.end(), owner) != owners.end();
}

// A reservation of a pool that takes nothing but an owner and a count.
inline prm_status_t check_plain_reservation(const Card &card, const prm_buddy_reserve &request) {
    if (!is_owner(card, request.owner)) return CARD_ERROR_BAD_OWNER;
    return success_if(reserved_bytes_clear(request) && request.word36 == 0 && request.byte296 == 0,
                      CARD_ERROR_RESERVED_BYTES);
}

// Reserves from any pool; the first index goes into the request, which stays as it is on a failure.
template <typename Pool>
prm_status_t reserve_into(Pool &pool, prm_buddy_reserve *request) {
    u32 index = 0;
    const prm_status_t status = pool.reserve(request->count, &index);
    if (status == CERR_SUCCESS) request->index = index;
    return status;
}

// An entry under a number that the card picks; both or none are taken.
template <typename Entry>
prm_status_t add_numbered(IndexPool &numbers, Table<u32, Entry> &table, u32 *number, Entry **entry) {
    u32 free;
    if (const prm_status_t status = numbers.reserve(1, &free)) return status;
    if (const prm_status_t status = table.add(free, entry)) {
        numbers.release(free);
        return status;
    }
    *number = free;
    return CERR_SUCCESS;
}

// The number is free again; nothing else holds the entry.
template <typename Entry>
void remove_numbered(IndexPool &numbers, Table<u32, Entry> &table, u32 number) {
    table.remove(number);
    numbers.release(number);
}

}  // namespace sim

#endif
