// Files that stay well-formed whenever their writer dies.
#include "kiv/reports/document.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "kiv/reports/outlet.h"

namespace kiv::reports {
namespace {

std::string directory_of(const std::string &path) {
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

class FileSink : public Sink {
  public:
    // What becomes the file at its beginning.
    enum class Place {
        stream,    // it is none
        nameless,  // gets its name
        beside,    // is renamed
        itself,
    };

    FileSink(std::string path, Place place, std::string temporary, int fd)
        : path_(std::move(path)), place_(place), temporary_(std::move(temporary)), fd_(fd), owner_(getpid()) {
        if (place_ == Place::stream) outlet_.emplace(fd_, Outlet::Kind::whole);
    }

    ~FileSink() override {
        release_descriptor(fd_);
        // A forked child that unwinds leaves its parent's file alone.
        if (!temporary_.empty() && getpid() == owner_) unlink(temporary_.c_str());
    }

    bool seekable() const override { return place_ != Place::stream; }

    bool appear() override {
        if (place_ == Place::nameless && !give_name()) return false;
        if (temporary_.empty()) return true;
        if (rename(temporary_.c_str(), path_.c_str()) != 0) return complain();
        temporary_.clear();
        return true;
    }

    bool write(uint64_t offset, std::string_view text) override {
        if (outlet_) return outlet_->write(text) || complain(outlet_->problem());
        if (place_ == Place::itself && offset == 0 && !truncate(0)) return false;
        while (!text.empty()) {
            const ssize_t n = pwrite(fd_, text.data(), text.size(), static_cast<off_t>(offset));
            if (n < 0) {
                if (errno == EINTR) continue;
                return complain();
            }
            offset += static_cast<uint64_t>(n);
            text.remove_prefix(static_cast<size_t>(n));
        }
        return true;
    }

    bool truncate(uint64_t size) override {
        return ftruncate(fd_, static_cast<off_t>(size)) == 0 || complain();
    }

    void finish() override {
        if (outlet_ && !outlet_->drain(false)) complain(outlet_->problem());
    }

    std::string problem() const override { return problem_; }

  private:
    // As the file's own when there is none, else as one that is then renamed.
    bool give_name() {
        const std::string self = "/proc/self/fd/" + std::to_string(fd_);
        if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path_.c_str(), AT_SYMLINK_FOLLOW) == 0) return true;
        if (errno != EEXIST) return complain();
        for (int n = 0; n < 1000; ++n) {
            const std::string name =
                directory_of(path_) + "/.kiv-" + std::to_string(owner_) + "-" + std::to_string(n);
            if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
                temporary_ = name;
                return true;
            }
            if (errno != EEXIST) break;
        }
        return complain();
    }

    // A report that cannot be written must not end the run: it stays as it is.
    bool complain(const std::string &why = std::strerror(errno)) {
        if (problem_.empty()) problem_ = path_ + ": " + why;
        return false;
    }

    const std::string path_;
    const Place place_;
    std::string temporary_;  // until begin
    const int fd_;
    const pid_t owner_;
    std::string problem_;
    std::optional<Outlet> outlet_;  // when it is no regular file
};

// The file that a path leads to through symbolic links, so that renaming replaces the file and not the link.
std::string resolved(const std::string &path) {
    char *const real = realpath(path.c_str(), nullptr);
    if (real == nullptr) return path;
    std::string result(real);
    free(real);
    return result;
}

}  // namespace

int descriptor_named_by(const std::string &path) {
    if (path == "-" || path == "/dev/stdout") return STDOUT_FILENO;
    if (path == "/dev/stderr") return STDERR_FILENO;
    for (const std::string_view directory : {"/dev/fd/", "/proc/self/fd/"}) {
        if (!path.starts_with(directory) || path.size() == directory.size() ||
            path.size() > directory.size() + 6)
            continue;
        const std::string number = path.substr(directory.size());
        if (number.find_first_not_of("0123456789") == std::string::npos) return std::stoi(number);
    }
    return -1;
}

std::unique_ptr<Sink> open_file_sink(const std::string &path, std::string *error) {
    const auto fail = [&] {
        if (error != nullptr) *error = path + ": " + std::strerror(errno);
        return nullptr;
    };
    if (const int named = descriptor_named_by(path); named >= 0) {
        const int fd = fcntl(named, F_DUPFD_CLOEXEC, 3);
        if (fd < 0) return fail();
        return std::make_unique<FileSink>(path, FileSink::Place::stream, "", keep_descriptor(fd));
    }
    struct stat status;
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return fail();
    }
    if (exists && !S_ISREG(status.st_mode)) {
        const int fd = keep_descriptor(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
        if (fd < 0) return fail();
        return std::make_unique<FileSink>(path, FileSink::Place::stream, "", fd);
    }
    if (exists && access(path.c_str(), W_OK) != 0) return fail();

    std::string target = resolved(path);
    const mode_t mask = umask(0);
    umask(mask);
    const mode_t mode = exists ? status.st_mode & 07777 : 0666 & ~mask;
    const std::string directory = directory_of(target);
    // A file without a name, so that a start that is killed leaves none; where there is no such thing, one
    // with a short name, since the other may be as long as names are.
    std::string temporary;
    const bool can_be_named = access("/proc/self/fd", X_OK) == 0;
    int fd = can_be_named ? open(directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600) : -1;
    if (fd < 0) {
        temporary = directory + "/.kiv-XXXXXX";
        fd = mkostemp(temporary.data(), O_CLOEXEC);
    }
    if (fd < 0 && exists) {
        // Nothing can be put beside it: it is written itself.
        temporary.clear();
        fd = open(target.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd < 0) return fail();
        return std::make_unique<FileSink>(std::move(target), FileSink::Place::itself, "",
                                          keep_descriptor(fd));
    }
    if (fd < 0) return fail();
    fchmod(fd, mode);
    const auto place = temporary.empty() ? FileSink::Place::nameless : FileSink::Place::beside;
    return std::make_unique<FileSink>(std::move(target), place, std::move(temporary), keep_descriptor(fd));
}

