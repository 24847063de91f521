// What a case prints and reads while it runs: its streams and descriptors.
#ifndef KIV_WORKER_CAPTURE_H
#define KIV_WORKER_CAPTURE_H

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

#include "kiv/journal/journal.h"

namespace kiv {

// Where descriptors 1 and 2 of a worker lead.
struct DirectPipe {
    int read_end, write_end;
    int supervisor;  // its process; it has the pipe open as read_end too
};

// stdout and stderr become streams that write straight into the journal: in true order, without a system
// call, and nothing is left in a buffer when the process dies. Descriptors 1 and 2 lead into a pipe; what
// children and write(2) put there is added at the case's end at the latest.
class Capture {
  public:
    // `scripted`: standard input comes from a site. Without a pipe the descriptors are left alone: in a
    // process that is not the worker's own.
    Capture(Journal &journal, bool scripted, const std::optional<DirectPipe> &pipe);
    ~Capture();
    Capture(const Capture &) = delete;
    Capture &operator=(const Capture &) = delete;

    // Before a case: what it reads, a file's path or empty for nothing. Without a site the input is left
    // alone.
    void feed(const std::string &standard_input);
    // After a case that took `duration`: everything it wrote is in the journal.
    void settle(int64_t duration);

  private:
    void open_streams();
    void drain_direct(bool thorough);
    void restore_descriptors();
    static ssize_t write_stream(void *self, const char *text, size_t size);
    static ssize_t read_stream(void *self, char *buffer, size_t size);
    static int close_output(void *self);
    static int close_input(void *self);

    Journal &journal_;
    const bool scripted_;
    const std::optional<DirectPipe> pipe_;
    FILE *saved_stdin_, *saved_stdout_, *saved_stderr_;
    FILE *own_stdin_ = nullptr, *own_stdout_ = nullptr, *own_stderr_ = nullptr;
    bool streams_lost_ = false;  // a case closed one of them
    bool input_used_ = false;
    bool input_told_ = false;
    std::string input_;       // the script that descriptor 0 leads to; empty: end of input
    std::string input_text_;  // in place: the script, read by the stream alone
    size_t input_at_ = 0;
    bool direct_open_ = false;
};

// Lines of a file, for telling how much a script holds.
uint32_t count_lines(const std::string &path);

}  // namespace kiv

#endif
