// Arbitrary bytes as results: the reader refuses or reads them, and what it read can be written and read
// again.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "kiv/reports/reports.h"
#include "kivctl/results.h"

namespace {

// Keeps the report in memory.
class TextSink : public kiv::reports::Sink {
  public:
    explicit TextSink(std::string *text) : text_(text) {}
    bool seekable() const override { return true; }
    bool begin(std::string_view text) override {
        *text_ = text;
        return true;
    }
    bool write(uint64_t offset, std::string_view text) override {
        if (text_->size() < offset + text.size()) text_->resize(offset + text.size());
        text_->replace(offset, text.size(), text);
        return true;
    }
    bool truncate(uint64_t size) override {
        text_->resize(size);
        return true;
    }

  private:
    std::string *const text_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    kivctl::Results results;
    std::string error;
    if (!kivctl::parse(std::string(reinterpret_cast<const char *>(data), size), "fuzz", &results, &error))
        return 0;
    if (results.info.repeat < 1 || results.info.repeat > 100) return 0;
    results.finish("cut");

    std::string written, again;
    results.replay(*kiv::make_json_reporter(std::make_unique<TextSink>(&written)));
    kivctl::Results second;
    if (!kivctl::parse(written, "again", &second, &error)) {
        fprintf(stderr, "%s\n", error.c_str());
        abort();
    }
    second.replay(*kiv::make_json_reporter(std::make_unique<TextSink>(&again)));
    if (written != again) {
        fprintf(stderr, "--- written\n%s--- again\n%s", written.c_str(), again.c_str());
        abort();
    }
    for (const auto make :
         {+[](std::unique_ptr<kiv::reports::Sink> s) { return kiv::make_junit_reporter(std::move(s)); },
          +[](std::unique_ptr<kiv::reports::Sink> s) { return kiv::make_tap_reporter(std::move(s)); },
          +[](std::unique_ptr<kiv::reports::Sink> s) { return kiv::make_html_reporter(std::move(s)); }}) {
        std::string report;
        results.replay(*make(std::make_unique<TextSink>(&report)));
    }
    return 0;
}