void LineFile::head(std::string_view piece) {
    broken_ = broken_ || !sink_->write(size_, piece);
    size_ += piece.size();
}

void LineFile::begin(std::string_view text) {
    head(text);
    broken_ = broken_ || !sink_->appear();
}

void LineFile::add(std::string_view line) {
    if (sink_->seekable()) {
        const uint64_t room = kPage - (size_ + pending_.size()) % kPage;
        if (line.size() > room && line.size() <= kPage) {
            const size_t start = pending_.size();
            pending_.append(room, ' ');
            if (padding_ == Padding::comment) {
                pending_[start] = '#';
                pending_.back() = '\n';
            }
        }
    }
    pending_ += line;
}

void LineFile::flush() {
    if (!pending_.empty() && !broken_) {
        broken_ = !sink_->write(size_, pending_);
        size_ += pending_.size();
    }
    pending_.clear();
}

void LineFile::finish() {
    flush();
    sink_->finish();
}

void ClosedDocument::head(std::string_view piece) {
    broken_ = broken_ || !sink_->write(size_, piece);
    size_ += piece.size();
}

void ClosedDocument::begin(std::string_view last, std::string_view tail) {
    tail_ = tail;
    scratch_ = last;
    if (sink_->seekable()) {
        // The closing text and the marks of a room behind it never cross a page.
        while (!fits_in_page(size_ + scratch_.size(), tail.size() + marks())) scratch_ += ' ';
        end_ = size_ + scratch_.size();
        scratch_ += tail;
        scratch_ += open_;
        while ((size_ + scratch_.size() + close_.size()) % kPage != 0) scratch_ += ' ';
        scratch_ += close_;
    } else {
        end_ = size_ + scratch_.size();
    }
    head(scratch_);
    broken_ = broken_ || !sink_->appear();
}

bool ClosedDocument::fits_in_page(uint64_t offset, uint64_t length) const {
    return offset % kPage + length <= kPage;
}

uint64_t ClosedDocument::append(std::string_view body, std::string_view tail, uint64_t whole,
                                uint64_t length) {
    if (broken_) return end_;
    uint64_t at = end_;
    const uint64_t needed = body.size() + tail.size() + marks();
    if (!sink_->seekable()) {
        broken_ = !sink_->write(end_, body);
        end_ += body.size();
    } else if (fits_in_page(end_, needed) && end_ + needed <= size_ &&
               body.size() + tail.size() >= tail_.size()) {
        scratch_ = body;
        scratch_ += tail;
        scratch_ += open_;
        broken_ = !sink_->write(end_, scratch_);
        if (!broken_) end_ += body.size();
    } else {
        at = append_hidden(body, tail, whole, length);
    }
    if (!broken_) tail_ = tail;
    return at;
}

bool ClosedDocument::make_room(uint64_t to) {
    while (size_ < to) {
        const uint64_t end = size_ + kPage;
        scratch_ = open_;
        scratch_.resize(end - size_ - close_.size(), ' ');
        scratch_ += close_;
        if (!sink_->write(size_, scratch_)) return false;
        scratch_.assign(close_.size(), ' ');
        if (!sink_->write(size_ - close_.size(), scratch_)) return false;
        size_ = end;
    }
    return true;
}

uint64_t ClosedDocument::append_hidden(std::string_view body, std::string_view tail, uint64_t whole,
                                       uint64_t length) {
    const uint64_t start = end_ + tail_.size() + open_.size();
    uint64_t at = start;
    if (!fits_in_page(at + whole, length)) at += kPage - (at + whole) % kPage;
    uint64_t new_end = at + body.size();
    if (!fits_in_page(new_end, tail.size() + marks())) new_end += kPage - new_end % kPage;

    // What fails here stays hidden: the document keeps what it had.
    broken_ = !make_room(new_end + tail.size() + marks());
    if (broken_) return end_;
    scratch_.assign(at - start, ' ');
    scratch_ += body;
    scratch_.append(new_end - (at + body.size()), ' ');
    scratch_ += tail;
    scratch_ += open_;
    broken_ = !sink_->write(start, scratch_);
    if (broken_) return end_;
    scratch_.assign(start - end_, ' ');
    broken_ = !sink_->write(end_, scratch_);
    if (broken_) return end_;
    end_ = new_end;
    return at;
}

void ClosedDocument::patch(uint64_t offset, std::string_view text) {
    if (!broken_ && sink_->seekable()) broken_ = !sink_->write(offset, text);
}

void ClosedDocument::finish() {
    if (!sink_->seekable()) {
        if (!broken_) broken_ = !sink_->write(end_, tail_);
    } else if (size_ != end_ + tail_.size() && sink_->truncate(end_ + tail_.size())) {
        size_ = end_ + tail_.size();
        broken_ = true;  // nothing follows
    }
    sink_->finish();
}

}  // namespace kiv::reports
