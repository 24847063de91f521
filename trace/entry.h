// The bytes of what a recording tells: calls, and between them workers, cases, fixtures, checks and prints.
// The same bytes lie in the memory that outlives a worker, travel to the supervising process and stand in a
// trace.
#ifndef TRACE_ENTRY_H
#define TRACE_ENTRY_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "trace/call.h"

namespace trace {

enum class EntryKind : uint16_t {
    schema = 1,  // a piece of the schema: see schema_bytes.h
    call_begins,
    call_returns,
    worker,  // `number` is the worker's, 0 when none comes; `status` the signal that ended the one before
             // it, `condition`: because it took too long
    case_begins,
    case_ended,
    set_up_begins,
    set_up_ended,
    tear_down_begins,
    tear_down_ended,
    check,
    print,
    left_out,  // `number` calls before this are not told
};

// Every entry begins so; numbers are little-endian. What follows is padded with zeros to a multiple of 8.
struct EntryHead {
    uint32_t size;  // of the whole entry
    EntryKind kind;
    uint16_t operation;  // of a call: its place in the schema
    int64_t time;        // nanoseconds of the wall clock
};
static_assert(sizeof(EntryHead) == 16);

inline constexpr size_t kEntryPad = 8;
constexpr size_t padded(size_t size) {
    return (size + kEntryPad - 1) & ~(kEntryPad - 1);
}

// EntryKind::call_begins: the head, this, the arguments, then each block's head and bytes.
struct CallBegins {
    uint64_t sequence;
    uint64_t checks;
    uint32_t arguments;
    uint32_t blocks;
};

struct BlockHead {
    static constexpr uint16_t kNoRecord = 0xffff;
    uint64_t address;
    uint32_t size;  // of the bytes behind it, without padding
    uint32_t item_size;
    uint32_t items;
    uint16_t field;           // Memory::field
    uint16_t record, answer;  // places in the schema
    uint8_t parameter;
    uint8_t cut;
    uint32_t reserved;
};
static_assert(sizeof(BlockHead) == 32);

// EntryKind::call_returns: the head, this, then a ChangedHead and the bytes of each block that changed.
struct CallReturns {
    uint64_t sequence;
    int64_t took;
    uint64_t result;
    uint32_t changed;
    uint32_t reserved;
};

struct ChangedHead {
    uint32_t block;  // its place among the blocks of the call
    uint32_t size;   // as in its BlockHead
};

// What a call hands over is recorded up to this size, an entry with heads and arguments up to the other.
inline constexpr size_t kMostMemory = size_t{64} * 1024;
inline constexpr size_t kMostBlocks = 16;
inline constexpr size_t kLargestEntry = kMostMemory + 4096;

// Every other kind: the head, this, then the texts one after the other.
struct MarkHead {
    static constexpr size_t kTexts = 5;
    uint64_t number;    // of a worker; of a check: its place among those of its case; of an end: checks made
    uint32_t status;    // of a check; of an end: failed checks
    uint32_t expected;  // of a check
    int32_t line;       // of a check
    uint8_t passed, condition;
    uint16_t reserved;
    uint32_t sizes[kTexts];
    uint32_t reserved2;
};
static_assert(sizeof(MarkHead) == 48);

// What is told besides calls. Views.
struct Mark {
    EntryKind kind = EntryKind::print;
    int64_t time = 0;
    uint64_t number = 0;
    uint32_t status = 0, expected = 0;
    int32_t line = 0;
    bool passed = false, condition = false;
    // Of a case or fixture: folder, name. Of a print: what it prints. Of a check: expected name or condition,
    // text of the status, message, file, function.
    std::string_view texts[MarkHead::kTexts];
};

// Bytes of the entry of a mark; those of texts longer than kLongestMarkText are cut.
inline constexpr size_t kLongestMarkText = size_t{8} * 1024;
size_t mark_size(const Mark &mark);
void write_mark(const Mark &mark, uint8_t *at);

// The entry at the begin of the bytes, with all of its bytes; empty when there is no whole one, or one that
// says of itself what cannot be.
Bytes first_entry(Bytes bytes);

// Readers of whole entries. False when the entry is not what it says; nothing of it can be used then.
EntryHead head_of(Bytes entry);
bool read_mark(Bytes entry, Mark *mark);
// The call as it begins: `after` of its memory is empty.
bool read_call_begins(Bytes entry, const Schema &schema, Call *call);
// The return of a call that was read from its begin: `after` becomes what the call left.
bool read_call_returns(Bytes entry, Call *call);
// The sequence number of either entry of a call; 0 when there is none.
uint64_t sequence_of(Bytes entry);

template <class Fixed>
Fixed read_fixed(const uint8_t *at) {
    Fixed fixed;
    std::memcpy(&fixed, at, sizeof fixed);
    return fixed;
}

}  // namespace trace

#endif
