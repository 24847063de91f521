// kivctl gate: an exit status from results.
#include <fmt/core.h>
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include "kiv/ci.h"
#include "kiv/registry.h"
#include "kiv/reports/escape.h"
#include "kiv/reports/time.h"
#include "kiv/reports/wording.h"
#include "kiv/select/plan.h"
#include "kiv/select/selection.h"
#include "kivctl/commands.h"
#include "kivctl/results.h"

namespace kivctl {
namespace {

struct GateOptions {
    std::vector<std::string> files;
    bool unchecked = false, error_lines = true, not_run = true, incomplete = true, empty = true;
    bool failed_calls = kiv::in_ci();
    bool allow_site_problems = false, allow_differences = false;
    std::string newer_than;  // a file or a time
    std::optional<size_t> expect_cases;
    std::string expect_plan;
    bool quiet = false;
};

bool fails(kiv::Verdict verdict, const GateOptions &options) {
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
bool fails(const Result &result, const GateOptions &options) {
    const bool has_unnoticed = !result.calls.unnoticed.empty(), differs = result.differences.count > 0;
    if ((has_unnoticed && options.failed_calls) || (differs && !options.allow_differences)) return true;
    // The run itself may have counted them.
    if ((has_unnoticed || differs) && result.verdict == kiv::Verdict::failed && !has_failed_check(result))
        return false;
    return fails(result.verdict, options);
}

// Cases as a suite would have registered them, for the selectors of a plan.
class RegisteredCases {
  public:
    explicit RegisteredCases(const std::map<std::string, bool> &cases) {
        for (const auto &[selector, ran] : cases) {
            const size_t slash = selector.rfind('/');
            context_.add_case(folder(selector.substr(0, slash)), selector.substr(slash + 1).c_str(), "",
                              nullptr, KIV_MODE_AUTOMATIC);
        }
        context_.number_duplicates();
    }

    std::vector<std::string> selected_by(const kiv::Selector &selector) const {
        kiv::SelectionRequest request;
        request.selectors = {selector};
        std::vector<uint32_t> selected;
        std::string none;
        kiv::select_cases(context_, request, &selected, &none);
        std::vector<std::string> names;
        for (const uint32_t at : selected) names.push_back(context_.cases[at].selector());
        return names;
    }

  private:
    kiv_folder *folder(const std::string &path) {
        kiv_folder *&known = folders_[path];
        if (known != nullptr) return known;
        const size_t slash = path.rfind('/');
        kiv_folder *const parent = slash == std::string::npos ? nullptr : folder(path.substr(0, slash));
        return folders_[path] = context_.add_folder(
                   parent, path.substr(slash == std::string::npos ? 0 : slash + 1).c_str(), "");
    }

    kiv_context context_;
    std::map<std::string, kiv_folder *> folders_;
};

// Nanoseconds since 1970 of a file's last change or of a time. False when it is neither.
bool point_in_time(const std::string &text, int64_t *time) {
    struct stat status;
    if (stat(text.c_str(), &status) == 0) {
        *time = int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec;
        return true;
    }
    return kiv::reports::parse_time(text, time);
}

// Why results that could be read prove nothing; empty when they do.
std::string useless(const Results &results, const GateOptions &options) {
    std::string why = results.complete ? results.contradiction() : "";
    int64_t limit = 0, began = 0;
    if (!why.empty() || options.newer_than.empty()) return why;
    point_in_time(options.newer_than, &limit);
    if (!kiv::reports::parse_time(results.info.started_at, &began) || began < limit)
        why = fmt::format("the run began at {}, which is not after {}", results.info.started_at,
                          options.newer_than);
    return why;
}

// The plan against the cases of all results, by selector: whether they ran. Each difference is said.
template <typename Say>
void compare_with_plan(const std::vector<kiv::Selector> &plan, const std::map<std::string, bool> &cases,
                       Say say) {
    const RegisteredCases registered(cases);
    kiv::SelectionRequest excludes;
    for (const kiv::Selector &selector : plan)
        if (selector.excludes) excludes.selectors.push_back(selector);
    std::set<std::string> left_out;
    for (kiv::Selector selector : excludes.selectors) {
        selector.excludes = false;
        for (const std::string &name : registered.selected_by(selector)) left_out.insert(name);
    }
    for (const kiv::Selector &selector : plan) {
        if (selector.excludes) continue;
        const std::string where = fmt::format("{}:{}: ", selector.file, selector.line);
        const std::vector<std::string> names = registered.selected_by(selector);
        if (names.empty()) say(fmt::format("{}the results have no {}", where, selector.text));
        for (const std::string &name : names)
            if (!cases.at(name) && !left_out.contains(name))
                say(fmt::format("{}{} did not run", where, name));
    }
    for (const std::string &name : left_out)
        if (cases.at(name)) say(fmt::format("{} ran, which the plan leaves out", name));
}

int gate(const GateOptions &options) {
    int64_t ignored = 0;
    if (!options.newer_than.empty() && !point_in_time(options.newer_than, &ignored))
        return unusable(
            fmt::format("--newer-than: {} is neither a file nor a time such as "
                        "2026-11-21T04:00:00Z",
                        options.newer_than));
    std::vector<kiv::Selector> plan;
    std::string error;
    if (!options.expect_plan.empty() && !kiv::read_plan(options.expect_plan, &plan, &error))
        return unusable("--expect-plan: " + error);

    size_t bad = 0, cases = 0;
    std::map<std::string, bool> all_cases;  // whether they ran
    const auto say = [&](const std::string &line) {
        ++bad;
        if (!options.quiet) fmt::print("{}\n", kiv::reports::visible(line));
    };
    for (const std::string &file : options.files) {
        Results results;
        if (!load(file, &results)) return kUnusable;
        if (const std::string why = useless(results, options); !why.empty())
            return unusable(fmt::format("{}: unusable: {}", file, why));
        if (!results.complete && options.incomplete)
            say(fmt::format("{}: the run did not come to its end", file));
        if (!options.allow_site_problems)
            for (const std::string &problem : results.info.site_problems)
                say(fmt::format("{:<18} {}", "site problem", problem));
        results.finish(kNotReached);
        size_t ran = 0;
        for (const kiv::FixtureResult *const fixture : results.fixtures())
            if (fixture->ran && fails(*fixture, options))
                say(fmt::format("{:<18} {}", verdict_text(fixture->verdict),
                                kiv::reports::headline(*fixture)));
        for (const kiv::CaseResult *const result : results.cases()) {
            ++cases;
            const bool did_run = result->verdict != kiv::Verdict::not_run;
            if (did_run) ++ran;
            all_cases[result->selector()] |= did_run;
            if (!fails(*result, options)) continue;
            const char *const verdict = verdict_text(result->verdict);
            const std::string why = kiv::reports::headline(*result);
            say(fmt::format("{:<18} {}{}", verdict, result->selector(), why == verdict ? "" : ": " + why));
        }
        if (ran == 0 && options.empty) say(fmt::format("{}: no case ran", file));
    }
    const auto ran = static_cast<size_t>(
        std::count_if(all_cases.begin(), all_cases.end(), [](const auto &one) { return one.second; }));
    if (options.expect_cases && ran != *options.expect_cases)
        say(fmt::format("{} different cases ran, not {} (--expect-cases)", ran, *options.expect_cases));
    compare_with_plan(plan, all_cases, say);
    if (!options.quiet)
        fmt::print("{}: {} cases, {} to answer for\n", bad == 0 ? "good" : "not good", cases, bad);
    return bad == 0 ? kGood : kBad;
}

}  // namespace

void add_gate(CLI::App &app, int *status) {
    const auto options = std::make_shared<GateOptions>();
    CLI::App *const command = app.add_subcommand("gate", "Turn results into an exit status");
    command->footer(
        "Exit status: 0 when nothing counts against the run, 1 when something does, 2 when the results "
        "cannot be\n"
        "used: nothing was run, the counts contradict the events, they are older than --newer-than. A failed "
        "check, an abort, a crash, a time-out and a fixture that failed always count.");
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
    command->add_flag("--allow-site-problems", options->allow_site_problems,
                      "Let what is wrong with the site's files pass");
    command->add_flag("--allow-differences", options->allow_differences,
                      "Let cases and fixtures pass whose calls differ from the site's baseline");
    command
        ->add_option("--newer-than", options->newer_than,
                     "Refuse results of a run that began before this file was last changed, or this time")
        ->option_text("FILE|TIME");
    command
        ->add_option("--expect-cases", options->expect_cases,
                     "How many different cases must have run, in all results together")
        ->option_text("N");
    command
        ->add_option("--expect-plan", options->expect_plan,
                     "What must have run: each selector of the plan, and what it selects of the results")
        ->option_text("FILE");
    command->add_flag("-q,--quiet", options->quiet, "Say nothing, only set the exit status");
    command->callback([=] { *status = gate(*options); });
}

}  // namespace kivctl
