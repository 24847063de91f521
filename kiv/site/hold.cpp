// Who uses a directory: a lock on the directory itself.
#include "kiv/site/hold.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <cstdio>

namespace kiv {

bool Hold::take(const std::string &directory, bool wait) {
    directory_.emplace(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory_->number() < 0) return true;
    int taken;
    do taken = flock(directory_->number(), LOCK_EX | (wait ? 0 : LOCK_NB));
    while (taken != 0 && errno == EINTR);
    if (taken == 0 || errno != EWOULDBLOCK) return true;
    directory_.reset();
    return false;
}

std::string holder_of(const std::string &directory) {
    struct stat status;
    std::string locks, ignored;
    if (stat(directory.c_str(), &status) != 0 || !read_file("/proc/locks", &locks, &ignored))
        return "another process";
    for (size_t at = 0; at < locks.size();) {
        const size_t end = std::min(locks.find('\n', at), locks.size());
        const std::string line = locks.substr(at, end - at);
        at = end + 1;
        // "1: FLOCK  ADVISORY  WRITE 4711 08:01:1234 0 EOF"
        int process = 0;
        unsigned major = 0, minor = 0;
        unsigned long inode = 0;
        if (sscanf(line.c_str(), "%*d: FLOCK %*s %*s %d %x:%x:%lu", &process, &major, &minor, &inode) != 4 ||
            inode != status.st_ino || major != gnu_dev_major(status.st_dev) ||
            minor != gnu_dev_minor(status.st_dev) || process <= 0)
            continue;
        std::string command;
        read_file("/proc/" + std::to_string(process) + "/cmdline", &command, &ignored);
        while (!command.empty() && command.back() == '\0') command.pop_back();
        for (char &c : command)
            if (static_cast<unsigned char>(c) < 0x20) c = ' ';
        if (command.size() > 120) command.replace(120, command.npos, "...");
        return "process " + std::to_string(process) + (command.empty() ? "" : " (" + command + ")");
    }
    return "another process";
}

}  // namespace kiv
