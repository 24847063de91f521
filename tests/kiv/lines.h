// Journals and reports as lines of text, for tests of who tells them.
#ifndef TESTS_KIV_LINES_H
#define TESTS_KIV_LINES_H

#include <cstdint>
#include <string>
#include <vector>

#include "kiv/journal/journal.h"

namespace kiv_test {

// Writes every event as a line.
class JournalLines : public kiv::Journal {
  public:
    void group_begins(uint64_t position, uint32_t count) override { add("group", position, count); }
    void group_ended() override { add("group-end", 0, 0); }
    void fixture_begins(uint32_t folder, bool set_up, int64_t time) override {
        add(set_up ? "set-up" : "tear-down", folder, at(time));
    }
    void fixture_ended(int64_t time, const kiv::Counters &counters) override {
        add("fixture-end", at(time), counters.checks);
    }
    void case_begins(uint64_t position, int64_t time) override { add("case", position, at(time)); }
    void case_ended(int64_t time, const kiv::Counters &counters) override {
        add("case-end", at(time), counters.failed);
    }
    void failed_check(const kiv::CheckView &check) override {
        numbers_.push_back(check.number);
        text_ += std::string(check.is_condition ? "condition " : "code ") + std::to_string(check.status) +
                 " " + std::to_string(check.expected) + " " + std::to_string(check.line) + " " +
                 std::string(check.expected_name) + "|" + std::string(check.status_text) + "|" +
                 std::string(check.message) + "|" + std::string(check.file) + "|" +
                 std::string(check.function) + "\n";
    }
    void text(kiv::Printed kind, std::string_view text) override {
        text_ += kind == kiv::Printed::print ? "print " : "direct ";
        text_ += text.size() > 1000 ? std::to_string(text.size()) : std::string(text);
        text_ += "\n";
        bytes_ += text.size();
    }
    void sent(std::string_view bytes, bool last) override { add(last ? "sent" : "piece", bytes.size(), 0); }
    void reads_input(std::string_view source, uint32_t lines) override { add(std::string(source), lines, 0); }
    void note(std::string_view text) override { text_ += "note " + std::string(text) + "\n"; }
    void done() override { done_ = true; }
    bool go_on() override { return ++questions_ < answers_; }

    std::string text_;
    std::vector<uint64_t> numbers_;  // of the failed checks
    uint64_t bytes_ = 0;
    bool done_ = false;
    bool timed_ = true;  // with the times that come with the events; else 0
    int questions_ = 0;
    int answers_ = 2;  // the question from which on the run does not go on

  private:
    uint64_t at(int64_t time) const { return timed_ ? static_cast<uint64_t>(time) : 0; }
    void add(const std::string &what, uint64_t one, uint64_t two) {
        text_ += what + " " + std::to_string(one) + " " + std::to_string(two) + "\n";
    }
};

// Writes what a run records as lines: "case f/c failed 1/2: reason".
class ReportLines : public kiv::Reporter {
  public:
    void folder_begins(const kiv::FolderInfo &folder) override {
        add("folder " + folder.path + " " + std::to_string(folder.selected_cases));
    }
    void fixture_ended(const kiv::FixtureResult &fixture) override {
        add(fixture.name() + " " + (fixture.ran ? kiv::verdict_text(fixture.verdict) : "did not run") + ": " +
            fixture.reason);
        fixtures_.push_back(fixture);
    }
    void case_begins(const std::string &folder, const std::string &name) override {
        begun_.push_back(folder + "/" + name);
    }
    void case_ended(const kiv::CaseResult &result) override {
        add("case " + result.selector() + " " + kiv::verdict_text(result.verdict) + " " +
            std::to_string(result.failed_checks) + "/" + std::to_string(result.checks) + ": " +
            result.reason);
        cases_.push_back(result);
    }
    void folder_ended(const kiv::FolderInfo &folder) override { add("end of " + folder.path); }
    void run_ended(const kiv::Summary &summary) override { summary_ = summary; }

    std::string text_;
    std::vector<std::string> begun_;
    std::vector<kiv::CaseResult> cases_;
    std::vector<kiv::FixtureResult> fixtures_;
    kiv::Summary summary_;

  private:
    void add(const std::string &line) { text_ += line + "\n"; }
};

}  // namespace kiv_test

#endif
