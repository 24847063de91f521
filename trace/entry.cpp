// Entries as bytes: see entry.h.
#include "trace/entry.h"

#include <algorithm>

namespace trace {
namespace {

constexpr size_t kLargestPossible = size_t{16} * 1024 * 1024;  // of any build

size_t kept(std::string_view text) {
    return std::min(text.size(), kLongestMarkText);
}

// Takes parts off the begin of bytes, as long as there are enough.
class Cursor {
  public:
    explicit Cursor(Bytes bytes) : left_(bytes) {}

    template <class Fixed>
    bool take(Fixed *fixed) {
        if (left_.size() < sizeof *fixed) return false;
        *fixed = read_fixed<Fixed>(left_.data());
        left_ = left_.subspan(sizeof *fixed);
        return true;
    }
    // With the padding behind them, as far as it is there.
    bool take_bytes(size_t size, Bytes *bytes) {
        if (left_.size() < size) return false;
        *bytes = left_.first(size);
        left_ = left_.subspan(std::min(padded(size), left_.size()));
        return true;
    }
    Bytes left() const { return left_; }

  private:
    Bytes left_;
};

const prm_record *record_at(const Schema &schema, uint16_t place) {
    return place < schema.records.size() ? schema.records[place] : nullptr;
}

}  // namespace

size_t mark_size(const Mark &mark) {
    size_t size = sizeof(EntryHead) + sizeof(MarkHead);
    for (const std::string_view text : mark.texts) size += kept(text);
    return padded(size);
}

void write_mark(const Mark &mark, uint8_t *at) {
    const size_t size = mark_size(mark);
    const EntryHead entry{static_cast<uint32_t>(size), mark.kind, 0, mark.time};
    MarkHead head{};
    head.number = mark.number;
    head.status = mark.status;
    head.expected = mark.expected;
    head.line = mark.line;
    head.passed = mark.passed;
    head.condition = mark.condition;
    std::memset(at + size - kEntryPad, 0, kEntryPad);
    std::memcpy(at, &entry, sizeof entry);
    uint8_t *text_at = at + sizeof entry + sizeof head;
    for (size_t i = 0; i < MarkHead::kTexts; ++i) {
        head.sizes[i] = static_cast<uint32_t>(kept(mark.texts[i]));
        mark.texts[i].copy(reinterpret_cast<char *>(text_at), head.sizes[i]);
        text_at += head.sizes[i];
    }
    std::memcpy(at + sizeof entry, &head, sizeof head);
}

Bytes first_entry(Bytes bytes) {
    if (bytes.size() < sizeof(EntryHead)) return {};
    const auto head = read_fixed<EntryHead>(bytes.data());
    if (head.size < sizeof head || head.size % kEntryPad != 0 || head.size > kLargestPossible ||
        head.size > bytes.size())
        return {};
    return bytes.first(head.size);
}

EntryHead head_of(Bytes entry) {
    return entry.size() >= sizeof(EntryHead) ? read_fixed<EntryHead>(entry.data()) : EntryHead{};
}

bool read_mark(Bytes entry, Mark *mark) {
    EntryHead head;
    MarkHead fixed;
    Cursor cursor(entry);
    if (!cursor.take(&head) || !cursor.take(&fixed)) return false;
    mark->kind = head.kind;
    mark->time = head.time;
    mark->number = fixed.number;
    mark->status = fixed.status;
    mark->expected = fixed.expected;
    mark->line = fixed.line;
    mark->passed = fixed.passed != 0;
    mark->condition = fixed.condition != 0;
    Bytes texts = cursor.left();
    for (size_t i = 0; i < MarkHead::kTexts; ++i) {
        if (fixed.sizes[i] > texts.size()) return false;
        mark->texts[i] = {reinterpret_cast<const char *>(texts.data()), fixed.sizes[i]};
        texts = texts.subspan(fixed.sizes[i]);
    }
    return true;
}

bool read_call_begins(Bytes entry, const Schema &schema, Call *call) {
    EntryHead head;
    CallBegins begins;
    Cursor cursor(entry);
    if (!cursor.take(&head) || head.kind != EntryKind::call_begins || !cursor.take(&begins)) return false;
    if (head.operation >= schema.operations.size()) return false;
    const Operation &operation = schema.operations[head.operation];
    if (begins.arguments != operation.row.parameters.size() || begins.blocks > kMostBlocks) return false;
    static const Call kNone;
    *call = kNone;
    call->operation = &operation;
    call->sequence = begins.sequence;
    call->checks = begins.checks;
    call->began = head.time;
    for (size_t i = 0; i < begins.arguments; ++i)
        if (!cursor.take(&call->arguments[i])) return false;
    for (size_t i = 0; i < begins.blocks; ++i) {
        BlockHead block;
        Memory memory;
        if (!cursor.take(&block) || !cursor.take_bytes(block.size, &memory.before)) return false;
        if (block.parameter >= operation.row.parameters.size()) return false;
        memory.parameter = block.parameter;
        memory.field = block.field;
        memory.cut = block.cut != 0;
        memory.record = record_at(schema, block.record);
        memory.answer = record_at(schema, block.answer);
        memory.item_size = block.item_size;
        memory.items = block.items;
        memory.address = block.address;
        call->memory.push_back(memory);
    }
    return true;
}

bool read_call_returns(Bytes entry, Call *call) {
    EntryHead head;
    CallReturns returns;
    Cursor cursor(entry);
    if (!cursor.take(&head) || head.kind != EntryKind::call_returns || !cursor.take(&returns) ||
        returns.sequence != call->sequence || returns.changed > call->memory.size())
        return false;
    Bytes after[kMostBlocks] = {};
    for (size_t i = 0; i < call->memory.size(); ++i) after[i] = call->memory[i].before;
    for (size_t i = 0; i < returns.changed; ++i) {
        ChangedHead changed;
        Bytes bytes;
        if (!cursor.take(&changed) || !cursor.take_bytes(changed.size, &bytes)) return false;
        if (changed.block >= call->memory.size()) return false;
        after[changed.block] = bytes;
    }
    for (size_t i = 0; i < call->memory.size(); ++i) call->memory[i].after = after[i];
    call->result = returns.result;
    call->took = returns.took;
    call->returned = true;
    // The other layout is that of an answer; a call that failed leaves none.
    if (call->failed())
        for (Memory &memory : call->memory) memory.answer = memory.record;
    return true;
}

uint64_t sequence_of(Bytes entry) {
    static_assert(offsetof(CallBegins, sequence) == 0 && offsetof(CallReturns, sequence) == 0);
    const EntryHead head = head_of(entry);
    const bool of_a_call = head.kind == EntryKind::call_begins || head.kind == EntryKind::call_returns;
    if (!of_a_call || entry.size() < sizeof head + sizeof(uint64_t)) return 0;
    return read_fixed<uint64_t>(entry.data() + sizeof head);
}

}  // namespace trace
