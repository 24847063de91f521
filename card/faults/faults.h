// Applies fault rules to the calls of a process, and keeps count of them for the process that supervises it.
#ifndef CARD_FAULTS_FAULTS_H
#define CARD_FAULTS_FAULTS_H

#include <absl/functional/function_ref.h>

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "card/boundary/backend.h"
#include "card/boundary/operation.h"
#include "card/faults/fields.h"
#include "card/faults/rule.h"

namespace card::faults {

// A call that ended, for who looks for calls to fault.
struct Seen {
    OperationId operation{};
    u64 call = 0;                     // of the operation, from 1, in this process
    u64 result = 0;                   // the status, where it answers one
    u64 asked = 0;                    // how many it is about; 0: it does not say
    std::vector<std::string> answer;  // paths of the fields that it answered with
};

// Where a rule fired.
struct Place {
    std::string name;
    u32 times;
};

class Faults {
  public:
    // Counts live in memory that this process shares with those it forks afterwards. False, with *error set,
    // when there is none.
    bool share(std::vector<Rule> rules, std::string *error);

    const std::vector<Rule> &rules() const { return rules_; }

    // What runs from now on in this process: "folder/case".
    void runs(std::string_view place) { place_ = place; }
    // From now on told of each call.
    void watch(std::function<void(const Seen &)> watcher) { watcher_ = std::move(watcher); }

    // Counts over all processes.
    u64 fitting(size_t rule) const;
    u64 fired(size_t rule) const;
    // The first places, in order; times elsewhere are those that this list leaves out.
    std::vector<Place> places(size_t rule, u64 *elsewhere) const;

    // Carries a call out: `pass` asks the card with the words. What the operation returns, as a word.
    u64 carry(OperationId operation, Words words, absl::FunctionRef<u64(Words)> pass);

  private:
    struct Shared;

    bool applies(const Rule &rule, const std::vector<Area> &areas) const;
    void fires(size_t rule);
    u64 suffer(OperationId operation, const std::vector<const Rule *> &rules, Words words,
               absl::FunctionRef<u64(Words)> pass);
    u64 watched(OperationId operation, Words words, absl::FunctionRef<u64(Words)> pass);

    std::vector<Rule> rules_;
    std::shared_ptr<Shared[]> shared_;
    std::string place_;
    std::function<void(const Seen &)> watcher_;
    u64 calls_[kOperationCount] = {};
};

// The backend in front of `behind` that carries every call out by the process's faults, which are not owned.
void set_process_faults(Faults *faults);
const Backend &in_front_of(const Backend &behind);

}  // namespace card::faults

#endif
