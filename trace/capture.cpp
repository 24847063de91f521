// Finds the memory that belongs to a call by its row and its record's layout: see capture.h.
#include "trace/capture.h"

#include <absl/container/flat_hash_map.h>

#include <algorithm>
#include <vector>

#include "card/records/registry.h"
#include "trace/readable.h"

namespace trace {
namespace {

constexpr size_t kLongestText = 256;
constexpr uint32_t kBatchCount = 2;  // the parameter of uidb_create_interface_batch

// What a pointer parameter leads to.
enum class Leads : uint8_t { bytes, record, batch, text, request, response };

struct Pointer {
    Leads to = Leads::bytes;
    uint8_t parameter = 0;
    uint32_t size = 0;
    const prm_record *record = nullptr, *answer = nullptr;
    bool has_buffers = false;
};

struct Plan {
    uint8_t arguments = 0;
    uint8_t count = 0;
    Pointer pointers[4];
    bool reads_back = false;
};

bool has_buffers(const prm_record &record) {
    return std::any_of(record.fields.begin(), record.fields.end(),
                       [](const prm_field &field) { return field.kind == PRM_FIELD_BUFFER; });
}

Pointer pointer_of(card::OperationId id, const card::Parameter &parameter) {
    Pointer pointer;
    const card::RecordLayout layout = card::record_layout(id);
    const card::HalLayout hal = card::hal_layout(id, 0);
    if (parameter.name == "record" && layout.before != nullptr) {
        pointer.to = id == card::OperationId::uidb_create_interface_batch ? Leads::batch : Leads::record;
        pointer.record = layout.before;
        pointer.answer = layout.after;
        pointer.size = layout.before->size;
        pointer.has_buffers = has_buffers(*layout.before);
    } else if (card::row(id).family == "traffic_manager") {
        pointer.to = parameter.direction == card::Direction::IN ? Leads::request : Leads::response;
        (void)hal;
    } else if (parameter.type == "const char *") {
        pointer.to = Leads::text;
    } else if (parameter.type == "prm_handle_t *") {
        pointer.size = sizeof(prm_handle_t);
    } else {
        pointer.size = sizeof(u32);  // a number, or the card type that a buffer is for
    }
    return pointer;
}

const std::vector<Plan> &plans() {
    static const auto *const all = [] {
        auto *const list = new std::vector<Plan>(card::kOperationCount);
        for (size_t i = 0; i < list->size(); ++i) {
            const auto id = static_cast<card::OperationId>(i);
            const card::OperationRow &row = card::row(id);
            Plan &plan = (*list)[i];
            plan.arguments = static_cast<uint8_t>(row.parameters.size());
            plan.reads_back = card::reads_back(id);
            for (size_t p = 0; p < row.parameters.size(); ++p) {
                if (row.parameters[p].direction == card::Direction::NONE) continue;
                Pointer pointer = pointer_of(id, row.parameters[p]);
                pointer.parameter = static_cast<uint8_t>(p);
                plan.pointers[plan.count++] = pointer;
            }
        }
        return list;
    }();
    return *all;
}

uint16_t place_of(const prm_record *record) {
    static const auto *const places = [] {
        auto *const map = new absl::flat_hash_map<const prm_record *, uint16_t>;
        for (const prm_record *const one : card::all_records())
            map->emplace(one, static_cast<uint16_t>(map->size()));
        return map;
    }();
    if (record == nullptr) return BlockHead::kNoRecord;
    const auto found = places->find(record);
    return found != places->end() ? found->second : BlockHead::kNoRecord;
}

const void *pointer_to(uint64_t address) {
    return reinterpret_cast<const void *>(address);  // NOLINT(performance-no-int-to-ptr)
}

// What a block is, besides its bytes.
struct What {
    uint8_t parameter = 0;
    uint16_t field = Memory::kWhole;
    const prm_record *record = nullptr, *answer = nullptr;
    uint64_t item_size = 0, items = 1;
};

}  // namespace

class Capture::Writer {
  public:
    Writer(Capture &capture, const Plan &plan, const uint64_t *arguments, uint8_t *entry)
        : capture_(capture),
          plan_(plan),
          arguments_(arguments),
          entry_(entry),
          at_(sizeof(EntryHead) + sizeof(CallBegins) + plan.arguments * sizeof(uint64_t)) {}

