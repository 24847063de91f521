// kivctl store: keeps runs in a history.
#include <fmt/core.h>

#include <memory>

#include "kivctl/commands.h"
#include "kivctl/history/store.h"
#include "kivctl/history_options.h"
#include "kivctl/results.h"

namespace kivctl {
namespace {

struct StoreOptions {
    std::vector<std::string> files, labels;
    HistoryFile file;
    bool no_ci = false, quiet = false;
};

int store(const StoreOptions &options) {
    history::Labels given, ci;
    if (!options.no_ci) ci = history::labels_of_ci();
    std::string error;
    for (const std::string &label : options.labels)
        if (!history::parse_label(label, &given, &error)) return unusable("--label: " + error);
    history::Database database = history::Database::to_write(options.file.path(), options.file.wait());
    size_t added = 0, known = 0, refused = 0, left = 0;
    {
        history::Store store(database);
        for (const std::string &file : options.files) {
            Results run;
            if (!load(file, &run)) {
                ++refused;
                continue;
            }
            if (const std::string why = history::unfit(run); !why.empty()) {
                unusable(file + ": not stored: " + why);
                ++refused;
                continue;
            }
            history::Labels found = ci;
            for (const auto &[name, value] : history::labels_of_run(run.info)) found.emplace(name, value);
            try {
                ++(store.add(run, found, given) == history::Store::Outcome::added ? added : known);
            } catch (const history::DatabaseError &error) {
                // What holds for one run holds for those after it.
                unusable(fmt::format("{} (nothing of {} was stored)", error.what(), file));
                left = options.files.size() - added - known - refused;
                break;
            }
        }
    }
    if (left == 0) database.close();
    if (!options.quiet)
        fmt::print("{} {} stored{}{}{}\n", added, added == 1 ? "run" : "runs",
                   known != 0 ? fmt::format(", {} already there", known) : "",
                   refused != 0 ? fmt::format(", {} refused", refused) : "",
                   left != 0 ? fmt::format(", {} left", left) : "");
    return refused + left == 0 ? kGood : kUnusable;
}

}  // namespace

void add_store(CLI::App &app, int *status) {
    const auto options = std::make_shared<StoreOptions>();
    CLI::App *const command = app.add_subcommand("store", "Keep the results of runs in a history");
    command->footer(
        "A run that is there already is not stored again; labels given then replace those it has.\n"
        "Exit status: 0, or 2 when some results were refused or the history cannot be written.");
    command->add_option("RESULTS", options->files, "Event streams (--json of prm_kiv)")->required();
    options->file.add_to(*command);
    command
        ->add_option("-l,--label", options->labels,
                     "What the runs are known by: release, card, ...; any number of them")
        ->allow_extra_args(false)
        ->option_text("NAME=VALUE");
    command->add_flag("--no-ci", options->no_ci, "Take no labels from the variables of GitLab and GitHub");
    command->add_flag("-q,--quiet", options->quiet, "Say nothing but what is wrong");
    command->callback([=] { *status = store(*options); });
}

}  // namespace kivctl
