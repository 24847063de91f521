// Where the text of a run goes that somebody reads: a reader that stalls does not stop the run.
#ifndef KIV_REPORTS_OUTLET_H
#define KIV_REPORTS_OUTLET_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace kiv::reports {

// A descriptor of the run's own: out of the way of a case's, not one of the standard ones even where those
// are closed, and closed in workers. Takes `fd` over; returns the new number, or -1 with errno set.
int keep_descriptor(int fd);
void release_descriptor(int fd);
// In a worker: what a case writes to a number that it guesses reaches no report.
void close_kept_descriptors();

// Asked about every 20 ms while something waits for a reader who for `waited` nanoseconds has taken nothing:
// whether to go on waiting. Without one, waits are for ever.
using StallWatch = std::function<bool(int64_t waited)>;
void set_stall_watch(StallWatch watch);

// Writes as far as the reader takes it, and keeps some of the rest. Regular files are written at once.
class Outlet {
  public:
    enum class Kind {
        whole,   // nothing of it may be missing: after a loss nothing more is written
        screen,  // what nobody reads in time is left out, and said
    };

    // A second descriptor for what `fd` leads to; `fd` itself is left alone.
    Outlet(int fd, Kind kind);
    ~Outlet();
    Outlet(const Outlet &) = delete;
    Outlet &operator=(const Outlet &) = delete;

    // False when it cannot be written; problem() says why.
    bool write(std::string_view text);
    // Waits until the reader has taken everything; `patient`: for ever, unless the watch lets nobody wait.
    bool drain(bool patient);

    // What is left of all outlets is written as far as it can be now.
    static void write_pending();

    const std::string &problem() const { return problem_; }

  private:
    static constexpr size_t kKept = 1 << 20;

    bool put();  // what can be written now; false when the reader has gone
    bool wait(size_t most, bool patient);
    void say_what_is_left_out();
    bool fail(const std::string &why);

    const Kind kind_;
    int fd_ = -1;
    bool waits_ = false;  // a write may have to wait for a reader
    size_t portion_;      // bytes that one write may have
    std::string pending_;
    size_t taken_ = 0;       // of pending_
    bool given_up_ = false;  // waiting for the reader of a screen
    uint64_t left_out_ = 0;  // bytes, since then
    std::string problem_;
};

}  // namespace kiv::reports

#endif
