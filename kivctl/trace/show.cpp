// kivctl trace show: every call of a trace as people read it, or as JSON.
#include <absl/container/flat_hash_map.h>
#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <string>
#include <string_view>

#include "kiv/reports/escape.h"
#include "kiv/reports/time.h"
#include "kivctl/commands.h"
#include "kivctl/trace/trace_commands.h"
#include "kivctl/trace/trace_file.h"

namespace kivctl {
namespace {

using trace::EntryKind;

template <class... Arguments>
void add(std::string *out, fmt::format_string<Arguments...> format, Arguments &&...arguments) {
    fmt::format_to(std::back_inserter(*out), format, std::forward<Arguments>(arguments)...);
}

// A member of a JSON object behind others.
void add_text(std::string *out, std::string_view name, std::string_view value) {
    add(out, ",\"{}\":\"", name);
    kiv::reports::append_json(*out, value);
    *out += '"';
}

std::string_view name_of(EntryKind kind) {
    switch (kind) {
        case EntryKind::worker:
            return "worker";
        case EntryKind::case_begins:
            return "case_begins";
        case EntryKind::case_ended:
            return "case_ended";
        case EntryKind::set_up_begins:
            return "set_up_begins";
        case EntryKind::set_up_ended:
            return "set_up_ended";
        case EntryKind::tear_down_begins:
            return "tear_down_begins";
        case EntryKind::tear_down_ended:
            return "tear_down_ended";
        case EntryKind::check:
            return "check";
        case EntryKind::print:
            return "print";
        case EntryKind::left_out:
            return "left_out";
        default:
            return "other";
    }
}

// Of a call, what the previous one of its operation had otherwise.
class Changes {
  public:
    void append(std::string *out, const TraceFile &file, const trace::TextOptions &text,
                const trace::Schema &schema) {
        const trace::Call &call = file.call();
        Fields now;
        trace::TextOptions all = text;
        all.zeros = true;
        trace::for_each_field(
            call, file.names(),
            [&](const trace::Field &field) {
                std::string path(field.path);
                if (field.answered) path += " (answer)";
                now.push_back({std::move(path), std::string(field.text)});
            },
            all);
        now.push_back({"returns", result_text(call, file.names(), schema)});
        const auto [at, is_first] = last_.try_emplace(call.operation);
        if (is_first) {
            trace::append_line(out, call, file.names(), text);
        } else {
            *out += call.operation->row.name;
            append_changes(out, at->second, now);
        }
        at->second = std::move(now);
    }

  private:
    struct Value {
        std::string path, text;
    };
    using Fields = std::vector<Value>;

    // Fields come in the same order in both, but for those that one of them has not.
    static void append_changes(std::string *out, const Fields &before, const Fields &now) {
        const char *between = ": ";
        const auto say = [&](const std::string &path, std::string_view was, std::string_view is) {
            add(out, "{}{} {} -> {}", between, path, was, is);
            between = ", ";
        };
        size_t at = 0;
        for (const Value &value : now) {
            const auto same = std::find_if(before.begin() + static_cast<ptrdiff_t>(at), before.end(),
                                           [&](const Value &one) { return one.path == value.path; });
            if (same == before.end()) {
                say(value.path, "none", value.text);
                continue;
            }
            const auto found = static_cast<size_t>(same - before.begin());
            for (; at < found; ++at) say(before[at].path, before[at].text, "none");
            if (same->text != value.text) say(value.path, same->text, value.text);
            ++at;
        }
        for (; at < before.size(); ++at) say(before[at].path, before[at].text, "none");
        if (*between == ':') *out += ": the same";
    }

    absl::flat_hash_map<const trace::Operation *, Fields> last_;
};

class Show {
  public:
    explicit Show(const TraceShowOptions &options) : options_(options) {}

