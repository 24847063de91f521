// The process between the supervision and a worker: whatever the worker leaves becomes its child and ends
// with it, also when the supervision is killed.
#ifndef KIV_SUPERVISE_KEEPER_H
#define KIV_SUPERVISE_KEEPER_H

#include <sys/types.h>

#include <functional>

namespace kiv {

class Keeper {
  public:
    Keeper() = default;
    ~Keeper();
    Keeper(const Keeper &) = delete;
    Keeper &operator=(const Keeper &) = delete;

    // Starts a worker, in which `work` is called with the worker's parent and must not return. While all
    // signals are blocked. False, with errno set, when there is no process.
    bool start(const std::function<void(pid_t parent)> &work);
    pid_t worker() const { return worker_; }
    // What became of the worker, one change after the other, as waitpid tells it; a SIGCHLD announces each.
    // False when there is nothing new.
    bool take_change(int *status);
    // When the worker is gone: ends every process that it left. Returns how many there were.
    int end_the_rest();

  private:
    struct Told;

    [[noreturn]] void keep(pid_t supervision, const std::function<void(pid_t parent)> &work);
    void tell(const Told &told) const;
    void watch(pid_t supervision);
    void close_ends();

    pid_t process_ = 0, worker_ = 0;
    int told_[2] = {-1, -1};   // from the keeper to the supervision
    int asked_[2] = {-1, -1};  // closed by the supervision when the rest is to be ended
};

}  // namespace kiv

#endif
