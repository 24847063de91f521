// The replay as a backend, one function for each operation, made from the table: see replay.h.
#include <type_traits>

#include "trace/replay.h"
#include "trace/words.h"

namespace trace {
namespace {

Replay *answering = nullptr;

template <card::OperationId id, auto Member>
struct Replayed;

template <card::OperationId id, class Result, class... Arguments,
          Result (*card::Backend::*Member)(Arguments...)>
struct Replayed<id, Member> {
    static Result call(Arguments... arguments) {
        const uint64_t words[sizeof...(Arguments) + 1] = {as_word(arguments)...};
        const uint64_t result = answering->answer(id, words);
        if constexpr (id == card::OperationId::cerr_strerror)
            return answering->status_text(static_cast<uint32_t>(words[0]));
        else if constexpr (!std::is_void_v<Result>)
            return from_word<Result>(result);
    }
};

constexpr card::Backend kReplaying = {
#define OPERATION(family, result, name, parameters, arguments, directions, ...) \
    .name = &Replayed<card::OperationId::name, &card::Backend::name>::call,
#include "card/operations.def"
};

}  // namespace

const card::Backend &answering_from(Replay *replay) {
    answering = replay;
    return kReplaying;
}

}  // namespace trace
