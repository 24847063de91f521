// The run as a person reads it.
#include "kiv/reports/console.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "kiv/reports/calls.h"
#include "kiv/reports/escape.h"
#include "kiv/reports/time.h"
#include "kiv/reports/wording.h"

namespace kiv {

using reports::duration_text;
using reports::visible;

namespace {

constexpr const char *kGreen = "\033[32m";
constexpr const char *kRed = "\033[31m";
constexpr const char *kYellow = "\033[33m";
constexpr const char *kBold = "\033[1m";
constexpr const char *kDim = "\033[2m";

constexpr size_t kSlowest = 5;
constexpr size_t kListed = 50;         // names in the summary's lists
constexpr size_t kShownOutput = 8192;  // of a case that did not pass; the rest is in the reports
constexpr size_t kShownLines = 40;
constexpr size_t kShownDifferences = 10;
constexpr size_t kLongestDifference = 300;  // a whole call may be one; the rest is in the reports
constexpr size_t kColumns = 80;

const char *color_of(Verdict verdict) {
    if (verdict == Verdict::passed) return kGreen;
    return verdict == Verdict::unchecked || verdict == Verdict::not_run ? kYellow : kRed;
}

std::string in_capitals(std::string text) {
    for (char &c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

// Good verdicts in small letters, the others stand out without colour too.
std::string shown_verdict(Verdict verdict) {
    const char *text = verdict_text(verdict);
    return verdict_is_good(verdict) || verdict == Verdict::not_run ? text : in_capitals(text);
}

std::string counted(uint64_t count, const char *one, const char *many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string hex(uint32_t code) {
    char text[16];
    snprintf(text, sizeof text, "0x%08" PRIx32, code);
    return text;
}

// A repeated run names a case once. Beyond what the summary lists, only the number matters.
void add_name(std::vector<std::string> &names, const std::string &name) {
    if (names.size() <= kListed && std::find(names.begin(), names.end(), name) == names.end())
        names.push_back(name);
}

std::string shell_word(const std::string &word) {
    if (reports::visible(word) != word) {
        std::string quoted = "$'";
        for (const char c : word) {
            if (c == '\'' || c == '\\') quoted += '\\';
            reports::append_visible(quoted, {&c, 1});
        }
        return quoted + "'";
    }
    if (word.find_first_of(" \t\"'\\$&;|<>*?[](){}#~`!") == std::string::npos) return word;
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

}  // namespace

void Console::flush() {
    if (!out_.empty()) outlet_.write(out_);  // nobody may be reading any more
    out_.clear();
}

void Console::paint(const char *color, std::string_view text) {
    if (style_.color) out_ += color;
    out_ += text;
    if (style_.color) out_ += "\033[0m";
}

void Console::clear_progress() {
    if (progress_shown_) out_ += "\r\033[K";
    progress_shown_ = false;
}

void Console::run_begins(const RunInfo &info) {
    program_ = info.program;
    total_ = info.selected_cases;
    std::string line = counted(total_, "case", "cases");
    if (info.repeat > 1) line += ", " + std::to_string(info.repeat) + " passes";
    if (info.shard_count > 1)
        line += ", shard " + std::to_string(info.shard_index + 1) + " of " + std::to_string(info.shard_count);
    if (info.seed != 0) line += ", shuffled with --seed " + std::to_string(info.seed);
    if (!info.card.empty()) line += ", card " + visible(info.card);
    paint(kBold, "Running " + line);
    out_ += '\n';
    if (!info.site.empty()) out_ += "Site " + visible(info.site) + "\n";
    for (const std::string &remark : info.remarks) {
        paint(kYellow, visible(remark));
        out_ += '\n';
    }
    if (!info.disk0.empty()) out_ += "Flash " + visible(info.disk0) + "\n";
    site_problems_ = info.site_problems.size();
    for (const std::string &problem : info.site_problems) {
        paint(kYellow, "warning: ");
        out_ += visible(problem) + "\n";
    }
}

void Console::folder_begins(const FolderInfo &folder) {
    heading_ = folder;
    heading_pending_ = true;
    if (!style_.quiet) folder_heading();
}

void Console::folder_heading() {
    if (!heading_pending_) return;
    heading_pending_ = false;
    clear_progress();
    out_ += '\n';
    paint(kBold, visible(heading_.path));
    if (!heading_.title.empty() && heading_.title != heading_.path) out_ += "  " + visible(heading_.title);
    out_ += '\n';
}

void Console::case_begins(const std::string &folder, const std::string &name) {
    live_ = live_line_open_ = false;
    if (!style_.progress) return;
    running_.assign(folder).append("/").append(name);
    running_since_ = 0;
}

void Console::tick(int64_t now) {
    if (!style_.progress || running_.empty() || live_) return;
    if (running_since_ == 0) {
        running_since_ = now;
        next_tick_ = now + 100'000'000;
    }
    if (now < next_tick_) return;
    next_tick_ = now + 500'000'000;
    std::string line = "[";
    line += std::to_string(done_ + 1) + "/" + std::to_string(total_) + "] ";
    if (bad_ > 0) line += std::to_string(bad_) + " not good, ";
    line += visible(running_);
    const int64_t seconds = (now - running_since_) / 1'000'000'000;
    if (seconds > 0) line += "  " + std::to_string(seconds) + " s";
    if (line.size() > kColumns - 1) line.resize(kColumns - 1);
    out_ += "\r\033[K";
    paint(kDim, line);
    progress_shown_ = true;
    flush();
}

void Console::announce(std::string_view line) {
    clear_progress();
    end_live_line();
    out_ += "  ";
    paint(kYellow, visible(line));
    out_ += '\n';
    flush();
}

void Console::line(std::string_view line) {
    if (live_ || !style_.quiet) folder_heading();
    clear_progress();
    end_live_line();
    out_ += "    ";
    reports::append_visible(out_, line);
    out_ += '\n';
    if (out_.size() > 65536) flush();
}

void Console::quoted(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        if (!live_line_open_) {
            paint(kDim, "    | ");
            live_line_open_ = true;
        }
        const unsigned char byte = static_cast<unsigned char>(text[i]);
        const std::string_view rest = text.substr(i);
        size_t length = std::max<size_t>(reports::utf8_length(rest), 1);
        if (byte == '\n') {
            live_line_open_ = false;
            out_ += '\n';
        } else if (byte == '\t' || (continues_ > 0 && (byte & 0xC0) == 0x80)) {
            out_ += text[i];
        } else if (const size_t whole = reports::utf8_size(byte); whole > rest.size()) {
            // A character that the next piece ends.
            length = rest.size();
            out_ += rest;
            continues_ = whole - length;
            return;
        } else {
            reports::append_visible(out_, rest.substr(0, length));
        }
        if (continues_ > 0) --continues_;
        i += length;
        if (out_.size() > 65536) flush();
    }
}

void Console::end_live_line() {
    if (live_line_open_) out_ += '\n';
    live_line_open_ = false;
}

void Console::live_output(std::string_view text) {
    folder_heading();
    clear_progress();
    live_ = true;
    quoted(text);
}

void Console::quote(std::string_view output) {
    // The end tells more than the begin.
    size_t from = output.size() > kShownOutput ? output.size() - kShownOutput : 0;
    size_t lines = 0;
    for (size_t at = output.size(); at-- > from;) {
        if (output[at] != '\n' || at + 1 == output.size()) continue;
        if (++lines == kShownLines) from = at + 1;
    }
    if (from > 0) {
        const size_t next_line = output.find('\n', from - 1);
        if (next_line != std::string_view::npos && next_line + 1 < output.size()) from = next_line + 1;
        out_ += "    [" + counted(from, "byte", "bytes") + " before this: see -v or a report]\n";
        output.remove_prefix(from);
    }
    quoted(output);
    end_live_line();
}

// The calls that lead to a failed check, or to the end of a case without one.
void Console::calls(const CallsTold &told, std::span<const ToldCall> before) {
    const std::string earlier = reports::earlier_calls_text(told, before);
    if (!earlier.empty()) {
        out_ += "      ";
        paint(kDim, earlier);
        out_ += '\n';
    }
    for (const ToldCall &call : reports::last_calls(before)) {
        out_ += "      ";
        if (call.failed)
            paint(kYellow, visible(call.text));
        else
            reports::append_visible(out_, call.text);
        out_ += '\n';
    }
}

void Console::checks(const std::vector<Check> &failures, uint64_t failed, const CallsTold &told) {
    if (failures.empty()) calls(told, told.calls);
    for (const Check &check : failures) {
        calls(told, told.before(check, failures));
        out_ += "      " + visible(check.file) + ", " + visible(check.function) + ", line " +
                std::to_string(check.line) + "\n";
        // For terminals and editors, which open it.
        out_ += "        " + visible(reports::source_path(check)) + ":" + std::to_string(check.line) + "\n";
        if (check.is_condition) {
            out_ += "        not true: " + visible(check.expected_name) + "\n";
            std::string message = check.message;
            while (!message.empty() && message.back() == '\n') message.pop_back();
            if (!message.empty()) out_ += "        " + visible(message) + "\n";
            continue;
        }
        out_ += "        expected " + hex(check.expected) + " " + visible(check.expected_name) + "\n";
        out_ += "        got      " + hex(check.status);
        if (!check.status_text.empty()) out_ += " " + visible(check.status_text);
        out_ += '\n';
    }
    if (failed > failures.size())
        out_ += "      and " + counted(failed - failures.size(), "more failed check", "more failed checks") +
                "\n";
}

void Console::verdict_line(Verdict verdict, std::chrono::nanoseconds duration, std::string_view name) {
    out_ += "  ";
    const std::string word = shown_verdict(verdict);
    paint(color_of(verdict), word);
    const std::string time = verdict == Verdict::not_run ? "" : duration_text(duration);
    out_.append(18 - std::min<size_t>(word.size(), 17), ' ');
    out_.append(9 - std::min<size_t>(time.size(), 9), ' ');
    out_.append(time).append("  ");
    reports::append_visible(out_, name);
    out_ += '\n';
}

void Console::case_ended(const CaseResult &result) {
    running_.clear();
    ++done_;
    const bool good = verdict_is_good(result.verdict);
    if (result.verdict != Verdict::not_run &&
        (slowest_.size() < kSlowest || result.duration > slowest_.back().duration)) {
        const auto at =
            std::upper_bound(slowest_.begin(), slowest_.end(), result.duration,
                             [](std::chrono::nanoseconds d, const Slow &slow) { return d > slow.duration; });
        slowest_.insert(at, {result.duration, result.selector()});
        if (slowest_.size() > kSlowest) slowest_.pop_back();
    }
    if (!good) {
        ++bad_;
        add_name(bad_selectors_, result.selector());
    }
    const bool noticed = result.calls.unnoticed.empty();
    if (good && !noticed) add_name(unnoticed_, result.selector());
    clear_progress();
    end_live_line();
    if (style_.quiet && good && noticed) return;
    folder_heading();
    verdict_line(result.verdict, result.duration, result.name);
    unnoticed(result.calls);
    differences(result.differences);
    if (!result.reason.empty() && !good) out_ += "      " + visible(result.reason) + "\n";
    if (!good) checks(result.failures, result.failed_checks, result.calls_told);
    if (!good && !live_ && !result.output.empty()) quote(result.output);
    if (!result.output_file.empty())
        out_ += "      output: " + counted(result.output_size, "byte", "bytes") + ", whole in " +
                visible(result.output_file) + "\n";
    live_ = false;
    if (out_.size() > 32768) flush();
}

void Console::unnoticed(const CallFailures &calls) {
    const std::string text = reports::unnoticed_text(calls);
    if (text.empty()) return;
    out_ += "      ";
    paint(kYellow, visible(text));
    out_ += '\n';
}

void Console::differences(const Differences &differences) {
    size_t shown = 0;
    for (; shown < differences.told.size() && shown < kShownDifferences; ++shown) {
        std::string line = differences.told[shown];
        if (line.size() > kLongestDifference) line = line.substr(0, kLongestDifference) + "...";
        out_ += "      ";
        paint(kYellow, "differs from " + differences.from + ": ");
        out_ += visible(line) + "\n";
    }
    if (differences.count > shown)
        out_ +=
            "      and " + counted(differences.count - shown, "more difference", "more differences") + "\n";
}

void Console::fixture_ended(const FixtureResult &fixture) {
    end_live_line();
    live_ = false;
    const bool good = fixture.ran && !fixture.failed();
    if (good && fixture.calls.unnoticed.empty()) return;
    clear_progress();
    folder_heading();
    verdict_line(fixture.ran ? fixture.verdict : Verdict::not_run, fixture.duration, fixture.name());
    if (fixture.failed()) bad_fixtures_.push_back(fixture.name());
    if (good) add_name(unnoticed_, fixture.name());
    unnoticed(fixture.calls);
    differences(fixture.differences);
    if (!fixture.reason.empty()) out_ += "      " + visible(fixture.reason) + "\n";
    if (!good) checks(fixture.failures, fixture.failures.size(), fixture.calls_told);
    if (!good && !fixture.output.empty() && !style_.verbose) quote(fixture.output);
}

void Console::list_names(std::string_view title, const std::vector<std::string> &names) {
    if (names.empty()) return;
    out_ += '\n';
    paint(kBold, title);
    out_ += '\n';
    for (size_t i = 0; i < names.size() && i < kListed; ++i) out_ += "  " + visible(names[i]) + "\n";
    if (names.size() > kListed) out_ += "  and more\n";
}

void Console::run_ended(const Summary &summary) {
    clear_progress();
    end_live_line();
    flush();
    outlet_.drain(true);  // nothing of the summary is left out
    if (slowest_.size() > 1 && slowest_.front().duration >= std::chrono::milliseconds(1)) {
        out_ += '\n';
        paint(kBold, "Slowest");
        out_ += '\n';
        for (const Slow &slow : slowest_) {
            const std::string time = duration_text(slow.duration);
            out_.append(11 - std::min<size_t>(time.size(), 11), ' ');
            out_ += time + "  " + visible(slow.selector) + "\n";
        }
    }
    list_names("Not good", bad_selectors_);
    list_names("Fixtures that failed", bad_fixtures_);
    list_names("Calls failed unnoticed", unnoticed_);
    list_names("Notes", summary.notes);
    if (!bad_selectors_.empty()) {
        out_ += '\n';
        paint(kBold, "Again");
        std::string line = "\n  " + shell_word(program_);
        size_t column = line.size() - 1;
        for (size_t i = 0; i < bad_selectors_.size() && i < kListed; ++i) {
            const std::string word = shell_word(bad_selectors_[i]);
            if (column + word.size() + 3 > kColumns) {
                line += " \\\n     ";
                column = 5;
            }
            line += " " + word;
            column += word.size() + 1;
        }
        if (bad_selectors_.size() > kListed) line += " ...";
        out_ += line + "\n";
    }
    out_ += '\n';
    if (!summary.stopped_because.empty()) out_ += "Stopped: " + visible(summary.stopped_because) + "\n";
    const bool good = summary.good();
    paint(good ? kGreen : kRed, good ? "PASSED" : "FAILED");
    if (!style_.mark.empty()) out_ += " [" + visible(style_.mark) + "]";
    out_ += ": " + counted(summary.selected, "case", "cases");
    for (const Verdict verdict :
         {Verdict::passed, Verdict::failed, Verdict::aborted, Verdict::crashed, Verdict::timed_out,
          Verdict::reported_error, Verdict::unchecked, Verdict::not_run}) {
        const size_t count = summary.counts[static_cast<size_t>(verdict)];
        if (count > 0) out_ += ", " + std::to_string(count) + " " + verdict_text(verdict);
    }
    if (summary.failed_fixtures > 0)
        out_ += ", " + counted(summary.failed_fixtures, "failed fixture", "failed fixtures");
    out_ += "\n        " + counted(summary.checks, "check", "checks") + ", " +
            std::to_string(summary.failed_checks) + " failed, in " + duration_text(summary.duration) + "\n";
    const std::string calls = reports::unnoticed_text(summary);
    if (!calls.empty()) out_ += "        " + calls + "\n";
    const std::string differing = reports::differences_text(summary);
    if (!differing.empty()) out_ += "        " + differing + "\n";
    if (site_problems_ != 0) out_ += "        " + reports::site_problems_text(site_problems_) + "\n";
    for (const std::string &report : summary.unwritten) out_ += "NOT WRITTEN: " + visible(report) + "\n";
    flush();
    outlet_.drain(true);
}

}  // namespace kiv
