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
// An adjacency is held by all that name its next hop, whichever came first: paths of load-distribution
// entries, label adjacencies that go out over it, recursive leaves; and by pseudowires. It holds the
// interface that it goes out by. Deleting an adjacency frees its next hop and its tunnel, which have no
// release of their own.
struct AdjacencyState {
    AdjacencyState(Accounts &accounts, const Inventory &inventory)
        : next_hops(accounts[Resource::next_hop], inventory.pools.next_hop),
          tunnels(accounts[Resource::tunnel], inventory.pools.tunnel),
          table(accounts[Resource::adjacency]) {}

    // An entry starts, or stops, to name a next hop as a way out; 0 names none.
    void hold_next_hop(u32 nh) {
        if (nh == 0) return;
        next_hops.use(nh);
        table.hold_by_name(nh);
    }
    void release_next_hop(u32 nh) {
        if (nh == 0) return;
        table.release_by_name(nh);
        next_hops.unuse(nh);
    }

    SharedPool next_hops;
    SharedPool tunnels;
    Table<u32, Adjacency> table;
    absl::flat_hash_set<u32> pending;  // reserved next hops that wait for their adjacency
};

}  // namespace sim

#endif
