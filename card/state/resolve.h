// Where references end: from a load-distribution pointer, a next hop, an interface-database index to the
// interface that a packet leaves by.
#ifndef CARD_STATE_RESOLVE_H
#define CARD_STATE_RESOLVE_H

#include <absl/container/flat_hash_map.h>

#include <memory>
#include <string>

#include "card/sim/card.h"

namespace card {

// What a chain of references comes to, in words.
struct Ends {
    std::string text;
    bool dangling = false;  // somewhere behind the first reference one names nothing
};

struct Reference {
    std::string to;              // kind and name: "ldi 0xc36900"
    bool dangling = false;       // there is no such thing
    const Ends *ends = nullptr;  // null: the reference is the end; good as long as the resolver
};

std::string mac_text(const u8 (&address)[6]);

// Remembers what it resolved: many leaves share few load-distribution entries.
class Resolver {
  public:
    explicit Resolver(const sim::Card &card) : card_(card) {}

    Reference interface(u32 handle) const;
    Reference uidb(u32 uidb);  // ends at its interface
    Reference bundle(u8 lag_id) const;
    Reference next_hop(u32 nh_idx);
    Reference tunnel(u32 tunnel) const;
    const Reference &ldi(u32 pointer);  // good as long as the resolver
    Reference label_index(u32 index) const;
    Reference bridge_domain(u32 bd_id) const;
    Reference mirror_session(u32 session) const;
    Reference statistics(u32 pointer, const sim::IndexPool &pool) const;

  private:
    // In words: "next_hop 200001, 00:00:b0:10:10:01 on interface 0x8000088".
    const Ends &ends_of_next_hop(u32 nh_idx, int depth = 0);
    const Ends &ends_of_ldi(u32 pointer);
    Ends describe_adjacency(u32 nh_idx, int depth);

    const sim::Card &card_;
    absl::flat_hash_map<u32, std::unique_ptr<Ends>> next_hops_, ldis_, uidbs_;
    absl::flat_hash_map<u32, std::unique_ptr<Reference>> ldi_references_;
};

}  // namespace card

#endif
