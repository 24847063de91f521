// Puts what a history answers into words.
#include "kivctl/history/answers.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "kiv/reports/escape.h"
#include "kiv/reports/time.h"
#include "kivctl/history/json_line.h"

namespace kivctl::history {
namespace {

using kiv::reports::visible;

constexpr size_t kShownLately = 60;

std::string seconds_text(double seconds) {
    return kiv::reports::duration_text(std::chrono::nanoseconds(std::llround(seconds * 1e9)));
}

std::string plural(size_t count, const char *what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

// As people read it: a commit by its first digits.
std::string value_text(const std::string &name, const std::string &value) {
    return visible(name == "commit" && value.size() > 12 ? value.substr(0, 12) : value);
}

// When it began, and its labels, but for circumstances and what `group` says already.
std::string run_text(const Run &run, const std::string &group = "") {
    std::string text = time_text(run.started);
    for (const auto &[name, value] : run.labels)
        if (!is_circumstance(name) && (" " + group + " ").find(" " + name + "=") == std::string::npos)
            text += "  " + name + "=" + value_text(name, value);
    return text;
}

std::string run_json(const Run &run) {
    JsonLine labels;
    for (const auto &[name, value] : run.labels) labels.text(name, value);
    std::string time = time_text(run.started);
    time[10] = 'T';
    return JsonLine().text("Time", time + "Z").raw("Labels", labels.end()).end();
}

class Answer {
  public:
    explicit Answer(const Asked &asked) : asked_(asked) {}

    bool wanted(uint32_t subject) const {
        return std::binary_search(asked_.subjects.begin(), asked_.subjects.end(), subject);
    }
    std::string shown(uint32_t subject) const { return visible(asked_.history.subjects[subject].shown()); }
    const Run &run(size_t index) const { return asked_.history.runs[index]; }

    template <typename... Values>
    void line(fmt::format_string<Values...> format, Values &&...values) {
        fmt::format_to(std::back_inserter(text_), format, std::forward<Values>(values)...);
        text_ += '\n';
    }
    JsonLine about(uint32_t subject) const {
        const Subject &it = asked_.history.subjects[subject];
        JsonLine json;
        json.text("Case", it.shown());
        if (!it.is_case()) json.text("Kind", it.kind);
        return json;
    }
    void put_run(JsonLine &json, const char *name, size_t index) const {
        if (index != kNoRun) json.raw(name, run_json(run(index)));
    }
    void json(JsonLine &json) { text_ += json.end() + "\n"; }
    void headline(const char *indent, size_t index, uint32_t subject) {
        const std::string why = asked_.history.headline(run(index), subject);
        if (!why.empty()) line("{}{}", indent, visible(why));
    }
    // Its last results in these runs, the oldest first: "." good, "F" bad.
    std::string lately(const std::vector<uint32_t> &group_of_run, uint32_t group, uint32_t subject) const {
        std::string letters;
        for (size_t r = asked_.history.runs.size(); r-- > 0 && letters.size() < kShownLately;)
            if (group_of_run[r] == group)
                asked_.history.outcomes(run(r), [&](uint32_t told, bool bad) {
                    if (told == subject) letters += bad ? 'F' : '.';
                });
        std::reverse(letters.begin(), letters.end());
        return letters;
    }
    std::string take() { return std::move(text_); }

  private:
    const Asked &asked_;
    std::string text_;
};

void tell_one(Answer &answer, const History::Groups &groups, const Standing &one) {
    const std::string &group = groups.names[one.group];
    if (!group.empty()) answer.line("  on {}", visible(group));
    if (one.failing) {
        answer.line("    failing since  {}  ({} in a row)", run_text(answer.run(one.first_bad), group),
                    plural(one.in_a_row, "run"));
        if (one.last_good == kNoRun)
            answer.line("    last good      never");
        else
            answer.line("    last good      {}", run_text(answer.run(one.last_good), group));
        answer.headline("    now            ", one.last, one.subject);
    } else {
        answer.line("    good, last in  {}", run_text(answer.run(one.last), group));
        if (one.last_bad != kNoRun) {
            answer.line("    last failed    {}", run_text(answer.run(one.last_bad), group));
            answer.headline("                   ", one.last_bad, one.subject);
        }
    }
    answer.line("    how often      {} of {} failed", one.bad, plural(one.ran, "run"));
    answer.line("    lately         {}", answer.lately(groups.of_run, one.group, one.subject));
}

const char *heading(Difference::Kind kind) {
    switch (kind) {
        case Difference::Kind::only_b_fails:
            return "Fails only in the second";
        case Difference::Kind::only_a_fails:
            return "Fails only in the first";
        case Difference::Kind::fails_more:
            return "Fails more often in the second";
        case Difference::Kind::fails_less:
            return "Fails more often in the first";
        case Difference::Kind::slower:
            return "Slower in the second";
        case Difference::Kind::faster:
            return "Slower in the first";
        case Difference::Kind::only_in_a:
            return "Ran only in the first";
        case Difference::Kind::only_in_b:
            return "Ran only in the second";
    }
    return "";
}

}  // namespace

std::string time_text(int64_t nanoseconds) {
    kiv::reports::Clock clock;
    clock.start("1970-01-01T00:00:00Z");
    std::string text;
    clock.append_to_second(text, std::chrono::nanoseconds(nanoseconds));
    std::replace(text.begin(), text.end(), 'T', ' ');
    return text;
}

std::string tell_standings(const Asked &asked, const History::Groups &groups,
                           const std::vector<Standing> &found, bool all) {
    Answer answer(asked);
    size_t failing = 0, cases = 0;
    uint32_t before = UINT32_MAX;
    std::vector<const Standing *> told;
    for (const Standing &one : found) {
        if (!answer.wanted(one.subject)) continue;
        if (one.subject != before && asked.history.subjects[one.subject].is_case()) ++cases;
        before = one.subject;
        failing += one.failing ? 1 : 0;
        if (all || one.failing) told.push_back(&one);
    }
    // What broke last stands first.
    if (!all)
        std::stable_sort(told.begin(), told.end(),
                         [](const Standing *a, const Standing *b) { return a->first_bad > b->first_bad; });
    if (asked.json) {
        for (const Standing *const one : told) {
            JsonLine json = answer.about(one->subject);
            json.text("On", groups.names[one->group]).flag("Failing", one->failing);
            json.number("Ran", one->ran).number("Failed", one->bad);
            if (one->failing) json.number("InARow", one->in_a_row);
            answer.put_run(json, one->failing ? "FailingSince" : "FailedFrom", one->first_bad);
            answer.put_run(json, "LastFailed", one->last_bad);
            answer.put_run(json, "LastGood", one->last_good);
            if (one->last_bad != kNoRun)
                json.text("Headline", asked.history.headline(answer.run(one->last_bad), one->subject));
            answer.json(json);
        }
        return answer.take();
    }
    const std::vector<Run> &runs = asked.history.runs;
    if (!all)
        answer.line("{} from {} to {} UTC, {}, {} failing{}", plural(runs.size(), "run"),
                    time_text(runs.front().started), time_text(runs.back().started), plural(cases, "case"),
                    failing, failing != 0 ? ":" : "");
    before = UINT32_MAX;
    for (const Standing *const one : told) {
        if (one->subject != before) answer.line("{}", answer.shown(one->subject));
        before = one->subject;
        tell_one(answer, groups, *one);
    }
    return answer.take();
}

std::string tell_flaky(const Asked &asked, const std::vector<Flaky> &found) {
    Answer answer(asked);
    size_t count = 0;
    for (const Flaky &one : found) {
        if (!answer.wanted(one.subject)) continue;
        ++count;
        if (asked.json) {
            JsonLine json = answer.about(one.subject);
            json.share("Score", one.score).number("Changes", one.changes).number("Repeats", one.pairs);
            answer.put_run(json, "LastChange", one.last);
            answer.json(json);
        } else {
            answer.line("{:.2f}  {}\n      {} of verdict in {} with the same labels, the last in {}",
                        one.score, answer.shown(one.subject), plural(one.changes, "change"),
                        plural(one.pairs, "repeat"), run_text(answer.run(one.last)));
        }
    }
    if (!asked.json) answer.line("{} flaky", plural(count, "case"));
    return answer.take();
}

std::string tell_fresh(const Asked &asked, const std::vector<Fresh> &found) {
    Answer answer(asked);
    size_t count = 0;
    for (const Fresh &one : found) {
        if (!answer.wanted(one.subject)) continue;
        ++count;
        if (asked.json) {
            JsonLine json = answer.about(one.subject);
            answer.put_run(json, "Run", one.run);
            json.number("RanBefore", one.ran_before);
            json.text("Headline", asked.history.headline(answer.run(one.run), one.subject));
            answer.json(json);
        } else {
            answer.line("{}", answer.shown(one.subject));
            answer.line("    {}", run_text(answer.run(one.run)));
            answer.headline("    ", one.run, one.subject);
            answer.line("    {}", one.ran_before == 0
                                      ? "it never ran before"
                                      : fmt::format("good in {} before", plural(one.ran_before, "run")));
        }
    }
    if (!asked.json) answer.line("{} newly failing", plural(count, "case"));
    return answer.take();
}

std::string tell_slower(const Asked &asked, const History::Groups &groups, const std::vector<Slower> &found) {
    Answer answer(asked);
    size_t count = 0;
    for (const Slower &one : found) {
        if (!answer.wanted(one.subject)) continue;
        ++count;
        const std::string &group = groups.names[one.group];
        if (asked.json) {
            JsonLine json = answer.about(one.subject);
            json.text("On", group)
                .seconds("Before", one.before)
                .seconds("After", one.after)
                .seconds("Noise", one.noise);
            json.number("RunsBefore", one.runs_before).number("RunsAfter", one.runs_after);
            answer.put_run(json, "Since", one.since);
            answer.put_run(json, "LastBefore", one.last_before);
            answer.json(json);
        } else {
            answer.line("{}", answer.shown(one.subject));
            if (!group.empty()) answer.line("    on      {}", visible(group));
            answer.line("    {} -> {} (x {:.2f}), noise {}; {} before, {} since", seconds_text(one.before),
                        seconds_text(one.after), one.before > 0 ? one.after / one.before : INFINITY,
                        seconds_text(one.noise), plural(one.runs_before, "run"),
                        plural(one.runs_after, "run"));
            answer.line("    since   {}", run_text(answer.run(one.since), group));
            answer.line("    before  {}", run_text(answer.run(one.last_before), group));
        }
    }
    if (!asked.json) answer.line("{} slower", plural(count, "case"));
    return answer.take();
}

std::string tell_differences(const Asked &asked, const std::vector<Difference> &found) {
    using Kind = Difference::Kind;
    Answer answer(asked);
    std::vector<const Difference *> told;
    for (const Difference &one : found)
        if (answer.wanted(one.subject)) told.push_back(&one);
    for (size_t i = 0; i < told.size(); ++i) {
        const Difference &one = *told[i];
        if (asked.json) {
            JsonLine json = answer.about(one.subject);
            json.text("Difference", heading(one.kind));
            json.number("RanInFirst", one.a.ran).number("FailedInFirst", one.a.bad);
            json.number("RanInSecond", one.b.ran).number("FailedInSecond", one.b.bad);
            if (one.a.seconds > 0 && one.b.seconds > 0)
                json.seconds("FirstSeconds", one.a.seconds).seconds("SecondSeconds", one.b.seconds);
            const Difference::Side &side = one.b.bad != 0 ? one.b : one.a;
            if (side.bad != 0)
                json.text("Headline", asked.history.headline(answer.run(side.last_bad), one.subject));
            answer.json(json);
            continue;
        }
        if (i == 0 || told[i - 1]->kind != one.kind)
            answer.line("{} ({}):", heading(one.kind),
                        std::count_if(told.begin(), told.end(),
                                      [&](const auto *other) { return other->kind == one.kind; }));
        if (one.kind == Kind::slower || one.kind == Kind::faster)
            answer.line("  {}: {} -> {}", answer.shown(one.subject), seconds_text(one.a.seconds),
                        seconds_text(one.b.seconds));
        else if (one.kind == Kind::only_in_a || one.kind == Kind::only_in_b)
            answer.line("  {}", answer.shown(one.subject));
        else
            answer.line("  {}: {} of {} -> {} of {}", answer.shown(one.subject), one.a.bad, one.a.ran,
                        one.b.bad, one.b.ran);
        if (one.kind == Kind::only_b_fails || one.kind == Kind::fails_more)
            answer.headline("    ", one.b.last_bad, one.subject);
        if (one.kind == Kind::only_a_fails || one.kind == Kind::fails_less)
            answer.headline("    ", one.a.last_bad, one.subject);
    }
    if (!asked.json) answer.line("{} different", plural(told.size(), "case"));
    return answer.take();
}

std::string tell_runs(const Asked &asked) {
    Answer answer(asked);
    for (const Run &run : asked.history.runs) {
        size_t ran = 0, bad = 0;
        asked.history.outcomes(run, [&](uint32_t subject, bool is_bad) {
            if (!answer.wanted(subject) || (!is_bad && !asked.history.subjects[subject].is_case())) return;
            ++ran;
            bad += is_bad ? 1 : 0;
        });
        if (asked.json) {
            JsonLine json;
            json.raw("Run", run_json(run))
                .text("Program", run.program)
                .number("Ran", ran)
                .number("Failed", bad);
            answer.json(json);
            continue;
        }
        std::string circumstances;
        for (const auto &[name, value] : run.labels)
            if (is_circumstance(name)) circumstances += "  " + name + "=" + visible(value);
        answer.line("{}{}\n    {} of {} failed", run_text(run), circumstances, bad, plural(ran, "case"));
    }
    if (!asked.json) answer.line("{}", plural(asked.history.runs.size(), "run"));
    return answer.take();
}

}  // namespace kivctl::history
