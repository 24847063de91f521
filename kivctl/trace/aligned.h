// Two series of calls held against each other: which call of one is which of the other, and what differs
// between them once what the platform handed out is taken for the same.
#ifndef KIVCTL_TRACE_ALIGNED_H
#define KIVCTL_TRACE_ALIGNED_H

#include <absl/container/flat_hash_map.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace kivctl {

class TraceFile;

// A call, kept until its counterpart is known.
struct KeptCall {
    struct Field {
        std::string path, text;
        bool answered = false;
    };
    uint64_t sequence = 0;
    std::string operation;
    std::string line;
    std::string shape;  // the line without the numbers of handles: what calls are aligned by
    std::vector<Field> fields;
};
// The call that the file stands at.
KeptCall keep_call(TraceFile &file, std::string line);

// Names of the second trace as names of the first: the hand-outs of calls that are each other's counterpart.
class HandleMap {
  public:
    bool empty() const { return names_.empty(); }
    // Names without a place are of this one from now on; what was handed out in an earlier stay is gone.
    void enter(std::string_view place);
    void match(std::string_view before, std::string_view after);
    // What only the second trace has is like nothing of the first.
    void alone(std::string_view after);
    // The text with each name replaced by its counterpart's.
    std::string translated(std::string_view text) const;

  private:
    std::string qualified(std::string_view name) const;

    std::string place_;
    absl::flat_hash_map<std::string, std::string> names_;
};

// "nh#3", "ldi#2+1@set-up": whether the text is one name of something handed out.
bool is_handle_name(std::string_view text);
// Without the numbers of such names.
std::string without_handle_numbers(std::string_view text);

struct FieldChange {
    std::string path, before, after;
};
// What differs between two calls of one operation; learns what both were handed.
std::vector<FieldChange> changes_between(const KeptCall &before, const KeptCall &after, HandleMap *handles);

// What becomes of the calls at the front of two series.
enum class Step : uint8_t { both, before_alone, after_alone };
// Up to and with the next pair that looks the same, or all that is there; never none unless both are empty.
std::vector<Step> next_steps(const std::deque<KeptCall> &before, const std::deque<KeptCall> &after);

}  // namespace kivctl

#endif
