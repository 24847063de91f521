// The command line of a run.
#include "kiv/options.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "kiv/observer.h"
#include "kiv/select/nearest.h"
#include "kiv/worker/live.h"

namespace kiv {

namespace {

constexpr const char *kIntroduction =
    R"(Runs test cases, each in its folder's set-up and tear-down, and reports what
came of them.

SELECTOR names what runs, in the order given:
  folder               a folder with everything below it
  folder/sub           the same for a sub-folder
  folder/case          one case; case#2 is the second of that name
  'folder/*_add'       a pattern (* ? []), matched against whole selectors; *
                       runs over slashes too
  -SELECTOR            leaves those out, wherever it stands
Without selectors the site's plan runs, or else every automatic case. Manual
cases run when a selector or a plan names them, their folder, or a pattern that
matches.
)";

constexpr const char *kExamples =
    R"(Examples:
  %s                              what the site's plan says
  %s acl qos -acl/neg_*           two folders without some cases
  %s --list 'span/*'              what a selector selects
  %s --shuffle --repeat 20 --fail-fast prm-kiv
  %s --json run.json --junit run.xml --timeout 60

The exit status tells nothing of the results: `kivctl gate run.json` does.
A word that begins with one dash and is none of -h -v -q -l excludes; so does
every word that begins with a dash after "--". NO_COLOR, KIV_SITE and the
variables of the Bazel test protocol are honoured.)";

std::string examples(const std::string &program) {
    std::string text = kExamples;
    for (size_t at; (at = text.find("%s")) != std::string::npos;) text.replace(at, 2, program);
    return text;
}

bool is_short_option(std::string_view word) {
    return word == "-h" || word == "-v" || word == "-q" || word == "-l";
}

// Whether a word is an option that takes the next word as its value.
bool takes_value(const CLI::App &app, const std::string &word) {
    if (word.size() < 3 || !word.starts_with("--") || word.find('=') != std::string::npos) return false;
    const CLI::Option *option = app.get_option_no_throw(word);
    return option != nullptr && option->get_expected_min() > 0;
}

std::string unknown_option(const CLI::App &app, const std::string &word) {
    Nearest nearest(word.substr(0, word.find('=')));
    for (const CLI::Option *option : app.get_options())
        for (const std::string &name : option->get_lnames()) nearest.offer("--" + name);
    return "unknown option " + word + nearest.question();
}

bool parse_shard(const std::string &text, Options *options) {
    char rest;
    int index, count;
    if (sscanf(text.c_str(), "%d/%d%c", &index, &count, &rest) != 2 || count < 1 || index < 1 ||
        index > count)
        return false;
    options->shard_index = index - 1;
    options->shard_count = count;
    options->sharded = true;
    return true;
}

}  // namespace

