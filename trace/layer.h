// The layer that sees every call on its way to what answers it.
#ifndef TRACE_LAYER_H
#define TRACE_LAYER_H

#include "card/boundary/backend.h"
#include "trace/entry.h"

namespace trace {

// Told of every call, on the thread that makes it.
class CallWatcher {
  public:
    virtual ~CallWatcher() = default;
    // What the watcher needs of a call until it returns; lies on the caller's stack.
    struct Passing;
    virtual void begins(card::OperationId operation, const uint64_t *arguments, Passing &passing) = 0;
    virtual void returned(uint64_t result, Passing &passing) = 0;
};

// Who is told from now on; null: nobody, and calls pass at the price of a comparison.
void watch_calls(CallWatcher *watcher);

// For card::put_in_front.
const card::Backend &recording_in_front_of(const card::Backend &behind);

}  // namespace trace

#endif
