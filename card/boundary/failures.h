// Who is told of the calls that failed: one place for all operations, whatever backend answered.
#ifndef CARD_BOUNDARY_FAILURES_H
#define CARD_BOUNDARY_FAILURES_H

#include "card/boundary/operation.h"
#include "prm_types.h"

namespace card {

// Told of a call of an operation that answers a status, when it returns one other than CERR_SUCCESS: on the
// thread that called, before the caller has the status. Makes no call itself.
using FailureListener = void (*)(const OperationRow &operation, prm_status_t status);

// From now on `listener` is told of every failure; nobody is when it is null.
void tell_failures(FailureListener listener);

}  // namespace card

#endif
