// Decoding by field tables: see decode.h.
#include "card/records/decode.h"

#include <arpa/inet.h>
#include <fmt/core.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

namespace card {
namespace {

u64 number_at(Block bytes, prm_byte_order order) {
    u64 number = 0;
    const size_t size = std::min<size_t>(bytes.size(), sizeof number);
    for (size_t i = 0; i < size; ++i)
        number |= u64{bytes[i]} << 8 * (order == PRM_LITTLE_ENDIAN ? i : size - 1 - i);
    return number;
}

bool all_zero(Block bytes) {
    return bytes.empty() ||
           (bytes[0] == 0 && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0);
}

// The selector's number of the record at the begin of the block; false when there is none.
bool select(const prm_selector &selector, Block block, u64 *number) {
    if (selector.name == nullptr || selector.offset + selector.width > block.size()) return false;
    *number = number_at(block.subspan(selector.offset, selector.width), PRM_LITTLE_ENDIAN);
    return true;
}

// The alternative that the selector chooses; null when no one fits.
template <class Choice>
const Choice *choose(const prm_selector &selector, prm_list<Choice> choices, Block block) {
    u64 number = 0;
    const bool selected = select(selector, block, &number);
    for (const Choice &choice : choices) {
        if (choice.otherwise || (selected && choice.value == number)) return &choice;
    }
    return nullptr;
}

class Decoder {
  public:
    Decoder(Block block, FieldVisitor visit, std::string_view prefix)
        : block_(block), visit_(visit), path_(prefix) {}

    void record(const prm_record &record, size_t base, bool unused) {
        fields(record.fields, base, unused);
        if (record.items.record != nullptr) items(record, base, unused);
    }

    void array(const prm_record &record, size_t base, size_t item_size, size_t count, size_t used) {
        const size_t length = path_.size();
        for (size_t i = 0; i < count && base + i * item_size < block_.size(); ++i) {
            fmt::format_to(std::back_inserter(path_), "[{}].", i);
            this->record(record, base + i * item_size, i >= used);
            path_.resize(length);
        }
    }

  private:
    void items(const prm_record &record, size_t base, bool unused) {
        const size_t begin = base + record.size, item_size = record.items.record->size;
        if (block_.size() < begin + record.items.tail) return;
        const size_t room = (block_.size() - begin - record.items.tail) / item_size;
        u64 used = room;
        select(record.items.count, block_.subspan(base), &used);
        const size_t length = path_.size();
        path_ += record.items.name;
        array(*record.items.record, begin, item_size, room, unused ? 0 : used);
        path_.resize(length);
        if (record.items.tail == 0) return;
        static constexpr prm_field kTail = prm_field_at<u8>("tail", 0).reserved();
        path_ += kTail.name;
        show(kTail, begin + room * item_size, record.items.tail, unused);
        path_.resize(length);
    }

    void fields(prm_list<prm_field> list, size_t base, bool unused) {
        for (const prm_field &field : list) {
            if (base + field.offset >= block_.size()) return;
            if (field.kind == PRM_FIELD_CHOICE) {
                const prm_choice *const choice = choose(field.selector, field.choices, block_.subspan(base));
                if (choice != nullptr) fields(choice->fields, base, unused);
            } else {
                elements(field, base, unused);
            }
        }
    }

    void elements(const prm_field &field, size_t base, bool unused) {
        const size_t length = path_.size();
        u64 used = field.count;
        if (field.kind != PRM_FIELD_BUFFER) select(field.used, block_.subspan(base), &used);
        for (size_t i = 0; i < field.count; ++i) {
            path_ += field.name;
            if (field.count > 1) fmt::format_to(std::back_inserter(path_), "[{}]", i);
            const size_t offset = base + field.offset + i * field.width;
            if (field.kind == PRM_FIELD_RECORD) {
                path_ += '.';
                record(*field.record, offset, unused || i >= used);
            } else {
                show(field, offset, field.width, unused || i >= used);
            }
            path_.resize(length);
        }
    }

    // A field that the block's end cuts is not shown.
    void show(const prm_field &field, size_t offset, size_t width, bool unused) {
        if (offset + width > block_.size()) return;
        visit_({path_, field, offset, block_.subspan(offset, width), unused});
    }

