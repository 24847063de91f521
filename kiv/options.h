// The command line of a run.
#ifndef KIV_OPTIONS_H
#define KIV_OPTIONS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "kiv/reports/report_list.h"
#include "kiv/select/plan.h"
#include "kiv/supervise/policy.h"

namespace CLI {
class App;
}

namespace kiv {

enum class ListKind { none, plain, json, folders };

struct Options {
    std::string program;
    std::vector<std::string> arguments;
    std::vector<Selector> selectors;  // of plans, then of the command line
    bool all = false;
    bool with_needed = false;  // and what they build on before them
    std::string rerun_failed;
    int shard_index = 0, shard_count = 1;
    bool sharded = false;
    ListKind list = ListKind::none;

    int repeat = 1;
    bool shuffle = false;
    uint32_t seed = 0;
    bool fail_fast = false;
    bool unnoticed_calls_fail = false;
    bool no_fork = false;
    double timeout = 300;
    bool timeout_given = false;
    double grace = 5;
    OnCrash on_crash = OnCrash::next_folder;

    bool exit_status = false;  // of the program: 1 when the run was not good

    std::string site, disk0, out;
    bool no_site = false;
    bool wait = false;         // for a directory that another run uses
    bool strict_site = false;  // runs nothing with a site that has problems

    bool verbose = false, quiet = false;
    std::string color = "auto";
    uint32_t output_limit = 1024;  // KiB
    ReportRequest reports;

    bool runs = true;                        // a line that asks for a list or for help does not
    std::vector<NamedReport> named_reports;  // as far as they can be told before the line was found good
    std::string mistake;                     // in the command line
};

enum class Parsed { run, nothing_to_do, error };

// Reads the command line. For --help, --version and mistakes what there is to say has been printed. `app`
// outlives the run: observers keep their options in it. Before anything can be found wrong `named` is called
// with program, arguments and named_reports; a line that asks for a list or for help names none.
Parsed parse_options(int argc, char **argv, CLI::App &app, Options *options,
                     const std::function<void(const Options &)> &named = {});

}  // namespace kiv

#endif
