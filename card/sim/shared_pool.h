// Index pools whose indices are named by entries: an index stays in use as long as an entry names it.
#ifndef CARD_SIM_SHARED_POOL_H
#define CARD_SIM_SHARED_POOL_H

#include <absl/container/flat_hash_map.h>

#include "card/sim/index_pool.h"

namespace sim {

// An index is in use while a client has it reserved or an entry uses it, reserved or not: a pool never hands
// out what a client named by himself. Indices outside the pool's range are accepted and not kept track of.
class SharedPool {
  public:
    SharedPool(Account &account, u32 first) : pool_(account, first) {}

    // Keeps an index out of what is handed out, as a reservation does.
    void take(u32 index) { pool_.take(index); }

    prm_status_t reserve(u32 count, u32 *index) { return pool_.reserve(count, index); }

    // An entry starts, or stops, to name the index.
    void use(u32 index) {
        if (!pool_.inside(index)) return;
        const auto [slot, first_use] = users_.try_emplace(index);
        if (first_use) slot->second.reserved = !pool_.take(index);
        ++slot->second.count;
    }
    void unuse(u32 index) {
        const auto slot = users_.find(index);
        if (slot == users_.end() || --slot->second.count != 0) return;
        if (!slot->second.reserved) pool_.release(index);
        users_.erase(slot);
    }

    // The client gives `count` indices back, all or none: CARD_ERROR_BAD_COUNT, CARD_ERROR_NOT_RESERVED,
    // CARD_ERROR_IN_USE while an entry uses one.
    prm_status_t release(u32 index, u32 count) {
        if (count == 0 || count > pool_.size()) return CARD_ERROR_BAD_COUNT;
        for (u32 i = 0; i < count; ++i) {
            if (!pool_.in_use(index + i)) return CARD_ERROR_NOT_RESERVED;
            if (users_.contains(index + i)) return CARD_ERROR_IN_USE;
        }
        for (u32 i = 0; i < count; ++i) pool_.release(index + i);
        return CERR_SUCCESS;
    }

    // What the index stood for is gone, and the reservation with it; entries that still use the index keep
    // it.
    void retire(u32 index) {
        const auto slot = users_.find(index);
        if (slot != users_.end()) {
            slot->second.reserved = false;
        } else {
            pool_.release(index);
        }
    }

    bool in_use(u32 index) const { return pool_.in_use(index); }
    // Whether the index is the pool's to hand out, and no client has it reserved.
    bool is_unreserved(u32 index) const {
        if (!pool_.inside(index)) return false;
        if (!pool_.in_use(index)) return true;
        const auto slot = users_.find(index);
        return slot != users_.end() && !slot->second.reserved;
    }
    // Whether an entry names an index of the pool.
    bool is_named(u32 index) const { return users_.contains(index); }

    // visit(index, reserved, named_by) for every index in use, in their order: whether a client has it
    // reserved, and how many entries name it.
    template <typename Visit>
    void for_each_used(Visit visit) const {
        pool_.for_each_used([&](u32 index) {
            const auto slot = users_.find(index);
            if (slot != users_.end()) {
                visit(index, slot->second.reserved, slot->second.count);
            } else {
                visit(index, true, u32{0});
            }
        });
    }

  private:
    struct Users {
        u32 count = 0;
        bool reserved = false;
    };

    IndexPool pool_;
    absl::flat_hash_map<u32, Users> users_;
};

}  // namespace sim

#endif
