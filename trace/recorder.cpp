// Records calls: see recorder.h.
#include "trace/recorder.h"

#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "trace/readable.h"

namespace trace {
namespace {

constexpr int kPatience = 1000;  // looks at whether another thread is done
// Entries that are sent together, so that their buffers stay small.
constexpr size_t kSentTogether = CallRing::kHalf / 2;

int64_t clock_ns(clockid_t clock) {
    timespec time;
    clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// A child that a case forks has the memory of its parent's calls: what it does is not theirs.
void forked_child() {
    watch_calls(nullptr);
}

}  // namespace

struct Recorder::Shared {
    std::atomic<uint64_t> sequence, missed;
};

bool Recorder::create(const Surroundings &around, std::string *error) {
    around_ = around;
    in_file_.set();
    know_this_process();
    void *const memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        *error = std::string("no memory for what is recorded: ") + strerror(errno);
        return false;
    }
    shared_ = static_cast<Shared *>(memory);
    return ring_.create(error);
}

void Recorder::only_families(const std::vector<std::string> &families) {
    if (families.empty()) return;
    for (size_t i = 0; i < card::kOperationCount; ++i) {
        const std::string_view family = card::kOperations[i].family;
        in_file_[i] = std::find(families.begin(), families.end(), family) != families.end();
    }
}

void Recorder::tell_worker(int number, const Ended &before) {
    Mark mark;
    mark.kind = EntryKind::worker;
    mark.number = static_cast<uint64_t>(number);
    mark.status = static_cast<uint32_t>(before.signal);
    mark.condition = before.timed_out;
    tell(mark);
}

void Recorder::worker_begins(int number, const Ended &before) {
    static const int registered = pthread_atfork(nullptr, nullptr, forked_child);
    (void)registered;
    busy_.store(false);
    sequence_ = shared_->sequence.load();
    wall_ = clock_ns(CLOCK_REALTIME) - clock_ns(CLOCK_MONOTONIC);
    ring_.restart();
    if (file_.is_open()) {
        file_.take_over();
        tell_worker(number, before);
    }
    watch_calls(this);
}

void Recorder::worker_ends() {
    watch_calls(nullptr);
    if (file_.is_open()) file_.flush();
}

void Recorder::item_begins(EntryKind kind, std::string_view folder, std::string_view name) {
    busy_.store(false, std::memory_order_relaxed);  // of a call that a signal handler jumped out of
    under_way_ = 0;
    call_failed_ = false;
    ring_.restart();
    if (!file_.is_open()) return;
    Mark mark;
    mark.kind = kind;
    mark.texts[0] = folder;
    mark.texts[1] = name;
    tell(mark);
}

void Recorder::item_ended(EntryKind kind, std::string_view folder, std::string_view name, bool wanted) {
    if (wanted || sends_ != Sends::on_demand) send_all();
    if (!file_.is_open()) return;
    Mark mark;
    mark.kind = kind;
    mark.number = around_.checks();
    mark.texts[0] = folder;
    mark.texts[1] = name;
    tell(mark);
    file_.flush_sometimes(clock_ns(CLOCK_MONOTONIC));
}

void Recorder::tell(const Mark &mark) {
    if (!file_.is_open() || !enter()) return;
    Mark timed = mark;
    timed.time = clock_ns(CLOCK_MONOTONIC) + wall_;
    file_.append(timed);
    leave();
}

// False: this thread is in the middle of recording, or another one is and does not come to an end.
bool Recorder::enter() {
    for (int i = 0; busy_.exchange(true, std::memory_order_acquire); ++i) {
        if (i == kPatience) {
            shared_->missed.fetch_add(1);
            return false;
        }
        sched_yield();
    }
    return true;
}

void Recorder::send_all() {
    if (ring_.used() == 0) return;
    std::string entries;
    ring_.append_to(&entries);
    around_.send(entries);
    ring_.restart();
}

void Recorder::begins(card::OperationId operation, const uint64_t *arguments, Passing &passing) {
    if (!enter()) return;
    const int64_t now = clock_ns(CLOCK_MONOTONIC) + wall_;
    uint8_t *const at = ring_.reserve();
    passing.size = passing.capture.begins(operation, arguments, {++sequence_, around_.checks(), now}, at);
    shared_->sequence.store(sequence_, std::memory_order_relaxed);
    ring_.publish(passing.size);
    passing.entry = at;
    if (in_file_[static_cast<size_t>(operation)] && file_.is_open()) file_.append({at, passing.size});
    ++under_way_;
    leave();
}

void Recorder::returned(uint64_t result, Passing &passing) {
    if (passing.entry == nullptr || !enter()) return;
    const card::OperationId operation = passing.capture.operation();
    const int64_t took = clock_ns(CLOCK_MONOTONIC) + wall_ - passing.capture.began();
    uint8_t *const at = ring_.reserve();
    const size_t size = passing.capture.returns(result, took, passing.entry, at);
    ring_.publish(size);
    if (in_file_[static_cast<size_t>(operation)] && file_.is_open()) file_.append({at, size});
    if (result != 0 && card::row(operation).answers_status) call_failed_ = true;
    if (under_way_ > 0) --under_way_;
    const bool all =
        sends_ == Sends::every_call || (sends_ == Sends::every_case && ring_.used() > kSentTogether);
    if (all && under_way_ == 0) send_all();
    leave();
}

uint64_t Recorder::missed() const {
    return shared_ != nullptr ? shared_->missed.load() : 0;
}

}  // namespace trace
