// What a run records, and who is told of it: the model that the runner fills and every report reads.
#ifndef KIV_RESULTS_H
#define KIV_RESULTS_H

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kiv {

enum class Verdict {
    passed,
    failed,          // a check failed, or what counts as one: calls that failed unnoticed, or that differ
    aborted,         // the case called abort
    crashed,         // ended by another signal, or the worker left through exit
    timed_out,       // outran --timeout
    unchecked,       // recorded no check and printed no failing outcome line
    reported_error,  // recorded no failing check but printed a line that reports a failure
    not_run,
};

// "passed", "failed", "aborted", "crashed", "timed out", "unchecked", "reported an error", "not run".
const char *verdict_text(Verdict verdict);

// Whether the case did what it should: passed or unchecked.
bool verdict_is_good(Verdict verdict);

// One recorded check. Its texts are strings where it is kept, and views on its way there: a process that may
// be dying copies nothing.
template <class Text>
struct BasicCheck {
    bool passed = false;
    bool is_condition = false;  // kiv_check__; else kiv_jyx_check_cerrno_
    uint32_t status = 0;
    uint32_t expected = 0;
    Text expected_name;  // of the expected status, or the condition's text
    Text status_text;    // what the error-code library says of the status, when it is known
    Text message;        // of a condition
    Text file;
    Text function;
    int line = 0;
    uint64_t number = 0;  // among the checks of its case or fixture, from 1; 0: not known

    // All of its texts, for who copies or sends them.
    static constexpr Text BasicCheck::*kTexts[] = {&BasicCheck::expected_name, &BasicCheck::status_text,
                                                   &BasicCheck::message, &BasicCheck::file,
                                                   &BasicCheck::function};

    BasicCheck() = default;
    template <class Other>
    explicit BasicCheck(const BasicCheck<Other> &other)
        : passed(other.passed),
          is_condition(other.is_condition),
          status(other.status),
          expected(other.expected),
          line(other.line),
          number(other.number) {
        for (size_t i = 0; i < std::size(kTexts); ++i) this->*kTexts[i] = other.*BasicCheck<Other>::kTexts[i];
    }
};

using Check = BasicCheck<std::string>;
using CheckView = BasicCheck<std::string_view>;

// Calls of one operation that failed with one code.
struct FailedCalls {
    std::string operation;  // "prm_srh_bd_add"; empty: what more there was than is told one by one
    uint32_t code = 0;
    std::string code_name;  // "CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN"; empty when it has none
    std::string code_text;  // "unknown bridge domain"; empty when nobody knows one
    uint64_t count = 0;
};

// The calls that failed during a case or fixture.
struct CallFailures {
    uint64_t count = 0;
    // Those that nothing in the case accounts for: no later check carries the status, and no later line tells
    // of a failure or shows the code. In the order of their first; bounded.
    std::vector<FailedCalls> unnoticed;

    uint64_t unnoticed_count() const;
};

// A call that a case or fixture made, for who reads why it is not good.
struct ToldCall {
    std::string text;                 // all of it on one line
    std::vector<std::string> fields;  // those of its records that are not 0: "record.bd_id = 5"
    uint64_t checks_before = 0;       // checks of the case or fixture that came before it
    bool failed = false;              // it returned a failure, or never returned
};

struct CallsTold {
    uint64_t left_out = 0;  // earlier calls that were not kept
    std::vector<ToldCall> calls;

    // The calls that a failed check follows: those since the last check before it that passed.
    std::span<const ToldCall> before(const Check &check, const std::vector<Check> &failures) const;
};

// How the calls of a case or fixture differ from what they are compared with.
struct Differences {
    uint64_t count = 0;
    std::vector<std::string> told;  // a line each; bounded
    std::string from = "the baseline";
};

struct CaseResult {
    std::string folder;  // "span/session"
    std::string name;    // "tc_prm_v4_leaf_delete#2": unique in the folder
    std::string description;
    int mode = 0;
    Verdict verdict = Verdict::not_run;
    int signal = 0;      // that ended the worker, or 0
    int exit_code = -1;  // when the worker left through exit
    std::string reason;  // one plain sentence for verdicts other than passed and failed; may be empty
    std::chrono::nanoseconds duration{0};
    std::chrono::nanoseconds started{0};  // since the run began
    uint64_t checks = 0;                  // recorded in all
    uint64_t failed_checks = 0;
    std::vector<Check> failures;  // the failed checks, in order; bounded, failed_checks counts them all
    std::string output;           // stdout, stderr and framework prints in true order; bounded
    uint64_t output_size = 0;     // of the whole output
    std::string output_file;      // where the whole output went when it was too long to keep; else empty
    std::vector<std::string> error_lines;  // outcome lines that report a failure; bounded
    CallFailures calls;
    CallsTold calls_told;     // of who records them; empty when nobody does or nothing asks for them
    Differences differences;  // of who compares; one that has some has failed, however good it was else

    std::string selector() const { return folder + "/" + name; }
};

// A set-up or tear-down that ended; or a worker that ended badly outside of cases and fixtures, which is told
// of like a fixture of no folder.
struct FixtureResult {
    std::string folder;
    bool set_up = false;     // else tear-down
    bool of_worker = false;  // neither: the worker itself; `folder` is empty
    bool ran = false;        // false: reported as not run, because its worker died
    Verdict verdict = Verdict::passed;
    int signal = 0;
    std::string reason;
    std::vector<Check> failures;
    std::string output;
    std::chrono::nanoseconds duration{0};
    CallFailures calls;
    CallsTold calls_told;
    Differences differences;

    bool failed() const { return ran && !verdict_is_good(verdict); }
    const char *kind() const { return of_worker ? "worker" : set_up ? "set-up" : "tear-down"; }
    std::string name() const { return of_worker ? kind() : std::string(kind()) + " of " + folder; }
};

struct FolderInfo {
    std::string path;  // "span/session"
    std::string title;
    size_t selected_cases = 0;
};

// The cases of a run by their selectors, in order: kept here, or told by a source whenever one is asked for
// (a run may have a hundred thousand).
class CaseList {
  public:
    struct Item {
        std::string selector;  // "span/session/create"
        std::optional<std::string> description;
    };
    using Source = std::function<Item(size_t at)>;

    CaseList() = default;
    CaseList(std::initializer_list<std::string> selectors) {
        for (const std::string &selector : selectors) push_back(selector);
    }
    // The source outlives the list and its copies.
    CaseList(size_t size, Source source) : size_(size), source_(std::move(source)) {}

    size_t size() const { return source_ ? size_ : kept_.size(); }
    Item operator[](size_t at) const { return source_ ? source_(at) : kept_[at]; }
    std::string selector(size_t at) const { return source_ ? source_(at).selector : kept_[at].selector; }

    std::vector<std::string> selectors() const {
        std::vector<std::string> all;
        for (size_t at = 0; at < size(); ++at) all.push_back(selector(at));
        return all;
    }

    void push_back(std::string selector, std::optional<std::string> description = {}) {
        kept_.push_back({std::move(selector), std::move(description)});
    }
    // Of a list that is kept: those behind are dropped.
    void shorten(size_t size) { kept_.resize(std::min(size, kept_.size())); }

  private:
    size_t size_ = 0;
    Source source_;
    std::vector<Item> kept_;
};

struct RunInfo {
    std::string program;
    std::vector<std::string> arguments;
    std::string site;                        // directory, empty when there is none
    std::vector<std::string> site_problems;  // what is wrong with its files: "FILE:LINE: FIELD: TEXT"
    std::vector<std::string> remarks;        // on what the run lacks, a line each: for who watches it begin
    std::string card;                        // "sim", "replay:FILE", "lib:PATH", empty on a card
    std::string host;
    std::string version;
    std::string started_at;  // UTC, ISO 8601 with milliseconds
    std::string disk0;       // host directory behind "/disk0:/", empty on a card
    uint32_t seed = 0;       // of --shuffle, 0 when the order is the registered one
    int repeat = 1;
    int shard_index = 0, shard_count = 1;
    bool shows_every_call = false;    // a report shows the calls of cases that are good, too
    size_t selected_cases = 0;        // in all passes
    std::vector<FolderInfo> folders;  // in run order, those with selected cases
    std::vector<FolderInfo> planned;  // those of the site's plan, or all there are, with their cases
    CaseList selected;                // one pass, the first (reports list what was not reached)
};

struct Summary {
    std::chrono::nanoseconds duration{0};
    size_t selected = 0;
    size_t counts[8] = {};  // by Verdict
    uint64_t checks = 0;
    uint64_t failed_checks = 0;
    bool interrupted = false;
    std::string stopped_because;     // fail-fast, interrupted, --on-crash stop; else empty
    std::vector<std::string> notes;  // lines of observers and of the supervision, in order
    size_t failed_fixtures = 0;
    std::vector<std::string> unwritten;  // reports that are not complete, each with the reason
    uint64_t failed_calls = 0;
    uint64_t unnoticed_calls = 0;
    size_t with_unnoticed_calls = 0;  // cases and fixtures
    uint64_t differences = 0;
    size_t with_differences = 0;  // cases and fixtures
    std::string differences_from;

    // Counts what has ended: verdict, checks and calls of a case, a fixture that failed and its calls.
    void add(const CaseResult &result);
    void add(const FixtureResult &fixture);
    void add(const CallFailures &calls);
    void add(const Differences &found);
    // Every case and every fixture did what it should.
    bool good() const;
};

// Told what happens, in order, from the process that keeps the results. Every call returns quickly.
class Reporter {
  public:
    virtual ~Reporter() = default;
    virtual void run_begins(const RunInfo &) {}
    virtual void folder_begins(const FolderInfo &) {}
    virtual void fixture_ended(const FixtureResult &) {}  // every fixture, whatever its outcome
    virtual void case_begins(const std::string & /*folder*/, const std::string & /*name*/) {}
    virtual void case_ended(const CaseResult &) {}
    virtual void folder_ended(const FolderInfo &) {}
    // The last call; cases that were never reached have been reported by case_ended with not_run.
    virtual void run_ended(const Summary &) {}
    // After that: why what was told could not be written completely, with the name of the file; empty when it
    // was.
    virtual std::string problem() const { return ""; }
};

}  // namespace kiv

#endif
