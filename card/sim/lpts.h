// Local packet transport entries on the simulated card.
#ifndef CARD_SIM_LPTS_H
#define CARD_SIM_LPTS_H

#include <algorithm>

#include "card/sim/index_pool.h"
#include "card/sim/inventory.h"
#include "card/sim/table.h"
#include "prm_srh_lpts.h"

namespace sim {

// Entries by entry id, as they were programmed. Each has a policer and a statistics counter of its own, at
// its place in their banks; the group is that of its address family.
struct LptsState {
    LptsState(Accounts &accounts, const Inventory &)
        : ids(accounts[Resource::lpts_index], kFirstEntry,
              std::min<u32>(accounts[Resource::lpts_index].limit, kLastEntry - kFirstEntry + 1)),
          table(accounts[Resource::lpts]) {}

    static constexpr u32 kFirstEntry = 1;
    static constexpr u32 kLastEntry = 65517;  // ids from 65518 on never exist
    static constexpr u32 kFirstPolicer = 0x10000;
    static constexpr u32 kFirstStatistics = 0x20000;
    static constexpr u32 kIpv4Group = 4, kIpv6Group = 6;

    IndexPool ids;
    Table<u32, prm_lpts_entry> table;
};

}  // namespace sim

#endif
