// Overlay services of the simulated card: the operations.
#include "card/sim/evpn.h"

#include "card/sim/backend.h"
#include "prm_srh_l2.h"

namespace sim {
namespace {

// ---- Multi-path groups. Next hops are names: they need not come from the card's pool, which hands out none
// that an entry uses.

void use_next_hops(Card &card, const Vplag &vplag) {
    for (const Vplag::Path &path : vplag.paths) card.adjacency.next_hops.use(path.next_hop);
}

void unuse_next_hops(Card &card, const Vplag &vplag) {
    for (const Vplag::Path &path : vplag.paths) card.adjacency.next_hops.unuse(path.next_hop);
}

prm_status_t check_vplag(const Card &card, prm_handle_t client, const prm_l2_ecmp_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    const bool known = request->kind == PRM_L2_REQUEST_KIND && request->object_code == PRM_L2_OBJECT_VPLAG;
    return success_if(known, CARD_ERROR_BAD_KIND);
}

prm_status_t read_vplag(const prm_vplag_info &info, Vplag *vplag) {
    if (info.num_paths > ZOR_L2_ECMP_MAX_PATHS) return CARD_ERROR_BAD_COUNT;
    if (info.source_vtep == 0) return CARD_ERROR_BAD_VALUE;
    vplag->source_vtep = info.source_vtep;
    for (u32 i = 0; i < info.num_paths; ++i) {
        if (info.remote_vtep[i] == 0 || info.nh_id[i] == 0) return CARD_ERROR_BAD_VALUE;
        if (info.remote_vtep[i] == info.source_vtep) return CARD_ERROR_OWN_VTEP;
        vplag->paths.push_back({info.nh_id[i], info.remote_vtep[i]});
    }
    return CERR_SUCCESS;
}

prm_status_t vplag_reserve(Card &card, prm_handle_t client, prm_buddy_reserve *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    // The record asks for one group without saying so.
    if (request->count > 1) return CARD_ERROR_BAD_COUNT;
    u32 id;
    const prm_status_t status = card.evpn.vplag_ids.reserve(1, &id);
    if (status == CERR_SUCCESS) request->index = id;
    return status;
}

prm_status_t vplag_add(Card &card, prm_handle_t client, prm_l2_ecmp_request *request) {
    Vplag described;
    if (const prm_status_t status = check_vplag(card, client, request)) return status;
    if (const prm_status_t status = read_vplag(request->info, &described)) return status;
    Vplag *vplag;
    if (const prm_status_t status = card.evpn.vplags.add(request->info.vplag_id, &vplag)) return status;
    *vplag = std::move(described);
    use_next_hops(card, *vplag);
    card.evpn.vplag_ids.take(request->info.vplag_id);  // reserved already, or named
    return CERR_SUCCESS;
}

prm_status_t vplag_mod(Card &card, prm_handle_t client, prm_l2_ecmp_request *request) {
    Vplag described;
    if (const prm_status_t status = check_vplag(card, client, request)) return status;
    if (const prm_status_t status = read_vplag(request->info, &described)) return status;
    Vplag *const vplag = card.evpn.vplags.find(request->info.vplag_id);
    if (vplag == nullptr) return CARD_ERROR_UNKNOWN_VPLAG;
    use_next_hops(card, described);
    unuse_next_hops(card, *vplag);
    *vplag = std::move(described);
    return CERR_SUCCESS;
}

prm_status_t vplag_del(Card &card, prm_handle_t client, prm_l2_ecmp_request *request) {
    if (const prm_status_t status = check_vplag(card, client, request)) return status;
    const u32 id = request->info.vplag_id;
    const Vplag *const vplag = card.evpn.vplags.find(id);
    if (vplag == nullptr) return CARD_ERROR_UNKNOWN_VPLAG;
    unuse_next_hops(card, *vplag);
    card.evpn.vplag_ids.release(id);
    return card.evpn.vplags.remove(id);
}

// ---- What lives in a VXLAN domain.

// The domain in *domain; without a VNI it takes none of these.
prm_status_t find_vxlan_domain(Card &card, u32 bd_id, BridgeDomain **domain) {
    *domain = card.l2.bridge_domains.find(bd_id);
    if (*domain == nullptr) return CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN;
    return success_if((*domain)->vni != 0, CARD_ERROR_NO_VNI);
}

void enter_domain(Card &card, u32 bd_id, BridgeDomain *domain) {
    card.l2.bridge_domains.hold(bd_id);
    ++domain->overlays;
}

void leave_domain(Card &card, u32 bd_id) {
    card.l2.bridge_domains.release(bd_id);
    --card.l2.bridge_domains.find(bd_id)->overlays;
}

// ---- EVPN MACs.

prm_status_t check_mac(const Card &card, prm_handle_t client, const prm_evpn_mac_request *request,
                       EvpnMacKey *key) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (request->kind != PRM_L2_REQUEST_KIND || request->xid_type != PRM_XID_TYPE_CIRCUIT) {
        return CARD_ERROR_BAD_KIND;
    }
    key->bd_id = request->entry.bd_id;
    std::memcpy(key->mac, request->entry.mac, sizeof key->mac);
    if (is_group(key->mac)) return CARD_ERROR_GROUP_MAC;
    constexpr u8 kNone[sizeof key->mac] = {};
    return success_if(std::memcmp(key->mac, kNone, sizeof kNone) != 0, CARD_ERROR_BAD_VALUE);
}

// There is no modify: a MAC that moved is installed again, over the entry that is there.
prm_status_t mac_add(Card &card, prm_handle_t client, prm_evpn_mac_request *request) {
    EvpnMacKey key;
    if (const prm_status_t status = check_mac(card, client, request, &key)) return status;
    BridgeDomain *domain;
    if (const prm_status_t status = find_vxlan_domain(card, key.bd_id, &domain)) return status;
    EvpnMac *mac;
    bool created;
    if (const prm_status_t status = card.evpn.macs.put(key, &mac, &created)) return status;
    *mac = {request->entry.type, request->entry.fec};
    if (created) enter_domain(card, key.bd_id, domain);
    return CERR_SUCCESS;
}

prm_status_t mac_del(Card &card, prm_handle_t client, prm_evpn_mac_request *request) {
    EvpnMacKey key;
    if (const prm_status_t status = check_mac(card, client, request, &key)) return status;
    const prm_status_t status = card.evpn.macs.remove(key);
    if (status == CERR_SUCCESS) leave_domain(card, key.bd_id);
    return status;
}

// ---- Split-horizon designated forwarders.

prm_status_t check_shg_df(const Card &card, prm_handle_t client, const prm_shg_df_request *request,
                          ShgDfKey *key) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (request->kind != PRM_L2_REQUEST_KIND || request->xid_type != PRM_XID_TYPE_CIRCUIT) {
        return CARD_ERROR_BAD_KIND;
    }
    *key = {request->entry.address_or_vni, request->entry.if_handle, request->entry.is_shg};
    return success_if(key->address_or_vni != 0 && key->is_shg <= 1, CARD_ERROR_BAD_VALUE);
}

