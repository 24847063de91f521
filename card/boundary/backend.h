// What answers the platform operations. The exported operations (operations.cpp) pass every call on to the
// process's backend: the simulated card, or whatever else is chosen at start.
#ifndef CARD_BOUNDARY_BACKEND_H
#define CARD_BOUNDARY_BACKEND_H

#include "cerr.h"
#include "event_manager.h"
#include "platform_info.h"
#include "prm_mgr.h"
#include "prm_srh.h"
#include "uidb.h"
#include "wyk_hal_wrapper.h"
#include "zor_vop_prm.h"

namespace card {

// One entry per operation, named like it. An entry that nobody filled in answers CARD_ERROR_NOT_SUPPORTED (a
// null pointer or 0 where the operation returns no status) and says so on standard error, once per operation.
struct Backend {
#define OPERATION(family, result, name, parameters, arguments, directions, ...) result(*name) parameters;
#include "card/operations.def"
};

// Every entry answers "not supported"; where a backend starts from.
extern const Backend kNothingSupported;

// Chooses who answers from now on; it is not owned and outlives the choice. Null: nothing is supported.
void use_backend(const Backend *backend);
const Backend &current_backend();

}  // namespace card

#endif
