// JUnit XML: a suite element for each run of a folder, one result element a case.
//
// The shape is the one that the common readers accept (tests/kiv/reports/junit.xsd): a case that did not pass
// holds exactly one failure, error or skipped element, whose message is the first thing that went wrong and
// whose text lists all of it; the case's output comes last. "failure" is for what the case itself checked or
// reported, "error" for a case that did not come to its end.
#include <cstdlib>
#include <map>
#include <set>

#include "kiv/reports/calls.h"
#include "kiv/reports/escape.h"
#include "kiv/reports/report_list.h"
#include "kiv/reports/time.h"
#include "kiv/reports/wording.h"

namespace kiv {
namespace {

using namespace reports;

// Of a suite, or of the whole file. The counts cover the elements that stand in the file; `tests` of a folder
// that is under way is what it is going to be, so that a file cut short shows that something is missing.
struct Counts {
    uint64_t tests = 0, failures = 0, errors = 0, skipped = 0;
    std::chrono::nanoseconds time{0};
};

// The attributes that change while the file grows: always of this length, blanks after the last attribute.
constexpr size_t kCountsLength = 128;

void append_counts(std::string &to, const Counts &counts) {
    const size_t start = to.size();
    const auto attribute = [&](const char *name, uint64_t value) {
        to += name;
        to += "=\"";
        append_number(to, value);
        to += "\" ";
    };
    attribute("tests", counts.tests);
    attribute("failures", counts.failures);
    attribute("errors", counts.errors);
    attribute("skipped", counts.skipped);
    to += "time=\"";
    append_seconds(to, counts.time);
    to += '"';
    to.append(start + kCountsLength - std::min(to.size() - start, kCountsLength) - start, ' ');
}

class JunitReporter : public Reporter {
  public:
    explicit JunitReporter(std::unique_ptr<Sink> sink)
        : streaming_(!sink->seekable()), document_(std::move(sink), "<?kiv ", "?>") {}

    void run_begins(const RunInfo &info) override {
        clock_.start(info.started_at);
        host_ = info.host;
        properties_ = properties(info);
        repeats_ = info.repeat > 1;
        of_a_case_ = case_properties(info);

        text_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites ";
        run_counts_at_ = text_.size();
        if (!streaming_) append_counts(text_, run_);
        text_ += " name=\"";
        append_xml_attribute(text_, info.program);
        text_ += "\">\n";
        document_.begin(text_, kRunEnd);
    }

    void folder_begins(const FolderInfo &folder) override {
        close_suite();
        folder_ = folder.path;
        planned_ = folder.selected_cases;
        begun_ = true;
    }

    void fixture_ended(const FixtureResult &fixture) override {
        const bool good = fixture.ran && !fixture.failed();
        const std::string calls = good ? unnoticed_text(fixture.calls) : "";
        if (good && calls.empty()) return;
        enter(fixture.folder, false);
        text_.clear();
        const bool skipped = !fixture.ran;
        open_case(fixture.kind(), fixture.of_worker ? fixture.kind() : fixture.folder, fixture.duration,
                  skipped ? "not run" : verdict_text(fixture.verdict), fixture.failures.size());
        text_ += ">\n";
        if (skipped)
            skip(fixture.reason);
        else if (!good)
            problem("error", verdict_text(fixture.verdict), headline(fixture), details(fixture));
        close_case(fixture.output, calls);
        ++extra_;
        count(skipped ? &Counts::skipped : good ? nullptr : &Counts::errors, fixture.duration);
    }

    void case_ended(const CaseResult &result) override {
        enter(result.folder, true);
        if (!suite_open_) started_ = result.started;
        text_.clear();
        open_case(unique_name(result), result.folder, result.duration, verdict_text(result.verdict),
                  result.checks);
        if (!result.failures.empty()) place(result.failures.front());
        uint64_t Counts::*kind = nullptr;
        switch (result.verdict) {
            case Verdict::passed:
            case Verdict::unchecked:
                break;
            case Verdict::not_run:
                kind = &Counts::skipped;
                break;
            case Verdict::failed:
            case Verdict::reported_error:
                kind = &Counts::failures;
                break;
            case Verdict::aborted:
            case Verdict::crashed:
            case Verdict::timed_out:
                kind = &Counts::errors;
        }
        const std::string calls = kind == nullptr ? unnoticed_text(result.calls) : "";
        if (kind == nullptr && result.output.empty() && calls.empty()) {
            text_ += "/>\n";
        } else {
            text_ += ">\n";
            if (kind != nullptr && kind != &Counts::skipped) text_ += of_a_case_;
            if (kind == &Counts::skipped)
                skip(result.reason);
            else if (kind != nullptr)
                problem(kind == &Counts::failures ? "failure" : "error", verdict_text(result.verdict),
                        headline(result), details(result));
            close_case(result.output, calls);
        }
        count(kind, result.duration);
    }

