// Reads an event stream back.
#include "kiv/reports/results_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>

#include "kiv/reports/escape.h"
#include "kiv/reports/time.h"

namespace kiv::reports {
namespace {

using nlohmann::json;

// Seconds, 46 days: up to twice that, a double holds every nanosecond.
constexpr double kLongest = 4e6;

// What is wrong with the line at hand.
struct Broken {
    std::string field, problem;
};

// The fields of one event, each with the type it must have.
class Event {
  public:
    explicit Event(const json &object) : object_(object) {}

    std::string text(const char *name) const { return exact(require(name, "missing"), name); }

    std::string optional_text(const char *name) const {
        const auto found = object_.find(name);
        return found == object_.end() ? "" : exact(*found, name);
    }

    std::vector<std::string> texts(const char *name) const {
        std::vector<std::string> result;
        const auto found = object_.find(name);
        if (found == object_.end()) return result;
        if (!found->is_array()) throw Broken{name, "not a list"};
        for (const json &item : *found) result.push_back(list_item(item, name));
        return result;
    }

    static std::string list_item(const json &item, const char *name) {
        if (item.is_string()) return item.get<std::string>();
        std::string bytes;
        const auto found = item.is_object() ? item.find("Base64") : item.end();
        if (!item.is_object() || found == item.end() || !found->is_string() ||
            !from_base64(found->get_ref<const std::string &>(), &bytes))
            throw Broken{name, "holds something that is neither text nor bytes"};
        return bytes;
    }

    template <class Number>
    Number number(const char *name) const {
        return checked<Number>(require(name, "missing"), name);
    }

    template <class Number>
    Number number_or(const char *name, Number otherwise) const {
        const auto found = object_.find(name);
        return found == object_.end() ? otherwise : checked<Number>(*found, name);
    }

    std::chrono::nanoseconds seconds(const char *name) const {
        const json &value = require(name, "missing");
        if (!value.is_number()) throw Broken{name, "not a number"};
        const double seconds = value.get<double>();
        if (!(std::fabs(seconds) < kLongest)) throw Broken{name, "out of range"};
        return std::chrono::nanoseconds(std::llround(seconds * 1e9));
    }

    bool flag(const char *name) const {
        const json &value = require(name, "missing");
        if (!value.is_boolean()) throw Broken{name, "neither true nor false"};
        return value.get<bool>();
    }

    Verdict verdict() const {
        const std::string word = text("Verdict");
        for (int i = 0; i <= static_cast<int>(Verdict::not_run); ++i)
            if (word == verdict_text(static_cast<Verdict>(i))) return static_cast<Verdict>(i);
        throw Broken{"Verdict", "unknown verdict \"" + word + "\""};
    }

    int64_t time() const {
        int64_t time;
        if (!parse_time(text("Time"), &time)) throw Broken{"Time", "not a time in UTC"};
        return time;
    }

    bool has(const char *name) const { return object_.contains(name); }

    const json &list(const char *name) const {
        const json &value = require(name, "missing");
        if (!value.is_array()) throw Broken{name, "not a list"};
        return value;
    }

    const json &require(const char *name, const char *problem) const {
        const auto found = object_.find(name);
        if (found == object_.end()) throw Broken{name, problem};
        return *found;
    }

  private:
    std::string exact(const json &value, const char *name) const {
        if (!value.is_string()) throw Broken{name, "not a text"};
        const auto found = object_.find(std::string(name) + "Base64");
        if (found == object_.end()) return value.get<std::string>();
        std::string bytes;
        if (!found->is_string() || !from_base64(found->get_ref<const std::string &>(), &bytes))
            throw Broken{std::string(name) + "Base64", "not base64"};
        return bytes;
    }

    template <class Number>
    static Number checked(const json &value, const char *name) {
        if (!value.is_number_integer()) throw Broken{name, "not a whole number"};
        if (value.is_number_unsigned()) {
            const uint64_t number = value.get<uint64_t>();
            if (number > static_cast<uint64_t>(std::numeric_limits<Number>::max()))
                throw Broken{name, "too large"};
            return static_cast<Number>(number);
        }
        const int64_t number = value.get<int64_t>();
        if (number < static_cast<int64_t>(std::numeric_limits<Number>::min()))
            throw Broken{name, "too small"};
        return static_cast<Number>(number);
    }

    const json &object_;
};

// Checks and output of the case or fixture under way.
struct Pending {
    std::string folder, kind, name;
    std::string output;
    std::vector<Check> checks;
    std::optional<int64_t> begun;  // of a case
    std::vector<ToldCall> calls = {};
};

class Reader {
  public:
    explicit Reader(Reporter &reporter) : reporter_(reporter) {}

