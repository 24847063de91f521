// kivctl gate: an exit status from results.
#include <fmt/format.h>

#include <memory>

#include "kiv/ci.h"
#include "kiv/reports/escape.h"
#include "kiv/reports/wording.h"
#include "kivctl/commands.h"
#include "kivctl/results.h"

namespace kivctl {
namespace {

struct Options {
    std::vector<std::string> files;
    bool unchecked = false, error_lines = true, not_run = true, incomplete = true, empty = true;
    bool failed_calls = kiv::in_ci();
    bool quiet = false;
};

bool fails(kiv::Verdict verdict, const Options &options) {
    switch (verdict) {
        case kiv::Verdict::passed:
            return false;
        case kiv::Verdict::unchecked:
            return options.unchecked;
        case kiv::Verdict::reported_error:
            return options.error_lines;
        case kiv::Verdict::not_run:
            return options.not_run;
        default:
            return true;
    }
}

bool has_failed_check(const kiv::CaseResult &result) {
    return result.failed_checks > 0;
}

bool has_failed_check(const kiv::FixtureResult &result) {
    return !result.failures.empty();
}

// Of a case or a fixture.
template <typename Result>
bool fails(const Result &result, const Options &options) {
    if (!result.calls.unnoticed.empty()) {
        if (options.failed_calls) return true;
        // The run itself may have counted them.
        if (result.verdict == kiv::Verdict::failed && !has_failed_check(result)) return false;
    }
    return fails(result.verdict, options);
}

int gate(const Options &options) {
    size_t bad = 0, cases = 0;
    const auto say = [&](const std::string &line) {
        ++bad;
        if (!options.quiet) fmt::print("{}\n", kiv::reports::visible(line));
    };
    for (const std::string &file : options.files) {
        Results results;
        if (!load(file, &results)) return kUnusable;
        if (!results.complete && options.incomplete)
            say(fmt::format("{}: the run did not come to its end", file));
        if (const std::string why = results.complete ? results.contradiction() : ""; !why.empty())
            say(fmt::format("{}: {}", file, why));
        results.finish(kNotReached);
        size_t ran = 0;
        for (const kiv::FixtureResult *const fixture : results.fixtures())
            if (fixture->ran && fails(*fixture, options))
                say(fmt::format("{:<18} {}", verdict_text(fixture->verdict),
                                kiv::reports::headline(*fixture)));
        for (const kiv::CaseResult *const result : results.cases()) {
            ++cases;
            if (result->verdict != kiv::Verdict::not_run) ++ran;
            if (!fails(*result, options)) continue;
            const char *const verdict = verdict_text(result->verdict);
            const std::string why = kiv::reports::headline(*result);
            say(fmt::format("{:<18} {}{}", verdict, result->selector(), why == verdict ? "" : ": " + why));
        }
        if (ran == 0 && options.empty) say(fmt::format("{}: no case ran", file));
    }
    if (!options.quiet)
        fmt::print("{}: {} cases, {} to answer for\n", bad == 0 ? "good" : "not good", cases, bad);
    return bad == 0 ? kGood : kBad;
}

}  // namespace

void add_gate(CLI::App &app, int *status) {
    const auto options = std::make_shared<Options>();
    CLI::App *const command = app.add_subcommand("gate", "Turn results into an exit status");
    command->footer(
        "Exit status: 0 when nothing counts against the run, 1 when something does, 2 when the results "
        "cannot be\n"
        "used. A failed check, an abort, a crash, a time-out and a fixture that failed always count.");
    command
        ->add_option("RESULTS", options->files, "Event streams (--json of prm_kiv); \"-\" is standard input")
        ->required();
    const std::map<std::string, bool> words{{"fail", true}, {"ignore", false}};
    const auto choice = [&](const char *name, bool *target, const char *help) {
        command->add_option(name, *target, help)
            ->transform(CLI::CheckedTransformer(words))
            ->option_text(std::string("fail|ignore (") + (*target ? "fail" : "ignore") + ")");
    };
    choice("--unchecked", &options->unchecked, "Cases that recorded no check");
    choice("--error-lines", &options->error_lines,
           "Cases that failed no check but printed a line that reports a failure");
    choice("--failed-calls", &options->failed_calls,
           "Cases and fixtures in which a call failed and nothing told of it; default fail where CI is set");
    choice("--not-run", &options->not_run, "Cases that were selected and did not run");
    choice("--incomplete", &options->incomplete, "Results that end before the run did");
    choice("--empty", &options->empty, "Results in which no case ran");
    command->add_flag("-q,--quiet", options->quiet, "Say nothing, only set the exit status");
    command->callback([=] { *status = gate(*options); });
}

}  // namespace kivctl
