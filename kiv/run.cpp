// One run, from the command line to the summary.
#include "kiv/run.h"

#include <unistd.h>

#include <algorithm>

#include "kiv/environment.h"
#include "kiv/files.h"
#include "kiv/listing.h"
#include "kiv/observers.h"
#include "kiv/reports/wording.h"
#include "kiv/select/needed.h"
#include "kiv/select/rerun.h"
#include "kiv/select/selection.h"
#include "kiv/site/flash.h"
#include "kiv/supervise/supervisor.h"
#include "kiv/worker/live.h"

namespace kiv {

namespace {

uint32_t fresh_seed() {
    return static_cast<uint32_t>(now_ns() / 1000 ^ getpid()) % 999'999 + 1;
}

int64_t nanoseconds(double seconds) {
    return static_cast<int64_t>(seconds * 1e9);
}

Policy policy_of(const Options &options) {
    Policy policy;
    policy.timeout = nanoseconds(options.timeout);
    policy.grace = nanoseconds(options.grace);
    policy.times_operators = options.timeout_given;
    policy.on_crash = options.fail_fast ? OnCrash::stop : options.on_crash;
    return policy;
}

ConsoleStyle console_style_of(const Options &options, int fd) {
    ConsoleStyle style;
    style.color = use_color(options.color, fd);
    style.progress = isatty(fd);
    style.verbose = options.verbose;
    style.quiet = options.quiet;
    style.mark = take_summary_mark();
    return style;
}

Recorder::Settings recorder_settings_of(const Options &options, const std::string &out) {
    Recorder::Settings settings;
    settings.output_directory = out + "/output";
    settings.output_limit = static_cast<size_t>(options.output_limit) * 1024;
    settings.fail_fast = options.fail_fast;
    settings.unnoticed_calls_fail = options.unnoticed_calls_fail;
    return settings;
}

}  // namespace

int Run::execute() {
    std::string error;
    context_.number_duplicates();
    if (!choose_site(&error) || !select(&error)) return fail(error);
    if (options_.list != ListKind::none) return list();
    make_schedule();
    PrematureExitMark mark;
    mark.begun();
    if (!prepare_flash(&error)) return fail(error);
    RunInfo info = describe();
    if (!tell_observers(info, &error)) return fail(error);
    std::vector<std::unique_ptr<Reporter>> reports = open_reports(options_.reports, &error);
    if (!error.empty()) return fail(error + kNothingWasRun);

    // Where a report goes to standard output, the run's own text does not.
    const int out = options_.reports.to_standard_output() ? STDERR_FILENO : STDOUT_FILENO;
    std::optional<WritesFail> writes_fail;
    if (!options_.no_fork) writes_fail.emplace();  // else the cases would find it
    Console console(out, console_style_of(options_, out));
    Recorder recorder(*schedule_, &console, std::move(reports), recorder_settings_of(options_, out_));
    begin(info, recorder);
    run_cases(recorder);
    if (!writes_fail) writes_fail.emplace();
    const Summary &summary = finish(recorder);
    if (!summary.unwritten.empty()) return kReportLost;
    const bool good = summary.good();
    mark.ended(good);
    return good ? kGood : kNotGood;
}

int Run::fail(const std::string &message) {
    const std::string name = options_.program.substr(options_.program.rfind('/') + 1);
    std::string text;
    if (!problems_shown_)
        for (const std::string &problem : site_problems_)
            if (!message.starts_with(problem)) text += name + ": warning: " + problem + "\n";
    write_all(STDERR_FILENO, text + name + ": " + message + "\n");
    why_ = message.substr(0, message.find('\n'));
    return kNothingRun;
}

bool Run::choose_site(std::string *error) {
    if (options_.list != ListKind::none) return true;
    std::string directory;
    if (!find_site(options_.site, options_.no_site, &directory, error)) return false;
    if (!directory.empty()) site_.emplace(absolute_path(directory));
    return check_site(error);
}

bool Run::check_site(std::string *error) {
    if (!site_ || site_knowledge() == nullptr) return true;
    site_problems_ = site_knowledge()->problems(site_->directory());
    if (const std::string problem = problem_of_the_plan(); !problem.empty())
        site_problems_.push_back(problem);
    if (site_problems_.empty() || !options_.strict_site) return true;
    *error = reports::site_problems_text(site_problems_.size()) + " (--no-strict-site runs all the same)" +
             kNothingWasRun;
    return false;
}

// Also when something else selects: the next run may go by it.
std::string Run::problem_of_the_plan() const {
    std::string error;
    SelectionRequest request;
    std::vector<uint32_t> selected;
    if (site_->plan().empty() || (read_plan(site_->plan(), &request.selectors, &error) &&
                                  select_cases(context_, request, &selected, &error)))
        return "";
    return error;
}

bool Run::select(std::string *error) {
    SelectionRequest request;
    request.selectors = options_.selectors;
    request.all = options_.all || options_.list != ListKind::none;
    if (!add_other_selectors(&request, error)) {
        *error += kNothingWasRun;
        return false;
    }
    const bool reruns = !options_.rerun_failed.empty();
    if (reruns && request.selectors.size() == options_.selectors.size())
        return true;  // all of it passed: there is nothing to run again
    if (!select_cases(context_, request, &selected_, error)) {
        *error += kNothingWasRun;
        return false;
    }
    heed_needs(request);
    const bool sharded = options_.shard_count > 1;
    if (sharded) shard_cases(context_, options_.shard_index, options_.shard_count, &selected_);
    if (selected_.empty() && !sharded && !reruns && options_.list == ListKind::none) {
        *error = "the selection leaves no case to run";
        return false;
    }
    return true;
}

// What the site's plan knows of the order of cases, or else the order they were registered in.
void Run::heed_needs(const SelectionRequest &request) {
    const bool has_plan = site_ && !site_->plan().empty();
    if (!options_.with_needed && (options_.list != ListKind::none || !has_plan)) return;
    SelectionRequest planned;
    planned.all = true;
    std::string error;
    std::vector<uint32_t> plan;
    if ((has_plan && !read_plan(site_->plan(), &planned.selectors, &error)) ||
        !select_cases(context_, planned, &plan, &error))
        return;  // of a plan that is broken nothing follows; it has been told of
    plan_ = plan;
    const bool any_named = std::any_of(request.selectors.begin(), request.selectors.end(),
                                       [](const Selector &selector) { return !selector.excludes; });
    if (options_.all && !any_named) selected_ = in_plan_order(selected_, plan);
    if (options_.with_needed) {
        selected_ = with_needed(context_, selected_, plan);
    } else if (!options_.shuffle) {
        needs_ = told_needs(context_, selected_, plan);
    }
}

// Of an earlier run, and of the site's plan when nothing else selects.
bool Run::add_other_selectors(SelectionRequest *request, std::string *error) const {
    if (!options_.rerun_failed.empty()) return read_failed(options_.rerun_failed, &request->selectors, error);
    const bool named = std::any_of(request->selectors.begin(), request->selectors.end(),
                                   [](const Selector &selector) { return !selector.excludes; });
    if (named || request->all || !site_ || site_->plan().empty()) return true;
    return read_plan(site_->plan(), &request->selectors, error);
}

int Run::list() const {
    write_all(STDOUT_FILENO, list_cases(context_, selected_, options_.list));
    return 0;
}

void Run::make_schedule() {
    if (options_.shuffle && options_.seed == 0) options_.seed = fresh_seed();
    schedule_.emplace(context_, selected_, options_.repeat, options_.shuffle, options_.seed);
}

bool Run::prepare_flash(std::string *error) {
    out_ = output_directory(options_);
    if (options_.disk0.empty() && !site_) return true;
    const bool of_out = options_.disk0.empty();
    const std::string wanted = of_out ? out_ : absolute_path(options_.disk0);
    std::string directory = wanted, holder;
    for (int n = 2;; ++n) {
        flash_ = of_out ? directory + "/disk0" : directory;
        if (!make_directories(flash_, error)) return false;
        if (hold_.take(flash_, false)) break;
        if (holder.empty()) holder = holder_of(flash_);
        if (options_.wait) {
            write_all(STDERR_FILENO, "Waiting for " + flash_ + ", which " + holder + " uses\n");
            hold_.take(flash_, true);
            holder.clear();
            break;
        }
        if (!of_out && !site_) {  // the files there are what this run was to use
            *error = flash_ + " is used by " + holder + " (--wait waits for it)" + kNothingWasRun;
            return false;
        }
        directory = wanted + "-" + std::to_string(n);
    }
    if (of_out) out_ = directory;
    if (!holder.empty())
        remarks_.push_back(wanted + " is used by " + holder + ";\n  this run takes " + directory +
                           ", --wait waits");
    map_flash(flash_);
    return true;
}

RunInfo Run::describe() const {
    RunInfo info;
    info.program = options_.program;
    info.arguments = options_.arguments;
    if (site_) info.site = site_->directory();
    info.site_problems = site_problems_;
    info.remarks = remarks_;
    if (!site_ && site_knowledge() != nullptr && !is_directory(kCardFlash))
        info.remarks.push_back(without_a_site());
    info.host = host_name();
    info.version = KIV_VERSION;
    info.started_at = utc_now();
    info.disk0 = flash_;
    info.shows_every_call = options_.reports.show_calls();
    info.seed = options_.shuffle ? options_.seed : 0;
    info.repeat = options_.repeat;
    info.shard_index = options_.shard_index;
    info.shard_count = options_.shard_count;
    info.selected_cases = schedule_->size();
    std::vector<size_t> place(context_.folders.size());  // in info.folders, plus one
    info.selected = CaseList(selected_.size(), [this](size_t at) -> CaseList::Item {
        const Case &test = schedule_->case_at(at);
        return {test.selector(), test.description()};
    });
    // The first pass stands for all: they run the same cases.
    for (uint64_t at = 0; at < selected_.size(); ++at) {
        const Case &test = schedule_->case_at(at);
        if (place[test.folder->id] == 0) {
            info.folders.push_back({test.folder->path, test.folder->title, 0});
            place[test.folder->id] = info.folders.size();
        }
        info.folders[place[test.folder->id] - 1].selected_cases += static_cast<size_t>(options_.repeat);
    }
    std::vector<size_t> cases(context_.folders.size());
    for (size_t at = 0; at < (plan_.empty() ? context_.cases.size() : plan_.size()); ++at)
        ++cases[context_.cases[plan_.empty() ? at : plan_[at]].folder->id];
    for (const kiv_folder &folder : context_.folders)
        if (cases[folder.id] > 0) info.planned.push_back({folder.path, folder.title, cases[folder.id]});
    return info;
}

// Off a card a run without a site is rarely what was meant.
std::string Run::without_a_site() const {
    std::string text = "No site: input files and standard input are your own;\n  ";
    size_t lacking = 0;
    for (const uint32_t at : selected_) {
        const Case &test = context_.cases[at];
        if (site_knowledge()->case_reads(test.folder->path, test.bare_name())) ++lacking;
    }
    if (lacking != 0)
        text += std::to_string(lacking) + (lacking == 1 ? " case" : " cases") + " will lack interfaces; ";
    return text + "--site DIR or KIV_SITE names a site";
}

bool Run::tell_observers(RunInfo &info, std::string *error) const {
    for (Observer *observer : observers()) {
        if (observer->run_begins(info, error)) continue;
        *error += kNothingWasRun;
        return false;
    }
    return true;
}

void Run::begin(const RunInfo &info, Recorder &recorder) {
    take_notes(&recorder);
    recorder.run_begins(info);
    problems_shown_ = true;
    if (site_ && site_knowledge() == nullptr)  // who knows more has said it
        for (const std::string &stranger : site_->strangers(context_))
            recorder.note("the site has files for " + stranger + ", but no folder or case is called so");
    recorder.console()->flush();
}

void Run::run_cases(Recorder &recorder) {
    if (schedule_->size() == 0) return;
    const Work work{*schedule_, site_ ? &*site_ : nullptr, flash_, options_.fail_fast};
    if (!options_.no_fork) return Supervisor(work, recorder, policy_of(options_)).run();
    WorkerMemory memory{};
    Worker{.work = work, .journal = recorder, .memory = memory}.run();
    recorder.stop_if_unfinished();
}

const Summary &Run::finish(Recorder &recorder) const {
    if (!needs_.empty() && !recorder.summary().good())
        recorder.note(needs_ + " in the plan; --with-needed runs those first");
    for (Observer *observer : observers()) observer->run_ended(recorder.summary());
    const Summary &summary = recorder.finish(now_ns());
    take_notes(nullptr);
    return summary;
}

}  // namespace kiv
