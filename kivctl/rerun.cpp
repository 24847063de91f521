// kivctl rerun: the selectors that repeat what did not pass.
#include <fmt/format.h>

#include <map>
#include <memory>
#include <set>

#include "kivctl/commands.h"
#include "kivctl/results.h"

namespace kivctl {
namespace {

struct Options {
    std::string file;
    bool only = false, unchecked = false, not_run = true;
};

int rerun(const Options &options) {
    Results results;
    if (!load(options.file, &results)) return kUnusable;
    results.finish("the run ended before it");

    std::set<std::string> bad;
    std::map<std::string, std::string> last_bad;  // by folder
    std::vector<std::string> order;
    std::set<std::string> seen;
    const auto consider = [&](const kiv::CaseResult &result) {
        const std::string selector = result.selector();
        if (seen.insert(selector).second) order.push_back(selector);
        const bool counts = result.verdict == kiv::Verdict::unchecked ? options.unchecked
                            : result.verdict == kiv::Verdict::not_run ? options.not_run
                                                                      : !verdict_is_good(result.verdict);
        if (counts) bad.insert(selector);
    };
    for (const kiv::CaseResult *const result : results.cases()) consider(*result);
    // A fixture can only run with its cases: all of them, to see it through.
    for (const kiv::FixtureResult *const fixture : results.fixtures()) {
        if (!fixture->ran || verdict_is_good(fixture->verdict)) continue;
        for (const std::string &selector : order)
            if (selector.starts_with(fixture->folder + "/")) bad.insert(selector);
    }

    // A case may use what the cases before it in its folder left: create before modify before delete.
    for (const std::string &selector : order)
        if (bad.contains(selector)) last_bad[selector.substr(0, selector.rfind('/'))] = selector;
    std::set<std::string> finished;
    for (const std::string &selector : order) {
        const std::string folder = selector.substr(0, selector.rfind('/'));
        if (!last_bad.contains(folder) || finished.contains(folder)) continue;
        if (bad.contains(selector))
            fmt::print("{}\n", selector);
        else if (!options.only)
            fmt::print("{}  # needed before\n", selector);
        if (last_bad[folder] == selector) finished.insert(folder);
    }
    return kGood;
}

}  // namespace

void add_rerun(CLI::App &app, int *status) {
    const auto options = std::make_shared<Options>();
    CLI::App *const command = app.add_subcommand(
        "rerun", "Print the selectors of what did not pass, and what they need before them");
    command->footer(
        "The output is a plan: kivctl rerun RESULTS > plan; prm_kiv --plan plan\n"
        "Cases of a folder build on each other, so those before the last one that did not pass come along. A "
        "run\n"
        "in which everything passed gives an empty plan. Exit status: 0, or 2 when the results cannot be "
        "used.");
    command->add_option("RESULTS", options->file, "Event stream (--json of prm_kiv); \"-\" is standard input")
        ->required();
    command->add_flag("--only", options->only, "Leave out the cases that are only needed before");
    command->add_flag("--unchecked", options->unchecked, "Cases that recorded no check, too");
    command->add_flag("!--no-not-run", options->not_run, "Leave out the cases that did not run");
    command->callback([=] { *status = rerun(*options); });
}

}  // namespace kivctl
