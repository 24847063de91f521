// State: adjacencies, load distribution, labels, routes, local packet transport.
#include <fmt/compile.h>

#include <cstring>

#include "card/state/families.h"

namespace card {
namespace {

void write_adjacencies(const sim::Card &card, FamilyWriter &out) {
    in_order(card.adjacency.table, [&](u32 next_hop, const sim::Adjacency &adjacency, u32 users) {
        out.begin_entry();
        out.number("next_hop", next_hop);
        out.text("form", adjacency.flags2 == PRM_TX_ADJ_EOMPLS   ? "eompls"
                         : adjacency.flags2 == PRM_TX_ADJ_LABELS ? "labels"
                                                                 : "plain");
        out.flag("forwards", (adjacency.flags0 & PRM_TX_ADJ_NORMAL) != 0);
        out.flags("flags3", prm_tx_adj_bits3, adjacency.flags3);
        out.mac("dmac", adjacency.dmac);
        if (adjacency.uidb == 0xFFFF) {
            out.text("uidb", "none");
        } else {
            out.reference("uidb", out.resolver().uidb(adjacency.uidb));
        }
        if (adjacency.over != 0) out.reference("over", out.resolver().next_hop(adjacency.over));
        if (adjacency.flags2 != 0)
            out.numbers("labels", {adjacency.labels[0], adjacency.labels[1], adjacency.labels[2]});
        if (adjacency.tunnel != 0) out.reference("tunnel", out.resolver().tunnel(adjacency.tunnel));
        out.count("users", users);
        out.end_entry();
    });
}

void write_load_distributions(const sim::Card &card, FamilyWriter &out) {
    in_order(card.load_distribution.table, [&](u32 pointer, const sim::LoadDistribution &entry, u32 users) {
        out.begin_entry();
        out.hex("ldi_ptr", pointer);
        out.text("mode", entry.mode == PRM_NR_LDI_MODE_PLAIN ? "plain" : "block");
        out.text("form", entry.words ? "words" : "block");
        out.flag("ldi_valid", entry.valid);
        out.begin_list("paths");
        for (const sim::LoadDistribution::Path &path : entry.paths) {
            out.begin_item();
            out.reference("next_hop", out.resolver().next_hop(path.nh_idx));
            if (path.mpls_nh_idx != 0)
                out.reference("mpls_next_hop", out.resolver().next_hop(path.mpls_nh_idx));
            out.flags("flags", prm_nr_ldi_path_bits, path.flags);
            if (path.flags != 0) out.numbers("labels", {path.label0, path.label1});
            out.end_item();
        }
        out.end_list();
        out.count("users", users);
        out.end_entry();
    });
}

void write_labels(const sim::Card &card, FamilyWriter &out) {
    in_order(card.label.table, [&](u32 key, const sim::LabelEntry &entry, u32) {
        out.begin_entry();
        out.number("label", key >> 1);
        out.number("eos", key & 1);
        out.flags("flags0", zor_label_bits0, entry.flags0);
        out.flags("flags2", zor_label_bits2, entry.flags2);
        if ((entry.flags0 & ZOR_LABEL_NR_LDI) != 0)
            out.reference("label_ptr", out.resolver().ldi(entry.pointer));
        if ((entry.flags0 & ZOR_LABEL_RECURSIVE) != 0) out.hex("label_ptr_rec", entry.recursive_pointer);
        if (entry.leaf_hw_idx != 0)
            out.reference("leaf_hw_idx", out.resolver().label_index(entry.leaf_hw_idx));
        out.end_entry();
    });
}

// What a leaf of either family resolves to: nothing, an entry, or a pair of next hops.
void write_leaf(const sim::Leaf &leaf, FamilyWriter &out) {
    out.flags("flags0", zor_leaf_bits0, leaf.flags0);
    out.flags("flags1", zor_leaf_bits1, leaf.flags1);
    if (const u32 tag = (leaf.tag_bits & ZOR_LEAF_TAG_MASK) >> ZOR_LEAF_TAG_SHIFT; tag != 0)
        out.number("tag", tag);
    const bool recursive = (leaf.flags1 & ZOR_LEAF_RECURSIVE) != 0;
    if ((leaf.flags0 & ZOR_LEAF_LDI) != 0) {
        out.reference("ldi_ptr", out.resolver().ldi(leaf.ldi_ptr));
    } else if (recursive) {
        out.reference("ldi_ptr", out.resolver().next_hop(leaf.ldi_ptr));
    }
    if (recursive) out.reference("ldi_ptr2", out.resolver().next_hop(leaf.ldi_ptr2));
}

void write_ipv4_leaves(const sim::Card &card, FamilyWriter &out) {
    const auto by_vrf = [](sim::Ipv4Key a, sim::Ipv4Key b) {
        const u64 vrf_a = a >> 8 & 0xFFFF, vrf_b = b >> 8 & 0xFFFF;
        return vrf_a != vrf_b ? vrf_a < vrf_b : a < b;
    };
    in_order(
        card.route.ipv4,
        [&](sim::Ipv4Key key, const sim::Leaf &leaf, u32) {
            char prefix[24];
            const auto end = fmt::format_to(prefix, FMT_COMPILE("{}.{}.{}.{}/{}"), key >> 56,
                                            key >> 48 & 0xFF, key >> 40 & 0xFF, key >> 32 & 0xFF, key & 0xFF);
            out.begin_entry();
            out.number("vrf", key >> 8 & 0xFFFF);
            out.text("prefix", {prefix, static_cast<size_t>(end - prefix)});
            write_leaf(leaf, out);
            out.end_entry();
        },
        by_vrf);
}

void write_ipv6_leaves(const sim::Card &card, FamilyWriter &out) {
    const auto by_vrf = [](const sim::Ipv6Key &a, const sim::Ipv6Key &b) {
        const u32 vrf_a = a.words[4] >> 8, vrf_b = b.words[4] >> 8;
        if (vrf_a != vrf_b) return vrf_a < vrf_b;
        const int order = std::memcmp(a.words, b.words, 16);
        return order != 0 ? order < 0 : a.words[4] < b.words[4];
    };
    in_order(
        card.route.ipv6,
        [&](const sim::Ipv6Key &key, const sim::Leaf &leaf, u32) {
            Ipv6Text text;
            std::string prefix(ipv6_text(key.words, text));
            prefix += '/';
            prefix += std::to_string(key.words[4] & 0xFF);
            out.begin_entry();
            out.number("vrf", key.words[4] >> 8 & 0xFFFF);
            out.text("prefix", prefix);
            write_leaf(leaf, out);
            out.end_entry();
        },
        by_vrf);
}

void write_lpts(const sim::Card &card, FamilyWriter &out) {
    in_order(card.lpts.table, [&](u32 id, const prm_lpts_entry &entry, u32) {
        out.begin_entry();
        out.number("entry", id);
        out.record("key", prm_lpts_entry_record, {reinterpret_cast<const u8 *>(&entry), sizeof entry});
        out.end_entry();
    });
}

constexpr Family kFamilies[] = {
    {"adjacencies", "next_hop", write_adjacencies},
    {"load_distributions", "ldi_ptr", write_load_distributions},
    {"labels", "label eos", write_labels},
    {"ipv4_leaves", "vrf prefix", write_ipv4_leaves},
    {"ipv6_leaves", "vrf prefix", write_ipv6_leaves},
    {"lpts", "entry", write_lpts},
};

}  // namespace

std::span<const Family> forwarding_families() {
    return kFamilies;
}

}  // namespace card
