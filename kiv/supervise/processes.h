// Signals and processes around a supervised run.
#ifndef KIV_SUPERVISE_PROCESSES_H
#define KIV_SUPERVISE_PROCESSES_H

#include <sys/types.h>

#include <csignal>
#include <iterator>
#include <set>

namespace kiv {

class Ring;

// While it lives, the signals that end or concern a run are noticed instead of acted on; each ends a wait on
// the ring. One at a time.
class RunSignals {
  public:
    explicit RunSignals(Ring &ring);
    ~RunSignals();
    RunSignals(const RunSignals &) = delete;
    RunSignals &operator=(const RunSignals &) = delete;

    // Number of interruptions so far (SIGINT, SIGTERM, SIGHUP, SIGQUIT), and the last of them.
    int interruptions() const;
    int last_interruption() const;
    bool take_child_event();
    bool take_continued();

    // Around fork: nothing is delivered in between.
    void block();
    void unblock();
    // In the worker: everything as a program finds it when it starts.
    void restore();

  private:
    static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD, SIGCONT};

    struct sigaction saved_[std::size(kSignals)];
    sigset_t old_mask_;
};

// While it lives, writing what nobody reads, or more than a file may hold, fails instead of ending the
// process. One at a time.
class WritesFail {
  public:
    WritesFail();
    ~WritesFail();
    WritesFail(const WritesFail &) = delete;
    WritesFail &operator=(const WritesFail &) = delete;

    // In a worker: everything as a program finds it when it starts.
    static void resign();
};

// While it lives, processes that lose their parent become children of this one.
class Subreaper {
  public:
    Subreaper();
    ~Subreaper();
    Subreaper(const Subreaper &) = delete;
    Subreaper &operator=(const Subreaper &) = delete;

    // In a worker: it is none.
    static void resign();

  private:
    int before_ = 0;
};

// The processes whose parent is this one.
std::set<pid_t> children();

// Ends every process that became a child of this one, except `spared`. Returns how many there were.
int end_children_except(const std::set<pid_t> &spared);

}  // namespace kiv

#endif
