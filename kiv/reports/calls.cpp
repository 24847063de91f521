// The wording of calls that need a look: see calls.h.
#include "kiv/reports/calls.h"

#include <cinttypes>
#include <cstdio>

namespace kiv::reports {

namespace {

constexpr size_t kTold = 3;  // kinds of them

std::string counted(uint64_t count, const char *one, const char *many) {
    return std::to_string(count) + (count == 1 ? one : many);
}

std::string kind_text(const FailedCalls &calls) {
    char code[16];
    snprintf(code, sizeof code, "0x%08" PRIx32, calls.code);
    std::string text = calls.operation + ": ";
    text += !calls.code_text.empty() ? calls.code_text : !calls.code_name.empty() ? calls.code_name : code;
    if (calls.count > 1) text += " (" + std::to_string(calls.count) + " times)";
    return text;
}

}  // namespace

std::string unnoticed_text(const CallFailures &calls) {
    if (calls.unnoticed.empty()) return "";
    uint64_t left = calls.unnoticed_count();
    std::string text = counted(left, " call failed unnoticed: ", " calls failed unnoticed: ");
    for (size_t i = 0; i < kTold && i < calls.unnoticed.size(); ++i) {
        const FailedCalls &kind = calls.unnoticed[i];
        if (kind.operation.empty()) break;
        if (i > 0) text += ", ";
        text += kind_text(kind);
        left -= kind.count;
    }
    if (left > 0) text += " and " + std::to_string(left) + " more";
    return text;
}

std::string unnoticed_text(const Summary &summary) {
    if (summary.unnoticed_calls == 0) return "";
    return counted(summary.unnoticed_calls, " call failed unnoticed, in ", " calls failed unnoticed, in ") +
           counted(summary.with_unnoticed_calls, " case or fixture", " cases and fixtures");
}

std::string differences_text(const Differences &differences) {
    if (differences.count == 0) return "";
    std::string text =
        counted(differences.count, " difference from ", " differences from ") + differences.from;
    if (differences.told.empty()) return text;
    text += ": " + differences.told.front();
    if (differences.count > 1) text += ", and " + std::to_string(differences.count - 1) + " more";
    return text;
}

std::string differences_text(const Summary &summary) {
    if (summary.differences == 0) return "";
    return counted(summary.differences, " difference from ", " differences from ") +
           summary.differences_from + ", in " +
           counted(summary.with_differences, " case or fixture", " cases and fixtures");
}

std::span<const ToldCall> last_calls(std::span<const ToldCall> calls) {
    constexpr size_t kShown = 10;
    return calls.size() > kShown ? calls.last(kShown) : calls;
}

std::string earlier_calls_text(const CallsTold &told, std::span<const ToldCall> before) {
    uint64_t earlier = before.size() - last_calls(before).size();
    if (before.data() == told.calls.data()) earlier += told.left_out;
    if (earlier == 0) return "";
    return counted(earlier, " call before these is not shown", " calls before these are not shown");
}

}  // namespace kiv::reports
