// What other observers of a run may ask of the one that records its calls.
#ifndef APP_TRACE_GLUE_H
#define APP_TRACE_GLUE_H

namespace app {

// Before the first worker begins: the entries (trace/entry.h) of every case and fixture are sent out of the
// worker, not only of those that are not good.
void want_every_call();

}  // namespace app

#endif
