// Features of interfaces: which there are, what they take, and setting them.
#ifndef CARD_SIM_INTERFACE_FEATURE_H
#define CARD_SIM_INTERFACE_FEATURE_H

#include "card/sim/interface.h"

namespace sim {

// Whether the feature record can be set on the interface as things stand.
prm_status_t check_feature(Card &card, u32 if_handle, const uidb_feature &record);

// Whether a rewrite operation among the records, each of which was found good, takes no more tags than the
// encapsulation has once all of them are set.
prm_status_t check_rewrite(const Card &card, u32 if_handle, const uidb_feature *records, u32 count);

// Sets it after check_feature() said yes.
prm_status_t apply_feature(Card &card, u32 if_handle, const uidb_feature &record);

// Gives back what the features of an interface hold; before the interface goes.
void release_features(Card &card, u32 if_handle);

}  // namespace sim

#endif
