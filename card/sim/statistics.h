// Statistics pointers on the simulated card: one pool per class and direction.
#ifndef CARD_SIM_STATISTICS_H
#define CARD_SIM_STATISTICS_H

#include <absl/container/flat_hash_map.h>

#include <map>

#include "card/codes.h"
#include "card/sim/counters.h"
#include "card/sim/index_pool.h"
#include "card/sim/inventory.h"

namespace sim {

// A pointer belongs to the client that allocated it, whatever counts on it and whatever becomes of that;
// there is no operation that releases one.
struct StatisticsState {
    StatisticsState(Accounts &accounts, const Inventory &inventory);

    // The pool of a class and direction (PRM_STATS_...), or null.
    IndexPool *pool(u32 stats_class, u32 direction);
    bool is_allocated(u32 stats_class, u32 direction, u32 pointer);

    // Handle of the client that allocated the pointer, 0 for none; the client may be gone.
    uintptr_t owner(u32 pointer) const;
    void set_owner(u32 first, u32 count, uintptr_t client);

    IndexPool interface_ingress, interface_egress, mpls_ingress, mpls_egress;
    absl::flat_hash_map<u32, u32> counting;  // pointer -> interface that counts on it now
    Counters counters;                       // by pointer

  private:
    struct Owned {
        u32 count = 0;
        uintptr_t client = 0;
    };
    std::map<u32, Owned> owned_;  // by first pointer
};

}  // namespace sim

#endif
