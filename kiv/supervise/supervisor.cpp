// Runs the cases in worker processes and survives whatever they do.
#include "kiv/supervise/supervisor.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kiv/files.h"
#include "kiv/journal/ring_journal.h"
#include "kiv/reports/outlet.h"
#include "kiv/reports/time.h"
#include "kiv/signal_text.h"

namespace kiv {

namespace {

constexpr int64_t kShortPause = 50'000;
constexpr int kShortPauses = 4;                // before the supervision really sleeps
constexpr int64_t kLongestSleep = 20'000'000;  // what goes past the streams has to be fetched
constexpr const char *kDamage = "the case damaged the run's memory";
constexpr int kPipeSize = 256 * 1024;
// Out of the way of the suite's own descriptors, and past what a card's shell passes on.
constexpr int kLowestDescriptor = 64;

std::string seconds_text(int64_t nanoseconds) {
    return reports::duration_text(std::chrono::nanoseconds(nanoseconds));
}

// Moves a descriptor. -1, with errno set, when there is no place for it.
int out_of_the_way(int fd) {
    int moved = fcntl(fd, F_DUPFD_CLOEXEC, kLowestDescriptor);
    // With fewer descriptors than that, anything that is not a standard one.
    if (moved < 0) moved = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(fd);
    errno = error;
    return moved;
}

// False when there is no pipe.
bool open_direct_pipe(DirectPipe *pipe) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    pipe->read_end = out_of_the_way(ends[0]);
    pipe->write_end = out_of_the_way(ends[1]);
    pipe->supervisor = getpid();
    if (pipe->read_end < 0 || pipe->write_end < 0) {
        const int error = errno;
        close(pipe->read_end);
        close(pipe->write_end);
        errno = error;
        return false;
    }
    fcntl(pipe->read_end, F_SETFL, O_NONBLOCK);
    fcntl(pipe->write_end, F_SETPIPE_SZ, kPipeSize);
    return true;
}

}  // namespace

void Supervisor::run() {
    std::string error;
    if (!ring_.create(&error)) {
        recorder_.stop(error, error);
        return;
    }
    signals_.emplace(ring_);
    present_before_ = children();
    const Subreaper subreaper;
    reports::set_stall_watch([this](int64_t waited) { return may_wait(waited); });
    uint64_t from = 0;
    while (from < schedule_.size()) {
        if (!start_worker(from)) break;
        watch();
        end_leftovers();
        if (!decide_what_next(from)) break;
        from = recorder_.next_position();
    }
    const bool at_once = signals_->interruptions() > 1;
    reports::set_stall_watch([at_once, longest = policy_.timeout](int64_t waited) {
        return !at_once && (longest <= 0 || waited < longest);
    });
    signals_.reset();
}

bool Supervisor::may_wait(int64_t waited) {
    resumed_at_ = now_ns();  // the worker may be waiting for us
    const int interruptions = signals_->interruptions();
    if (interruptions > 1 || (interruptions == 1 && waited >= policy_.interrupted_grace)) return false;
    return policy_.timeout <= 0 || waited < policy_.timeout;
}

bool Supervisor::start_worker(uint64_t from) {
    DirectPipe pipe;
    if (!open_direct_pipe(&pipe)) {
        recorder_.stop(std::string("no pipe for a worker: ") + strerror(errno), "no worker could be started");
        return false;
    }
    ring_.reset();
    told_.restart(from);
    ++worker_number_;
    gone_ = forced_ = timed_out_ = damaged_ = false;
    polite_since_ = 0;
    stop_signal_ = 0;
    stop_to_say_ = false;
    why_.clear();
    heard_at_ = now_ns();
    recorder_.console()->flush();
    fflush(nullptr);  // a worker that leaves through exit() must not write our buffers a second time
    signals_->block();
    const bool started = keeper_.start([&](pid_t parent) { work(parent, from, pipe); });
    const int error = errno;
    worker_ = keeper_.worker();
    signals_->unblock();
    close(pipe.write_end);
    direct_ = pipe.read_end;
    if (started) return true;
    close(direct_);
    recorder_.stop(std::string("no worker could be started: ") + strerror(error),
                   "no worker could be started");
    return false;
}

void Supervisor::work(pid_t parent, uint64_t from, const DirectPipe &pipe) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);  // it died in between
    Subreaper::resign();
    signals_->restore();
    WritesFail::resign();
    signals_->unblock();
    reports::close_kept_descriptors();
    ring_.become_writer();
    RingJournal journal(ring_);
    Worker{.work = work_,
           .journal = journal,
           .memory = ring_.control().worker,
           .number = worker_number_,
           .from = from,
           .pipe = pipe}
        .run();
    exit(0);
}

