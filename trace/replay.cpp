// Answers calls from a trace: see replay.h.
#include "trace/replay.h"

#include <fmt/core.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <new>

#include "card/boundary/client_memory.h"
#include "card/codes.h"
#include "card/records/decode.h"
#include "trace/capture.h"
#include "trace/readable.h"

namespace trace {
namespace {

void *pointer_to(uint64_t address) {
    return reinterpret_cast<void *>(address);  // NOLINT(performance-no-int-to-ptr)
}

bool has_changed(const Memory &memory) {
    return memory.after.data() != memory.before.data() && !std::ranges::equal(memory.after, memory.before);
}

// What a call left in a block, in terms of this run: `now` is what is there.
std::vector<uint8_t> left_in(const Call &recorded, const Memory &memory, bool whole, Bytes now,
                             const SameHandles &handles) {
    std::vector<uint8_t> left(now.begin(), now.end());
    const size_t size = std::min(left.size(), memory.after.size());
    for (size_t i = 0; i < size; ++i)
        if (whole || memory.after[i] != memory.before[i]) left[i] = memory.after[i];
    if (memory.answer == nullptr) return left;
    // Addresses stay those of this run, and handles are those that it has.
    const auto in_terms_of_this_run = [&](const card::FieldValue &value) {
        if (value.offset + value.bytes.size() > size) return;
        const auto at = left.begin() + static_cast<ptrdiff_t>(value.offset);
        if (value.field.kind == PRM_FIELD_BUFFER) {
            std::copy_n(now.begin() + static_cast<ptrdiff_t>(value.offset), value.bytes.size(), at);
            return;
        }
        const prm_handle_kind kind = kind_in(*recorded.operation, value.field.handle);
        if (handles.all_the_same() || !prm_handle_is_handed_out(kind) || value.bytes.size() > 8) return;
        const Bytes before = memory.before.subspan(value.offset, value.bytes.size());
        if (!whole && std::ranges::equal(before, value.bytes)) return;
        const uint64_t number = handles.of_this_run(kind, value.number());
        uint8_t bytes[8];
        std::memcpy(bytes, &number, sizeof bytes);
        if (value.field.order == PRM_NETWORK_ORDER) std::reverse(bytes, bytes + value.bytes.size());
        std::copy_n(bytes, value.bytes.size(), at);
    };
    if (memory.items > 1)
        card::decode_items(*memory.answer, memory.item_size, memory.items, memory.after, in_terms_of_this_run,
                           "");
    else
        card::decode(*memory.answer, memory.after, in_terms_of_this_run);
    return left;
}

}  // namespace

bool Replay::open(const std::string &path, Mode mode, const Surroundings &around, std::string *lacks,
                  std::string *error) {
    mode_ = mode;
    around_ = around;
    know_this_process();
    void *const memory =
        mmap(nullptr, sizeof *position_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        *error = std::string("no memory to share with the workers: ") + strerror(errno);
        return false;
    }
    position_ = new (memory) std::atomic<uint64_t>(0);
    entry_.resize(kLargestEntry);
    return file_.open(path, mode == Mode::LENIENT, lacks, error);
}

void Replay::worker_begins() {
    handles_.clear();
    item_begins(EntryKind::worker, "", "");
}

void Replay::item_begins(EntryKind kind, std::string_view folder, std::string_view name) {
    calls_ = told_ = 0;
    next_ = 0;
    item_ = nullptr;
    places_.clear();
    const uint64_t last = position_->load();
    const size_t found = file_.find(kind, folder, name, last == 0 ? ReplayFile::kNone : last - 1);
    if (found == ReplayFile::kNone) {
        if (kind == EntryKind::case_begins) differ("the trace does not have this case");
        return;
    }
    // A worker begins where a case of its own does: it does not move on.
    if (kind != EntryKind::worker) position_->store(found + 1);
    item_ = &file_.items()[found];
    if (!file_.load(*item_, &places_)) differ("the trace has been changed since the run began");
    used_.assign(places_.size(), false);
}

void Replay::item_ended() {
    if (mode_ == Mode::STRICT && item_ != nullptr) {
        if (next_ < places_.size()) not_made(next_, places_.size() - next_);
        const uint64_t checks = around_.checks();
        if (item_->ended && item_->checks != checks)
            differ(fmt::format("checks: {}, trace {}", checks, item_->checks));
    }
    item_ = nullptr;
    places_.clear();
    next_ = 0;
}

void Replay::differ(std::string text, uint64_t count) {
    if (told_++ >= kTold) text.clear();
    around_.differs(text, count);
}

bool Replay::read(size_t place, Call *recorded) {
    return file_.read(places_[place], recorded);
}

std::string Replay::title(const Call &live) const {
    return fmt::format("call {}: {}", calls_, live.operation->row.name);
}

void Replay::not_made(size_t from, size_t count) {
    Call call;
    if (!read(from, &call)) return differ("the trace has been changed since the run began");
    differ(fmt::format("call {} of the trace is missing: {}", from + 1, call.operation->row.name));
    if (count > 1) differ(fmt::format("and {} more behind it", count - 1), count - 1);
}

// The recorded call at that place, when it asks what `live` does.
bool Replay::is_like(size_t place, const Call &live, Call *recorded) {
    return !used_[place] &&
           &this_build().operations[static_cast<size_t>(places_[place].operation)] == live.operation &&
           read(place, recorded) && asks_the_same(live, *recorded, &handles_, nullptr);
}

bool Replay::pick_strictly(const Call &live, Call *recorded) {
    if (next_ >= places_.size()) {
        differ(places_.empty() ? fmt::format("{}: the trace has no calls here", title(live))
                               : fmt::format("{}: beyond the last of the trace's {} calls here", title(live),
                                             places_.size()));
        return false;
    }
    if (!read(next_, recorded)) {
        differ(title(live) + ": the trace has been changed since the run began");
        return false;
    }
    if (recorded->operation != live.operation) {
        const std::string_view there = recorded->operation->row.name;
        const size_t end = std::min(places_.size(), next_ + kLookedAhead);
        for (size_t place = next_ + 1; place < end; ++place) {
            if (static_cast<size_t>(places_[place].operation) >= card::kOperationCount ||
                !is_like(place, live, recorded))
                continue;
            not_made(next_, place - next_);
            next_ = place + 1;
            return read(place, recorded);
        }
        differ(fmt::format("{}: the trace has {} here", title(live), there));
        return false;
    }
    ++next_;
    std::vector<std::string> differences;
    asks_the_same(live, *recorded, &handles_, &differences);
    for (const std::string &difference : differences) differ(title(live) + ": " + difference);
    return true;
}

bool Replay::pick_nearest(const Call &live, Call *recorded) {
    constexpr size_t kNone = ReplayFile::kNone;
    size_t like = kNone, unused = kNone, used = kNone, looked_at = 0;
    const auto look_at = [&](size_t place) {
        if (static_cast<size_t>(places_[place].operation) >= card::kOperationCount ||
            card::row(places_[place].operation).name != live.operation->row.name)
            return;
        size_t &found = used_[place] ? used : unused;
        if (found == kNone) found = place;
        if (++looked_at <= kLookedAhead && is_like(place, live, recorded)) like = place;
    };
    for (size_t place = next_; place < places_.size() && like == kNone; ++place) {
        if (looked_at > kLookedAhead && unused != kNone) break;
        look_at(place);
    }
    for (size_t place = next_; place > 0 && like == kNone; --place) {
        if (looked_at > 2 * kLookedAhead && (unused != kNone || used != kNone)) break;
        look_at(place - 1);
    }
    const size_t chosen = like != kNone ? like : unused != kNone ? unused : used;
    if (chosen == kNone) {
        differ(title(live) + ": the trace has no such call here");
        return false;
    }
    if (!read(chosen, recorded)) {
        differ(title(live) + ": the trace has been changed since the run began");
        return false;
    }
    used_[chosen] = true;
    next_ = chosen + 1;
    std::vector<std::string> ignored;
    asks_the_same(live, *recorded, &handles_, &ignored);  // binds handles
    return true;
}

uint64_t Replay::answer(card::OperationId operation, const uint64_t *words) {
    const std::lock_guard<std::mutex> one_at_a_time(mutex_);
    ++calls_;
    Capture capture;
    const size_t size = capture.begins(operation, words, {calls_, 0, 0}, entry_.data());
    Call live, recorded;
    if (!read_call_begins({entry_.data(), size}, this_build(), &live)) return CARD_ERROR_NOT_IN_TRACE;
    const bool picked =
        mode_ == Mode::STRICT ? pick_strictly(live, &recorded) : pick_nearest(live, &recorded);
    if (!picked) return unanswered(live);
    if (!recorded.returned) {
        if (!around_.never_returned) end_worker();
        around_.never_returned();
        return unanswered(live);
    }
    leave_memory(recorded, &live);
    live.result = recorded.result;
    live.returned = true;
    if (recorded.failed())
        for (Memory &memory : live.memory) memory.answer = memory.record;
    const prm_handle_kind kind = live.operation->result;
    if (prm_handle_is_handed_out(kind)) live.result = handles_.of_this_run(kind, recorded.result);
    handles_.learn(live);
    return live.result;
}

uint64_t Replay::unanswered(const Call &live) const {
    return live.operation->row.answers_status ? uint64_t{CARD_ERROR_NOT_IN_TRACE} : 0;
}

void Replay::leave_memory(const Call &recorded, Call *live) {
    for (Memory &memory : live->memory) {
        memory.after = memory.before;
        const Memory *const other = same_block(recorded, memory);
        if (other == nullptr || memory.before.empty()) continue;
        const bool is_out =
            live->operation->row.parameters[memory.parameter].direction == card::Direction::OUT;
        if (!has_changed(*other) && (!is_out || recorded.failed())) continue;
        const std::vector<uint8_t> left = left_in(recorded, *other, is_out, memory.before, handles_);
        const Bytes there(static_cast<const uint8_t *>(pointer_to(memory.address)), memory.before.size());
        if (std::ranges::equal(left, there)) {
            memory.after = there;
            continue;
        }
        card::ClientMemory asked;
        if (!asked.writable(pointer_to(memory.address), left.size())) {
            differ(fmt::format("{}: {}: cannot be written, in the trace it was", title(*live),
                               live->operation->row.parameters[memory.parameter].name));
            continue;
        }
        std::memcpy(pointer_to(memory.address), left.data(), left.size());
        memory.after = there;
    }
}

// As it ended when this call was recorded.
void Replay::end_worker() const {
    if (item_ != nullptr && item_->timed_out)
        while (true) pause();
    const int number = item_ != nullptr && item_->signal != 0 ? item_->signal : SIGKILL;
    signal(number, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, number);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    raise(number);
    raise(SIGKILL);
    _exit(1);
}

const char *Replay::status_text(uint32_t status) const {
    const char *const told = file_.status_text(status);
    return told != nullptr ? told : card::code_text(status);
}

}  // namespace trace
