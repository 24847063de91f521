// A byte ring in shared memory between two processes: one writes records, the other reads them. System calls
// only when one side waits for the other.
#ifndef KIV_JOURNAL_RING_H
#define KIV_JOURNAL_RING_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "kiv/journal/journal.h"

namespace kiv {

// What both processes see besides the records.
struct RingControl {
    alignas(64) std::atomic<uint64_t> head;  // bytes written since the begin
    alignas(64) std::atomic<uint64_t> tail;  // bytes read
    alignas(64) std::atomic<uint32_t> reader_waits;
    std::atomic<uint32_t> writer_waits;
    alignas(64) WorkerMemory worker;
    std::atomic<uint64_t> answered;  // --fail-fast: questions answered
    std::atomic<uint32_t> answer;    // the last answer: 1 goes on
};

class Ring {
  public:
    static constexpr size_t kSize = 1 << 20;

    ~Ring();
    // Maps the memory. False, with *error set.
    bool create(std::string *error);
    // Forgets what was written. While nobody writes.
    void reset();
    // The calling process writes; a child it forks does not have the records.
    void become_writer();

    RingControl &control() { return *control_; }

    // Writer: room for a record of `size` bytes, at most kSize / 4; waits for the reader.
    // Then publish().
    char *reserve(size_t size);
    void publish(size_t size);

    // Reader: the bytes that can be read now; consume() gives room back.
    const char *readable(size_t *size);
    void consume(size_t size);
    // What only the reader changes is as it left it, and no more was written than there is room for.
    bool is_intact() const;
    // Answers the writer's next question.
    void answer(bool yes);
    // Waits until there is something to read, until interrupt() or for the given time.
    void wait_readable(int64_t nanoseconds);
    // From a signal handler: the next or present wait ends.
    void interrupt();

  private:
    RingControl *control_ = nullptr;
    char *data_ = nullptr;  // kSize bytes, mapped twice in a row: records are never cut
    uint64_t written_ = 0, known_tail_ = 0;
    uint64_t read_ = 0;
    uint64_t answers_ = 0;
};

}  // namespace kiv

#endif
