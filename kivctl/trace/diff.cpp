// kivctl trace diff: what two traces differ in, place by place and call by call.
//
// Both are read side by side. Where they tell places in another order, those of the second that come too
// early are kept until their turn.
#include <fmt/core.h>

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "kiv/reports/escape.h"
#include "kivctl/commands.h"
#include "kivctl/trace/aligned.h"
#include "kivctl/trace/trace_commands.h"
#include "kivctl/trace/trace_file.h"

namespace kivctl {
namespace {

using trace::EntryKind;

constexpr size_t kLookahead = 128;  // calls, for those that only one trace has

// A place, and how often it was entered before.
using PlaceKey = std::pair<std::string, size_t>;

// The calls of one trace, place by place.
class Side {
  public:
    explicit Side(const CallFilterOptions &filter) : options_(filter) {}

    bool open(const std::string &path) {
        if (!file_.open(path) || !filter_.prepare(options_, file_.schema())) return false;
        key_ = {"", 0};
        times_[""] = 1;
        takes_ = filter_.takes_place("");
        return true;
    }
    TraceFile &file() { return file_; }
    const PlaceKey &key() const { return key_; }
    bool at_end() const { return at_end_; }
    uint64_t checks() const { return checks_; }

    // To the next call of the place; false at its end.
    bool next_call() {
        while (!place_ended_) {
            if (!file_.next()) {
                place_ended_ = at_end_ = true;
            } else if (file_.is_begin()) {
                place_ended_ = true;
            } else if (file_.event().is_call) {
                if (takes_ && filter_.takes(file_, file_.text())) return true;
            } else if (file_.event().mark.kind == EntryKind::check) {
                ++checks_;
            }
        }
        return false;
    }
    // To the next place that is looked at, when the calls of this one have been read.
    void next_place() {
        do {
            while (next_call()) {
            }
            if (at_end_) return;
            place_ended_ = false;
            checks_ = 0;
            key_ = {file_.place(), times_[file_.place()]++};
            takes_ = filter_.takes_place(file_.place());
        } while (!takes_);
    }

  private:
    const CallFilterOptions &options_;
    TraceFile file_;
    CallFilter filter_;
    PlaceKey key_;
    std::map<std::string, size_t> times_;
    bool takes_ = true, place_ended_ = false, at_end_ = false;
    uint64_t checks_ = 0;
};

// The calls of a place: read as they are wanted, or kept from before.
class Calls {
  public:
    explicit Calls(Side *side) : side_(side) {}

    bool is_live() const { return side_ != nullptr && kept_.empty(); }
    Side &side() { return *side_; }
    std::deque<KeptCall> &kept() { return kept_; }
    // Keeps calls up to that many.
    void fill(size_t count) {
        while (side_ != nullptr && kept_.size() < count) {
            if (!side_->next_call()) {
                end();
                return;
            }
            keep(line_of_call());
        }
    }
    std::string line_of_call() {
        std::string line;
        trace::append_line(&line, side_->file().call(), side_->file().names(), side_->file().text());
        return line;
    }
    void keep(std::string line) { kept_.push_back(keep_call(side_->file(), std::move(line))); }
    void end() {
        if (side_ != nullptr) checks_ = side_->checks();
        side_ = nullptr;
    }
    uint64_t checks() const { return checks_; }

  private:
    Side *side_;
    std::deque<KeptCall> kept_;
    uint64_t checks_ = 0;
};

// What was found, told as it is found.
class Found {
  public:
    explicit Found(const TraceDiffOptions &options) : options_(options) {}

    uint64_t same = 0, changed = 0, removed = 0, added = 0, places = 0, different_places = 0;

