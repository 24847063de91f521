// Bounded pools of indices.
#ifndef CARD_SIM_INDEX_POOL_H
#define CARD_SIM_INDEX_POOL_H

#include <vector>

#include "card/codes.h"
#include "card/sim/accounts.h"
#include "prm_types.h"

namespace sim {

// Hands out free indices of [first, first + size), never one in use, and goes round: what is handed out next
// lies behind what was handed out last, so that an index that was given back comes again only when all
// behind it had their turn. Indices that a caller names himself (take) are accepted wherever they lie; those
// inside the range are then in use as well. One bit per index; cost does not grow with the number in use.
class IndexPool {
  public:
    // As many indices as the account's limit allows.
    IndexPool(Account &account, u32 first) : IndexPool(account, first, account.limit) {}
    IndexPool(Account &account, u32 first, u32 size);

    // `count` consecutive indices from *index on: CARD_ERROR_BAD_COUNT for none, CARD_ERROR_POOL_EXHAUSTED.
    prm_status_t reserve(u32 count, u32 *index);

    // Marks an index that a caller names as in use. True when it was a free index of the pool, which the
    // caller then owes a release(); false when it was in use already or lies outside.
    bool take(u32 index);

    // CARD_ERROR_NOT_RESERVED for an index that is not in use.
    prm_status_t release(u32 index);

    bool in_use(u32 index) const { return inside(index) && bit(index - first_); }
    bool inside(u32 index) const { return index >= first_ && index - first_ < size_; }
    u32 size() const { return size_; }

    // visit(index) for every index in use, in their order.
    template <typename Visit>
    void for_each_used(Visit visit) const {
        for (u32 offset = 0; offset < size_; ++offset) {
            if (offset % 64 == 0 && used_[offset / 64] == 0) {
                offset += 63;
            } else if (bit(offset)) {
                visit(first_ + offset);
            }
        }
    }

  private:
    bool bit(u32 offset) const { return (used_[offset / 64] >> (offset % 64) & 1) != 0; }
    void set(u32 offset);
    bool find_one(u32 from, u32 end, u32 *offset) const;
    bool find_run(u32 count, u32 from, u32 end, u32 *offset) const;

    Account &account_;
    u32 first_;
    u32 size_;
    u32 next_ = 0;           // where the search starts
    std::vector<u64> used_;  // one bit per index
    std::vector<u64> full_;  // one bit per word of used_ with no free index
};

}  // namespace sim

#endif
