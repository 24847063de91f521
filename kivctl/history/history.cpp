// A history in memory.
#include "kivctl/history/history.h"

#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <unordered_map>

#include "kiv/reports/time.h"
#include "kivctl/history/schema.h"

namespace kivctl::history {
namespace {

bool are_verdicts(std::string_view letters) {
    bool known[256] = {};
    for (const char letter : kVerdictLetters) known[static_cast<uint8_t>(letter)] = true;
    return std::all_of(letters.begin(), letters.end(),
                       [&](char letter) { return known[static_cast<uint8_t>(letter)]; });
}

}  // namespace

bool has_labels(const Run &run, const Labels &labels) {
    return std::all_of(labels.begin(), labels.end(),
                       [&](const auto &label) { return run.label(label.first) == label.second; });
}

std::string Subject::shown() const {
    if (is_case()) return folder + "/" + name;
    return is_worker() ? kind : kind + " of " + folder;
}

std::string_view Run::label(std::string_view name) const {
    for (const auto &[known, value] : labels)
        if (known == name) return value;
    return {};
}

bool parse_since(const std::string &text, int64_t now, int64_t *since) {
    constexpr int64_t kHour = 3600 * int64_t{1000000000};
    if (!text.empty() && (text.back() == 'd' || text.back() == 'h')) {
        int64_t count = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size() - 1, count);
        if (error != std::errc() || end != text.data() + text.size() - 1 || count < 0 || count > 100000)
            return false;
        *since = now - count * (text.back() == 'd' ? 24 * kHour : kHour);
        return true;
    }
    return kiv::reports::parse_time(text, since) || kiv::reports::parse_time(text + "T00:00:00Z", since);
}

void parse_numbers(std::string_view text, std::vector<int64_t> *numbers) {
    numbers->clear();
    for (const char *at = text.data(), *const end = at + text.size(); at < end;) {
        int64_t number = 0;
        const auto [after, error] = std::from_chars(at, end, number);
        if (error == std::errc()) numbers->push_back(number);
        at = after < end ? after + 1 : end;
    }
}

History::History(Database &database, const Filter &filter)
    : database_(database),
      find_durations_(database, "SELECT nanoseconds FROM duration WHERE run = ?"),
      find_failures_(
          database,
          "SELECT position, headline, details, output FROM failure WHERE run = ? ORDER BY position"),
      find_text_(database, "SELECT content FROM text WHERE id = ?") {
    // One state of the file, whoever adds to it meanwhile.
    database_.execute("BEGIN");
    read_subjects();
    read_runs(filter);
    database_.execute("COMMIT");
}

void History::read_subjects() {
    std::unordered_map<int64_t, uint32_t> index;
    Statement statement(database_, "SELECT id, kind, folder, name, description FROM subject ORDER BY id");
    while (statement.step()) {
        index[statement.number(0)] = static_cast<uint32_t>(subjects.size());
        subjects.push_back({std::string(statement.text(1)), std::string(statement.text(2)),
                            std::string(statement.text(3)), std::string(statement.text(4))});
        if (subjects.back().is_worker()) worker_ = static_cast<uint32_t>(subjects.size() - 1);
    }
    Statement all(database_, "SELECT id, subjects FROM lineup ORDER BY id");
    std::vector<int64_t> numbers;
    while (all.step()) {
        parse_numbers(all.text(1), &numbers);
        lineup_of_[all.number(0)] = lineups.size();
        lineups.emplace_back();
        for (const int64_t number : numbers) {
            const auto found = index.find(number);
            if (found == index.end())
                throw DatabaseError("the history is damaged: a line-up names no subject");
            lineups.back().push_back(found->second);
        }
    }
}

