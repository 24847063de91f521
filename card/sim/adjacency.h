// Transmit adjacencies, next hops and tunnels on the simulated card.
#ifndef CARD_SIM_ADJACENCY_H
#define CARD_SIM_ADJACENCY_H

#include <absl/container/flat_hash_set.h>

#include "card/sim/inventory.h"
#include "card/sim/shared_pool.h"
#include "card/sim/table.h"
#include "prm_srh_tx_adj.h"

namespace sim {

struct Adjacency {
    u8 flags0 = 0, flags2 = 0, flags3 = 0;  // PRM_TX_ADJ_...
    u8 dmac[6] = {};
    u16 uidb = 0;
    u32 over = 0;  // next hop that a label adjacency goes out over; 0: a plain one
    u32 labels[3] = {};
    u32 tunnel = 0;  // 0: none
};

// Adjacencies by the next hop they are programmed for: a plain one's own, a label adjacency's MPLS next hop.
// Load-distribution entries hold the adjacencies of their next hops. Deleting an adjacency frees its next hop
// and its tunnel, which have no release of their own.
struct AdjacencyState {
    AdjacencyState(Accounts &accounts, const Inventory &)
        : next_hops(accounts[Resource::next_hop], kFirstNextHop),
          tunnels(accounts[Resource::tunnel], kFirstTunnel),
          table(accounts[Resource::adjacency]) {}

    static constexpr u32 kFirstNextHop = 200001;
    static constexpr u32 kFirstTunnel = 5000;

    SharedPool next_hops;
    SharedPool tunnels;
    Table<u32, Adjacency> table;
    absl::flat_hash_set<u32> pending;  // reserved next hops that wait for their adjacency
};

}  // namespace sim

#endif
