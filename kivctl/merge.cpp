// kivctl merge: the results of several runs as those of one.
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <set>

#include "kiv/reports/reports.h"
#include "kiv/reports/text.h"
#include "kivctl/commands.h"
#include "kivctl/results.h"

namespace kivctl {
namespace {

struct Options {
    std::vector<std::string> files;
    std::string output;
    bool partial = false;
};

int unusable(const std::string &message) {
    fmt::print(stderr, "kivctl: {}\n", message);
    return kUnusable;
}

int64_t start_of(const Results &results) {
    int64_t time = 0;
    return kiv::reports::parse_time(results.info.started_at, &time) ? time : 0;
}

std::string name_of(const kiv::RunInfo &info) {
    return fmt::format("shard {} of {}", info.shard_index + 1, info.shard_count);
}

// The parts of one run must be all there, once each; runs that are no shards only must not overlap in name.
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

Results merged(std::vector<Results> parts) {
    int64_t start = INT64_MAX;
    for (const Results &part : parts) start = std::min(start, start_of(part));

    Results whole;
    whole.complete = true;
    for (const Results &part : parts)
        if (whole.info.started_at.empty() || start_of(part) == start) whole.info = part.info;
    whole.info.folders.clear();
    whole.info.selected.clear();
    whole.info.descriptions.clear();
    whole.info.selected_cases = 0;
    whole.info.shard_index = 0;
    whole.info.shard_count = 1;
    kiv::Summary sums;
    for (Results &part : parts) {
        const std::chrono::nanoseconds offset(start_of(part) - start);
        for (const kiv::FolderInfo &folder : part.info.folders) {
            const auto same = std::find_if(whole.info.folders.begin(), whole.info.folders.end(),
                                           [&](const kiv::FolderInfo &f) { return f.path == folder.path; });
            if (same == whole.info.folders.end())
                whole.info.folders.push_back(folder);
            else
                same->selected_cases += folder.selected_cases;
        }
        std::move(part.info.selected.begin(), part.info.selected.end(),
                  std::back_inserter(whole.info.selected));
        std::move(part.info.descriptions.begin(), part.info.descriptions.end(),
                  std::back_inserter(whole.info.descriptions));
        whole.info.selected_cases += part.info.selected_cases;
        for (auto &event : part.events) {
            if (auto *const result = std::get_if<kiv::CaseResult>(&event)) result->started += offset;
            whole.events.push_back(std::move(event));
        }
        const kiv::Summary &summary = part.summary;
        sums.duration = std::max(sums.duration, summary.duration + offset);
        sums.selected += summary.selected;
        for (size_t i = 0; i < std::size(sums.counts); ++i) sums.counts[i] += summary.counts[i];
        sums.checks += summary.checks;
        sums.failed_checks += summary.failed_checks;
        sums.failed_fixtures += summary.failed_fixtures;
        sums.failed_calls += summary.failed_calls;
        sums.unnoticed_calls += summary.unnoticed_calls;
        sums.with_unnoticed_calls += summary.with_unnoticed_calls;
        sums.interrupted = sums.interrupted || summary.interrupted;
        if (sums.stopped_because.empty()) sums.stopped_because = summary.stopped_because;
        sums.notes.insert(sums.notes.end(), summary.notes.begin(), summary.notes.end());
    }
    whole.summary = sums;
    return whole;
}

int merge(const Options &options) {
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
    const auto reporter = kiv::make_json_reporter(options.output, &error);
    if (reporter == nullptr) return unusable(error);
    merged(std::move(parts)).replay(*reporter);
    return kGood;
}

}  // namespace

void add_merge(CLI::App &app, int *status) {
    const auto options = std::make_shared<Options>();
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
