// Reads traces: see reader.h.
#include "trace/reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "trace/file_writer.h"

namespace trace {
namespace {

// What only comes when every call before it has returned or never will.
bool ends_calls(EntryKind kind) {
    switch (kind) {
        case EntryKind::worker:
        case EntryKind::case_begins:
        case EntryKind::set_up_begins:
        case EntryKind::tear_down_begins:
            return true;
        default:
            return false;
    }
}

bool is_mark(EntryKind kind) {
    return kind >= EntryKind::worker && kind <= EntryKind::left_out;
}

}  // namespace

Reader::~Reader() {
    if (file_ != nullptr) fclose(file_);
}

bool Reader::damaged(const char *what) {
    problem_ = path_ + ": " + what + " after byte " + std::to_string(offset_);
    at_end_ = true;
    return false;
}

bool Reader::read(void *to, size_t size) {
    return fread(to, 1, size, file_) == size;
}

bool Reader::open(const std::string &path, std::string *error) {
    FILE *const file = fopen(path.c_str(), "rbe");
    if (file != nullptr) return open(file, path, error);
    *error = path + ": " + strerror(errno);
    return false;
}

bool Reader::open(FILE *file, const std::string &path, std::string *error) {
    path_ = path;
    file_ = file;
    setvbuf(file_, nullptr, _IOFBF, size_t{1} << 18);
    const FileHead wanted;
    FileHead head;
    if (!read(&head, sizeof head) || head.magic != wanted.magic || head.link_type != wanted.link_type) {
        *error = path + ": not a trace: it does not begin like one";
        return false;
    }
    offset_ = sizeof head;
    bool any = false;
    while (read_entry() && head_of(entry_).kind == EntryKind::schema) {
        if (!schema_.add(Bytes(entry_).subspan(sizeof(EntryHead)), error)) {
            *error = path + ": the schema in front of the calls, before byte " + std::to_string(offset_) +
                     ": " + *error;
            return false;
        }
        any = true;
    }
    kept_ = !at_end_;
    if (any) return true;
    *error = path + ": not a trace: there is no schema in front of the calls";
    return false;
}

bool Reader::read_entry() {
    if (kept_) {
        kept_ = false;
        return true;
    }
    if (at_end_) return false;
    PacketHead packet;
    const size_t got = fread(&packet, 1, sizeof packet, file_);
    if (got == 0) {
        at_end_ = true;
        return false;
    }
    if (got < sizeof packet) return damaged("cut off");
    if (packet.size < sizeof(EntryHead) || packet.size > FileHead::kLongestPacket) return damaged("damaged");
    entry_.resize(packet.size);
    if (!read(entry_.data(), packet.size)) return damaged("cut off");
    const Bytes whole = first_entry(entry_);
    if (whole.size() != entry_.size()) return damaged("damaged");
    offset_ += sizeof packet + packet.size;
    return true;
}

// The oldest call that has not returned.
bool Reader::unreturned(Event *event) {
    shown_ = std::move(pending_.front());
    pending_.pop_front();
    event->is_call = true;
    return read_call_begins(shown_.entry, schema_.schema(), &event->call);
}

bool Reader::take_entry(Event *event) {
    const EntryHead head = head_of(entry_);
    if (head.kind == EntryKind::call_begins) {
        Call call;
        if (!read_call_begins(entry_, schema_.schema(), &call))
            return damaged("a call that is none, before or");
        pending_.push_back({call.sequence, entry_});
        return pending_.size() > kMostPending && unreturned(event);
    }
    if (head.kind == EntryKind::call_returns) {
        const uint64_t sequence = sequence_of(entry_);
        const auto begun =
            std::ranges::find_if(pending_, [&](const Pending &one) { return one.sequence == sequence; });
        if (begun == pending_.end()) return false;  // its begin went with an earlier file
        shown_ = std::move(*begun);
        pending_.erase(begun);
        event->is_call = true;
        return read_call_begins(shown_.entry, schema_.schema(), &event->call) &&
               read_call_returns(entry_, &event->call);
    }
    event->is_call = false;
    return is_mark(head.kind) && read_mark(entry_, &event->mark);
}

bool Reader::next(Event *event) {
    while (true) {
        if (flushing_) {
            if (!pending_.empty()) {
                if (unreturned(event)) return true;
                continue;
            }
            flushing_ = false;
            if (at_end_) return false;
            if (take_entry(event)) return true;
            continue;
        }
        if (!read_entry()) {
            if (pending_.empty()) return false;
            flushing_ = true;
            continue;
        }
        if (ends_calls(head_of(entry_).kind) && !pending_.empty()) {
            flushing_ = true;
            continue;
        }
        if (take_entry(event)) return true;
    }
}

}  // namespace trace
