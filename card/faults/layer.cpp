// The backend that carries calls out by the faults of the process.
#include <type_traits>
#include <utility>

#include "card/faults/faults.h"

namespace card::faults {
namespace {

Faults *process_faults;
const Backend *behind_it;

template <class Value>
u64 to_word(Value value) {
    if constexpr (std::is_pointer_v<Value>) {
        return reinterpret_cast<u64>(value);
    } else {
        return static_cast<u64>(value);
    }
}

template <class Value>
Value from_word(u64 word) {
    if constexpr (std::is_pointer_v<Value>) {
        return reinterpret_cast<Value>(word);
    } else {
        return static_cast<Value>(word);
    }
}

template <OperationId id, auto member, class Signature>
struct Carried;

template <OperationId id, auto member, class Result, class... Arguments>
struct Carried<id, member, Result (*)(Arguments...)> {
    static Result call(Arguments... arguments) {
        u64 words[kMostArguments] = {to_word(arguments)...};
        const auto pass = [](Words given) { return passed(given, std::index_sequence_for<Arguments...>()); };
        const u64 result = process_faults->carry(id, Words(words), pass);
        if constexpr (!std::is_void_v<Result>) return from_word<Result>(result);
    }

  private:
    template <size_t... at>
    static u64 passed([[maybe_unused]] Words words, std::index_sequence<at...>) {
        if constexpr (std::is_void_v<Result>) {
            (behind_it->*member)(from_word<Arguments>(words[at])...);
            return 0;
        } else {
            return to_word((behind_it->*member)(from_word<Arguments>(words[at])...));
        }
    }
};

}  // namespace

void set_process_faults(Faults *faults) {
    process_faults = faults;
}

const Backend &in_front_of(const Backend &behind) {
    static Backend in_front;
    behind_it = &behind;
    in_front = {
#define OPERATION(family, result, name, parameters, arguments, directions, ...)              \
    .name = can_be_faulted(OperationId::name)                                                \
                ? &Carried<OperationId::name, &Backend::name, decltype(Backend::name)>::call \
                : behind.name,
#include "card/operations.def"
    };
    return in_front;
}

}  // namespace card::faults
