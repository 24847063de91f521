// Writes a trace: a pcap file with its schema at the front. What was told is in memory that outlives the
// process that tells it, and goes into the file in large pieces.
#ifndef TRACE_FILE_WRITER_H
#define TRACE_FILE_WRITER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "trace/entry.h"

namespace trace {

// The begin of a pcap file, and of each packet in it; each packet is an entry.
struct FileHead {
    static constexpr uint32_t kNanoseconds = 0xa1b23c4d;
    static constexpr uint32_t kLongestPacket = 262144;
    static constexpr uint32_t kLinkTypeUser0 = 147;

    uint32_t magic = kNanoseconds;
    uint16_t major = 2, minor = 4;
    uint32_t zone = 0, accuracy = 0;
    uint32_t longest_packet = kLongestPacket;
    uint32_t link_type = kLinkTypeUser0;
};
static_assert(sizeof(FileHead) == 24);

struct PacketHead {
    uint32_t seconds, nanoseconds;
    uint32_t size, whole_size;
};

class FileWriter {
  public:
    FileWriter() = default;
    ~FileWriter();
    FileWriter(const FileWriter &) = delete;
    FileWriter &operator=(const FileWriter &) = delete;

    // Begins the file. With a limit, in bytes, a file that would grow beyond it becomes PATH.1, replacing an
    // older one, and a new one is begun; each has the schema. False, with *error set.
    bool create(const std::string &path, uint64_t limit, std::string *error);
    // The smallest limit that makes sense.
    static uint64_t smallest_limit();

    bool is_open() const { return shared_ != nullptr; }
    // In the process that writes from now on; what an earlier one left in memory goes into the file first.
    void take_over();
    void append(Bytes entry);
    void append(const Mark &mark);
    // Writes when the last time is long ago, so that a run that is killed loses little.
    void flush_sometimes(int64_t now);
    void flush();

    // What is missing: of a file that could not be written, why. Zero, empty when nothing is.
    uint64_t dropped() const;
    std::string problem() const;
    uint32_t rotations() const;

  private:
    struct Shared;
    bool begin_file(std::string *error);
    bool reopen();
    uint8_t *room_for(size_t size);
    void rotate();
    void close_file();

    std::string path_, front_;
    uint64_t limit_ = 0;
    Shared *shared_ = nullptr;
    int fd_ = -1;
    int64_t flushed_at_ = 0;
};

}  // namespace trace

#endif
