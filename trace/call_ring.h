// The last entries of a worker, in memory that outlives it.
#ifndef TRACE_CALL_RING_H
#define TRACE_CALL_RING_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "trace/entry.h"

namespace trace {

// Two halves: when one is full the other one is begun anew, so at least half of the room tells what was last.
class CallRing {
  public:
    static constexpr size_t kHalf = size_t{256} * 1024;

    CallRing() = default;
    ~CallRing();
    CallRing(const CallRing &) = delete;
    CallRing &operator=(const CallRing &) = delete;

    // Maps the memory. False, with *error set.
    bool create(std::string *error);

    // The writer. Room for an entry of up to kLargestEntry bytes, then publish() with its size.
    uint8_t *reserve();
    void publish(size_t size);
    // Forgets what it holds.
    void restart();
    size_t used() const { return used_[0] + used_[1]; }

    // Appends the entries that are there, oldest first, to `out`; behind one that says how many calls were
    // left out, if any were. By the writer, or by another process when the writer is gone: what cannot be an
    // entry ends it.
    void append_to(std::string *out) const;

  private:
    struct Shared;
    Shared *shared_ = nullptr;
    // The writer's own: a case that writes over the shared memory cannot lead it astray.
    uint32_t half_ = 0;
    size_t used_[2] = {};
    uint64_t left_out_ = 0;
};

}  // namespace trace

#endif
