// One function for each operation, made from the table: see layer.h.
#include "trace/layer.h"

#include <type_traits>

#include "trace/recorder.h"
#include "trace/words.h"

namespace trace {
namespace {

CallWatcher *watcher = nullptr;
const card::Backend *answering = nullptr;

template <card::OperationId id, auto Member>
struct Recorded;

template <card::OperationId id, class Result, class... Arguments,
          Result (*card::Backend::*Member)(Arguments...)>
struct Recorded<id, Member> {
    static Result call(Arguments... arguments) {
        CallWatcher *const told = watcher;
        if (told == nullptr) return (answering->*Member)(arguments...);
        const uint64_t words[sizeof...(Arguments) + 1] = {as_word(arguments)...};
        CallWatcher::Passing passing;
        told->begins(id, words, passing);
        if constexpr (std::is_void_v<Result>) {
            (answering->*Member)(arguments...);
            told->returned(0, passing);
        } else {
            const Result result = (answering->*Member)(arguments...);
            told->returned(as_word(result), passing);
            return result;
        }
    }
};

constexpr card::Backend kRecording = {
#define OPERATION(family, result, name, parameters, arguments, directions, ...) \
    .name = &Recorded<card::OperationId::name, &card::Backend::name>::call,
#include "card/operations.def"
};

}  // namespace

void watch_calls(CallWatcher *whom) {
    watcher = whom;
}

const card::Backend &recording_in_front_of(const card::Backend &behind) {
    answering = &behind;
    return kRecording;
}

}  // namespace trace