Parsed parse_options(int argc, char **argv, CLI::App &app, Options *options) {
    options->program = argc > 0 ? argv[0] : "kiv";
    for (int i = 1; i < argc; ++i) options->arguments.emplace_back(argv[i]);
    const std::string name = options->program.substr(options->program.rfind('/') + 1);
    app.name(name);
    app.description(kIntroduction);
    app.footer(examples(name));
    app.get_formatter()->column_width(26);
    app.get_formatter()->label("OPTIONS", "OPTIONS] [SELECTOR...");
    app.set_help_flag();  // comes back at the end of the list

    std::vector<std::string> plans, excludes;
    std::string shard, on_crash = "next-folder";
    bool list = false, list_json = false, list_folders = false, version = false;

    const char *group = "Which cases";
    app.add_option(
           "--plan", plans,
           "Selectors from a file, one a line, # comments;\nthey come before those of the command line")
        ->type_name("FILE")
        ->group(group)
        ->expected(1)
        ->take_all();
    app.add_flag("--all", options->all, "Manual cases too, and no plan of the site")->group(group);
    app.add_option("--exclude", excludes, "Leave out, like a leading dash")
        ->type_name("SELECTOR")
        ->group(group)
        ->expected(1)
        ->take_all();
    app.add_option("--rerun-failed", options->rerun_failed, "What did not pass, by the event stream of a run")
        ->type_name("FILE")
        ->group(group);
    app.add_option("--shard", shard, "The I-th of N parts, whole folders each")
        ->type_name("I/N")
        ->group(group);
    app.add_flag("-l,--list", list, "List instead of running; the list is a plan")->group(group);
    app.add_flag("--list-json", list_json, "The same, as JSON")->group(group);
    app.add_flag("--list-folders", list_folders, "The folders alone")->group(group);

    group = "How they run";
    app.add_option("--repeat", options->repeat, "Everything N times over")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000).description(""))
        ->group(group);
    app.add_flag("--shuffle", options->shuffle, "Folders, and the cases in each, in random order")
        ->group(group);
    CLI::Option *seed = app.add_option("--seed", options->seed, "Of --shuffle; gives the same order again")
                            ->type_name("N")
                            ->group(group);
    app.add_flag("--fail-fast", options->fail_fast, "Stop after the first case that is not good")
        ->group(group);
    CLI::Option *timeout =
        app.add_option("--timeout", options->timeout, "End a case that takes longer; 0 never does [300]")
            ->type_name("SECONDS")
            ->check(CLI::Range(0.0, 1e8).description(""))
            ->group(group);
    app.add_option("--grace", options->grace, "Between the polite end and the forced one [5]")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e8).description(""))
        ->group(group);
    app.add_option(
           "--on-crash", on_crash,
           "Where to go on after a case that ended its worker:\nnext-folder, next-case or stop [next-folder]")
        ->type_name("WHERE")
        ->check(CLI::IsMember({"next-folder", "next-case", "stop"}).description(""))
        ->group(group);
    app.add_flag("--no-fork", options->no_fork, "Run in this process, for debuggers: a crash ends it")
        ->group(group);

    group = "Where";
    app.add_option("--site", options->site,
                   "Directory with input files, standard input and plan\n[KIV_SITE, or the installed site "
                   "off a card]")
        ->type_name("DIR")
        ->group(group);
    app.add_flag("--no-site", options->no_site, "Leave flash and standard input alone")->group(group);
    app.add_option("--disk0", options->disk0, "Directory that stands for /disk0:/ [OUT/disk0]")
        ->type_name("DIR")
        ->group(group);
    app.add_option("--out", options->out, "Directory for what the run leaves [kiv-out]")
        ->type_name("DIR")
        ->group(group);

    group = "What is shown and written";
    app.add_flag("-v,--verbose", options->verbose, "Every case's output, as it comes")->group(group);
    app.add_flag("-q,--quiet", options->quiet, "Only what is not good, and the summary")->group(group);
    app.add_option("--color", options->color, "auto, always or never [auto]")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}).description(""))
        ->group(group);
    app.add_option("--output-limit", options->output_limit,
                   "KiB of a case's output kept in the results; more goes\nto a file [1024]")
        ->type_name("KIB")
        ->check(CLI::Range(1, 1 << 20).description(""))
        ->group(group);
    for (size_t i = 0; i < report_formats().size(); ++i) {
        const ReportFormat &format = report_formats()[i];
        app.add_option(std::string("--") + format.name, options->reports.files[i], format.help)
            ->type_name("FILE")
            ->group(group);
    }
    for (Observer *observer : observers()) observer->add_options(app);
    app.set_help_flag("-h,--help", "Print this help and exit")->group("Other");
    app.add_flag("--version", version, "Print the version and exit")->group("Other");

    // Selectors are picked out first: what begins with one dash excludes and is nothing for the option
    // parser.
    std::vector<std::string> rest, words;
    bool only_selectors = false;
    for (const std::string &word : options->arguments) {
        const bool is_value = !rest.empty() && takes_value(app, rest.back()) && !only_selectors;
        if (only_selectors || (!is_value && (word.empty() || word[0] != '-'))) {
            words.push_back(word);
        } else if (is_value && word.starts_with('-')) {
            rest.back() += "=" + word;
        } else if (!is_value && word == "--") {
            only_selectors = true;
        } else if (!is_value && word.size() > 1 && word[1] != '-' && !is_short_option(word)) {
            words.push_back(word);
        } else {
            if (!is_value && word.starts_with("--")) {
                const std::string option = word.substr(0, word.find('='));
                if (app.get_option_no_throw(option) == nullptr) {
                    fprintf(stderr, "%s: %s\n", name.c_str(), unknown_option(app, word).c_str());
                    return Parsed::error;
                }
            }
            rest.push_back(word);
        }
    }
    try {
        std::reverse(rest.begin(), rest.end());
        app.parse(rest);
    } catch (const CLI::CallForHelp &) {
        printf("%s", app.help().c_str());
        return Parsed::nothing_to_do;
    } catch (const CLI::ParseError &mistake) {
        fprintf(stderr, "%s: %s\n", name.c_str(), mistake.what());
        return Parsed::error;
    }
    if (version) {
        printf("%s %s\n", name.c_str(), KIV_VERSION);
        return Parsed::nothing_to_do;
    }
    options->timeout_given = timeout->count() > 0;
    options->shuffle = options->shuffle || seed->count() > 0;
    options->on_crash = on_crash == "stop"        ? OnCrash::stop
                        : on_crash == "next-case" ? OnCrash::next_case
                                                  : OnCrash::next_folder;
    options->list = list_json      ? ListKind::json
                    : list_folders ? ListKind::folders
                    : list         ? ListKind::plain
                                   : ListKind::none;
    if (!shard.empty() && !parse_shard(shard, options)) {
        fprintf(stderr, "%s: --shard: \"%s\" is not I/N with I from 1 to N\n", name.c_str(), shard.c_str());
        return Parsed::error;
    }
    std::string error;
    for (const std::string &plan : plans) {
        if (!read_plan(plan, &options->selectors, &error)) {
            fprintf(stderr, "%s: %s\n", name.c_str(), error.c_str());
            return Parsed::error;
        }
    }
    for (const std::string &word : words) options->selectors.push_back(make_selector(word));
    for (const std::string &word : excludes) {
        options->selectors.push_back(make_selector(word));
        options->selectors.back().excludes = true;
    }
    return Parsed::run;
}

}  // namespace kiv
