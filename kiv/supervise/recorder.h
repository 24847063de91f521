// Turns the events of a run into results and hands them to the console and the reports.
#ifndef KIV_SUPERVISE_RECORDER_H
#define KIV_SUPERVISE_RECORDER_H

#include <memory>
#include <string>
#include <vector>

#include "kiv/journal/journal.h"
#include "kiv/reports/console.h"
#include "kiv/results.h"
#include "kiv/select/schedule.h"
#include "kiv/supervise/call_account.h"
#include "kiv/supervise/outcome.h"
#include "kiv/supervise/output_keeper.h"

namespace kiv {

// How a worker ended that did not finish its work.
struct WorkerEnd {
    int signal = 0;
    int exit_code = -1;
    bool timed_out = false;
    bool interrupted = false;
    std::string how;  // why the supervision ended it; empty when it ended by itself
};

class Recorder : public Journal {
  public:
    struct Settings {
        std::string output_directory;  // for output too long to keep
        size_t output_limit = 1 << 20;
        bool fail_fast = false;
        bool unnoticed_calls_fail = false;  // a case that says nothing of a failed call has failed
    };

    Recorder(const Schedule &schedule, Console *console, std::vector<std::unique_ptr<Reporter>> reports,
             Settings settings);

    void run_begins(const RunInfo &info);

    void group_begins(uint64_t position, uint32_t count) override;
    void group_ended() override;
    void fixture_begins(uint32_t folder, bool set_up, int64_t time) override;
    void fixture_ended(int64_t time, const Counters &counters) override;
    void case_begins(uint64_t position, int64_t time) override;
    void case_ended(int64_t time, const Counters &counters) override;
    void failed_check(const CheckView &check) override;
    void failed_call(const FailedCall &call) override;
    void status_checked(uint32_t status) override { calls_.checked(status); }
    void text(Printed kind, std::string_view text) override;
    void sent(std::string_view bytes, bool last) override;
    void reads_input(std::string_view source, uint32_t lines) override;
    void note(std::string_view text) override;
    void show(std::string_view line) override { console_->line(line); }
    void done() override { done_ = true; }
    bool go_on() override { return !(settings_.fail_fast && bad_seen_); }

    // What the supervision asks and tells.
    bool is_done() const { return done_; }
    bool item_runs() const { return item_ != Item::none; }  // a case or a fixture
    bool case_runs() const { return item_ == Item::test; }
    int64_t item_started() const { return started_; }
    std::string item_name() const;  // "folder/case", "set-up of folder"
    uint64_t position() const { return position_; }
    // Whether the running case reads what a person types.
    bool operator_types() const { return operator_types_; }
    // The worker is gone: ends what it was at, and reports what it leaves behind. Returns whether that was a
    // set-up, whose folder's cases cannot run.
    void worker_died(const WorkerEnd &end, int64_t time, const Counters &counters);
    // A case damaged the memory of the run, and what was told of it is lost: it was the next one, or one
    // after it. It begins. False when there is none left.
    bool blame_next_case(int64_t time);
    // The folder whose set-up brought the last worker down, or null.
    const kiv_folder *dead_set_up() const { return dead_set_up_; }
    // First position after the group that the last worker was in.
    uint64_t group_end() const { return group_end_; }
    // Position of the next case to run.
    uint64_t next_position() const { return next_; }
    // Reports every case from the next one up to `end` as not run.
    void skip_to(uint64_t end, const std::string &reason);
    // The run is interrupted.
    void interrupted(const std::string &reason);
    // The run ends here: `reason` stands in the summary, `of_the_rest` with each case that it did not reach.
    void stop(const std::string &reason, const std::string &of_the_rest = "the run stopped before it");
    // The worker is done: with --fail-fast that may be before the last case.
    void stop_if_unfinished();
    // The worker ended badly outside of cases and fixtures: told as a fixture that failed.
    void worker_failed(const WorkerEnd &end, const std::string &what);

    const Summary &summary() const { return summary_; }
    const Summary &finish(int64_t time);
    int64_t run_started() const { return run_started_; }
    Console *console() { return console_; }

  private:
    enum class Item { none, set_up, tear_down, test };

    void start_item(Item item, int64_t time);
    void close_group();
    void open_group(uint64_t position, uint32_t count);
    FixtureResult end_fixture(int64_t time, const Counters &counters);
    void report_fixture(FixtureResult &fixture);
    void report_owed_tear_downs(const std::string &reason);
    Verdict judge(const Counters &counters);
    void finish_output();
    void heed_told_failures();
    std::string printed_failure() const;
    void end_case(int64_t time, const Counters &counters);
    void emit_case();
    void prepare_result(uint64_t position);

    template <typename Tell>
    void tell(Tell tell) {
        tell(static_cast<Reporter &>(*console_));
        for (const auto &report : reports_) tell(*report);
    }

    const Schedule &schedule_;
    Console *console_;
    std::vector<std::unique_ptr<Reporter>> reports_;
    Settings settings_;
    Summary summary_;
    OutputKeeper output_;
    OutcomeScanner outcome_;
    CallAccount calls_;
    uint64_t told_failures_ = 0;  // by lines, when calls_ was last told

    Item item_ = Item::none;
    int64_t run_started_ = 0, started_ = 0;
    uint64_t position_ = 0;  // of the running or last case
    uint64_t next_ = 0;
    CaseResult result_;
    std::vector<Check> failures_;
    const kiv_folder *fixture_folder_ = nullptr;
    std::vector<const kiv_folder *> open_;  // folders whose set-up ran, outermost first
    bool group_open_ = false;
    uint64_t group_end_ = 0;
    FolderInfo group_;
    const kiv_folder *dead_set_up_ = nullptr;
    bool bad_seen_ = false;
    bool done_ = false;
    bool operator_types_ = false;
    std::string sent_;   // pieces whose last one has not come
    std::string stray_;  // output between the items, kept for the next one
};

}  // namespace kiv

#endif