void Supervisor::watch() {
    int idle = 0;
    while (true) {
        // What was in the ring at this moment is read before the clock is acted on: a case that has ended is
        // not late.
        const int64_t now = now_ns();
        if (signals_->take_child_event()) look_after_worker();
        size_t waiting;
        ring_.readable(&waiting);
        told_.set_now(now);
        const size_t got = hear(std::max<size_t>(waiting, 1));
        if (damaged_ && polite_since_ == 0 && !gone_) {
            why_ = kDamage;
            polite_since_ = now;
            kill_worker();
        }
        if (gone_) break;
        announce_stop();
        if (signals_->take_continued()) resumed_at_ = now;
        heed_interrupts(now);
        keep_time(now);
        recorder_.console()->tick(now);
        if (got > 0) {
            heard_at_ = now;
            idle = 0;
            continue;
        }
        if (idle >= kShortPauses - 1 && drain_direct() > 0) {
            idle = kShortPauses - 1;
            continue;
        }
        if (++idle <= kShortPauses) {
            const timespec pause{0, kShortPause};
            nanosleep(&pause, nullptr);
            continue;
        }
        recorder_.console()->flush();
        reports::Outlet::write_pending();
        ring_.wait_readable(kLongestSleep);
    }
    while (hear(Ring::kSize) > 0) {
    }
    if (damaged_) why_ = kDamage;
    while (drain_direct() > 0) {
    }
    // A terminal's Ctrl-C reaches the worker as well, and may end it before we hear of it ourselves.
    if (WIFSIGNALED(wait_status_) && WTERMSIG(wait_status_) == SIGINT && signals_->interruptions() == 0) {
        const timespec pause{0, 20'000'000};
        nanosleep(&pause, nullptr);
    }
    heed_interrupts(now_ns());
    close(direct_);
    direct_ = -1;
}

// Takes in what the worker has told, up to `limit` bytes or a little more. Returns how many bytes.
size_t Supervisor::hear(size_t limit) {
    if (damaged_) return 0;
    const RecordBounds bounds{schedule_.size(), static_cast<uint32_t>(schedule_.context().folders.size())};
    damaged_ = !ring_.is_intact();
    const size_t got = damaged_ ? 0 : replay_ring(ring_, told_, bounds, limit, &damaged_);
    damaged_ = damaged_ || !told_.is_sound();
    return got;
}

size_t Supervisor::drain_direct() {
    char buffer[32 * 1024];
    const ssize_t got = read(direct_, buffer, sizeof buffer);
    if (got <= 0) return 0;
    recorder_.text(Printed::direct, {buffer, static_cast<size_t>(got)});
    return static_cast<size_t>(got);
}

void Supervisor::look_after_worker() {
    int status;
    while (keeper_.take_change(&status)) {
        if (WIFSTOPPED(status)) {
            stop_signal_ = WSTOPSIG(status);
            stop_to_say_ = stop_signal_ != SIGTSTP;  // Ctrl-Z stops the whole run; that needs no saying
        } else if (WIFCONTINUED(status)) {
            stop_signal_ = 0;
        } else {
            wait_status_ = status;
            gone_ = true;
            return;
        }
    }
}

void Supervisor::announce_stop() {
    if (!stop_to_say_) return;
    stop_to_say_ = false;
    recorder_.console()->announce("stopped by " + signal_name(stop_signal_) + ": " + recorder_.item_name());
}

void Supervisor::end_worker(int64_t now, const std::string &why) {
    if (polite_since_ != 0 || gone_) return;
    polite_since_ = now;
    why_ = why;
    kill(worker_, SIGTERM);
    kill(worker_, SIGCONT);  // a stopped process takes no other signal
}

void Supervisor::kill_worker() {
    forced_ = true;
    kill(worker_, SIGKILL);
}

void Supervisor::heed_interrupts(int64_t now) {
    const int count = signals_->interruptions();
    if (count == 0) return;
    if (!interrupted_) {
        interrupted_ = true;
        recorder_.interrupted("interrupted (" + signal_name(signals_->last_interruption()) + ")");
        if (recorder_.item_runs())
            recorder_.console()->announce("interrupted: ending " + recorder_.item_name());
        end_worker(now, "interrupted");
    }
    if (count > 1 && !forced_ && !gone_) kill_worker();
}

void Supervisor::announce_slow(int64_t now) {
    const int64_t since = recorder_.item_started();
    if (announced_for_ != since) {
        announced_for_ = since;
        next_announcement_ = since + policy_.announcement;
    }
    if (now < next_announcement_ || recorder_.operator_types()) return;
    next_announcement_ = now + (now - since);
    std::string text = "still running after " + seconds_text(now - since) + ": " + recorder_.item_name();
    if (policy_.timeout > 0) text += " (ended after " + seconds_text(policy_.timeout) + ")";
    recorder_.console()->announce(text);
}

