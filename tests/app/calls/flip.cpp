// Flips one bit of a record: see flip.h.
#include "tests/app/calls/flip.h"

#include <algorithm>
#include <array>
#include <span>
#include <tuple>
#include <type_traits>
#include <vector>

#include "card/records/registry.h"

namespace flip {
namespace {

using Arguments = std::array<uint64_t, 7>;

const card::Backend *next;
Flip armed;
Listener told;
uint32_t calls[card::kOperationCount];

template <class Argument>
uint64_t number_of(Argument argument) {
    if constexpr (std::is_pointer_v<Argument>)
        return reinterpret_cast<uintptr_t>(argument);
    else
        return static_cast<uint64_t>(argument);
}

// What the call is handed, with what stands behind its head; empty when there is none.
struct Block {
    const prm_record *record = nullptr;
    std::span<u8> bytes;
};

Block block_of(card::OperationId operation, const Arguments &arguments) {
    const auto &parameters = card::row(operation).parameters;
    const auto named = [&](std::string_view name) -> uint64_t {
        for (size_t i = 0; i < parameters.size(); ++i)
            if (parameters[i].name == name) return arguments[i];
        return 0;
    };
    if (auto *const record = reinterpret_cast<u8 *>(named("record"))) {
        const prm_record *const layout = card::record_layout(operation).before;
        const size_t items = card::item_count(*layout, {record, layout->size});
        return {layout, {record, card::size_with_items(*layout, items)}};
    }
    if (auto *const request = reinterpret_cast<u8 *>(named("request"))) {
        const auto type = static_cast<u32>(named("hal_type"));
        const auto policies = static_cast<u32>(named("policies"));
        return {card::hal_layout(operation, type).request,
                {request, card::hal_sizes(operation, type, policies, request).request}};
    }
    return {};
}

bool is_address(const prm_record &record, size_t byte) {
    return std::ranges::any_of(record.fields, [&](const prm_field &field) {
        return field.kind == PRM_FIELD_BUFFER && byte >= field.offset && byte < field.end();
    });
}

// One of all, those of the record's buffers too.
u8 *chosen_byte(const Block &block, u8 *mask) {
    std::vector<u8 *> bytes;
    for (size_t i = 0; i < block.bytes.size(); ++i)
        if (!is_address(*block.record, i)) bytes.push_back(&block.bytes[i]);
    for (const card::Buffer &buffer : card::buffers(*block.record, block.bytes, false)) {
        auto *const at = reinterpret_cast<u8 *>(buffer.address);  // NOLINT(performance-no-int-to-ptr)
        for (size_t i = 0; at != nullptr && i < buffer.item_size * buffer.count; ++i) bytes.push_back(at + i);
    }
    uint64_t random = (armed.seed * 0x9E3779B97F4A7C15u) ^ (armed.call * 0xBF58476D1CE4E5B9u);
    random = (random ^ random >> 31) * 0x94D049BB133111EBu;
    const uint64_t bit = (random >> 11) % (8 * bytes.size());
    *mask = static_cast<u8>(1 << bit % 8);
    return bytes[bit / 8];
}

template <card::OperationId id, class Call, class... Given>
auto passed_on(Call call, const std::tuple<Given...> &given) {
    Arguments arguments{};
    std::apply(
        [&](auto... values) {
            size_t i = 0;
            ((arguments[i++] = number_of(values)), ...);
        },
        given);
    const Block block = block_of(id, arguments);
    if constexpr (std::is_void_v<decltype(call())>) {
        return call();
    } else {
        if (block.record == nullptr || block.bytes.empty()) return call();
        told(id);
        u8 mask = 0;
        u8 *const byte = ++calls[static_cast<size_t>(id)] == armed.call && id == armed.operation
                             ? chosen_byte(block, &mask)
                             : nullptr;
        if (byte == nullptr) return call();
        *byte ^= mask;
        const u8 sent = *byte;
        const auto result = call();
        if (*byte == sent) *byte ^= mask;
        return result;
    }
}

const card::Backend kInFront = {
#define OPERATION(family, result, name, parameters, arguments, directions, ...)                     \
    .name = [] parameters -> result {                                                               \
        return passed_on<card::OperationId::name>([&]() -> result { return next->name arguments; }, \
                                                  std::make_tuple arguments);                       \
    },
#include "card/operations.def"
};

}  // namespace

const card::Backend &in_front_of(const card::Backend &behind, const Flip &flip, Listener listener) {
    next = &behind;
    armed = flip;
    told = listener;
    std::fill_n(calls, card::kOperationCount, 0);
    return kInFront;
}

}  // namespace flip