    void event(const json &object) {
        if (!object.is_object()) throw Broken{"", "not an event object"};
        const Event event(object);
        const std::string action = event.text("Action");
        if (action == "part") return part(event);
        if (!parts_.empty()) throw Broken{"Action", "\"part\" expected: the event before it is not complete"};
        if (action == "start") return start(event);
        if (action == "nothing-run" && !started_)
            throw Broken{"unusable", "nothing was run: " + event.text("Reason")};
        if (!started_)
            throw Broken{"Action", "the first event is not \"start\": these are not results of a run"};
        if (complete_) throw Broken{"Action", "\"" + action + "\" after the summary"};
        if (action == "folder") return reporter_.folder_begins(folder(event));
        if (action == "folder-end") return reporter_.folder_ended(folder(event));
        if (action == "run") {
            const int64_t begun = event.time() - start_time_;
            if (!(std::fabs(static_cast<double>(begun)) < kLongest * 1e9))
                throw Broken{"Time", "too far from the start of the run"};
            pending_ = {event.text("Package"), "Test", event.text("Test"), "", {}, begun};
            return reporter_.case_begins(pending_.folder, pending_.name);
        }
        if (action == "output") {
            enter(event);
            pending_.output += event.text("Output");
            return;
        }
        if (action == "check") return check(event);
        if (action == "call") return call(event);
        if (action == "fixture") return fixture(event);
        if (action == "pass" || action == "fail" || action == "skip") return case_ended(event, action);
        if (action == "summary") return summary(event);
        throw Broken{"Action", "unknown action \"" + action + "\""};
    }

    bool complete() const { return complete_; }
    bool empty() const { return !started_; }

  private:
    void part(const Event &event) {
        parts_ += event.text("Text");
        if (!event.flag("Last")) return;
        const std::string text = std::move(parts_);
        parts_.clear();
        const json whole = json::parse(text, nullptr, false);
        if (whole.is_object() && whole.value("Action", json()) == "part")
            throw Broken{"Text", "parts of a part"};
        if (whole.is_discarded()) throw Broken{"Text", "the parts do not make an event"};
        this->event(whole);
    }

    void start(const Event &event) {
        if (started_) throw Broken{"Action", "a second \"start\""};
        if (event.number<int>("Format") != 1) throw Broken{"Format", "written by a later release"};
        RunInfo info;
        info.started_at = event.text("Time");
        if (!parse_time(info.started_at, &start_time_) && !info.started_at.empty())
            throw Broken{"Time", "not a time in UTC"};
        info.program = event.text("Program");
        info.arguments = event.texts("Arguments");
        info.site = event.optional_text("Site");
        info.site_problems = event.texts("SiteProblems");
        info.card = event.optional_text("Card");
        info.host = event.optional_text("Host");
        info.version = event.optional_text("Version");
        info.disk0 = event.optional_text("Disk0");
        info.seed = event.number_or<uint32_t>("Seed", 0);
        info.repeat = event.number_or<int>("Repeat", 1);
        info.shard_index = event.number_or<int>("ShardIndex", 0);
        info.shard_count = event.number_or<int>("ShardCount", 1);
        info.selected_cases = event.number<size_t>("SelectedCases");
        for (const json &item : event.list("Folders")) {
            if (!item.is_object()) throw Broken{"Folders", "holds something that is not a folder"};
            const Event fields(item);
            info.folders.push_back({Event::list_item(fields.require("Package", "missing"), "Package"),
                                    fields.optional_text("Title"), fields.number<size_t>("Cases")});
        }
        size_t described = 0;
        for (const json &item : event.list("Selected")) {
            if (!item.is_object()) throw Broken{"Selected", "holds something that is not a case"};
            const Event fields(item);
            std::optional<std::string> description;
            if (item.contains("Description")) description = fields.text("Description"), ++described;
            info.selected.push_back(Event::list_item(fields.require("Selector", "missing"), "Selector"),
                                    std::move(description));
        }
        if (described != 0 && described != info.selected.size())
            throw Broken{"Description", "missing for some of the selected cases"};
        list_one_pass(info);
        started_ = true;
        reporter_.run_begins(info);
    }

    // Releases before this one listed the cases of every pass.
    static void list_one_pass(RunInfo &info) {
        const size_t passes = static_cast<size_t>(std::max(info.repeat, 1));
        if (info.selected.size() != info.selected_cases || info.selected.size() % passes != 0) return;
        info.selected.shorten(info.selected.size() / passes);
    }

    static FolderInfo folder(const Event &event) {
        return {event.text("Package"), event.optional_text("Title"), event.number<size_t>("Cases")};
    }

