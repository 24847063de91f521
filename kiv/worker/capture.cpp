// What a case prints and reads while it runs.
#include "kiv/worker/capture.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <streambuf>

#include "kiv/files.h"
#include "kiv/worker/live.h"

namespace kiv {

namespace {

// No write to a pipe is over in this many nanoseconds: a case that took less wrote nothing past the streams.
constexpr int64_t kShortestWrite = 120;

// From this length on a look at the other descriptors costs nothing worth having.
constexpr int64_t kThorough = 5000;

// std::cout and std::cerr go the way of stdout.
class PrintBuffer : public std::streambuf {
  protected:
    int_type overflow(int_type c) override {
        if (c == traits_type::eof()) return 0;
        const char byte = static_cast<char>(c);
        live_print({&byte, 1});
        return c;
    }
    std::streamsize xsputn(const char *text, std::streamsize size) override {
        live_print({text, static_cast<size_t>(size)});
        return size;
    }
};

// Never destroyed: std::cout is flushed after the static objects are gone when a case calls exit.
PrintBuffer *print_buffer() {
    static PrintBuffer *const buffer = new PrintBuffer;
    return buffer;
}

std::streambuf *saved_cout, *saved_cerr, *saved_clog;

// Between cases nobody is at a stream, unless a signal handler jumped out of a print and left its lock
// behind, or a thread was left behind: the next case's threads would wait for ever. The lock's first number
// is 0 when it is free.
bool is_locked(const FILE *stream) {
    return stream->_lock != nullptr && *static_cast<const volatile int *>(stream->_lock) != 0;
}

void replace_descriptor(int fd, int target) {
    if (fd >= 0 && fd != target) dup2(fd, target);
}

}  // namespace

uint32_t count_lines(const std::string &path) {
    std::string text, ignored;
    if (!read_file(path, &text, &ignored) || text.empty()) return 0;
    return static_cast<uint32_t>(std::count(text.begin(), text.end(), '\n')) + (text.back() != '\n');
}

Capture::Capture(Journal &journal, bool scripted, const std::optional<DirectPipe> &pipe)
    : journal_(journal),
      scripted_(scripted),
      pipe_(pipe),
      saved_stdin_(stdin),
      saved_stdout_(stdout),
      saved_stderr_(stderr) {
    fflush(stdout);
    fflush(stderr);
    if (pipe_) {
        replace_descriptor(pipe_->write_end, STDOUT_FILENO);
        replace_descriptor(pipe_->write_end, STDERR_FILENO);
        close(pipe_->write_end);
        direct_open_ = true;
        if (scripted_) {
            const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
            replace_descriptor(nothing, STDIN_FILENO);
            if (nothing > STDERR_FILENO) close(nothing);
        }
    }
    saved_cout = std::cout.rdbuf(print_buffer());
    saved_cerr = std::cerr.rdbuf(print_buffer());
    saved_clog = std::clog.rdbuf(print_buffer());
    open_streams();
}

Capture::~Capture() {
    fflush(stdout);
    fflush(stderr);
    stdin = saved_stdin_;
    stdout = saved_stdout_;
    stderr = saved_stderr_;
    std::cout.rdbuf(saved_cout);
    std::cerr.rdbuf(saved_cerr);
    std::clog.rdbuf(saved_clog);
    // The streams are let go without being closed twice: a case may have closed them.
    if (own_stdin_) fclose(own_stdin_);
    if (own_stdout_) fclose(own_stdout_);
    if (own_stderr_) fclose(own_stderr_);
}

void Capture::open_streams() {
    cookie_io_functions_t output{};
    output.write = write_stream;
    output.close = close_output;
    cookie_io_functions_t input{};
    input.read = read_stream;
    input.close = close_input;
    for (FILE **stream : {&own_stdout_, &own_stderr_}) {
        if (*stream != nullptr) continue;
        *stream = fopencookie(this, "w", output);
        setvbuf(*stream, nullptr, _IONBF, 0);
    }
    if (own_stdin_ == nullptr) own_stdin_ = fopencookie(this, "r", input);
    stdin = own_stdin_;
    stdout = own_stdout_;
    stderr = own_stderr_;
    streams_lost_ = false;
}

ssize_t Capture::write_stream(void *, const char *text, size_t size) {
    live_print({text, size});
    return static_cast<ssize_t>(size);
}

ssize_t Capture::read_stream(void *self, char *buffer, size_t size) {
    Capture &capture = *static_cast<Capture *>(self);
    capture.input_used_ = true;
    if (live.journal == nullptr) return read(STDIN_FILENO, buffer, size);
    if (!capture.input_told_) {
        capture.input_told_ = true;
        if (capture.scripted_)
            capture.journal_.reads_input(
                capture.input_.empty() ? std::string("the site has no stdin for it") : capture.input_,
                capture.input_.empty() ? 0 : count_lines(capture.input_));
        else if (isatty(STDIN_FILENO))
            capture.journal_.reads_input("", 0);
    }
    if (!capture.scripted_ || capture.pipe_) return read(STDIN_FILENO, buffer, size);
    const size_t count = std::min(size, capture.input_text_.size() - capture.input_at_);
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): read() ends nothing with a null either
    memcpy(buffer, capture.input_text_.data() + capture.input_at_, count);
    capture.input_at_ += count;
    return static_cast<ssize_t>(count);
}

