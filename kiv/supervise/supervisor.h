// Runs the cases in worker processes and survives whatever they do.
#ifndef KIV_SUPERVISE_SUPERVISOR_H
#define KIV_SUPERVISE_SUPERVISOR_H

#include <sys/types.h>

#include <string>

#include "kiv/journal/ring.h"
#include "kiv/options.h"
#include "kiv/select/schedule.h"
#include "kiv/site/site.h"
#include "kiv/supervise/recorder.h"

namespace kiv {

class Supervisor {
  public:
    struct Settings {
        const Options *options = nullptr;
        Site *site = nullptr;
        std::string flash;
    };

    Supervisor(const Schedule &schedule, Recorder &recorder, Settings settings)
        : schedule_(schedule),
          recorder_(recorder),
          settings_(std::move(settings)),
          options_(*settings_.options) {}

    // Every case has been reported when it returns, and no process is left.
    void run();

  private:
    bool start_worker(uint64_t from);
    [[noreturn]] void work(pid_t supervisor, uint64_t from, int direct_read, int direct_write);
    void watch();
    void look_after_worker();
    void keep_time(int64_t now);
    void heed_interrupts(int64_t now);
    void end_worker(int64_t now, const std::string &why);
    void announce_slow(int64_t now);
    size_t drain_direct();
    bool decide_what_next(uint64_t from);
    void end_leftovers();

    const Schedule &schedule_;
    Recorder &recorder_;
    Settings settings_;
    const Options &options_;
    Ring ring_;

    pid_t worker_ = 0;
    int worker_number_ = 0;
    int direct_ = -1;  // reading end of what the worker writes past the streams
    bool gone_ = false;
    int wait_status_ = 0;
    int stop_signal_ = 0;  // the worker is stopped by it

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
