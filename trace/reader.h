// Reads a trace, of this build or of an older one, event by event in bounded memory. A damaged file is read
// up to its last whole entry.
#ifndef TRACE_READER_H
#define TRACE_READER_H

#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "trace/entry.h"
#include "trace/schema_bytes.h"

namespace trace {

// A call, when it has returned or is known never to, or what was told between calls. Views, good until the
// next.
struct Event {
    bool is_call = false;
    Call call;
    Mark mark;
};

class Reader {
  public:
    Reader() = default;
    ~Reader();
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;

    // Reads the schema at the front. False, with *error set, which names the file, for what is no trace.
    bool open(const std::string &path, std::string *error);
    // The same of an open file, which it closes at its end; `name` is for messages.
    bool open(FILE *file, const std::string &name, std::string *error);
    // False at the end. Calls come in the order in which they returned; those that never did, before the next
    // case, fixture or worker begins.
    bool next(Event *event);

    const Schema &schema() { return schema_.schema(); }
    // Bytes of whole entries that were read.
    uint64_t offset() const { return offset_; }
    // Why that is not all of the file: "run.pcap: cut off after byte 4096", empty when it is.
    const std::string &problem() const { return problem_; }

  private:
    // Entries of calls that have begun and not returned: what one thread does is one, at most.
    static constexpr size_t kMostPending = 64;
    struct Pending {
        uint64_t sequence;
        std::vector<uint8_t> entry;
    };

    bool read_entry();
    bool read(void *to, size_t size);
    bool damaged(const char *what);
    bool take_entry(Event *event);
    bool unreturned(Event *event);

    std::string path_;
    FILE *file_ = nullptr;
    ReadSchema schema_;
    uint64_t offset_ = 0;
    std::string problem_;
    bool at_end_ = false;
    bool kept_ = false;           // entry_ was read ahead: it comes next
    std::vector<uint8_t> entry_;  // the last one that was read
    std::deque<Pending> pending_;
    Pending shown_;          // the call that was shown last
    bool flushing_ = false;  // calls that never returned come before entry_
};

}  // namespace trace

#endif
