// Puts the results of runs into a history.
#ifndef KIVCTL_HISTORY_STORE_H
#define KIVCTL_HISTORY_STORE_H

#include <memory>
#include <string>

#include "kiv/reports/recorded_run.h"
#include "kivctl/history/database.h"
#include "kivctl/history/labels.h"

namespace kivctl::history {

// Why a run cannot be stored: "FIELD: what is wrong", or that it did not end; empty when it can.
std::string unfit(const kiv::reports::RecordedRun &run);

class Store {
  public:
    // Both outlive the store.
    explicit Store(Database &database);
    ~Store();

    enum class Outcome { added, known };
    // One transaction. `found` are the labels that the run and its surroundings tell; `given` are those that
    // were asked for: they go before, and a run that is known takes them too.
    Outcome add(const kiv::reports::RecordedRun &run, const Labels &found, const Labels &given);

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace kivctl::history

#endif
