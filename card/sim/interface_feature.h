// Features of interfaces: which there are, what they take, and setting them.
#ifndef CARD_SIM_INTERFACE_FEATURE_H
#define CARD_SIM_INTERFACE_FEATURE_H

#include <absl/container/inlined_vector.h>

#include <bitset>
#include <optional>

#include "card/sim/interface.h"

namespace sim {

// A message with features of one or several interfaces. It is judged by the state that it would leave as a
// whole, and then set as a whole or not at all.
class FeatureMessage {
  public:
    explicit FeatureMessage(Card &card) : card_(card) {}

    // The next record of the message, which must be sound by itself.
    prm_status_t add(u32 if_handle, const uidb_feature &record);
    // Sets all of them. Pointers to interfaces stay good.
    prm_status_t set();

  private:
    // An interface as it will be. Once set() has exchanged them, as it was.
    struct Draft {
        u32 handle;
        Interface *interface;
        Interface other;
        std::optional<std::bitset<256>> other_ports;  // where member ports change
    };
    struct MirrorChange {
        u32 handle;
        u16 direction;
        u32 value;
        bool changed = false;  // by set()
    };

    Draft *draft(u32 if_handle);
    // Of an interface that this message may change: as it will be.
    const Interface *find(u32 if_handle) const;
    prm_status_t add_subif_port(Draft &draft, const uidb_feature &record);
    prm_status_t check(const Draft &draft) const;
    prm_status_t check_lag_id(const Draft &draft) const;
    prm_status_t check_room() const;
    prm_status_t exchange();
    prm_status_t set_mirror_sources();

    Card &card_;
    absl::InlinedVector<Draft, 1> drafts_;
    absl::InlinedVector<MirrorChange, 1> mirror_changes_;
};

// Gives back what the features of an interface hold; before the interface goes.
void release_features(Card &card, u32 if_handle);

}  // namespace sim

#endif
