// Runs the cases of a schedule, in order, on the calling thread, and tells a journal.
#ifndef KIV_WORKER_CASE_RUNNER_H
#define KIV_WORKER_CASE_RUNNER_H

#include <vector>

#include "kiv/journal/journal.h"
#include "kiv/select/schedule.h"
#include "kiv/site/site.h"
#include "kiv/worker/capture.h"

namespace kiv {

class CaseRunner {
  public:
    struct Surroundings {
        Site *site = nullptr;      // null: the flash and the input are left alone
        Stager *stager = nullptr;  // null: no flash to stage into
        Capture *capture = nullptr;
        Counters *counters = nullptr;
        bool asks_to_go_on = false;  // --fail-fast
    };

    CaseRunner(const Schedule &schedule, Journal &journal, const Surroundings &around)
        : schedule_(schedule), journal_(journal), around_(around) {}

    // From a position to the end.
    void run(uint64_t from);

  private:
    bool open_folders(const kiv_folder *folder);  // false: not to go on
    void close_folder();
    void fixture(const kiv_folder *folder, bool set_up);
    void run_case(uint64_t position);
    void prepare(const CaseFiles &files);

    const Schedule &schedule_;
    Journal &journal_;
    Surroundings around_;
    std::vector<const kiv_folder *> open_;
    const CaseFiles *prepared_ = nullptr;
    std::string problem_;
};

}  // namespace kiv

#endif
