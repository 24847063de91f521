// Chains of references in words: see resolve.h.
#include "card/state/resolve.h"

#include <fmt/core.h>

#include <iterator>

namespace card {
namespace {

constexpr int kLongestChain = 8;  // of label adjacencies over each other
constexpr u32 kNoUidb = 0xFFFF;
constexpr size_t kPathsInWords = 4;  // of a load-distribution entry; how many more there are follows

void add_labels(std::string *text, const u32 *labels, size_t count) {
    const char *between = " labels ";
    for (size_t i = 0; i < count; ++i) {
        if (labels[i] == 0) continue;
        fmt::format_to(std::back_inserter(*text), "{}{}", between, labels[i]);
        between = "/";
    }
}

}  // namespace

std::string mac_text(const u8 (&address)[6]) {
    return fmt::format("{:02x}:{:02x}:{:02x}:{:02x}:{:02x}:{:02x}", address[0], address[1], address[2],
                       address[3], address[4], address[5]);
}

Reference Resolver::interface(u32 handle) const {
    return {fmt::format("interface {:#x}", handle), !card_.interfaces.table.contains(handle)};
}

Reference Resolver::uidb(u32 uidb) {
    const u32 handle = card_.interfaces.handle_of_uidb(uidb);
    Reference reference{fmt::format("uidb {}", uidb), handle == 0};
    if (handle == 0) return reference;
    std::unique_ptr<Ends> &ends = uidbs_[uidb];
    if (ends == nullptr) ends = std::make_unique<Ends>(Ends{fmt::format("interface {:#x}", handle)});
    reference.ends = ends.get();
    return reference;
}

Reference Resolver::bundle(u8 lag_id) const {
    return {fmt::format("bundle {}", lag_id), !card_.interfaces.bundles.contains(lag_id)};
}

Reference Resolver::next_hop(u32 nh_idx) {
    Reference reference{fmt::format("next_hop {}", nh_idx), !card_.adjacency.table.contains(nh_idx)};
    if (!reference.dangling) reference.ends = &ends_of_next_hop(nh_idx);
    return reference;
}

Reference Resolver::tunnel(u32 tunnel) const {
    return {fmt::format("tunnel {}", tunnel), !card_.adjacency.tunnels.in_use(tunnel)};
}

const Reference &Resolver::ldi(u32 pointer) {
    std::unique_ptr<Reference> &known = ldi_references_[pointer];
    if (known == nullptr) {
        known = std::make_unique<Reference>(
            Reference{fmt::format("ldi {:#x}", pointer), !card_.load_distribution.table.contains(pointer)});
        if (!known->dangling) known->ends = &ends_of_ldi(pointer);
    }
    return *known;
}

Reference Resolver::label_index(u32 index) const {
    return {fmt::format("label_index {}", index), !card_.label.indices.in_use(index)};
}

Reference Resolver::bridge_domain(u32 bd_id) const {
    return {fmt::format("bridge_domain {}", bd_id), !card_.l2.bridge_domains.contains(bd_id)};
}

Reference Resolver::mirror_session(u32 session) const {
    return {fmt::format("mirror_session {}", session), !card_.span.sessions.contains(session)};
}

Reference Resolver::statistics(u32 pointer, const sim::IndexPool &pool) const {
    return {fmt::format("statistics {:#x}", pointer), !pool.in_use(pointer)};
}

const Ends &Resolver::ends_of_next_hop(u32 nh_idx, int depth) {
    if (const auto known = next_hops_.find(nh_idx); known != next_hops_.end()) return *known->second;
    auto described = std::make_unique<Ends>(describe_adjacency(nh_idx, depth));
    return *next_hops_.insert_or_assign(nh_idx, std::move(described)).first->second;
}

// The rewrite of an adjacency and the interface it goes out by; of a label adjacency also what it rides on.
Ends Resolver::describe_adjacency(u32 nh_idx, int depth) {
    const sim::Adjacency *const adjacency = card_.adjacency.table.find(nh_idx);
    if (adjacency == nullptr) return {"no adjacency", true};
    Ends ends;
    const auto end = std::back_inserter(ends.text);
    fmt::format_to(end, "{}", mac_text(adjacency->dmac));
    add_labels(&ends.text, adjacency->labels, std::size(adjacency->labels));
    if (adjacency->tunnel != 0) fmt::format_to(end, " tunnel {}", adjacency->tunnel);
    if ((adjacency->flags0 & PRM_TX_ADJ_NORMAL) == 0) ends.text += " not forwarding";
    if (adjacency->uidb == kNoUidb) {
        ends.text += " on no interface";
    } else if (const u32 handle = card_.interfaces.handle_of_uidb(adjacency->uidb)) {
        fmt::format_to(end, " on interface {:#x}", handle);
    } else {
        fmt::format_to(end, " on uidb {}, no interface", adjacency->uidb);
        ends.dangling = true;
    }
    if (adjacency->over != 0) {
        fmt::format_to(end, ", over next_hop {}", adjacency->over);
        if (!card_.adjacency.table.contains(adjacency->over)) {
            ends.text += ", no adjacency";
            ends.dangling = true;
        } else if (adjacency->over == nh_idx) {
            ends.text += ", which is itself";
            ends.dangling = true;
        } else if (depth < kLongestChain) {
            ends.dangling = ends.dangling || ends_of_next_hop(adjacency->over, depth + 1).dangling;
        }
    }
    return ends;
}

const Ends &Resolver::ends_of_ldi(u32 pointer) {
    std::unique_ptr<Ends> &ends = ldis_[pointer];
    if (ends != nullptr) return *ends;
    ends = std::make_unique<Ends>();
    const sim::LoadDistribution &entry = *card_.load_distribution.table.find(pointer);
    for (size_t i = 0; i < entry.paths.size(); ++i) {
        const sim::LoadDistribution::Path &path = entry.paths[i];
        const auto end = std::back_inserter(ends->text);
        // With an MPLS next hop the packet leaves by that one.
        const u32 last = path.mpls_nh_idx != 0 ? path.mpls_nh_idx : path.nh_idx;
        const Ends &behind = ends_of_next_hop(last);
        ends->dangling = ends->dangling || behind.dangling;
        if (i == kPathsInWords) fmt::format_to(end, "; and {} more", entry.paths.size() - i);
        if (i >= kPathsInWords) continue;
        fmt::format_to(end, "{}next_hop {}", i == 0 ? "" : "; ", path.nh_idx);
        const u32 labels[] = {path.label0, path.label1};
        add_labels(&ends->text, labels, std::size(labels));
        if (last != path.nh_idx) fmt::format_to(end, " by next_hop {}", last);
        fmt::format_to(end, ", {}", behind.text);
    }
    return *ends;
}

}  // namespace card
