// kivctl report: results in any of the report formats.
#include <fmt/format.h>

#include <memory>

#include "kiv/reports/reports.h"
#include "kivctl/commands.h"
#include "kivctl/results.h"

namespace kivctl {
namespace {

using Factory = std::unique_ptr<kiv::Reporter> (*)(const std::string &path, std::string *error);

struct Format {
    const char *option;
    Factory make;
    const char *help;
};

constexpr Format kFormats[] = {
    {"--junit", kiv::make_junit_reporter, "JUnit XML"},
    {"--tap", kiv::make_tap_reporter, "KTAP"},
    {"--json", kiv::make_json_reporter, "Event stream: the results again, whole if they were cut off"},
    {"--html", kiv::make_html_reporter, "A page for a browser"},
};

struct Options {
    std::string file;
    std::string paths[std::size(kFormats)];
};

int report(const Options &options) {
    Results results;
    if (!load(options.file, &results)) return kUnusable;
    results.finish("the run ended before it");
    for (size_t i = 0; i < std::size(kFormats); ++i) {
        if (options.paths[i].empty()) continue;
        std::string error;
        const auto reporter = kFormats[i].make(options.paths[i], &error);
        if (reporter == nullptr) {
            fmt::print(stderr, "kivctl: {}\n", error);
            return kUnusable;
        }
        results.replay(*reporter);
    }
    return kGood;
}

}  // namespace

void add_report(CLI::App &app, int *status) {
    const auto options = std::make_shared<Options>();
    CLI::App *const command = app.add_subcommand("report", "Write results in other formats");
    command->footer("Exit status: 0, or 2 when the results cannot be used or a report cannot be written.");
    command->add_option("RESULTS", options->file, "Event stream (--json of prm_kiv); \"-\" is standard input")
        ->required();
    auto *const formats = command->add_option_group("formats", "What to write");
    for (size_t i = 0; i < std::size(kFormats); ++i)
        formats->add_option(kFormats[i].option, options->paths[i], kFormats[i].help)->option_text("FILE");
    formats->require_option(1, 0);
    command->callback([=] { *status = report(*options); });
}

}  // namespace kivctl
