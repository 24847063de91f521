// Names for what the platform hands out: "nh#1", "ldi#2+1", "client#1@set-up". A value differs from card to
// card and from run to run; which hand-out it came from does not.
#ifndef TRACE_NAMING_H
#define TRACE_NAMING_H

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "trace/call.h"

namespace trace {

// Whether values of that kind are addresses in the process that made the calls: they are never shown as
// numbers.
constexpr bool is_address(prm_handle_kind kind) {
    return kind == PRM_HANDLE_EVENT_MANAGER || kind == PRM_HANDLE_CONNECTION || kind == PRM_HANDLE_CLIENT;
}

class Naming {
  public:
    // What is handed out from now on belongs to that place, a case for example. Counting starts anew in each;
    // in another place its name is followed by "@" and where it comes from. Names of an earlier stay are
    // gone.
    void enter(std::string_view place);
    // Forgets everything.
    void clear();

    // Takes in what the call hands out, and the addresses that it is given; once for each call, in order,
    // before the call is shown.
    void learn(const Call &call);

    // The name, or false where the value was not handed out by a call before: it then stands for itself.
    // Values that are addresses always have a name.
    bool append(std::string *out, prm_handle_kind kind, uint64_t value) const;

  private:
    // A block of values, `step` apart.
    struct Block {
        uint64_t last = 0, step = 1;
        uint32_t place = 0, number = 0;
    };
    struct Place {
        std::string name;
        uint32_t handed_out[256] = {};  // by kind
    };
    using Key = std::pair<prm_handle_kind, uint64_t>;

    const Block *find(prm_handle_kind kind, uint64_t value, uint64_t *first) const;
    void hand_out(prm_handle_kind kind, uint64_t first, uint64_t count, uint64_t step);
    void learn_answer(const Operation &operation, const Memory &memory, bool only_written);

    std::vector<Place> places_{1};
    absl::flat_hash_map<std::string, uint32_t> place_by_name_{{"", 0}};
    uint32_t here_ = 0;
    absl::btree_map<Key, Block> blocks_;  // by their first value; they do not overlap
};

// The word for a kind in names: "nh", "ldi", "client".
std::string_view short_name(prm_handle_kind kind);

// What a field of the operation's record names.
prm_handle_kind kind_in(const Operation &operation, prm_handle_kind kind);

}  // namespace trace

#endif
