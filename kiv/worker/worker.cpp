// A worker: what a process needs around it to run cases.
#include "kiv/worker/worker.h"

#include "kiv/observers.h"
#include "kiv/site/flash.h"
#include "kiv/worker/case_runner.h"
#include "kiv/worker/live.h"

namespace kiv {

void Worker::run() const {
    {
        std::optional<Stager> stager;
        if (work.site != nullptr && !work.flash.empty()) stager.emplace(work.flash, &memory.staged);
        Capture capture(journal, work.site != nullptr, pipe);
        go_live(&journal, &memory.counters);
        // The case goes on with what another case left: that it read nothing belongs to its result.
        on_missing_input([](std::string_view path) {
            live_print("ERROR: the input file " + std::string(path) + " is missing\n");
        });
        Journal *const notes_before = take_notes(&journal);
        for (Observer *observer : observers()) observer->worker_begins(number);
        heed_observers();
        CaseRunner(work, {journal, capture, memory.counters, stager ? &*stager : nullptr}).run(from);
        for (Observer *observer : observers()) observer->worker_ends();
        take_notes(notes_before);
        on_missing_input(nullptr);
        go_live(nullptr, nullptr);
    }
    journal.done();
}

}  // namespace kiv
