// Writes traces: see file_writer.h.
#include "trace/file_writer.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <vector>

#include "trace/schema_bytes.h"

namespace trace {
namespace {

constexpr size_t kBuffer = size_t{1} << 20;
constexpr int64_t kNanosecond = 1'000'000'000;
constexpr int64_t kLongestWait = kNanosecond / 10;  // before what is told goes into the file
// Out of the way of the suite's own descriptors.
constexpr int kLowestDescriptor = 64;

PacketHead packet_head(const EntryHead &entry) {
    const int64_t time = std::max<int64_t>(entry.time, 0);
    return {static_cast<uint32_t>(time / kNanosecond), static_cast<uint32_t>(time % kNanosecond), entry.size,
            entry.size};
}

void append_packet(std::string *out, const EntryHead &head, const std::string &rest) {
    const PacketHead packet = packet_head(head);
    out->append(reinterpret_cast<const char *>(&packet), sizeof packet);
    out->append(reinterpret_cast<const char *>(&head), sizeof head);
    *out += rest;
    out->append(head.size - sizeof head - rest.size(), '\0');
}

// Everything that stands before the first call.
const std::string &front_of_this_build() {
    static const auto *const front = [] {
        auto *const bytes = new std::string;
        const FileHead head;
        bytes->append(reinterpret_cast<const char *>(&head), sizeof head);
        for (const std::string &piece : schema_pieces(this_build())) {
            EntryHead entry{};
            entry.size = static_cast<uint32_t>(padded(sizeof entry + piece.size()));
            entry.kind = EntryKind::schema;
            append_packet(bytes, entry, piece);
        }
        return bytes;
    }();
    return *front;
}

bool write_at(int fd, const uint8_t *bytes, size_t size, uint64_t offset) {
    while (size > 0) {
        const ssize_t written = pwrite(fd, bytes, size, static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            if (written == 0) errno = ENOSPC;
            return false;
        }
        bytes += written;
        size -= static_cast<size_t>(written);
        offset += static_cast<uint64_t>(written);
    }
    return true;
}

int open_out_of_the_way(const char *path, int flags) {
    const int fd = open(path, flags | O_WRONLY | O_CLOEXEC, 0666);
    if (fd < 0) return fd;
    const int moved = fcntl(fd, F_DUPFD_CLOEXEC, kLowestDescriptor);
    if (moved < 0) return fd;
    close(fd);
    return moved;
}

}  // namespace

// Bytes of the file counted from its begin. What lies between the two numbers is in the buffer; a process
// that is killed while it writes them leaves both as they are, and whoever comes next writes them again, to
// the same place.
struct FileWriter::Shared {
    std::atomic<uint64_t> appended, flushed;
    std::atomic<uint64_t> dropped;
    std::atomic<int> error;
    std::atomic<uint32_t> rotations;
    uint8_t buffer[kBuffer];
};

FileWriter::~FileWriter() {
    close_file();
    if (shared_ != nullptr) munmap(shared_, sizeof *shared_);
}

uint64_t FileWriter::smallest_limit() {
    return (front_of_this_build().size() + 2 * kLargestEntry) / 1024 * 1024 + 1024;
}

bool FileWriter::create(const std::string &path, uint64_t limit, std::string *error) {
    path_ = path;
    limit_ = limit;
    struct stat status;
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        *error = path + ": not a regular file";
        return false;
    }
    if (limit_ != 0) unlink((path_ + ".1").c_str());  // of an earlier run
    void *const memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        *error = std::string("no memory for the trace: ") + strerror(errno);
        return false;
    }
    shared_ = static_cast<Shared *>(memory);
    if (begin_file(error)) return true;
    munmap(shared_, sizeof *shared_);
    shared_ = nullptr;
    return false;
}

