// What is always so between the entries of layer 2, mirroring, TCAMs and the traffic manager: looked for in
// the entries themselves, not in the counts that the card keeps of them.
#include <map>
#include <set>

#include "prm_srh_l2.h"
#include "tests/card/suite/relations.h"

namespace relations {
namespace {

using namespace sim;

// Whether all entries of a table are as they should be: holds(key, entry).
template <typename Table, typename Holds>
bool all_of(const Table &table, Holds holds) {
    bool all = true;
    table.for_each([&](const auto &key, const auto &entry, u32) { all = all && holds(key, entry); });
    return all;
}

bool has_vni(const Card &card, u32 bd_id) {
    const BridgeDomain *const domain = card.l2.bridge_domains.find(bd_id);
    return domain != nullptr && domain->vni != 0;
}

const Interface *interface_at(const Card &card, u32 uidb) {
    return card.interfaces.table.find(card.interfaces.handle_of_uidb(uidb));
}

// holds(entry) for every entry of the TCAMs of a feature.
template <typename Result, typename Holds>
bool all_tcam_results(const Card &card, u32 feature, Holds holds) {
    return all_of(card.tcam.tcams(), [&](u64 vmr_id, const Tcam &tcam) {
        bool all = true;
        if ((vmr_id & PRM_TCAM_VMR_FEATURE) >> PRM_TCAM_VMR_FEATURE_SHIFT != feature) return true;
        tcam.entries.for_each([&](u32, const TcamEntry &entry) {
            Result result;
            std::memcpy(&result, entry.result, sizeof result);
            all = all && holds(result);
        });
        return all;
    });
}

bool vni_is_of_one_domain(const Card &card) {
    std::set<u32> vnis;
    return all_of(card.l2.bridge_domains, [&](u32, const BridgeDomain &domain) {
        return domain.vni == 0 || vnis.insert(domain.vni).second;
    });
}

bool overlays_are_in_domains_with_a_vni(const Card &card) {
    return all_of(card.evpn.overlays,
                  [&](u64 key, const Overlay &) { return has_vni(card, static_cast<u32>(key >> 32)); }) &&
           all_of(card.evpn.macs,
                  [&](const EvpnMacKey &key, const EvpnMac &) { return has_vni(card, key.bd_id); });
}

bool no_overlay_leads_to_itself(const Card &card) {
    return all_of(card.evpn.overlays, [&](u64 key, const Overlay &) {
        const BridgeDomain *const domain = card.l2.bridge_domains.find(static_cast<u32>(key >> 32));
        return domain->source_vtep != static_cast<u32>(key);
    });
}

bool evpn_macs_are_unicast(const Card &card) {
    return all_of(card.evpn.macs,
                  [](const EvpnMacKey &key, const EvpnMac &) { return (key.mac[0] & 1) == 0; });
}

bool circuits_share_one_service(const Card &card) {
    std::map<u16, const Circuit *> first;
    return all_of(card.l2.circuits, [&](CircuitKey, const Circuit &circuit) {
        const auto [its, is_first] = first.try_emplace(circuit.uidb, &circuit);
        return is_first ||
               (circuit.service == Service::BRIDGE_DOMAIN && its->second->service == Service::BRIDGE_DOMAIN &&
                its->second->service_id == circuit.service_id);
    });
}

bool circuits_are_on_switched_interfaces(const Card &card) {
    return all_of(card.l2.circuits, [&](CircuitKey, const Circuit &circuit) {
        const Interface *const interface = interface_at(card, circuit.uidb);
        if (interface == nullptr) return false;
        if (interface->kind != InterfaceKind::BVI) return interface->is_layer2();
        const BridgeDomain *const domain = card.l2.bridge_domains.find(circuit.service_id);
        return circuit.service == Service::BRIDGE_DOMAIN && domain != nullptr &&
               (domain->flags73 & PRM_BD_73_BVI) != 0;
    });
}

bool pseudowires_have_label_and_tunnel(const Card &card) {
    return all_of(card.l2.pseudowires, [&](u32, const Pseudowire &pseudowire) {
        const Adjacency *const adjacency = card.adjacency.table.find(pseudowire.next_hop);
        return adjacency != nullptr && adjacency->flags2 == PRM_TX_ADJ_EOMPLS &&
               adjacency->tunnel == pseudowire.tunnel;
    });
}

bool destinations_are_their_own(const Card &card) {
    std::set<u32> ports;
    return all_of(
               card.span.sessions,
               [&](u32, const MirrorSession &session) { return ports.insert(session.dest_port).second; }) &&
           all_of(card.interfaces.table, [&](u32, const Interface &interface) {
               return interface.kind != InterfaceKind::MAIN || !ports.contains(interface.np_port);
           });
}

bool sessions_have_room(const Card &card) {
    std::map<u32, u32> sources;
    return all_of(card.span.sources, [&](u64, const MirrorSource &source) {
        return ++sources[source.session_id] <= kMaxMirrorSources;
    });
}

bool acl_statistics_are_allocated(const Card &card) {
    return all_tcam_results<prm_tcam_acl_result>(
        card, PRM_TCAM_FEATURE_ACL, [&](const prm_tcam_acl_result &result) {
            return result.stats_id == 0 || card.tcam.statistics().in_use(result.stats_id);
        });
}

bool qos_statistics_and_policers_are_allocated(const Card &card) {
    return all_tcam_results<prm_tcam_qos_result>(
        card, PRM_TCAM_FEATURE_QOS, [&](const prm_tcam_qos_result &result) {
            const u32 statistics = result.stats_id & ~PRM_TCAM_QOS_STATS_FLAG;
            return (statistics == 0 || card.traffic_manager.has_statistics(statistics)) &&
                   (result.token_bucket_id == 0 || card.traffic_manager.has_policer(result.token_bucket_id));
        });
}

template <bool (*kHolds)(const Card &card)>
std::string broken_unless(const Card &card) {
    return kHolds(card) ? "" : "an entry";
}

constexpr Relation kRelations[] = {
    {"a VNI is of one bridge domain", broken_unless<vni_is_of_one_domain>},
    {"overlay adjacencies and EVPN MACs are in domains with a VNI",
     broken_unless<overlays_are_in_domains_with_a_vni>},
    {"no overlay leads to its domain's own VTEP", broken_unless<no_overlay_leads_to_itself>},
    {"an EVPN MAC is unicast", broken_unless<evpn_macs_are_unicast>},
    {"the circuits on an interface are in one service, several in one bridge domain",
     broken_unless<circuits_share_one_service>},
    {"circuits are on switched interfaces, or on a BVI in a domain that was made for one",
     broken_unless<circuits_are_on_switched_interfaces>},
    {"a pseudowire goes out over an adjacency with label and tunnel",
     broken_unless<pseudowires_have_label_and_tunnel>},
    {"a port is the destination of one mirror session, and has no interface",
     broken_unless<destinations_are_their_own>},
    {"a mirror session has at most 400 sources", broken_unless<sessions_have_room>},
    {"the statistics that ACL entries name are allocated", broken_unless<acl_statistics_are_allocated>},
    {"the statistics and policers that QoS entries name are allocated",
     broken_unless<qos_statistics_and_policers_are_allocated>},
};

}  // namespace

std::span<const Relation> of_layer2() {
    return kRelations;
}

}  // namespace relations
