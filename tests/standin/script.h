// What a case is expected to do, written down call by call: the transcript it must leave, also when its n-th
// platform call fails.
#ifndef TESTS_STANDIN_SCRIPT_H
#define TESTS_STANDIN_SCRIPT_H

#include <string>
#include <vector>

#include "tests/standin/suite_test.h"

inline constexpr uint32_t kScriptFailure = 0x1234;

// Collects transcript lines. call() gives the status that the stand-in returns when standin::fail_call was
// given the same n, so that an expectation reads like the flow it expects.
class Script {
  public:
    explicit Script(std::string file, int failing_call = 0)
        : file_(std::move(file)), failing_call_(failing_call) {}

    uint32_t call(const std::string &text) {
        lines_.push_back("call " + text);
        return ++calls_ == failing_call_ ? kScriptFailure : 0;
    }
    void print(const std::string &text) {
        standin::Event event;
        event.kind = standin::Kind::print;
        event.text = text;
        lines_.push_back(event.line_text());
    }
    void print(const char *format, const std::string &function, uint32_t number) {
        char text[512];
        snprintf(text, sizeof text, format, function.c_str(), number);
        print(text);
    }
    // A check against 0; returns what the framework's check returns.
    int check(uint32_t status, const std::string &function, int line) {
        return check(status, 0, "CERR_SUCCESS", function, line);
    }
    int check(uint32_t status, uint32_t expected, const std::string &name, const std::string &function,
              int line) {
        lines_.push_back(check_line(status, expected, name, file_, function, line));
        return status == expected ? 1 : 0;
    }
    // Checks of another source's step.
    int check_in(const std::string &file, uint32_t status, const std::string &function, int line) {
        lines_.push_back(check_line(status, 0, "CERR_SUCCESS", file, function, line));
        return status == 0 ? 1 : 0;
    }
    // A condition with its message; false adds the abort. Returns the condition.
    bool condition(bool holds, const std::string &text, const std::string &function, int line,
                   const std::string &message) {
        standin::Event event;
        event.kind = standin::Kind::condition;
        event.condition = holds;
        event.condition_text = text;
        event.file = file_;
        event.function = function;
        event.line = line;
        event.text = message;
        lines_.push_back(event.line_text());
        if (!holds) lines_.push_back("abort");
        return holds;
    }
    void no_memory(const std::string &function, int line) {
        condition(false, "kiv_fail()", function, line, "Memory allocation failed");
    }

    // What another area's step does, which its own tests pin down: its lines, its calls counted.
    void include(const std::vector<std::string> &lines) {
        for (const std::string &line : lines) {
            if (line.rfind("call ", 0) == 0) ++calls_;
            lines_.push_back(line);
        }
    }
    // Which call from here on fails; 0 or less when none of them does.
    int calls_until_failure() const { return failing_call_ - calls_; }

    const std::vector<std::string> &lines() const { return lines_; }
    int calls() const { return calls_; }

  private:
    std::string file_;
    int failing_call_;
    int calls_ = 0;
    std::vector<std::string> lines_;
};

inline std::string shown(const standin::Bytes &bytes) {
    return standin::show_bytes(bytes.data(), bytes.size());
}

// "0x1a0", or "7" below ten: a number as transcripts show it.
inline std::string shown(uint32_t number) {
    char text[16];
    snprintf(text, sizeof text, number < 10 ? "%u" : "0x%x", number);
    return text;
}

#endif
