// Puts the results of runs into a history.
#include "kivctl/history/store.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <vector>

#include "kiv/reports/escape.h"
#include "kiv/reports/time.h"
#include "kiv/reports/wording.h"
#include "kivctl/history/schema.h"

namespace kivctl::history {
namespace {

using kiv::reports::append_number;
using kiv::reports::RecordedRun;

// Bytes of a failure's details, and of the end of its output, that are kept.
constexpr size_t kLongestText = 16384;

// FNV-1a, 64 bits: the same in every release.
class Digest {
  public:
    void add(std::string_view text) {
        for (const char c : text) value_ = (value_ ^ static_cast<uint8_t>(c)) * 0x100000001b3;
        add(text.size());
    }
    void add(uint64_t number) {
        for (int i = 0; i < 64; i += 8) value_ = (value_ ^ (number >> i & 0xff)) * 0x100000001b3;
    }
    int64_t value() const { return static_cast<int64_t>(value_); }

  private:
    uint64_t value_ = 0xcbf29ce484222325;
};

// A result, whether of a case or of a fixture.
struct Entry {
    int64_t subject = 0;
    kiv::Verdict verdict = kiv::Verdict::passed;
    std::chrono::nanoseconds duration{0};
    const kiv::CaseResult *result = nullptr;  // one of the two
    const kiv::FixtureResult *fixture = nullptr;
};

int64_t identity_of(const RecordedRun &run) {
    Digest digest;
    for (const std::string *const text : {&run.info.program, &run.info.host, &run.info.site, &run.info.card,
                                          &run.info.version, &run.info.disk0, &run.info.started_at})
        digest.add(*text);
    for (const std::string &argument : run.info.arguments) digest.add(argument);
    digest.add(static_cast<uint64_t>(run.info.shard_index));
    digest.add(static_cast<uint64_t>(run.info.shard_count));
    for (const kiv::CaseResult *const result : run.cases()) {
        digest.add(result->folder);
        digest.add(result->name);
        digest.add(static_cast<uint64_t>(result->verdict));
        digest.add(static_cast<uint64_t>(result->duration.count()));
        digest.add(result->checks);
        digest.add(result->failed_checks);
        digest.add(result->output);
    }
    return digest.value();
}

// The beginning of a text that is too long.
std::string head_of(std::string text) {
    if (text.size() <= kLongestText) return text;
    const std::string more = "[... " + std::to_string(text.size() - kLongestText) + " more bytes]\n";
    return text.substr(0, kLongestText) + more;
}

std::string tail_of(const std::string &text) {
    if (text.size() <= kLongestText) return text;
    const size_t cut = text.size() - kLongestText;
    return "[" + std::to_string(cut) + " bytes before this ...]\n" + text.substr(cut);
}

std::string list_text(const std::vector<Entry> &entries, auto member) {
    std::string text = "[";
    for (const Entry &entry : entries) {
        if (text.size() > 1) text += ',';
        append_number(text, static_cast<uint64_t>(member(entry)));
    }
    return text + "]";
}

}  // namespace

std::string unfit(const RecordedRun &run) {
    int64_t time = 0;
    if (!run.complete)
        return "the run did not tell of its end (kivctl report --json makes results of it that do)";
    if (!kiv::reports::parse_time(run.info.started_at, &time))
        return "Time: the run does not tell when it began";
    return run.contradiction();
}

struct Store::Parts {
    explicit Parts(Database &of) : database(of) {}

    Database &database;
    Statement known{database, "SELECT id FROM run WHERE started = ? AND identity = ?"};
    Statement add_run{
        database, "INSERT INTO run (started, identity, program, lineup, verdicts) VALUES (?, ?, ?, ?, ?)"};
    Statement add_duration{database, "INSERT INTO duration VALUES (?, ?)"};
    Statement add_label{database, "INSERT OR REPLACE INTO label VALUES (?, ?, ?)"};
    Statement find_subject{database,
                           "SELECT id, description FROM subject WHERE folder = ? AND name = ? AND kind = ?"};
    Statement add_subject{database,
                          "INSERT INTO subject (kind, folder, name, description) VALUES (?, ?, ?, ?)"};
    Statement describe{database, "UPDATE subject SET description = ? WHERE id = ?"};
    Statement find_lineup{database, "SELECT id FROM lineup WHERE subjects = ?"};
    Statement add_lineup{database, "INSERT INTO lineup (subjects) VALUES (?)"};
    Statement find_text{database, "SELECT id, content FROM text WHERE digest = ?"};
    Statement add_text{database, "INSERT INTO text (digest, content) VALUES (?, ?)"};
    Statement add_failure{database, "INSERT INTO failure VALUES (?, ?, ?, ?, ?)"};

    struct Known {
        int64_t id;
        std::string description;
    };
    std::unordered_map<std::string, Known> subjects;  // by folder, name and kind
    std::unordered_map<std::string, int64_t> lineups;