    int run() {
        if (!file_.open(options_.file) || !filter_.prepare(options_.filter, file_.schema())) return kUnusable;
        if (options_.raw) file_.leave_unnamed();
        takes_ = filter_.takes_place("");
        text_ = file_.text(options_.zeros || options_.json);
        while (file_.next()) {
            if (file_.event().is_call)
                call();
            else
                mark(file_.event().mark);
        }
        output_.flush();
        return file_.whole() ? kGood : kBad;
    }

  private:
    bool in_place() {
        if (!file_.event().is_call) takes_ = filter_.takes_place(file_.place());
        return takes_;
    }

    void call() {
        if (!in_place() || !filter_.takes(file_, text_)) return;
        if (options_.json) {
            json_call();
        } else {
            heading();
            text_call();
        }
        if (options_.hex && !options_.json) hex();
    }

    // The place, when something of it is shown.
    void heading() {
        if (heading_.empty()) return;
        add(&out(), "== {}", heading_);
        output_.line_done();
        heading_.clear();
    }

    void text_call() {
        const trace::Call &call = file_.call();
        add(&out(), "{:>6}  ", call.sequence);
        if (options_.changes)
            changes_.append(&out(), file_, text_, file_.schema());
        else
            trace::append_line(&out(), call, file_.names(), text_);
        if (options_.times && call.returned)
            add(&out(), "  <{}>", kiv::reports::duration_text(std::chrono::nanoseconds(call.took)));
        output_.line_done();
    }

    void json_call() {
        const trace::Call &call = file_.call();
        const card::OperationRow &row = call.operation->row;
        add(&out(), R"({{"type":"call","sequence":{},"operation":"{}","family":"{}")", call.sequence,
            row.name, row.family);
        add_text(&out(), "place", file_.place());
        add(&out(), R"(,"checks":{},"began":{},"returned":{})", call.checks, call.began, call.returned);
        if (call.returned)
            add(&out(), R"(,"took":{},"result":{},"failed":{})", call.took, call.result, call.failed());
        add_text(&out(), "returns", result_text(call, file_.names(), file_.schema()));
        out() += ",\"arguments\":[";
        for (size_t i = 0; i < row.parameters.size(); ++i)
            add(&out(), "{}{}", i == 0 ? "" : ",", call.arguments[i]);
        out() += ']';
        json_fields("in", false);
        json_fields("out", true);
        out() += '}';
        output_.line_done();
    }

    void json_fields(std::string_view name, bool answered) {
        add(&out(), ",\"{}\":{{", name);
        const char *between = "";
        trace::for_each_field(
            file_.call(), file_.names(),
            [&](const trace::Field &field) {
                if (field.answered != answered) return;
                out() += between;
                out() += '"';
                kiv::reports::append_json(out(), field.path);
                out() += "\":";
                const bool is_number =
                    (field.kind == PRM_FIELD_NUMBER || field.kind == PRM_FIELD_AS_IS) &&
                    !field.text.empty() &&
                    std::ranges::all_of(field.text, [](char c) { return c >= '0' && c <= '9'; });
                if (options_.raw && field.text.ends_with("#unknown")) {
                    add(&out(), "{}", field.number);
                } else {
                    if (!is_number) out() += '"';
                    kiv::reports::append_json(out(), field.text);
                    if (!is_number) out() += '"';
                }
                between = ",";
            },
            text_);
        out() += '}';
    }

    void hex() {
        for (const trace::Memory &memory : file_.call().memory) {
            std::string name(file_.call().operation->row.parameters[memory.parameter].name);
            if (memory.field != trace::Memory::kWhole)
                name += fmt::format(", pointer at byte {}", memory.field);
            const bool changed = memory.after.data() != memory.before.data() && !memory.after.empty() &&
                                 !std::ranges::equal(memory.before, memory.after);
            dump(name, memory.before);
            if (changed) dump(name + ", after", memory.after);
        }
    }

