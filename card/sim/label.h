// Label entries and their indices on the simulated card.
#ifndef CARD_SIM_LABEL_H
#define CARD_SIM_LABEL_H

#include "card/sim/inventory.h"
#include "card/sim/shared_pool.h"
#include "card/sim/table.h"
#include "zor_vop_prm_label.h"

namespace sim {

// Label and end-of-stack in one word.
constexpr u32 label_key(u32 label, bool eos) {
    return label << 1 | (eos ? 1 : 0);
}

// What a label gets. With the NR-LDI flag the entry holds the load-distribution entry of `pointer`.
struct LabelEntry {
    u32 pointer = 0;
    u32 recursive_pointer = 0;  // a name
    u32 leaf_hw_idx = 0;        // 0: none
    u8 flags0 = 0, flags2 = 0;  // ZOR_LABEL_...
};

struct LabelState {
    LabelState(Accounts &accounts, const Inventory &inventory)
        : indices(accounts[Resource::label_index], inventory.pools.label_index),
          table(accounts[Resource::label]) {}

    SharedPool indices;
    Table<u32, LabelEntry> table;
};

}  // namespace sim

#endif
