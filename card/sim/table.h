// The one table that all resource families keep their entries in.
#ifndef CARD_SIM_TABLE_H
#define CARD_SIM_TABLE_H

#include <absl/container/flat_hash_map.h>

#include <utility>

#include "card/codes.h"
#include "card/sim/accounts.h"
#include "prm_types.h"

namespace sim {

// Entries by key, bounded by an account (several tables may share one), with references held both ways: an
// entry that refers to another keeps its key and has the other table hold() it, so that the other cannot be
// removed before release(). Where an entry may name what does not exist yet, hold_by_name() does the same.
// Cost per operation does not grow with the number of entries.
//
// Pointers to entries are good until the next add(), put() or remove() on the same table.
template <typename Key, typename Entry>
class Table {
  public:
    explicit Table(Account &account) : account_(account) {}
    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;

    // Null when there is none.
    Entry *find(const Key &key) {
        const auto slot = slots_.find(key);
        return slot != slots_.end() ? &slot->second.entry : nullptr;
    }
    const Entry *find(const Key &key) const { return const_cast<Table *>(this)->find(key); }
    bool contains(const Key &key) const { return slots_.contains(key); }

    // A new entry, default-constructed, in *entry; CARD_ERROR_EXISTS when the key is taken,
    // CARD_ERROR_TABLE_FULL when the account has nothing left.
    prm_status_t add(const Key &key, Entry **entry) {
        bool created;
        const prm_status_t status = put(key, entry, &created);
        return status == CERR_SUCCESS && !created ? CARD_ERROR_EXISTS : status;
    }

    // The key's entry in *entry, a new one when there was none: for adds that replace. *created tells which;
    // a replaced entry keeps its users, and what it referred to is still held.
    prm_status_t put(const Key &key, Entry **entry, bool *created = nullptr) {
        if (account_.has(1)) {
            const auto [slot, inserted] = slots_.try_emplace(key);
            if (inserted) {
                ++account_.used;
                slot->second.users = awaited(key);
            }
            *entry = &slot->second.entry;
            if (created != nullptr) *created = inserted;
            return CERR_SUCCESS;
        }
        *entry = find(key);
        if (created != nullptr) *created = false;
        return *entry != nullptr ? prm_status_t{CERR_SUCCESS} : CARD_ERROR_TABLE_FULL;
    }

    // CARD_ERROR_NOT_FOUND, or CARD_ERROR_IN_USE while another entry refers to this one. Whoever removes an
    // entry first releases what it refers to.
    prm_status_t remove(const Key &key) {
        const auto slot = slots_.find(key);
        if (slot == slots_.end()) return CARD_ERROR_NOT_FOUND;
        if (slot->second.users != 0) return CARD_ERROR_IN_USE;
        slots_.erase(slot);
        --account_.used;
        return CERR_SUCCESS;
    }

    // References from other entries. A reference to an entry that does not exist is refused.
    bool hold(const Key &key) {
        const auto slot = slots_.find(key);
        if (slot == slots_.end()) return false;
        ++slot->second.users;
        return true;
    }
    void release(const Key &key) {
        const auto slot = slots_.find(key);
        if (slot != slots_.end() && slot->second.users != 0) --slot->second.users;
    }
    // References by name, whichever end came first: an entry that is added later is held by all who named it
    // before.
    void hold_by_name(const Key &key) {
        if (!hold(key)) ++awaited_[key];
    }
    void release_by_name(const Key &key) {
        if (contains(key)) {
            release(key);
        } else if (const auto slot = awaited_.find(key); slot != awaited_.end() && --slot->second == 0) {
            awaited_.erase(slot);
        }
    }
    // How many entries refer to this one.
    u32 users(const Key &key) const {
        const auto slot = slots_.find(key);
        return slot != slots_.end() ? slot->second.users : 0;
    }

    size_t size() const { return slots_.size(); }
    const Account &account() const { return account_; }

    // visit(key, entry, users) for every entry, in no order.
    template <typename Visit>
    void for_each(Visit visit) const {
        for (const auto &[key, slot] : slots_) visit(key, slot.entry, slot.users);
    }

  private:
    struct Slot {
        Entry entry{};
        u32 users = 0;
    };

    // How many named the entry that is being added; from now on they hold it.
    u32 awaited(const Key &key) {
        if (awaited_.empty()) return 0;
        const auto slot = awaited_.find(key);
        if (slot == awaited_.end()) return 0;
        const u32 users = slot->second;
        awaited_.erase(slot);
        return users;
    }

    Account &account_;
    absl::flat_hash_map<Key, Slot> slots_;
    absl::flat_hash_map<Key, u32> awaited_;  // references to keys that have no entry
};

}  // namespace sim

#endif
