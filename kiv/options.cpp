// The command line of a run.
#include "kiv/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "kiv/ci.h"
#include "kiv/environment.h"
#include "kiv/files.h"
#include "kiv/observers.h"
#include "kiv/select/nearest.h"

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
  %s --repeat 20 --fail-fast acl
  %s --json run.json --junit run.xml --timeout 60

The exit status is 2 when nothing could be run, and else tells nothing of the
results: `kivctl gate run.json` does, or --exit-status.
A word that begins with one dash and is none of -h -v -q -l excludes; so does
every word that begins with a dash after "--". NO_COLOR, KIV_SITE,
KIV_EXIT_STATUS, CI and the variables of the Bazel test protocol are honoured.)";

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

// What the option parser stores that is not an option of the run yet.
struct Written {
    std::vector<std::string> plans, excludes;
    std::string shard, on_crash = "next-folder", failed_calls;
    bool list = false, list_json = false, list_folders = false, version = false;
    bool strict_site = false, lax_site = false;
    const CLI::Option *seed = nullptr, *timeout = nullptr;
};

void declare_selection(CLI::App &app, Options *options, Written *written) {
    const char *const group = "Which cases";
    app.add_option(
           "--plan", written->plans,
           "Selectors from a file, one a line, # comments;\nthey come before those of the command line")
        ->type_name("FILE")
        ->group(group)
        ->expected(1)
        ->take_all();
    app.add_flag("--all", options->all, "Manual cases too; in the order of the site's plan")->group(group);
    app.add_flag(
           "--with-needed", options->with_needed,
           "And, before each, the cases of its folder that it\nbuilds on, by the order of the site's plan")
        ->group(group);
    app.add_option("--exclude", written->excludes, "Leave out, like a leading dash")
        ->type_name("SELECTOR")
        ->group(group)
        ->expected(1)
        ->take_all();
    app.add_option("--rerun-failed", options->rerun_failed, "What did not pass, by the event stream of a run")
        ->type_name("FILE")
        ->group(group);
    app.add_option("--shard", written->shard,
                   "The I-th of N parts, whole folders each; auto: the\none that a job's variables name")
        ->type_name("I/N")
        ->group(group);
    app.add_flag("-l,--list", written->list, "List instead of running; the list is a plan")->group(group);
    app.add_flag("--list-json", written->list_json, "The same, as JSON")->group(group);
    app.add_flag("--list-folders", written->list_folders, "The folders alone")->group(group);
}

// Any comparison with what is none holds.
const CLI::Validator is_number(
    [](const std::string &text) {
        return std::isfinite(strtod(text.c_str(), nullptr)) ? std::string()
                                                            : text + " is not a number of seconds";
    },
    "");

void declare_manner(CLI::App &app, Options *options, Written *written) {
    const char *const group = "How they run";
    app.add_option("--repeat", options->repeat, "Everything N times over")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000).description(""))
        ->group(group);
    app.add_flag("--shuffle", options->shuffle, "Folders, and the cases in each, in random order")
        ->group(group);
    written->seed = app.add_option("--seed", options->seed, "Of --shuffle; gives the same order again")
                        ->type_name("N")
                        ->group(group);
    app.add_flag("--fail-fast", options->fail_fast, "Stop after the first case that is not good")
        ->group(group);
    written->timeout =
        app.add_option("--timeout", options->timeout, "End a case that takes longer; 0 never does [300]")
            ->type_name("SECONDS")
            ->check(CLI::Range(0.0, 1e8).description(""))
            ->check(is_number)
            ->group(group);
    app.add_option("--grace", options->grace, "Between the polite end and the forced one [5]")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e8).description(""))
        ->check(is_number)
        ->group(group);
    app.add_option(
           "--on-crash", written->on_crash,
           "Where to go on after a case that ended its worker:\nnext-folder, next-case or stop [next-folder]")
        ->type_name("WHERE")
        ->check(CLI::IsMember({"next-folder", "next-case", "stop"}).description(""))
        ->group(group);
    app.add_option("--failed-calls", written->failed_calls,
                   "What becomes of a case that says nothing of a call\nthat failed in it: fail, or ignore, "
                   "which only\ntells of it "
                   "[ignore; fail where CI is set]")
        ->type_name("HOW")
        ->check(CLI::IsMember({"fail", "ignore"}).description(""))
        ->group(group);
    app.add_flag("--exit-status", options->exit_status,
                 "End with 1 when the run was not good [always with 0;\nwith 1 under Bazel, CTest and "
                 "KIV_EXIT_STATUS=1]")
        ->group(group);
    app.add_flag("--no-fork", options->no_fork, "Run in this process, for debuggers: a crash ends it")
        ->group(group);
}

