// The events of a run as the process that runs the cases tells them, in order.
#ifndef KIV_JOURNAL_JOURNAL_H
#define KIV_JOURNAL_JOURNAL_H

#include <cstdint>
#include <string_view>

#include "kiv/results.h"

namespace kiv {

// Checks of the running case or fixture.
struct Counters {
    uint64_t checks;
    uint64_t failed;
};

// A call of an operation that failed. Views: a process that may be dying copies nothing.
struct FailedCall {
    uint32_t code = 0;
    std::string_view operation, code_name, code_text;  // as FailedCalls has them

    static constexpr std::string_view FailedCall::*kTexts[] = {&FailedCall::operation, &FailedCall::code_name,
                                                               &FailedCall::code_text};
};

// What a worker leaves when it dies: lies in memory that outlives it.
struct WorkerMemory {
    Counters counters;
    uint32_t staged;  // a bit for each input file that the run put into the flash
};

enum class Printed : uint8_t {
    print,   // one print, whole
    direct,  // what came past the streams: write(2), children
};

// Times are nanoseconds of the monotonic clock.
class Journal {
  public:
    // Failed checks kept of one case or fixture; the others are counted.
    static constexpr uint64_t kKeptFailures = 100;

    virtual ~Journal() = default;
    // Before something is timed: waits for whoever reads, so that the wait is not in the time.
    virtual void make_room() {}
    virtual void group_begins(uint64_t position, uint32_t count) = 0;
    virtual void group_ended() = 0;
    virtual void fixture_begins(uint32_t folder, bool set_up, int64_t time) = 0;
    virtual void fixture_ended(int64_t time, const Counters &counters) = 0;
    virtual void case_begins(uint64_t position, int64_t time) = 0;
    virtual void case_ended(int64_t time, const Counters &counters) = 0;
    virtual void failed_check(const CheckView &check) = 0;
    virtual void failed_call(const FailedCall &) {}
    // After a failed call of the same case or fixture: a check, passed or failed, carried this status.
    virtual void status_checked(uint32_t /*status*/) {}
    virtual void text(Printed kind, std::string_view text) = 0;
    // From observers to observers; the bytes up to and with the `last` piece belong together.
    virtual void sent(std::string_view /*bytes*/, bool /*last*/) {}
    // The case reads standard input for the first time: from `source`, `lines` lines; from whoever is there
    // when empty.
    virtual void reads_input(std::string_view source, uint32_t lines) = 0;
    virtual void note(std::string_view text) = 0;
    // For who watches the run; told in the supervising process alone.
    virtual void show(std::string_view /*line*/) {}
    virtual void done() = 0;
    // With --fail-fast: whether the run goes on after the case that just ended. Waits for whoever decides.
    virtual bool go_on() = 0;
};

}  // namespace kiv

#endif
