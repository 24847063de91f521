// One self-contained page: the events of the run as data, and a script that shows them.
//
// The page's own text (page.html) is built in, up to where the events go. The events are the lines of the
// JSON report with markup escaped, inside a script element that is data; the closing text always stands
// behind them.
#include "kiv/reports/event_reporter.h"
#include "kiv/reports/page.h"
#include "kiv/reports/report_list.h"

namespace kiv {
namespace {

using namespace reports;

constexpr std::string_view kPageEnd = "</script><script>show()</script></body></html>\n";

class HtmlReporter : public EventReporter {
  public:
    explicit HtmlReporter(std::unique_ptr<Sink> sink)
        : EventReporter(true), document_(std::move(sink), "<!--", "-->") {}

    void run_begins(const RunInfo &info) override {
        document_.head(kPageHead);
        EventReporter::run_begins(info);
    }

  protected:
    void head(std::string_view piece) override { document_.head(piece); }
    void first(std::string_view end) override { document_.begin(end, kPageEnd); }
    void event(std::string_view line) override { body_ += line; }
    void events_end() override {
        document_.append(body_, kPageEnd);
        body_.clear();
    }
    void last() override { document_.finish(); }

  public:
    std::string problem() const override { return document_.problem(); }

  private:
    ClosedDocument document_;
    std::string body_;
};

}  // namespace

std::string tell_html_nothing_run(const NothingRun &nothing) {
    std::string page(kPageHead);
    for (const char c : tell_json_nothing_run(nothing)) {
        if (c == '<' || c == '>' || c == '&')
            page += c == '<' ? "\\u003c" : c == '>' ? "\\u003e" : "\\u0026";
        else
            page += c;
    }
    return page.append(kPageEnd);
}

std::unique_ptr<Reporter> make_html_reporter(std::unique_ptr<Sink> sink) {
    return std::make_unique<HtmlReporter>(std::move(sink));
}

}  // namespace kiv
