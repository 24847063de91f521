// Whether a call is the one that was recorded: field by field, with handles and addresses by what they stand
// for.
#ifndef TRACE_REPLAY_COMPARE_H
#define TRACE_REPLAY_COMPARE_H

#include <absl/container/flat_hash_map.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "trace/call.h"
#include "trace/naming.h"

namespace trace {

// Which handle of the trace is which of this run. A replay hands out what was recorded; another value stands
// for one of the trace that this run did not get, the client of another pass for example.
class SameHandles {
  public:
    // Of this run, when it has its answer.
    void learn(const Call &live) { names_.learn(live); }
    void clear();

    // `bind`: a value of the trace without one of this run has that one from now on.
    bool same(prm_handle_kind kind, uint64_t recorded, uint64_t live, bool bind);
    // The value of this run.
    uint64_t of_this_run(prm_handle_kind kind, uint64_t recorded) const;
    bool all_the_same() const { return others_.empty(); }
    const Naming &names() const { return names_; }

  private:
    bool is_handed_out(prm_handle_kind kind, uint64_t value) const;

    Naming names_;
    absl::flat_hash_map<std::pair<prm_handle_kind, uint64_t>, uint64_t> others_;
};

// Whether two calls of one operation ask the same. `differences`, unless null, gets each as
// "record.bd_id: 7, trace 8", and handles are bound.
bool asks_the_same(const Call &live, const Call &recorded, SameHandles *handles,
                   std::vector<std::string> *differences);

// The block of the call at the same place; null when it has none.
const Memory *same_block(const Call &call, const Memory &memory);

}  // namespace trace

#endif
