// Runs the cases in worker processes and survives whatever they do.
#include "kiv/supervise/supervisor.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <set>

#include "kiv/files.h"
#include "kiv/journal/ring_journal.h"
#include "kiv/reports/time.h"
#include "kiv/reports/wording.h"
#include "kiv/supervise/processes.h"
#include "kiv/worker/case_runner.h"
#include "kiv/worker/live.h"

namespace kiv {

namespace {

constexpr int64_t kSecond = 1'000'000'000;
constexpr int64_t kShortPause = 50'000;
constexpr int kShortPauses = 4;                  // before the supervision really sleeps
constexpr int64_t kLongestSleep = kSecond / 50;  // what goes past the streams has to be fetched
constexpr int64_t kFirstAnnouncement = 5 * kSecond;
constexpr int64_t kInterruptGrace = 2 * kSecond;
constexpr int64_t kLeavingGrace = 10 * kSecond;  // for a worker that has run its last case
constexpr int kPipeSize = 256 * 1024;

RunSignals *run_signals;
std::set<pid_t> present_before;

std::string seconds_text(int64_t nanoseconds) {
    return reports::duration_text(std::chrono::nanoseconds(nanoseconds));
}

}  // namespace

void Supervisor::run() {
    std::string error;
    if (!ring_.create(&error)) {
        recorder_.stopped(error, false);
        recorder_.skip_to(schedule_.size(), error);
        return;
    }
    RunSignals signals(ring_);
    run_signals = &signals;
    present_before = children();
    int was_subreaper = 0;
    prctl(PR_GET_CHILD_SUBREAPER, &was_subreaper);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    uint64_t from = 0;
    while (from < schedule_.size()) {
        if (!start_worker(from)) break;
        watch();
        end_leftovers();
        if (!decide_what_next(from)) break;
        from = recorder_.next_position();
    }
    prctl(PR_SET_CHILD_SUBREAPER, was_subreaper);
    run_signals = nullptr;
}

bool Supervisor::start_worker(uint64_t from) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        recorder_.stopped(std::string("no pipe for a worker: ") + strerror(errno), false);
        recorder_.skip_to(schedule_.size(), "no worker could be started");
        return false;
    }
    // Out of the way of the suite's own descriptors, and past what a card's shell passes on.
    const int read_end = fcntl(ends[0], F_DUPFD_CLOEXEC, 64), write_end = fcntl(ends[1], F_DUPFD_CLOEXEC, 64);
    close(ends[0]);
    close(ends[1]);
    fcntl(read_end, F_SETFL, O_NONBLOCK);
    fcntl(write_end, F_SETPIPE_SZ, kPipeSize);
    ring_.reset();
    ++worker_number_;
    gone_ = forced_ = timed_out_ = false;
    polite_since_ = 0;
    stop_signal_ = 0;
    why_.clear();
    heard_at_ = now_ns();
    recorder_.console()->flush();
    fflush(nullptr);  // a worker that leaves through exit() must not write our buffers a second time
    run_signals->block();
    const pid_t self = getpid();
    worker_ = fork();
    if (worker_ == 0) work(self, from, read_end, write_end);
    const int error = errno;
    run_signals->unblock();
    close(write_end);
    direct_ = read_end;
    if (worker_ > 0) return true;
    close(direct_);
    recorder_.stopped(std::string("no worker could be started: ") + strerror(error), false);
    recorder_.skip_to(schedule_.size(), "no worker could be started");
    return false;
}

void Supervisor::work(pid_t supervisor, uint64_t from, int direct_read, int direct_write) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != supervisor) _exit(1);  // it died in between
    prctl(PR_SET_CHILD_SUBREAPER, 0);
    run_signals->restore();
    run_signals->unblock();
    ring_.become_writer();
    RingJournal journal(ring_);
    {
        std::optional<Stager> stager;
        if (settings_.site && !settings_.flash.empty())
            stager.emplace(settings_.flash, &ring_.control().staged);
        Capture::Settings capturing;
        capturing.descriptors = true;
        capturing.scripted = settings_.site != nullptr;
        capturing.direct_read = direct_read;
        capturing.direct_write = direct_write;
        capturing.supervisor = supervisor;
        Capture capture(journal, capturing);
        go_live(&journal, &ring_.control().counters);
        take_notes(&journal);
        for (Observer *observer : observers()) observer->worker_begins(worker_number_);
        go_live(&journal, &ring_.control().counters);  // the observers' interests are known now
        CaseRunner::Surroundings around;
        around.site = settings_.site;
        around.stager = stager ? &*stager : nullptr;
        around.capture = &capture;
        around.counters = &ring_.control().counters;
        around.asks_to_go_on = options_.fail_fast;
        CaseRunner(schedule_, journal, around).run(from);
        for (Observer *observer : observers()) observer->worker_ends();
        take_notes(nullptr);
        go_live(nullptr, nullptr);
    }
    journal.done();
    exit(0);
}

