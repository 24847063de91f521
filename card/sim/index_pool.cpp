// Search in the pool's bits: words without a free index are skipped 64 at a time.
#include "card/sim/index_pool.h"

#include <bit>

namespace sim {
namespace {

constexpr u64 kAll = ~u64{0};

}  // namespace

IndexPool::IndexPool(Account &account, u32 first, u32 size)
    : account_(account),
      first_(first),
      size_(size),
      used_((size + 63) / 64),
      full_((used_.size() + 63) / 64) {
    // What lies beyond the end is never free.
    if (size % 64 != 0) used_.back() = kAll << (size % 64);
}

void IndexPool::set(u32 offset) {
    const u32 word = offset / 64;
    used_[word] |= u64{1} << (offset % 64);
    if (used_[word] == kAll) full_[word / 64] |= u64{1} << (word % 64);
}

bool IndexPool::find_one(u32 from, u32 end, u32 *offset) const {
    if (from >= end) return false;
    u32 word = from / 64;
    u64 free = ~used_[word] & (kAll << (from % 64));
    while (free == 0) {
        ++word;
        // The next word that is not full.
        size_t group = word / 64;
        if (group >= full_.size()) return false;
        u64 candidates = ~full_[group] & (kAll << (word % 64));
        while (candidates == 0) {
            if (++group >= full_.size()) return false;
            candidates = ~full_[group];
        }
        word = static_cast<u32>(group * 64 + static_cast<u32>(std::countr_zero(candidates)));
        if (word >= used_.size()) return false;
        free = ~used_[word];
    }
    *offset = word * 64 + static_cast<u32>(std::countr_zero(free));
    return *offset < end;
}

bool IndexPool::find_run(u32 count, u32 from, u32 end, u32 *offset) const {
    u32 start;
    while (find_one(from, end, &start) && count <= end - start) {
        u32 length = 1;
        while (length < count && !bit(start + length)) ++length;
        if (length == count) {
            *offset = start;
            return true;
        }
        from = start + length;
    }
    return false;
}

prm_status_t IndexPool::reserve(u32 count, u32 *index) {
    if (count == 0) return CARD_ERROR_BAD_COUNT;
    if (!account_.has(count)) return CARD_ERROR_POOL_EXHAUSTED;
    u32 offset;
    const bool found = count == 1
                           ? find_one(next_, size_, &offset) || find_one(0, next_, &offset)
                           : find_run(count, next_, size_, &offset) || find_run(count, 0, size_, &offset);
    if (!found) return CARD_ERROR_POOL_EXHAUSTED;
    next_ = offset + count;
    for (u32 i = 0; i < count; ++i) set(offset + i);
    account_.used += count;
    *index = first_ + offset;
    return CERR_SUCCESS;
}

bool IndexPool::take(u32 index) {
    if (!inside(index) || in_use(index) || !account_.has(1)) return false;
    set(index - first_);
    ++account_.used;
    return true;
}

prm_status_t IndexPool::release(u32 index) {
    if (!in_use(index)) return CARD_ERROR_NOT_RESERVED;
    const u32 offset = index - first_;
    const u32 word = offset / 64;
    used_[word] &= ~(u64{1} << (offset % 64));
    full_[word / 64] &= ~(u64{1} << (word % 64));
    --account_.used;
    return CERR_SUCCESS;
}

}  // namespace sim