    int64_t subject(std::string_view kind, const std::string &folder, const std::string &name,
                    const std::string &description) {
        std::string key = folder;
        key.append(1, '\0').append(name).append(1, '\0').append(kind);
        auto found = subjects.find(key);
        if (found == subjects.end()) {
            find_subject.bind(folder, name, kind);
            Known known{0, description};
            if (find_subject.step()) {
                known = {find_subject.number(0), std::string(find_subject.text(1))};
            } else {
                add_subject.bind(kind, folder, name, description).run();
                known.id = database.last_row();
            }
            find_subject.reset();
            found = subjects.emplace(std::move(key), std::move(known)).first;
        }
        if (!description.empty() && found->second.description != description) {
            describe.bind(description, found->second.id).run();
            found->second.description = description;
        }
        return found->second.id;
    }

    int64_t lineup(const std::string &subjects_text) {
        const auto [found, is_new] = lineups.try_emplace(subjects_text, 0);
        if (!is_new) return found->second;
        find_lineup.bind(subjects_text);
        if (find_lineup.step()) {
            found->second = find_lineup.number(0);
        } else {
            add_lineup.bind(subjects_text).run();
            found->second = database.last_row();
        }
        find_lineup.reset();
        return found->second;
    }

    int64_t text(const std::string &content) {
        Digest digest;
        digest.add(content);
        int64_t id = 0;
        find_text.bind(digest.value());
        while (id == 0 && find_text.step())
            if (find_text.text(1) == content) id = find_text.number(0);
        find_text.reset();
        if (id != 0) return id;
        add_text.bind(digest.value(), content).run();
        return database.last_row();
    }

    std::vector<Entry> entries_of(const RecordedRun &run) {
        std::vector<Entry> entries;
        for (const auto &event : run.events) {
            Entry entry;
            if (const auto *const result = std::get_if<kiv::CaseResult>(&event)) {
                entry.result = result;
                entry.verdict = result->verdict;
                entry.duration = result->duration;
                entry.subject = subject("case", result->folder, result->name, result->description);
            } else if (const auto *const fixture = std::get_if<kiv::FixtureResult>(&event)) {
                entry.fixture = fixture;
                entry.verdict = fixture->ran ? fixture->verdict : kiv::Verdict::not_run;
                entry.duration = fixture->duration;
                entry.subject = subject(fixture->kind(), fixture->folder, "", "");
            } else {
                continue;
            }
            entries.push_back(entry);
        }
        // Shuffled or not, the nights of one plan have one line-up.
        std::stable_sort(entries.begin(), entries.end(),
                         [](const Entry &a, const Entry &b) { return a.subject < b.subject; });
        return entries;
    }

    void add_failure_of(int64_t run, int64_t position, const Entry &entry) {
        using namespace kiv::reports;
        const kiv::CaseResult *const result = entry.result;
        const int64_t headline_text = text(result != nullptr ? headline(*result) : headline(*entry.fixture));
        const int64_t details_text =
            text(head_of(result != nullptr ? details(*result) : details(*entry.fixture)));
        const int64_t output = text(tail_of(result != nullptr ? result->output : entry.fixture->output));
        add_failure.bind(run, position, headline_text, details_text, output).run();
    }

    Outcome add(const RecordedRun &run, const Labels &found, const Labels &given) {
        int64_t started = 0;
        kiv::reports::parse_time(run.info.started_at, &started);
        const int64_t identity = identity_of(run);
        known.bind(started, identity);
        if (known.step()) {
            const int64_t id = known.number(0);
            known.reset();
            for (const auto &[name, value] : given) add_label.bind(id, name, value).run();
            return Outcome::known;
        }
        known.reset();
        const std::vector<Entry> entries = entries_of(run);
        const int64_t entered = lineup(list_text(entries, [](const Entry &entry) { return entry.subject; }));
        std::string verdicts;
        for (const Entry &entry : entries) verdicts += verdict_letter(entry.verdict);
        add_run.bind(started, identity, run.info.program, entered, verdicts).run();
        const int64_t id = database.last_row();
        const std::string durations = list_text(
            entries, [](const Entry &entry) { return std::max<int64_t>(entry.duration.count(), 0); });
        add_duration.bind(id, durations).run();
        Labels labels = given;
        labels.insert(found.begin(), found.end());
        for (const auto &[name, value] : labels) add_label.bind(id, name, value).run();
        for (size_t i = 0; i < entries.size(); ++i)
            if (!verdict_is_good(entries[i].verdict) && entries[i].verdict != kiv::Verdict::not_run)
                add_failure_of(id, static_cast<int64_t>(i), entries[i]);
        return Outcome::added;
    }
};

Store::Store(Database &database) : parts_(std::make_unique<Parts>(database)) {}
Store::~Store() = default;

Store::Outcome Store::add(const RecordedRun &run, const Labels &found, const Labels &given) {
    try {
        Transaction transaction(parts_->database);
        const Outcome outcome = parts_->add(run, found, given);
        transaction.commit();
        return outcome;
    } catch (...) {
        // What was rolled back must not be remembered.
        parts_->subjects.clear();
        parts_->lineups.clear();
        throw;
    }
}

}  // namespace kivctl::history
