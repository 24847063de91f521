// The run as a person reads it: a line per case, what failed and why, the summary. Fits 80 columns.
#ifndef KIV_REPORTS_CONSOLE_H
#define KIV_REPORTS_CONSOLE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kiv/reports/outlet.h"
#include "kiv/results.h"

namespace kiv {

struct ConsoleStyle {
    bool color = false;
    bool progress = false;  // a line that is rewritten while a case runs: terminals only
    bool verbose = false;   // every case's output, as it comes
    bool quiet = false;     // only what did not pass, and the summary
    std::string mark = {};  // of the summary: tells it from whatever a case may print
};

class Console : public Reporter {
  public:
    // Writes to what `fd` leads to, by a descriptor of its own.
    Console(int fd, ConsoleStyle style) : outlet_(fd, reports::Outlet::Kind::screen), style_(style) {}
    ~Console() override { flush(); }

    void run_begins(const RunInfo &info) override;
    void folder_begins(const FolderInfo &folder) override;
    void fixture_ended(const FixtureResult &fixture) override;
    void case_begins(const std::string &folder, const std::string &name) override;
    void case_ended(const CaseResult &result) override;
    void run_ended(const Summary &summary) override;

    // Output of the running case, shown at once; after it case_ended does not show it again.
    void live_output(std::string_view text);
    bool shows_output() const { return style_.verbose; }
    bool is_watched() const { return style_.verbose || style_.progress; }
    // A line of the run's own, between the others.
    void announce(std::string_view line);
    // The same for what there are many of: plain, and not at once.
    void line(std::string_view line);
    // Rewrites the progress line when it is time to.
    void tick(int64_t now);
    void flush();

  private:
    void paint(const char *color, std::string_view text);
    void verdict_line(Verdict verdict, std::chrono::nanoseconds duration, std::string_view name);
    void checks(const std::vector<Check> &failures, uint64_t failed, const CallsTold &told);
    void calls(const CallsTold &told, std::span<const ToldCall> before);
    void quote(std::string_view output);
    void quoted(std::string_view text);
    void end_live_line();
    void folder_heading();
    void clear_progress();
    void unnoticed(const CallFailures &calls);
    void differences(const Differences &differences);
    void list_names(std::string_view title, const std::vector<std::string> &names);

    struct Slow {
        std::chrono::nanoseconds duration;
        std::string selector;
    };

    reports::Outlet outlet_;
    ConsoleStyle style_;
    std::string out_;
    std::string program_;
    uint64_t total_ = 0, done_ = 0, bad_ = 0;
    size_t site_problems_ = 0;
    FolderInfo heading_;
    bool heading_pending_ = false;
    std::string running_;
    int64_t running_since_ = 0, next_tick_ = 0;
    bool progress_shown_ = false;
    bool live_ = false;            // output of the running case is being shown
    bool live_line_open_ = false;  // and its last line has no end yet
    size_t continues_ = 0;         // bytes of a character that the last piece began
    std::vector<Slow> slowest_;
    std::vector<std::string> bad_selectors_;
    std::vector<std::string> bad_fixtures_;
    std::vector<std::string> unnoticed_;  // good, but for calls that failed unnoticed
};

}  // namespace kiv

#endif
