// kivctl report: results in any of the report formats.
#include <memory>

#include "kiv/reports/report_list.h"
#include "kivctl/commands.h"
#include "kivctl/results.h"

namespace kivctl {
namespace {

struct ReportOptions {
    std::string file;
    kiv::ReportRequest reports;
};

int report(const ReportOptions &options) {
    Results results;
    if (!load(options.file, &results)) return kUnusable;
    results.finish(kNotReached);
    std::string error;
    const auto reports = kiv::open_reports(options.reports, &error);
    if (!error.empty()) return unusable(error);
    int status = kGood;
    for (const auto &report : reports) {
        results.replay(*report);
        if (const std::string problem = report->problem(); !problem.empty()) status = unusable(problem);
    }
    return status;
}

}  // namespace

void add_report(CLI::App &app, int *status) {
    const auto options = std::make_shared<ReportOptions>();
    CLI::App *const command = app.add_subcommand("report", "Write results in other formats");
    command->footer(
        "--json writes the results again, whole if they were cut off. Exit status: 0, or 2 when the results "
        "cannot\n"
        "be used or a report cannot be written.");
    add_results(*command, &options->file);
    auto *const formats = command->add_option_group("formats", "What to write");
    for (size_t i = 0; i < kiv::report_formats().size(); ++i) {
        const kiv::ReportFormat &format = kiv::report_formats()[i];
        formats->add_option(std::string("--") + format.name, options->reports.files[i], format.help)
            ->option_text("FILE");
    }
    formats->require_option(1, 0);
    command->callback([=] { *status = report(*options); });
}

}  // namespace kivctl
