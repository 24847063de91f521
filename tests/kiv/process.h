// Runs a sample suite from outside and looks at what it prints and leaves.
#ifndef TESTS_KIV_PROCESS_H
#define TESTS_KIV_PROCESS_H

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include "tests/kiv/temporary.h"

namespace kiv_test {

struct Finished {
    std::string out;     // standard output and standard error, as they came
    int exit_code = -1;  // -1 when a signal ended it
    int signal = 0;
    long peak_kib = 0;  // of the biggest process
};

// In a child before it becomes a sample: signals are what they are for a program in the foreground.
void default_signals();

class Process {
  public:
    // Starts a sample in a process group of its own, with no site unless the environment names one. The
    // working directory is `directory`.
    Process(const std::string &sample, const std::vector<std::string> &arguments,
            const std::string &directory, const std::map<std::string, std::string> &environment = {},
            const std::string &input = "");
    ~Process();

    pid_t id() const { return pid_; }
    void signal_group(int signal) const;
    void signal_process(int signal) const;
    // Waits until the output holds `text`. False when it ended before.
    bool wait_for(const std::string &text);
    Finished finish();

  private:
    bool read_more();

    pid_t pid_ = 0;
    int output_ = -1;
    std::string out_;
    bool reaped_ = false;
};

Finished run(const std::string &sample, const std::vector<std::string> &arguments,
             const std::map<std::string, std::string> &environment = {}, const std::string &input = "");

// Whether any process of the group is left.
bool group_exists(pid_t group);
bool process_exists(pid_t process);
// Gives processes that were just killed the time to go.
bool group_is_gone(pid_t group);

}  // namespace kiv_test

#endif
