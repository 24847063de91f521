// A history, or the part of it that is asked for, in memory: runs in the order in which they began, with
// their results.
#ifndef KIVCTL_HISTORY_HISTORY_H
#define KIVCTL_HISTORY_HISTORY_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kivctl/history/database.h"
#include "kivctl/history/labels.h"

namespace kivctl::history {

// A case or a fixture.
struct Subject {
    std::string kind, folder, name, description;

    bool is_case() const { return kind == "case"; }
    bool is_worker() const { return kind == "worker"; }
    std::string shown() const;  // "span/session/tc_x", "set-up of span", "worker"
};

struct Run {
    int64_t id = 0;
    int64_t started = 0;  // nanoseconds since 1970
    std::string program;
    size_t lineup = 0;                                        // of History::lineups
    std::string verdicts;                                     // a letter for each of the line-up
    std::vector<std::pair<std::string, std::string>> labels;  // by name

    std::string_view label(std::string_view name) const;  // empty when it has none
};

// Whether a run has all of these.
bool has_labels(const Run &run, const Labels &labels);

struct Filter {
    Labels where;                  // labels that a run must have
    std::optional<int64_t> since;  // nanoseconds since 1970
    size_t runs = 0;               // the last so many; 0: all
};

// A point in time ("2026-11-21", "2026-11-21T04:00:00Z") or how long ago ("30d", "12h"). False when it is
// neither.
bool parse_since(const std::string &text, int64_t now, int64_t *since);

class History {
  public:
    History(Database &database, const Filter &filter);

    std::vector<Subject> subjects;
    std::vector<std::vector<uint32_t>> lineups;  // each a list of subjects, ascending
    std::vector<Run> runs;

    // Tells `tell(subject, bad)` of each case and fixture that ran, once a run: bad when any of its results
    // is. A worker that is not told of ended well.
    template <typename Tell>
    void outcomes(const Run &run, Tell tell) const {
        const std::vector<uint32_t> &lineup = lineups[run.lineup];
        bool worker_told = false;
        for (size_t i = 0; i < lineup.size();) {
            const uint32_t subject = lineup[i];
            bool ran = false, bad = false;
            for (; i < lineup.size() && lineup[i] == subject; ++i) {
                ran = ran || run.verdicts[i] != '-';
                bad = bad || is_bad(run.verdicts[i]);
            }
            worker_told = worker_told || subject == worker_;
            if (ran) tell(subject, bad);
        }
        if (worker_ != kNone && !worker_told) tell(worker_, false);
    }

    static bool is_bad(char verdict) { return verdict != 'p' && verdict != 'u' && verdict != '-'; }

    // Of a run, one for each of its line-up.
    std::vector<int64_t> durations(const Run &run) const;
    std::string durations_text(const Run &run) const;  // the same as a JSON list

    struct Failure {
        size_t position = 0;  // in the line-up
        int64_t headline = 0, details = 0, output = 0;
    };
    std::vector<Failure> failures(const Run &run) const;
    std::string text(int64_t id) const;
    // The first failure of a subject in a run: verdict and headline.
    std::string headline(const Run &run, uint32_t subject) const;

    // Groups the runs by the values of these labels; without names by all that are no circumstances. A number
    // for each run, and how each group is called: "card=lc1 site=lab".
    struct Groups {
        std::vector<uint32_t> of_run;
        std::vector<std::string> names;
    };
    Groups groups(const std::vector<std::string> &names) const;

    // Subjects that one of the patterns fits: folder/case, a folder, a case, with wildcards. All when there
    // is no pattern.
    std::vector<uint32_t> select(const std::vector<std::string> &patterns) const;

  private:
    static constexpr uint32_t kNone = UINT32_MAX;
    void read_subjects();
    void read_runs(const Filter &filter);

    Database &database_;
    mutable Statement find_durations_, find_failures_, find_text_;
    uint32_t worker_ = kNone;
    std::unordered_map<int64_t, size_t> lineup_of_;  // by number in the database
};

// The numbers of a JSON list of whole numbers.
void parse_numbers(std::string_view text, std::vector<int64_t> *numbers);

}  // namespace kivctl::history

#endif
