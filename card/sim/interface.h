// The interface database of the simulated card: main interfaces, sub-interfaces, bundles, bridged virtual
// interfaces, their features, and bundle membership.
#ifndef CARD_SIM_INTERFACE_H
#define CARD_SIM_INTERFACE_H

#include <absl/container/flat_hash_map.h>

#include <bitset>
#include <utility>
#include <vector>

#include "card/sim/inventory.h"
#include "card/sim/shared_pool.h"
#include "card/sim/table.h"
#include "uidb.h"

namespace sim {

struct Card;

// The features that an interface keeps a value of; statistics have one per direction.
enum class Feature : u8 {
    IP_MTU,
    NP_PORT,
    LAG_ID,
    L2,
    STATS_INGRESS,
    STATS_EGRESS,
    MPLS_ENABLE,
    VRF,
    IPV4_ENABLE,
    REWRITE_OP,
    VLAN_TAGS,
    OUTER_TPID,
    OUTER_VLAN,
    INNER_VLAN,
    REWRITE_OUTER_TPID,
    REWRITE_OUTER_VLAN,
    REWRITE_INNER_VLAN,
    MAC,
};

struct Interface {
    u32 parent = 0;          // 0: none
    u32 sub_interfaces = 0;  // how many have it as their parent
    u32 circuits = 0;        // attachment circuits that are on it
    u32 features = 0;        // bit per Feature that was set
    u32 values[static_cast<size_t>(Feature::MAC)] = {};
    u16 uidb = 0;
    u8 mac[6] = {};
    u8 np_port = 0;
    InterfaceKind kind = InterfaceKind::MAIN;

    bool has(Feature feature) const { return (features >> static_cast<u32>(feature) & 1) != 0; }
    // 0 for a feature that was never set; not for MAC.
    u32 value(Feature feature) const { return values[static_cast<size_t>(feature)]; }
    bool is_layer2() const { return value(Feature::L2) != 0; }
};

// A bundle that was formed; its key is the bundle id.
struct Bundle {
    std::bitset<256> members;
};

// What a frame needs to belong to a sub-interface; no two of a parent have the same.
struct Encapsulation {
    u32 parent = 0;
    u16 outer_tpid = 0, outer_vlan = 0, inner_vlan = 0;

    bool operator==(const Encapsulation &) const = default;
    template <typename Hash>
    friend Hash AbslHashValue(Hash hash, const Encapsulation &key) {
        return Hash::combine(std::move(hash), key.parent, key.outer_tpid, key.outer_vlan, key.inner_vlan);
    }
};

struct InterfaceState {
    InterfaceState(Accounts &accounts, const Inventory &inventory);

    // Handle of the interface with that interface-database index, 0 for none.
    u32 handle_of_uidb(u32 uidb) const { return uidb < by_uidb.size() ? by_uidb[uidb] : 0; }
    void set_handle_of_uidb(u16 uidb, u32 if_handle) {
        if (uidb >= by_uidb.size()) by_uidb.resize(uidb + 1);
        by_uidb[uidb] = if_handle;
    }
    Interface *find_by_uidb(u32 uidb) { return table.find(handle_of_uidb(uidb)); }

    Table<u32, Interface> table;  // by handle; held by circuits, mirror sources and what else uses one
    Table<u8, Bundle> bundles;    // by bundle id; held by the sub-interfaces of the bundle
    absl::flat_hash_map<u8, u32> bundle_interfaces;          // bundle id -> handle of its main interface
    absl::flat_hash_map<Encapsulation, u32> encapsulations;  // -> handle of the sub-interface that has it
    absl::flat_hash_map<u8, u8> configured_members;          // port -> bundle id it is configured for
    absl::flat_hash_map<u32, std::bitset<256>> subif_ports;  // bundle sub-interface -> member ports
    std::vector<u32> by_uidb;  // index -> handle, 0 for none; as long as the highest index needs
    Account uidb_account;      // indices, not a resource of its own: bounded by the width of the field
    SharedPool uidb_pool;      // adjacencies name the index that they go out by, and hold its interface
    Account &feature_account;
    u16 bvi_uidb;  // index of the card's bridged virtual interface; 0: the card type has none
};

// The group bit of a MAC address.
inline bool is_group(const u8 (&mac)[6]) {
    return (mac[0] & 1) != 0;
}

// That of a sub-interface with an outer VLAN. A tag protocol that was never set is that of IEEE 802.1Q.
Encapsulation encapsulation_of(const Interface &interface);

// True for a sub-interface that is not switched to layer 2.
bool is_l3_sub_interface(const Interface &interface);

}  // namespace sim

#endif
