// The process between the supervision and a worker.
#include "kiv/supervise/keeper.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "kiv/reports/outlet.h"
#include "kiv/supervise/processes.h"

namespace kiv {

// One change, whole: what the keeper tells is smaller than a pipe takes at once.
struct Keeper::Told {
    enum Kind : int { started, not_started, changed, ended } kind;
    int value;  // the worker's process, an errno, a wait status, a number of processes
};

namespace {

// The status that waitpid gives for what waitid tells.
int wait_status_of(const siginfo_t &info) {
    switch (info.si_code) {
        case CLD_EXITED:
            return (info.si_status & 0xff) << 8;
        case CLD_STOPPED:
        case CLD_TRAPPED:
            return info.si_status << 8 | 0x7f;
        case CLD_CONTINUED:
            return 0xffff;
        default:
            return info.si_status & 0x7f;
    }
}

// A change of a process; one that has ended stays to be waited for, so that its number is nobody else's.
bool look_at(pid_t process, int what, siginfo_t *info) {
    info->si_pid = 0;
    return waitid(P_PID, static_cast<id_t>(process), info, what | WNOHANG) == 0 && info->si_pid != 0;
}

template <typename Value>
bool read_whole(int fd, Value *value) {
    ssize_t got;
    do got = read(fd, value, sizeof *value);
    while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(sizeof *value);
}

bool open_pipe(int (&ends)[2]) {
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    for (int &end : ends) end = reports::keep_descriptor(end);
    if (ends[0] >= 0 && ends[1] >= 0) return true;
    errno = EMFILE;
    return false;
}

}  // namespace

Keeper::~Keeper() {
    close_ends();
}

void Keeper::close_ends() {
    for (int *end : {&told_[0], &told_[1], &asked_[0], &asked_[1]}) {
        reports::release_descriptor(*end);
        *end = -1;
    }
}

void Keeper::tell(const Told &told) const {
    while (write(told_[1], &told, sizeof told) < 0 && errno == EINTR) {
    }
}

// In the keeper. Nothing here allocates or locks: the supervision may have been anywhere when it forked.
void Keeper::watch(pid_t supervision) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGCHLD);
    sigaddset(&signals, SIGTERM);  // the supervision died
    siginfo_t info;
    while (getppid() == supervision) {
        while (look_at(worker_, WSTOPPED | WCONTINUED, &info)) {
            tell({Told::changed, wait_status_of(info)});
            kill(supervision, SIGCHLD);
        }
        if (look_at(worker_, WEXITED | WNOWAIT, &info)) {
            tell({Told::changed, wait_status_of(info)});
            kill(supervision, SIGCHLD);
            // Until the supervision asks, or is no more.
            char nothing;
            while (read(asked_[0], &nothing, 1) < 0 && errno == EINTR) {
            }
            return;
        }
        const timespec second{1, 0};
        sigtimedwait(&signals, &info, &second);
    }
    kill(worker_, SIGKILL);
}

void Keeper::keep(pid_t supervision, const std::function<void(pid_t parent)> &work) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const pid_t self = getpid();
    worker_ = fork();
    if (worker_ == 0) {
        tell({Told::started, getpid()});  // before the keeper may be killed
        work(self);
    }
    if (worker_ < 0) {
        tell({Told::not_started, errno});
        _exit(1);
    }
    setsid();  // what ends the group of the run does not end the one who cleans up after it
    // Pipes of the run have no other end here, or who waits for their end would wait for us.
    const int told = fcntl(told_[1], F_DUPFD_CLOEXEC, STDERR_FILENO + 1),
              asked = fcntl(asked_[0], F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    reports::close_kept_descriptors();
    told_[1] = told;
    asked_[0] = asked;
    watch(supervision);
    waitpid(worker_, nullptr, 0);
    tell({Told::ended, end_children_except({})});
    _exit(0);
}

bool Keeper::start(const std::function<void(pid_t parent)> &work) {
    const pid_t self = getpid();
    worker_ = process_ = 0;
    if (!open_pipe(told_) || !open_pipe(asked_)) {
        const int error = errno;
        close_ends();
        errno = error;
        return false;
    }
    process_ = fork();
    if (process_ == 0) keep(self, work);
    int error = errno;
    reports::release_descriptor(told_[1]);
    reports::release_descriptor(asked_[0]);
    told_[1] = asked_[0] = -1;
    Told told{Told::not_started, ECHILD};
    if (process_ > 0) {
        if (read_whole(told_[0], &told) && told.kind == Told::started) {
            worker_ = told.value;
            return true;
        }
        error = told.value;
        waitpid(process_, nullptr, 0);
    }
    process_ = 0;
    close_ends();
    errno = error;
    return false;
}

bool Keeper::take_change(int *status) {
    pollfd waiting{told_[0], POLLIN, 0};
    if (told_[0] < 0 || poll(&waiting, 1, 0) <= 0) return false;
    Told told;
    if (read_whole(told_[0], &told)) {
        *status = told.value;
        return told.kind == Told::changed;
    }
    // Somebody killed the keeper. The worker dies with it, and is ours now.
    close_ends();
    kill(worker_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = 0;
    return waitpid(worker_, status, 0) == worker_;
}

int Keeper::end_the_rest() {
    Told told{Told::ended, 0};
    reports::release_descriptor(asked_[1]);
    asked_[1] = -1;
    if (told_[0] >= 0 && (!read_whole(told_[0], &told) || told.kind != Told::ended)) told.value = 0;
    close_ends();
    if (process_ > 0) waitpid(process_, nullptr, 0);
    process_ = 0;
    return told.value;
}

}  // namespace kiv
