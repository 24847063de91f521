// kivctl site: checks a site's files, or writes a new site.
#include <fmt/core.h>

#include <memory>

#include "kivctl/commands.h"
#include "kivctl/site/check.h"
#include "kivctl/site/new.h"

namespace kivctl {
namespace {

int check(const std::string &directory, bool real_card) {
    SiteCheck result;
    std::string error;
    SiteUse use;
    use.simulated_card = !real_card;
    if (!check_site(directory, &result, &error, use)) return unusable(error);
    for (const Problem &problem : result.problems) fmt::print("{}/{}\n", directory, problem.message());
    fmt::print("{}: {} files for {} cases, {} problem{}\n", directory, result.files, result.cases,
               result.problems.size(), result.problems.size() == 1 ? "" : "s");
    return result.problems.empty() ? kGood : kBad;
}

int create(const std::string &directory) {
    std::vector<std::string> written;
    std::string error;
    if (!new_site(directory, &written, &error)) return unusable(error);
    for (const std::string &path : written) fmt::print("{}\n", path);
    return kGood;
}

}  // namespace

void add_site(CLI::App &app, int *status) {
    const auto directory = std::make_shared<std::string>();
    CLI::App *const site = app.add_subcommand("site", "Check a site's files, or write a new site");
    site->require_subcommand(1);
    CLI::App *const check_command =
        site->add_subcommand("check", "Explain what is wrong with a site's files");
    check_command->footer(
        "Input files are read as the suite reads them, card.toml as the simulated card reads it; every "
        "problem\n"
        "names file, line and field.\n"
        "Exit status: 0 when there is none, 1 when there are some, 2 when the directory is no site.");
    check_command->add_option("DIR", *directory, "Directory of the site")->required();
    const auto real_card = std::make_shared<bool>(false);
    check_command->add_flag("--real-card", *real_card,
                            "Of a real card, which needs no inventory (card.toml)");
    check_command->callback([=] { *status = check(*directory, *real_card); });
    CLI::App *const new_command =
        site->add_subcommand("new", "Write a site with example values to start from");
    new_command->footer("Exit status: 0, or 2 when the directory is not empty or cannot be written.");
    new_command->add_option("DIR", *directory, "Directory to make")->required();
    new_command->callback([=] { *status = create(*directory); });
}

}  // namespace kivctl
