// What the report tests share: a sink in memory that can die at any write, and a run that shows every kind of
// result.
#ifndef TESTS_KIV_REPORTS_REPORT_TEST_H
#define TESTS_KIV_REPORTS_REPORT_TEST_H

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kiv/reports/reports.h"

namespace kiv::test {

// A file in memory. After every step, `observe` sees each content that a killed writer could leave: the whole
// write, and for a write that spans pages every prefix that ends at a page's end.
class MemorySink : public reports::Sink {
  public:
    using Observe = std::function<void(const std::string &content)>;

    explicit MemorySink(std::string *content, Observe observe = nullptr, bool seekable = true)
        : content_(content), observe_(std::move(observe)), seekable_(seekable) {}

    bool seekable() const override { return seekable_; }

    bool begin(std::string_view text) override {
        *content_ = text;
        seen();
        return true;
    }

    bool write(uint64_t offset, std::string_view text) override {
        ++writes;
        if (!seekable_) offset = content_->size();
        while (!text.empty()) {
            const size_t in_page = std::min<size_t>(text.size(), reports::kPage - offset % reports::kPage);
            if (content_->size() < offset + in_page) content_->resize(offset + in_page);
            content_->replace(offset, in_page, text.substr(0, in_page));
            offset += in_page;
            text.remove_prefix(in_page);
            seen();
        }
        return true;
    }

    bool truncate(uint64_t size) override {
        content_->resize(size);
        seen();
        return true;
    }

    size_t writes = 0;

  private:
    void seen() {
        if (observe_) observe_(*content_);
    }

    std::string *const content_;
    const Observe observe_;
    const bool seekable_;
};

// A run with every verdict, both kinds of check, fixtures that fail and that never ran, nested folders, a
// folder that comes twice and text that needs escaping.
void play_sample_run(Reporter &reporter);
RunInfo sample_info();

CaseResult passing_case(std::string folder, std::string name);

// Many cases with outputs of every length up to `largest`; calls `after_case` with the number finished.
void play_long_run(Reporter &reporter, int cases, size_t largest,
                   const std::function<void(int finished)> &after_case = nullptr);

std::string read_file(const std::string &path);

// Compares with golden/NAME; KIV_UPDATE_GOLDEN=1 writes it anew.
void expect_golden(const std::string &name, const std::string &content);

// Well-formed by the parser, and every name the elements hold; empty with *error set when it is not.
std::vector<std::string> junit_case_names(const std::string &xml, std::string *error);

}  // namespace kiv::test

#endif
