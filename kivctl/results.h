// How the commands get at results, and what they say when they cannot use them.
#ifndef KIVCTL_RESULTS_H
#define KIVCTL_RESULTS_H

#include <CLI/CLI.hpp>
#include <string>

#include "kiv/reports/recorded_run.h"

namespace kivctl {

using Results = kiv::reports::RecordedRun;

// The reason of a case that a killed run did not reach.
inline constexpr const char *kNotReached = "the run ended before it";

// The argument RESULTS of a command that takes one event stream, for load().
void add_results(CLI::App &command, std::string *path);

// Reads an event stream; "-" is standard input. What is odd but usable (a torn last line, no end) is said on
// standard error; false, with the reason said there, when the results cannot be used.
bool load(const std::string &path, Results *results);

}  // namespace kivctl

#endif
