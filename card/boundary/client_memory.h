// Whether memory that a client's record points at can be touched, so that a stray pointer is an invalid
// argument and not a crash. Asks the kernel, a page at a time; takes no signal handlers.
#ifndef CARD_BOUNDARY_CLIENT_MEMORY_H
#define CARD_BOUNDARY_CLIENT_MEMORY_H

#include <cstddef>
#include <cstdint>

namespace card {

// Lives for one call: a page found good is not asked about again.
class ClientMemory {
  public:
    // Whether `size` bytes can be read.
    bool readable(const void *start, size_t size);
    // Whether `size` bytes can be read and written; asking changes none.
    bool writable(void *start, size_t size);

  private:
    static constexpr uintptr_t kNoPage = 1;
    uintptr_t readable_page_ = kNoPage, writable_page_ = kNoPage;
};

}  // namespace card

#endif
