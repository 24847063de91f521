// The words for verdicts, the same in every report.
#include "kiv/results.h"

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
}

void Summary::add(const FixtureResult &fixture) {
    if (fixture.failed()) ++failed_fixtures;
}

bool Summary::good() const {
    return failed_fixtures == 0 && !interrupted &&
           counts[static_cast<size_t>(Verdict::passed)] + counts[static_cast<size_t>(Verdict::unchecked)] ==
               selected;
}

}  // namespace kiv
