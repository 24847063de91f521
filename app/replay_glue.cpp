// --card replay:FILE: the calls of a run are answered from a trace, and each case is told where its calls are
// others. The worker answers and sends what differs; the supervising process adds it to the results.
#include <unistd.h>

#include <string>
#include <string_view>

#include "app/other_card.h"
#include "kiv/files.h"
#include "kiv/observer.h"
#include "trace/replay.h"

namespace {

using trace::EntryKind;
using trace::Replay;

// Beyond what recordings are made of: those who read entries pass it by. `number` differences, texts[0] says
// what; empty: only how many.
constexpr auto kDifference = static_cast<EntryKind>(1000);

bool ends_with_word(std::string *what, std::string_view word) {
    if (!what->ends_with(word)) return false;
    what->resize(what->size() - word.size());
    return true;
}

class ReplayGlue : public kiv::Observer {
  public:
    bool open(std::string what, kiv::RunInfo &info, const card::Backend **answering, std::string *error) {
        const bool lenient = ends_with_word(&what, ",lenient");
        if (!lenient) ends_with_word(&what, ",strict");
        if (what.empty()) {
            *error = ": no trace is named: replay:FILE, or replay:FILE,lenient";
            return false;
        }
        const Replay::Surroundings around{
            [this](std::string_view text, uint64_t count) { send(text, count); },
            [] { return kiv::tally().checks; }};
        std::string lacks;
        if (!replay_.open(kiv::absolute_path(what), lenient ? Replay::Mode::LENIENT : Replay::Mode::STRICT,
                          around, &lacks, error)) {
            *error = " " + *error;
            return false;
        }
        if (!lacks.empty()) info.remarks.push_back("The trace is not whole: " + lacks);
        *answering = &trace::answering_from(&replay_);
        active_ = true;
        return true;
    }
    const char *status_text(uint32_t status) override {
        return active_ ? replay_.status_text(status) : nullptr;
    }

    unsigned interests() const override { return active_ ? kCases | kFixtures : 0u; }
    void worker_begins(int) override {
        if (!active_) return;
        worker_ = getpid();
        replay_.worker_begins();
    }
    void fixture_begins(std::string_view folder, bool set_up) override {
        replay_.item_begins(set_up ? EntryKind::set_up_begins : EntryKind::tear_down_begins, folder, "");
    }
    void fixture_ended(std::string_view, bool) override { replay_.item_ended(); }
    void case_begins(std::string_view folder, std::string_view name) override {
        replay_.item_begins(EntryKind::case_begins, folder, name);
    }
    void case_ended(std::string_view, std::string_view) override { replay_.item_ended(); }

    void received(std::string_view bytes) override {
        if (!active_) return;
        const trace::Bytes entry(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
        trace::Mark mark;
        if (trace::head_of(entry).kind != kDifference || !trace::read_mark(entry, &mark)) return;
        found_.count += mark.number;
        if (!mark.texts[0].empty() && found_.told.size() <= Replay::kTold)
            found_.told.emplace_back(mark.texts[0]);
    }

    void complete(kiv::CaseResult &result) override { take_over(&result.differences); }
    void complete(kiv::FixtureResult &fixture) override { take_over(&fixture.differences); }

  private:
    // In the worker. A child that a case forks has nobody to tell.
    void send(std::string_view text, uint64_t count) const {
        if (getpid() != worker_) return;
        trace::Mark mark;
        mark.kind = kDifference;
        mark.number = count;
        mark.texts[0] = text;
        std::string entry(trace::mark_size(mark), '\0');
        trace::write_mark(mark, reinterpret_cast<uint8_t *>(entry.data()));
        kiv::send(entry);
    }

    void take_over(kiv::Differences *differences) {
        if (found_.count == 0) return;
        differences->from = differences->count == 0 ? "the trace" : differences->from + " and the trace";
        differences->count += found_.count;
        differences->told.insert(differences->told.end(), found_.told.begin(), found_.told.end());
        found_ = {};
    }

    Replay replay_;
    bool active_ = false;
    pid_t worker_ = 0;
    kiv::Differences found_;  // in the supervising process, of the running case or fixture
};

ReplayGlue glue;

const bool subscribed = [] {
    kiv::subscribe(&glue);
    app::other_cards().push_back(
        {"replay:",
         [](const std::string &what, kiv::RunInfo &info, const card::Backend **answering,
            std::string *error) { return glue.open(what, info, answering, error); },
         [](uint32_t status) { return glue.status_text(status); }});
    return true;
}();

}  // namespace
