// What the supervision of a run goes by.
#ifndef KIV_SUPERVISE_POLICY_H
#define KIV_SUPERVISE_POLICY_H

#include <cstdint>

namespace kiv {

// Where a run goes on after a case that ended its worker.
enum class OnCrash { next_folder, next_case, stop };

// Times are nanoseconds.
struct Policy {
    int64_t timeout = 0;           // of a case or fixture; 0: none
    bool times_operators = false;  // and of a case that waits for an operator
    int64_t grace = 0;             // between the polite end of a worker and the forced one
    OnCrash on_crash = OnCrash::next_folder;

    int64_t announcement = 5'000'000'000;  // a case that takes longer is announced; again at twice the time
    int64_t interrupted_grace = 2'000'000'000;  // at most, when the run is interrupted
    int64_t leaving_grace = 10'000'000'000;     // for a worker that has run its last case
};

}  // namespace kiv

#endif
