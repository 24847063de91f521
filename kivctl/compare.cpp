// kivctl compare: what changed between two runs.
#include <fmt/core.h>

#include <cmath>
#include <map>
#include <memory>

#include "kiv/reports/escape.h"
#include "kiv/reports/wording.h"
#include "kivctl/commands.h"
#include "kivctl/results.h"

namespace kivctl {
namespace {

struct CompareOptions {
    std::string before, after;
    double factor = 2, at_least = 0.01;
    bool fail_on_slower = false;
};

// A case that ran several times is as bad as its worst run and as slow as its fastest.
struct Outcome {
    kiv::Verdict verdict = kiv::Verdict::passed;
    bool good = true, ran = false;
    double seconds = INFINITY;
    std::string headline;
};

struct Outcomes {
    std::vector<std::string> order;
    std::map<std::string, Outcome> by_selector;
};

Outcomes outcomes(Results &results) {
    results.finish(kNotReached);
    Outcomes all;
    for (const kiv::CaseResult *const result : results.cases()) {
        const auto [found, is_new] = all.by_selector.try_emplace(result->selector());
        if (is_new) all.order.push_back(found->first);
        Outcome &outcome = found->second;
        const bool good = verdict_is_good(result->verdict), ran = result->verdict != kiv::Verdict::not_run;
        if (is_new || (outcome.good && !good)) {
            outcome.verdict = result->verdict;
            outcome.headline = kiv::reports::headline(*result);
        }
        outcome.good = outcome.good && good;
        outcome.ran = outcome.ran || ran;
        if (ran)
            outcome.seconds =
                std::min(outcome.seconds, std::chrono::duration<double>(result->duration).count());
    }
    return all;
}

class Listing {
  public:
    // One heading and its lines; nothing when there are none.
    void print(const char *heading) const {
        if (lines_.empty()) return;
        fmt::print("{} ({}):\n", heading, lines_.size());
        for (const std::string &line : lines_) fmt::print("  {}\n", kiv::reports::visible(line));
    }
    void add(std::string line) { lines_.push_back(std::move(line)); }
    bool empty() const { return lines_.empty(); }
    size_t size() const { return lines_.size(); }

  private:
    std::vector<std::string> lines_;
};

int compare(const CompareOptions &options) {
    Results before, after;
    if (!load(options.before, &before) || !load(options.after, &after)) return kUnusable;
    const Outcomes old_ones = outcomes(before), new_ones = outcomes(after);
    Listing failing, passing, different, slower, lost, added;
    size_t same = 0;
    for (const std::string &selector : new_ones.order) {
        const Outcome &now = new_ones.by_selector.at(selector);
        const auto found = old_ones.by_selector.find(selector);
        if (found == old_ones.by_selector.end()) {
            if (now.good)
                added.add(selector);
            else
                failing.add(fmt::format("{} (new here): {}", selector, now.headline));
            continue;
        }
        const Outcome &then = found->second;
        const char *const then_word = verdict_text(then.verdict), *const now_word = verdict_text(now.verdict);
        if (then.good && !now.good)
            failing.add(fmt::format("{}: {} -> {}: {}", selector, then_word, now_word, now.headline));
        else if (!then.good && now.good)
            passing.add(fmt::format("{}: {} -> {}", selector, then_word, now_word));
        else if (then.verdict != now.verdict)
            different.add(fmt::format("{}: {} -> {}", selector, then_word, now_word));
        else
            ++same;
        if (then.ran && now.ran && now.seconds >= options.at_least &&
            now.seconds > then.seconds * options.factor)
            slower.add(
                fmt::format("{}: {:.6f} s -> {:.6f} s{}", selector, then.seconds, now.seconds,
                            then.seconds > 0 ? fmt::format(" (x {:.1f})", now.seconds / then.seconds) : ""));
    }
    for (const std::string &selector : old_ones.order)
        if (!new_ones.by_selector.contains(selector)) lost.add(selector);

    failing.print("Newly failing");
    passing.print("Newly passing");
    different.print("Another verdict");
    slower.print("Slower");
    lost.print("Only in the old results");
    added.print("Only in the new results");
    fmt::print("{} newly failing, {} newly passing, {} slower, {} unchanged\n", failing.size(),
               passing.size(), slower.size(), same);
    return failing.empty() && !(options.fail_on_slower && !slower.empty()) ? kGood : kBad;
}

}  // namespace

void add_compare(CLI::App &app, int *status) {
    const auto options = std::make_shared<CompareOptions>();
    CLI::App *const command = app.add_subcommand("compare", "Tell what changed between two runs");
    command->footer(
        "Exit status: 0 when nothing fails that did not fail before, 1 when something does, 2 when the "
        "results\n"
        "cannot be used. Of a case that ran several times the worst verdict and the shortest time count.");
    command->add_option("OLD", options->before, "Event stream of the earlier run")->required();
    command->add_option("NEW", options->after, "Event stream of the later run")->required();
    command
        ->add_option("--factor", options->factor,
                     "A case is slower when it takes more than this many times as long")
        ->check(CLI::PositiveNumber)
        ->option_text("N (2)");
    command
        ->add_option("--at-least", options->at_least,
                     "Cases that now take less time than this are never slower")
        ->check(CLI::NonNegativeNumber)
        ->option_text("SECONDS (0.01)");
    command->add_flag("--fail-on-slower", options->fail_on_slower, "Slower cases give exit status 1 too");
    command->callback([=] { *status = compare(*options); });
}

}  // namespace kivctl