    void enter(const std::string &place) {
        if (!place.empty()) ++places;
        place_ = place;
        is_different_ = false;
    }
    void call_changed(const KeptCall &before, const KeptCall &after,
                      const std::vector<FieldChange> &changes) {
        ++changed;
        differs();
        if (options_.quiet) return;
        if (options_.json) {
            for (const FieldChange &change : changes) {
                begin_json("changed");
                out() += fmt::format(R"(,"a":{},"b":{},"operation":"{}")", before.sequence, after.sequence,
                                     before.operation);
                add_text("field", change.path);
                add_text("before", change.before);
                add_text("after", change.after);
                end_json();
            }
            return;
        }
        out() += fmt::format("  ~ #{}", before.sequence);
        if (after.sequence != before.sequence) out() += fmt::format("/#{}", after.sequence);
        out() += fmt::format(" {}", before.operation);
        const char *between = ": ";
        for (const FieldChange &change : changes) {
            out() += fmt::format("{}{} {} -> {}", between, change.path, change.before, change.after);
            between = ", ";
        }
        output_.line_done();
    }
    void call_alone(const KeptCall &call, bool in_first) {
        ++(in_first ? removed : added);
        differs();
        if (options_.quiet) return;
        if (options_.json) {
            begin_json(in_first ? "removed" : "added");
            out() += fmt::format(R"(,"{}":{},"operation":"{}")", in_first ? "a" : "b", call.sequence,
                                 call.operation);
            add_text("call", call.line);
            end_json();
            return;
        }
        out() += fmt::format("  {} #{} {}", in_first ? '-' : '+', call.sequence, call.line);
        output_.line_done();
    }
    void checks_differ(uint64_t before, uint64_t after) {
        differs();
        if (options_.quiet) return;
        if (options_.json) {
            begin_json("checks");
            out() += fmt::format(R"(,"before":{},"after":{})", before, after);
            end_json();
            return;
        }
        out() += fmt::format("  ~ checks {} -> {}", before, after);
        output_.line_done();
    }
    void place_alone(const std::string &place, uint64_t calls, bool in_first) {
        (in_first ? removed : added) += calls;
        ++places;
        ++different_places;
        if (options_.quiet) return;
        if (options_.json) {
            place_ = place;
            begin_json(in_first ? "place_removed" : "place_added");
            out() += fmt::format(R"(,"calls":{})", calls);
            end_json();
            return;
        }
        out() += fmt::format("{} {}: {} call{}", in_first ? '-' : '+', kiv::reports::visible(place), calls,
                             calls == 1 ? "" : "s");
        output_.line_done();
    }
    void finish() {
        if (options_.quiet || options_.json) return;
        if (different_places == 0)
            out() += fmt::format("the same: calls {}, places {}", same, places);
        else
            out() += fmt::format(
                "places {} of {} differ; calls: {} changed, {} only in the first, {} only in "
                "the second, {} the same",
                different_places, places, changed, removed, added, same);
        output_.line_done();
    }

  private:
    std::string &out() { return output_.text(); }
    void add_text(const char *name, std::string_view value) {
        out() += fmt::format(",\"{}\":\"", name);
        kiv::reports::append_json(out(), value);
        out() += '"';
    }
    void begin_json(const char *type) {
        out() += fmt::format(R"({{"type":"{}")", type);
        add_text("place", place_);
    }
    void end_json() {
        out() += '}';
        output_.line_done();
    }
    void differs() {
        if (is_different_) return;
        is_different_ = true;
        ++different_places;
        if (place_.empty()) ++places;
        if (options_.quiet || options_.json) return;
        out() += kiv::reports::visible(place_.empty() ? "outside of cases" : place_);
        output_.line_done();
    }

    const TraceDiffOptions &options_;
    Output output_;
    std::string place_;
    bool is_different_ = false;
};

class Diff {
  public:
    explicit Diff(const TraceDiffOptions &options)
        : options_(options), found_(options), first_(options.filter), second_(options.filter) {}

    int run() {
        if (!first_.open(options_.before) || !second_.open(options_.after)) return kUnusable;
        while (!first_.at_end() || !second_.at_end()) step();
        found_.finish();
        const bool whole = first_.file().whole(), other_whole = second_.file().whole();
        if (!whole || !other_whole || broken_) return kUnusable;
        return found_.different_places == 0 ? kGood : kBad;
    }