// glibc frees a stream that a case closes; the next case gets a new one.
int Capture::close_output(void *self) {
    static_cast<Capture *>(self)->streams_lost_ = true;
    return 0;
}

int Capture::close_input(void *self) {
    static_cast<Capture *>(self)->streams_lost_ = true;
    return 0;
}

void Capture::feed(const std::string &standard_input) {
    input_told_ = false;
    if (input_used_) {
        __fpurge(stdin);
        clearerr(stdin);
    }
    if (!scripted_) {
        input_used_ = false;
        return;
    }
    // End of input stays end of input; a script is read from its begin.
    if (standard_input.empty() && input_.empty()) {
        input_used_ = false;
        return;
    }
    if (!pipe_) {
        std::string ignored;
        input_text_.clear();
        input_at_ = 0;
        if (!standard_input.empty()) read_file(standard_input, &input_text_, &ignored);
    } else {
        const char *path = standard_input.empty() ? "/dev/null" : standard_input.c_str();
        int fd = open(path, O_RDONLY | O_CLOEXEC);
        if (fd < 0) fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
        replace_descriptor(fd, STDIN_FILENO);
        if (fd > STDERR_FILENO) close(fd);
    }
    input_ = standard_input;
    input_used_ = false;
}

void Capture::drain_direct(bool thorough) {
    int waiting = 0;
    const bool lost = ioctl(STDOUT_FILENO, FIONREAD, &waiting) != 0 ||
                      (thorough && (fcntl(STDERR_FILENO, F_GETFD) < 0 || fcntl(STDIN_FILENO, F_GETFD) < 0));
    if (lost) restore_descriptors();
    char buffer[4096];
    while (waiting > 0) {
        const ssize_t got = read(pipe_->read_end, buffer, sizeof buffer);
        if (got <= 0) break;  // the supervision was quicker
        journal_.text(Printed::direct, {buffer, static_cast<size_t>(got)});
        waiting -= static_cast<int>(got);
    }
}

// A case closed what it found open. The supervising process still has the pipe: it is opened anew from there.
// What later cases open must not land on 0, 1 or 2.
void Capture::restore_descriptors() {
    const std::string pipe =
        "/proc/" + std::to_string(pipe_->supervisor) + "/fd/" + std::to_string(pipe_->read_end);
    const int nothing = open("/dev/null", O_RDWR);  // takes the lowest place
    int write_end = open(pipe.c_str(), O_WRONLY | O_CLOEXEC);
    if (fcntl(pipe_->read_end, F_GETFD) < 0) {
        const int read_end = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (read_end >= 0) dup3(read_end, pipe_->read_end, O_CLOEXEC);
        if (read_end > STDERR_FILENO && read_end != pipe_->read_end) close(read_end);
    }
    if (write_end < 0) {
        live_print(
            "[the run's descriptors were closed: what is written past the streams is lost from here on]\n");
        direct_open_ = false;
        write_end = nothing;
    }
    if (nothing != STDIN_FILENO && fcntl(STDIN_FILENO, F_GETFD) < 0) dup2(nothing, STDIN_FILENO);
    const int kept = fcntl(write_end, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    dup2(kept, STDOUT_FILENO);
    dup2(kept, STDERR_FILENO);
    close(kept);
    if (write_end > STDERR_FILENO) close(write_end);
    if (nothing > STDERR_FILENO && nothing != write_end) close(nothing);
}

void Capture::settle(int64_t duration) {
    if (!streams_lost_ && (is_locked(own_stdout_) || is_locked(own_stderr_))) streams_lost_ = true;
    if (streams_lost_ || stdout != own_stdout_ || stderr != own_stderr_ || stdin != own_stdin_) {
        for (FILE *const stream : {stdout, stderr})  // what a case made of them is its own
            if (stream != own_stdout_ && stream != own_stderr_ && stream != nullptr) fflush(stream);
        // Which one a case closed is not known; none of them is used again, which costs a few hundred bytes.
        own_stdout_ = own_stderr_ = own_stdin_ = nullptr;
        open_streams();
    }
    if (__fpending(stdout) > 0) fflush(stdout);  // a case may have given it a buffer
    if (direct_open_ && duration >= kShortestWrite) drain_direct(duration >= kThorough);
}

}  // namespace kiv

extern "C" {

// Weak: a program may be linked without the option, and then nobody calls either.
[[gnu::weak]] FILE *__real_freopen(const char *path, const char *mode, FILE *stream);
FILE *__wrap_freopen(const char *path, const char *mode, FILE *stream);

// The streams of a run are none that could lead elsewhere: another one takes the name.
FILE *__wrap_freopen(const char *path, const char *mode, FILE *stream) {
    FILE **const name = stream == stdout   ? &stdout
                        : stream == stderr ? &stderr
                        : stream == stdin  ? &stdin
                                           : nullptr;
    if (kiv::live.journal == nullptr || name == nullptr || path == nullptr || fileno(stream) >= 0)
        return __real_freopen(path, mode, stream);
    if (stream != stdin) fflush(stream);
    FILE *const file = fopen(path, mode);
    if (file == nullptr) return nullptr;
    if (name == &stderr) setvbuf(file, nullptr, _IONBF, 0);
    return *name = file;
}
}
