// Whether memory that a client's record points at can be touched, so that a stray pointer is an invalid
// argument and not a crash. Asks the kernel, a page at a time; takes no signal handlers.
#ifndef CARD_SIM_CLIENT_MEMORY_H
#define CARD_SIM_CLIENT_MEMORY_H

#include <cstddef>
#include <cstdint>

namespace sim {

// Lives for one call: a page found good is not asked about again.
class ClientMemory {
  public:
    // Whether `size` bytes can be read.
    bool readable(const void *start, size_t size);
    // Whether `size` bytes, at least 8, can be written; they may be rewritten with what they hold.
    bool writable(void *start, size_t size);

  private:
    uintptr_t good_page_ = 0;
};

}  // namespace sim

#endif