prm_status_t shg_df_add(Card &card, prm_handle_t client, prm_shg_df_request *request) {
    ShgDfKey key;
    if (const prm_status_t status = check_shg_df(card, client, request, &key)) return status;
    if (!card.interfaces.table.contains(key.if_handle)) return CARD_ERROR_UNKNOWN_INTERFACE;
    ShgDf *entry;
    if (const prm_status_t status = card.evpn.shg_dfs.add(key, &entry)) return status;
    card.interfaces.table.hold(key.if_handle);
    return CERR_SUCCESS;
}

prm_status_t shg_df_del(Card &card, prm_handle_t client, prm_shg_df_request *request) {
    ShgDfKey key;
    if (const prm_status_t status = check_shg_df(card, client, request, &key)) return status;
    const prm_status_t status = card.evpn.shg_dfs.remove(key);
    if (status == CERR_SUCCESS) card.interfaces.table.release(key.if_handle);
    return status;
}

// ---- Overlay egress adjacencies.

prm_status_t check_overlay(const Card &card, prm_handle_t client, const prm_vxlan_ole_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (request->kind != 0) return CARD_ERROR_BAD_KIND;
    return success_if(request->remote_vtep != 0, CARD_ERROR_BAD_VALUE);
}

prm_status_t overlay_add(Card &card, prm_handle_t client, prm_vxlan_ole_request *request) {
    if (const prm_status_t status = check_overlay(card, client, request)) return status;
    if (request->nh_id == 0) return CARD_ERROR_BAD_VALUE;
    BridgeDomain *domain;
    if (const prm_status_t status = find_vxlan_domain(card, request->bd_id, &domain)) return status;
    if (request->remote_vtep == domain->source_vtep) return CARD_ERROR_OWN_VTEP;
    Overlay *overlay;
    const prm_status_t status =
        card.evpn.overlays.add(overlay_key(request->bd_id, request->remote_vtep), &overlay);
    if (status != CERR_SUCCESS) return status;
    overlay->next_hop = request->nh_id;
    card.adjacency.next_hops.use(overlay->next_hop);
    enter_domain(card, request->bd_id, domain);
    return CERR_SUCCESS;
}

prm_status_t overlay_mod(Card &card, prm_handle_t client, prm_vxlan_ole_request *request) {
    if (const prm_status_t status = check_overlay(card, client, request)) return status;
    if (request->nh_id == 0) return CARD_ERROR_BAD_VALUE;
    Overlay *const overlay = card.evpn.overlays.find(overlay_key(request->bd_id, request->remote_vtep));
    if (overlay == nullptr) return CARD_ERROR_NOT_FOUND;
    card.adjacency.next_hops.use(request->nh_id);
    card.adjacency.next_hops.unuse(overlay->next_hop);
    overlay->next_hop = request->nh_id;
    return CERR_SUCCESS;
}

prm_status_t overlay_del(Card &card, prm_handle_t client, prm_vxlan_ole_request *request) {
    if (const prm_status_t status = check_overlay(card, client, request)) return status;
    const u64 key = overlay_key(request->bd_id, request->remote_vtep);
    const Overlay *const overlay = card.evpn.overlays.find(key);
    if (overlay == nullptr) return CARD_ERROR_NOT_FOUND;
    card.adjacency.next_hops.unuse(overlay->next_hop);
    leave_domain(card, request->bd_id);
    return card.evpn.overlays.remove(key);
}

}  // namespace

void install_evpn(card::Backend &backend) {
    backend.prm_srh_vplag_buddy_reserve = on_card<vplag_reserve>;
    backend.prm_srh_l2_ecmp_add = on_card<vplag_add>;
    backend.prm_srh_l2_ecmp_mod = on_card<vplag_mod>;
    backend.prm_srh_l2_ecmp_del = on_card<vplag_del>;
    backend.prm_srh_evpn_mac_install_add = on_card<mac_add>;
    backend.prm_srh_evpn_mac_install_del = on_card<mac_del>;
    backend.prm_srh_fpem_shg_df_entry_add = on_card<shg_df_add>;
    backend.prm_srh_fpem_shg_df_entry_del = on_card<shg_df_del>;
    backend.prm_srh_vxlan_ole_add = on_card<overlay_add>;
    backend.prm_srh_vxlan_ole_mod = on_card<overlay_mod>;
    backend.prm_srh_vxlan_ole_del = on_card<overlay_del>;
}

}  // namespace sim
