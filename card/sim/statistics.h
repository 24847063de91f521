// Statistics pointers on the simulated card: one pool per class and direction.
#ifndef CARD_SIM_STATISTICS_H
#define CARD_SIM_STATISTICS_H

#include <absl/container/flat_hash_set.h>

#include "card/codes.h"
#include "card/sim/index_pool.h"
#include "card/sim/inventory.h"

namespace sim {

struct StatisticsState {
    StatisticsState(Accounts &accounts, const Inventory &inventory);

    // The pool of a class and direction (PRM_STATS_...), or null.
    IndexPool *pool(u32 stats_class, u32 direction);

    // An entry starts to count on a pointer: CARD_ERROR_UNKNOWN_STATISTICS when it was not allocated from
    // that pool, CARD_ERROR_IN_USE when another entry counts on it.
    prm_status_t attach(u32 stats_class, u32 direction, u32 pointer);
    // What attach() would answer.
    prm_status_t check_attach(u32 stats_class, u32 direction, u32 pointer);
    // The entry stops to count on it, and gives it back.
    void detach_and_free(u32 stats_class, u32 direction, u32 pointer);

    IndexPool interface_ingress, interface_egress, mpls_ingress, mpls_egress;
    absl::flat_hash_set<u32> attached;  // pointers that an entry counts on
};

}  // namespace sim

#endif
