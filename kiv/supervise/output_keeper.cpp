// Keeps what one case prints.
#include "kiv/supervise/output_keeper.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "kiv/files.h"

namespace kiv {

namespace {

constexpr size_t kTail = size_t{16} * 1024;  // of a long output, kept besides its head

}  // namespace

OutputKeeper::~OutputKeeper() {
    if (fd_ >= 0) close(fd_);
}

void OutputKeeper::restart(std::string_view folder, std::string_view name) {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
    folder_ = folder;
    name_ = name;
    size_ = 0;
    head_.clear();
    tail_.clear();
    path_.clear();
    problem_.clear();
}

void OutputKeeper::add(std::string_view text) {
    size_ += text.size();
    if (size_ <= limit_) {
        head_.append(text);
        return;
    }
    if (path_.empty() && problem_.empty() && open_file()) spill(head_);
    spill(text);
    if (head_.size() < limit_) {
        const size_t room = limit_ - head_.size();
        head_.append(text.substr(0, room));
        text.remove_prefix(std::min(room, text.size()));
    }
    if (text.size() > kTail) text.remove_prefix(text.size() - kTail);
    tail_.append(text);
    if (tail_.size() > 4 * kTail) tail_.erase(0, tail_.size() - kTail);
}

bool OutputKeeper::open_file() {
    std::string error;
    std::string name = std::string(folder_) + "." + std::string(name_);
    for (char &c : name)
        if (c == '/' || static_cast<unsigned char>(c) <= ' ') c = '.';
    if (name.size() > 200) name.resize(200);
    if (!make_directories(directory_, &error)) {
        problem_ = error;
        return false;
    }
    const auto numbered = [&](uint64_t n) {
        return directory_ + "/" + name + (n == 1 ? "" : "." + std::to_string(n)) + ".txt";
    };
    const auto taken = [&](uint64_t n) { return access(numbered(n).c_str(), F_OK) == 0; };
    // Numbers have been given in order: the first free one lies where those end.
    uint64_t last_taken = 0, free = 1;
    for (; taken(free) && free < UINT32_MAX; free *= 2) last_taken = free;
    while (free - last_taken > 1) {
        const uint64_t middle = last_taken + (free - last_taken) / 2;
        (taken(middle) ? last_taken : free) = middle;
    }
    do path_ = numbered(free++);
    while ((fd_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) < 0 && errno == EEXIST);
    if (fd_ >= 0) return true;
    problem_ = path_ + ": " + strerror(errno);
    path_.clear();
    return false;
}

void OutputKeeper::spill(std::string_view text) {
    if (fd_ < 0 || write_all(fd_, text)) return;
    problem_ = path_ + " is incomplete: " + strerror(errno);
    close(fd_);
    fd_ = -1;
}

void OutputKeeper::finish(std::string *text, uint64_t *size, std::string *file) {
    *size = size_;
    if (size_ > limit_) {
        if (tail_.size() > kTail) tail_.erase(0, tail_.size() - kTail);
        const uint64_t left_out = size_ - head_.size() - tail_.size();
        if (left_out > 0)
            head_ += "\n[" + std::to_string(left_out) + " bytes are left out here; " +
                     (problem_.empty() ? "the whole output is in " + path_
                                       : "the whole output could not be kept: " + problem_) +
                     "]\n";
        head_ += tail_;
        tail_.clear();
    }
    *text = head_;
    *file = problem_.empty() ? path_ : "";
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
    if (head_.capacity() > size_t{64} * 1024) std::string().swap(head_);
}

}  // namespace kiv
