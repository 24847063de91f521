// kivctl rerun: the selectors that repeat what did not pass.
#include <fmt/core.h>

#include <map>
#include <memory>

#include "kiv/reports/escape.h"
#include "kiv/reports/rerun_list.h"
#include "kivctl/commands.h"
#include "kivctl/results.h"

namespace kivctl {
namespace {

struct RerunOptions {
    std::string file;
    bool only = false;
    kiv::reports::RerunRule rule;
};

int rerun(const RerunOptions &options) {
    Results results;
    if (!load(options.file, &results)) return kUnusable;
    const std::vector<kiv::reports::RerunCase> list = kiv::reports::rerun_list(results, options.rule);

    // A case may use what the cases before it in its folder left: create before modify before delete.
    const auto folder_of = [](const std::string &selector) {
        return selector.substr(0, selector.rfind('/'));
    };
    std::map<std::string, size_t> last;  // place in the list, by folder
    for (size_t i = 0; i < list.size(); ++i)
        if (list[i].again) last[folder_of(list[i].selector)] = i;
    for (size_t i = 0; i < list.size(); ++i) {
        const auto found = last.find(folder_of(list[i].selector));
        std::string selector;
        kiv::reports::append_plan(selector, list[i].selector);
        if (list[i].again)
            fmt::print("{}\n", selector);
        else if (!options.only && found != last.end() && i < found->second)
            fmt::print("{}  # needed before\n", selector);
    }
    return kGood;
}

}  // namespace

void add_rerun(CLI::App &app, int *status) {
    const auto options = std::make_shared<RerunOptions>();
    CLI::App *const command = app.add_subcommand(
        "rerun", "Print the selectors of what did not pass, and what they need before them");
    command->footer(
        "The output is a plan: kivctl rerun RESULTS > plan; prm_kiv --plan plan\n"
        "Cases of a folder build on each other, so those before the last one that did not pass come along. A "
        "run\n"
        "in which everything passed gives an empty plan. Exit status: 0, or 2 when the results cannot be "
        "used.");
    add_results(*command, &options->file);
    command->add_flag("--only", options->only, "Leave out the cases that are only needed before");
    command->add_flag("--unchecked", options->rule.unchecked, "Cases that recorded no check, too");
    command->add_flag("!--no-not-run", options->rule.not_run, "Leave out the cases that did not run");
    command->callback([=] { *status = rerun(*options); });
}

}  // namespace kivctl
