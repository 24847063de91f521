// Route leaves on the simulated card.
#ifndef CARD_SIM_ROUTE_H
#define CARD_SIM_ROUTE_H

#include "card/sim/index_pool.h"
#include "card/sim/inventory.h"
#include "card/sim/table.h"
#include "zor_vop_prm_leaf.h"

namespace sim {

// Address, VRF and prefix length in one word.
using Ipv4Key = u64;
constexpr Ipv4Key ipv4_key(u32 address, u16 vrf, u8 length) {
    return u64{address} << 32 | u32{vrf} << 8 | length;
}

// The same for IPv6; words, so that it is no larger than its 20 bytes.
struct Ipv6Key {
    u32 words[5];  // the address as it lies in memory, then VRF and prefix length

    friend bool operator==(const Ipv6Key &, const Ipv6Key &) = default;
    template <typename H>
    friend H AbslHashValue(H state, const Ipv6Key &key) {
        return H::combine_contiguous(std::move(state), key.words, 5);
    }
};
Ipv6Key ipv6_key(const u8 (&address)[16], u16 vrf, u8 length);

// What a leaf resolves to. With the LDI flag the leaf holds the load-distribution entry of ldi_ptr; the words
// of a recursive pair are names.
struct Leaf {
    u32 ldi_ptr = 0;
    u32 ldi_ptr2 = 0;
    u8 flags0 = 0, flags1 = 0;  // ZOR_LEAF_...
    u16 tag_bits = 0;
};

struct RouteState {
    RouteState(Accounts &accounts, const Inventory &)
        : space(accounts[Resource::leaf], 1),
          ipv4(accounts[Resource::ipv4_leaf]),
          ipv6(accounts[Resource::ipv6_leaf]) {}

    IndexPool space;  // reservations; no operation gives them back
    Table<Ipv4Key, Leaf> ipv4;
    Table<Ipv6Key, Leaf> ipv6;
};

}  // namespace sim

#endif