void Supervisor::watch() {
    int idle = 0;
    bool damaged = false;
    while (true) {
        // What was in the ring at this moment is read before the clock is acted on: a case that has ended is
        // not late.
        const int64_t now = now_ns();
        if (RunSignals::take_child_event()) look_after_worker();
        size_t waiting;
        ring_.readable(&waiting);
        const size_t got =
            damaged ? 0 : replay_ring(ring_, recorder_, std::max<size_t>(waiting, 1), &damaged);
        if (damaged && polite_since_ == 0 && !gone_) {
            why_ = "wrote over the memory of the run";
            polite_since_ = now;
            forced_ = true;
            kill(worker_, SIGKILL);
        }
        if (gone_) break;
        if (RunSignals::take_continued()) resumed_at_ = now;
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
        ring_.wait_readable(kLongestSleep);
    }
    while (!damaged && replay_ring(ring_, recorder_, Ring::kSize, &damaged) > 0) {
    }
    while (drain_direct() > 0) {
    }
    // A terminal's Ctrl-C reaches the worker as well, and may end it before we hear of it ourselves.
    if (WIFSIGNALED(wait_status_) && WTERMSIG(wait_status_) == SIGINT && RunSignals::interruptions() == 0) {
        const timespec pause{0, 20'000'000};
        nanosleep(&pause, nullptr);
    }
    heed_interrupts(now_ns());
    close(direct_);
    direct_ = -1;
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
    while (waitpid(worker_, &status, WNOHANG | WUNTRACED | WCONTINUED) == worker_) {
        if (WIFSTOPPED(status)) {
            stop_signal_ = WSTOPSIG(status);
            // Ctrl-Z stops the whole run; that needs no saying.
            if (stop_signal_ != SIGTSTP)
                recorder_.console()->announce("stopped by " + reports::signal_name(stop_signal_) + ": " +
                                              recorder_.item_name());
        } else if (WIFCONTINUED(status)) {
            stop_signal_ = 0;
        } else {
            wait_status_ = status;
            gone_ = true;
            return;
        }
    }
}

void Supervisor::end_worker(int64_t now, const std::string &why) {
    if (polite_since_ != 0 || gone_) return;
    polite_since_ = now;
    why_ = why;
    kill(worker_, SIGTERM);
    kill(worker_, SIGCONT);  // a stopped process takes no other signal
}

void Supervisor::heed_interrupts(int64_t now) {
    const int count = RunSignals::interruptions();
    if (count == 0) return;
    if (!interrupted_) {
        interrupted_ = true;
        recorder_.stopped("interrupted (" + reports::signal_name(RunSignals::last_interruption()) + ")",
                          true);
        if (recorder_.item_runs())
            recorder_.console()->announce("interrupted: ending " + recorder_.item_name());
        end_worker(now, "interrupted");
    }
    if (count > 1 && !forced_ && !gone_) {
        forced_ = true;
        kill(worker_, SIGKILL);
    }
}

void Supervisor::announce_slow(int64_t now) {
    const int64_t since = recorder_.item_started();
    if (announced_for_ != since) {
        announced_for_ = since;
        next_announcement_ = since + kFirstAnnouncement;
    }
    if (now < next_announcement_ || recorder_.operator_types()) return;
    next_announcement_ = now + (now - since);
    std::string text = "still running after " + seconds_text(now - since) + ": " + recorder_.item_name();
    if (options_.timeout > 0)
        text += " (ended after " + seconds_text(static_cast<int64_t>(options_.timeout * 1e9)) + ")";
    recorder_.console()->announce(text);
}

