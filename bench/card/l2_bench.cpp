// Bridge domains, circuits and EVPN MACs of the simulated card beside a plain hash map: see table_measure.h.
#include "bench/card/table_measure.h"
#include "prm_srh_l2.h"

namespace {

using bench::ClientOnCard;
using bench::spread;

constexpr u32 kMain = 0x8000088, kUidb = 10, kDomain = 1;

// A switched port, and room for as many entries.
sim::Inventory inventory_for(sim::Resource resource, u32 count) {
    sim::Inventory inventory;
    inventory.interfaces = {
        {.handle = kMain, .kind = sim::InterfaceKind::MAIN, .np_port = 1, .uidb = kUidb, .layer2 = true}};
    inventory.limits[resource].limit = count;
    return inventory;
}

prm_bd_request domain(u32 id) {
    prm_bd_request request = {};
    request.kind = PRM_L2_REQUEST_KIND;
    request.xid_type = PRM_XID_TYPE_BRIDGE_DOMAIN;
    request.object_code = PRM_L2_OBJECT_BRIDGE_DOMAIN;
    request.flags74 = PRM_BD_74_VXLAN;
    request.vni_low = 1;
    request.source_vtep = 0xC0A80101;
    request.bd_id = id;
    return request;
}

// Every domain has a VNI of its own, whatever its id.
void give_vni(u32 i, prm_bd_request *request) {
    request->vni_low = static_cast<u16>(i + 1);
    request->vni_high = static_cast<u8>((i + 1) >> 16);
}

struct BridgeDomains {
    static constexpr const char *kName = "bridge domains";
    static constexpr bool kChanges = true, kRemoves = true;
    using Key = u32;
    using Payload = sim::BridgeDomain;

    explicit BridgeDomains(ClientOnCard &) : request(domain(0)) {}
    static sim::Inventory inventory(u32 count) { return inventory_for(sim::Resource::bridge_domain, count); }
    static Key key(u32 i) { return spread(i); }
    bool add(ClientOnCard &on, u32 i) {
        request.bd_id = key(i);
        give_vni(i, &request);
        return prm_srh_bd_add(on.client, &request) == CERR_SUCCESS;
    }
    bool change(ClientOnCard &on, u32 i) {
        request.bd_id = key(i);
        give_vni(i, &request);
        return prm_srh_bd_mod(on.client, &request) == CERR_SUCCESS;
    }
    bool remove(ClientOnCard &on, u32 i) {
        request.bd_id = key(i);
        return prm_srh_bd_del(on.client, &request) == CERR_SUCCESS;
    }

    prm_bd_request request;
};

// VSP circuits of one bridge domain on one port.
struct Circuits {
    static constexpr const char *kName = "circuits";
    static constexpr bool kChanges = true, kRemoves = true;
    using Key = u64;
    using Payload = sim::Circuit;

    explicit Circuits(ClientOnCard &on) {
        prm_bd_request its_domain = domain(kDomain);
        prm_srh_bd_add(on.client, &its_domain);
        request.kind = PRM_L2_REQUEST_KIND;
        request.xid_type = PRM_XID_TYPE_CIRCUIT;
        request.object_code = PRM_L2_OBJECT_CIRCUIT;
        request.flags92 = PRM_XID_92_VSP;
        request.xid_kind = PRM_XID_KIND_AC;
        request.bd_id = kDomain;
        request.member_uidb = kUidb;
        request.vsp_word = PRM_XID_VSP_WORD;
    }
    static sim::Inventory inventory(u32 count) { return inventory_for(sim::Resource::circuit, count); }
    static Key key(u32 i) { return sim::vsp_circuit(spread(i)); }
    bool add(ClientOnCard &on, u32 i) {
        request.ac_xid = spread(i);
        return prm_srh_xid_add(on.client, &request) == CERR_SUCCESS;
    }
    bool change(ClientOnCard &on, u32 i) {
        request.ac_xid = spread(i);
        return prm_srh_xid_mod(on.client, &request) == CERR_SUCCESS;
    }
    bool remove(ClientOnCard &on, u32 i) {
        request.ac_xid = spread(i);
        return prm_srh_xid_del(on.client, &request) == CERR_SUCCESS;
    }

    prm_xid_request request = {};
};

// MACs of one bridge domain; there is no operation that changes one.
struct EvpnMacs {
    static constexpr const char *kName = "EVPN MACs";
    static constexpr bool kChanges = false, kRemoves = true;
    using Key = sim::EvpnMacKey;
    using Payload = sim::EvpnMac;

    explicit EvpnMacs(ClientOnCard &on) {
        prm_bd_request its_domain = domain(kDomain);
        prm_srh_bd_add(on.client, &its_domain);
        request.kind = PRM_L2_REQUEST_KIND;
        request.xid_type = PRM_XID_TYPE_CIRCUIT;
    }
    static sim::Inventory inventory(u32 count) { return inventory_for(sim::Resource::evpn_mac, count); }
    static Key key(u32 i) {
        Key key;
        key.bd_id = kDomain;
        key.mac[0] = 2;
        const u32 host = spread(i);
        std::memcpy(key.mac + 2, &host, sizeof host);
        return key;
    }
    void name(u32 i) {
        const Key its = key(i);
        request.entry.bd_id = its.bd_id;
        std::memcpy(request.entry.mac, its.mac, sizeof its.mac);
    }
    bool add(ClientOnCard &on, u32 i) {
        name(i);
        return prm_srh_evpn_mac_install_add(on.client, &request) == CERR_SUCCESS;
    }
    bool remove(ClientOnCard &on, u32 i) {
        name(i);
        return prm_srh_evpn_mac_install_del(on.client, &request) == CERR_SUCCESS;
    }

    prm_evpn_mac_request request = {};
};

}  // namespace

int main() {
    bench::print_heading();
    for (u32 count : {1000u, 100000u, 1000000u}) bench::print_row<BridgeDomains>(count);
    for (u32 count : {1000u, 100000u, 1000000u}) bench::print_row<Circuits>(count);
    for (u32 count : {1000u, 100000u, 1000000u}) bench::print_row<EvpnMacs>(count);
    return 0;
}