    Block block_;
    FieldVisitor visit_;
    std::string path_;
};

const char *name_of(prm_list<prm_name> names, u64 number) {
    for (const prm_name &name : names) {
        if (name.value == number) return name.text;
    }
    return nullptr;
}

void append_bytes(std::string *out, Block bytes, const char *between) {
    for (size_t i = 0; i < bytes.size(); ++i)
        fmt::format_to(std::back_inserter(*out), "{}{:02x}", i == 0 ? "" : between, bytes[i]);
}

void append_characters(std::string *out, Block bytes) {
    for (const u8 byte : bytes) {
        if (byte == 0) return;
        if (byte < 0x20 || byte >= 0x7F || byte == '\\') {
            fmt::format_to(std::back_inserter(*out), "\\x{:02x}", byte);
        } else {
            *out += static_cast<char>(byte);
        }
    }
}

int64_t sign_extended(u64 number, size_t bytes) {
    const int unused = static_cast<int>(64 - 8 * std::min<size_t>(bytes, 8));
    return static_cast<int64_t>(number << unused) >> unused;
}

}  // namespace

bool FieldValue::is_zero() const {
    return all_zero(bytes);
}

u64 FieldValue::number() const {
    return number_at(bytes, field.order);
}

void decode(const prm_record &record, Block block, FieldVisitor visit, std::string_view prefix) {
    Decoder(block, visit, prefix).record(record, 0, false);
}

void decode_items(const prm_record &record, size_t item_size, size_t used, Block block, FieldVisitor visit,
                  std::string_view prefix) {
    if (item_size == 0) return;
    Decoder(block, visit, prefix).array(record, 0, item_size, block.size() / item_size, used);
}

void for_each_part(prm_list<prm_bits> list, u64 number, absl::FunctionRef<void(const Part &)> visit) {
    for (const prm_bits &bits : list) {
        if ((number & bits.mask) == 0) continue;
        visit({bits.name, (number & bits.mask) >> std::countr_zero(bits.mask), &bits});
        number &= ~bits.mask;
    }
    if (number != 0) visit({nullptr, number, nullptr});
}

void append_flags(std::string *out, prm_list<prm_bits> list, u64 number) {
    const size_t begin = out->size();
    for_each_part(list, number, [&](const Part &part) {
        if (out->size() != begin) *out += '|';
        const auto end = std::back_inserter(*out);
        if (part.name == nullptr) {
            fmt::format_to(end, "{:#x}", part.value);
        } else if (std::has_single_bit(part.bits->mask)) {
            *out += part.name;
        } else if (const char *const name = name_of(part.bits->names, part.value)) {
            fmt::format_to(end, "{}={}", part.name, name);
        } else {
            fmt::format_to(end, "{}={}", part.name, part.value);
        }
    });
    if (out->size() == begin) *out += '0';
}

void append_text(std::string *out, const FieldValue &value) {
    const auto end = std::back_inserter(*out);
    switch (value.field.kind) {
        case PRM_FIELD_AS_IS:
        case PRM_FIELD_NUMBER:
            fmt::format_to(end, "{}", value.number());
            return;
        case PRM_FIELD_SIGNED:
            fmt::format_to(end, "{}", sign_extended(value.number(), value.bytes.size()));
            return;
        case PRM_FIELD_HEX:
        case PRM_FIELD_RESERVED:
            if (value.bytes.size() <= sizeof(u64)) {
                fmt::format_to(end, "{:#x}", value.number());
            } else if (value.is_zero()) {
                *out += '0';
            } else {
                append_bytes(out, value.bytes, "");
            }
            return;
        case PRM_FIELD_IPV4: {
            const u64 address = value.number();
            fmt::format_to(end, "{}.{}.{}.{}", address >> 24 & 0xFF, address >> 16 & 0xFF,
                           address >> 8 & 0xFF, address & 0xFF);
            return;
        }
        case PRM_FIELD_IPV6: {
            Ipv6Text address;
            if (value.bytes.size() == 16) *out += ipv6_text(value.bytes.data(), address);
            return;
        }
        case PRM_FIELD_MAC:
            append_bytes(out, value.bytes, ":");
            return;
        case PRM_FIELD_TEXT:
            append_characters(out, value.bytes);
            return;
        case PRM_FIELD_FLAGS:
            append_flags(out, value.field.bits, value.number());
            return;
        case PRM_FIELD_ENUMERATION:
            if (const char *const name = name_of(value.field.names, value.number())) {
                *out += name;
            } else {
                fmt::format_to(end, "{}", value.number());
            }
            return;
        case PRM_FIELD_BUFFER:
            if (value.is_zero()) {
                *out += "null";
            } else {
                fmt::format_to(end, "{:#x}", value.number());
            }
            return;
        case PRM_FIELD_RECORD:
        case PRM_FIELD_CHOICE:
            return;  // made of fields; never shown themselves
    }
}

std::string text(const FieldValue &value) {
    std::string out;
    append_text(&out, value);
    return out;
}

std::string_view ipv6_text(const void *address, Ipv6Text &buffer) {
    return inet_ntop(AF_INET6, address, buffer, sizeof buffer);
}

size_t size_with_items(const prm_record &record, size_t items) {
    const prm_items &behind = record.items;
    return behind.record == nullptr ? record.size : record.size + items * behind.record->size + behind.tail;
}

size_t item_count(const prm_record &record, Block block) {
    u64 count = 0;
    select(record.items.count, block, &count);
    return count;
}

absl::InlinedVector<Buffer, 3> buffers(const prm_record &record, Block block, bool answer) {
    absl::InlinedVector<Buffer, 3> found;
    for (const prm_field &field : record.fields) {
        if (field.kind != PRM_FIELD_BUFFER || field.end() > block.size()) continue;
        const prm_buffer_choice *const choice = choose(field.selector, field.items, block);
        u64 count = 0, size = 0;
        if (choice == nullptr || !select(field.used, block, &count) || !select(field.item_size, block, &size))
            continue;
        const u64 address = number_at(block.subspan(field.offset, field.width), PRM_LITTLE_ENDIAN);
        found.push_back({&field, answer ? choice->answer : choice->record, address, size, count});
    }
    return found;
}

}  // namespace card
