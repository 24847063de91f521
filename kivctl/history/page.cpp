// A history as one page: its data, as JSON with markup escaped, in a script element behind the page's own
// text.
#include "kivctl/history/page.h"

#include <algorithm>
#include <map>

#include "kivctl/history/json_line.h"

namespace kivctl::history {
namespace {

constexpr std::string_view kPageEnd = "</script><script>show()</script></body></html>\n";

// A list of JSON values.
class List {
  public:
    void add(std::string_view json) { text_.append(text_.size() > 1 ? "," : "").append(json); }
    std::string end() const { return text_ + "]"; }

  private:
    std::string text_ = "[";
};

// The texts of failures, each once; a number stands for it.
class Texts {
  public:
    explicit Texts(const History &history) : history_(history) {}
    size_t number_of(int64_t id) {
        const auto [found, is_new] = known_.try_emplace(id, known_.size());
        if (is_new) list_.add(json_text(history_.text(id), true));
        return found->second;
    }
    std::string end() const { return list_.end(); }

  private:
    const History &history_;
    std::map<int64_t, size_t> known_;
    List list_;
};

std::string run_of(const History &history, const Run &run, Texts &texts) {
    JsonLine labels(true), failures(true), json(true);
    for (const auto &[name, value] : run.labels) labels.text(name, value);
    for (const History::Failure &failure : history.failures(run)) {
        List parts;
        for (const int64_t id : {failure.headline, failure.details, failure.output})
            parts.add(std::to_string(texts.number_of(id)));
        failures.raw(std::to_string(failure.position), parts.end());
    }
    json.text("time", time_text(run.started)).raw("labels", labels.end()).number("lineup", run.lineup);
    json.text("verdicts", run.verdicts)
        .raw("nanoseconds", history.durations_text(run))
        .raw("failures", failures.end());
    return json.end();
}

}  // namespace

std::string page_of(const Asked &asked) {
    const History &history = asked.history;
    List subjects, lineups, runs;
    for (uint32_t i = 0; i < history.subjects.size(); ++i) {
        const Subject &subject = history.subjects[i];
        JsonLine json(true);
        json.text("kind", subject.kind).text("folder", subject.folder).text("name", subject.name);
        json.text("description", subject.description);
        json.flag("wanted", std::binary_search(asked.subjects.begin(), asked.subjects.end(), i));
        subjects.add(json.end());
    }
    for (const std::vector<uint32_t> &lineup : history.lineups) {
        List numbers;
        for (const uint32_t subject : lineup) numbers.add(std::to_string(subject));
        lineups.add(numbers.end());
    }
    Texts texts(history);
    const size_t count = std::min(history.runs.size(), kPageRuns);
    for (size_t r = history.runs.size() - count; r < history.runs.size(); ++r)
        runs.add(run_of(history, history.runs[r], texts));
    JsonLine json(true);
    json.raw("subjects", subjects.end()).raw("lineups", lineups.end()).raw("runs", runs.end());
    json.raw("texts", texts.end()).number("left", history.runs.size() - count);
    std::string page(kPageHead);
    return page.append(json.end()).append(kPageEnd);
}

}  // namespace kivctl::history
