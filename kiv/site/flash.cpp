// The card's flash off the card: sits under fopen at link time, so that the suite's paths stay as they are.
#include "kiv/site/flash.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "kiv/site/overlay.h"

namespace kiv {

namespace {

std::string &flash_directory() {
    static std::string directory;
    return directory;
}

void (*tell_of_missing)(std::string_view path) = nullptr;

void missing(std::string_view path) {
    if (tell_of_missing == nullptr) return;
    const int kept = errno;
    for (const char *const name : kInputFiles)
        if (path == std::string(kCardFlash) + name) tell_of_missing(path);
    errno = kept;
}

}  // namespace

void on_missing_input(void (*tell)(std::string_view path)) {
    tell_of_missing = tell;
}

void map_flash(const std::string &directory) {
    flash_directory() = directory;
}

std::string flash_path(std::string_view path, bool *good) {
    *good = true;
    const std::string &directory = flash_directory();
    if (directory.empty() || !path.starts_with(kCardFlash)) return std::string(path);
    std::string_view rest = path.substr(strlen(kCardFlash));
    // ".." may lead back to the flash, but not out of it.
    int depth = 0;
    for (size_t at = 0; at <= rest.size();) {
        const size_t end = std::min(rest.find('/', at), rest.size());
        const std::string_view part = rest.substr(at, end - at);
        if (part == "..")
            --depth;
        else if (!part.empty() && part != ".")
            ++depth;
        if (depth < 0) *good = false;
        at = end + 1;
    }
    return directory + "/" + std::string(rest);
}

namespace {

// Whether the file, or a directory between it and the flash, is a symbolic link.
bool leads_through_a_link(const std::string &mapped) {
    struct stat info;
    for (size_t end = flash_directory().size() + 1; end != std::string::npos;) {
        end = mapped.find('/', end + 1);
        if (lstat(mapped.substr(0, end).c_str(), &info) == 0 && S_ISLNK(info.st_mode)) return true;
    }
    return false;
}

}  // namespace

}  // namespace kiv

extern "C" {

FILE *__real_fopen(const char *path, const char *mode);
FILE *__wrap_fopen(const char *path, const char *mode);

FILE *__wrap_fopen(const char *path, const char *mode) {
    // Anything else goes straight on.
    if (path == nullptr || path[0] != '/' || path[1] != 'd') return __real_fopen(path, mode);
    bool good;
    const std::string mapped = kiv::flash_path(path, &good);
    if (mapped == path) return __real_fopen(path, mode);
    if (!good) {
        errno = EACCES;
        return nullptr;
    }
    // What someone planted in the flash leads no writer out of it.
    if (mode != nullptr && strpbrk(mode, "wa+") != nullptr && kiv::leads_through_a_link(mapped)) {
        errno = ELOOP;
        return nullptr;
    }
    FILE *const file = __real_fopen(mapped.c_str(), mode);
    if (file == nullptr && errno == ENOENT && mode != nullptr && mode[0] == 'r') kiv::missing(path);
    return file;
}
}
