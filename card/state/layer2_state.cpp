// State: bridge domains with their members, circuits, pseudowires, overlays.
#include <absl/container/flat_hash_map.h>
#include <fmt/core.h>

#include "card/state/families.h"
#include "prm_srh_l2.h"

namespace card {
namespace {

std::string circuit_name(sim::CircuitKey key) {
    return sim::is_vsp(key) ? fmt::format("vsp {:#x}", key & 0xFFFFFFFF) : fmt::format("uidb {}", key);
}

void write_bridge_domains(const sim::Card &card, FamilyWriter &out) {
    absl::flat_hash_map<u32, std::vector<std::string>> members;
    in_order(card.l2.circuits, [&](sim::CircuitKey key, const sim::Circuit &circuit, u32) {
        if (circuit.service != sim::Service::BRIDGE_DOMAIN) return;
        members[circuit.service_id].push_back(fmt::format("{} on interface {:#x}", circuit_name(key),
                                                          card.interfaces.handle_of_uidb(circuit.uidb)));
    });
    in_order(card.l2.bridge_domains, [&](u32 id, const sim::BridgeDomain &domain, u32 users) {
        out.begin_entry();
        out.number("bd_id", id);
        out.flags("flags73", prm_bd_bits73, domain.flags73);
        if (domain.vni != 0) {
            out.number("vni", domain.vni);
            out.ipv4("source_vtep", domain.source_vtep);
        }
        if (const auto its = members.find(id); its != members.end()) out.texts("members", its->second);
        out.count("users", users);
        out.end_entry();
    });
}

void write_service(const sim::Card &card, const sim::Circuit &circuit, FamilyWriter &out) {
    switch (circuit.service) {
        case sim::Service::BRIDGE_DOMAIN:
            out.text("service", "bridge_domain");
            out.reference("bridge_domain", out.resolver().bridge_domain(circuit.service_id));
            break;
        case sim::Service::LOCAL_SWITCHING: {
            out.text("service", "local_switching");
            // What is left of a cross-connect still stands when the other end is gone.
            if (circuit.service_id == 0) {
                out.reference("other_end", {"nothing", true});
            } else {
                out.reference("other_end", out.resolver().uidb(circuit.service_id));
            }
            break;
        }
        case sim::Service::PSEUDOWIRE:
            out.text("service", "pseudowire");
            out.reference("pseudowire", {fmt::format("xid {}", circuit.service_id),
                                         !card.l2.pseudowires.contains(circuit.service_id)});
            break;
    }
}

void write_circuits(const sim::Card &card, FamilyWriter &out) {
    in_order(card.l2.circuits, [&](sim::CircuitKey key, const sim::Circuit &circuit, u32) {
        out.begin_entry();
        out.text("circuit", circuit_name(key));
        out.reference("interface", out.resolver().uidb(circuit.uidb));
        write_service(card, circuit, out);
        out.flags("flags88", prm_xid_bits88, circuit.flags[0]);
        out.flags("flags89", prm_xid_bits89, circuit.flags[1]);
        out.flags("flags90", prm_xid_bits90, circuit.flags[2]);
        out.flags("flags91", prm_xid_bits91, circuit.flags[3]);
        out.flags("flags92", prm_xid_bits92, circuit.flags[4]);
        out.count("vsp_word", circuit.vsp_word);
        out.end_entry();
    });
}

void write_pseudowires(const sim::Card &card, FamilyWriter &out) {
    in_order(card.l2.pseudowires, [&](u32 xid, const sim::Pseudowire &pseudowire, u32) {
        out.begin_entry();
        out.number("xid", xid);
        if (pseudowire.uidb != 0) out.reference("circuit", out.resolver().uidb(pseudowire.uidb));
        out.number("segment2_key", pseudowire.segment2_key);
        out.number("segment2_word", pseudowire.segment2_word);
        out.reference("next_hop", out.resolver().next_hop(pseudowire.next_hop));
        out.reference("tunnel", out.resolver().tunnel(pseudowire.tunnel));
        out.end_entry();
    });
}

void write_vplags(const sim::Card &card, FamilyWriter &out) {
    in_order(card.evpn.vplags, [&](u32 id, const sim::Vplag &vplag, u32) {
        out.begin_entry();
        out.number("vplag_id", id);
        out.ipv4("source_vtep", vplag.source_vtep);
        out.begin_list("paths");
        for (const sim::Vplag::Path &path : vplag.paths) {
            out.begin_item();
            out.reference("next_hop", out.resolver().next_hop(path.next_hop));
            out.ipv4("remote_vtep", path.remote_vtep);
            out.end_item();
        }
        out.end_list();
        out.end_entry();
    });
}

void write_evpn_macs(const sim::Card &card, FamilyWriter &out) {
    const auto by_domain = [](const sim::EvpnMacKey &a, const sim::EvpnMacKey &b) {
        return a.bd_id != b.bd_id ? a.bd_id < b.bd_id : std::ranges::lexicographical_compare(a.mac, b.mac);
    };
    in_order(
        card.evpn.macs,
        [&](const sim::EvpnMacKey &key, const sim::EvpnMac &mac, u32) {
            out.begin_entry();
            out.reference("bridge_domain", out.resolver().bridge_domain(key.bd_id));
            out.mac("mac", key.mac);
            out.number("type", mac.type);
            out.hex("fec", mac.fec);
            out.end_entry();
        },
        by_domain);
}

void write_shg_dfs(const sim::Card &card, FamilyWriter &out) {
    const auto order = [](const sim::ShgDfKey &a, const sim::ShgDfKey &b) {
        return std::tie(a.address_or_vni, a.if_handle, a.is_shg) <
               std::tie(b.address_or_vni, b.if_handle, b.is_shg);
    };
    in_order(
        card.evpn.shg_dfs,
        [&](const sim::ShgDfKey &key, const sim::ShgDf &, u32) {
            out.begin_entry();
            out.hex("address_or_vni", key.address_or_vni);
            out.reference("interface", out.resolver().interface(key.if_handle));
            out.number("is_shg", key.is_shg);
            out.end_entry();
        },
        order);
}

void write_overlays(const sim::Card &card, FamilyWriter &out) {
    in_order(card.evpn.overlays, [&](u64 key, const sim::Overlay &overlay, u32) {
        out.begin_entry();
        out.reference("bridge_domain", out.resolver().bridge_domain(static_cast<u32>(key >> 32)));
        out.ipv4("remote_vtep", static_cast<u32>(key));
        out.reference("next_hop", out.resolver().next_hop(overlay.next_hop));
        out.end_entry();
    });
}

constexpr Family kFamilies[] = {
    {"bridge_domains", "bd_id", write_bridge_domains},
    {"circuits", "circuit", write_circuits},
    {"pseudowires", "xid", write_pseudowires},
    {"vplags", "vplag_id", write_vplags},
    {"evpn_macs", "bridge_domain mac", write_evpn_macs},
    {"shg_dfs", "address_or_vni interface is_shg", write_shg_dfs},
    {"overlays", "bridge_domain remote_vtep", write_overlays},
};

}  // namespace

std::span<const Family> layer2_families() {
    return kFamilies;
}

}  // namespace card