    // Makes the event's case or fixture the one under way.
    void enter(const Event &event) {
        const std::string test = event.optional_text("Test");
        const bool of_worker = test.empty() && event.optional_text("Fixture") == "worker";
        const std::string folder = of_worker ? "" : event.text("Package");
        const std::string kind = test.empty() ? "Fixture" : "Test";
        const std::string name = test.empty() ? event.text("Fixture") : test;
        if (pending_.folder == folder && pending_.kind == kind && pending_.name == name) return;
        if (kind == "Test") throw Broken{"Test", "\"" + name + "\" is not the case that runs"};
        pending_ = {folder, kind, name, "", {}, {}};
    }

    void check(const Event &event) {
        enter(event);
        Check check;
        check.passed = event.flag("Passed");
        const std::string condition = event.optional_text("Condition");
        check.expected_name = event.optional_text("ExpectedName");
        check.is_condition = event.has("Condition");
        if (check.is_condition) check.expected_name = condition;
        check.expected = event.number_or<uint32_t>("Expected", 0);
        check.status = event.number_or<uint32_t>("Status", 0);
        check.status_text = event.optional_text("StatusText");
        check.message = event.optional_text("Message");
        check.file = event.text("File");
        check.function = event.text("Function");
        check.line = event.number<int>("Line");
        check.number = event.number_or<uint64_t>("Number", 0);
        pending_.checks.push_back(std::move(check));
    }

    void call(const Event &event) {
        enter(event);
        ToldCall call;
        call.text = event.text("Text");
        call.fields = event.texts("Fields");
        call.checks_before = event.number_or<uint64_t>("ChecksBefore", 0);
        call.failed = event.has("Failed") && event.flag("Failed");
        pending_.calls.push_back(std::move(call));
    }

    template <class Result>
    void take_calls(const Event &event, Result *result) {
        result->calls = calls(event);
        result->calls_told.left_out = event.number_or<uint64_t>("CallsLeftOut", 0);
        result->calls_told.calls = std::move(pending_.calls);
        result->differences = differences(event);
    }

    static CallFailures calls(const Event &event) {
        CallFailures failures;
        failures.count = event.number_or<uint64_t>("FailedCalls", 0);
        if (!event.has("UnnoticedCalls")) return failures;
        for (const json &item : event.list("UnnoticedCalls")) {
            if (!item.is_object()) throw Broken{"UnnoticedCalls", "holds something that is not a call"};
            const Event fields(item);
            FailedCalls kind;
            kind.count = fields.number<uint64_t>("Count");
            kind.operation = fields.optional_text("Operation");
            kind.code = fields.number_or<uint32_t>("Code", 0);
            kind.code_name = fields.optional_text("CodeName");
            kind.code_text = fields.optional_text("CodeText");
            failures.unnoticed.push_back(std::move(kind));
        }
        return failures;
    }

    static Differences differences(const Event &event) {
        Differences found;
        found.told = event.texts("Differences");
        found.count = event.number_or<uint64_t>("DifferenceCount", found.told.size());
        if (found.count < found.told.size()) throw Broken{"DifferenceCount", "fewer than are told"};
        if (const std::string from = event.optional_text("DifferencesFrom"); !from.empty()) found.from = from;
        return found;
    }

    void fixture(const Event &event) {
        enter(event);
        FixtureResult result;
        result.folder = pending_.folder;
        if (pending_.name != "set-up" && pending_.name != "tear-down" && pending_.name != "worker")
            throw Broken{"Fixture", "neither \"set-up\" nor \"tear-down\" nor \"worker\""};
        result.set_up = pending_.name == "set-up";
        result.of_worker = pending_.name == "worker";
        result.ran = event.flag("Ran");
        result.verdict = event.verdict();
        result.signal = event.number_or<int>("Signal", 0);
        result.reason = event.optional_text("Reason");
        result.duration = event.seconds("Elapsed");
        take_calls(event, &result);
        result.output = std::move(pending_.output);
        result.failures = std::move(pending_.checks);
        pending_ = {};
        reporter_.fixture_ended(result);
    }

    void case_ended(const Event &event, const std::string &action) {
        if (action == "skip" && (pending_.kind != "Test" || pending_.name != event.text("Test")))
            pending_ = {event.text("Package"), "Test", event.text("Test"), "", {}, {}};
        enter(event);
        CaseResult result;
        result.folder = pending_.folder;
        result.name = pending_.name;
        result.verdict = event.verdict();
        const char *const expected = result.verdict == Verdict::not_run ? "skip"
                                     : verdict_is_good(result.verdict)  ? "pass"
                                                                        : "fail";
        if (action != expected)
            throw Broken{"Verdict", "\"" + std::string(verdict_text(result.verdict)) +
                                        "\" does not go with \"" + action + "\""};
        result.duration = event.seconds("Elapsed");
        result.description = event.optional_text("Description");
        result.mode = event.number<int>("Mode");
        result.checks = event.number<uint64_t>("Checks");
        result.failed_checks = event.number_or<uint64_t>("FailedChecks", 0);
        result.signal = event.number_or<int>("Signal", 0);
        result.exit_code = event.number_or<int>("ExitCode", -1);
        result.reason = event.optional_text("Reason");
        result.error_lines = event.texts("ErrorLines");
        take_calls(event, &result);
        result.output = std::move(pending_.output);
        result.output_size = event.number_or<uint64_t>("OutputSize", result.output.size());
        result.output_file = event.optional_text("OutputFile");
        result.failures = std::move(pending_.checks);
        result.started = std::chrono::nanoseconds(pending_.begun.value_or(0));
        pending_ = {};
        reporter_.case_ended(result);
    }

