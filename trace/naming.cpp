// Names for what the platform hands out: see naming.h.
#include "trace/naming.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "card/records/decode.h"
#include "card/records/registry.h"
#include "prm_srh_nr_ldi.h"

namespace trace {
namespace {

uint64_t number_of(Bytes bytes) {
    uint64_t number = 0;
    std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
    return number;
}

bool succeeded(const Call &call) {
    return call.returned && (!call.operation->row.answers_status || call.result == 0);
}

// Of a reservation: how many the record asks for.
uint64_t reserved_count(const prm_record &record, Bytes block) {
    for (const prm_field &field : record.fields) {
        if (std::string_view(field.name) == "count" && field.end() <= block.size())
            return number_of(block.subspan(field.offset, field.width));
    }
    return 1;
}

}  // namespace

std::string_view short_name(prm_handle_kind kind) {
    switch (kind) {
        case PRM_HANDLE_EVENT_MANAGER:
            return "manager";
        case PRM_HANDLE_NEXT_HOP:
            return "nh";
        default:
            return card::handle_name(kind);
    }
}

prm_handle_kind kind_in(const Operation &operation, prm_handle_kind kind) {
    return kind == PRM_HANDLE_RESERVED_INDEX ? operation.reserved : kind;
}

void Naming::enter(std::string_view place) {
    const auto [at, is_new] =
        place_by_name_.try_emplace(std::string(place), static_cast<uint32_t>(places_.size()));
    here_ = at->second;
    if (is_new) {
        places_.push_back({std::string(place), {}});
        return;
    }
    absl::erase_if(blocks_, [&](const auto &block) { return block.second.place == here_; });
    std::ranges::fill(places_[here_].handed_out, 0);
}

void Naming::clear() {
    blocks_.clear();
    places_.assign(1, {});
    place_by_name_.clear();
    place_by_name_.emplace("", 0);
    here_ = 0;
}

const Naming::Block *Naming::find(prm_handle_kind kind, uint64_t value, uint64_t *first) const {
    auto at = blocks_.upper_bound({kind, value});
    if (at == blocks_.begin()) return nullptr;
    --at;
    const auto &[key, block] = *at;
    if (key.first != kind || value > block.last || (value - key.second) % block.step != 0) return nullptr;
    *first = key.second;
    return &block;
}

void Naming::hand_out(prm_handle_kind kind, uint64_t first, uint64_t count, uint64_t step) {
    const uint64_t room = (UINT64_MAX - first) / step;
    const uint64_t last = first + std::min(std::max<uint64_t>(count, 1) - 1, room) * step;
    // What is handed out again has its new name alone.
    auto at = blocks_.upper_bound({kind, last});
    while (at != blocks_.begin()) {
        --at;
        if (at->first.first != kind || at->second.last < first) break;
        at = blocks_.erase(at);
    }
    blocks_[{kind, first}] = {last, step, here_, ++places_[here_].handed_out[kind]};
}

void Naming::learn_answer(const Operation &operation, const Memory &memory, bool only_written) {
    uint64_t count = 1;
    if (operation.reserved != PRM_HANDLE_NONE) count = reserved_count(*memory.answer, memory.after);
    const auto learn_field = [&](const card::FieldValue &value) {
        const prm_handle_kind kind = kind_in(operation, value.field.handle);
        if (!prm_handle_is_handed_out(kind) || value.is_zero() || value.bytes.size() > 8) return;
        const bool is_reservation = value.field.handle == PRM_HANDLE_RESERVED_INDEX;
        if (only_written && !is_reservation && value.offset + value.bytes.size() <= memory.before.size() &&
            std::ranges::equal(value.bytes, memory.before.subspan(value.offset, value.bytes.size())))
            return;
        uint64_t first;
        if (is_reservation)
            hand_out(kind, value.number(), count,
                     kind == PRM_HANDLE_LDI ? uint64_t{1} << PRM_NR_LDI_PTR_SHIFT : 1);
        else if (find(kind, value.number(), &first) == nullptr)
            hand_out(kind, value.number(), 1, 1);
    };
    if (memory.items > 1)
        card::decode_items(*memory.answer, memory.item_size, memory.items, memory.after, learn_field, "");
    else
        card::decode(*memory.answer, memory.after, learn_field);
}

void Naming::learn(const Call &call) {
    const Operation &operation = *call.operation;
    const auto &parameters = operation.row.parameters;
    uint64_t first;
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (!parameters[i].is_pointer() && is_address(operation.arguments[i]) && call.arguments[i] != 0 &&
            find(operation.arguments[i], call.arguments[i], &first) == nullptr)
            hand_out(operation.arguments[i], call.arguments[i], 1, 1);
    }
    if (!succeeded(call)) return;
    for (const Memory &memory : call.memory) {
        if (memory.parameter >= parameters.size() || memory.after.empty()) continue;
        const card::Direction direction = parameters[memory.parameter].direction;
        if (direction == card::Direction::IN) continue;
        if (memory.answer != nullptr) {
            learn_answer(operation, memory, direction == card::Direction::INOUT);
        } else if (memory.field == Memory::kWhole) {
            const prm_handle_kind kind = operation.arguments[memory.parameter];
            if (prm_handle_is_handed_out(kind) && number_of(memory.after) != 0)
                hand_out(kind, number_of(memory.after), 1, 1);
        }
    }
    if (prm_handle_is_handed_out(operation.result) && call.result != 0)
        hand_out(operation.result, call.result, 1, 1);
}

bool Naming::append(std::string *out, prm_handle_kind kind, uint64_t value) const {
    uint64_t first = 0;
    const Block *const block = find(kind, value, &first);
    if (block == nullptr) {
        if (!is_address(kind)) return false;
        fmt::format_to(std::back_inserter(*out), "{}#unknown", short_name(kind));
        return true;
    }
    fmt::format_to(std::back_inserter(*out), "{}#{}", short_name(kind), block->number);
    if (value != first) fmt::format_to(std::back_inserter(*out), "+{}", (value - first) / block->step);
    if (block->place != here_) {
        *out += '@';
        *out += places_[block->place].name;
    }
    return true;
}

}  // namespace trace
