// The run as events, one JSON object a line: what the JSON report holds and what the page carries inside.
// docs/results.md describes every field; results_reader.h reads them back without loss.
#ifndef KIV_REPORTS_EVENT_REPORTER_H
#define KIV_REPORTS_EVENT_REPORTER_H

#include <string>
#include <string_view>

#include "kiv/reports/time.h"
#include "kiv/results.h"

namespace kiv::reports {

class EventReporter : public Reporter {
  public:
    explicit EventReporter(bool in_page) : in_page_(in_page) {}

    void run_begins(const RunInfo &info) override;
    void folder_begins(const FolderInfo &folder) override;
    void fixture_ended(const FixtureResult &fixture) override;
    void case_ended(const CaseResult &result) override;
    void folder_ended(const FolderInfo &folder) override;
    void run_ended(const Summary &summary) override;

  protected:
    // The first event: what comes before its end, piece by piece, and the end, with which it is seen.
    virtual void head(std::string_view piece) = 0;
    virtual void first(std::string_view end) = 0;
    // One event, newline included.
    virtual void event(std::string_view line) = 0;
    // The events since the last call belong together and are to be seen now.
    virtual void events_end() = 0;
    virtual void last() = 0;

  private:
    void open(const char *action, std::string_view folder);
    void close();
    void text(const char *name, std::string_view value);
    void optional_text(const char *name, std::string_view value);
    void texts(const char *name, const std::vector<std::string> &values);
    void string_item(std::string_view value);
    template <class Number>
    void number(const char *name, Number value);
    void flag(const char *name, bool value);
    void seconds(const char *name, std::chrono::nanoseconds value);
    void output(std::string_view folder, const char *kind, std::string_view name, std::string_view output);
    void check(std::string_view folder, const char *kind, std::string_view name, const Check &check);
    void calls(const CallFailures &calls);
    void differences(const Differences &differences);
    void told(std::string_view folder, const char *kind, std::string_view name, const CallsTold &calls);
    void folder_fields(const FolderInfo &folder);

    const bool in_page_;
    Clock clock_;
    std::chrono::nanoseconds now_{0};  // since the run began, as far as the results tell
    std::string line_;
};

}  // namespace kiv::reports

#endif
