// The backend that supports nothing, and the choice of the process's backend.
#include "card/boundary/backend.h"

#include <atomic>
#include <cstdio>
#include <type_traits>

#include "card/boundary/operation.h"
#include "card/codes.h"

namespace card {
namespace {

std::atomic<bool> told[kOperationCount];

void tell_once(OperationId id) {
    if (told[static_cast<size_t>(id)].exchange(true)) return;
    std::fprintf(stderr, "card: %s is not supported\n", row(id).name.data());
}

// What an operation that nobody answers returns: a status where it has one.
template <OperationId id, typename Result>
Result unsupported() {
    tell_once(id);
    if constexpr (row(id).answers_status) {
        return CARD_ERROR_NOT_SUPPORTED;
    } else if constexpr (!std::is_void_v<Result>) {
        return Result{};
    }
}

template <OperationId id, typename Signature>
struct Unsupported;

template <OperationId id, typename Result, typename... Arguments>
struct Unsupported<id, Result (*)(Arguments...)> {
    static Result call(Arguments...) { return unsupported<id, Result>(); }
};

// Texts need no card.
template <>
struct Unsupported<OperationId::cerr_strerror, const char *(*)(u32)> {
    static const char *call(u32 code) { return code_text(code); }
};

const Backend *chosen = &kNothingSupported;

}  // namespace

const Backend kNothingSupported = {
#define OPERATION(family, result, name, parameters, arguments, directions, ...) \
    .name = &Unsupported<OperationId::name, decltype(Backend::name)>::call,
#include "card/operations.def"
};

void use_backend(const Backend *backend) {
    chosen = backend != nullptr ? backend : &kNothingSupported;
}

const Backend &current_backend() {
    return *chosen;
}

}  // namespace card
