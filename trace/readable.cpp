// Knows the parts of the process that stay readable: see readable.h.
#include "trace/readable.h"

#include <link.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace trace {
namespace {

constexpr uint64_t kPage = 4096;

struct Range {
    uint64_t begin = 0, end = 0;

    bool has(uint64_t address, uint64_t size) const {
        return address >= begin && address < end && size <= end - address;
    }
};

// What of this program is mapped as long as it runs.
constexpr size_t kMostSegments = 8;
Range segments[kMostSegments];
uint64_t heap_begin = 0;  // 0: not known
uint64_t stack_end = 0;   // of the main thread
uint64_t longest_stack = 0;

int take_segments(dl_phdr_info *info, size_t, void *) {
    size_t count = 0;
    for (int i = 0; i < info->dlpi_phnum && count < kMostSegments; ++i) {
        const auto &header = info->dlpi_phdr[i];
        if (header.p_type != PT_LOAD || (header.p_flags & PF_R) == 0) continue;
        const uint64_t begin = info->dlpi_addr + header.p_vaddr;
        segments[count++] = {begin, begin + header.p_memsz};
    }
    return 1;  // the first object is the program
}

// Fields of /proc/self/stat, counted from 1; 0 where there is none.
void read_stat(uint64_t *start_stack, uint64_t *start_brk) {
    constexpr int kStartStack = 28, kStartBrk = 47;
    FILE *const file = fopen("/proc/self/stat", "re");
    if (file == nullptr) return;
    char text[1024];
    const size_t size = fread(text, 1, sizeof text - 1, file);
    fclose(file);
    text[size] = '\0';
    char *at = strrchr(text, ')');  // the name before it may hold anything
    if (at == nullptr) return;
    int field = 2;
    for (char *save = nullptr, *word = strtok_r(at + 1, " ", &save); word != nullptr;
         word = strtok_r(nullptr, " ", &save)) {
        ++field;
        if (field == kStartStack) *start_stack = strtoull(word, nullptr, 10);
        if (field == kStartBrk) *start_brk = strtoull(word, nullptr, 10);
    }
}

}  // namespace

void know_this_process() {
    dl_iterate_phdr(take_segments, nullptr);
    uint64_t start_stack = 0, start_brk = 0;
    read_stat(&start_stack, &start_brk);
    heap_begin = start_brk;
    stack_end = start_stack;
    rlimit limit;
    constexpr uint64_t kUsual = uint64_t{8} << 20;
    longest_stack =
        getrlimit(RLIMIT_STACK, &limit) == 0 ? std::min<uint64_t>(limit.rlim_cur, kUsual) : kUsual;
}

bool Readable::is_known(uint64_t address, size_t size) {
    // Of the main thread's stack, what lies above this call.
    const auto frame = reinterpret_cast<uint64_t>(__builtin_frame_address(0));
    if (frame < stack_end && stack_end - frame <= longest_stack && Range{frame, stack_end}.has(address, size))
        return true;
    for (const Range &segment : segments)
        if (segment.has(address, size)) return true;
    if (heap_begin == 0 || address < heap_begin) return false;
    return Range{heap_begin, reinterpret_cast<uint64_t>(sbrk(0))}.has(address, size);
}

size_t Readable::text_length(uint64_t address, size_t most, bool *whole) {
    *whole = false;
    size_t length = 0;
    while (length < most) {
        // A page at a time: nothing says that the next one is there.
        const uint64_t at = address + length;
        const size_t part = std::min<size_t>(most - length, kPage - at % kPage);
        if (at < address || !(*this)(at, part)) return length;
        const auto *const text = reinterpret_cast<const char *>(at);  // NOLINT(performance-no-int-to-ptr)
        const size_t found = strnlen(text, part);
        length += found;
        if (found < part) {
            *whole = true;
            break;
        }
    }
    return length;
}

}  // namespace trace
