// The calls of a running case: prints and checks. A passed check costs a comparison and a count.
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "kiv.h"
#include "kiv/files.h"
#include "kiv/observers.h"
#include "kiv/worker/live.h"

namespace kiv {

namespace {

std::string formatted(const char *format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int size = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(size > 0 ? static_cast<size_t>(size) : 0, '\0');
    if (size > 0) vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

std::string_view view(const char *text) {
    return text ? std::string_view(text) : std::string_view();
}

// The way of a check that failed, or that somebody watches.
void record(CheckView &check) {
    if (live.in_child) {
        if (check.passed) return;
        const std::string text = "FAIL: a check failed in a child process: " + std::string(check.file) +
                                 ", " + std::string(check.function) + ", line " + std::to_string(check.line) +
                                 "\n";
        write_all(STDERR_FILENO, text);
        return;
    }
    if (live.journal == nullptr) return;
    if (!check.passed) ++live.counters->failed;
    const bool kept = !check.passed && live.counters->failed <= Journal::kKeptFailures;
    if (!kept && !live.watched_checks) return;
    if (!check.is_condition && !check.passed) {
        for (Observer *observer : observers()) {
            if (const char *text = observer->status_text(check.status)) {
                check.status_text = text;
                break;
            }
        }
    }
    if (kept) live.journal->failed_check(check);
    if (!live.watched_checks) return;
    const Check whole(check);
    for (Observer *observer : observers())
        if (observer->interests() & Observer::kChecks) observer->check(whole);
}

}  // namespace

}  // namespace kiv

using kiv::live;

extern "C" {

int kiv_printf(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    int size;
    if (live.journal == nullptr && !live.in_child) {
        size = vprintf(format, arguments);
    } else {
        char buffer[1024];
        va_list again;
        va_copy(again, arguments);
        size = vsnprintf(buffer, sizeof buffer, format, again);
        va_end(again);
        if (size >= static_cast<int>(sizeof buffer))
            kiv::live_print(kiv::formatted(format, arguments));
        else if (size > 0)
            kiv::live_print({buffer, static_cast<size_t>(size)});
    }
    va_end(arguments);
    return size;
}

int kiv_jyx_check_cerrno_(u32 status, u32 expected, const char *expected_name, const char *file,
                          const char *function, int line) {
    const bool passed = status == expected;
    ++live.counters->checks;
    if (passed && !live.watched_checks) return 1;
    kiv::CheckView check;
    check.passed = passed;
    check.status = status;
    check.expected = expected;
    check.line = line;
    check.expected_name = kiv::view(expected_name);
    check.file = kiv::view(file);
    check.function = kiv::view(function);
    kiv::record(check);
    return passed;
}

int kiv_check__(int, int condition, const char *text, const char *file, const char *function, int line,
                const char *format, ...) {
    ++live.counters->checks;
    if (condition && !live.watched_checks) return condition;
    kiv::CheckView check;
    check.passed = condition != 0;
    check.is_condition = true;
    check.line = line;
    check.expected_name = kiv::view(text);
    check.file = kiv::view(file);
    check.function = kiv::view(function);
    if (format != nullptr && static_cast<unsigned char>(*format) == 0xff)
        ++format;  // marks the format, not text
    std::string message;
    if (format != nullptr) {
        va_list arguments;
        va_start(arguments, format);
        message = kiv::formatted(format, arguments);
        va_end(arguments);
    }
    check.message = message;
    kiv::record(check);
    return condition;
}
}
