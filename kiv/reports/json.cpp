// The event stream: one JSON object a line, written as each case ends.
#include "kiv/reports/escape.h"
#include "kiv/reports/event_reporter.h"
#include "kiv/reports/report_list.h"

namespace kiv {
namespace {

using namespace reports;

class JsonReporter : public EventReporter {
  public:
    explicit JsonReporter(std::unique_ptr<Sink> sink)
        : EventReporter(false), file_(std::move(sink), LineFile::Padding::blanks) {}

  protected:
    void head(std::string_view piece) override { file_.head(piece); }
    void first(std::string_view end) override { file_.begin(end); }

    // A line that no page could hold goes out in parts: strings that, joined, are the line.
    void event(std::string_view line) override {
        if (line.size() <= kPage) {
            file_.add(line);
            return;
        }
        line.remove_suffix(1);
        while (!line.empty()) {
            // Escaping at most doubles a line of JSON; cut between characters.
            size_t length = std::min<size_t>(line.size(), kPage / 2 - 64);
            while (length < line.size() && (static_cast<uint8_t>(line[length]) & 0xC0) == 0x80) --length;
            part_ = "{\"Action\":\"part\",\"Last\":";
            part_ += length == line.size() ? "true" : "false";
            part_ += ",\"Text\":\"";
            append_json(part_, line.substr(0, length));
            part_ += "\"}\n";
            file_.add(part_);
            line.remove_prefix(length);
        }
    }

    void events_end() override { file_.flush(); }
    void last() override { file_.finish(); }

  public:
    std::string problem() const override { return file_.problem(); }

  private:
    LineFile file_;
    std::string part_;
};

}  // namespace

std::string tell_json_nothing_run(const NothingRun &nothing) {
    std::string line =
        "{\"Time\":\"" + nothing.time + "\",\"Action\":\"nothing-run\",\"Format\":1,\"Program\":\"";
    append_json(line, nothing.program);
    line += "\",\"Arguments\":[";
    for (size_t i = 0; i < nothing.arguments.size(); ++i) {
        line += i != 0 ? ",\"" : "\"";
        append_json(line, nothing.arguments[i]);
        line += '"';
    }
    line += "],\"Reason\":\"";
    append_json(line, nothing.why);
    return line + "\"}\n";
}

std::unique_ptr<Reporter> make_json_reporter(std::unique_ptr<Sink> sink) {
    return std::make_unique<JsonReporter>(std::move(sink));
}

}  // namespace kiv
