// Flips one bit of the record that one call of an operation is handed: as if the suite had sent another byte.
#ifndef TESTS_APP_CALLS_FLIP_H
#define TESTS_APP_CALLS_FLIP_H

#include <cstdint>

#include "card/boundary/backend.h"
#include "card/boundary/operation.h"

namespace flip {

// A bit, chosen by `seed`, of the `call`-th call (from 1) of the operation; 0: none. Addresses are left
// alone, which lead elsewhere or nowhere then. The record is as it was after the call.
struct Flip {
    card::OperationId operation{};
    uint32_t call = 0;
    uint64_t seed = 0;
};

// Told of each call that is handed a record, in order.
using Listener = void (*)(card::OperationId operation);

// A backend that passes calls on to `behind`, with the flip. One at a time.
const card::Backend &in_front_of(const card::Backend &behind, const Flip &flip, Listener listener);

}  // namespace flip

#endif
