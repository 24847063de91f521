// Answers calls from a trace: with the statuses, handles and memory of the call that was recorded, and tells
// where a call is another one.
#ifndef TRACE_REPLAY_H
#define TRACE_REPLAY_H

#include <absl/container/flat_hash_map.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "card/boundary/backend.h"
#include "trace/naming.h"
#include "trace/replay_compare.h"
#include "trace/replay_file.h"

namespace trace {

class Replay {
  public:
    enum class Mode : uint8_t {
        STRICT,   // the calls of a case are those of the trace, in its order
        LENIENT,  // each is answered from the nearest of its case that is like it
    };
    // What the replay tells of, and asks, who knows the run.
    struct Surroundings {
        // A difference of the running case or fixture; an empty text stands for `count` more of them.
        std::function<void(std::string_view text, uint64_t count)> differs;
        // Checks of the running case so far.
        std::function<uint64_t()> checks;
        // At a call that never returned. None: the process ends as the one that was recorded did.
        std::function<void()> never_returned = nullptr;
    };
    static constexpr uint64_t kTold = 20;  // differences of a case, by a text

    // In the supervising process, with memory that the workers share: a later one goes on where the one
    // before it was. Likewise ReplayFile::open; LENIENT takes a trace that is not whole.
    bool open(const std::string &path, Mode mode, const Surroundings &around, std::string *lacks,
              std::string *error);

    // In a worker.
    void worker_begins();
    // A case or fixture, as kind says.
    void item_begins(EntryKind kind, std::string_view folder, std::string_view name);
    void item_ended();
    uint64_t answer(card::OperationId operation, const uint64_t *words);
    // Never null.
    const char *status_text(uint32_t status) const;

  private:
    static constexpr size_t kLookedAhead = 256;  // calls, for one that is like another

    void differ(std::string text, uint64_t count = 1);
    bool read(size_t place, Call *recorded);
    bool pick_strictly(const Call &live, Call *recorded);
    bool pick_nearest(const Call &live, Call *recorded);
    bool is_like(size_t place, const Call &live, Call *recorded);
    void not_made(size_t from, size_t count);
    std::string title(const Call &live) const;
    void leave_memory(const Call &recorded, Call *live);
    [[noreturn]] void end_worker() const;
    uint64_t unanswered(const Call &live) const;

    ReplayFile file_;
    Mode mode_ = Mode::STRICT;
    Surroundings around_;
    std::atomic<uint64_t> *position_ = nullptr;  // shared: the item that began last, from 1

    std::mutex mutex_;
    const ReplayFile::Item *item_ = nullptr;
    std::vector<ReplayFile::Place> places_;
    std::vector<bool> used_;
    size_t next_ = 0;  // of places_
    uint64_t calls_ = 0, told_ = 0;
    SameHandles handles_;
    std::vector<uint8_t> entry_;  // of the running call
};

// The backend that answers from `replay`, which is not owned.
const card::Backend &answering_from(Replay *replay);

}  // namespace trace

#endif
