// kivctl history: what the stored runs tell together.
#include <fmt/core.h>

#include <algorithm>
#include <ctime>
#include <memory>

#include "kiv/files.h"
#include "kivctl/commands.h"
#include "kivctl/history/answers.h"
#include "kivctl/history/page.h"
#include "kivctl/history_options.h"

namespace kivctl {
namespace {

struct HistoryOptions {
    HistoryFile file;
    std::vector<std::string> where, cases, by;
    std::string since, html, first, second;
    size_t runs = 0, least_changes = 2, window = 500;
    double at_least = 0.001, percent = 10;
    bool json = false, fail = false;
};

// Labels that runs are told apart by where a question does not say otherwise.
const std::vector<std::string> kCards = {"card", "site"}, kMachines = {"card", "host", "site"};

// The runs that the options ask for, and what is asked of them.
class Question {
  public:
    explicit Question(const HistoryOptions &options)
        : options_(options),
          database_(history::Database::to_read(options.file.path(), options.file.wait())),
          history_(database_, filter(options)),
          asked_{history_, options.json, history_.select(options.cases)} {
        if (history_.runs.empty()) throw std::runtime_error(options.file.path() + ": no run that fits");
        if (asked_.subjects.empty())
            throw std::runtime_error(options.file.path() + ": no case that fits \"" + options.cases.front() +
                                     "\"");
    }

    const history::History &runs() const { return history_; }
    const history::Asked &asked() const { return asked_; }
    history::History::Groups groups(const std::vector<std::string> &otherwise) const {
        return history_.groups(options_.by.empty() ? otherwise : options_.by);
    }
    history::SlowerOptions slower() const {
        return {options_.at_least, options_.percent / 100, options_.window};
    }

    // Prints an answer. With --fail, something found is not good.
    int answer(const std::string &text, bool found) const {
        std::fwrite(text.data(), 1, text.size(), stdout);
        return options_.fail && found ? kBad : kGood;
    }
    // Whether one of these is about a case that was asked for.
    template <typename Found>
    bool any(const std::vector<Found> &found) const {
        return std::any_of(found.begin(), found.end(), [&](const Found &one) {
            return std::binary_search(asked_.subjects.begin(), asked_.subjects.end(), one.subject);
        });
    }

    static history::Labels labels(const std::string &option, const std::vector<std::string> &texts) {
        history::Labels labels;
        std::string error;
        for (const std::string &text : texts)
            if (!history::parse_label(text, &labels, &error)) throw std::runtime_error(option + ": " + error);
        return labels;
    }

  private:
    static history::Filter filter(const HistoryOptions &options) {
        history::Filter filter;
        filter.where = labels("--where", options.where);
        filter.runs = options.runs;
        int64_t since = 0;
        if (options.since.empty()) return filter;
        if (!history::parse_since(options.since, std::time(nullptr) * int64_t{1000000000}, &since))
            throw std::runtime_error(
                "--since: \"" + options.since +
                "\": neither a day (2026-11-21), nor a time (2026-11-21T04:00:00Z), nor how long "
                "ago (30d, 12h)");
        filter.since = since;
        return filter;
    }