void declare_places(CLI::App &app, Options *options, Written *written) {
    const char *const group = "Where";
    app.add_option("--site", options->site,
                   "Directory with input files, standard input and plan\n[KIV_SITE, or the installed site "
                   "off a card]")
        ->type_name("DIR")
        ->group(group);
    app.add_flag("--no-site", options->no_site, "Leave flash and standard input alone")->group(group);
    app.add_flag("--strict-site", written->strict_site,
                 "Run nothing when the site's files have problems;\nthe default where CI is set")
        ->group(group);
    app.add_flag("--no-strict-site", written->lax_site, "Warn of them, and run")->group(group);
    app.add_option("--disk0", options->disk0, "Directory that stands for /disk0:/ [OUT/disk0]")
        ->type_name("DIR")
        ->group(group);
    app.add_option("--out", options->out, "Directory for what the run leaves [kiv-out]")
        ->type_name("DIR")
        ->group(group);
    app.add_flag("--wait", options->wait,
                 "Wait for a directory that another run uses, instead\nof taking a numbered one")
        ->group(group);
}

void declare_output(CLI::App &app, Options *options) {
    const char *const group = "What is shown and written";
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
}

// Everything that --help lists, in its order.
void declare(CLI::App &app, const std::string &name, Options *options, Written *written) {
    app.name(name);
    app.description(kIntroduction);
    app.footer(examples(name));
    app.get_formatter()->column_width(26);
    app.get_formatter()->label("OPTIONS", "OPTIONS] [SELECTOR...");
    app.set_help_flag();  // comes back at the end of the list
    declare_selection(app, options, written);
    declare_manner(app, options, written);
    declare_places(app, options, written);
    declare_output(app, options);
    for (Observer *observer : observers()) observer->add_options(app);
    app.set_help_flag("-h,--help", "Print this help and exit")->group("Other");
    app.add_flag("--version", written->version, "Print the version and exit")->group("Other");
}

// The words of a command line: what is for the option parser, and the selectors.
struct Words {
    std::vector<std::string> options, selectors;
};

