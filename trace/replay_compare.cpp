// Compares a call with a recorded one: see replay_compare.h.
#include "trace/replay_compare.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstring>

#include "card/records/decode.h"
#include "trace/text.h"

namespace trace {
namespace {

using card::FieldValue;

uint64_t number_of(Bytes bytes) {
    uint64_t number = 0;
    std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
    return number;
}

// A field that outlives its being shown.
struct Kept {
    std::string path;
    const prm_field *field;
    size_t offset;
    Bytes bytes;

    FieldValue shown() const { return {path, *field, offset, bytes, false}; }
    bool is_zero() const { return shown().is_zero(); }
};

std::vector<Kept> fields_of(const prm_record &record, const Memory &memory, Bytes bytes) {
    std::vector<Kept> fields;
    const auto keep = [&](const FieldValue &value) {
        fields.push_back({std::string(value.path), &value.field, value.offset, value.bytes});
    };
    if (memory.items > 1)
        card::decode_items(record, memory.item_size, memory.items, bytes, keep, "");
    else
        card::decode(record, bytes, keep);
    return fields;
}

std::string bytes_text(Bytes bytes) {
    std::string text;
    append_bytes(&text, bytes);
    return text;
}

class Comparison {
  public:
    Comparison(const Call &live, const Call &recorded, SameHandles *handles,
               std::vector<std::string> *differences)
        : live_(live),
          recorded_(recorded),
          operation_(*live.operation),
          handles_(*handles),
          differences_(differences) {}

    bool run() {
        const auto &parameters = operation_.row.parameters;
        for (size_t i = 0; i < parameters.size(); ++i) {
            if (!same_ && differences_ == nullptr) return false;
            argument(i);
        }
        for (const Memory &memory : live_.memory) {
            if (!same_ && differences_ == nullptr) return false;
            const Memory *const other = same_block(recorded_, memory);
            if (other != nullptr && parameters[memory.parameter].direction != card::Direction::OUT)
                block(memory, *other);
        }
        return same_;
    }

  private:
    void differ(const std::string &path, const std::string &live, const std::string &recorded) {
        same_ = false;
        if (differences_ != nullptr)
            differences_->push_back(fmt::format("{}: {}, trace {}", path, live, recorded));
    }

    std::string named(prm_handle_kind kind, uint64_t value) const {
        std::string text;
        if (value == 0 || !handles_.names().append(&text, kind, value) || text.ends_with("#unknown"))
            return fmt::format("{}", value);
        return text;
    }

    void argument(size_t i) {
        const card::Parameter &parameter = operation_.row.parameters[i];
        const uint64_t live = live_.arguments[i], recorded = recorded_.arguments[i];
        const std::string name(parameter.name);
        if (parameter.is_pointer() || parameter.type == "prm_notify_t") {
            if ((live == 0) != (recorded == 0))
                differ(name, live == 0 ? "null" : "set", recorded == 0 ? "null" : "set");
            return;
        }
        const prm_handle_kind kind =
            parameter.type == "uintptr_t" ? PRM_HANDLE_CLIENT : operation_.arguments[i];
        if ((live != recorded || !handles_.all_the_same()) &&
            !handles_.same(kind, recorded, live, differences_ != nullptr))
            differ(name, named(kind, live), named(kind, recorded));
    }

    // "record", "record.key_entries".
    std::string path_of(const Memory &memory) const {
        std::string path(operation_.row.parameters[memory.parameter].name);
        if (memory.field == Memory::kWhole) return path;
        const Memory *const owner = [&]() -> const Memory * {
            for (const Memory &one : live_.memory)
                if (one.parameter == memory.parameter && one.field == Memory::kWhole) return &one;
            return nullptr;
        }();
        if (owner == nullptr || owner->record == nullptr) return path;
        for (const prm_field &field : owner->record->fields)
            if (field.offset == memory.field) return path + "." + field.name;
        return path;
    }

    void block(const Memory &live, const Memory &recorded) {
        const size_t size = std::min(live.before.size(), recorded.before.size());
        if (handles_.all_the_same() && live.before.size() == recorded.before.size() &&
            (size == 0 || std::memcmp(live.before.data(), recorded.before.data(), size) == 0))
            return;
        const std::string path = path_of(live);
        if (live.record == nullptr) {
            plain(path, live, recorded);
            return;
        }
        const bool was_same = same_;
        same_ = true;
        const std::vector<Kept> fields = fields_of(*live.record, live, live.before.first(size));
        const std::vector<Kept> others = fields_of(*live.record, recorded, recorded.before.first(size));
        std::vector<bool> covered(size);
        size_t at = 0;
        for (const Kept &field : fields) {
            std::fill_n(covered.begin() + static_cast<ptrdiff_t>(field.offset), field.bytes.size(), true);
            const auto other = find(others, field.path, &at);
            if (other != nullptr) compare(path, field, *other);
        }
        for (size_t i = 0; i < size; ++i) {
            if (!covered[i] && live.before[i] != recorded.before[i])
                differ(fmt::format("{}.byte{}", path, i), bytes_text(live.before.subspan(i, 1)),
                       bytes_text(recorded.before.subspan(i, 1)));
        }
        // Sizes follow from what the fields say, nearly always.
        if (same_ && live.before.size() != recorded.before.size())
            differ(path, fmt::format("{} bytes", live.before.size()),
                   fmt::format("{}", recorded.before.size()));
        same_ = same_ && was_same;
    }

