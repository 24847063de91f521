// Where the prints, checks and notes of the running case go.
#include "kiv/worker/live.h"

#include <pthread.h>
#include <unistd.h>

#include "kiv/files.h"
#include "kiv/observers.h"

namespace kiv {

namespace {

Journal *note_taker = nullptr;
Counters nobody;  // counts what no run counts

// A child that a case forks shares no journal with its parent: two processes would write one. It prints to
// the descriptors, which the run collects.
void forked_child() {
    if (live.journal == nullptr) return;
    live.journal = nullptr;
    live.counters = &nobody;
    live.in_child = true;
}

}  // namespace

Live live{.journal = nullptr, .counters = &nobody};

void go_live(Journal *journal, Counters *counters) {
    static const int registered = pthread_atfork(nullptr, nullptr, forked_child);
    (void)registered;
    live.journal = journal;
    live.counters = counters ? counters : &nobody;
    live.watched_checks = live.watched_prints = false;
    begin_item();
}

void heed_observers() {
    unsigned interests = 0;
    for (Observer *observer : observers()) interests |= observer->interests();
    live.watched_checks = interests & Observer::kChecks;
    live.watched_prints = interests & Observer::kPrints;
    begin_item();
}

void begin_item() {
    live.call_failed = false;
    live.heeds_passed = live.watched_checks;
}

void live_print(std::string_view text) {
    if (text.empty()) return;
    if (live.journal == nullptr) {
        write_all(STDOUT_FILENO, text);
        return;
    }
    live.journal->text(Printed::print, text);
    if (!live.watched_prints) return;
    for (Observer *observer : observers())
        if (observer->interests() & Observer::kPrints) observer->print(text);
}

void call_failed(std::string_view operation, uint32_t code, std::string_view code_name) {
    if (live.journal == nullptr) return;
    live.call_failed = live.heeds_passed = true;
    live.failed_code = code;
    live.journal->failed_call({code, operation, code_name, status_text(code)});
}

void send(std::string_view bytes) {
    if (live.journal != nullptr) live.journal->sent(bytes, true);
}

void show(std::string_view line) {
    if (note_taker != nullptr) note_taker->show(line);
}

Tally tally() {
    return {live.counters->checks, live.counters->failed};
}

Journal *take_notes(Journal *journal) {
    Journal *const before = note_taker;
    note_taker = journal;
    return before;
}

void add_note(std::string_view text) {
    if (note_taker != nullptr && !live.in_child) note_taker->note(text);
}

}  // namespace kiv
