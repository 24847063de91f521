// Runs the cases in worker processes and survives whatever they do.
#ifndef KIV_SUPERVISE_SUPERVISOR_H
#define KIV_SUPERVISE_SUPERVISOR_H

#include <sys/types.h>

#include <optional>
#include <set>
#include <string>

#include "kiv/journal/ring.h"
#include "kiv/supervise/keeper.h"
#include "kiv/supervise/policy.h"
#include "kiv/supervise/processes.h"
#include "kiv/supervise/recorder.h"
#include "kiv/supervise/sound_journal.h"
#include "kiv/worker/worker.h"

namespace kiv {

class Supervisor {
  public:
    Supervisor(const Work &work, Recorder &recorder, const Policy &policy)
        : work_(work),
          schedule_(work.schedule),
          recorder_(recorder),
          policy_(policy),
          told_(work.schedule, recorder) {}

    // Every case has been reported when it returns, and no process is left.
    void run();

  private:
    // A worker from its start to its end.
    bool start_worker(uint64_t from);
    [[noreturn]] void work(pid_t parent, uint64_t from, const DirectPipe &pipe);
    void watch();
    size_t hear(size_t limit);
    void look_after_worker();
    size_t drain_direct();
    void end_leftovers();

    // What makes it end early.
    void keep_time(int64_t now);
    void keep_time_between_items(int64_t now);
    void keep_time_of_an_ending_worker(int64_t now);
    void announce_slow(int64_t now);
    void announce_stop();
    void heed_interrupts(int64_t now);
    void end_worker(int64_t now, const std::string &why);
    void kill_worker();
    // Whether something may go on waiting for its reader, who for `waited` nanoseconds has taken nothing.
    bool may_wait(int64_t waited);

    // What its end means. False: the run is over.
    bool decide_what_next(uint64_t from);
    WorkerEnd worker_end() const;
    void report_leaving(const WorkerEnd &end);
    void skip_what_cannot_run(const std::string &ended_in);

    const Work &work_;
    const Schedule &schedule_;
    Recorder &recorder_;
    const Policy policy_;
    SoundJournal told_;  // by the worker, and passed on
    Ring ring_;
    std::optional<RunSignals> signals_;  // while it runs
    std::set<pid_t> present_before_;     // children that are not the run's

    Keeper keeper_;  // of the worker
    pid_t worker_ = 0;
    int worker_number_ = 0;
    int direct_ = -1;  // reading end of what the worker writes past the streams
    bool gone_ = false;
    int wait_status_ = 0;
    int stop_signal_ = 0;  // the worker is stopped by it
    bool stop_to_say_ = false;
    bool damaged_ = false;  // it wrote over the memory of the run

    // How the worker is being ended.
    int64_t polite_since_ = 0;  // SIGTERM was sent then, 0 not yet
    bool forced_ = false;
    bool timed_out_ = false;
    std::string why_;

    bool interrupted_ = false;
    int64_t resumed_at_ = 0;  // the whole run was stopped until then
    int64_t heard_at_ = 0;    // of the worker, for the last time
    int64_t next_announcement_ = 0;
    int64_t announced_for_ = 0;
};

}  // namespace kiv

#endif
