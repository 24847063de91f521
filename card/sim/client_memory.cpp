#include "client_memory.h"

#include <csignal>
#include <cstring>

#include <sys/syscall.h>
#include <unistd.h>
#include <cerrno>

namespace sim {
namespace {

constexpr uintptr_t kPage = 4096;  // the smallest; larger pages are asked about more than once
constexpr size_t kProbe = 8;       // bytes of a signal mask

// The kernel reads a new signal mask before it finds that the request makes no sense, and stores the old mask
// without changing anything when there is no new one.
bool kernel_reads(uintptr_t address) {
    const int saved = errno;
    constexpr int kNoSuchChange = -1;
    const long result = syscall(SYS_rt_sigprocmask, kNoSuchChange, address, nullptr, kProbe);
    const bool good = result == 0 || errno != EFAULT;
    errno = saved;
    return good;
}

bool kernel_writes(uintptr_t address) {
    unsigned char bytes[kProbe];
    memcpy(bytes, reinterpret_cast<void *>(address), kProbe);
    const int saved = errno;
    const bool good = syscall(SYS_rt_sigprocmask, SIG_BLOCK, nullptr, address, kProbe) == 0;
    errno = saved;
    if (good) memcpy(reinterpret_cast<void *>(address), bytes, kProbe);
    return good;
}

}  // namespace

bool ClientMemory::readable(const void *start, size_t size) {
    const auto first = reinterpret_cast<uintptr_t>(start);
    if (start == nullptr || first + size < first) return false;
    for (uintptr_t page = first & ~(kPage - 1); page < first + size; page += kPage) {
        if (page == good_page_) continue;
        if (!kernel_reads(page)) return false;
        good_page_ = page;
    }
    return true;
}

bool ClientMemory::writable(void *start, size_t size) {
    if (!ClientMemory{}.readable(start, size)) return false;
    // Eight bytes within the range for each page of it; those at its ends may reach over a page's border.
    const auto first = reinterpret_cast<uintptr_t>(start);
    const uintptr_t last = first + size - kProbe;
    for (uintptr_t page = first & ~(kPage - 1); page < first + size; page += kPage) {
        if (page == good_page_) continue;
        const uintptr_t at = page < first ? first : page > last ? last : page;
        if (!kernel_writes(at)) return false;
        if (at / kPage == (at + kProbe - 1) / kPage) good_page_ = page;
    }
    return true;
}

}  // namespace sim
