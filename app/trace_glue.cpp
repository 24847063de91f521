// Records the calls of a run: the last ones of every case, for whoever reads why it is not good, and all of
// them into the file of --trace.
#include "app/trace_glue.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "card/boundary/layers.h"
#include "kiv/files.h"
#include "kiv/observer.h"
#include "kiv/select/nearest.h"
#include "trace/recorder.h"
#include "trace/text.h"
#include "trace/told.h"

namespace {

using trace::EntryKind;
using Sends = trace::Recorder::Sends;

constexpr size_t kToldCalls = 1000;  // of one case; of earlier ones the number

bool every_call_wanted = false;

// "64M": bytes; 0 for what is no number.
uint64_t bytes_of(const std::string &text) {
    char *end = nullptr;
    const uint64_t number = strtoull(text.c_str(), &end, 10);
    if (text.empty() || text[0] < '0' || text[0] > '9') return 0;
    const std::string_view unit(end);
    const int shift = unit.empty() ? 0 : unit == "K" ? 10 : unit == "M" ? 20 : unit == "G" ? 30 : -1;
    return shift < 0 || number > UINT64_MAX >> shift ? 0 : number << shift;
}

bool known_families(const std::vector<std::string> &families, std::string *error) {
    for (const std::string &family : families) {
        kiv::Nearest nearest(family);
        bool known = false;
        std::string_view last;
        for (const card::OperationRow &row : card::kOperations) {
            known = known || row.family == family;
            if (row.family != last) nearest.offer(row.family);
            last = row.family;
        }
        if (known) continue;
        *error = "--trace-only " + family + ": no operation is of that family" + nearest.question();
        return false;
    }
    return true;
}

// Whether a print may be a line that reports a failure: whoever judges looks at it again.
bool may_tell_of_a_failure(std::string_view text) {
    return text.find("ail") != text.npos || text.find("RROR") != text.npos || text.find("AIL") != text.npos ||
           text.find("rror") != text.npos;
}

bool ended_its_worker(kiv::Verdict verdict) {
    return verdict == kiv::Verdict::aborted || verdict == kiv::Verdict::crashed ||
           verdict == kiv::Verdict::timed_out;
}

kiv::ToldCall told_call(const trace::Call &call, const trace::Naming &names) {
    kiv::ToldCall told;
    trace::append_line(&told.text, call, names);
    trace::for_each_field(call, names, [&](const trace::Field &field) {
        std::string text(field.path);
        text += field.answered ? " -> " : " = ";
        told.fields.push_back(text.append(field.text));
    });
    told.checks_before = call.checks;
    told.failed = call.failed() || !call.returned;
    return told;
}

class TraceGlue : public kiv::Observer {
  public:
    TraceGlue() { card::put_in_front(card::Layer::RECORDING, trace::recording_in_front_of); }

    void add_options(CLI::App &app) override {
        const char *const group = "Calls";
        CLI::Option *const file =
            app.add_option("--trace", path_, "Record every call of an operation, with the cases around it")
                ->type_name("FILE")
                ->group(group);
        app.add_option(
               "--trace-limit", limit_,
               "Begin the file anew at this size, which may end in\nK, M or G; the last one is FILE.1")
            ->type_name("BYTES")
            ->group(group)
            ->needs(file);
        app.add_option("--trace-only", families_, "Record the operations of these families only")
            ->type_name("FAMILY")
            ->group(group)
            ->expected(1)
            ->delimiter(',')
            ->take_all()
            ->needs(file);
        app.add_flag("--show-calls", show_, "Show every call when it returns, a line each")->group(group);
    }

    bool run_begins(kiv::RunInfo &info, std::string *error) override {
        every_call_ = info.shows_every_call;
        const trace::Recorder::Surroundings around{[] { return kiv::tally().checks; },
                                                   [](std::string_view entries) { kiv::send(entries); }};
        if (!recorder_.create(around, error)) return false;
        if (path_.empty()) return true;
        uint64_t limit = 0;
        if (!limit_.empty()) {
            limit = bytes_of(limit_);
            const uint64_t smallest = trace::FileWriter::smallest_limit();
            if (limit < smallest) {
                *error = "--trace-limit " + limit_ + ": not a size of " + std::to_string(smallest / 1024) +
                         "K or more";
                return false;
            }
        }
        if (!known_families(families_, error)) return false;
        recorder_.only_families(families_);
        path_ = kiv::absolute_path(path_);
        if (recorder_.file().create(path_, limit, error)) return true;
        *error = "--trace " + *error;
        return false;
    }

    void worker_begins(int worker) override {
        recorder_.set_sends(show_                              ? Sends::every_call
                            : every_call_ || every_call_wanted ? Sends::every_case
                                                               : Sends::on_demand);
        recorder_.worker_begins(worker, ended_);
    }
    void worker_ends() override { recorder_.worker_ends(); }

    unsigned interests() const override {
        return kCases | kFixtures | kPrints | (recorder_.file().is_open() ? unsigned{kChecks} : 0);
    }

