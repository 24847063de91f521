// What a case is expected to do, written down call by call: the transcript it must leave, also when its n-th
// platform call fails.
#ifndef TESTS_STANDIN_SCRIPT_H
#define TESTS_STANDIN_SCRIPT_H

#include <algorithm>
#include <functional>
#include <string>

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
    void print(const std::string &text) { lines_.push_back(::print(text)); }
    void print(const char *format, const std::string &function, uint32_t number) {
        print(formatted(format, function.c_str(), number));
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
    void include(const Lines &lines) {
        for (const std::string &line : lines) {
            if (line.rfind("call ", 0) == 0) ++calls_;
            lines_.push_back(line);
        }
    }
    // Which call from here on fails; 0 or less when none of them does.
    int calls_until_failure() const { return failing_call_ - calls_; }

    const Lines &lines() const { return lines_; }
    int calls() const { return calls_; }
    bool aborts() const { return !lines_.empty() && lines_.back() == "abort"; }

  private:
    std::string file_;
    int failing_call_;
    int calls_ = 0;
    Lines lines_;
};

enum class LineNumbers { compared, cut };

// Runs a case as it is (failing_call 0) or with that call of its failing, and compares all it did with the
// flow written down: start() prepares the stand-in, flow(script) writes the course of events and returns the
// result of the case, which is of no interest after an abort. Returns the number of calls the course has.
inline int compare_with_flow(kiv_function_t function, const std::string &file, int failing_call,
                             const std::function<void()> &start, const std::function<int(Script &)> &flow,
                             LineNumbers numbers = LineNumbers::compared) {
    SCOPED_TRACE("failing call " + std::to_string(failing_call));
    Script script(file, failing_call);
    const int expected = flow(script);
    start();
    standin::fail_call(failing_call, kScriptFailure);
    const int result = standin::run(function);
    if (numbers == LineNumbers::cut)
        EXPECT_THAT(without_line_numbers(standin::transcript()),
                    testing::ElementsAreArray(without_line_numbers(script.lines())));
    else
        EXPECT_THAT(standin::transcript(), testing::ElementsAreArray(script.lines()));
    EXPECT_EQ(standin::aborted(), script.aborts());
    EXPECT_TRUE(script.aborts() || result == expected)
        << "the case returned " << result << ", not " << expected;
    EXPECT_EQ(standin::live_blocks(), 0u);
    return script.calls();
}

// The same for the case as it is, then with each of its calls failing in turn.
inline void run_with_every_call_failing(kiv_function_t function, const std::string &file,
                                        const std::function<void()> &start,
                                        const std::function<int(Script &)> &flow,
                                        LineNumbers numbers = LineNumbers::compared) {
    int calls = compare_with_flow(function, file, 0, start, flow, numbers);
    EXPECT_GT(calls, 0);
    for (int n = 1; n <= calls; ++n)
        calls = std::max(calls, compare_with_flow(function, file, n, start, flow, numbers));
}

#endif