    const HistoryOptions &options_;
    history::Database database_;
    history::History history_;
    history::Asked asked_;
};

int ask_standings(const HistoryOptions &options) {
    const Question question(options);
    if (!options.html.empty()) {
        const std::string page = history::page_of(question.asked());
        std::string error;
        if (options.html == "-") return question.answer(page, false);
        return kiv::write_file(options.html, page, &error) ? kGood : unusable(error);
    }
    const auto groups = question.groups(kCards);
    auto found = history::standings(question.runs(), groups);
    const std::string text = tell_standings(question.asked(), groups, found, !options.cases.empty());
    std::erase_if(found, [](const history::Standing &one) { return !one.failing; });
    return question.answer(text, question.any(found));
}

int ask_flaky(const HistoryOptions &options) {
    const Question question(options);
    const auto found = history::flaky(question.runs(), question.groups({}), options.least_changes);
    return question.answer(tell_flaky(question.asked(), found), question.any(found));
}

int ask_slower(const HistoryOptions &options) {
    const Question question(options);
    const auto groups = question.groups(kMachines);
    const auto found = history::slower(question.runs(), groups, question.slower());
    return question.answer(tell_slower(question.asked(), groups, found), question.any(found));
}

int ask_new(const HistoryOptions &options) {
    const Question question(options);
    const auto found = history::fresh(question.runs(), question.groups(kCards));
    return question.answer(tell_fresh(question.asked(), found), question.any(found));
}

std::vector<std::string> split(const std::string &text) {
    std::vector<std::string> parts;
    for (size_t at = 0; at <= text.size();) {
        const size_t comma = std::min(text.find(',', at), text.size());
        parts.push_back(text.substr(at, comma - at));
        at = comma + 1;
    }
    return parts;
}

int ask_compare(const HistoryOptions &options) {
    const Question question(options);
    const history::Labels first = Question::labels("FIRST", split(options.first)),
                          second = Question::labels("SECOND", split(options.second));
    for (const auto &[text, labels] : {std::pair{&options.first, &first}, {&options.second, &second}})
        if (std::none_of(question.runs().runs.begin(), question.runs().runs.end(),
                         [&](const history::Run &run) { return has_labels(run, *labels); }))
            return unusable(options.file.path() + ": no run with " + *text);
    auto found = history::differences(question.runs(), first, second, question.slower());
    const std::string text = tell_differences(question.asked(), found);
    using Kind = history::Difference::Kind;
    std::erase_if(found, [](const history::Difference &one) {
        return one.kind != Kind::only_b_fails && one.kind != Kind::fails_more && one.kind != Kind::slower;
    });
    return question.answer(text, question.any(found));
}

int ask_runs(const HistoryOptions &options) {
    const Question question(options);
    return question.answer(tell_runs(question.asked()), false);
}

void add_common(CLI::App &command, const std::shared_ptr<HistoryOptions> &options) {
    options->file.add_to(command);
    command
        .add_option("--where", options->where, "Only runs with this label (card, site, host, release, ...)")
        ->allow_extra_args(false)
        ->option_text("NAME=VALUE");
    command.add_option("--since", options->since, "Only runs since a day, a time, or so long ago: 30d, 12h")
        ->option_text("TIME");
    command.add_option("--runs", options->runs, "Only the last so many runs")
        ->check(CLI::PositiveNumber)
        ->option_text("N");
    command.add_flag("--json", options->json, "One JSON object a line");
}

void add_fail(CLI::App &command, const std::shared_ptr<HistoryOptions> &options, const char *what) {
    command.add_flag("--fail", options->fail, what);
}

void add_cases(CLI::App &command, const std::shared_ptr<HistoryOptions> &options, const char *what) {
    command.add_option("CASE", options->cases, what);
}

void add_by(CLI::App &command, const std::shared_ptr<HistoryOptions> &options, const char *what) {
    command.add_option("--by", options->by, what)
        ->delimiter(',')
        ->allow_extra_args(false)
        ->option_text("NAME,...");
}

void add_durations(CLI::App &command, const std::shared_ptr<HistoryOptions> &options) {
    command
        .add_option("--at-least", options->at_least, "Cases that take less time than this are never slower")
        ->check(CLI::NonNegativeNumber)
        ->option_text("SECONDS (0.001)");
    command.add_option("--percent", options->percent, "Slower is so much more than before, or more")
        ->check(CLI::NonNegativeNumber)
        ->option_text("N (10)");
    command
        .add_option("--window", options->window,
                    "Look at the durations of so many runs of each machine or side; 0: all")
        ->check(CLI::NonNegativeNumber)
        ->option_text("N (500)");
}

}  // namespace

void add_history(CLI::App &app, int *status) {
    CLI::App *const command =
        app.add_subcommand("history", "Tell since when cases fail, which are flaky, slower, newly failing");
    command->require_subcommand(0, 1);
    const auto ask = [&](CLI::App *question, const std::shared_ptr<HistoryOptions> &options,
                         int (*answer)(const HistoryOptions &)) {
        question->callback([=] { *status = answer(*options); });
    };
    constexpr const char *kCases = "Only these: folder/case, a folder or a case, with wildcards";

    const auto all = std::make_shared<HistoryOptions>();
    command->footer(
        "Without CASE: what fails now, and since when. With it: how these cases stand on each card.\n"
        "Exit status: 0, 1 with --fail when something was found, 2 when the history cannot be used.");
    add_cases(*command, all, "folder/case, a folder or a case, with wildcards");
    add_common(*command, all);
    add_by(*command, all, "Labels that tell cards apart (card,site)");
    add_fail(*command, all, "Exit status 1 when something fails");
    command->add_option("--html", all->html, "Write a page: a grid of cases by runs")->option_text("FILE");
    command->callback([=] {
        if (command->get_subcommands().empty()) *status = ask_standings(*all);
    });

    const auto flaky = std::make_shared<HistoryOptions>();
    CLI::App *const flaky_command =
        command->add_subcommand("flaky", "Cases whose verdict changes while the labels do not");
    flaky_command->footer(
        "The score is the least share of repeats with a change that so many changes make likely (95 %).\n"
        "host, job, pipeline and url do not count as labels here.");
    add_cases(*flaky_command, flaky, kCases);
    add_common(*flaky_command, flaky);
    add_by(*flaky_command, flaky, "The labels that count");
    flaky_command->add_option("--changes", flaky->least_changes, "Cases with fewer changes are left out")
        ->check(CLI::PositiveNumber)
        ->option_text("N (2)");
    add_fail(*flaky_command, flaky, "Exit status 1 when there are some");
    ask(flaky_command, flaky, ask_flaky);

    const auto slower = std::make_shared<HistoryOptions>();
    CLI::App *const slower_command =
        command->add_subcommand("slower", "Cases that take longer since some run, however noisy they are");
    slower_command->footer(
        "Medians of five good runs or more before and after the change, further apart than chance explains.");
    add_cases(*slower_command, slower, kCases);
    add_common(*slower_command, slower);
    add_by(*slower_command, slower, "Labels that tell machines apart (card,host,site)");
    add_durations(*slower_command, slower);
    add_fail(*slower_command, slower, "Exit status 1 when there are some");
    ask(slower_command, slower, ask_slower);

    const auto fresh = std::make_shared<HistoryOptions>();
    CLI::App *const fresh_command =
        command->add_subcommand("new", "Cases that fail in the last run of a card and never failed before");
    add_cases(*fresh_command, fresh, kCases);
    add_common(*fresh_command, fresh);
    add_by(*fresh_command, fresh, "Labels that tell cards apart (card,site)");
    add_fail(*fresh_command, fresh, "Exit status 1 when there are some");
    ask(fresh_command, fresh, ask_new);

    const auto compare = std::make_shared<HistoryOptions>();
    CLI::App *const compare_command =
        command->add_subcommand("compare", "What differs between runs with some labels and runs with others");
    compare_command->add_option("FIRST", compare->first, "Labels: NAME=VALUE,...")->required();
    compare_command->add_option("SECOND", compare->second, "Labels: NAME=VALUE,...")->required();
    add_cases(*compare_command, compare, kCases);
    add_common(*compare_command, compare);
    add_durations(*compare_command, compare);
    add_fail(*compare_command, compare, "Exit status 1 when the second is worse");
    ask(compare_command, compare, ask_compare);

    const auto runs = std::make_shared<HistoryOptions>();
    CLI::App *const runs_command = command->add_subcommand("runs", "The stored runs with their labels");
    add_common(*runs_command, runs);
    ask(runs_command, runs, ask_runs);
}

}  // namespace kivctl
