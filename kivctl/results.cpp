// How the commands get at results.
#include "kivctl/results.h"

#include <fmt/core.h>

#include "kiv/reports/results_reader.h"
#include "kivctl/commands.h"

namespace kivctl {

void add_results(CLI::App &command, std::string *path) {
    command.add_option("RESULTS", *path, "Event stream (--json of prm_kiv); \"-\" is standard input")
        ->required();
}

bool load(const std::string &path, Results *results) {
    std::string text, error;
    if (kiv::reports::load_results(path, &text, &error)) kiv::reports::read_run(text, path, results, &error);
    if (!error.empty()) {
        unusable(error);
        return false;
    }
    if (results->torn) fmt::print(stderr, "kivctl: {}: the last line is cut off and was left out\n", path);
    if (!results->complete) fmt::print(stderr, "kivctl: {}: the run did not tell of its end\n", path);
    return true;
}

}  // namespace kivctl
