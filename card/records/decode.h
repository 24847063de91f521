// From the bytes of a record to its fields, by the field tables of the platform headers: what everything that
// shows, compares or traces records is made of.
#ifndef CARD_RECORDS_DECODE_H
#define CARD_RECORDS_DECODE_H

#include <absl/container/inlined_vector.h>
#include <absl/functional/function_ref.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "prm_fields.h"

namespace card {

using Block = std::span<const u8>;

// One field, or one element of a field that has several; good while it is shown.
struct FieldValue {
    std::string_view path;  // "entries[1].feature.value"
    const prm_field &field;
    size_t offset;  // in the block
    Block bytes;
    bool unused;  // an element behind those that the record says are in use

    bool is_zero() const;
    bool is_reserved() const { return field.kind == PRM_FIELD_RESERVED; }
    // Of fields up to eight bytes wide.
    u64 number() const;
};

using FieldVisitor = absl::FunctionRef<void(const FieldValue &)>;

// Shows every field of a record, reserved ones too, in the order of their offsets: those that lie within the
// block. Of a record with items the block holds as many as it has room for. Paths begin with `prefix`.
void decode(const prm_record &record, Block block, FieldVisitor visit, std::string_view prefix = {});

// The same for records back to back, each `item_size` bytes: "prefix[0].", and so on. Those from `used` on
// are shown as unused.
void decode_items(const prm_record &record, size_t item_size, size_t used, Block block, FieldVisitor visit,
                  std::string_view prefix);

// The named parts of a number that are not 0, and what is left in bits without a name (name null).
struct Part {
    const char *name;
    u64 value;  // counted from the lowest bit of the part
    const prm_bits *bits;
};
void for_each_part(prm_list<prm_bits> list, u64 number, absl::FunctionRef<void(const Part &)> visit);

// The parts of a number: "labels|eompls", "mac_move_sec_action=2", "0" when none is set.
void append_flags(std::string *out, prm_list<prm_bits> list, u64 number);

// The value as a person reads it, by its kind: "10.1.2.3", "labels|eompls", "create", "0x5000000".
void append_text(std::string *out, const FieldValue &value);
std::string text(const FieldValue &value);

// The shortest text of the sixteen bytes of an address, in the buffer.
using Ipv6Text = char[48];
std::string_view ipv6_text(const void *address, Ipv6Text &buffer);

// Bytes of a record with that many items.
size_t size_with_items(const prm_record &record, size_t items);
// Items that the head in the block says there are; 0 when it says none, or is cut.
size_t item_count(const prm_record &record, Block block);

// A block of records that a field of a record points at.
struct Buffer {
    const prm_field *field;
    const prm_record *record;
    uintptr_t address;
    size_t item_size;
    size_t count;
};
// The buffers of a record; `answer`: as an operation that reads hands them back.
absl::InlinedVector<Buffer, 3> buffers(const prm_record &record, Block block, bool answer);

}  // namespace card

#endif
