// The start of a run: what stands in the reports until it begins, and what the program ends with.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>

#include "kiv/environment.h"
#include "kiv/files.h"
#include "kiv/run.h"

namespace kiv {
namespace {

// The reports that the command line or the environment names, until the run begins: they say that nothing was
// run, so that nobody takes results of an earlier run for those of this one.
class UnbegunReports {
  public:
    void replace(const Options &options) {
        reports_ = options.named_reports;
        if (!options.runs) return;
        for (size_t i = 0; i < report_formats().size(); ++i) {
            const char *const variable = report_formats()[i].variable;
            const bool named = std::any_of(reports_.begin(), reports_.end(),
                                           [i](const NamedReport &report) { return report.format == i; });
            if (variable == nullptr || named || getenv(variable) == nullptr || *getenv(variable) == '\0')
                continue;
            reports_.push_back({i, getenv(variable)});
        }
        nothing_ = {options.program, options.arguments, utc_now(), "the run has not begun"};
        write_nothing_run(reports_, nothing_, &error_);
    }
    // Why one of them cannot be written; empty when all can.
    const std::string &error() const { return error_; }
    void say_why(const std::string &why) {
        nothing_.why = why;
        std::string ignored;
        write_nothing_run(reports_, nothing_, &ignored, true);
    }

  private:
    std::vector<NamedReport> reports_;
    NothingRun nothing_;
    std::string error_;
};

int nothing_run(UnbegunReports &reports, const std::string &why) {
    reports.say_why(why.substr(0, why.find('\n')));
    return kNothingRun;
}

// From the command line on. *exit_status: whether the program is to end with what is returned.
int run_suite(int argc, char **argv, kiv_context &context, bool *exit_status) {
    CLI::App app;
    Options options;
    UnbegunReports reports;
    switch (parse_options(argc, argv, app, &options, [&](const Options &named) { reports.replace(named); })) {
        case Parsed::nothing_to_do:
            return kGood;
        case Parsed::error:
            return nothing_run(reports, options.mistake);
        case Parsed::run:
            break;
    }
    std::string error = reports.error();
    if (!error.empty() || !apply_test_environment(&options, &error)) {
        const std::string name = options.program.substr(options.program.rfind('/') + 1);
        write_all(STDERR_FILENO, name + ": " + error + kNothingWasRun + "\n");
        return nothing_run(reports, error);
    }
    *exit_status = options.exit_status;
    Run run(context, std::move(options));
    const int status = run.execute();
    return status == kNothingRun ? nothing_run(reports, run.why()) : status;
}

}  // namespace
}  // namespace kiv

// A suite's main need not look at what this returns: where the status counts, the program ends here.
extern "C" int kiv_run(int argc, char **argv, kiv_context_t context) {
    bool exit_status = false;
    const int status = kiv::run_suite(argc, argv, *context, &exit_status);
    if (status == kiv::kReportLost) exit(kiv::kNothingRun);
    if (status == kiv::kNothingRun || (exit_status && status != kiv::kGood)) exit(status);
    return status;
}