    size_t size() const { return at_; }

    void pointer(const Pointer &pointer) {
        const uint64_t address = arguments_[pointer.parameter];
        if (address == 0) return;
        What what{pointer.parameter, Memory::kWhole, pointer.record, pointer.answer, pointer.size, 1};
        switch (pointer.to) {
            case Leads::bytes:
                block(what, address, pointer.size, false);
                break;
            case Leads::record:
                if (block(what, address, size_of_record(pointer, address), false) && pointer.has_buffers)
                    buffers(pointer, address);
                break;
            case Leads::batch:
                what.items = static_cast<uint32_t>(arguments_[kBatchCount]);
                block(what, address, what.items * what.item_size, false);
                break;
            case Leads::text:
                text(what, address);
                break;
            case Leads::request:
            case Leads::response:
                hal(what, pointer.to);
                break;
        }
    }

  private:
    // With the items behind its head; the head alone where it claims more than there is.
    uint64_t size_of_record(const Pointer &pointer, uint64_t address) {
        if (pointer.record == nullptr || pointer.record->items.record == nullptr ||
            !readable_(address, pointer.size))
            return pointer.size;
        const card::Block head(static_cast<const u8 *>(pointer_to(address)), pointer.size);
        const uint64_t whole =
            card::size_with_items(*pointer.record, card::item_count(*pointer.record, head));
        return readable_(address, std::min<uint64_t>(whole, kMostMemory)) ? whole : pointer.size;
    }

    // False when the bytes are not all there.
    bool block(const What &what, uint64_t address, uint64_t size, bool cut) {
        if (capture_.count_ == kMostBlocks) return false;
        const uint64_t room = kMostMemory - std::min<uint64_t>(taken_, kMostMemory);
        const auto kept = static_cast<uint32_t>(std::min(size, room));
        const bool there = readable_(address, kept);
        const uint32_t bytes = there ? kept : 0;
        Block &block = capture_.blocks_[capture_.count_++];
        BlockHead head{};
        head.address = address;
        head.size = bytes;
        head.item_size = static_cast<uint32_t>(what.item_size);
        head.items = static_cast<uint32_t>(std::min<uint64_t>(what.items, UINT32_MAX));
        head.field = what.field;
        head.record = place_of(what.record);
        head.answer = place_of(what.answer);
        head.parameter = what.parameter;
        head.cut = cut || bytes < size;
        std::memcpy(entry_ + at_, &head, sizeof head);
        at_ += sizeof head;
        block = {address, bytes, static_cast<uint32_t>(at_)};
        const size_t whole = padded(bytes);
        if (bytes != 0) {
            std::memset(entry_ + at_ + whole - kEntryPad, 0, kEntryPad);
            std::memcpy(entry_ + at_, pointer_to(address), bytes);
        }
        at_ += whole;
        taken_ += whole;
        return head.cut == 0;
    }

    void text(What what, uint64_t address) {
        bool whole;
        const size_t length = readable_.text_length(address, kLongestText, &whole);
        what.item_size = length;
        block(what, address, length, !whole);
    }

    void buffers(const Pointer &pointer, uint64_t address) {
        const card::Block bytes(static_cast<const u8 *>(pointer_to(address)), pointer.size);
        const auto before = card::buffers(*pointer.record, bytes, false);
        const auto after = plan_.reads_back ? card::buffers(*pointer.record, bytes, true) : before;
        for (size_t i = 0; i < before.size(); ++i) {
            const card::Buffer &buffer = before[i];
            if (buffer.address == 0) continue;
            const What what{pointer.parameter, buffer.field->offset, buffer.record,
                            after[i].record,   buffer.item_size,     buffer.count};
            // A product of what any head may claim.
            const uint64_t size = buffer.count != 0 && buffer.item_size > kMostMemory ? kMostMemory + 1
                                  : buffer.count > kMostMemory                        ? kMostMemory + 1
                                                               : buffer.item_size * buffer.count;
            block(what, buffer.address, size, false);
        }
    }

