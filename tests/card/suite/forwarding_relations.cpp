// Relations of adjacencies, load-distribution entries, labels and leaves.
#include <absl/strings/str_cat.h>

#include <map>

#include "tests/card/suite/relations.h"

namespace relations {
namespace {

using sim::Card;

bool points_at_entry(const sim::Leaf &leaf) {
    return (leaf.flags0 & ZOR_LEAF_LDI) != 0;
}

// visit(next hop) for those of a recursive leaf's pair.
template <typename Visit>
void next_hops_of(const sim::Leaf &leaf, Visit visit) {
    if (leaf.flags1 == 0) return;
    if (!points_at_entry(leaf)) visit(leaf.ldi_ptr);
    visit(leaf.ldi_ptr2);
}

template <typename Visit>
void every_leaf(const Card &card, Visit visit) {
    card.route.ipv4.for_each([&](const auto &, const sim::Leaf &leaf, u32) { visit(leaf); });
    card.route.ipv6.for_each([&](const auto &, const sim::Leaf &leaf, u32) { visit(leaf); });
}

template <typename Key, typename Entry>
std::string users_are(const sim::Table<Key, Entry> &table, std::map<u32, u32> counted) {
    std::string broken;
    table.for_each([&](const Key &key, const Entry &, u32 users) {
        if (users != counted[key])
            broken = absl::StrCat(key, ": held by ", users, ", named by ", counted[key]);
    });
    return broken;
}

std::string adjacency_is_held_by_all_that_name_it(const Card &card) {
    std::map<u32, u32> named;
    card.adjacency.table.for_each([&](u32 nh, const sim::Adjacency &its, u32) {
        if (its.over != 0 && its.over != nh) ++named[its.over];
    });
    card.load_distribution.table.for_each([&](u32, const sim::LoadDistribution &its, u32) {
        for (const auto &path : its.paths) {
            ++named[path.nh_idx];
            if (path.mpls_nh_idx != 0) ++named[path.mpls_nh_idx];
        }
    });
    every_leaf(card, [&](const sim::Leaf &leaf) {
        next_hops_of(leaf, [&](u32 nh) {
            if (nh != 0) ++named[nh];
        });
    });
    card.l2.pseudowires.for_each([&](u32, const sim::Pseudowire &its, u32) { ++named[its.next_hop]; });
    return users_are(card.adjacency.table, named);
}

std::string entry_is_held_by_all_that_point_at_it(const Card &card) {
    std::map<u32, u32> pointed;
    every_leaf(card, [&](const sim::Leaf &leaf) {
        if (points_at_entry(leaf)) ++pointed[leaf.ldi_ptr];
    });
    card.label.table.for_each([&](u32, const sim::LabelEntry &its, u32) {
        if ((its.flags0 & ZOR_LABEL_NR_LDI) != 0) ++pointed[its.pointer];
    });
    for (const auto &[pointer, count] : pointed) {
        if (!card.load_distribution.table.contains(pointer)) return absl::StrCat("no entry ", pointer);
    }
    return users_are(card.load_distribution.table, pointed);
}

// Labels that point at nothing name no index of their own.
std::string labels_have_reserved_indices(const Card &card) {
    std::string broken;
    card.label.table.for_each([&](u32 key, const sim::LabelEntry &its, u32) {
        if (its.leaf_hw_idx != 0 && !card.label.indices.in_use(its.leaf_hw_idx))
            broken = absl::StrCat("label ", key >> 1, ": index ", its.leaf_hw_idx);
    });
    return broken;
}

std::string next_hops_of_adjacencies_are_in_use(const Card &card) {
    std::string broken;
    card.adjacency.table.for_each([&](u32 nh, const sim::Adjacency &its, u32) {
        if (!card.adjacency.next_hops.in_use(nh)) broken = absl::StrCat("next hop ", nh);
        if (its.tunnel != 0 && !card.adjacency.tunnels.in_use(its.tunnel))
            broken = absl::StrCat("next hop ", nh, ": tunnel ", its.tunnel);
    });
    return broken;
}

std::string interfaces_of_adjacencies_keep_their_index(const Card &card) {
    std::string broken;
    card.adjacency.table.for_each([&](u32 nh, const sim::Adjacency &its, u32) {
        if (its.uidb != 0xFFFF && !card.interfaces.uidb_pool.is_named(its.uidb))
            broken = absl::StrCat("next hop ", nh, ": uidb ", its.uidb);
    });
    return broken;
}

std::string recursive_leaves_have_adjacencies(const Card &card) {
    std::string broken;
    every_leaf(card, [&](const sim::Leaf &leaf) {
        next_hops_of(leaf, [&](u32 nh) {
            if (!card.adjacency.table.contains(nh)) broken = absl::StrCat("next hop ", nh);
        });
    });
    return broken;
}

std::string leaves_have_room_reserved(const Card &card) {
    const size_t leaves = card.route.ipv4.size() + card.route.ipv6.size();
    const u32 reserved = card.accounts[sim::Resource::leaf].used;
    // Of both families one reservation each: the IPv6 leaf is added in two VRFs.
    return leaves <= reserved + 1 ? "" : absl::StrCat(leaves, " leaves, ", reserved, " reserved");
}

constexpr Relation kTable[] = {
    {"an adjacency is held by all that name its next hop", adjacency_is_held_by_all_that_name_it},
    {"a load-distribution entry is held by all that point at it", entry_is_held_by_all_that_point_at_it},
    {"the index of a label is reserved", labels_have_reserved_indices},
    {"next hop and tunnel of an adjacency are in use", next_hops_of_adjacencies_are_in_use},
    {"an adjacency keeps the index of its interface", interfaces_of_adjacencies_keep_their_index},
    {"the next hops of a recursive leaf have adjacencies", recursive_leaves_have_adjacencies},
    {"leaves have room reserved", leaves_have_room_reserved},
};

}  // namespace

std::span<const Relation> of_forwarding() {
    return kTable;
}

}  // namespace relations