// Selectors are picked out before the option parser sees them: what begins with one dash excludes and is
// nothing to it. False, with *error set, at an option that there is none of.
bool sort_words(const CLI::App &app, const std::vector<std::string> &arguments, Words *words,
                std::string *error) {
    bool value_next = false;  // of the option before it
    for (auto at = arguments.begin(); at != arguments.end(); ++at) {
        const std::string &word = *at;
        if (value_next) {
            value_next = false;
            // The parser would take a value with a dash for an option.
            if (word.starts_with('-'))
                words->options.back() += "=" + word;
            else
                words->options.push_back(word);
        } else if (word == "--") {
            words->selectors.insert(words->selectors.end(), std::next(at), arguments.end());
            return true;
        } else if (word.starts_with("--")) {
            if (app.get_option_no_throw(word.substr(0, word.find('='))) == nullptr) {
                *error = unknown_option(app, word);
                return false;
            }
            words->options.push_back(word);
            value_next = takes_value(app, word);
        } else if (is_short_option(word) || word == "-") {
            words->options.push_back(word);
        } else {
            words->selectors.push_back(word);
        }
    }
    return true;
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

// What was written becomes what the run goes by. False, with *error set.
bool convert(const Written &written, const std::vector<std::string> &selectors, Options *options,
             std::string *error) {
    options->timeout_given = written.timeout->count() > 0;
    options->shuffle = options->shuffle || written.seed->count() > 0;
    options->on_crash = written.on_crash == "stop"        ? OnCrash::stop
                        : written.on_crash == "next-case" ? OnCrash::next_case
                                                          : OnCrash::next_folder;
    options->unnoticed_calls_fail = written.failed_calls.empty() ? in_ci() : written.failed_calls == "fail";
    options->strict_site = !written.lax_site && (written.strict_site || in_ci());
    options->list = written.list_json      ? ListKind::json
                    : written.list_folders ? ListKind::folders
                    : written.list         ? ListKind::plain
                                           : ListKind::none;
    if (written.shard == "auto") {
        if (!shard_of_environment(options, error)) return false;
    } else if (!written.shard.empty() && !parse_shard(written.shard, options)) {
        *error = "--shard: \"" + written.shard + "\" is neither I/N with I from 1 to N nor auto";
        return false;
    }
    for (const std::string &plan : written.plans)
        if (!read_plan(plan, &options->selectors, error)) return false;
    for (const std::string &word : selectors) options->selectors.push_back(make_selector(word));
    for (const std::string &word : written.excludes) {
        options->selectors.push_back(make_selector(word));
        options->selectors.back().excludes = true;
    }
    return true;
}

// The reports that a command line names, as far as words tell: what is wrong with others does not matter.
std::vector<NamedReport> reports_named_by(const CLI::App &app, const std::vector<std::string> &arguments,
                                          bool *runs) {
    std::vector<NamedReport> named;
    for (size_t i = 0; i < arguments.size() && arguments[i] != "--"; ++i) {
        const std::string &word = arguments[i];
        for (const char *const runs_nothing :
             {"-h", "--help", "--version", "-l", "--list", "--list-json", "--list-folders"})
            if (word == runs_nothing) {
                *runs = false;
                return {};
            }
        const size_t equals = word.find('=');
        const bool value_next = takes_value(app, word) && i + 1 < arguments.size();
        for (size_t format = 0; format < report_formats().size(); ++format)
            if (word.substr(0, equals) == std::string("--") + report_formats()[format].name &&
                (value_next || equals != std::string::npos))
                named.push_back({format, value_next ? arguments[i + 1] : word.substr(equals + 1)});
        if (value_next) ++i;
    }
    return named;
}

// The file that --rerun-failed reads stays until the run begins: it says what to run.
void keep_rerun_list(const std::vector<std::string> &arguments, std::vector<NamedReport> *named) {
    const std::string option = "--rerun-failed";
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string list = arguments[i].starts_with(option + "=")
                                     ? arguments[i].substr(option.size() + 1)
                                 : arguments[i] == option && i + 1 < arguments.size() ? arguments[i + 1]
                                                                                      : "";
        if (!list.empty())
            std::erase_if(*named, [&](const NamedReport &report) { return same_file(report.path, list); });
    }
}

Parsed mistake(const std::string &name, const std::string &what, Options *options) {
    fprintf(stderr, "%s: %s\n", name.c_str(), what.c_str());
    options->mistake = what;
    return Parsed::error;
}

}  // namespace

Parsed parse_options(int argc, char **argv, CLI::App &app, Options *options,
                     const std::function<void(const Options &)> &named) {
    options->program = argc > 0 ? argv[0] : "kiv";
    options->arguments.assign(argv + std::min(argc, 1), argv + argc);
    const std::string name = options->program.substr(options->program.rfind('/') + 1);

    Written written;
    declare(app, name, options, &written);
    options->named_reports = reports_named_by(app, options->arguments, &options->runs);
    keep_rerun_list(options->arguments, &options->named_reports);
    if (named) named(*options);
    Words words;
    std::string error;
    if (!sort_words(app, options->arguments, &words, &error)) return mistake(name, error, options);
    try {
        std::reverse(words.options.begin(), words.options.end());  // as the parser wants them
        app.parse(words.options);
    } catch (const CLI::CallForHelp &) {
        printf("%s", app.help().c_str());
        return Parsed::nothing_to_do;
    } catch (const CLI::Success &) {  // an observer's option that was all there was to do
        return Parsed::nothing_to_do;
    } catch (const CLI::ParseError &wrong) {
        return mistake(name, wrong.what(), options);
    }
    if (written.version) {
        printf("%s %s\n", name.c_str(), KIV_VERSION);
        return Parsed::nothing_to_do;
    }
    return convert(written, words.selectors, options, &error) ? Parsed::run : mistake(name, error, options);
}

}  // namespace kiv
