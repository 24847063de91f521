// What the supervision of a run goes by.
#ifndef KIV_SUPERVISE_POLICY_H
#define KIV_SUPERVISE_POLICY_H

#include <cstdint>

namespace kiv {

// Where a run goes on after a case that ended its worker.
enum class OnCrash { next_folder, next_case, stop };

struct Policy {
    // Nanoseconds.
    int64_t timeout = 0;  // of a case or fixture; 0: none
    int64_t grace = 0;    // between the polite end of a worker and the forced one

    bool times_operators = false;  // a case that waits for an operator too
    OnCrash on_crash = OnCrash::next_folder;
};

}  // namespace kiv

#endif