    void fixture_begins(std::string_view folder, bool set_up) override {
        begins(set_up ? EntryKind::set_up_begins : EntryKind::tear_down_begins, folder, "");
    }
    void fixture_ended(std::string_view folder, bool set_up) override {
        ended(set_up ? EntryKind::set_up_ended : EntryKind::tear_down_ended, folder, "");
    }
    void case_begins(std::string_view folder, std::string_view name) override {
        begins(EntryKind::case_begins, folder, name);
    }
    void case_ended(std::string_view folder, std::string_view name) override {
        ended(EntryKind::case_ended, folder, name);
    }

    void check(const kiv::Check &check) override {
        trace::Mark mark;
        mark.kind = EntryKind::check;
        mark.number = check.number;
        mark.status = check.status;
        mark.expected = check.expected;
        mark.line = check.line;
        mark.passed = check.passed;
        mark.condition = check.is_condition;
        for (size_t i = 0; i < trace::MarkHead::kTexts; ++i) mark.texts[i] = check.*kiv::Check::kTexts[i];
        recorder_.tell(mark);
    }

    void print(std::string_view text) override {
        suspicious_ = suspicious_ || may_tell_of_a_failure(text);
        if (!recorder_.file().is_open()) return;
        for (; !text.empty(); text.remove_prefix(std::min(text.size(), trace::kLongestMarkText))) {
            trace::Mark mark;
            mark.kind = EntryKind::print;
            mark.texts[0] = text.substr(0, trace::kLongestMarkText);
            recorder_.tell(mark);
        }
    }

    void received(std::string_view entries) override {
        if (show_) show(entries);
        if (received_.size() + entries.size() <= kMostReceived) received_ += entries;
    }

    void complete(kiv::CaseResult &result) override {
        complete(result.verdict, result.signal, result.calls, result.differences, &result.calls_told);
    }
    void complete(kiv::FixtureResult &fixture) override {
        if (fixture.ran && !fixture.of_worker)
            complete(fixture.verdict, fixture.signal, fixture.calls, fixture.differences,
                     &fixture.calls_told);
    }

    void run_ended(const kiv::Summary &) override {
        const trace::FileWriter &file = recorder_.file();
        if (file.is_open()) {
            recorder_.file().take_over();
            if (ended_.signal != 0) {
                recorder_.tell_worker(0, ended_);
                recorder_.file().flush();
            }
        }
        if (recorder_.missed() != 0)
            kiv::add_note("trace: " + std::to_string(recorder_.missed()) +
                          " calls of signal handlers were not recorded");
        if (!file.is_open()) return;
        if (!file.problem().empty())
            kiv::add_note("trace: not complete: " + file.problem() + "; " + std::to_string(file.dropped()) +
                          " entries are missing");
        if (file.rotations() > 1)
            kiv::add_note("trace: begun anew " + std::to_string(file.rotations()) +
                          " times; what was before " + path_ + ".1 is gone");
    }

  private:
    static constexpr size_t kMostReceived = size_t{256} << 20;

    void begins(EntryKind kind, std::string_view folder, std::string_view name) {
        suspicious_ = false;
        recorder_.item_begins(kind, folder, name);
    }
    void ended(EntryKind kind, std::string_view folder, std::string_view name) {
        recorder_.item_ended(kind, folder, name,
                             suspicious_ || recorder_.call_failed() || kiv::tally().failed != 0);
    }

    void complete(kiv::Verdict verdict, int signal, const kiv::CallFailures &failures,
                  const kiv::Differences &differences, kiv::CallsTold *told) {
        if (verdict == kiv::Verdict::not_run) return;
        if (ended_its_worker(verdict)) {
            ended_ = {signal, verdict == kiv::Verdict::timed_out};
            const size_t before = received_.size();
            recorder_.append_left(&received_);
            if (show_) show(std::string_view(received_).substr(before));
        }
        const bool good =
            kiv::verdict_is_good(verdict) && failures.unnoticed.empty() && differences.count == 0;
        if (!good || every_call_) tell_calls(told);
        received_.clear();
    }

    void tell_calls(kiv::CallsTold *told) const {
        const trace::Calls found = trace::calls_in(received_);
        const size_t from = found.calls.size() - std::min(found.calls.size(), kToldCalls);
        told->left_out = found.left_out + from;
        trace::Naming names;
        for (size_t i = 0; i < found.calls.size(); ++i) {
            names.learn(found.calls[i]);
            if (i >= from) told->calls.push_back(told_call(found.calls[i], names));
        }
    }

    void show(std::string_view entries) {
        for (const trace::Call &call : trace::calls_in(entries).calls) {
            shown_names_.learn(call);
            std::string line;
            trace::append_line(&line, call, shown_names_);
            kiv::show(line);
        }
    }

    std::string path_, limit_;
    std::vector<std::string> families_;
    bool show_ = false, every_call_ = false;
    trace::Recorder recorder_;
    bool suspicious_ = false;  // in the worker: the item printed what may tell of a failure
    // In the supervising process.
    std::string received_;          // entries of the running item
    trace::Recorder::Ended ended_;  // the last worker that ended badly in a case or fixture
    trace::Naming shown_names_;
};

const bool subscribed = [] {
    static TraceGlue glue;
    kiv::subscribe(&glue);
    return true;
}();

}  // namespace

namespace app {

void want_every_call() {
    every_call_wanted = true;
}

}  // namespace app
