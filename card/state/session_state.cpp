// State: event managers, connections, clients, statistics pointers, and indices handed out or named.
#include <fmt/core.h>

#include "card/state/families.h"
#include "prm_mgr.h"

namespace card {
namespace {

void write_event_managers(const sim::Card &card, FamilyWriter &out) {
    in_order(card.connection.event_managers, [&](uintptr_t handle, const auto &, u32 users) {
        out.begin_entry();
        out.hex("handle", handle);
        out.count("users", users);
        out.end_entry();
    });
}

void write_connections(const sim::Card &card, FamilyWriter &out) {
    in_order(card.connection.connections, [&](uintptr_t handle, const auto &connection, u32 users) {
        out.begin_entry();
        out.hex("handle", handle);
        out.text("name", connection.name);
        out.reference("event_manager", {fmt::format("event_manager {:#x}", connection.event_manager),
                                        !card.connection.event_managers.contains(connection.event_manager)});
        out.count("users", users);
        out.end_entry();
    });
}

void write_clients(const sim::Card &card, FamilyWriter &out) {
    in_order(card.connection.clients, [&](uintptr_t handle, const auto &client, u32) {
        out.begin_entry();
        out.hex("handle", handle);
        out.text("name", client.name);
        out.reference("connection", {fmt::format("connection {:#x}", client.connection),
                                     !card.connection.connections.contains(client.connection)});
        out.end_entry();
    });
}

void write_statistics(const sim::Card &card, FamilyWriter &out) {
    const auto &counted_on = card.statistics.counting;  // pointer -> interface
    const auto write_pool = [&](const sim::IndexPool &pool, std::string_view stats_class,
                                std::string_view direction) {
        pool.for_each_used([&](u32 pointer) {
            out.begin_entry();
            out.hex("pointer", pointer);
            out.text("class", stats_class);
            out.text("direction", direction);
            out.hex("client", card.statistics.owner(pointer));
            const sim::Count counted = card.statistics.counters.of(pointer);
            out.count("packets", counted.packets);
            out.count("bytes", counted.bytes);
            if (const auto user = counted_on.find(pointer); user != counted_on.end())
                out.reference("interface", out.resolver().interface(user->second));
            out.end_entry();
        });
    };
    write_pool(card.statistics.interface_ingress, "interface", "ingress");
    write_pool(card.statistics.interface_egress, "interface", "egress");
    write_pool(card.statistics.mpls_ingress, "mpls", "ingress");
    write_pool(card.statistics.mpls_egress, "mpls", "egress");
}

// Indices that a client has reserved and that entries name.
void write_indices(const sim::Card &card, FamilyWriter &out) {
    const auto write_index = [&](std::string_view pool, u32 index, bool reserved, u32 named_by) {
        out.begin_entry();
        out.text("pool", pool);
        out.number("index", index);
        out.flag("reserved", reserved);
        out.number("named_by", named_by);
        if (pool == "next_hop") out.flag("pending", card.adjacency.pending.contains(index));
        if (pool == "ldi") out.hex("ldi_ptr", u64{index} << PRM_NR_LDI_PTR_SHIFT);
        out.end_entry();
    };
    const auto write_shared = [&](std::string_view name, const sim::SharedPool &pool) {
        pool.for_each_used(
            [&](u32 index, bool reserved, u32 named_by) { write_index(name, index, reserved, named_by); });
    };
    write_shared("next_hop", card.adjacency.next_hops);
    write_shared("tunnel", card.adjacency.tunnels);
    write_shared("ldi", card.load_distribution.indices);
    write_shared("label_index", card.label.indices);
    card.route.space.for_each_used([&](u32 index) { write_index("leaf_index", index, true, 0); });
    card.evpn.vplag_ids.for_each_used(
        [&](u32 index) { write_index("vplag", index, true, card.evpn.vplags.contains(index) ? 1 : 0); });
}

constexpr Family kFamilies[] = {
    {"event_managers", "handle", write_event_managers},
    {"connections", "handle", write_connections},
    {"clients", "handle", write_clients},
    {"statistics", "pointer", write_statistics},
    {"indices", "pool index", write_indices},
};

}  // namespace

std::span<const Family> session_families() {
    return kFamilies;
}

}  // namespace card
