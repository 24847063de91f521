// Turns the events of a run into results.
#include "kiv/supervise/recorder.h"

#include <csignal>

#include "kiv/files.h"
#include "kiv/observers.h"
#include "kiv/reports/wording.h"

namespace kiv {

namespace {

// Times come out of memory that a case can write over: any two have a difference.
std::chrono::nanoseconds elapsed(int64_t from, int64_t to) {
    return std::chrono::nanoseconds(
        static_cast<int64_t>(static_cast<uint64_t>(to) - static_cast<uint64_t>(from)));
}

Verdict verdict_of(const WorkerEnd &end) {
    if (end.timed_out) return Verdict::timed_out;
    return end.signal == SIGABRT ? Verdict::aborted : Verdict::crashed;
}

std::string reason_of(const WorkerEnd &end) {
    if (end.interrupted) return "interrupted";
    if (!end.how.empty()) return end.how;
    if (end.signal == SIGABRT) return "called abort";
    return reports::end_text(end.signal, end.exit_code);
}

// What differs from the baseline has failed, whatever else is good about it.
template <typename Result>
void count_differences(Result &result) {
    if (result.differences.count > 0 && verdict_is_good(result.verdict)) result.verdict = Verdict::failed;
}

}  // namespace

Recorder::Recorder(const Schedule &schedule, Console *console, std::vector<std::unique_ptr<Reporter>> reports,
                   Settings settings)
    : schedule_(schedule),
      console_(console),
      reports_(std::move(reports)),
      settings_(std::move(settings)),
      output_(settings_.output_directory, settings_.output_limit) {}

void Recorder::run_begins(const RunInfo &info) {
    run_started_ = now_ns();
    summary_.selected = schedule_.size();
    tell([&](Reporter &reporter) { reporter.run_begins(info); });
}

void Recorder::open_group(uint64_t position, uint32_t count) {
    const kiv_folder *folder = schedule_.case_at(position).folder;
    group_.path = folder->path;
    group_.title = folder->title;
    group_.selected_cases = count;
    group_end_ = position + count;
    group_open_ = true;
    tell([&](Reporter &reporter) { reporter.folder_begins(group_); });
}

void Recorder::close_group() {
    if (!group_open_) return;
    group_open_ = false;
    tell([&](Reporter &reporter) { reporter.folder_ended(group_); });
}

void Recorder::group_begins(uint64_t position, uint32_t count) {
    close_group();
    open_group(position, count);
}

void Recorder::group_ended() {
    close_group();
}

void Recorder::start_item(Item item, int64_t time) {
    item_ = item;
    started_ = time;
    if (!failures_.empty()) failures_.clear();
    outcome_.restart();
    calls_.restart();
    operator_types_ = false;
    sent_.clear();
}

void Recorder::fixture_begins(uint32_t folder, bool set_up, int64_t time) {
    fixture_folder_ = &schedule_.context().folders[folder];
    start_item(set_up ? Item::set_up : Item::tear_down, time);
    output_.restart(fixture_folder_->path, set_up ? "set-up" : "tear-down");
    if (set_up)
        open_.push_back(fixture_folder_);
    else
        std::erase(open_, fixture_folder_);
}

void Recorder::report_fixture(FixtureResult &fixture) {
    for (Observer *observer : observers()) observer->complete(fixture);
    count_differences(fixture);
    summary_.add(fixture);
    if (fixture.failed()) bad_seen_ = true;
    tell([&](Reporter &reporter) { reporter.fixture_ended(fixture); });
}

FixtureResult Recorder::end_fixture(int64_t time, const Counters &counters) {
    FixtureResult fixture;
    fixture.folder = fixture_folder_->path;
    fixture.set_up = item_ == Item::set_up;
    fixture.ran = true;
    fixture.failures = std::move(failures_);
    failures_.clear();
    uint64_t size;
    std::string file;
    output_.finish(&fixture.output, &size, &file);
    fixture.duration = elapsed(started_, time);
    summary_.checks += counters.checks;
    summary_.failed_checks += counters.failed;
    fixture.calls = calls_.failures();
    item_ = Item::none;
    return fixture;
}

void Recorder::fixture_ended(int64_t time, const Counters &counters) {
    if (item_ != Item::set_up && item_ != Item::tear_down) return;  // a record that a case wrote over
    finish_output();
    FixtureResult fixture = end_fixture(time, counters);
    fixture.verdict = judge(counters);
    if (fixture.verdict == Verdict::unchecked) fixture.verdict = Verdict::passed;
    if (fixture.verdict == Verdict::reported_error) fixture.reason = printed_failure();
    report_fixture(fixture);
}

void Recorder::prepare_result(uint64_t position) {
    const Case &test = schedule_.case_at(position);
    if (result_.folder != test.folder->path) result_.folder = test.folder->path;
    result_.name.clear();
    test.append_name(result_.name);
    result_.description = test.description();
    result_.mode = test.mode;
    result_.signal = 0;
    result_.exit_code = -1;
    result_.reason.clear();
    result_.output_size = 0;
    result_.output.clear();
    result_.output_file.clear();
    result_.failures.clear();
    result_.error_lines.clear();
    result_.checks = result_.failed_checks = 0;
    result_.calls.count = 0;
    result_.calls.unnoticed.clear();
    result_.calls_told.left_out = 0;
    result_.calls_told.calls.clear();
    result_.differences.count = 0;
    result_.differences.told.clear();
    result_.duration = result_.started = std::chrono::nanoseconds(0);
}

void Recorder::case_begins(uint64_t position, int64_t time) {
    position_ = position;
    next_ = position + 1;
    start_item(Item::test, time);
    prepare_result(position);
    output_.restart(result_.folder, result_.name);
    tell([&](Reporter &reporter) { reporter.case_begins(result_.folder, result_.name); });
}

Verdict Recorder::judge(const Counters &counters) {
    if (counters.failed > 0) return Verdict::failed;
    // A failing line is believed even beside checks that passed: what a case says of itself is never dropped.
    if (outcome_.failures() > 0) return Verdict::reported_error;
    if (settings_.unnoticed_calls_fail && calls_.is_open()) return Verdict::failed;
    return counters.checks == 0 ? Verdict::unchecked : Verdict::passed;
}

void Recorder::emit_case() {
    result_.failures.swap(failures_);
    if (!outcome_.failing_lines().empty()) result_.error_lines = outcome_.failing_lines();
    if (output_.size() > 0) output_.finish(&result_.output, &result_.output_size, &result_.output_file);
    if (calls_.failures().count > 0) result_.calls = calls_.failures();
    for (Observer *observer : observers()) observer->complete(result_);
    count_differences(result_);
    summary_.add(result_);
    if (!verdict_is_good(result_.verdict)) bad_seen_ = true;
    item_ = Item::none;
    tell([&](Reporter &reporter) { reporter.case_ended(result_); });
}

std::string Recorder::printed_failure() const {
    const std::vector<std::string> &lines = outcome_.failing_lines();
    return lines.empty() ? "" : "printed \"" + lines.front() + "\"";
}

void Recorder::end_case(int64_t time, const Counters &counters) {
    result_.checks = counters.checks;
    result_.failed_checks = counters.failed;
    result_.duration = elapsed(started_, time);
    result_.started = elapsed(run_started_, started_);
    emit_case();
}

void Recorder::case_ended(int64_t time, const Counters &counters) {
    if (item_ != Item::test) return;  // a record that a case wrote over
    finish_output();
    result_.verdict = judge(counters);
    if (result_.verdict == Verdict::reported_error) result_.reason = printed_failure();
    end_case(time, counters);
}

void Recorder::failed_check(const CheckView &check) {
    if (item_ != Item::none && failures_.size() < kKeptFailures) failures_.emplace_back(check);
}

void Recorder::failed_call(const FailedCall &call) {
    if (item_ == Item::none) return;
    told_failures_ = outcome_.told_failures();  // before the call
    calls_.failed(call);
}

void Recorder::heed_told_failures() {
    if (outcome_.told_failures() == told_failures_) return;
    told_failures_ = outcome_.told_failures();
    calls_.failure_told();
}

void Recorder::finish_output() {
    outcome_.finish();
    if (calls_.is_open()) heed_told_failures();
}

void Recorder::text(Printed kind, std::string_view text) {
    if (item_ == Item::none) {
        // Between a set-up and a case nothing of the suite runs: this came from a child or at the worker's
        // exit.
        if (stray_.size() < 4096) stray_ += text.substr(0, 4096 - stray_.size());
        return;
    }
    output_.add(text);
    if (kind == Printed::print)
        outcome_.print(text);
    else
        outcome_.piece(text);
    if (calls_.is_open()) {
        calls_.text(text);
        heed_told_failures();
    }
    if (console_->shows_output() || operator_types_) console_->live_output(text);
}

void Recorder::sent(std::string_view bytes, bool last) {
    if (item_ == Item::none) return;
    std::string_view whole = bytes;
    if (!last || !sent_.empty()) {
        sent_ += bytes;
        whole = sent_;
    }
    if (!last) return;
    for (Observer *observer : observers()) observer->received(whole);
    sent_.clear();
}

void Recorder::reads_input(std::string_view source, uint32_t lines) {
    if (!source.empty()) {
        // Scripted: worth a line for who watches.
        if (!console_->is_watched()) return;
        std::string what =
            std::to_string(lines) + (lines == 1 ? " line" : " lines") + " from " + std::string(source);
        if (lines == 0) what = "end of input, " + std::string(source);
        console_->announce(item_name() + " reads standard input: " + what);
        return;
    }
    operator_types_ = true;
    console_->announce(item_name() + " reads standard input: type its lines, Ctrl-D ends them");
    if (!console_->shows_output()) console_->live_output(output_.head());
    console_->flush();
}

void Recorder::note(std::string_view text) {
    if (summary_.notes.size() < 1000) summary_.notes.emplace_back(text);
}

std::string Recorder::item_name() const {
    switch (item_) {
        case Item::none:
            return "";
        case Item::set_up:
            return "set-up of " + fixture_folder_->path;
        case Item::tear_down:
            return "tear-down of " + fixture_folder_->path;
        case Item::test:
            break;
    }
    return result_.selector();
}

void Recorder::worker_died(const WorkerEnd &end, int64_t time, const Counters &counters) {
    dead_set_up_ = nullptr;
    const std::string reason = reason_of(end);
    const std::string what = item_name();
    finish_output();
    if (item_ == Item::test) {
        result_.verdict = verdict_of(end);
        result_.signal = end.signal;
        result_.exit_code = end.exit_code;
        result_.reason = reason;
        end_case(time, counters);
    } else if (item_ != Item::none) {
        FixtureResult fixture = end_fixture(time, counters);
        fixture.verdict = verdict_of(end);
        fixture.signal = end.signal;
        fixture.reason = reason;
        if (fixture.set_up) {
            dead_set_up_ = fixture_folder_;
            std::erase(open_, fixture_folder_);
        }
        report_fixture(fixture);
    } else if (!end.interrupted) {
        worker_failed(end, reason + " between cases");
    }
    report_owed_tear_downs(what.empty() ? "its worker ended" : "its worker ended in " + what);
}

bool Recorder::blame_next_case(int64_t time) {
    if (next_ >= schedule_.size()) return false;
    if (!group_open_ || next_ >= group_end_) group_begins(next_, schedule_.group_at(next_).count);
    case_begins(next_, time);
    return true;
}

void Recorder::report_owed_tear_downs(const std::string &reason) {
    for (; !open_.empty(); open_.pop_back()) {
        const kiv_folder *folder = open_.back();
        if (folder->fixtures.empty()) continue;
        FixtureResult fixture;
        fixture.folder = folder->path;
        fixture.ran = false;
        fixture.verdict = Verdict::not_run;
        fixture.reason = reason;
        report_fixture(fixture);
    }
}

void Recorder::skip_to(uint64_t end, const std::string &reason) {
    while (next_ < end) {
        if (!group_open_ || next_ >= group_end_) {
            close_group();
            open_group(next_, schedule_.group_at(next_).count);
        }
        prepare_result(next_);
        outcome_.restart();
        calls_.restart();
        failures_.clear();
        output_.restart(result_.folder, result_.name);
        result_.verdict = Verdict::not_run;
        result_.reason = reason;
        ++next_;
        const bool bad_before = bad_seen_;
        emit_case();
        bad_seen_ = bad_before;
    }
    close_group();
}

void Recorder::interrupted(const std::string &reason) {
    if (summary_.stopped_because.empty()) summary_.stopped_because = reason;
    summary_.interrupted = true;
}

void Recorder::stop(const std::string &reason, const std::string &of_the_rest) {
    if (summary_.stopped_because.empty()) summary_.stopped_because = reason;
    skip_to(schedule_.size(), of_the_rest);
}

void Recorder::stop_if_unfinished() {
    if (next_ < schedule_.size()) stop("after the first case that is not good (--fail-fast)");
}

void Recorder::worker_failed(const WorkerEnd &end, const std::string &what) {
    FixtureResult worker;
    worker.of_worker = worker.ran = true;
    worker.verdict = verdict_of(end);
    worker.signal = end.signal;
    worker.reason = what;
    worker.output.swap(stray_);
    report_fixture(worker);
}

const Summary &Recorder::finish(int64_t time) {
    close_group();
    if (!stray_.empty()) {
        note("output outside of cases: " + stray_);
        stray_.clear();
    }
    summary_.duration = elapsed(run_started_, time);
    // The console last: when nobody reads it any more, the reports are complete all the same.
    for (const auto &report : reports_) report->run_ended(summary_);
    for (const auto &report : reports_)
        if (std::string problem = report->problem(); !problem.empty())
            summary_.unwritten.push_back(std::move(problem));
    console_->run_ended(summary_);
    return summary_;
}

}  // namespace kiv
