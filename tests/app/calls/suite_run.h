// The whole program in a process of its own, with something of the test between the suite and the simulated
// card.
#ifndef TESTS_APP_CALLS_SUITE_RUN_H
#define TESTS_APP_CALLS_SUITE_RUN_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "card/boundary/operation.h"
#include "prm_types.h"

namespace suite_run {

// What a run leaves for the process that started it.
struct Outcome {
    struct Call {
        card::OperationId operation;
        bool good;
    };
    bool ended;  // else a case brought the process down
    bool good;   // it ended, and everything in it is good
    size_t with_unnoticed_calls;
    uint64_t differences;
    uint32_t calls;
    Call call[8192];

    bool silent() const { return good && with_unnoticed_calls == 0; }
};

// Takes down a call, in the run.
void note_call(card::OperationId operation, prm_status_t status);

// Runs the default site's plan, or what `words` of the command line say. `interpose` is called in the run,
// when the simulated card has been put behind the operations. The outcome stays until the next run.
const Outcome &run(const std::function<void()> &interpose, const std::vector<std::string> &words = {});

}  // namespace suite_run

#endif
