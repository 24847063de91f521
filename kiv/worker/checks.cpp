// The calls of a running case: prints and checks. A passed check costs a comparison and a count.
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>
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

std::string_view trimmed(std::string_view text) {
    const auto is_frame = [](char c) { return c == ' ' || c == '(' || c == ')'; };
    while (!text.empty() && is_frame(text.front())) text.remove_prefix(1);
    while (!text.empty() && is_frame(text.back())) text.remove_suffix(1);
    return text;
}

// Whether a condition's text and outcome say that a status is a failure: "rc != EOK" that holds, "rc ==
// PRM_ERROR_BCM_E_BUSY" that holds, "rc == EOK" that does not.
bool says_failure(std::string_view condition, bool holds) {
    static constexpr std::string_view kStatus[] = {"rc", "ret", "err", "error", "status"};
    static constexpr std::string_view kSuccess[] = {"0", "EOK", "CERR_SUCCESS", "PRM_ERROR_NONE"};
    size_t at = condition.find("==");
    const bool unequal = at == std::string_view::npos;
    if (unequal) at = condition.find("!=");
    if (at == std::string_view::npos) return false;
    const std::string_view variable = trimmed(condition.substr(0, at));
    const std::string_view wanted = trimmed(condition.substr(at + 2));
    if (std::find(std::begin(kStatus), std::end(kStatus), variable) == std::end(kStatus)) return false;
    const bool success = std::find(std::begin(kSuccess), std::end(kSuccess), wanted) != std::end(kSuccess);
    return (holds != unequal) != success;  // equal to a failure, or unequal to success
}

// After a call that failed: a check of its status, of whatever outcome, accounts for it. A condition does not
// bring the status along; it stands right behind the call.
void tell_status(const CheckView &check) {
    if (!check.is_condition) {
        if (check.status != 0) live.journal->status_checked(check.status);
    } else if (says_failure(check.expected_name, check.passed)) {
        live.journal->status_checked(live.failed_code);
    }
}

// The way of a check that failed, or that matters although it passed.
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
    if (live.call_failed) tell_status(check);
    if (!check.passed) ++live.counters->failed;
    check.number = live.counters->checks;
    const bool kept = !check.passed && live.counters->failed <= Journal::kKeptFailures;
    if (!kept && !live.watched_checks) return;
    if (!check.is_condition && !check.passed) check.status_text = status_text(check.status);
    if (kept) live.journal->failed_check(check);
    if (!live.watched_checks) return;
    const Check whole(check);
    for (Observer *observer : observers())
        if (observer->interests() & Observer::kChecks) observer->check(whole);
}

// Both stand apart from the calls that lead to them, so that a passed check saves no registers.
[[gnu::noinline]] int heeded_status(u32 status, u32 expected, const char *expected_name, const char *file,
                                    const char *function, int line) {
    CheckView check;
    check.passed = status == expected;
    check.status = status;
    check.expected = expected;
    check.line = line;
    check.expected_name = view(expected_name);
    check.file = view(file);
    check.function = view(function);
    record(check);
    return check.passed;
}

[[gnu::noinline]] void heeded_condition(int condition, const char *text, const char *file,
                                        const char *function, int line, const char *format,
                                        va_list arguments) {
    CheckView check;
    check.passed = condition != 0;
    check.is_condition = true;
    check.line = line;
    check.expected_name = view(text);
    check.file = view(file);
    check.function = view(function);
    if (format != nullptr && static_cast<unsigned char>(*format) == 0xff) ++format;  // marks it, not text
    std::string message;
    if (format != nullptr) message = formatted(format, arguments);
    check.message = message;
    record(check);
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
    ++live.counters->checks;
    if (status == expected && !live.heeds_passed) return 1;
    return kiv::heeded_status(status, expected, expected_name, file, function, line);
}

int kiv_check__(int, int condition, const char *text, const char *file, const char *function, int line,
                const char *format, ...) {
    ++live.counters->checks;
    if (condition && !live.heeds_passed) return condition;
    va_list arguments;
    va_start(arguments, format);
    kiv::heeded_condition(condition, text, file, function, line, format, arguments);
    va_end(arguments);
    return condition;
}
}