    void folder_ended(const FolderInfo &) override { close_suite(); }

    void run_ended(const Summary &summary) override {
        close_suite();
        run_.time = summary.duration;
        patch_run();
        if (in_suite_) document_.append("</testsuite>\n", kRunEnd);
        in_suite_ = false;
        document_.finish();
    }

    std::string problem() const override { return document_.problem(); }

  private:
    static constexpr std::string_view kRunEnd = "</testsuites>\n";
    static constexpr std::string_view kSuiteEnd = "</testsuite>\n</testsuites>\n";

    static void add_property(std::string &text, const char *name, std::string_view value) {
        if (value.empty()) return;
        text.append("<property name=\"").append(name).append("\" value=\"");
        append_xml_attribute(text, value);
        text += "\"/>\n";
    }

    static std::string properties(const RunInfo &info) {
        std::string text = "<properties>\n";
        const auto property = [&](const char *name, std::string_view value) {
            add_property(text, name, value);
        };
        std::string arguments;
        for (const std::string &argument : info.arguments) {
            if (!arguments.empty()) arguments += ' ';
            arguments += argument;
        }
        property("arguments", arguments);
        property("version", info.version);
        property("site", info.site);
        property("site-problems", site_problems_text(info.site_problems.size()));
        for (const std::string &problem : info.site_problems) property("site-problem", problem);
        property("card", info.card);
        property("disk0", info.disk0);
        if (info.seed != 0) property("seed", std::to_string(info.seed));
        if (info.repeat != 1) property("repeat", std::to_string(info.repeat));
        if (info.shard_count != 1)
            property("shard", std::to_string(info.shard_index) + "/" + std::to_string(info.shard_count));
        return text + "</properties>\n";
    }

    // Of a case that is not good: what it takes to run it again.
    static std::string case_properties(const RunInfo &info) {
        std::string text;
        add_property(text, "site", info.site);
        add_property(text, "card", info.card);
        if (info.seed != 0) add_property(text, "seed", std::to_string(info.seed));
        return text.empty() ? text : "<properties>\n" + text + "</properties>\n";
    }

    // Readers know a case by its name: that of another pass has one of its own, by the next number that is
    // free.
    std::string unique_name(const CaseResult &result) {
        if (!repeats_) return result.name;
        const size_t mark = result.name.rfind('#');
        const std::string base = result.name.substr(0, mark);
        int &last = last_[result.folder + "/" + base];
        if (known_.insert(result.folder + "/" + result.name).second) {
            last = std::max(last, mark == std::string::npos ? 1 : std::atoi(result.name.c_str() + mark + 1));
            return result.name;
        }
        return base + "#" + std::to_string(++last);
    }

    // Of the first check that failed.
    void place(const Check &check) {
        text_ += " file=\"";
        append_xml_attribute(text_, source_path(check));
        text_ += "\" line=\"";
        append_number(text_, check.line);
        text_ += '"';
    }

    // Results may come outside their folder's begin and end (a parent's fixture, cases that were never
    // reached): those get a suite of their own. Fixtures of a parent stay in the suite that is open.
    void enter(const std::string &folder, bool is_case) {
        if (begun_ && (!is_case || folder == folder_)) return;
        if (!begun_ && suite_open_ && folder == folder_) return;
        close_suite();
        folder_ = folder;
        planned_ = 0;
        begun_ = false;
    }

    void open_case(std::string_view name, std::string_view folder, std::chrono::nanoseconds time,
                   std::string_view status, uint64_t checks) {
        text_ += "<testcase name=\"";
        append_xml_attribute(text_, name);
        text_ += "\" classname=\"";
        // Readers group by the parts of a class name, which dots separate.
        size_t at = text_.size();
        append_xml_attribute(text_, folder);
        for (; at < text_.size(); ++at)
            if (text_[at] == '/') text_[at] = '.';
        text_ += "\" assertions=\"";
        append_number(text_, checks);
        text_ += "\" status=\"";
        text_ += status;
        text_ += "\" time=\"";
        append_seconds(text_, time);
        text_ += '"';
    }

    void skip(std::string_view reason) {
        text_ += "<skipped message=\"";
        append_xml_attribute(text_, reason.empty() ? "not run" : reason);
        text_ += "\"/>\n";
    }

    void problem(std::string_view element, std::string_view type, std::string_view message,
                 std::string_view all) {
        text_ += '<';
        text_ += element;
        text_ += " type=\"";
        text_ += type;
        text_ += "\" message=\"";
        append_xml_attribute(text_, message);
        text_ += "\">";
        append_xml(text_, all);
        text_ += "</";
        text_ += element;
        text_ += ">\n";
    }

