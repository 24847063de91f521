// A trace as what a replay answers from: checked from end to end when it is opened, then read case by case.
#ifndef TRACE_REPLAY_FILE_H
#define TRACE_REPLAY_FILE_H

#include <absl/container/flat_hash_map.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "card/boundary/operation.h"
#include "trace/entry.h"
#include "trace/reader.h"

namespace trace {

class ReplayFile {
  public:
    // A case, a fixture, or what a worker did before its first one.
    struct Item {
        EntryKind kind = EntryKind::worker;  // as it begins
        std::string folder, name;
        uint64_t begins = 0;  // of its first packet in the file
        uint64_t checks = 0;  // that it made, where it ended
        bool ended = false;
        // How its worker ended in it: signal, 0 when it did not or nobody knows.
        uint8_t signal = 0;
        bool timed_out = false;
    };
    // A call of an item.
    struct Place {
        uint64_t begins = 0, returns = 0;  // of its packets in the file; 0: it never returned
        uint64_t sequence = 0;
        card::OperationId operation{};
    };
    static constexpr size_t kNone = ~size_t{0};

    ReplayFile() = default;
    ~ReplayFile();
    ReplayFile(const ReplayFile &) = delete;
    ReplayFile &operator=(const ReplayFile &) = delete;

    // False, with *error set, which names the file and the byte, for what is no whole trace. With `partly`
    // one that is cut off, or lacks calls, will do: *lacks says what is missing.
    bool open(const std::string &path, bool partly, std::string *lacks, std::string *error);

    const std::vector<Item> &items() const { return items_; }
    // The next item of that name behind `last` (kNone: from the first on), round to the first one again.
    size_t find(EntryKind kind, std::string_view folder, std::string_view name, size_t last) const;
    // The calls of an item, in the order in which they began. False when the file is another one by now.
    bool load(const Item &item, std::vector<Place> *calls);
    // A call, told in terms of this build; good until the next. False likewise.
    bool read(const Place &place, Call *call);

    // What the card that was recorded said of a status; null where the trace does not tell.
    const char *status_text(uint32_t status) const;

  private:
    struct Scan;

    Bytes packet_at(uint64_t offset, const char **problem);
    bool scan(std::string *lacks, std::string *error, bool partly);
    bool take(Bytes entry, Scan *scan, std::string *what);
    bool take_call(const Call &call, std::string *what);
    void take_mark(const Mark &mark, uint64_t next);

    std::string path_;
    Reader schema_;  // for its schema alone
    int fd_ = -1;
    uint64_t size_ = 0;
    std::vector<int> operations_;  // of this build, by their place in the schema; kUnknown
    absl::flat_hash_map<const prm_record *, const prm_record *> records_;
    std::vector<Item> items_;
    absl::flat_hash_map<std::string, std::vector<size_t>> by_name_;
    absl::flat_hash_map<uint32_t, std::string> texts_;

    std::vector<uint8_t> window_;
    uint64_t window_at_ = 0;
    std::vector<uint8_t> begins_, returns_;  // of the call that was read
};

}  // namespace trace

#endif