    // Fields come in the same order on both sides, nearly always.
    static const Kept *find(const std::vector<Kept> &fields, const std::string &path, size_t *at) {
        for (size_t i = 0; i < fields.size(); ++i) {
            const size_t place = (*at + i) % fields.size();
            if (fields[place].path != path) continue;
            *at = place + 1;
            return &fields[place];
        }
        return nullptr;
    }

    void compare(const std::string &owner, const Kept &live, const Kept &recorded) {
        const bool is_equal = std::ranges::equal(live.bytes, recorded.bytes);
        if (is_equal && handles_.all_the_same()) return;
        const std::string path =
            live.path.empty() || live.path.front() == '[' ? owner + live.path : owner + "." + live.path;
        if (live.field->kind == PRM_FIELD_BUFFER) {
            if (live.is_zero() != recorded.is_zero())
                differ(path, live.is_zero() ? "null" : "set", recorded.is_zero() ? "null" : "set");
            return;
        }
        const prm_handle_kind kind = kind_in(operation_, live.field->handle);
        if (is_equal && !prm_handle_is_handed_out(kind) && live.field->kind != PRM_FIELD_FLAGS) return;
        const bool small = live.bytes.size() <= 8 && recorded.bytes.size() <= 8;
        if (is_equal && !small) return;
        if (small && live.field->kind == PRM_FIELD_FLAGS &&
            same_flags(*live.field, live.shown().number(), recorded.shown().number()))
            return;
        if (small && prm_handle_is_handed_out(kind) &&
            handles_.same(kind, recorded.shown().number(), live.shown().number(), differences_ != nullptr))
            return;
        if (differences_ == nullptr) {
            same_ = false;
            return;
        }
        std::string one = text_of(live, kind), other = text_of(recorded, kind);
        if (one == other) one = bytes_text(live.bytes), other = bytes_text(recorded.bytes);
        differ(path, one, other);
    }

    bool same_flags(const prm_field &field, uint64_t live, uint64_t recorded) {
        uint64_t left = ~uint64_t{0};
        bool same = true;
        for (const prm_bits &bits : field.bits) {
            if (!prm_handle_is_handed_out(bits.handle)) continue;
            left &= ~bits.mask;
            const uint64_t unit = bits.mask & (~bits.mask + 1);
            same = same && handles_.same(bits.handle, (recorded & bits.mask) / unit,
                                         (live & bits.mask) / unit, differences_ != nullptr);
        }
        return same && (live & left) == (recorded & left);
    }

    std::string text_of(const Kept &value, prm_handle_kind kind) const {
        if (value.bytes.size() <= 8 && prm_handle_is_handed_out(kind))
            return named(kind, value.shown().number());
        const bool is_long = value.bytes.size() > 8 &&
                             (value.field->kind == PRM_FIELD_HEX || value.field->kind == PRM_FIELD_RESERVED);
        return is_long ? bytes_text(value.bytes) : card::text(value.shown());
    }

    // Memory without a layout: a text, a number.
    void plain(const std::string &path, const Memory &live, const Memory &recorded) {
        const bool is_whole = live.field == Memory::kWhole;
        const prm_handle_kind kind = is_whole ? operation_.arguments[live.parameter] : PRM_HANDLE_NONE;
        if (std::ranges::equal(live.before, recorded.before) && !prm_handle_is_handed_out(kind)) return;
        const bool is_text =
            is_whole && operation_.row.parameters[live.parameter].type.starts_with("const char");
        if (is_text) {
            const auto quoted = [](Bytes bytes) {
                return fmt::format(
                    "\"{}\"", std::string_view(reinterpret_cast<const char *>(bytes.data()), bytes.size()));
            };
            differ(path, quoted(live.before), quoted(recorded.before));
        } else if (live.before.size() <= 8 && recorded.before.size() <= 8) {
            const uint64_t one = number_of(live.before), other = number_of(recorded.before);
            if (!handles_.same(kind, other, one, differences_ != nullptr))
                differ(path, named(kind, one), named(kind, other));
        } else {
            differ(path, bytes_text(live.before), bytes_text(recorded.before));
        }
    }

    const Call &live_;
    const Call &recorded_;
    const Operation &operation_;
    SameHandles &handles_;
    std::vector<std::string> *differences_;
    bool same_ = true;
};

}  // namespace

void SameHandles::clear() {
    names_.clear();
    others_.clear();
}

bool SameHandles::is_handed_out(prm_handle_kind kind, uint64_t value) const {
    std::string text;
    return names_.append(&text, kind, value) && !text.ends_with("#unknown");
}

bool SameHandles::same(prm_handle_kind kind, uint64_t recorded, uint64_t live, bool bind) {
    if (!prm_handle_is_handed_out(kind)) return recorded == live;
    const auto known = others_.find({kind, recorded});
    if (known != others_.end()) return known->second == live;
    if (recorded == live) return true;
    if (recorded == 0 || live == 0 || is_handed_out(kind, recorded) || !is_handed_out(kind, live))
        return false;
    if (bind) others_.emplace(std::pair(kind, recorded), live);
    return true;
}

uint64_t SameHandles::of_this_run(prm_handle_kind kind, uint64_t recorded) const {
    const auto known = others_.find({kind, recorded});
    return known != others_.end() ? known->second : recorded;
}

bool asks_the_same(const Call &live, const Call &recorded, SameHandles *handles,
                   std::vector<std::string> *differences) {
    return Comparison(live, recorded, handles, differences).run();
}

const Memory *same_block(const Call &call, const Memory &memory) {
    for (const Memory &one : call.memory)
        if (one.parameter == memory.parameter && one.field == memory.field) return &one;
    return nullptr;
}

}  // namespace trace
