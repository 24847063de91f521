// What statistics ids count: packets and bytes.
#ifndef CARD_SIM_COUNTERS_H
#define CARD_SIM_COUNTERS_H

#include <absl/container/flat_hash_map.h>

#include "prm_types.h"

namespace sim {

struct Count {
    u64 packets = 0, bytes = 0;

    friend bool operator==(const Count &, const Count &) = default;
};

// The counts of one family's ids. Only what has counted takes room, so that pools of a million ids cost
// nothing; every other id reads as 0.
class Counters {
  public:
    // `number` consecutive ids were handed out: whatever they counted for whom had them before, they begin at
    // 0.
    void start(u32 first, u32 number = 1) {
        if (number < counts_.size()) {
            for (u32 i = 0; i < number; ++i) counts_.erase(first + i);
        } else {
            absl::erase_if(counts_, [&](const auto &entry) { return entry.first - first < number; });
        }
    }

    // One packet of that many bytes.
    void count(u32 id, u64 bytes) {
        Count &its = counts_[id];
        ++its.packets;
        its.bytes += bytes;
    }

    Count of(u32 id) const {
        const auto found = counts_.find(id);
        return found != counts_.end() ? found->second : Count{};
    }

  private:
    absl::flat_hash_map<u32, Count> counts_;
};

}  // namespace sim

#endif
