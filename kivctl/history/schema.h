// The tables of a history, and how each release's came from those before.
#ifndef KIVCTL_HISTORY_SCHEMA_H
#define KIVCTL_HISTORY_SCHEMA_H

#include "kiv/results.h"
#include "kivctl/history/database.h"

namespace kivctl::history {

Migrations schema();

// A verdict as a run's `verdicts` has it: one letter, in the order of kiv::Verdict.
inline constexpr std::string_view kVerdictLetters = "pfactue-";
inline char verdict_letter(kiv::Verdict verdict) {
    return kVerdictLetters[static_cast<size_t>(verdict)];
}

}  // namespace kivctl::history

#endif
