// kivctl card: shows and compares the states of simulated cards.
#include <memory>

#include "kivctl/card/state_commands.h"
#include "kivctl/commands.h"

namespace kivctl {

void add_card(CLI::App &app, int *status) {
    CLI::App *const card = app.add_subcommand("card", "Show the state of a simulated card, or compare two");
    card->require_subcommand(1);

    const auto show = std::make_shared<StateShowOptions>();
    CLI::App *const show_command = card->add_subcommand("show", "Print a state as tables");
    show_command->footer(
        "References are followed to their end; one that names nothing is marked [dangling], one that ends "
        "at\n"
        "something that is not there [ends nowhere]. Resources with nothing left are marked EXHAUSTED.\n"
        "Exit status: 0, or 2 when the state cannot be used.");
    show_command->add_option("FILE", show->file, "State (--card-state of prm_kiv); \"-\" is standard input")
        ->required();
    show_command->add_option("FAMILY", show->family,
                             "One family alone: interfaces, ipv4_leaves, tcam_entries, accounts, ...");
    show_command->add_flag("--dangling", show->dangling, "Only entries with a reference that names nothing");
    show_command->callback([=] { *status = show_state(*show); });

    const auto diff = std::make_shared<StateDiffOptions>();
    CLI::App *const diff_command = card->add_subcommand("diff", "Tell what two states differ in");
    diff_command->footer(
        "Exit status: 0 when they are the same, 1 when they differ, 2 when one cannot be used. When and by "
        "which\n"
        "worker a state was taken does not count.");
    diff_command->add_option("A", diff->before, "The earlier state")->required();
    diff_command->add_option("B", diff->after, "The later state")->required();
    diff_command->add_flag("--json", diff->json, "One JSON object a line for each difference");
    diff_command->add_flag("-q,--quiet", diff->quiet, "Say nothing, only set the exit status");
    diff_command->callback([=] { *status = diff_states(*diff); });
}

}  // namespace kivctl
