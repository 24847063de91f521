// The words for verdicts, the same in every report, and sums of results.
#include "kiv/results.h"

#include <algorithm>

namespace kiv {

const char *verdict_text(Verdict verdict) {
    switch (verdict) {
        case Verdict::passed:
            return "passed";
        case Verdict::failed:
            return "failed";
        case Verdict::aborted:
            return "aborted";
        case Verdict::crashed:
            return "crashed";
        case Verdict::timed_out:
            return "timed out";
        case Verdict::unchecked:
            return "unchecked";
        case Verdict::reported_error:
            return "reported an error";
        case Verdict::not_run:
            return "not run";
    }
    return "unknown";
}

bool verdict_is_good(Verdict verdict) {
    return verdict == Verdict::passed || verdict == Verdict::unchecked;
}

void Summary::add(const CaseResult &result) {
    ++counts[static_cast<size_t>(result.verdict)];
    checks += result.checks;
    failed_checks += result.failed_checks;
    add(result.calls);
    add(result.differences);
}

void Summary::add(const FixtureResult &fixture) {
    if (fixture.failed()) ++failed_fixtures;
    add(fixture.calls);
    add(fixture.differences);
}

uint64_t CallFailures::unnoticed_count() const {
    uint64_t sum = 0;
    for (const FailedCalls &calls : unnoticed) sum += calls.count;
    return sum;
}

void Summary::add(const CallFailures &calls) {
    if (calls.count == 0) return;
    failed_calls += calls.count;
    if (calls.unnoticed.empty()) return;
    unnoticed_calls += calls.unnoticed_count();
    ++with_unnoticed_calls;
}

void Summary::add(const Differences &found) {
    if (found.count == 0) return;
    differences += found.count;
    ++with_differences;
    if (found.from.find(differences_from) != std::string::npos)
        differences_from = found.from;
    else if (differences_from.find(found.from) == std::string::npos)
        differences_from += (differences_from.empty() ? "" : " and ") + found.from;
}

bool Summary::good() const {
    return failed_fixtures == 0 && !interrupted &&
           counts[static_cast<size_t>(Verdict::passed)] + counts[static_cast<size_t>(Verdict::unchecked)] ==
               selected;
}

std::span<const ToldCall> CallsTold::before(const Check &check, const std::vector<Check> &failures) const {
    // Checks between this one and the last that passed all failed, and so have their numbers in the list.
    uint64_t passed = check.number == 0 ? 0 : check.number - 1;
    for (size_t i = failures.size(); i > 0; --i)
        if (failures[i - 1].number == passed && passed > 0) --passed;
    const auto first = std::find_if(calls.begin(), calls.end(),
                                    [&](const ToldCall &call) { return call.checks_before >= passed; });
    const auto last = std::find_if(first, calls.end(),
                                   [&](const ToldCall &call) { return call.checks_before >= check.number; });
    return {calls.data() + (first - calls.begin()), static_cast<size_t>(last - first)};
}

}  // namespace kiv
