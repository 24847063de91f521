// Asks the kernel about a page by calls that make no sense otherwise: it looks at their memory first.
#include "card/boundary/client_memory.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace card {
namespace {

constexpr uintptr_t kPage = 4096;  // the smallest; larger pages are asked about more than once
constexpr uintptr_t kAsked = 8;  // where in a page; at its start, the first page would be asked about as null

// A change of the signal mask that makes no sense: the kernel reads the new mask before it says so.
bool kernel_reads(uintptr_t address) {
    constexpr int kNoSuchChange = -1;
    constexpr size_t kMaskBytes = 8;
    return syscall(SYS_rt_sigprocmask, kNoSuchChange, address, nullptr, kMaskBytes) == 0 || errno != EFAULT;
}

// The kernel adds 0 to the word, atomically, and then wakes whoever waits on it: nobody.
bool kernel_writes(uintptr_t address) {
    constexpr int kAddZero = FUTEX_OP(FUTEX_OP_ADD, 0, FUTEX_OP_CMP_EQ, 0);
    return syscall(SYS_futex, address, FUTEX_WAKE_OP | FUTEX_PRIVATE_FLAG, 0, nullptr, address, kAddZero) >=
               0 ||
           errno != EFAULT;
}

bool every_page(const void *start, size_t size, uintptr_t *good_page, bool (*asked)(uintptr_t)) {
    const auto first = reinterpret_cast<uintptr_t>(start);
    if (start == nullptr || first + size < first) return false;
    const int saved = errno;
    bool good = true;
    for (uintptr_t page = first & ~(kPage - 1); good && page < first + size; page += kPage) {
        if (page == *good_page) continue;
        good = asked(page + kAsked);
        if (good) *good_page = page;
    }
    errno = saved;
    return good;
}

}  // namespace

bool ClientMemory::readable(const void *start, size_t size) {
    return every_page(start, size, &readable_page_, kernel_reads);
}

bool ClientMemory::writable(void *start, size_t size) {
    return every_page(start, size, &writable_page_, kernel_writes);
}

}  // namespace card
