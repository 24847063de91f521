// The results of a run, whole in memory.
#include "kivctl/results.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>

#include "kiv/reports/results_reader.h"

namespace kivctl {
namespace {

class Collector : public kiv::Reporter {
  public:
    explicit Collector(Results *results) : results_(results) {}
    void run_begins(const kiv::RunInfo &info) override { results_->info = info; }
    void folder_begins(const kiv::FolderInfo &folder) override {
        results_->events.emplace_back(FolderBegins{folder});
    }
    void fixture_ended(const kiv::FixtureResult &fixture) override { results_->events.emplace_back(fixture); }
    void case_ended(const kiv::CaseResult &result) override { results_->events.emplace_back(result); }
    void folder_ended(const kiv::FolderInfo &folder) override {
        results_->events.emplace_back(FolderEnds{folder});
    }
    void run_ended(const kiv::Summary &summary) override { results_->summary = summary; }

  private:
    Results *const results_;
};

bool read_all(const std::string &path, std::string *text) {
    std::FILE *const file = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
    if (file == nullptr) return false;
    char buffer[1 << 16];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text->append(buffer, n);
    const bool good = std::ferror(file) == 0;
    if (file != stdin) std::fclose(file);
    return good;
}

}  // namespace

std::vector<const kiv::CaseResult *> Results::cases() const {
    std::vector<const kiv::CaseResult *> cases;
    for (const auto &event : events)
        if (const auto *const result = std::get_if<kiv::CaseResult>(&event)) cases.push_back(result);
    return cases;
}

std::vector<const kiv::FixtureResult *> Results::fixtures() const {
    std::vector<const kiv::FixtureResult *> fixtures;
    for (const auto &event : events)
        if (const auto *const result = std::get_if<kiv::FixtureResult>(&event)) fixtures.push_back(result);
    return fixtures;
}

std::vector<std::string> Results::unreached() const {
    std::map<std::string, int> reported;
    for (const kiv::CaseResult *const result : cases()) ++reported[result->selector()];
    std::vector<std::string> missing;
    for (const std::string &selector : info.selected) {
        int &left = reported[selector];
        for (int pass = 0; pass < info.repeat; ++pass) {
            if (left > 0)
                --left;
            else
                missing.push_back(selector);
        }
    }
    return missing;
}

void Results::finish(const std::string &reason) {
    if (complete) return;
    std::map<std::string, std::string> descriptions, titles;
    for (size_t i = 0; i < info.descriptions.size(); ++i)
        descriptions[info.selected[i]] = info.descriptions[i];
    for (const kiv::FolderInfo &folder : info.folders) titles[folder.path] = folder.title;

    kiv::FolderInfo open;
    for (const auto &event : events) {
        if (const auto *const begins = std::get_if<FolderBegins>(&event)) open = begins->folder;
        if (std::holds_alternative<FolderEnds>(event)) open = {};
    }
    for (const std::string &selector : unreached()) {
        kiv::CaseResult result;
        result.folder = selector.substr(0, selector.rfind('/'));
        result.name = selector.substr(selector.rfind('/') + 1);
        result.description = descriptions[selector];
        result.verdict = kiv::Verdict::not_run;
        result.reason = reason;
        if (open.path != result.folder) {
            if (!open.path.empty()) events.emplace_back(FolderEnds{open});
            open = {result.folder, titles[result.folder], 0};
            events.emplace_back(FolderBegins{open});
        }
        events.emplace_back(std::move(result));
    }
    if (!open.path.empty()) events.emplace_back(FolderEnds{open});

    // The folders that only begin here learn how many cases they have.
    FolderBegins *begins = nullptr;
    size_t in_folder = 0;
    for (auto &event : events) {
        if (std::holds_alternative<FolderBegins>(event))
            begins = &std::get<FolderBegins>(event), in_folder = 0;
        if (std::holds_alternative<kiv::CaseResult>(event)) ++in_folder;
        if (auto *const ends = std::get_if<FolderEnds>(&event)) {
            if (begins != nullptr && begins->folder.selected_cases == 0)
                begins->folder.selected_cases = in_folder;
            if (ends->folder.selected_cases == 0) ends->folder.selected_cases = in_folder;
        }
    }
    summary = count(*this);
    summary.stopped_because = reason;
    complete = true;
}

void Results::replay(kiv::Reporter &reporter) const {
    reporter.run_begins(info);
    for (const auto &event : events) {
        if (const auto *const begins = std::get_if<FolderBegins>(&event))
            reporter.folder_begins(begins->folder);
        if (const auto *const fixture = std::get_if<kiv::FixtureResult>(&event))
            reporter.fixture_ended(*fixture);
        if (const auto *const result = std::get_if<kiv::CaseResult>(&event)) {
            reporter.case_begins(result->folder, result->name);
            reporter.case_ended(*result);
        }
        if (const auto *const ends = std::get_if<FolderEnds>(&event)) reporter.folder_ended(ends->folder);
    }
    if (complete) reporter.run_ended(summary);
}

kiv::Summary count(const Results &results) {
    kiv::Summary summary;
    for (const kiv::CaseResult *const result : results.cases()) {
        ++summary.selected;
        ++summary.counts[static_cast<size_t>(result->verdict)];
        summary.checks += result->checks;
        summary.failed_checks += result->failed_checks;
        summary.add(result->calls);
        summary.duration = std::max(summary.duration, result->started + result->duration);
    }
    for (const kiv::FixtureResult *const fixture : results.fixtures()) {
        if (fixture->ran && fixture->verdict != kiv::Verdict::passed) ++summary.failed_fixtures;
        summary.add(fixture->calls);
    }
    return summary;
}

bool parse(const std::string &text, const std::string &path, Results *results, std::string *error) {
    *results = {};
    results->path = path;
    Collector collector(results);
    kiv::reports::ReadStatus status;
    if (!kiv::reports::read_results(text, path, collector, &status)) {
        *error = status.error;
        return false;
    }
    results->complete = status.complete;
    results->torn = status.torn;
    return true;
}

bool load(const std::string &path, Results *results) {
    std::string text, error;
    if (!read_all(path, &text)) {
        fmt::print(stderr, "kivctl: {}: {}\n", path, std::strerror(errno));
        return false;
    }
    if (!parse(text, path, results, &error)) {
        fmt::print(stderr, "kivctl: {}\n", error);
        return false;
    }
    if (results->torn) fmt::print(stderr, "kivctl: {}: the last line is cut off and was left out\n", path);
    if (!results->complete) fmt::print(stderr, "kivctl: {}: the run did not tell of its end\n", path);
    return true;
}

}  // namespace kivctl
