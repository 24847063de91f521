// Lets one call of an operation fail without doing anything, and counts what is called: a backend in front of
// the simulated card's.
#ifndef TESTS_APP_CALLS_FAULT_H
#define TESTS_APP_CALLS_FAULT_H

#include <cstddef>
#include <cstdint>

#include "card/boundary/backend.h"
#include "card/boundary/operation.h"

namespace fault {

// The `call`-th call (from 1) of the operation answers `code`; 0: none does. No backend sees that call.
struct Fault {
    card::OperationId operation{};
    uint32_t call = 0;
    prm_status_t code = 0;
};

// Told of each call of an operation that answers a status, in order.
using Listener = void (*)(card::OperationId operation, prm_status_t status);

// A backend that passes calls on to `real`, with the fault. One at a time.
const card::Backend &in_front_of(const card::Backend &real, const Fault &fault, Listener listener);

}  // namespace fault

#endif
