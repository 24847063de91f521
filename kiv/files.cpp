// Small helpers on files and descriptors.
#include "kiv/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kiv {

bool read_file(const std::string &path, std::string *text, std::string *error, size_t largest) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool good = fd >= 0 && read_all(fd, text, largest);
    if (!good) *error = path + ": " + strerror(errno);
    if (fd >= 0) close(fd);
    return good;
}

bool read_all(int fd, std::string *text, size_t largest) {
    text->clear();
    char buffer[16384];
    while (true) {
        const ssize_t got = read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return got == 0;
        if (static_cast<size_t>(got) > largest - text->size()) {
            errno = EFBIG;
            return false;
        }
        text->append(buffer, static_cast<size_t>(got));
    }
}

bool write_file(const std::string &path, std::string_view text, std::string *error) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool good = fd >= 0 && write_all(fd, text);
    if (!good) *error = path + ": " + strerror(errno);
    if (fd >= 0) close(fd);
    return good;
}

bool put_file(const std::string &path, std::string_view text, std::string *error) {
    struct stat info;
    if (lstat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode))
        unlink(path.c_str());
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0666);
    const bool good = fd >= 0 && write_all(fd, text);
    if (!good) *error = path + ": " + strerror(errno);
    if (fd >= 0) close(fd);
    return good;
}

bool write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t put = write(fd, text.data(), text.size());
        if (put < 0 && errno == EINTR) continue;
        if (put < 0 && errno == EAGAIN) {  // a terminal or pipe that someone made non-blocking
            usleep(1000);
            continue;
        }
        if (put <= 0) return false;
        text.remove_prefix(static_cast<size_t>(put));
    }
    return true;
}

Descriptor::~Descriptor() {
    if (number_ >= 0) close(number_);
}

Descriptor Descriptor::copy_of(int fd) {
    return Descriptor(fcntl(fd, F_DUPFD_CLOEXEC, 3));
}

bool is_directory(const std::string &path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool is_file(const std::string &path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool same_file(const std::string &one, const std::string &other) {
    struct stat a, b;
    return stat(one.c_str(), &a) == 0 && stat(other.c_str(), &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

bool make_directories(const std::string &path, std::string *error) {
    for (size_t at = 1; at <= path.size(); ++at) {
        if (at < path.size() && path[at] != '/') continue;
        const std::string part = path.substr(0, at);
        if (mkdir(part.c_str(), 0777) == 0) continue;
        const int why = errno;  // what is there may not be looked at
        if (is_directory(part)) continue;
        *error = part + ": " + strerror(why == EEXIST ? ENOTDIR : why);
        return false;
    }
    return true;
}

std::string absolute_path(const std::string &path) {
    if (!path.empty() && path[0] == '/') return path;
    char directory[4096];
    if (getcwd(directory, sizeof directory) == nullptr) return path;
    std::string whole = directory;
    if (whole.back() != '/') whole += '/';
    return path == "." ? std::string(directory) : whole + path;
}

int64_t now_ns() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

}  // namespace kiv
