// Records the calls of a worker: the last ones always, all of them into a file when there is one.
#ifndef TRACE_RECORDER_H
#define TRACE_RECORDER_H

#include <atomic>
#include <bitset>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "trace/call_ring.h"
#include "trace/capture.h"
#include "trace/file_writer.h"
#include "trace/layer.h"

namespace trace {

class Recorder : public CallWatcher {
  public:
    // What the recorder is told of and tells, by who knows the run.
    struct Surroundings {
        // Checks of the running case so far.
        uint64_t (*checks)() = nullptr;
        // Takes entries out of the worker: of a case that is not good, or of all.
        void (*send)(std::string_view entries) = nullptr;
    };
    enum class Sends : uint8_t { on_demand, every_case, every_call };
    // How a worker ended in a case or fixture.
    struct Ended {
        int signal = 0;  // 0: it did not
        bool timed_out = false;
    };

    // In the supervising process. False, with *error set.
    bool create(const Surroundings &around, std::string *error);
    // The file takes only calls of these families; of all when there are none.
    void only_families(const std::vector<std::string> &families);
    FileWriter &file() { return file_; }
    const FileWriter &file() const { return file_; }
    void set_sends(Sends sends) { sends_ = sends; }
    Sends sends() const { return sends_; }

    // In a worker, which is told of calls from then on.
    void worker_begins(int number) { worker_begins(number, Ended()); }
    void worker_begins(int number, const Ended &before);
    // 0: none comes after the one that ended.
    void tell_worker(int number, const Ended &before);
    void worker_ends();
    // A case or fixture, as kind says.
    void item_begins(EntryKind kind, std::string_view folder, std::string_view name);
    // `wanted`: someone may ask for its calls.
    void item_ended(EntryKind kind, std::string_view folder, std::string_view name, bool wanted);
    void tell(const Mark &mark);
    bool call_failed() const { return call_failed_; }

    void begins(card::OperationId operation, const uint64_t *arguments, Passing &passing) override;
    void returned(uint64_t result, Passing &passing) override;

    // In the supervising process, of a worker that died: what its last item has left.
    void append_left(std::string *entries) const { ring_.append_to(entries); }
    // Calls that could not be recorded, because their thread was interrupted while it recorded another one.
    uint64_t missed() const;

  private:
    struct Shared;
    bool enter();
    void leave() { busy_.store(false, std::memory_order_release); }
    void send_all();

    Surroundings around_;
    CallRing ring_;
    FileWriter file_;
    std::bitset<card::kOperationCount> in_file_;
    Sends sends_ = Sends::on_demand;
    Shared *shared_ = nullptr;
    std::atomic<bool> busy_{false};
    int under_way_ = 0;  // calls that have begun and not returned
    uint64_t sequence_ = 0;
    int64_t wall_ = 0;  // the wall clock's lead over the monotonic one
    bool call_failed_ = false;
};

// Lies on the stack of a call.
struct CallWatcher::Passing {
    Capture capture;
    const uint8_t *entry = nullptr;  // as it began; null: not recorded
    size_t size = 0;
};

}  // namespace trace

#endif
