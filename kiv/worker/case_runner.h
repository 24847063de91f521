// Runs the cases of a schedule, in order, on the calling thread, and tells a journal.
#ifndef KIV_WORKER_CASE_RUNNER_H
#define KIV_WORKER_CASE_RUNNER_H

#include <vector>

#include "kiv/worker/worker.h"

namespace kiv {

class CaseRunner {
  public:
    struct Surroundings {
        Journal &journal;
        Capture &capture;
        Counters &counters;
        Stager *stager;  // null: no flash to stage into
    };

    CaseRunner(const Work &work, const Surroundings &around)
        : work_(work), schedule_(work.schedule), journal_(around.journal), around_(around) {}

    // From a position to the end.
    void run(uint64_t from);

  private:
    bool open_folders(const kiv_folder *folder);  // false: not to go on
    void close_folder();
    void fixture(const kiv_folder *folder, bool set_up);
    void run_case(uint64_t position);
    void prepare(const CaseFiles &files);

    const Work &work_;
    const Schedule &schedule_;
    Journal &journal_;
    Surroundings around_;
    std::vector<const kiv_folder *> open_;
    const CaseFiles *prepared_ = nullptr;
    std::string problem_;
};

}  // namespace kiv

#endif
