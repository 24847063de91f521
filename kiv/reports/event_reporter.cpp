// The run as events, one JSON object a line.
#include "kiv/reports/event_reporter.h"

#include "kiv/reports/escape.h"

namespace kiv::reports {

// A line with this much text, escaped, and its other fields still fits a page.
static constexpr size_t kOutputChunk = 2048;
// The first line may be megabytes.
static constexpr size_t kHeadPiece = 1 << 16;

void EventReporter::open(const char *action, std::string_view folder) {
    line_ = "{\"Time\":\"";
    clock_.append(line_, now_);
    line_ += "\",\"Action\":\"";
    line_ += action;
    line_ += '"';
    if (!folder.empty()) text("Package", folder);
}

void EventReporter::close() {
    line_ += "}\n";
    event(line_);
}

// Bytes that are not UTF-8 come a second time, exactly, in a field of the same name with "Base64" behind it.
void EventReporter::text(const char *name, std::string_view value) {
    line_ += ",\"";
    line_ += name;
    line_ += "\":\"";
    if (is_plain_json(value)) {
        line_ += value;
        line_ += '"';
        return;
    }
    append_json(line_, value, in_page_);
    line_ += '"';
    if (is_utf8(value)) return;
    line_ += ",\"";
    line_ += name;
    line_ += "Base64\":\"";
    line_ += base64(value);
    line_ += '"';
}

void EventReporter::optional_text(const char *name, std::string_view value) {
    if (!value.empty()) text(name, value);
}

// In a list, such a text is an object of both.
void EventReporter::string_item(std::string_view value) {
    const bool exact = is_utf8(value);
    line_ += exact ? "\"" : "{\"Text\":\"";
    append_json(line_, value, in_page_);
    line_ += '"';
    if (!exact) line_ += ",\"Base64\":\"" + base64(value) + "\"}";
}

void EventReporter::texts(const char *name, const std::vector<std::string> &values) {
    if (values.empty()) return;
    line_ += ",\"";
    line_ += name;
    line_ += "\":[";
    for (size_t i = 0; i < values.size(); ++i) {
        if (i != 0) line_ += ',';
        string_item(values[i]);
    }
    line_ += ']';
}

template <class Number>
void EventReporter::number(const char *name, Number value) {
    line_ += ",\"";
    line_ += name;
    line_ += "\":";
    append_number(line_, value);
}

void EventReporter::flag(const char *name, bool value) {
    line_ += ",\"";
    line_ += name;
    line_ += value ? "\":true" : "\":false";
}

void EventReporter::seconds(const char *name, std::chrono::nanoseconds value) {
    line_ += ",\"";
    line_ += name;
    line_ += "\":";
    append_seconds(line_, value);
}

void EventReporter::folder_fields(const FolderInfo &folder) {
    optional_text("Title", folder.title);
    number("Cases", static_cast<uint64_t>(folder.selected_cases));
}

void EventReporter::run_begins(const RunInfo &info) {
    clock_.start(info.started_at);
    now_ = {};
    line_ = "{\"Time\":\"";
    append_json(line_, info.started_at, in_page_);
    line_ += "\",\"Action\":\"start\"";
    number("Format", 1);
    text("Program", info.program);
    texts("Arguments", info.arguments);
    optional_text("Site", info.site);
    texts("SiteProblems", info.site_problems);
    optional_text("Card", info.card);
    optional_text("Host", info.host);
    optional_text("Version", info.version);
    optional_text("Disk0", info.disk0);
    if (info.seed != 0) number("Seed", static_cast<uint64_t>(info.seed));
    if (info.repeat != 1) number("Repeat", info.repeat);
    if (info.shard_count != 1 || info.shard_index != 0) {
        number("ShardIndex", info.shard_index);
        number("ShardCount", info.shard_count);
    }
    number("SelectedCases", static_cast<uint64_t>(info.selected_cases));
    line_ += ",\"Folders\":[";
    for (size_t i = 0; i < info.folders.size(); ++i) {
        line_ += i != 0 ? ",{\"Package\":" : "{\"Package\":";
        string_item(info.folders[i].path);
        folder_fields(info.folders[i]);
        line_ += '}';
    }
    line_ += ']';
    line_ += ",\"Selected\":[";
    for (size_t i = 0; i < info.selected.size(); ++i) {
        const CaseList::Item test = info.selected[i];
        line_ += i != 0 ? ",{\"Selector\":" : "{\"Selector\":";
        string_item(test.selector);
        if (test.description) text("Description", *test.description);
        line_ += '}';
        if (line_.size() < kHeadPiece) continue;
        head(line_);
        line_.clear();
    }
    line_ += "]}\n";
    first(line_);
}

void EventReporter::folder_begins(const FolderInfo &folder) {
    open("folder", folder.path);
    folder_fields(folder);
    close();
    events_end();
}

void EventReporter::folder_ended(const FolderInfo &folder) {
    open("folder-end", folder.path);
    folder_fields(folder);
    close();
    events_end();
}

// In pieces that a page can hold, cut after a newline where there is one and never inside a character.
void EventReporter::output(std::string_view folder, const char *kind, std::string_view name,
                           std::string_view output) {
    while (!output.empty()) {
        size_t length = 0, escaped = 0, after_newline = 0;
        while (length < output.size() && escaped < kOutputChunk) {
            const size_t step = std::max<size_t>(1, utf8_length(output.substr(length)));
            const uint8_t c = static_cast<uint8_t>(output[length]);
            // An invalid byte becomes three, and the piece comes again as base64.
            escaped += step > 1 ? step : c >= 0x80 ? 6 : c < 0x20 || c == '<' || c == '>' || c == '&' ? 6 : 2;
            length += step;
            if (c == '\n') after_newline = length;
        }
        if (length < output.size() && after_newline != 0) length = after_newline;
        open("output", folder);
        text(kind, name);
        text("Output", output.substr(0, length));
        close();
        output.remove_prefix(length);
    }
}

void EventReporter::check(std::string_view folder, const char *kind, std::string_view name,
                          const Check &check) {
    open("check", folder);
    text(kind, name);
    flag("Passed", check.passed);
    if (check.is_condition) {
        text("Condition", check.expected_name);
        optional_text("Message", check.message);
    } else {
        text("ExpectedName", check.expected_name);
    }
    // A condition's codes are shown only when there are any.
    if (!check.is_condition || check.expected != 0) number("Expected", static_cast<uint64_t>(check.expected));
    if (!check.is_condition || check.status != 0) number("Status", static_cast<uint64_t>(check.status));
    optional_text("StatusText", check.status_text);
    if (!check.is_condition) optional_text("Message", check.message);
    text("File", check.file);
    text("Function", check.function);
    number("Line", check.line);
    if (check.number != 0) number("Number", check.number);
    close();
}

void EventReporter::told(std::string_view folder, const char *kind, std::string_view name,
                         const CallsTold &calls) {
    for (const ToldCall &call : calls.calls) {
        open("call", folder);
        text(kind, name);
        text("Text", call.text);
        texts("Fields", call.fields);
        number("ChecksBefore", call.checks_before);
        if (call.failed) flag("Failed", true);
        close();
    }
}

void EventReporter::calls(const CallFailures &calls) {
    if (calls.count == 0) return;
    number("FailedCalls", calls.count);
    if (calls.unnoticed.empty()) return;
    line_ += ",\"UnnoticedCalls\":[";
    for (const FailedCalls &kind : calls.unnoticed) {
        line_ += &kind != &calls.unnoticed.front() ? ",{\"Count\":" : "{\"Count\":";
        append_number(line_, kind.count);
        if (!kind.operation.empty()) {
            text("Operation", kind.operation);
            number("Code", static_cast<uint64_t>(kind.code));
            optional_text("CodeName", kind.code_name);
            optional_text("CodeText", kind.code_text);
        }
        line_ += '}';
    }
    line_ += ']';
}

void EventReporter::differences(const Differences &differences) {
    texts("Differences", differences.told);
    if (differences.count != differences.told.size()) number("DifferenceCount", differences.count);
    if (differences.count != 0 && differences.from != Differences().from)
        text("DifferencesFrom", differences.from);
}

void EventReporter::fixture_ended(const FixtureResult &fixture) {
    const char *const name = fixture.kind();
    output(fixture.folder, "Fixture", name, fixture.output);
    told(fixture.folder, "Fixture", name, fixture.calls_told);
    for (const Check &failure : fixture.failures) check(fixture.folder, "Fixture", name, failure);
    now_ += fixture.duration;
    open("fixture", fixture.folder);
    text("Fixture", name);
    seconds("Elapsed", fixture.duration);
    flag("Ran", fixture.ran);
    text("Verdict", verdict_text(fixture.verdict));
    if (fixture.signal != 0) number("Signal", fixture.signal);
    optional_text("Reason", fixture.reason);
    calls(fixture.calls);
    differences(fixture.differences);
    if (fixture.calls_told.left_out != 0) number("CallsLeftOut", fixture.calls_told.left_out);
    close();
    events_end();
}

void EventReporter::case_ended(const CaseResult &result) {
    // A case that did not run never began.
    if (result.verdict != Verdict::not_run || result.started.count() != 0 || !result.output.empty() ||
        !result.failures.empty()) {
        now_ = result.started;
        open("run", result.folder);
        text("Test", result.name);
        close();
        now_ += result.duration;
    }
    output(result.folder, "Test", result.name, result.output);
    told(result.folder, "Test", result.name, result.calls_told);
    for (const Check &failure : result.failures) check(result.folder, "Test", result.name, failure);
    open(result.verdict == Verdict::not_run ? "skip"
         : verdict_is_good(result.verdict)  ? "pass"
                                            : "fail",
         result.folder);
    text("Test", result.name);
    seconds("Elapsed", result.duration);
    text("Verdict", verdict_text(result.verdict));
    optional_text("Description", result.description);
    number("Mode", result.mode);
    number("Checks", result.checks);
    if (result.failed_checks != 0) number("FailedChecks", result.failed_checks);
    if (result.signal != 0) number("Signal", result.signal);
    if (result.exit_code != -1) number("ExitCode", result.exit_code);
    optional_text("Reason", result.reason);
    texts("ErrorLines", result.error_lines);
    calls(result.calls);
    differences(result.differences);
    if (result.calls_told.left_out != 0) number("CallsLeftOut", result.calls_told.left_out);
    if (result.output_size != result.output.size()) number("OutputSize", result.output_size);
    optional_text("OutputFile", result.output_file);
    close();
    events_end();
}

void EventReporter::run_ended(const Summary &summary) {
    now_ = summary.duration;
    open("summary", "");
    seconds("Elapsed", summary.duration);
    number("Selected", static_cast<uint64_t>(summary.selected));
    line_ += ",\"Counts\":{";
    for (size_t i = 0; i < std::size(summary.counts); ++i) {
        if (i != 0) line_ += ',';
        line_ += '"';
        line_ += verdict_text(static_cast<Verdict>(i));
        line_ += "\":";
        append_number(line_, static_cast<uint64_t>(summary.counts[i]));
    }
    line_ += '}';
    number("Checks", summary.checks);
    number("FailedChecks", summary.failed_checks);
    number("FailedFixtures", static_cast<uint64_t>(summary.failed_fixtures));
    if (summary.failed_calls != 0) number("FailedCalls", summary.failed_calls);
    if (summary.unnoticed_calls != 0) {
        number("UnnoticedCalls", summary.unnoticed_calls);
        number("WithUnnoticedCalls", static_cast<uint64_t>(summary.with_unnoticed_calls));
    }
    if (summary.differences != 0) {
        number("Differences", summary.differences);
        number("WithDifferences", static_cast<uint64_t>(summary.with_differences));
        if (summary.differences_from != Differences().from)
            optional_text("DifferencesFrom", summary.differences_from);
    }
    flag("Interrupted", summary.interrupted);
    optional_text("StoppedBecause", summary.stopped_because);
    texts("Notes", summary.notes);
    close();
    events_end();
    last();
}

}  // namespace kiv::reports