    void hal(What what, Leads to) {
        const bool typed = capture_.operation_ == card::OperationId::wyk_hal_wrapper_engine_op;
        const auto type = typed ? static_cast<u32>(arguments_[0]) : 0;
        const bool counted = capture_.operation_ == card::OperationId::wyk_hal_wrapper_config_policy_in_tm;
        const auto policies = counted ? static_cast<u32>(arguments_[2]) : 0;
        const uint64_t request = arguments_[typed ? 1 : 0];
        const card::HalLayout layout = card::hal_layout(capture_.operation_, type);
        const bool head_there =
            request != 0 && layout.request != nullptr && readable_(request, layout.request->size);
        const card::HalSizes sizes =
            card::hal_sizes(capture_.operation_, type, policies, head_there ? pointer_to(request) : nullptr);
        const bool is_request = to == Leads::request;
        what.record = what.answer = is_request ? layout.request : layout.response;
        what.item_size = is_request ? sizes.request : sizes.response;
        block(what, arguments_[what.parameter], what.item_size, what.record == nullptr);
    }

    Capture &capture_;
    const Plan &plan_;
    const uint64_t *arguments_;
    uint8_t *entry_;
    size_t at_;
    uint64_t taken_ = 0;
    Readable readable_;
};

size_t Capture::begins(card::OperationId operation, const uint64_t *arguments, const CallFacts &facts,
                       uint8_t *at) {
    static const std::vector<Plan> &all = plans();
    const Plan &plan = all[static_cast<size_t>(operation)];
    operation_ = operation;
    facts_ = facts;
    count_ = 0;
    Writer writer(*this, plan, arguments, at);
    for (size_t i = 0; i < plan.count; ++i) writer.pointer(plan.pointers[i]);
    const EntryHead head{static_cast<uint32_t>(writer.size()), EntryKind::call_begins,
                         static_cast<uint16_t>(operation), facts.time};
    const CallBegins begins{facts.sequence, facts.checks, plan.arguments, count_};
    std::memcpy(at, &head, sizeof head);
    std::memcpy(at + sizeof head, &begins, sizeof begins);
    if (plan.arguments != 0)
        std::memcpy(at + sizeof head + sizeof begins, arguments, plan.arguments * sizeof *arguments);
    return writer.size();
}

size_t Capture::returns(uint64_t result, int64_t took, const uint8_t *before, uint8_t *at) {
    size_t end = sizeof(EntryHead) + sizeof(CallReturns);
    uint32_t changed = 0;
    Readable readable;
    for (uint32_t i = 0; i < count_; ++i) {
        const Block &block = blocks_[i];
        if (block.size == 0 || !readable(block.address, block.size)) continue;
        const void *const now = pointer_to(block.address);
        if (std::memcmp(before + block.at, now, block.size) == 0) continue;
        const ChangedHead head{i, block.size};
        std::memcpy(at + end, &head, sizeof head);
        end += sizeof head;
        const size_t whole = padded(block.size);
        std::memset(at + end + whole - kEntryPad, 0, kEntryPad);
        std::memcpy(at + end, now, block.size);
        end += whole;
        ++changed;
    }
    const EntryHead head{static_cast<uint32_t>(end), EntryKind::call_returns,
                         static_cast<uint16_t>(operation_), facts_.time + took};
    const CallReturns returns{facts_.sequence, took, result, changed, 0};
    std::memcpy(at, &head, sizeof head);
    std::memcpy(at + sizeof head, &returns, sizeof returns);
    return end;
}

}  // namespace trace