    // `beside`: what the run says of a case or fixture that is good all the same.
    void close_case(std::string_view output, std::string_view beside) {
        text_element("system-out", output);
        text_element("system-err", beside);
        text_ += "</testcase>\n";
    }

    void text_element(std::string_view element, std::string_view content) {
        if (content.empty()) return;
        text_.append("<").append(element).append(">");
        append_xml(text_, content);
        text_.append("</").append(element).append(">\n");
    }

    // Writes the element in text_, with the suite's beginning when it is the suite's first.
    void count(uint64_t Counts::*kind, std::chrono::nanoseconds time) {
        ++suite_.tests;
        suite_.time += time;
        if (kind != nullptr) ++(suite_.*kind);
        if (suite_open_) {
            document_.append(text_, kSuiteEnd);
            if (kind != nullptr) patch_suite();
            return;
        }
        head_ = in_suite_ ? "</testsuite>\n<testsuite " : "<testsuite ";
        const size_t counts_at = head_.size();
        if (!streaming_) append_counts(head_, shown());
        head_ += streaming_ ? "tests=\"" + std::to_string(shown().tests) + "\" name=\"" : " name=\"";
        append_xml_attribute(head_, folder_.empty() ? "worker" : folder_);
        head_ += "\" timestamp=\"";
        clock_.append_to_second(head_, started_);
        if (!host_.empty()) {
            head_ += "\" hostname=\"";
            append_xml_attribute(head_, host_);
        }
        head_ += "\">\n";
        head_ += properties_;
        head_ += text_;
        suite_counts_at_ =
            document_.append(head_, kSuiteEnd, counts_at, streaming_ ? 0 : kCountsLength) + counts_at;
        suite_open_ = in_suite_ = true;
    }

    Counts shown() const {
        Counts counts = suite_;
        counts.tests = std::max(counts.tests, planned_ + extra_);
        return counts;
    }

    void patch_suite() {
        attributes_.clear();
        append_counts(attributes_, shown());
        document_.patch(suite_counts_at_, attributes_);
    }

    void patch_run() {
        attributes_.clear();
        append_counts(attributes_, run_);
        document_.patch(run_counts_at_, attributes_);
    }

    void close_suite() {
        if (suite_open_) {
            planned_ = 0;
            patch_suite();
            run_.tests += suite_.tests;
            run_.failures += suite_.failures;
            run_.errors += suite_.errors;
            run_.skipped += suite_.skipped;
            run_.time += suite_.time;
            patch_run();
        }
        suite_ = {};
        extra_ = 0;
        suite_open_ = begun_ = false;
    }

    bool repeats_ = false;
    std::set<std::string> known_;      // cases of a run with several passes
    std::map<std::string, int> last_;  // the highest number that a name has
    std::string of_a_case_;
    const bool streaming_;  // earlier bytes cannot be patched: no counts
    ClosedDocument document_;
    Clock clock_;
    std::string host_, properties_;
    Counts run_, suite_;
    uint64_t run_counts_at_ = 0, suite_counts_at_ = 0;
    std::string folder_;       // of the suite that is open or about to be
    uint64_t planned_ = 0;     // cases of it
    uint64_t extra_ = 0;       // elements that are not cases: fixtures
    bool begun_ = false;       // between folder_begins and folder_ended
    bool suite_open_ = false;  // its element stands in the file and takes cases
    bool in_suite_ = false;    // the file's closing text closes a suite
    std::chrono::nanoseconds started_{0};
    std::string text_, head_, attributes_;
};

}  // namespace

std::string tell_junit_nothing_run(const NothingRun &nothing) {
    // Readers that count errors, and nothing else, must find one.
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites ";
    Counts counts;
    counts.tests = counts.errors = 1;
    append_counts(text, counts);
    text += " name=\"";
    append_xml_attribute(text, nothing.program);
    text += "\">\n<testsuite ";
    append_counts(text, counts);
    text +=
        " name=\"run\">\n<testcase name=\"run\" classname=\"run\" assertions=\"0\" status=\"not run\" "
        "time=\"0\">\n"
        "<error type=\"not run\" message=\"";
    append_xml_attribute(text, "nothing was run: " + nothing.why);
    return text + "\"/>\n</testcase>\n</testsuite>\n</testsuites>\n";
}

std::unique_ptr<Reporter> make_junit_reporter(std::unique_ptr<Sink> sink) {
    return std::make_unique<JunitReporter>(std::move(sink));
}

}  // namespace kiv