void Supervisor::keep_time(int64_t now) {
    if (polite_since_ != 0) {
        const int64_t grace = interrupted_
                                  ? std::min(kInterruptGrace, static_cast<int64_t>(options_.grace * 1e9))
                                  : static_cast<int64_t>(options_.grace * 1e9);
        if (!forced_ && now - polite_since_ >= grace) {
            forced_ = true;
            why_ += "; ignored SIGTERM for " + seconds_text(grace) + " and was killed";
            kill(worker_, SIGKILL);
        }
        return;
    }
    const int64_t limit = static_cast<int64_t>(options_.timeout * 1e9);
    if (!recorder_.item_runs()) {
        if (!recorder_.is_done()) {
            if (limit > 0 && now - std::max(heard_at_, resumed_at_) >= limit)
                end_worker(now, "did nothing for " + seconds_text(limit) + " between cases");
            return;
        }
        // The last case is over; only the program's own exit handlers run.
        if (announced_for_ != -1) {
            announced_for_ = -1;
            next_announcement_ = now + kLeavingGrace;
        } else if (now >= next_announcement_) {
            end_worker(now, "did not leave within " + seconds_text(kLeavingGrace) + " after its last case");
        }
        return;
    }
    announce_slow(now);
    if (limit <= 0 || (recorder_.operator_types() && !options_.timeout_given)) return;
    if (now - std::max(recorder_.item_started(), resumed_at_) < limit) return;
    timed_out_ = true;
    std::string why = "took longer than " + seconds_text(limit);
    if (stop_signal_ != 0) why += ", stopped by " + reports::signal_name(stop_signal_);
    end_worker(now, why);
}

void Supervisor::end_leftovers() {
    const int count = end_children_except(present_before);
    if (count == 0) return;
    recorder_.note(std::to_string(count) + (count == 1 ? " process that a case left behind was ended"
                                                       : " processes that cases left behind were ended"));
}

bool Supervisor::decide_what_next(uint64_t from) {
    WorkerEnd end;
    if (WIFSIGNALED(wait_status_))
        end.signal = WTERMSIG(wait_status_);
    else
        end.exit_code = WEXITSTATUS(wait_status_);
    end.timed_out = timed_out_;
    end.interrupted = interrupted_;
    end.how = why_;
    if (recorder_.is_done()) {
        if (end.signal != 0)
            recorder_.worker_failed_at_exit("the worker was " + reports::end_text(end.signal, -1) +
                                            " while it left, after its last case" +
                                            (why_.empty() ? "" : ": it " + why_));
        else if (end.exit_code != 0)
            recorder_.worker_failed_at_exit("the worker left with exit code " +
                                            std::to_string(end.exit_code) + " after its last case");
        if (recorder_.next_position() < schedule_.size()) {
            recorder_.stopped("after the first case that is not good (--fail-fast)", false);
            recorder_.skip_to(schedule_.size(), "the run stopped before it");
        }
        return false;
    }
    const bool in_item = recorder_.item_runs();
    const std::string what = recorder_.item_name();
    recorder_.worker_died(end, now_ns(), ring_.control().counters);
    if (interrupted_) {
        recorder_.skip_to(schedule_.size(), "the run was interrupted");
        return false;
    }
    if (options_.on_crash == OnCrash::stop || options_.fail_fast) {
        recorder_.stopped("after the worker ended in " + what, false);
        recorder_.skip_to(schedule_.size(), "the run stopped before it");
        return false;
    }
    if (!in_item && recorder_.next_position() == from) {
        recorder_.stopped("a worker ended before its first case", false);
        recorder_.skip_to(schedule_.size(), "no worker came as far");
        return false;
    }
    if (const kiv_folder *dead = recorder_.dead_set_up()) {
        for (int pass = -1; recorder_.next_position() < schedule_.size();) {
            const Schedule::Group group = schedule_.group_at(recorder_.next_position());
            if (!group.folder->is_below(dead) || (pass >= 0 && group.pass != pass)) break;
            pass = group.pass;
            recorder_.skip_to(group.first + group.count, "the set-up of " + dead->path + " ended its worker");
        }
    } else if (options_.on_crash == OnCrash::next_folder &&
               recorder_.next_position() < recorder_.group_end()) {
        recorder_.skip_to(recorder_.group_end(), "its worker ended in " + what);
    }
    return true;
}

}  // namespace kiv