bool FileWriter::begin_file(std::string *error) {
    // The name is its own once the schema is there: a file that can be opened can be read.
    const std::string begun = path_ + ".new";
    fd_ = open_out_of_the_way(begun.c_str(), O_CREAT | O_TRUNC);
    const std::string &front = front_of_this_build();
    if (fd_ < 0 || !write_at(fd_, reinterpret_cast<const uint8_t *>(front.data()), front.size(), 0) ||
        rename(begun.c_str(), path_.c_str()) != 0) {
        *error = path_ + ": " + strerror(errno);
        unlink(begun.c_str());
        return false;
    }
    shared_->appended.store(front.size());
    shared_->flushed.store(front.size());
    return true;
}

void FileWriter::close_file() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
}

// By its name: the worker before may have begun a new one.
bool FileWriter::reopen() {
    close_file();
    fd_ = open_out_of_the_way(path_.c_str(), 0);
    if (fd_ < 0) shared_->error.store(errno);
    return fd_ >= 0;
}

void FileWriter::take_over() {
    if (reopen()) flush();
}

void FileWriter::flush() {
    const uint64_t appended = shared_->appended.load(), flushed = shared_->flushed.load();
    struct stat status;
    const uint64_t size = fd_ >= 0 && fstat(fd_, &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
    // A case may have written over the numbers, or a process was killed between two of them.
    if (appended < flushed || appended - flushed > kBuffer || flushed > size ||
        size - flushed > appended - flushed) {
        shared_->appended.store(size);
        shared_->flushed.store(size);
        return;
    }
    if (appended == flushed || shared_->error.load() != 0) return;
    if (write_at(fd_, shared_->buffer, appended - flushed, flushed))
        shared_->flushed.store(appended);
    else
        shared_->error.store(errno);
}

void FileWriter::flush_sometimes(int64_t now) {
    if (now - flushed_at_ < kLongestWait) return;
    flushed_at_ = now;
    flush();
}

void FileWriter::rotate() {
    flush();
    close_file();
    std::string error;
    if (rename(path_.c_str(), (path_ + ".1").c_str()) != 0 || !begin_file(&error))
        shared_->error.store(errno != 0 ? errno : EIO);
    else
        shared_->rotations.fetch_add(1);
}

uint8_t *FileWriter::room_for(size_t size) {
    uint64_t appended = shared_->appended.load(std::memory_order_relaxed);
    uint64_t flushed = shared_->flushed.load(std::memory_order_relaxed);
    if (limit_ != 0 && appended + size > limit_ && shared_->error.load() == 0) {
        rotate();
        appended = shared_->appended.load();
        flushed = shared_->flushed.load();
    }
    if (appended - flushed > kBuffer || size > kBuffer - (appended - flushed)) {
        flush();
        appended = shared_->appended.load();
        flushed = shared_->flushed.load();
    }
    if (shared_->error.load(std::memory_order_relaxed) == 0 && appended - flushed <= kBuffer - size)
        return shared_->buffer + (appended - flushed);
    return nullptr;
}

void FileWriter::append(Bytes entry) {
    const EntryHead head = head_of(entry);
    const PacketHead packet = packet_head(head);
    const size_t size = sizeof packet + entry.size();
    uint8_t *const at = room_for(size);
    if (at == nullptr) {
        if (head.kind != EntryKind::call_returns) shared_->dropped.fetch_add(1);
        return;
    }
    std::memcpy(at, &packet, sizeof packet);
    std::memcpy(at + sizeof packet, entry.data(), entry.size());
    shared_->appended.store(shared_->appended.load(std::memory_order_relaxed) + size,
                            std::memory_order_release);
}

void FileWriter::append(const Mark &mark) {
    std::string entry(mark_size(mark), '\0');
    write_mark(mark, reinterpret_cast<uint8_t *>(entry.data()));
    append(Bytes(reinterpret_cast<const uint8_t *>(entry.data()), entry.size()));
}

uint64_t FileWriter::dropped() const {
    return shared_ != nullptr ? shared_->dropped.load() : 0;
}

std::string FileWriter::problem() const {
    const int error = shared_ != nullptr ? shared_->error.load() : 0;
    return error == 0 ? "" : path_ + ": " + strerror(error);
}

uint32_t FileWriter::rotations() const {
    return shared_ != nullptr ? shared_->rotations.load() : 0;
}

}  // namespace trace