    void dump(const std::string &name, trace::Bytes bytes) {
        add(&out(), "        {}: {} bytes", name, bytes.size());
        output_.line_done();
        constexpr size_t kWide = 16;
        for (size_t at = 0; at < bytes.size(); at += kWide) {
            const trace::Bytes line = bytes.subspan(at, std::min(kWide, bytes.size() - at));
            add(&out(), "        {:04x} ", at);
            for (const uint8_t byte : line) add(&out(), " {:02x}", byte);
            add(&out(), "{:{}}", "", 3 * (kWide - line.size()) + 2);
            for (const uint8_t byte : line)
                out() += byte >= 0x20 && byte < 0x7f ? static_cast<char>(byte) : '.';
            output_.line_done();
        }
    }

    void mark(const trace::Mark &mark) {
        if (!in_place()) return;
        if (options_.json) {
            if (!filter_.chooses_calls()) json_mark(mark);
            return;
        }
        if (file_.is_begin()) heading_ = kiv::reports::visible(file_.place());
        if (!filter_.chooses_calls()) text_mark(mark);
    }

    void text_mark(const trace::Mark &mark) {
        heading();
        switch (mark.kind) {
            case EntryKind::worker:
                add(&out(), "== worker {}", mark.number);
                break;
            case EntryKind::check:
                check(mark);
                break;
            case EntryKind::print:
                print(mark.texts[0]);
                return;
            case EntryKind::left_out:
                add(&out(), "        {} calls are not told", mark.number);
                break;
            default:
                return;  // begins have their heading; an end tells nothing
        }
        output_.line_done();
    }

    void print(std::string_view text) {
        while (!text.empty()) {
            const size_t length = std::min(text.find('\n'), text.size());
            if (length > 0) {
                add(&out(), "        | {}", kiv::reports::visible(text.substr(0, length)));
                output_.line_done();
            }
            text.remove_prefix(std::min(length + 1, text.size()));
        }
    }

    void check(const trace::Mark &mark) {
        const auto &[expected, got, message, name, function] = mark.texts;
        add(&out(), "        {} {}, {}, line {}", mark.passed ? "passed" : "FAILED",
            kiv::reports::visible(name), kiv::reports::visible(function), mark.line);
        if (mark.passed) return;
        if (mark.condition)
            add(&out(), ": {}", kiv::reports::visible(expected));
        else
            add(&out(), ": expected {:#010x} {}, got {:#010x} {}", mark.expected,
                kiv::reports::visible(expected), mark.status, kiv::reports::visible(got));
        if (!message.empty()) add(&out(), ": {}", kiv::reports::visible(message));
    }

    void json_mark(const trace::Mark &mark) {
        add(&out(), R"({{"type":"{}","time":{})", name_of(mark.kind), mark.time);
        add_text(&out(), "place", file_.place());
        switch (mark.kind) {
            case EntryKind::worker:
            case EntryKind::left_out:
                add(&out(), R"(,"number":{})", mark.number);
                break;
            case EntryKind::case_ended:
            case EntryKind::set_up_ended:
            case EntryKind::tear_down_ended:
                add(&out(), R"(,"checks":{})", mark.number);
                break;
            case EntryKind::print:
                add_text(&out(), "text", mark.texts[0]);
                break;
            case EntryKind::check: {
                const auto &[expected, got, message, name, function] = mark.texts;
                add(&out(), R"(,"number":{},"passed":{},"line":{})", mark.number, mark.passed, mark.line);
                if (!mark.condition) add(&out(), R"(,"expected":{},"status":{})", mark.expected, mark.status);
                add_text(&out(), mark.condition ? "condition" : "expected_name", expected);
                add_text(&out(), "status_text", got);
                add_text(&out(), "message", message);
                add_text(&out(), "file", name);
                add_text(&out(), "function", function);
                break;
            }
            default:
                break;
        }
        out() += '}';
        output_.line_done();
    }

    std::string &out() { return output_.text(); }

    const TraceShowOptions &options_;
    TraceFile file_;
    CallFilter filter_;
    trace::TextOptions text_;
    Output output_;
    Changes changes_;
    std::string heading_;  // to be shown before the next line
    bool takes_ = true;    // the place
};

}  // namespace

int show_trace(const TraceShowOptions &options) {
    return Show(options).run();
}

}  // namespace kivctl
