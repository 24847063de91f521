// The results of one run, whole in memory.
#include "kiv/reports/recorded_run.h"

#include <algorithm>

#include "kiv/reports/results_reader.h"

namespace kiv::reports {
namespace {

class Collector : public Reporter {
  public:
    explicit Collector(RecordedRun *run) : run_(run) {}
    void run_begins(const RunInfo &info) override { run_->info = info; }
    void folder_begins(const FolderInfo &folder) override { run_->events.emplace_back(FolderBegins{folder}); }
    void fixture_ended(const FixtureResult &fixture) override { run_->events.emplace_back(fixture); }
    void case_ended(const CaseResult &result) override { run_->events.emplace_back(result); }
    void folder_ended(const FolderInfo &folder) override { run_->events.emplace_back(FolderEnds{folder}); }
    void run_ended(const Summary &summary) override { run_->summary = summary; }

  private:
    RecordedRun *const run_;
};

template <class Kind, class Events>
std::vector<const Kind *> events_of(const Events &events) {
    std::vector<const Kind *> found;
    for (const auto &event : events)
        if (const auto *const result = std::get_if<Kind>(&event)) found.push_back(result);
    return found;
}

// The folders that only begin in `events` learn how many cases they have.
template <class Events>
void count_cases_of_folders(Events &events) {
    FolderBegins *begins = nullptr;
    size_t in_folder = 0;
    for (auto &event : events) {
        if (std::holds_alternative<FolderBegins>(event))
            begins = &std::get<FolderBegins>(event), in_folder = 0;
        if (std::holds_alternative<CaseResult>(event)) ++in_folder;
        if (auto *const ends = std::get_if<FolderEnds>(&event)) {
            if (begins != nullptr && begins->folder.selected_cases == 0)
                begins->folder.selected_cases = in_folder;
            if (ends->folder.selected_cases == 0) ends->folder.selected_cases = in_folder;
        }
    }
}

Summary count(const RecordedRun &run) {
    Summary summary;
    for (const CaseResult *const result : run.cases()) {
        ++summary.selected;
        summary.add(*result);
        summary.duration = std::max(summary.duration, result->started + result->duration);
    }
    for (const FixtureResult *const fixture : run.fixtures()) summary.add(*fixture);
    return summary;
}

}  // namespace

std::vector<const CaseResult *> RecordedRun::cases() const {
    return events_of<CaseResult>(events);
}

std::vector<const FixtureResult *> RecordedRun::fixtures() const {
    return events_of<FixtureResult>(events);
}

std::map<std::string, int> RecordedRun::told() const {
    std::map<std::string, int> told;
    for (const CaseResult *const result : cases()) ++told[result->selector()];
    return told;
}

std::string RecordedRun::contradiction() const {
    const Summary told = count(*this);
    const auto differs = [](const std::string &field, uint64_t says, uint64_t found) {
        return says == found ? std::string()
                             : field + ": the summary says " + std::to_string(says) +
                                   ", the events tell of " + std::to_string(found);
    };
    std::string found = info.selected_cases == told.selected
                            ? ""
                            : "SelectedCases: the start says " + std::to_string(info.selected_cases) +
                                  ", the events tell of " + std::to_string(told.selected);
    if (found.empty()) found = differs("Selected", summary.selected, told.selected);
    for (size_t i = 0; found.empty() && i < std::size(told.counts); ++i)
        found = differs(std::string("Counts.") + verdict_text(static_cast<Verdict>(i)), summary.counts[i],
                        told.counts[i]);
    if (found.empty()) found = differs("FailedFixtures", summary.failed_fixtures, told.failed_fixtures);
    return found;
}

void RecordedRun::finish(const std::string &reason) {
    if (complete) return;
    std::map<std::string, std::string> titles;
    for (const FolderInfo &folder : info.folders) titles[folder.path] = folder.title;

    FolderInfo open;
    for (const auto &event : events) {
        if (const auto *const begins = std::get_if<FolderBegins>(&event)) open = begins->folder;
        if (std::holds_alternative<FolderEnds>(event)) open = {};
    }
    std::map<std::string, int> reached = told();
    for (int pass = 0; pass < info.repeat; ++pass) {
        for (size_t i = 0; i < info.selected.size(); ++i) {
            const auto [selector, description] = info.selected[i];
            if (reached[selector] > pass) continue;
            CaseResult result;
            result.folder = selector.substr(0, selector.rfind('/'));
            result.name = selector.substr(selector.rfind('/') + 1);
            result.description = description.value_or("");
            result.verdict = Verdict::not_run;
            result.reason = reason;
            if (open.path != result.folder) {
                if (!open.path.empty()) events.emplace_back(FolderEnds{open});
                open = {result.folder, titles[result.folder], 0};
                events.emplace_back(FolderBegins{open});
            }
            events.emplace_back(std::move(result));
        }
    }
    if (!open.path.empty()) events.emplace_back(FolderEnds{open});
    count_cases_of_folders(events);
    summary = count(*this);
    summary.stopped_because = reason;
    complete = true;
}

void RecordedRun::replay(Reporter &reporter) const {
    reporter.run_begins(info);
    for (const auto &event : events) {
        if (const auto *const begins = std::get_if<FolderBegins>(&event))
            reporter.folder_begins(begins->folder);
        if (const auto *const fixture = std::get_if<FixtureResult>(&event)) reporter.fixture_ended(*fixture);
        if (const auto *const result = std::get_if<CaseResult>(&event)) {
            reporter.case_begins(result->folder, result->name);
            reporter.case_ended(*result);
        }
        if (const auto *const ends = std::get_if<FolderEnds>(&event)) reporter.folder_ended(ends->folder);
    }
    if (complete) reporter.run_ended(summary);
}

bool read_run(std::string_view text, const std::string &path, RecordedRun *run, std::string *error) {
    *run = {};
    run->path = path;
    Collector collector(run);
    ReadStatus status;
    if (!read_results(text, path, collector, &status)) {
        *error = status.error;
        return false;
    }
    run->complete = status.complete;
    run->torn = status.torn;
    return true;
}

}  // namespace kiv::reports
