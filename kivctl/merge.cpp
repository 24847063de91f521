// kivctl merge: the results of several runs as those of one.
#include <fmt/core.h>

#include <algorithm>
#include <memory>
#include <set>

#include "kiv/reports/report_list.h"
#include "kiv/reports/time.h"
#include "kivctl/commands.h"
#include "kivctl/results.h"

namespace kivctl {
namespace {

struct MergeOptions {
    std::vector<std::string> files;
    std::string output;
    bool partial = false;
};

int64_t start_of(const Results &results) {
    int64_t time = 0;
    return kiv::reports::parse_time(results.info.started_at, &time) ? time : 0;
}

std::string name_of(const kiv::RunInfo &info) {
    return fmt::format("shard {} of {}", info.shard_index + 1, info.shard_count);
}

// The parts of one run must be all there, once each.
int check_parts(const std::vector<Results> &parts, bool partial) {
    const int count = parts.front().info.shard_count;
    std::set<int> present;
    for (const Results &part : parts) {
        const kiv::RunInfo &info = part.info;
        if (info.shard_count != count)
            return unusable(fmt::format("{}: ShardCount: {}, but {} in {}", part.path, info.shard_count,
                                        count, parts.front().path));
        if (count > 1 && !present.insert(info.shard_index).second)
            return unusable(fmt::format("{}: ShardIndex: {} is there twice", part.path, name_of(info)));
        if (info.program != parts.front().info.program)
            return unusable(fmt::format("{}: Program: \"{}\", but \"{}\" in {}", part.path, info.program,
                                        parts.front().info.program, parts.front().path));
    }
    for (int i = 0; count > 1 && !partial && i < count; ++i)
        if (!present.contains(i))
            return unusable(
                fmt::format("shard {} of {} is missing (--partial merges without it)", i + 1, count));
    return kGood;
}

// The folders of all parts, in their order; a folder that several have counts the cases of all.
void add_folders(std::vector<kiv::FolderInfo> &all, const std::vector<kiv::FolderInfo> &more) {
    for (const kiv::FolderInfo &folder : more) {
        const auto same = std::find_if(all.begin(), all.end(),
                                       [&](const auto &known) { return known.path == folder.path; });
        if (same == all.end())
            all.push_back(folder);
        else
            same->selected_cases += folder.selected_cases;
    }
}

// `offset`: of the part's start from that of the whole.
void add_summary(kiv::Summary &whole, const kiv::Summary &part, std::chrono::nanoseconds offset) {
    whole.duration = std::max(whole.duration, part.duration + offset);
    whole.selected += part.selected;
    for (size_t i = 0; i < std::size(whole.counts); ++i) whole.counts[i] += part.counts[i];
    whole.checks += part.checks;
    whole.failed_checks += part.failed_checks;
    whole.failed_fixtures += part.failed_fixtures;
    whole.failed_calls += part.failed_calls;
    whole.unnoticed_calls += part.unnoticed_calls;
    whole.with_unnoticed_calls += part.with_unnoticed_calls;
    whole.differences += part.differences;
    whole.with_differences += part.with_differences;
    whole.interrupted = whole.interrupted || part.interrupted;
    if (whole.stopped_because.empty()) whole.stopped_because = part.stopped_because;
    whole.notes.insert(whole.notes.end(), part.notes.begin(), part.notes.end());
}

template <class Items>
void add_items(Items &all, Items &more) {
    std::move(more.begin(), more.end(), std::back_inserter(all));
}

Results merged(std::vector<Results> parts) {
    int64_t start = INT64_MAX;
    for (const Results &part : parts) start = std::min(start, start_of(part));

    Results whole;
    whole.complete = true;
    for (const Results &part : parts)
        if (whole.info.started_at.empty() || start_of(part) == start) whole.info = part.info;
    whole.info.folders.clear();
    whole.info.selected = {};
    whole.info.selected_cases = 0;
    std::vector<std::string> &problems = whole.info.site_problems;
    for (const Results &part : parts)
        for (const std::string &problem : part.info.site_problems)
            if (std::find(problems.begin(), problems.end(), problem) == problems.end())
                problems.push_back(problem);
    whole.info.shard_index = 0;
    whole.info.shard_count = 1;
    for (Results &part : parts) {
        const std::chrono::nanoseconds offset(start_of(part) - start);
        for (auto &event : part.events)
            if (auto *const result = std::get_if<kiv::CaseResult>(&event)) result->started += offset;
        add_items(whole.events, part.events);
        add_folders(whole.info.folders, part.info.folders);
        for (size_t at = 0; at < part.info.selected.size(); ++at) {
            kiv::CaseList::Item test = part.info.selected[at];
            whole.info.selected.push_back(std::move(test.selector), std::move(test.description));
        }
        whole.info.selected_cases += part.info.selected_cases;
        add_summary(whole.summary, part.summary, offset);
    }
    return whole;
}

int merge(const MergeOptions &options) {
    std::vector<Results> parts;
    for (const std::string &file : options.files) {
        Results part;
        if (!load(file, &part)) return kUnusable;
        part.finish(
            fmt::format("{} ended before it", part.info.shard_count > 1 ? name_of(part.info) : "its run"));
        parts.push_back(std::move(part));
    }
    if (const int status = check_parts(parts, options.partial); status != kGood) return status;
    std::stable_sort(parts.begin(), parts.end(), [](const Results &a, const Results &b) {
        return a.info.shard_index < b.info.shard_index;
    });
    std::string error;
    const auto report = kiv::open_report(kiv::make_json_reporter, options.output, &error);
    if (report == nullptr) return unusable(error);
    merged(std::move(parts)).replay(*report);
    const std::string problem = report->problem();
    return problem.empty() ? kGood : unusable(problem);
}

}  // namespace

void add_merge(CLI::App &app, int *status) {
    const auto options = std::make_shared<MergeOptions>();
    CLI::App *const command =
        app.add_subcommand("merge", "Make the results of several shards those of one run");
    command->footer("Exit status: 0, or 2 when the results cannot be used or do not belong together.");
    command->add_option("RESULTS", options->files, "Event streams of the shards, in any order")->required();
    command->add_option("-o,--output", options->output, "Event stream to write")
        ->required()
        ->option_text("FILE");
    command->add_flag("--partial", options->partial, "Merge although shards are missing");
    command->callback([=] { *status = merge(*options); });
}

}  // namespace kivctl
