// A worker: what a process needs around it to run cases, whether it was forked for them or is the run's own.
#ifndef KIV_WORKER_WORKER_H
#define KIV_WORKER_WORKER_H

#include <cstdint>
#include <optional>
#include <string>

#include "kiv/journal/journal.h"
#include "kiv/select/schedule.h"
#include "kiv/site/site.h"
#include "kiv/worker/capture.h"

namespace kiv {

// What the workers of a run have to do.
struct Work {
    const Schedule &schedule;
    Site *site = nullptr;        // null: the flash and the input are left alone
    std::string flash;           // directory behind it; empty: there is none to stage into
    bool asks_to_go_on = false;  // after each case, whether the run goes on
};

struct Worker {
    const Work &work;
    Journal &journal;                     // is told everything
    WorkerMemory &memory;                 // outlives it
    int number = 1;                       // the run's first is 1
    uint64_t from = 0;                    // position of its first case
    std::optional<DirectPipe> pipe = {};  // for what goes past the streams; none in place

    // Runs the cases up to the end of the schedule, or until the journal says to stop.
    void run() const;
};

}  // namespace kiv

#endif
