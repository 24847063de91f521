// Overlay services of the simulated card: multi-path groups (vplag), EVPN MACs, split-horizon designated
// forwarders, overlay egress adjacencies.
#ifndef CARD_SIM_EVPN_H
#define CARD_SIM_EVPN_H

#include <absl/container/inlined_vector.h>

#include <cstring>
#include <utility>

#include "card/sim/index_pool.h"
#include "card/sim/inventory.h"
#include "card/sim/table.h"

namespace sim {

struct Vplag {
    struct Path {
        u32 next_hop;
        u32 remote_vtep;
    };
    u32 source_vtep = 0;
    absl::InlinedVector<Path, 2> paths;
};

struct EvpnMacKey {
    u32 bd_id = 0;
    u8 mac[6] = {};

    bool operator==(const EvpnMacKey &) const = default;
    template <typename Hash>
    friend Hash AbslHashValue(Hash hash, const EvpnMacKey &key) {
        u64 mac = 0;
        std::memcpy(&mac, key.mac, sizeof key.mac);
        return Hash::combine(std::move(hash), key.bd_id, mac);
    }
};

struct EvpnMac {
    u32 type = 0;
    u32 fec = 0;
};

struct ShgDfKey {
    u32 address_or_vni = 0;
    u32 if_handle = 0;
    u32 is_shg = 0;

    bool operator==(const ShgDfKey &) const = default;
    template <typename Hash>
    friend Hash AbslHashValue(Hash hash, const ShgDfKey &key) {
        return Hash::combine(std::move(hash), key.address_or_vni, key.if_handle, key.is_shg);
    }
};
struct ShgDf {};

struct Overlay {
    u32 next_hop = 0;
};

// An overlay adjacency is named by its bridge domain and the far end's address.
constexpr u64 overlay_key(u32 bd_id, u32 remote_vtep) {
    return u64{bd_id} << 32 | remote_vtep;
}

// Groups are numbered from 1 in the order of their reservation.
struct EvpnState {
    EvpnState(Accounts &accounts, const Inventory &)
        : vplags(accounts[Resource::vplag]),
          vplag_ids(accounts[Resource::vplag_index], 1),
          macs(accounts[Resource::evpn_mac]),
          shg_dfs(accounts[Resource::shg_df]),
          overlays(accounts[Resource::overlay]) {}

    Table<u32, Vplag> vplags;
    IndexPool vplag_ids;
    Table<EvpnMacKey, EvpnMac> macs;  // each holds its bridge domain, which has a VNI
    Table<ShgDfKey, ShgDf> shg_dfs;   // each holds its interface
    Table<u64, Overlay> overlays;     // each holds its bridge domain, which has a VNI
};

}  // namespace sim

#endif