    void summary(const Event &event) {
        Summary summary;
        summary.duration = event.seconds("Elapsed");
        summary.selected = event.number<size_t>("Selected");
        const json &counts = event.require("Counts", "missing");
        if (!counts.is_object()) throw Broken{"Counts", "not an object"};
        const Event fields(counts);
        for (size_t i = 0; i < std::size(summary.counts); ++i)
            summary.counts[i] = fields.number_or<size_t>(verdict_text(static_cast<Verdict>(i)), 0);
        summary.checks = event.number<uint64_t>("Checks");
        summary.failed_checks = event.number<uint64_t>("FailedChecks");
        summary.failed_fixtures = event.number<size_t>("FailedFixtures");
        summary.failed_calls = event.number_or<uint64_t>("FailedCalls", 0);
        summary.unnoticed_calls = event.number_or<uint64_t>("UnnoticedCalls", 0);
        summary.with_unnoticed_calls = event.number_or<size_t>("WithUnnoticedCalls", 0);
        summary.differences = event.number_or<uint64_t>("Differences", 0);
        summary.with_differences = event.number_or<size_t>("WithDifferences", 0);
        summary.differences_from = event.optional_text("DifferencesFrom");
        if (summary.differences_from.empty()) summary.differences_from = Differences().from;
        summary.interrupted = event.flag("Interrupted");
        summary.stopped_because = event.optional_text("StoppedBecause");
        summary.notes = event.texts("Notes");
        complete_ = true;
        reporter_.run_ended(summary);
    }

    Reporter &reporter_;
    Pending pending_;
    std::string parts_;
    int64_t start_time_ = 0;
    bool started_ = false, complete_ = false;
};

}  // namespace

bool load_results(const std::string &path, std::string *text, std::string *error) {
    constexpr size_t kLongestLine = 256u << 20;  // the first one has every case of a run
    text->clear();
    const bool standard = path == "-";
    const int fd = standard ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    size_t line = 0, lines = 1;  // where the last line begins, and its number
    char buffer[65536];
    ssize_t got = -1;
    while (fd >= 0 && ((got = read(fd, buffer, sizeof buffer)) > 0 || (got < 0 && errno == EINTR))) {
        if (got < 0) continue;
        const std::string_view more(buffer, static_cast<size_t>(got));
        lines += static_cast<size_t>(std::count(more.begin(), more.end(), '\n'));
        const size_t newline = more.rfind('\n');
        if (newline != std::string_view::npos) line = text->size() + newline + 1;
        text->append(more);
        if (text->size() - line <= kLongestLine) continue;
        *error = path + ":" + std::to_string(lines) +
                 ": a line of more than 256 MiB: these are not results of a run";
        got = 0;
        break;
    }
    if (got < 0) *error = path + ": " + strerror(errno);
    if (fd >= 0 && !standard) close(fd);
    return error->empty();
}

bool read_results(std::string_view text, const std::string &name, Reporter &reporter, ReadStatus *status) {
    *status = {};
    Reader reader(reporter);
    const auto fail = [&](const std::string &field, const std::string &problem) {
        status->error =
            name + ":" + std::to_string(status->lines) + ": " + (field.empty() ? "" : field + ": ") + problem;
        return false;
    };
    while (!text.empty()) {
        const size_t newline = text.find('\n');
        const bool last = newline == std::string_view::npos;
        const std::string_view line = text.substr(0, newline);
        text.remove_prefix(last ? text.size() : newline + 1);
        ++status->lines;
        if (line.find_first_not_of(" \t\r") == std::string_view::npos) continue;
        const json object = json::parse(line, nullptr, false);
        if (object.is_discarded()) {
            if (last && !reader.empty()) {
                status->torn = true;
                break;
            }
            return fail("", reader.empty() ? "these are not results of a run" : "not an event object");
        }
        try {
            reader.event(object);
        } catch (const Broken &broken) {
            return fail(broken.field, broken.problem);
        }
    }
    if (reader.empty()) return fail("", "no results: the file is empty");
    status->complete = reader.complete();
    return true;
}

}  // namespace kiv::reports
