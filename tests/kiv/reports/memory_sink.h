// A report in memory instead of a file.
#ifndef TESTS_KIV_REPORTS_MEMORY_SINK_H
#define TESTS_KIV_REPORTS_MEMORY_SINK_H

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "kiv/reports/report_list.h"

namespace kiv::test {

// A file in memory. After every step, `observe` sees each content that a killed writer could leave: the whole
// write, and for a write that spans pages every prefix that ends at a page's end.
class MemorySink : public reports::Sink {
  public:
    using Observe = std::function<void(const std::string &content)>;

    explicit MemorySink(std::string *content, Observe observe = nullptr, bool seekable = true)
        : content_(content), observe_(std::move(observe)), seekable_(seekable) {}

    bool seekable() const override { return seekable_; }

    bool appear() override {
        appeared_ = true;
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
        if (observe_ && appeared_) observe_(*content_);
    }

    std::string *const content_;
    const Observe observe_;
    const bool seekable_;
    bool appeared_ = false;
};

// What a report of that format holds when `play` has told it a run.
template <class Play>
std::string report_of(MakeReport &make, Play play) {
    std::string content;
    const auto report = make(std::make_unique<MemorySink>(&content));
    play(*report);
    return content;
}

}  // namespace kiv::test

#endif
