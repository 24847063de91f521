// Layer-2 services of the simulated card: bridge domains, attachment circuits, cross-connects of two circuits
// and of a circuit with a pseudowire.
#ifndef CARD_SIM_L2_H
#define CARD_SIM_L2_H

#include <absl/container/flat_hash_map.h>

#include "card/sim/inventory.h"
#include "card/sim/table.h"

namespace sim {

struct Card;

struct BridgeDomain {
    u32 vni = 0;          // 0: no VXLAN domain
    u32 source_vtep = 0;  // of a VXLAN domain
    u32 overlays = 0;     // EVPN MACs and overlay adjacencies in it, which keep it a VXLAN domain
    u8 flags73 = 0;       // PRM_BD_73_...
};

// What a circuit is part of; one service at a time, and an add moves it from the one it was in. All circuits
// on an interface are part of the same.
enum class Service : u8 { BRIDGE_DOMAIN, LOCAL_SWITCHING, PSEUDOWIRE };

struct Circuit {
    u32 service_id = 0;  // bridge domain; uidb of the other end, 0 once that is gone; xid of the pseudowire
    u16 uidb = 0;        // interface it is on
    Service service = Service::BRIDGE_DOMAIN;
    u8 flags[5] = {};  // bytes 88 to 92 of the request: PRM_XID_88_... to PRM_XID_92_...
    u32 vsp_word = 0;  // of a VSP circuit, as sent
};

// A circuit is named by the interface-database index it is on, a VSP circuit by its xid.
using CircuitKey = u64;
constexpr CircuitKey circuit_on(u16 uidb) {
    return uidb;
}
constexpr CircuitKey vsp_circuit(u32 ac_xid) {
    return u64{1} << 32 | ac_xid;
}
constexpr bool is_vsp(CircuitKey key) {
    return key >> 32 != 0;
}

// The VSP circuits on an interface, all members of one bridge domain.
struct VspCircuits {
    u32 count = 0;
    u32 bd_id = 0;
};

struct Pseudowire {
    u16 uidb = 0;  // its attachment circuit; 0 once that was moved elsewhere
    u32 segment2_key = 0, segment2_word = 0;
    u32 next_hop = 0;
    u32 tunnel = 0;
};

struct L2State {
    L2State(Accounts &accounts, const Inventory &)
        : bridge_domains(accounts[Resource::bridge_domain]),
          circuits(accounts[Resource::circuit]),
          pseudowires(accounts[Resource::pseudowire]) {}

    Table<u32, BridgeDomain> bridge_domains;  // by id; held by circuits, EVPN MACs and overlay adjacencies
    absl::flat_hash_map<u32, u32> domain_of_vni;
    Table<CircuitKey, Circuit> circuits;
    absl::flat_hash_map<u16, VspCircuits> vsp_circuits;  // by uidb, where there are any
    Table<u32, Pseudowire> pseudowires;                  // by xid
};

}  // namespace sim

#endif
