// One run, from the command line to the summary.
#include "kiv/run.h"

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "kiv/environment.h"
#include "kiv/files.h"
#include "kiv/listing.h"
#include "kiv/select/rerun.h"
#include "kiv/select/selection.h"
#include "kiv/site/flash.h"
#include "kiv/supervise/supervisor.h"
#include "kiv/worker/capture.h"
#include "kiv/worker/case_runner.h"
#include "kiv/worker/live.h"

namespace kiv {

namespace {

uint32_t fresh_seed() {
    return static_cast<uint32_t>(now_ns() / 1000 ^ getpid()) % 999'999 + 1;
}

}  // namespace

int Run::fail(const std::string &message) const {
    const std::string name = options_.program.substr(options_.program.rfind('/') + 1);
    write_all(STDERR_FILENO, name + ": " + message + "\n");
    return 1;
}

bool Run::select(std::vector<uint32_t> *selected, std::string *error) {
    SelectionRequest request;
    request.selectors = options_.selectors;
    request.all = options_.all || options_.list != ListKind::none;
    if (!options_.rerun_failed.empty()) {
        const size_t before = request.selectors.size();
        if (!read_failed(options_.rerun_failed, &request.selectors, error)) return false;
        if (request.selectors.size() == before)
            return true;  // all of it passed: there is nothing to run again
    }
    const bool named = std::any_of(request.selectors.begin(), request.selectors.end(),
                                   [](const Selector &selector) { return !selector.excludes; });
    if (!named && !request.all && site_ && !site_->plan().empty() &&
        !read_plan(site_->plan(), &request.selectors, error))
        return false;
    if (!select_cases(context_, request, selected, error)) return false;
    if (options_.shard_count > 1) shard_cases(context_, options_.shard_index, options_.shard_count, selected);
    return true;
}

bool Run::prepare_flash(std::string *error) {
    if (options_.disk0.empty() && !site_) return true;
    flash_ = options_.disk0.empty() ? out_ + "/disk0" : absolute_path(options_.disk0);
    if (!make_directories(flash_, error)) return false;
    map_flash(flash_);
    return true;
}

RunInfo Run::describe(const std::vector<uint32_t> &selected) const {
    RunInfo info;
    info.program = options_.program;
    info.arguments = options_.arguments;
    if (site_) info.site = site_->directory();
    info.host = host_name();
    info.version = KIV_VERSION;
    info.started_at = utc_now();
    info.disk0 = flash_;
    info.seed = options_.shuffle ? options_.seed : 0;
    info.repeat = options_.repeat;
    info.shard_index = options_.shard_index;
    info.shard_count = options_.shard_count;
    info.selected_cases = schedule_->size();
    std::vector<size_t> place(context_.folders.size());  // in info.folders, plus one
    const bool listed = options_.reports.list_cases();
    if (listed) {
        info.selected.reserve(selected.size());
        info.descriptions.reserve(selected.size());
    }
    // The first pass stands for all: they run the same cases.
    for (uint64_t at = 0; at < selected.size(); ++at) {
        const Case &test = schedule_->case_at(at);
        if (place[test.folder->id] == 0) {
            info.folders.push_back({test.folder->path, test.folder->title, 0});
            place[test.folder->id] = info.folders.size();
        }
        info.folders[place[test.folder->id] - 1].selected_cases += static_cast<size_t>(options_.repeat);
        if (!listed) continue;
        info.selected.push_back(test.selector());
        info.descriptions.emplace_back(test.description());
    }
    return info;
}

void Run::run_in_place(Recorder &recorder) {
    Counters counters{};
    uint32_t staged = 0;
    std::optional<Stager> stager;
    if (site_ && !flash_.empty()) stager.emplace(flash_, &staged);
    Capture::Settings settings;
    settings.scripted = site_.has_value();
    Capture capture(recorder, settings);
    go_live(&recorder, &counters);
    for (Observer *observer : observers()) observer->worker_begins(1);
    go_live(&recorder, &counters);
    CaseRunner::Surroundings around;
    around.site = site_ ? &*site_ : nullptr;
    around.stager = stager ? &*stager : nullptr;
    around.capture = &capture;
    around.counters = &counters;
    around.asks_to_go_on = options_.fail_fast;
    CaseRunner(*schedule_, recorder, around).run(0);
    for (Observer *observer : observers()) observer->worker_ends();
    recorder.done();
    go_live(nullptr, nullptr);
}

int Run::execute() {
    std::string error;
    context_.number_duplicates();
    if (options_.list == ListKind::none) {
        std::string directory;
        if (!find_site(options_.site, options_.no_site, &directory, &error)) return fail(error);
        if (!directory.empty()) site_.emplace(absolute_path(directory));
    }
    std::vector<uint32_t> selected;
    if (!select(&selected, &error)) return fail(error + "\nNothing was run.");
    if (options_.list != ListKind::none) {
        write_all(STDOUT_FILENO, list_cases(context_, selected, options_.list));
        return 0;
    }
    if (selected.empty() && options_.shard_count == 1 && options_.rerun_failed.empty())
        return fail("the selection leaves no case to run");
    if (options_.shuffle && options_.seed == 0) options_.seed = fresh_seed();
    out_ = output_directory(options_);
    PrematureExitMark mark;
    mark.begun();
    schedule_ =
        std::make_unique<Schedule>(context_, selected, options_.repeat, options_.shuffle, options_.seed);
    if (!prepare_flash(&error)) return fail(error);

    RunInfo info = describe(selected);
    for (Observer *observer : observers())
        if (!observer->run_begins(info, &error)) return fail(error + "\nNothing was run.");
    std::vector<std::unique_ptr<Reporter>> reports = open_reports(options_.reports, &error);
    if (!error.empty()) return fail(error);

    ConsoleStyle style;
    style.color = use_color(options_.color, STDOUT_FILENO);
    style.progress = isatty(STDOUT_FILENO);
    style.verbose = options_.verbose;
    style.quiet = options_.quiet;
    const int console_fd = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    Console console(console_fd, style);
    Recorder::Settings settings;
    settings.output_directory = out_ + "/output";
    settings.output_limit = static_cast<size_t>(options_.output_limit) * 1024;
    settings.fail_fast = options_.fail_fast;
    Recorder recorder(*schedule_, &console, std::move(reports), settings);
    take_notes(&recorder);
    recorder.run_begins(info);
    if (site_)
        for (const std::string &stranger : site_->strangers(context_))
            recorder.note("the site has files for " + stranger + ", but no folder or case is called so");
    console.flush();
    if (schedule_->size() > 0) {
        if (options_.no_fork) {
            run_in_place(recorder);
            if (recorder.next_position() < schedule_->size()) {
                recorder.stopped("after the first case that is not good (--fail-fast)", false);
                recorder.skip_to(schedule_->size(), "the run stopped before it");
            }
        } else {
            Supervisor::Settings supervision;
            supervision.options = &options_;
            supervision.site = site_ ? &*site_ : nullptr;
            supervision.flash = flash_;
            Supervisor(*schedule_, recorder, supervision).run();
        }
    }
    for (Observer *observer : observers()) observer->run_ended(recorder.summary());
    const Summary &summary = recorder.finish(now_ns());
    take_notes(nullptr);
    const bool good = summary.good();
    mark.ended(good);
    close(console_fd);
    return good ? 0 : 1;
}

}  // namespace kiv

extern "C" int kiv_run(int argc, char **argv, kiv_context_t context) {
    CLI::App app;
    kiv::Options options;
    switch (kiv::parse_options(argc, argv, app, &options)) {
        case kiv::Parsed::nothing_to_do:
            return 0;
        case kiv::Parsed::error:
            return 1;
        case kiv::Parsed::run:
            break;
    }
    std::string error;
    if (!kiv::apply_test_environment(&options, &error)) {
        kiv::write_all(STDERR_FILENO, options.program + ": " + error + "\n");
        return 1;
    }
    return kiv::Run(*context, std::move(options)).execute();
}
