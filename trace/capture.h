// One call on its way: writes its two entries, with the memory that it was handed before and after.
#ifndef TRACE_CAPTURE_H
#define TRACE_CAPTURE_H

#include "trace/entry.h"

namespace trace {

// What stands in an entry besides arguments and memory.
struct CallFacts {
    uint64_t sequence;
    uint64_t checks;
    int64_t time;  // of the wall clock
};

// Lives on the stack of the caller while its call runs. `at` has room for kLargestEntry; sizes are returned.
class Capture {
  public:
    size_t begins(card::OperationId operation, const uint64_t *arguments, const CallFacts &facts,
                  uint8_t *at);
    // `before`: the entry that begins() wrote, wherever it is by now.
    size_t returns(uint64_t result, int64_t took, const uint8_t *before, uint8_t *at);

    uint64_t sequence() const { return facts_.sequence; }
    card::OperationId operation() const { return operation_; }
    int64_t began() const { return facts_.time; }

  private:
    struct Block {
        uint64_t address;
        uint32_t size;
        uint32_t at;  // of its bytes in the entry
    };
    class Writer;

    CallFacts facts_;
    card::OperationId operation_;
    uint32_t count_ = 0;
    Block blocks_[kMostBlocks];
};

}  // namespace trace

#endif
