// The exported platform operations: each passes its call on to the process's backend, and tells of a failure.
#include "card/boundary/backend.h"
#include "card/boundary/failures.h"
#include "card/codes.h"

namespace card {
namespace {

FailureListener listener = nullptr;

[[gnu::cold, gnu::noinline]] void tell(OperationId id, prm_status_t status) {
    if (listener != nullptr) listener(row(id), status);
}

template <OperationId id, typename Call>
[[gnu::always_inline]] inline auto answer(const Call &call) {
    if constexpr (row(id).answers_status) {
        const prm_status_t status = call();
        if (status != CERR_SUCCESS) tell(id, status);
        return status;
    } else {
        return call();
    }
}

}  // namespace

void tell_failures(FailureListener to) {
    listener = to;
}

}  // namespace card

extern "C" {
#define OPERATION(family, result, name, parameters, arguments, directions, ...)  \
    result name parameters {                                                     \
        return card::answer<card::OperationId::name>(                            \
            [&]() -> result { return card::current_backend().name arguments; }); \
    }
#include "card/operations.def"
}
