// kivctl trace: shows, sums up and compares the traces of runs, and writes a dissector for them.
#include <memory>

#include "kivctl/commands.h"
#include "kivctl/trace/trace_commands.h"

namespace kivctl {
namespace {

constexpr const char *kFilterGroup = "Which calls";

void add_place_filter(CLI::App *command, CallFilterOptions *filter) {
    command
        ->add_option("--case", filter->place,
                     "In cases that fit: FOLDER/CASE, CASE or FOLDER; set-up and\ntear-down are places too")
        ->type_name("PATTERN")
        ->group(kFilterGroup);
    command->add_option("--operation", filter->operation, "Of operations whose name fits")
        ->type_name("PATTERN")
        ->group(kFilterGroup);
}

void add_filter(CLI::App *command, CallFilterOptions *filter) {
    add_place_filter(command, filter);
    command
        ->add_option("--where", filter->where,
                     "With a field of that value, before or after; repeatable, all must\nfit")
        ->type_name("FIELD=VALUE")
        ->take_all()
        ->expected(1)
        ->group(kFilterGroup);
    command
        ->add_option("--status", filter->status,
                     "That ended so: failed, good, unreturned, or a code by name or\nnumber")
        ->type_name("STATUS")
        ->group(kFilterGroup);
}

void add_file(CLI::App *command, std::string *file) {
    command->add_option("FILE", *file, "Trace (--trace of prm_kiv); \"-\" is standard input")->required();
}

constexpr const char *kReadStatus =
    "Exit status: 0, 1 when the trace is damaged and was read up to there, 2 when it cannot be used.";

}  // namespace

void add_trace(CLI::App &app, int *status) {
    CLI::App *const trace = app.add_subcommand("trace", "Read the calls that runs recorded");
    trace->require_subcommand(1);

    const auto show = std::make_shared<TraceShowOptions>();
    CLI::App *const show_command = trace->add_subcommand("show", "Print calls, a line each");
    show_command->footer(
        std::string(
            "A line has the call's number, its arguments, behind \"->\" what the call changed, and what "
            "it returned;\nfields that are 0 are left out. Handles have the names that a baseline has. ") +
        kReadStatus);
    add_file(show_command, &show->file);
    add_filter(show_command, &show->filter);
    show_command->add_flag("--changes", show->changes,
                           "Of each call what its operation's previous one had otherwise");
    show_command->add_flag("--hex", show->hex, "The bytes of every record below its call");
    show_command->add_flag("--times", show->times, "How long each call took");
    show_command->add_flag("--zeros", show->zeros, "Fields that are 0 too");
    show_command->add_flag("--raw", show->raw, "Handles as the numbers that they were, without names");
    show_command->add_flag("--json", show->json, "One JSON object a line, with all fields");
    show_command->callback([=] { *status = show_trace(*show); });

    const auto summary = std::make_shared<TraceSummaryOptions>();
    CLI::App *const summary_command =
        trace->add_subcommand("summary", "Count calls, failures and time per operation");
    summary_command->footer(kReadStatus);
    add_file(summary_command, &summary->file);
    add_filter(summary_command, &summary->filter);
    summary_command->add_option("--slowest", summary->slowest, "How many single calls to name")
        ->type_name("N")
        ->capture_default_str();
    summary_command->callback([=] { *status = summarize_trace(*summary); });

    const auto stats = std::make_shared<TraceSummaryOptions>();
    CLI::App *const stats_command =
        trace->add_subcommand("stats", "Show per operation how many calls took how long");
    stats_command->footer(kReadStatus);
    add_file(stats_command, &stats->file);
    add_filter(stats_command, &stats->filter);
    stats_command->callback([=] { *status = trace_statistics(*stats); });

    const auto diff = std::make_shared<TraceDiffOptions>();
    CLI::App *const diff_command = trace->add_subcommand("diff", "Tell what two traces differ in");
    diff_command->footer(
        "Calls are held against each other case by case, in their order. What the platform handed out is "
        "compared by\nwhich call handed it out, not by its value; times do not count.\n"
        "Exit status: 0 when they are the same, 1 when they differ, 2 when one cannot be used or is "
        "damaged.");
    diff_command->add_option("A", diff->before, "The trace to compare with")->required();
    diff_command->add_option("B", diff->after, "The trace that may differ")->required();
    add_place_filter(diff_command, &diff->filter);
    diff_command->add_flag("--json", diff->json, "One JSON object a line for each difference");
    diff_command->add_flag("-q,--quiet", diff->quiet, "Say nothing, only set the exit status");
    diff_command->callback([=] { *status = diff_traces(*diff); });

    const auto dissector = std::make_shared<DissectorOptions>();
    CLI::App *const dissector_command =
        trace->add_subcommand("dissector", "Write a dissector of traces for Wireshark, in Lua");
    dissector_command->footer(
        "Put it where Wireshark finds it (~/.local/lib/wireshark/plugins), or: wireshark -X "
        "lua_script:FILE run.pcap\nExit status: 0, or 2 when the trace cannot be used.");
    dissector_command->add_option("TRACE", dissector->trace,
                                  "For traces of the build that wrote this one, not of this build");
    dissector_command->callback([=] { *status = write_dissector(*dissector); });
}

}  // namespace kivctl
