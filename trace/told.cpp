// Puts the two entries of each call together: see told.h.
#include "trace/told.h"

#include <algorithm>

#include "trace/entry.h"

namespace trace {

Calls calls_in(std::string_view entries) {
    Calls found;
    Bytes bytes(reinterpret_cast<const uint8_t *>(entries.data()), entries.size());
    for (Bytes entry; !(entry = first_entry(bytes)).empty(); bytes = bytes.subspan(entry.size())) {
        const uint64_t sequence = sequence_of(entry);
        switch (head_of(entry).kind) {
            case EntryKind::call_begins: {
                // What was sent before its worker died may be in its memory as well.
                if (!found.calls.empty() && found.calls.back().sequence >= sequence) break;
                Call call;
                if (read_call_begins(entry, this_build(), &call)) found.calls.push_back(std::move(call));
                break;
            }
            case EntryKind::call_returns: {
                const auto begun = std::lower_bound(
                    found.calls.begin(), found.calls.end(), sequence,
                    [](const Call &call, uint64_t wanted) { return call.sequence < wanted; });
                if (begun != found.calls.end() && !begun->returned) read_call_returns(entry, &*begun);
                break;
            }
            case EntryKind::left_out: {
                Mark mark;
                if (read_mark(entry, &mark)) found.left_out += mark.number;
                break;
            }
            default:
                break;
        }
    }
    return found;
}

}  // namespace trace
