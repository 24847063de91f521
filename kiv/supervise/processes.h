// Signals and processes around a supervised run.
#ifndef KIV_SUPERVISE_PROCESSES_H
#define KIV_SUPERVISE_PROCESSES_H

#include <sys/types.h>

#include <csignal>
#include <set>

namespace kiv {

class Ring;

// While it lives, the signals that end or concern a run are noticed instead of acted on; each ends a wait on
// the ring.
class RunSignals {
  public:
    explicit RunSignals(Ring &ring);
    ~RunSignals();
    RunSignals(const RunSignals &) = delete;
    RunSignals &operator=(const RunSignals &) = delete;

    // Number of interruptions so far (SIGINT, SIGTERM, SIGHUP, SIGQUIT), and the last of them.
    static int interruptions();
    static int last_interruption();
    static bool take_child_event();
    static bool take_continued();

    // Around fork: nothing is delivered in between.
    void block();
    void unblock();
    // In the worker: everything as a program finds it when it starts.
    void restore();

  private:
    struct Saved {
        int signal;
        struct sigaction action;
    };
    Saved saved_[7];
    sigset_t old_mask_;
};

// The processes whose parent is this one.
std::set<pid_t> children();

// Ends every process that became a child of this one, except `spared`. Returns how many there were.
int end_children_except(const std::set<pid_t> &spared);

}  // namespace kiv

#endif
