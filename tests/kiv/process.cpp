// Runs a sample suite from outside.
#include "tests/kiv/process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace kiv_test {

// A test that was started in the background passes on that it ignores interrupts.
void default_signals() {
    for (const int signal : {SIGINT, SIGQUIT, SIGHUP}) ::signal(signal, SIG_DFL);
}

Process::Process(const std::string &sample, const std::vector<std::string> &arguments,
                 const std::string &directory, const std::map<std::string, std::string> &environment,
                 const std::string &input) {
    const std::string program = std::string(SAMPLES) + "/kiv_sample_" + sample;
    std::vector<char *> argv = {const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments) argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    int in[2], out[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    prctl(PR_SET_CHILD_SUBREAPER, 1);  // what a killed run leaves comes to us
    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error("no process");  // -1 would be everybody to kill
    if (pid_ == 0) {
        setpgid(0, 0);
        default_signals();
        dup2(in[0], 0);
        dup2(out[1], 1);
        dup2(out[1], 2);
        for (const char *name :
             {"TEST_TOTAL_SHARDS", "TEST_SHARD_INDEX", "TEST_SHARD_STATUS_FILE", "TESTBRIDGE_TEST_ONLY",
              "XML_OUTPUT_FILE", "TEST_PREMATURE_EXIT_FILE", "TEST_TMPDIR", "CI", "BAZEL_TEST",
              "KIV_EXIT_STATUS", "CTEST_INTERACTIVE_DEBUG_MODE", "DASHBOARD_TEST_FROM_CTEST"})
            unsetenv(name);
        setenv("KIV_SITE", "", 1);
        for (const auto &[name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
        if (chdir(directory.c_str()) != 0) _exit(126);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    setpgid(pid_, pid_);
    close(in[0]);
    close(out[1]);
    output_ = out[0];
    if (!input.empty() && write(in[1], input.data(), input.size()) < 0) throw std::runtime_error("no input");
    close(in[1]);
}

Process::~Process() {
    if (!reaped_) {
        signal_group(SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(output_);
}

void Process::signal_group(int signal) const {
    kill(-pid_, signal);
}
void Process::signal_process(int signal) const {
    kill(pid_, signal);
}

bool Process::read_more() {
    char buffer[65536];
    ssize_t got;
    do got = read(output_, buffer, sizeof buffer);
    while (got < 0 && errno == EINTR);
    if (got <= 0) return false;
    out_.append(buffer, static_cast<size_t>(got));
    return true;
}

bool Process::wait_for(const std::string &text) {
    while (out_.find(text) == std::string::npos)
        if (!read_more()) return false;
    return true;
}

Finished Process::finish() {
    while (read_more()) {
    }
    int status = 0;
    rusage usage{};
    wait4(pid_, &status, 0, &usage);
    reaped_ = true;
    Finished finished;
    finished.out = std::move(out_);
    if (WIFEXITED(status)) finished.exit_code = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) finished.signal = WTERMSIG(status);
    finished.peak_kib = usage.ru_maxrss;
    return finished;
}

Finished run(const std::string &sample, const std::vector<std::string> &arguments,
             const std::map<std::string, std::string> &environment, const std::string &input) {
    const TemporaryDirectory directory;
    return Process(sample, arguments, directory.path(), environment, input).finish();
}

bool group_exists(pid_t group) {
    return kill(-group, 0) == 0 || errno == EPERM;
}
bool process_exists(pid_t process) {
    if (kill(process, 0) != 0) return errno == EPERM;
    // One that waits for its parent's notice is over all the same.
    const std::string stat = read_text("/proc/" + std::to_string(process) + "/stat");
    const size_t name_end = stat.rfind(')');
    return name_end == std::string::npos || stat.compare(name_end, 3, ") Z") != 0;
}

bool group_is_gone(pid_t group) {
    for (int i = 0; i < 500 && group_exists(group); ++i) {
        while (waitpid(-group, nullptr, WNOHANG) > 0) {
        }
        usleep(1000);
    }
    return !group_exists(group);
}

}  // namespace kiv_test
