// Whether memory can be read, decided without a system call for what nearly all records lie in: the stack,
// the heap, and the program's own data.
#ifndef TRACE_READABLE_H
#define TRACE_READABLE_H

#include <cstddef>
#include <cstdint>

#include "card/boundary/client_memory.h"

namespace trace {

// Finds out where stack, heap and data lie. Before readings in this process and in those forked from it;
// without it every block is asked about.
void know_this_process();

// Lives for one call, on the stack of the thread that makes it.
class Readable {
  public:
    bool operator()(uint64_t address, size_t size) {
        return is_known(address, size) || asked_.readable(reinterpret_cast<const void *>(address),
                                                          size);  // NOLINT(performance-no-int-to-ptr)
    }
    // Bytes of the text at the address, without its end, up to `most`; *whole: it ends there.
    size_t text_length(uint64_t address, size_t most, bool *whole);

  private:
    static bool is_known(uint64_t address, size_t size);

    card::ClientMemory asked_;
};

}  // namespace trace

#endif
