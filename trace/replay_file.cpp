// Checks and reads a trace for a replay: see replay_file.h.
#include "trace/replay_file.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>

#include "card/records/registry.h"
#include "trace/file_writer.h"

namespace trace {
namespace {

constexpr size_t kWindow = size_t{512} * 1024;
constexpr size_t kMostPending = 64;
constexpr int kUnknown = -1;  // an operation that this build does not have
// Out of the way of the suite's own descriptors.
constexpr int kLowestDescriptor = 64;

bool begins_an_item(EntryKind kind) {
    return kind == EntryKind::worker || kind == EntryKind::case_begins || kind == EntryKind::set_up_begins ||
           kind == EntryKind::tear_down_begins;
}

std::string key_of(EntryKind kind, std::string_view folder, std::string_view name) {
    std::string key(1, static_cast<char>(kind));
    return key.append(folder).append(1, '\0').append(name);
}

bool same_parameters(const card::OperationRow &one, const card::OperationRow &other) {
    return std::ranges::equal(one.parameters, other.parameters,
                              [](const card::Parameter &a, const card::Parameter &b) {
                                  return a.type == b.type && a.direction == b.direction;
                              }) &&
           one.answers_status == other.answers_status;
}

}  // namespace

struct ReplayFile::Scan {
    struct Pending {
        uint64_t sequence;
        std::vector<uint8_t> entry;
    };
    uint64_t offset = sizeof(FileHead);  // of the packet behind the last one
    uint64_t calls = 0, last_sequence = 0;
    std::deque<Pending> pending;
    std::vector<bool> looked_at;  // operations
};

ReplayFile::~ReplayFile() {
    if (fd_ >= 0) close(fd_);
}

bool ReplayFile::open(const std::string &path, bool partly, std::string *lacks, std::string *error) {
    path_ = path;
    const int opened = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status;
    if (opened < 0 || fstat(opened, &status) != 0) {
        *error = path + ": " + strerror(errno);
        if (opened >= 0) close(opened);
        return false;
    }
    fd_ = fcntl(opened, F_DUPFD_CLOEXEC, kLowestDescriptor);
    close(opened);
    if (fd_ < 0 || !S_ISREG(status.st_mode)) {
        *error = path + ": not a regular file";
        return false;
    }
    size_ = static_cast<uint64_t>(status.st_size);
    const int for_schema = fcntl(fd_, F_DUPFD_CLOEXEC, kLowestDescriptor);
    FILE *const file = for_schema >= 0 ? fdopen(for_schema, "rb") : nullptr;
    if (file == nullptr) {
        *error = path + ": " + strerror(errno);
        return false;
    }
    std::string why;
    if (!schema_.open(file, path, &why)) {
        *error = why;
        return false;
    }
    for (const Operation &operation : schema_.schema().operations) {
        const Operation *const ours = this_build().operation(operation.row.name);
        operations_.push_back(ours == nullptr ? kUnknown
                                              : static_cast<int>(ours - this_build().operations.data()));
    }
    for (const prm_record *const record : schema_.schema().records)
        if (record != nullptr) records_.emplace(record, card::find_record(record->name));
    return scan(lacks, error, partly);
}

// The entry of the packet there. Empty at the end of the file, and with *problem set when it is not whole.
Bytes ReplayFile::packet_at(uint64_t offset, const char **problem) {
    *problem = nullptr;
    const auto have = [&](size_t size) {
        if (offset >= window_at_ && offset + size <= window_at_ + window_.size()) return true;
        if (offset + size > size_) return false;
        window_.resize(std::max(kWindow, size));
        window_at_ = offset;
        size_t got = 0;
        while (got < window_.size()) {
            const ssize_t more =
                pread(fd_, window_.data() + got, window_.size() - got, static_cast<off_t>(offset + got));
            if (more < 0 && errno == EINTR) continue;
            if (more <= 0) break;
            got += static_cast<size_t>(more);
        }
        window_.resize(got);
        return size <= got;
    };
    if (offset >= size_) return {};
    if (!have(sizeof(PacketHead))) {
        *problem = "cut off";
        return {};
    }
    const auto head = read_fixed<PacketHead>(window_.data() + (offset - window_at_));
    if (head.size < sizeof(EntryHead) || head.size > FileHead::kLongestPacket) {
        *problem = "damaged";
        return {};
    }
    if (!have(sizeof head + head.size)) {
        *problem = "cut off";
        return {};
    }
    const Bytes packet(window_.data() + (offset - window_at_) + sizeof head, head.size);
    const Bytes entry = first_entry(packet);
    if (entry.size() == packet.size()) return entry;
    *problem = "damaged";
    return {};
}

bool ReplayFile::scan(std::string *lacks, std::string *error, bool partly) {
    Scan scan;
    scan.looked_at.resize(operations_.size());
    Item first;
    first.begins = scan.offset;
    items_.push_back(first);  // what stands before the first worker: nothing, of a whole file
    while (true) {
        const char *problem = nullptr;
        const uint64_t at = scan.offset;
        const Bytes entry = packet_at(at, &problem);
        if (problem != nullptr) {
            *lacks = fmt::format("{}: {} after byte {}", path_, problem, at);
            if (partly) break;
            *error = *lacks;
            return false;
        }
        if (entry.empty()) break;
        scan.offset += sizeof(PacketHead) + entry.size();
        std::string what;
        if (take(entry, &scan, &what)) continue;
        *error = fmt::format("{}: {} after byte {}", path_, what, at);
        return false;
    }
    size_ = scan.offset;
    if (scan.calls < scan.last_sequence) {
        const uint64_t missing = scan.last_sequence - scan.calls;
        const std::string what =
            fmt::format("{}: {} not there: not all were recorded, or they stand in an earlier file", path_,
                        missing == 1 ? "1 call is" : fmt::format("{} calls are", missing));
        if (!partly) {
            *error = what;
            return false;
        }
        if (lacks->empty()) *lacks = what;
    }
    if (scan.calls == 0 && !partly) {
        *error = path_ + ": there is no call in it";
        return false;
    }
    return true;
}

bool ReplayFile::take(Bytes entry, Scan *scan, std::string *what) {
    const EntryHead head = head_of(entry);
    Call call;
    Mark mark;
    switch (head.kind) {
        case EntryKind::schema:
            return true;
        case EntryKind::call_begins:
            *what = "damaged: a call that is none,";
            if (!read_call_begins(entry, schema_.schema(), &call) || call.sequence == 0) return false;
            if (!scan->looked_at[head.operation] && !take_call(call, what)) return false;
            scan->looked_at[head.operation] = true;
            ++scan->calls;
            scan->last_sequence = std::max(scan->last_sequence, call.sequence);
            scan->pending.push_back({call.sequence, {entry.begin(), entry.end()}});
            if (scan->pending.size() > kMostPending) scan->pending.pop_front();
            return true;
        case EntryKind::call_returns: {
            const uint64_t sequence = sequence_of(entry);
            scan->last_sequence = std::max(scan->last_sequence, sequence);
            const auto begun = std::ranges::find(scan->pending, sequence, &Scan::Pending::sequence);
            if (begun == scan->pending.end()) return true;  // counted as missing
            *what = "damaged: a return that does not fit its call,";
            const bool fits = read_call_begins(begun->entry, schema_.schema(), &call) &&
                              read_call_returns(entry, &call) &&
                              std::ranges::all_of(call.memory, [](const Memory &memory) {
                                  return memory.after.size() == memory.before.size();
                              });
            scan->pending.erase(begun);
            return fits;
        }
        default:
            if (head.kind > EntryKind::left_out) return true;  // of a later build
            *what = "damaged: an entry that is none,";
            if (!read_mark(entry, &mark)) return false;
            take_mark(mark, scan->offset);
            return true;
    }
}

// Looked at once for each operation: whether this build hands over the same.
bool ReplayFile::take_call(const Call &call, std::string *what) {
    const auto place = static_cast<size_t>(call.operation - schema_.schema().operations.data());
    const card::OperationRow &recorded = call.operation->row;
    if (operations_[place] == kUnknown) return true;  // no call of this build is like it
    const auto id = static_cast<card::OperationId>(operations_[place]);
    if (!same_parameters(recorded, card::row(id))) {
        *what = fmt::format("{} takes other arguments in this build:", recorded.name);
        return false;
    }
    for (const Memory &memory : call.memory) {
        if (memory.record == nullptr) continue;
        const prm_record *const ours = records_.at(memory.record);
        if (ours != nullptr && ours->size == memory.record->size) continue;
        *what = fmt::format("{} has {} bytes there, {} in this build:", memory.record->name,
                            memory.record->size, ours == nullptr ? 0 : ours->size);
        return false;
    }
    return true;
}

void ReplayFile::take_mark(const Mark &mark, uint64_t next) {
    if (begins_an_item(mark.kind)) {
        // A worker's entry tells how the one before it ended.
        if (mark.kind == EntryKind::worker && mark.status != 0 && !items_.back().ended) {
            items_.back().signal = static_cast<uint8_t>(mark.status);
            items_.back().timed_out = mark.condition;
        }
        by_name_[key_of(mark.kind, mark.texts[0], mark.texts[1])].push_back(items_.size());
        Item item;
        item.kind = mark.kind;
        item.folder = mark.texts[0];
        item.name = mark.texts[1];
        item.begins = next;
        items_.push_back(std::move(item));
    } else if (mark.kind == EntryKind::case_ended || mark.kind == EntryKind::set_up_ended ||
               mark.kind == EntryKind::tear_down_ended) {
        items_.back().ended = true;
        items_.back().checks = mark.number;
    } else if (mark.kind == EntryKind::check && !mark.condition && !mark.texts[1].empty()) {
        texts_.try_emplace(mark.status, mark.texts[1]);
    }
}

size_t ReplayFile::find(EntryKind kind, std::string_view folder, std::string_view name, size_t last) const {
    const auto found = by_name_.find(key_of(kind, folder, name));
    if (found == by_name_.end()) return kNone;
    const std::vector<size_t> &all = found->second;
    const auto next = last == kNone ? all.begin() : std::ranges::upper_bound(all, last);
    return next != all.end() ? *next : all.front();
}

bool ReplayFile::load(const Item &item, std::vector<Place> *calls) {
    calls->clear();
    for (uint64_t offset = item.begins; offset < size_;) {
        const char *problem = nullptr;
        const Bytes entry = packet_at(offset, &problem);
        if (entry.empty()) return false;
        const EntryHead head = head_of(entry);
        if (begins_an_item(head.kind)) break;
        if (head.kind == EntryKind::call_begins) {
            const int id = head.operation < operations_.size() ? operations_[head.operation] : kUnknown;
            calls->push_back({offset, 0, sequence_of(entry),
                              id == kUnknown ? static_cast<card::OperationId>(card::kOperationCount)
                                             : static_cast<card::OperationId>(id)});
        } else if (head.kind == EntryKind::call_returns) {
            const uint64_t sequence = sequence_of(entry);
            size_t looked_at = 0;
            for (auto at = calls->rbegin(); at != calls->rend() && looked_at < kMostPending;
                 ++at, ++looked_at) {
                if (at->sequence != sequence) continue;
                at->returns = offset;
                break;
            }
        }
        offset += sizeof(PacketHead) + entry.size();
    }
    return true;
}

bool ReplayFile::read(const Place &place, Call *call) {
    const char *problem = nullptr;
    const auto take_entry = [&](uint64_t offset, std::vector<uint8_t> *into) {
        const Bytes entry = packet_at(offset, &problem);
        into->assign(entry.begin(), entry.end());
        return !entry.empty();
    };
    if (!take_entry(place.begins, &begins_) || !read_call_begins(begins_, schema_.schema(), call))
        return false;
    if (place.returns != 0 && (!take_entry(place.returns, &returns_) || !read_call_returns(returns_, call)))
        return false;
    const auto ours = [&](const prm_record *record) -> const prm_record * {
        const auto found = records_.find(record);
        return found != records_.end() ? found->second : nullptr;
    };
    for (Memory &memory : call->memory) {
        memory.record = ours(memory.record);
        memory.answer = ours(memory.answer);
        if (call->returned && memory.after.size() != memory.before.size()) return false;
    }
    if (static_cast<size_t>(place.operation) < card::kOperationCount)
        call->operation = &this_build().operations[static_cast<size_t>(place.operation)];
    return true;
}

const char *ReplayFile::status_text(uint32_t status) const {
    const auto found = texts_.find(status);
    return found != texts_.end() ? found->second.c_str() : nullptr;
}

}  // namespace trace
