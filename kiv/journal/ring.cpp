// A byte ring in shared memory between two processes.
#include "kiv/journal/ring.h"

#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

namespace kiv {

namespace {

void futex_wait(std::atomic<uint32_t> &word, uint32_t while_value, int64_t nanoseconds) {
    const timespec time{nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
    syscall(SYS_futex, &word, FUTEX_WAIT, while_value, &time, nullptr, 0);
}

void futex_wake(std::atomic<uint32_t> &word) {
    syscall(SYS_futex, &word, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

}  // namespace

Ring::~Ring() {
    if (control_) munmap(control_, sizeof(RingControl));
    if (data_) munmap(data_, 2 * kSize);
}

bool Ring::create(std::string *error) {
    void *control =
        mmap(nullptr, sizeof(RingControl), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    void *both = mmap(nullptr, 2 * kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (control == MAP_FAILED || both == MAP_FAILED) {
        *error = std::string("no memory for the run's journal: ") + strerror(errno);
        return false;
    }
    control_ = new (control) RingControl{};
    data_ = static_cast<char *>(both);
    // A shared mapping, and a second one of the same pages right behind it.
    void *first = mmap(data_, kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
    void *second = first == MAP_FAILED
                       ? MAP_FAILED
                       : mremap(data_, 0, kSize, MREMAP_MAYMOVE | MREMAP_FIXED, data_ + kSize);
    if (second == MAP_FAILED) {
        *error = std::string("cannot map the run's journal: ") + strerror(errno);
        return false;
    }
    return true;
}

void Ring::reset() {
    control_->head = control_->tail = 0;
    control_->reader_waits = control_->writer_waits = 0;
    control_->worker.counters = {};
    control_->answered = 0;
    written_ = known_tail_ = read_ = answers_ = 0;
}

void Ring::become_writer() {
    madvise(data_, 2 * kSize, MADV_DONTFORK);
}

char *Ring::reserve(size_t size) {
    while (written_ + size - known_tail_ > kSize) {
        known_tail_ = control_->tail.load(std::memory_order_acquire);
        if (written_ + size - known_tail_ <= kSize) break;
        control_->writer_waits.store(1);
        known_tail_ = control_->tail.load();
        if (written_ + size - known_tail_ > kSize) futex_wait(control_->writer_waits, 1, 100'000'000);
    }
    return data_ + written_ % kSize;
}

void Ring::publish(size_t size) {
    written_ += size;
    control_->head.store(written_);  // before the look at the reader: one of the two sees the other
    if (control_->reader_waits.load() != 0) {
        control_->reader_waits.store(0);
        futex_wake(control_->reader_waits);
    }
}

const char *Ring::readable(size_t *size) {
    *size = control_->head.load(std::memory_order_acquire) - read_;
    return data_ + read_ % kSize;
}

void Ring::consume(size_t size) {
    read_ += size;
    control_->tail.store(read_);
    // A waiting writer is woken when there is room for more than a few records.
    if (control_->writer_waits.load() != 0 &&
        control_->head.load(std::memory_order_acquire) - read_ <= kSize / 2) {
        control_->writer_waits.store(0);
        futex_wake(control_->writer_waits);
    }
}

bool Ring::is_intact() const {
    return control_->tail.load(std::memory_order_relaxed) == read_ &&
           control_->head.load(std::memory_order_acquire) - read_ <= kSize;
}

void Ring::answer(bool yes) {
    control_->answer.store(yes);
    control_->answered.store(++answers_);
}

void Ring::wait_readable(int64_t nanoseconds) {
    control_->reader_waits.store(1);
    if (control_->head.load() == read_) futex_wait(control_->reader_waits, 1, nanoseconds);
    control_->reader_waits.store(0);
}

void Ring::interrupt() {
    // The wait compares with 1: it does not begin any more, and one that goes on is interrupted by the signal
    // itself.
    control_->reader_waits.store(0);
}

}  // namespace kiv
