// Runs of a made-up plan, as results and as event streams, for tests of histories.
#ifndef TESTS_KIVCTL_HISTORY_RUNS_H
#define TESTS_KIVCTL_HISTORY_RUNS_H

#include <chrono>
#include <string>
#include <vector>

#include "kiv/reports/recorded_run.h"
#include "kivctl/history/history.h"
#include "kivctl/history/store.h"
#include "tests/kiv/temporary.h"

namespace kivctl::history::test {

struct Play {
    std::string folder, name;
    kiv::Verdict verdict = kiv::Verdict::passed;
    double milliseconds = 20;
};

// A run that began so many days after 2026-01-01.
kiv::reports::RecordedRun run_of(int day, const std::vector<Play> &plays);

// A history in a directory of its own.
class Kept {
  public:
    std::string path() const { return directory_.path("history.db"); }
    Database open() const { return Database::to_write(path(), std::chrono::milliseconds(0)); }
    void add(const kiv::reports::RecordedRun &run, const Labels &labels = {});
    const kiv_test::TemporaryDirectory &directory() const { return directory_; }

  private:
    kiv_test::TemporaryDirectory directory_;
};

// The results of one case, a letter a day: "." passed, "F" failed, "-" did not run, "," it has none.
void add_days(Kept &kept, const std::string &letters, const Labels &labels = {}, int first_day = 0,
              const std::string &name = "x");

}  // namespace kivctl::history::test

#endif
