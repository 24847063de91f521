// Where the text of a run goes that somebody reads.
#include "kiv/reports/outlet.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "kiv/files.h"

namespace kiv::reports {

namespace {

constexpr int kLowest = 64;  // of kept descriptors, where so many are allowed
constexpr int kLowestEver = 3;
constexpr int kPollMilliseconds = 20;

std::vector<int> &kept_descriptors() {
    static std::vector<int> kept;
    return kept;
}

std::vector<Outlet *> &outlets() {
    static std::vector<Outlet *> all;
    return all;
}

StallWatch &stall_watch() {
    static StallWatch watch;
    return watch;
}

int second_descriptor(int fd) {
    const int high = fcntl(fd, F_DUPFD_CLOEXEC, kLowest);
    return high >= 0 ? high : fcntl(fd, F_DUPFD_CLOEXEC, kLowestEver);
}

}  // namespace

int keep_descriptor(int fd) {
    if (fd < 0) return -1;
    int kept = second_descriptor(fd);
    const int error = errno;
    if (kept < 0 && fd >= kLowestEver)
        kept = fd;  // there is no other left
    else
        close(fd);
    errno = error;
    if (kept >= 0) kept_descriptors().push_back(kept);
    return kept;
}

void release_descriptor(int fd) {
    if (fd < 0) return;
    std::erase(kept_descriptors(), fd);
    close(fd);
}

void close_kept_descriptors() {
    for (const int fd : kept_descriptors()) close(fd);
    kept_descriptors().clear();
}

void set_stall_watch(StallWatch watch) {
    stall_watch() = std::move(watch);
}

Outlet::Outlet(int fd, Kind kind) : kind_(kind), portion_(SIZE_MAX) {
    struct stat info;
    if (fstat(fd, &info) != 0) {
        problem_ = strerror(errno);
        return;
    }
    if (S_ISFIFO(info.st_mode) || S_ISCHR(info.st_mode)) {
        // The flags of the descriptor belong to whoever else has it: one of our own does not wait.
        const std::string path = "/proc/self/fd/" + std::to_string(fd);
        fd_ = keep_descriptor(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    }
    waits_ = !S_ISREG(info.st_mode);
    outlets().push_back(this);
    if (fd_ >= 0) return;
    const int second = second_descriptor(fd);
    if (second < 0) {
        problem_ = strerror(errno);
        return;
    }
    fd_ = keep_descriptor(second);
    if (waits_) portion_ = 512;  // what can be written when anything can be
}

Outlet::~Outlet() {
    std::erase(outlets(), this);
    release_descriptor(fd_);
}

bool Outlet::fail(const std::string &why) {
    if (problem_.empty()) problem_ = why;
    pending_.clear();
    taken_ = 0;
    return false;
}

bool Outlet::put() {
    while (taken_ < pending_.size()) {
        if (waits_ && portion_ != SIZE_MAX) {
            pollfd ready{fd_, POLLOUT, 0};
            if (poll(&ready, 1, 0) == 0) break;
        }
        const size_t size = std::min(portion_, pending_.size() - taken_);
        const ssize_t put = ::write(fd_, pending_.data() + taken_, size);
        if (put < 0 && errno == EINTR) continue;
        if (put < 0 && errno == EAGAIN) break;
        if (put <= 0) return fail(put == 0 ? "takes no more" : strerror(errno));
        taken_ += static_cast<size_t>(put);
    }
    if (taken_ == pending_.size()) {
        pending_.clear();
        taken_ = 0;
    } else if (taken_ > kKept / 2) {
        pending_.erase(0, taken_);
        taken_ = 0;
    }
    return true;
}

// Until no more than `most` bytes are left. False when it was given up, or the reader has gone.
bool Outlet::wait(size_t most, bool patient) {
    int64_t since = now_ns();
    while (pending_.size() - taken_ > most) {
        pollfd ready{fd_, POLLOUT, 0};
        poll(&ready, 1, kPollMilliseconds);
        const size_t before = pending_.size() - taken_;
        if (!put()) return false;
        const int64_t now = now_ns();
        if (pending_.size() - taken_ < before) since = now;
        if (stall_watch() && !stall_watch()(patient ? 0 : now - since)) return false;
    }
    return true;
}

bool Outlet::write(std::string_view text) {
    if (!problem_.empty() || !put()) return false;
    if (given_up_) {
        if (pending_.size() - taken_ + text.size() > kKept) {
            left_out_ += text.size();
            return true;
        }
        say_what_is_left_out();
    }
    while (!text.empty()) {
        // In portions: a text of any length takes no more memory than a short one.
        const std::string_view next = text.substr(0, kKept);
        pending_ += next;
        text.remove_prefix(next.size());
        if (!put()) return false;
        if (pending_.size() - taken_ <= kKept || wait(kKept / 2, false)) continue;
        if (!problem_.empty()) return false;
        if (kind_ == Kind::whole) return fail("its reader takes nothing");
        given_up_ = true;
        left_out_ = text.size();
        return true;
    }
    return true;
}

void Outlet::write_pending() {
    for (Outlet *outlet : outlets())
        if (!outlet->pending_.empty()) outlet->put();
}

void Outlet::say_what_is_left_out() {
    given_up_ = false;
    if (left_out_ == 0) return;
    pending_ += "\n[" + std::to_string(left_out_) + " bytes are left out here: nobody read them in time]\n";
    left_out_ = 0;
}

bool Outlet::drain(bool patient) {
    if (!problem_.empty()) return false;
    if (!wait(0, patient)) return fail("its reader takes nothing");
    say_what_is_left_out();
    return wait(0, patient) || fail("its reader takes nothing");
}

}  // namespace kiv::reports
