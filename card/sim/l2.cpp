// Layer-2 services of the simulated card: the operations.
#include "card/sim/l2.h"

#include <cstring>

#include "card/sim/backend.h"
#include "prm_srh_l2.h"
#include "prm_srh_tx_adj.h"

namespace sim {
namespace {

// ---- Circuits and what they are part of.

// The interface of an index that can carry an attachment circuit.
prm_status_t check_switched(const Card &card, u32 uidb) {
    const Interface *const interface = card.interfaces.table.find(card.interfaces.handle_of_uidb(uidb));
    if (interface == nullptr) return CARD_ERROR_UNKNOWN_INTERFACE;
    return success_if(interface->is_layer2(), CARD_ERROR_NOT_LAYER2);
}

void hold_interface(Card &card, u16 uidb) {
    const u32 handle = card.interfaces.handle_of_uidb(uidb);
    card.interfaces.table.hold(handle);
    ++card.interfaces.table.find(handle)->circuits;
}

void release_interface(Card &card, u16 uidb) {
    const u32 handle = card.interfaces.handle_of_uidb(uidb);
    card.interfaces.table.release(handle);
    --card.interfaces.table.find(handle)->circuits;
}

// Takes a circuit out of what it is part of; the other end of a cross-connect stays, with nothing behind it.
void leave_service(Card &card, const Circuit &circuit) {
    switch (circuit.service) {
        case Service::BRIDGE_DOMAIN:
            card.l2.bridge_domains.release(circuit.service_id);
            break;
        case Service::LOCAL_SWITCHING:
            if (Circuit *const other =
                    card.l2.circuits.find(circuit_on(static_cast<u16>(circuit.service_id)));
                other != nullptr && circuit.service_id != 0) {
                other->service_id = 0;
            }
            break;
        case Service::PSEUDOWIRE:
            if (Pseudowire *const pseudowire = card.l2.pseudowires.find(circuit.service_id)) {
                pseudowire->uidb = 0;
            }
            break;
    }
}

// A circuit starts, or stops, to be on its interface.
void enter_interface(Card &card, CircuitKey key, const Circuit &circuit) {
    hold_interface(card, circuit.uidb);
    if (!is_vsp(key)) return;
    VspCircuits &its = card.l2.vsp_circuits[circuit.uidb];
    ++its.count;
    its.bd_id = circuit.service_id;
}

void leave_interface(Card &card, CircuitKey key, const Circuit &circuit) {
    release_interface(card, circuit.uidb);
    if (!is_vsp(key)) return;
    const auto its = card.l2.vsp_circuits.find(circuit.uidb);
    if (--its->second.count == 0) card.l2.vsp_circuits.erase(its);
}

void remove_circuit(Card &card, CircuitKey key) {
    const Circuit circuit = *card.l2.circuits.find(key);
    leave_service(card, circuit);
    leave_interface(card, key, circuit);
    card.l2.circuits.remove(key);
}

// Whether the other circuits on the interface are in the service that this one is to be part of: only a
// bridge domain takes several.
prm_status_t check_service(const Card &card, CircuitKey key, const Circuit &wanted) {
    const auto in_domain = [&](u32 bd_id) {
        return wanted.service == Service::BRIDGE_DOMAIN && wanted.service_id == bd_id;
    };
    const CircuitKey plain_key = circuit_on(wanted.uidb);
    if (const Circuit *const plain = card.l2.circuits.find(plain_key); plain != nullptr && key != plain_key) {
        if (plain->service != Service::BRIDGE_DOMAIN || !in_domain(plain->service_id))
            return CARD_ERROR_OTHER_SERVICE;
    }
    const auto vsps = card.l2.vsp_circuits.find(wanted.uidb);
    if (vsps == card.l2.vsp_circuits.end() || in_domain(vsps->second.bd_id)) return CERR_SUCCESS;
    const Circuit *const before = card.l2.circuits.find(key);
    const bool only_itself =
        is_vsp(key) && before != nullptr && before->uidb == wanted.uidb && vsps->second.count == 1;
    return success_if(only_itself, CARD_ERROR_OTHER_SERVICE);
}

// Makes the circuit part of a service, out of the one it was in.
prm_status_t put_circuit(Card &card, CircuitKey key, const Circuit &wanted) {
    Circuit *circuit;
    bool created;
    if (const prm_status_t status = card.l2.circuits.put(key, &circuit, &created)) return status;
    if (!created) {
        leave_service(card, *circuit);
        leave_interface(card, key, *circuit);
    }
    *circuit = wanted;
    enter_interface(card, key, wanted);
    if (wanted.service == Service::BRIDGE_DOMAIN) card.l2.bridge_domains.hold(wanted.service_id);
    return CERR_SUCCESS;
}

// ---- Members of a bridge domain: attachment circuits, VSP circuits, the bridged virtual interface.

CircuitKey member_key(const prm_xid_request &request) {
    const bool vsp = (request.flags92 & PRM_XID_92_VSP) != 0;
    return vsp ? vsp_circuit(request.ac_xid) : circuit_on(static_cast<u16>(request.member_uidb));
}

prm_status_t check_member(const Card &card, const prm_xid_request &request) {
    const BridgeDomain *const domain = card.l2.bridge_domains.find(request.bd_id);
    if (domain == nullptr) return CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN;
    if (request.xid_kind != PRM_XID_KIND_BVI) return check_switched(card, request.member_uidb);
    const Interface *const interface =
        card.interfaces.table.find(card.interfaces.handle_of_uidb(request.member_uidb));
    if (interface == nullptr) return CARD_ERROR_UNKNOWN_INTERFACE;
    if (interface->kind != InterfaceKind::BVI) return CARD_ERROR_NOT_BVI;
    return success_if((domain->flags73 & PRM_BD_73_BVI) != 0, CARD_ERROR_NO_BVI_DOMAIN);
}

void copy_flags(const prm_xid_request &request, Circuit *circuit) {
    const u8 flags[] = {request.flags88, request.flags89, request.flags90, request.flags91, request.flags92};
    std::memcpy(circuit->flags, flags, sizeof flags);
    circuit->vsp_word = (request.flags92 & PRM_XID_92_VSP) != 0 ? u32{request.vsp_word} : 0;
}

prm_status_t bind_member(Card &card, const prm_xid_request &request) {
    if (const prm_status_t status = check_member(card, request)) return status;
    Circuit circuit;
    circuit.service = Service::BRIDGE_DOMAIN;
    circuit.service_id = request.bd_id;
    circuit.uidb = static_cast<u16>(request.member_uidb);
    copy_flags(request, &circuit);
    if (const prm_status_t status = check_service(card, member_key(request), circuit)) return status;
    return put_circuit(card, member_key(request), circuit);
}

// The circuit of a request in *circuit, null when it is not bound to the request's bridge domain. One that is
// bound is of the kind that the request says.
prm_status_t find_member(Card &card, const prm_xid_request &request, Circuit **circuit) {
    *circuit = nullptr;
    if (!card.l2.bridge_domains.contains(request.bd_id)) return CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN;
    Circuit *const found = card.l2.circuits.find(member_key(request));
    if (found == nullptr || found->service != Service::BRIDGE_DOMAIN || found->service_id != request.bd_id)
        return CERR_SUCCESS;
    const bool bvi = card.interfaces.find_by_uidb(found->uidb)->kind == InterfaceKind::BVI;
    if (bvi != (request.xid_kind == PRM_XID_KIND_BVI))
        return bvi ? CARD_ERROR_NOT_LAYER2 : CARD_ERROR_NOT_BVI;
    *circuit = found;
    return CERR_SUCCESS;
}

prm_status_t modify_member(Card &card, const prm_xid_request &request) {
    Circuit *circuit;
    if (const prm_status_t status = find_member(card, request, &circuit)) return status;
    if (circuit == nullptr) return CARD_ERROR_NOT_BOUND;
    copy_flags(request, circuit);
    return CERR_SUCCESS;
}

// Succeeds for a circuit that is not bound, as long as the bridge domain is there.
prm_status_t unbind_member(Card &card, const prm_xid_request &request) {
    Circuit *circuit;
    if (const prm_status_t status = find_member(card, request, &circuit)) return status;
    if (circuit != nullptr) remove_circuit(card, member_key(request));
    return CERR_SUCCESS;
}

// ---- Local switching.

prm_status_t switch_locally(Card &card, const prm_xid_request &request) {
    const u32 uidb1 = request.segment1_key, uidb2 = request.segment2_key;
    for (const u32 uidb : {uidb1, uidb2}) {
        if (const prm_status_t status = check_switched(card, uidb)) return status;
    }
    if (uidb1 == uidb2) return CARD_ERROR_SAME_END;
    const CircuitKey key1 = circuit_on(static_cast<u16>(uidb1)), key2 = circuit_on(static_cast<u16>(uidb2));
    const u32 created = (card.l2.circuits.contains(key1) ? 0 : 1) + (card.l2.circuits.contains(key2) ? 0 : 1);
    if (!card.l2.circuits.account().has(created)) return CARD_ERROR_TABLE_FULL;

    Circuit ends[2];
    for (u32 i = 0; i < 2; ++i) {
        ends[i].service = Service::LOCAL_SWITCHING;
        ends[i].uidb = static_cast<u16>(i == 0 ? uidb1 : uidb2);
        if (const prm_status_t status = check_service(card, circuit_on(ends[i].uidb), ends[i])) return status;
    }
    // Both are out of what they were part of, and then part of each other.
    for (const Circuit &end : ends) {
        if (const prm_status_t status = put_circuit(card, circuit_on(end.uidb), end)) return status;
    }
    card.l2.circuits.find(key1)->service_id = uidb2;
    card.l2.circuits.find(key2)->service_id = uidb1;
    return CERR_SUCCESS;
}

Circuit *locally_switched(Card &card, u32 uidb) {
    Circuit *const circuit =
        uidb <= 0xFFFF ? card.l2.circuits.find(circuit_on(static_cast<u16>(uidb))) : nullptr;
    return circuit != nullptr && circuit->service == Service::LOCAL_SWITCHING ? circuit : nullptr;
}

// Either end by itself, also after the other is gone.
prm_status_t unswitch(Card &card, const prm_xid_request &request) {
    const Circuit *const circuit = locally_switched(card, request.segment1_key);
    if (circuit == nullptr) return CARD_ERROR_NO_CROSS_CONNECT;
    remove_circuit(card, circuit_on(circuit->uidb));
    return CERR_SUCCESS;
}

// ---- A circuit and a pseudowire.

// Clients define the lower four bytes of an xid alone.
u32 xid_of(const prm_xid_request &request) {
    return static_cast<u32>(request.xid);
}

prm_status_t check_pseudowire(const Card &card, const prm_xid_request &request) {
    if (xid_of(request) == 0) return CARD_ERROR_BAD_VALUE;
    const Adjacency *const adjacency = card.adjacency.table.find(request.nh_id);
    if (adjacency == nullptr) return CARD_ERROR_UNKNOWN_REFERENCE;
    if (adjacency->flags2 != PRM_TX_ADJ_EOMPLS) return CARD_ERROR_NO_PSEUDOWIRE_LABEL;
    if (adjacency->tunnel != request.tunnel_id) return CARD_ERROR_UNKNOWN_REFERENCE;
    return check_switched(card, request.segment1_key);
}

// A pseudowire goes out over an adjacency, with its tunnel; the adjacency stays while a pseudowire uses it.
prm_status_t join_pseudowire(Card &card, const prm_xid_request &request) {
    if (const prm_status_t status = check_pseudowire(card, request)) return status;
    const u32 xid = xid_of(request);
    Circuit circuit;
    circuit.service = Service::PSEUDOWIRE;
    circuit.service_id = xid;
    circuit.uidb = static_cast<u16>(request.segment1_key);
    const CircuitKey key = circuit_on(circuit.uidb);
    if (const prm_status_t status = check_service(card, key, circuit)) return status;
    if (!card.l2.circuits.contains(key) && !card.l2.circuits.account().has(1)) return CARD_ERROR_TABLE_FULL;
    Pseudowire *pseudowire;
    bool created;
    if (const prm_status_t status = card.l2.pseudowires.put(xid, &pseudowire, &created)) return status;
    if (!created) card.adjacency.table.release(pseudowire->next_hop);
    if (!created && pseudowire->uidb != 0 && pseudowire->uidb != circuit.uidb) {
        remove_circuit(card, circuit_on(pseudowire->uidb));
    }
    if (const prm_status_t status = put_circuit(card, key, circuit)) return status;
    card.adjacency.table.hold(request.nh_id);
    *pseudowire = {circuit.uidb, request.segment2_key, request.segment2_word, request.nh_id,
                   request.tunnel_id};
    return CERR_SUCCESS;
}

// The circuit may be named by its index or by the handle of its interface.
prm_status_t leave_pseudowire(Card &card, const prm_xid_request &request) {
    const Pseudowire *const pseudowire = card.l2.pseudowires.find(xid_of(request));
    if (pseudowire == nullptr) return CARD_ERROR_NO_CROSS_CONNECT;
    const u16 uidb = pseudowire->uidb;
    if (uidb != 0) {
        const u32 key = request.segment1_key;
        if (key != uidb && key != card.interfaces.handle_of_uidb(uidb)) return CARD_ERROR_NO_CROSS_CONNECT;
        remove_circuit(card, circuit_on(uidb));
    }
    card.adjacency.table.release(pseudowire->next_hop);
    return card.l2.pseudowires.remove(xid_of(request));
}

// ---- The requests, told apart by their fields.

enum class RequestKind { UNKNOWN, MEMBER, LOCAL_SWITCHING, PSEUDOWIRE };

RequestKind kind_of(const prm_xid_request &request) {
    if (request.kind != PRM_L2_REQUEST_KIND) return RequestKind::UNKNOWN;
    if (request.xid_type == PRM_XID_TYPE_LOCAL_SWITCHING) {
        const bool plain = request.object_code == 0 && request.xid_kind == 0 && request.option == 0;
        return plain ? RequestKind::LOCAL_SWITCHING : RequestKind::UNKNOWN;
    }
    if (request.xid_type != PRM_XID_TYPE_CIRCUIT || request.object_code != PRM_L2_OBJECT_CIRCUIT) {
        return RequestKind::UNKNOWN;
    }
    if (request.option == PRM_XID_PSEUDOWIRE_OPTION && request.xid_kind == 0) return RequestKind::PSEUDOWIRE;
    const bool member =
        request.option == 0 && (request.xid_kind == PRM_XID_KIND_AC || request.xid_kind == PRM_XID_KIND_BVI);
    return member ? RequestKind::MEMBER : RequestKind::UNKNOWN;
}

prm_status_t xid_add(Card &card, prm_handle_t client, prm_xid_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    switch (kind_of(*request)) {
        case RequestKind::MEMBER:
            return bind_member(card, *request);
        case RequestKind::LOCAL_SWITCHING:
            return switch_locally(card, *request);
        case RequestKind::PSEUDOWIRE:
            return join_pseudowire(card, *request);
        case RequestKind::UNKNOWN:
            break;
    }
    return CARD_ERROR_BAD_KIND;
}

// A cross-connect that is there takes the request's values, as an add would.
prm_status_t xid_mod(Card &card, prm_handle_t client, prm_xid_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    switch (kind_of(*request)) {
        case RequestKind::MEMBER:
            return modify_member(card, *request);
        case RequestKind::LOCAL_SWITCHING:
            if (locally_switched(card, request->segment1_key) == nullptr) return CARD_ERROR_NO_CROSS_CONNECT;
            return switch_locally(card, *request);
        case RequestKind::PSEUDOWIRE:
            if (!card.l2.pseudowires.contains(xid_of(*request))) return CARD_ERROR_NO_CROSS_CONNECT;
            return join_pseudowire(card, *request);
        case RequestKind::UNKNOWN:
            break;
    }
    return CARD_ERROR_BAD_KIND;
}

prm_status_t xid_del(Card &card, prm_handle_t client, prm_xid_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    switch (kind_of(*request)) {
        case RequestKind::MEMBER:
            return unbind_member(card, *request);
        case RequestKind::LOCAL_SWITCHING:
            return unswitch(card, *request);
        case RequestKind::PSEUDOWIRE:
            return leave_pseudowire(card, *request);
        case RequestKind::UNKNOWN:
            break;
    }
    return CARD_ERROR_BAD_KIND;
}

// ---- Bridge domains.

prm_status_t check_domain(const Card &card, prm_handle_t client, const prm_bd_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    const bool known = request->kind == PRM_L2_REQUEST_KIND &&
                       request->xid_type == PRM_XID_TYPE_BRIDGE_DOMAIN &&
                       request->object_code == PRM_L2_OBJECT_BRIDGE_DOMAIN;
    return success_if(known, CARD_ERROR_BAD_KIND);
}

prm_status_t read_domain(const prm_bd_request &request, BridgeDomain *domain) {
    domain->flags73 = request.flags73;
    if ((request.flags74 & PRM_BD_74_VXLAN) == 0) return CERR_SUCCESS;
    domain->vni = static_cast<u32>(request.vni_high) << 16 | request.vni_low;
    domain->source_vtep = request.source_vtep;
    return success_if(domain->vni != 0 && domain->source_vtep != 0, CARD_ERROR_BAD_VALUE);
}

// A VNI belongs to one domain.
prm_status_t check_vni(const Card &card, u32 bd_id, u32 vni) {
    const auto owner = card.l2.domain_of_vni.find(vni);
    return success_if(owner == card.l2.domain_of_vni.end() || owner->second == bd_id, CARD_ERROR_VNI_TAKEN);
}

// What is in the domain still fits it: overlays need a VNI and a far end, a bridged virtual interface a
// domain that was made for one.
prm_status_t check_members(const Card &card, u32 bd_id, const BridgeDomain &before,
                           const BridgeDomain &described) {
    if (before.overlays != 0 && described.vni == 0) return CARD_ERROR_IN_USE;
    if (before.overlays != 0 && card.evpn.overlays.contains(overlay_key(bd_id, described.source_vtep)))
        return CARD_ERROR_OWN_VTEP;
    if ((described.flags73 & PRM_BD_73_BVI) != 0 || card.interfaces.bvi_uidb == 0) return CERR_SUCCESS;
    const Circuit *const bvi = card.l2.circuits.find(circuit_on(card.interfaces.bvi_uidb));
    const bool inside = bvi != nullptr && bvi->service == Service::BRIDGE_DOMAIN && bvi->service_id == bd_id;
    return success_if(!inside, CARD_ERROR_IN_USE);
}

prm_status_t bd_add(Card &card, prm_handle_t client, prm_bd_request *request) {
    BridgeDomain described;
    if (const prm_status_t status = check_domain(card, client, request)) return status;
    if (const prm_status_t status = read_domain(*request, &described)) return status;
    const u32 bd_id = request->bd_id;
    if (card.l2.bridge_domains.contains(bd_id)) return CARD_ERROR_EXISTS;
    if (const prm_status_t status = check_vni(card, bd_id, described.vni)) return status;
    BridgeDomain *domain;
    if (const prm_status_t status = card.l2.bridge_domains.add(bd_id, &domain)) return status;
    *domain = described;
    if (described.vni != 0) card.l2.domain_of_vni[described.vni] = bd_id;
    return CERR_SUCCESS;
}

prm_status_t bd_mod(Card &card, prm_handle_t client, prm_bd_request *request) {
    BridgeDomain described;
    if (const prm_status_t status = check_domain(card, client, request)) return status;
    if (const prm_status_t status = read_domain(*request, &described)) return status;
    const u32 bd_id = request->bd_id;
    BridgeDomain *const domain = card.l2.bridge_domains.find(bd_id);
    if (domain == nullptr) return CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN;
    if (const prm_status_t status = check_vni(card, bd_id, described.vni)) return status;
    if (const prm_status_t status = check_members(card, bd_id, *domain, described)) return status;
    described.overlays = domain->overlays;
    if (domain->vni != 0) card.l2.domain_of_vni.erase(domain->vni);
    if (described.vni != 0) card.l2.domain_of_vni[described.vni] = bd_id;
    *domain = described;
    return CERR_SUCCESS;
}

prm_status_t bd_del(Card &card, prm_handle_t client, prm_bd_request *request) {
    if (const prm_status_t status = check_domain(card, client, request)) return status;
    const BridgeDomain *const domain = card.l2.bridge_domains.find(request->bd_id);
    if (domain == nullptr) return CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN;
    const u32 vni = domain->vni;
    if (const prm_status_t status = card.l2.bridge_domains.remove(request->bd_id)) return status;
    if (vni != 0) card.l2.domain_of_vni.erase(vni);
    return CERR_SUCCESS;
}

}  // namespace

void install_l2(card::Backend &backend) {
    backend.prm_srh_xid_add = on_card<xid_add>;
    backend.prm_srh_xid_mod = on_card<xid_mod>;
    backend.prm_srh_xid_del = on_card<xid_del>;
    backend.prm_srh_bd_add = on_card<bd_add>;
    backend.prm_srh_bd_mod = on_card<bd_mod>;
    backend.prm_srh_bd_del = on_card<bd_del>;
}

}  // namespace sim
