// The wording that every format shares.
#include "kiv/reports/wording.h"

#include <algorithm>
#include <cstdio>

#include "kiv/reports/calls.h"
#include "kiv/reports/escape.h"
#include "kiv/signal_text.h"

namespace kiv::reports {

std::string check_line(const Check &check) {
    std::string line = check.file;
    line += ':';
    append_number(line, check.line);
    line += ": ";
    line += check.function;
    line += ": ";
    if (check.is_condition) {
        line += "\"" + check.expected_name + "\" does not hold";
        if (!check.message.empty()) line += ": " + check.message;
    } else {
        char codes[64];
        std::snprintf(codes, sizeof codes, " (0x%08x), got 0x%08x", check.expected, check.status);
        line += "expected " + check.expected_name + codes;
        if (!check.status_text.empty()) line += " (" + check.status_text + ")";
    }
    while (!line.empty() && line.back() == '\n') line.pop_back();
    return line;
}

std::string source_path(const Check &check) {
    const size_t name = check.file.rfind('/') + 1;  // 0 without a directory
    return check.file.find('.', name) == std::string::npos ? check.file + ".cpp" : check.file;
}

std::string site_problems_text(size_t count) {
    if (count == 0) return "";
    return std::to_string(count) + (count == 1 ? " problem" : " problems") + " in the site's files";
}

std::string end_text(int signal, int exit_code) {
    if (signal != 0) return "ended by " + signal_text(signal);
    if (exit_code >= 0) return "left the worker with exit code " + std::to_string(exit_code);
    return "";
}

static std::string end_or_reason(Verdict verdict, const std::string &reason, int signal, int exit_code) {
    if (verdict == Verdict::failed || !reason.empty()) return reason;  // failed: the checks or calls say it
    const std::string end = end_text(signal, exit_code);
    return end.empty() ? verdict_text(verdict) : end;
}

// Of a case or fixture that has nothing else to say, its calls may have.
template <typename Result>
static std::string end_or_calls(const std::string &end, const Result &result) {
    const bool said = !end.empty() && end != verdict_text(result.verdict);
    if (said) return end;
    std::string text = unnoticed_text(result.calls);
    if (text.empty()) text = differences_text(result.differences);
    return text.empty() ? verdict_text(result.verdict) : text;
}

std::string headline(const CaseResult &result) {
    if (result.verdict == Verdict::failed && !result.failures.empty()) {
        std::string line = check_line(result.failures.front());
        if (result.failed_checks > 1) {
            line += " (and ";
            append_number(line, result.failed_checks - 1);
            line += " more)";
        }
        return line;
    }
    if (result.verdict == Verdict::reported_error && !result.error_lines.empty())
        return result.error_lines.front();
    return end_or_calls(end_or_reason(result.verdict, result.reason, result.signal, result.exit_code),
                        result);
}

std::string headline(const FixtureResult &result) {
    const std::string why =
        result.verdict == Verdict::failed && !result.failures.empty()
            ? check_line(result.failures.front())
            : end_or_calls(end_or_reason(result.verdict, result.reason, result.signal, -1), result);
    return result.name() + ": " + why;
}

static void add_line(std::string &text, std::string_view line) {
    if (line.empty()) return;
    text += line;
    if (text.back() != '\n') text += '\n';
}

static void add_differences(std::string &text, const Differences &differences) {
    for (const std::string &line : differences.told)
        add_line(text, "differs from " + differences.from + ": " + line);
    const uint64_t left = differences.count - std::min<uint64_t>(differences.count, differences.told.size());
    if (left == 0) return;
    text += "and ";
    append_number(text, left);
    text += left == 1 ? " more difference\n" : " more differences\n";
}

// Failed checks, each behind the calls that lead to it; of a case without one its last calls.
static void add_checks(std::string &text, const CallsTold &calls, const std::vector<Check> &failures) {
    const auto add_calls = [&](std::span<const ToldCall> of) {
        add_line(text, earlier_calls_text(calls, of));
        for (const ToldCall &call : last_calls(of)) add_line(text, "call: " + call.text);
    };
    for (const Check &check : failures) {
        add_calls(calls.before(check, failures));
        add_line(text, check_line(check));
    }
    if (failures.empty()) add_calls(calls.calls);
}

std::string details(const CaseResult &result) {
    std::string text;
    if (!result.description.empty()) add_line(text, "description: " + result.description);
    add_line(text, end_or_reason(result.verdict, result.reason, result.signal, result.exit_code));
    add_checks(text, result.calls_told, result.failures);
    if (result.failed_checks > result.failures.size()) {
        text += "and ";
        append_number(text, result.failed_checks - result.failures.size());
        text += result.failed_checks - result.failures.size() == 1 ? " more failed check\n"
                                                                   : " more failed checks\n";
    }
    add_line(text, unnoticed_text(result.calls));
    add_differences(text, result.differences);
    for (const std::string &line : result.error_lines) add_line(text, "reported: " + line);
    if (!result.output_file.empty()) add_line(text, "whole output: " + result.output_file);
    return text;
}

std::string details(const FixtureResult &result) {
    std::string text;
    add_line(text, end_or_reason(result.verdict, result.reason, result.signal, -1));
    add_checks(text, result.calls_told, result.failures);
    add_line(text, unnoticed_text(result.calls));
    add_differences(text, result.differences);
    return text;
}

}  // namespace kiv::reports
