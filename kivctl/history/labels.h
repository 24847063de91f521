// What a run is known by: its labels, from its event stream, from continuous integration and from the command
// line.
#ifndef KIVCTL_HISTORY_LABELS_H
#define KIVCTL_HISTORY_LABELS_H

#include <map>
#include <string>
#include <string_view>

#include "kiv/results.h"

namespace kivctl::history {

using Labels = std::map<std::string, std::string, std::less<>>;

// Of where and how a run came about, not of what was tested: two runs that differ in nothing else are runs of
// the same.
bool is_circumstance(std::string_view name);

// site (the last part of its path), card, host, version; those that the run tells.
Labels labels_of_run(const kiv::RunInfo &info);

// commit, branch or tag, pipeline, job, url: those that the environment's variables tell.
Labels labels_of_ci();

// "NAME=VALUE". False, with *error set.
bool parse_label(const std::string &text, Labels *labels, std::string *error);

}  // namespace kivctl::history

#endif