  private:
    void step() {
        if (!first_.at_end() && !second_.at_end() && first_.key() == second_.key()) {
            Calls first(&first_), second(&second_);
            compare(first, second);
            first_.next_place();
            second_.next_place();
            return;
        }
        know_order();
        if (!first_.at_end()) {
            if (const auto early = early_.find(first_.key()); early != early_.end()) {
                Calls first(&first_);
                compare(first, early->second);
                early_.erase(early);
                first_.next_place();
                return;
            }
            if (!in_second_.contains(first_.key())) return alone(first_, true);
        }
        if (second_.at_end()) return alone(first_, true);  // the file has changed since
        if (first_.at_end() || !in_first_.contains(second_.key())) return alone(second_, false);
        Calls &kept = early_.try_emplace(second_.key(), &second_).first->second;
        kept.fill(SIZE_MAX);
        second_.next_place();
    }

    // Which places there are at all, when the two do not go along.
    void know_order() {
        if (knows_order_) return;
        knows_order_ = true;
        for (const auto &[path, places] :
             {std::pair(&options_.before, &in_first_), std::pair(&options_.after, &in_second_)}) {
            Side side(options_.filter);
            if (!side.open(*path)) {
                broken_ = true;
                return;
            }
            side.file().leave_unnamed();
            for (; !side.at_end(); side.next_place()) places->insert(side.key());
        }
    }

    void alone(Side &side, bool in_first) {
        const PlaceKey key = side.key();
        uint64_t calls = 0;
        while (side.next_call()) ++calls;
        if (!key.first.empty() || calls > 0) found_.place_alone(key.first, calls, in_first);
        side.next_place();
    }

    void compare(Calls &first, Calls &second) {
        found_.enter(first_.key().first);
        handles_.enter(naming_place(first_.key().first));
        while (true) {
            if (first.is_live() && second.is_live() && handles_.empty()) {
                if (!both_go_on(first, second)) break;
                continue;
            }
            fill(first, second);
            if (first.kept().empty() && second.kept().empty()) break;
            take(first.kept(), second.kept());
        }
        first.end();
        second.end();
        if (options_.filter.operation.empty() && first.checks() != second.checks())
            found_.checks_differ(first.checks(), second.checks());
    }

    // What a name of another place has behind "@".
    static std::string naming_place(const std::string &place) {
        const size_t slash = place.find('/');
        return slash == std::string::npos ? place : place.substr(slash + 1);
    }

    // While nothing differs, nothing is kept. False at the end of both.
    bool both_go_on(Calls &first, Calls &second) {
        const bool has_first = first.side().next_call(), has_second = second.side().next_call();
        if (!has_first && !has_second) return false;
        std::string before = has_first ? first.line_of_call() : "",
                    after = has_second ? second.line_of_call() : "";
        if (before == after) {
            ++found_.same;
            return true;
        }
        if (has_first)
            first.keep(std::move(before));
        else
            first.end();
        if (has_second)
            second.keep(std::move(after));
        else
            second.end();
        return true;
    }

    // Further than one call only where those at the front are no counterparts.
    static void fill(Calls &first, Calls &second) {
        first.fill(1);
        second.fill(1);
        if (first.kept().empty() || second.kept().empty() || first.kept()[0].shape == second.kept()[0].shape)
            return;
        first.fill(kLookahead);
        second.fill(kLookahead);
    }

    void take(std::deque<KeptCall> &first, std::deque<KeptCall> &second) {
        for (const Step step : next_steps(first, second)) {
            if (step == Step::both) {
                const auto changes = changes_between(first.front(), second.front(), &handles_);
                if (changes.empty())
                    ++found_.same;
                else
                    found_.call_changed(first.front(), second.front(), changes);
            } else if (step == Step::before_alone) {
                found_.call_alone(first.front(), true);
            } else {
                for (const KeptCall::Field &field : second.front().fields)
                    if (field.answered && is_handle_name(field.text)) handles_.alone(field.text);
                found_.call_alone(second.front(), false);
            }
            if (step != Step::after_alone) first.pop_front();
            if (step != Step::before_alone) second.pop_front();
        }
    }

    const TraceDiffOptions &options_;
    Found found_;
    Side first_, second_;
    HandleMap handles_;
    bool knows_order_ = false, broken_ = false;
    std::set<PlaceKey> in_first_, in_second_;
    std::map<PlaceKey, Calls> early_;
};

}  // namespace

int diff_traces(const TraceDiffOptions &options) {
    return Diff(options).run();
}

}  // namespace kivctl
