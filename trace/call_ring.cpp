// Keeps the last entries: see call_ring.h.
#include "trace/call_ring.h"

#include <sys/mman.h>

#include <cerrno>
#include <new>

namespace trace {

struct CallRing::Shared {
    std::atomic<uint32_t> half;
    std::atomic<uint64_t> used[2];
    std::atomic<uint64_t> left_out;
    alignas(64) uint8_t bytes[2][kHalf];
};

namespace {

uint64_t calls_in(Bytes bytes) {
    uint64_t calls = 0;
    for (Bytes entry; !(entry = first_entry(bytes)).empty(); bytes = bytes.subspan(entry.size()))
        if (head_of(entry).kind == EntryKind::call_begins) ++calls;
    return calls;
}

void append_entries(Bytes bytes, std::string *out) {
    for (Bytes entry; !(entry = first_entry(bytes)).empty(); bytes = bytes.subspan(entry.size()))
        out->append(reinterpret_cast<const char *>(entry.data()), entry.size());
}

}  // namespace

CallRing::~CallRing() {
    if (shared_ != nullptr) munmap(shared_, sizeof *shared_);
}

bool CallRing::create(std::string *error) {
    if (shared_ != nullptr) return true;
    void *const memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        *error = std::string("no memory for the last calls: ") + strerror(errno);
        return false;
    }
    shared_ = static_cast<Shared *>(memory);
    return true;
}

uint8_t *CallRing::reserve() {
    if (used_[half_] + kLargestEntry > kHalf) {
        half_ = 1 - half_;
        left_out_ += calls_in({shared_->bytes[half_], used_[half_]});
        used_[half_] = 0;
        shared_->left_out.store(left_out_, std::memory_order_relaxed);
        shared_->used[half_].store(0, std::memory_order_relaxed);
        shared_->half.store(half_, std::memory_order_relaxed);
    }
    return shared_->bytes[half_] + used_[half_];
}

void CallRing::publish(size_t size) {
    used_[half_] += size;
    shared_->used[half_].store(used_[half_], std::memory_order_release);
}

void CallRing::restart() {
    half_ = 0;
    used_[0] = used_[1] = 0;
    left_out_ = 0;
    shared_->half.store(0, std::memory_order_relaxed);
    shared_->used[0].store(0, std::memory_order_relaxed);
    shared_->used[1].store(0, std::memory_order_relaxed);
    shared_->left_out.store(0, std::memory_order_relaxed);
}

void CallRing::append_to(std::string *out) const {
    if (shared_ == nullptr) return;
    const uint32_t last = shared_->half.load(std::memory_order_acquire);
    const uint64_t left_out = shared_->left_out.load(std::memory_order_relaxed);
    if (last > 1) return;  // written over
    if (left_out != 0) {
        Mark mark;
        mark.kind = EntryKind::left_out;
        mark.number = left_out;
        std::string entry(mark_size(mark), '\0');
        write_mark(mark, reinterpret_cast<uint8_t *>(entry.data()));
        *out += entry;
    }
    for (const uint32_t half : {1 - last, last}) {
        const uint64_t used = shared_->used[half].load(std::memory_order_acquire);
        if (used <= kHalf) append_entries({shared_->bytes[half], used}, out);
    }
}

}  // namespace trace
