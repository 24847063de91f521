// A call of a platform operation as a recording tells of it, and what is needed to read its bytes:
// operations, record layouts and names of codes, of this build or of the one that wrote a trace.
#ifndef TRACE_CALL_H
#define TRACE_CALL_H

#include <absl/container/inlined_vector.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "card/boundary/operation.h"
#include "prm_fields.h"

namespace trace {

using Bytes = std::span<const uint8_t>;

inline constexpr size_t kMaxArguments = 7;

// An operation as a recording tells of it.
struct Operation {
    card::OperationRow row;
    prm_handle_kind arguments[kMaxArguments] = {};  // what each parameter that is a handle names
    prm_handle_kind result = PRM_HANDLE_NONE;       // likewise, of what it returns
    prm_handle_kind reserved = PRM_HANDLE_NONE;     // what PRM_HANDLE_RESERVED_INDEX is in its record
};

// A block of memory that the call was handed.
struct Memory {
    static constexpr uint16_t kWhole = 0xffff;

    uint8_t parameter = 0;    // the pointer parameter that leads to it
    uint16_t field = kWhole;  // kWhole: what it points at; else the offset, in what it points at, of the
                              // pointer field that leads here
    bool cut = false;         // longer than is recorded, or not readable
    const prm_record *record = nullptr;  // layout before the call; null: bytes without one (a number, a text)
    const prm_record *answer = nullptr;  // layout of `after`
    uint32_t item_size = 0;              // records back to back (buffers, batches); `items` is 1 else
    uint32_t items = 0;
    uint64_t address = 0;
    Bytes before;
    Bytes after;  // the same span as `before` where the call changed nothing; empty while it runs
};

// A view: its bytes belong to whoever shows it.
struct Call {
    uint64_t sequence = 0;  // from 1, in its run
    const Operation *operation = nullptr;
    uint64_t arguments[kMaxArguments] = {};  // as handed over; pointers as addresses
    uint64_t result = 0;                     // status, handle or number; 0 of void
    int64_t began = 0;                       // nanoseconds of the wall clock
    int64_t took = 0;                        // nanoseconds
    uint64_t checks = 0;                     // checks of its case or fixture that came before it
    bool returned = false;                   // false: this is all there is (a crash)
    absl::InlinedVector<Memory, 4> memory;

    bool failed() const { return returned && operation->row.answers_status && result != 0; }
};

struct Code {
    uint32_t value = 0;
    std::string_view name;  // "CARD_ERROR_TABLE_FULL"
    std::string_view text;  // "table full"
};

struct Schema {
    std::span<const Operation> operations;
    std::span<const prm_record *const> records;
    std::span<const Code> codes;

    // Null when there is none.
    const Operation *operation(std::string_view name) const;
    const prm_record *record(std::string_view name) const;
    const Code *code(uint32_t value) const;
};

// Operations are in the order of card::OperationId.
const Schema &this_build();

}  // namespace trace

#endif
