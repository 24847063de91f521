// The exported platform operations: each passes its call on to the process's backend, and tells of a failure.
// An image in which they stand before the platform's own gives them other names.
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

#ifndef CARD_EXPORTED_PREFIX
#define CARD_EXPORTED_PREFIX
#endif
#define CARD_JOINED(prefix, name) prefix##name
#define CARD_NAMED(prefix, name) CARD_JOINED(prefix, name)
#define CARD_EXPORTED(name) CARD_NAMED(CARD_EXPORTED_PREFIX, name)

extern "C" {
#define OPERATION(family, result, name, parameters, arguments, directions, ...)  \
    result CARD_EXPORTED(name) parameters {                                      \
        return card::answer<card::OperationId::name>(                            \
            [&]() -> result { return card::current_backend().name arguments; }); \
    }
#include "card/operations.def"
}
