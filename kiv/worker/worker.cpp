// A worker: what a process needs around it to run cases.
#include "kiv/worker/worker.h"

#include "kiv/observers.h"
#include "kiv/worker/case_runner.h"
#include "kiv/worker/live.h"

namespace kiv {

void Worker::run() const {
    {
        std::optional<Stager> stager;
        if (work.site != nullptr && !work.flash.empty()) stager.emplace(work.flash, &memory.staged);
        Capture capture(journal, work.site != nullptr, pipe);
        go_live(&journal, &memory.counters);
        Journal *const notes_before = take_notes(&journal);
        for (Observer *observer : observers()) observer->worker_begins(number);
        heed_observers();
        CaseRunner(work, {journal, capture, memory.counters, stager ? &*stager : nullptr}).run(from);
        for (Observer *observer : observers()) observer->worker_ends();
        take_notes(notes_before);
        go_live(nullptr, nullptr);
    }
    journal.done();
}

}  // namespace kiv
