// Load-distribution entries on the simulated card.
#ifndef CARD_SIM_LOAD_DISTRIBUTION_H
#define CARD_SIM_LOAD_DISTRIBUTION_H

#include "card/sim/inventory.h"
#include "card/sim/shared_pool.h"
#include "card/sim/table.h"
#include "prm_srh_nr_ldi.h"

namespace sim {

struct LoadDistribution {
    u32 nh_idx = 0;
    u32 mpls_nh_idx = 0;  // 0: none
    u32 label0 = 0, label1 = 0;
    u8 mode = 0;  // PRM_NR_LDI_MODE_...
    u8 path_flags = 0;
    bool words = false;  // programmed with path words, else with a path block
    // Whether the entry holds an adjacency of its next hops: those that had one when it was programmed.
    bool holds_adjacency = false, holds_mpls_adjacency = false;
};

// Entries by pointer. Leaves and labels hold the entry they point at. A pointer is an index of the pool
// shifted left; deleting an entry frees its index.
struct LoadDistributionState {
    LoadDistributionState(Accounts &accounts, const Inventory &)
        : indices(accounts[Resource::nr_ldi_index], kFirstIndex), table(accounts[Resource::nr_ldi]) {}

    static constexpr u32 kFirstIndex = 0x100000;

    SharedPool indices;
    Table<u32, LoadDistribution> table;
};

}  // namespace sim

#endif
