// Signals and processes around a supervised run.
#include "kiv/supervise/processes.h"

#include <dirent.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kiv/files.h"
#include "kiv/journal/ring.h"

namespace kiv {

namespace {

// A signal handler reaches nothing else.
Ring *interrupted_ring;
volatile sig_atomic_t interruption_count, last_signal, child_event, continued;

void notice(int signal) {
    const int error = errno;
    if (signal == SIGCHLD) {
        child_event = 1;
    } else if (signal == SIGCONT) {
        continued = 1;
    } else {
        interruption_count = interruption_count + 1;
        last_signal = signal;
    }
    if (interrupted_ring != nullptr) interrupted_ring->interrupt();
    errno = error;
}

}  // namespace

RunSignals::RunSignals(Ring &ring) {
    interrupted_ring = &ring;
    interruption_count = 0;
    last_signal = 0;
    child_event = 0;
    continued = 0;
    for (size_t i = 0; i < std::size(kSignals); ++i) {
        struct sigaction action {};
        action.sa_handler = notice;
        sigfillset(&action.sa_mask);
        sigaction(kSignals[i], &action, &saved_[i]);
        // Started in the background by a shell, or under nohup: what was ignored stays so.
        const bool can_be_ignored = kSignals[i] == SIGINT || kSignals[i] == SIGQUIT || kSignals[i] == SIGHUP;
        if (can_be_ignored && saved_[i].sa_handler == SIG_IGN) sigaction(kSignals[i], &saved_[i], nullptr);
    }
    sigemptyset(&old_mask_);
}

RunSignals::~RunSignals() {
    restore();
    interrupted_ring = nullptr;
}

int RunSignals::interruptions() const {
    return interruption_count;
}
int RunSignals::last_interruption() const {
    return last_signal;
}

bool RunSignals::take_child_event() {
    if (!child_event) return false;
    child_event = 0;
    return true;
}

bool RunSignals::take_continued() {
    if (!continued) return false;
    continued = 0;
    return true;
}

void RunSignals::block() {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &old_mask_);
}

void RunSignals::unblock() {
    sigprocmask(SIG_SETMASK, &old_mask_, nullptr);
}

void RunSignals::restore() {
    for (size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &saved_[i], nullptr);
}

namespace {

constexpr int kOfWrites[] = {SIGPIPE, SIGXFSZ};
struct sigaction before_writes_fail[std::size(kOfWrites)];
bool writes_fail;

}  // namespace

WritesFail::WritesFail() {
    struct sigaction ignored {};
    ignored.sa_handler = SIG_IGN;
    for (size_t i = 0; i < std::size(kOfWrites); ++i)
        sigaction(kOfWrites[i], &ignored, &before_writes_fail[i]);
    writes_fail = true;
}

WritesFail::~WritesFail() {
    resign();
}

void WritesFail::resign() {
    if (!writes_fail) return;
    for (size_t i = 0; i < std::size(kOfWrites); ++i)
        sigaction(kOfWrites[i], &before_writes_fail[i], nullptr);
    writes_fail = false;
}

Subreaper::Subreaper() {
    prctl(PR_GET_CHILD_SUBREAPER, &before_);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
}

Subreaper::~Subreaper() {
    prctl(PR_SET_CHILD_SUBREAPER, before_);
}

void Subreaper::resign() {
    prctl(PR_SET_CHILD_SUBREAPER, 0);
}

std::set<pid_t> children() {
    std::set<pid_t> found;
    siginfo_t info;
    if (waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD) return found;
    DIR *listing = opendir("/proc");
    if (listing == nullptr) return found;
    const pid_t self = getpid();
    while (const dirent *entry = readdir(listing)) {
        const pid_t pid = static_cast<pid_t>(atoi(entry->d_name));
        if (pid <= 0) continue;
        std::string text, ignored;
        if (!read_file("/proc/" + std::string(entry->d_name) + "/stat", &text, &ignored)) continue;
        const size_t name_end = text.rfind(')');  // a process may be called anything
        char state;
        int parent;
        if (name_end != std::string::npos &&
            sscanf(text.c_str() + name_end + 1, " %c %d", &state, &parent) == 2 && parent == self)
            found.insert(pid);
    }
    closedir(listing);
    return found;
}

int end_children_except(const std::set<pid_t> &spared) {
    siginfo_t info;
    std::set<pid_t> ended;
    // The children of an ended one become ours in turn: round after round, until nobody is left.
    for (int round = 0; round < 2000; ++round) {
        if (waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD) break;
        bool any = false;
        for (const pid_t pid : children()) {
            if (spared.contains(pid)) continue;
            any = true;
            if (waitpid(pid, nullptr, WNOHANG) == pid) continue;  // was over already
            kill(pid, SIGKILL);
            ended.insert(pid);
            waitpid(pid, nullptr, WNOHANG);
        }
        if (!any) break;
        const timespec pause{0, 1'000'000};
        nanosleep(&pause, nullptr);
    }
    return static_cast<int>(ended.size());
}

}  // namespace kiv
