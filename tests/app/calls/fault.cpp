// Lets one call of an operation fail.
#include "tests/app/calls/fault.h"

#include <algorithm>

namespace fault {
namespace {

const card::Backend *real_backend;
Fault armed;
Listener told;
uint32_t calls[card::kOperationCount];

template <card::OperationId id, typename Call>
auto passed_on(Call call) {
    if constexpr (!card::row(id).answers_status) {
        return call();
    } else {
        const bool fails = ++calls[static_cast<size_t>(id)] == armed.call && id == armed.operation;
        const prm_status_t status = fails ? armed.code : call();
        told(id, status);
        return status;
    }
}

const card::Backend kInFront = {
#define OPERATION(family, result, name, parameters, arguments, directions, ...)                              \
    .name = [] parameters -> result {                                                                        \
        return passed_on<card::OperationId::name>([&]() -> result { return real_backend->name arguments; }); \
    },
#include "card/operations.def"
};

}  // namespace

const card::Backend &in_front_of(const card::Backend &real, const Fault &fault, Listener listener) {
    real_backend = &real;
    armed = fault;
    told = listener;
    std::fill_n(calls, card::kOperationCount, 0);
    return kInFront;
}

}  // namespace fault