void Supervisor::keep_time(int64_t now) {
    if (polite_since_ != 0) return keep_time_of_an_ending_worker(now);
    if (!recorder_.item_runs()) return keep_time_between_items(now);
    announce_slow(now);
    if (policy_.timeout <= 0 || (recorder_.operator_types() && !policy_.times_operators)) return;
    if (now - std::max(recorder_.item_started(), resumed_at_) < policy_.timeout) return;
    timed_out_ = true;
    std::string why = "took longer than " + seconds_text(policy_.timeout);
    if (stop_signal_ != 0) why += ", stopped by " + signal_name(stop_signal_);
    end_worker(now, why);
}

void Supervisor::keep_time_of_an_ending_worker(int64_t now) {
    const int64_t grace = interrupted_ ? std::min(policy_.interrupted_grace, policy_.grace) : policy_.grace;
    if (forced_ || now - polite_since_ < grace) return;
    why_ += "; ignored SIGTERM for " + seconds_text(grace) + " and was killed";
    kill_worker();
}

void Supervisor::keep_time_between_items(int64_t now) {
    if (!recorder_.is_done()) {
        if (policy_.timeout <= 0 || now - std::max(heard_at_, resumed_at_) < policy_.timeout) return;
        timed_out_ = true;
        end_worker(now, "did nothing for " + seconds_text(policy_.timeout));
        return;
    }
    // The last case is over; only the program's own exit handlers run.
    if (announced_for_ != -1) {
        announced_for_ = -1;
        next_announcement_ = now + policy_.leaving_grace;
    } else if (now >= next_announcement_) {
        timed_out_ = true;
        end_worker(now,
                   "did not leave within " + seconds_text(policy_.leaving_grace) + " after its last case");
    }
}

void Supervisor::end_leftovers() {
    const int count = keeper_.end_the_rest() + end_children_except(present_before_);
    if (count == 0) return;
    recorder_.note(std::to_string(count) + (count == 1 ? " process that a case left behind was ended"
                                                       : " processes that cases left behind were ended"));
}

WorkerEnd Supervisor::worker_end() const {
    WorkerEnd end;
    if (WIFSIGNALED(wait_status_))
        end.signal = WTERMSIG(wait_status_);
    else
        end.exit_code = WEXITSTATUS(wait_status_);
    end.timed_out = timed_out_;
    end.interrupted = interrupted_;
    end.how = why_;
    return end;
}

bool Supervisor::decide_what_next(uint64_t from) {
    const WorkerEnd end = worker_end();
    if (recorder_.is_done()) {
        report_leaving(end);
        recorder_.stop_if_unfinished();
        return false;
    }
    bool in_item = recorder_.item_runs();
    const int64_t now = now_ns();
    // What lies beside records that were written over is not believed either.
    if (damaged_) ring_.control().worker = {};
    if (damaged_ && !in_item && !interrupted_) in_item = recorder_.blame_next_case(now);
    const std::string ended_in = recorder_.item_name();
    recorder_.worker_died(end, now, told_.believable(ring_.control().worker.counters, now));
    if (interrupted_) {
        recorder_.skip_to(schedule_.size(), "the run was interrupted");
        return false;
    }
    if (policy_.on_crash == OnCrash::stop) {
        recorder_.stop("after the worker ended in " + ended_in);
        return false;
    }
    if (!in_item && recorder_.next_position() == from) {
        recorder_.stop("a worker ended before its first case", "no worker came as far");
        return false;
    }
    skip_what_cannot_run(ended_in);
    return true;
}

void Supervisor::report_leaving(const WorkerEnd &end) {
    constexpr const char *kWhen = " after its last case";
    if (end.interrupted) return;
    if (!end.how.empty())  // also when it took the end for an order to leave well
        recorder_.worker_failed(end, end.how);
    else if (end.signal != 0)
        recorder_.worker_failed(end, "ended by " + signal_text(end.signal) + " while it left," + kWhen);
    else if (end.exit_code != 0)
        recorder_.worker_failed(end, "left with exit code " + std::to_string(end.exit_code) + kWhen);
}

void Supervisor::skip_what_cannot_run(const std::string &ended_in) {
    const kiv_folder *const dead = recorder_.dead_set_up();
    if (dead == nullptr) {
        if (policy_.on_crash == OnCrash::next_folder && recorder_.next_position() < recorder_.group_end())
            recorder_.skip_to(recorder_.group_end(), "its worker ended in " + ended_in);
        return;
    }
    for (int pass = -1; recorder_.next_position() < schedule_.size();) {
        const Schedule::Group group = schedule_.group_at(recorder_.next_position());
        if (!group.folder->is_below(dead) || (pass >= 0 && group.pass != pass)) break;
        pass = group.pass;
        recorder_.skip_to(group.first + group.count, "the set-up of " + dead->path + " ended its worker");
    }
}

}  // namespace kiv
