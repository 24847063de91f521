// The running case as the framework's print and check calls see it.
#ifndef KIV_WORKER_LIVE_H
#define KIV_WORKER_LIVE_H

#include <cstdint>
#include <string_view>

#include "kiv/journal/journal.h"

namespace kiv {

struct Live {
    Journal *journal = nullptr;    // null: no run, or a child that a case forked
    Counters *counters = nullptr;  // never null
    bool watched_checks = false;   // an observer wants every check
    bool watched_prints = false;
    bool in_child = false;
    bool call_failed = false;   // since the case or fixture began
    uint32_t failed_code = 0;   // of the last call that did
    bool heeds_passed = false;  // checks that pass matter: to an observer, or because of a call that failed
};

extern Live live;

// From now on prints and checks go to `journal`; to nobody when it is null. Observers are told of them from
// heed_observers on, which asks for their interests.
void go_live(Journal *journal, Counters *counters);
void heed_observers();

// A case or fixture begins: no call of it has failed.
void begin_item();

// Where add_note goes in this process from now on. Returns where it went before.
Journal *take_notes(Journal *journal);

// One print of the running case.
void live_print(std::string_view text);

}  // namespace kiv

#endif