void History::read_runs(const Filter &filter) {
    Statement statement(
        database_, "SELECT id, started, program, lineup, verdicts FROM run WHERE started >= ? ORDER BY id");
    statement.bind(filter.since.value_or(INT64_MIN));
    while (statement.step()) {
        Run run;
        run.id = statement.number(0);
        run.started = statement.number(1);
        run.program = statement.text(2);
        run.verdicts = statement.text(4);
        const auto lineup = lineup_of_.find(statement.number(3));
        if (lineup == lineup_of_.end() || lineups[lineup->second].size() != run.verdicts.size() ||
            !are_verdicts(run.verdicts))
            throw DatabaseError("the history is damaged: run " + std::to_string(run.id) +
                                " does not fit its line-up");
        run.lineup = lineup->second;
        runs.push_back(std::move(run));
    }
    // In the same order as the runs.
    Statement labels(database_, "SELECT run, name, value FROM label ORDER BY run, name");
    size_t at = 0;
    while (labels.step()) {
        const int64_t id = labels.number(0);
        while (at < runs.size() && runs[at].id < id) ++at;
        if (at < runs.size() && runs[at].id == id)
            runs[at].labels.emplace_back(labels.text(1), labels.text(2));
    }
    std::erase_if(runs, [&](const Run &run) { return !has_labels(run, filter.where); });
    std::stable_sort(runs.begin(), runs.end(),
                     [](const Run &a, const Run &b) { return a.started < b.started; });
    if (filter.runs != 0 && runs.size() > filter.runs)
        runs.erase(runs.begin(), runs.end() - static_cast<std::ptrdiff_t>(filter.runs));
}

std::string History::durations_text(const Run &run) const {
    find_durations_.bind(run.id);
    std::string text = find_durations_.step() ? std::string(find_durations_.text(0)) : "[]";
    find_durations_.reset();
    return text;
}

std::vector<int64_t> History::durations(const Run &run) const {
    std::vector<int64_t> numbers;
    parse_numbers(durations_text(run), &numbers);
    numbers.resize(run.verdicts.size());
    return numbers;
}

std::vector<History::Failure> History::failures(const Run &run) const {
    std::vector<Failure> found;
    find_failures_.bind(run.id);
    while (find_failures_.step())
        found.push_back({static_cast<size_t>(find_failures_.number(0)), find_failures_.number(1),
                         find_failures_.number(2), find_failures_.number(3)});
    find_failures_.reset();
    return found;
}

std::string History::text(int64_t id) const {
    find_text_.bind(id);
    std::string text = find_text_.step() ? std::string(find_text_.text(0)) : "";
    find_text_.reset();
    return text;
}

std::string History::headline(const Run &run, uint32_t subject) const {
    const std::vector<uint32_t> &lineup = lineups[run.lineup];
    for (const Failure &failure : failures(run)) {
        if (failure.position >= lineup.size() || lineup[failure.position] != subject) continue;
        const size_t letter = kVerdictLetters.find(run.verdicts[failure.position]);
        const std::string word = kiv::verdict_text(static_cast<kiv::Verdict>(letter)),
                          why = text(failure.headline);
        return why.empty() || why == word ? word : word + ": " + why;
    }
    return "";
}

History::Groups History::groups(const std::vector<std::string> &names) const {
    Groups groups;
    std::unordered_map<std::string, uint32_t> known;
    std::string key;
    for (const Run &run : runs) {
        key.clear();
        const auto add = [&](std::string_view name, std::string_view value) {
            if (value.empty()) return;
            if (!key.empty()) key += ' ';
            key.append(name).append(1, '=').append(value);
        };
        if (names.empty()) {
            for (const auto &[name, value] : run.labels)
                if (!is_circumstance(name)) add(name, value);
        } else {
            for (const std::string &name : names) add(name, run.label(name));
        }
        const auto [found, is_new] = known.try_emplace(key, static_cast<uint32_t>(groups.names.size()));
        if (is_new) groups.names.push_back(key);
        groups.of_run.push_back(found->second);
    }
    return groups;
}

std::vector<uint32_t> History::select(const std::vector<std::string> &patterns) const {
    std::vector<uint32_t> found;
    const auto fits = [](const Subject &subject, const std::string &pattern) {
        const std::string shown = subject.shown();
        return fnmatch(pattern.c_str(), shown.c_str(), 0) == 0 ||
               (subject.is_case() && fnmatch(pattern.c_str(), subject.name.c_str(), 0) == 0) ||
               subject.folder == pattern || subject.folder.starts_with(pattern + "/");
    };
    for (uint32_t i = 0; i < subjects.size(); ++i)
        if (patterns.empty() ||
            std::any_of(patterns.begin(), patterns.end(),
                        [&](const std::string &pattern) { return fits(subjects[i], pattern); }))
            found.push_back(i);
    return found;
}

}  // namespace kivctl::history
