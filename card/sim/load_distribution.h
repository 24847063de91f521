// Load-distribution entries on the simulated card.
#ifndef CARD_SIM_LOAD_DISTRIBUTION_H
#define CARD_SIM_LOAD_DISTRIBUTION_H

#include <absl/container/inlined_vector.h>

#include "card/sim/inventory.h"
#include "card/sim/shared_pool.h"
#include "card/sim/table.h"
#include "prm_srh_nr_ldi.h"

namespace sim {

struct LoadDistribution {
    struct Path {
        u32 nh_idx = 0;
        u32 mpls_nh_idx = 0;  // 0: none
        u32 label0 = 0, label1 = 0;
        u8 flags = 0;  // PRM_NR_LDI_PATH_...

        bool operator==(const Path &) const = default;
    };
    absl::InlinedVector<Path, 1> paths;  // at least one
    u8 mode = 0;                         // PRM_NR_LDI_MODE_...
    bool words = false;                  // programmed with path words, else with path blocks
    bool valid = false;                  // ldi_valid
};

// Entries by pointer. Leaves and labels hold the entry they point at; an entry holds the adjacencies of its
// next hops, whichever came first. A pointer is an index of the pool shifted left; deleting an entry frees
// its index.
struct LoadDistributionState {
    LoadDistributionState(Accounts &accounts, const Inventory &inventory)
        : indices(accounts[Resource::nr_ldi_index], inventory.pools.nr_ldi_index),
          table(accounts[Resource::nr_ldi]) {}

    SharedPool indices;
    Table<u32, LoadDistribution> table;
};

}  // namespace sim

#endif
