// Passes on what a worker tells as long as a worker can have told it.
#include "kiv/supervise/sound_journal.h"

#include <algorithm>

#include "kiv/files.h"

namespace kiv {

void SoundJournal::restart(uint64_t from) {
    sound_ = true;
    done_ = false;
    item_ = Item::none;
    next_ = group_end_ = from;
    failed_ = 0;
    last_ = began_ = now_ = now_ns();
    set_up_.clear();
}

bool SoundJournal::expect(bool sound) {
    sound_ = sound_ && sound;
    return sound_;
}

bool SoundJournal::comes_after(int64_t time) {
    if (time < last_) return false;
    if (time > now_ && time > (now_ = now_ns())) return false;
    last_ = time;
    return true;
}

// No check takes less than a nanosecond, and no thousand threads make them side by side.
bool SoundJournal::counts_fit(const Counters &counters, int64_t time) const {
    return counters.failed <= counters.checks && time >= began_ &&
           counters.checks / 1000 <= static_cast<uint64_t>(time - began_) + 1000;
}

// Threads that fail at the same moment may miss each other's count: what was told counts.
Counters SoundJournal::believable(const Counters &counters, int64_t time) const {
    if (!sound_ || !counts_fit(counters, time)) return {failed_, failed_};
    return {std::max(counters.checks, failed_), std::max(counters.failed, failed_)};
}

void SoundJournal::group_begins(uint64_t position, uint32_t count) {
    if (!expect(is_between() && position == next_ && position < schedule_.size() &&
                count == schedule_.group_at(position).count))
        return;
    group_end_ = position + count;
    journal_.group_begins(position, count);
}

void SoundJournal::group_ended() {
    if (expect(is_between())) journal_.group_ended();
}

void SoundJournal::fixture_begins(uint32_t folder, bool set_up, int64_t time) {
    const bool is_open = std::find(set_up_.begin(), set_up_.end(), folder) != set_up_.end();
    if (!expect(is_between() && folder < schedule_.context().folders.size() &&
                (set_up ? !is_open : !set_up_.empty() && set_up_.back() == folder) && comes_after(time)))
        return;
    if (set_up)
        set_up_.push_back(folder);
    else
        set_up_.pop_back();
    item_ = Item::fixture;
    began_ = time;
    failed_ = 0;
    journal_.fixture_begins(folder, set_up, time);
}

void SoundJournal::fixture_ended(int64_t time, const Counters &counters) {
    if (!expect(item_ == Item::fixture && comes_after(time) && counts_fit(counters, time))) return;
    item_ = Item::none;
    journal_.fixture_ended(time, believable(counters, time));
}

void SoundJournal::case_begins(uint64_t position, int64_t time) {
    if (!expect(is_between() && position == next_ && position < group_end_ && comes_after(time))) return;
    item_ = Item::test;
    ++next_;
    began_ = time;
    failed_ = 0;
    journal_.case_begins(position, time);
}

void SoundJournal::case_ended(int64_t time, const Counters &counters) {
    if (!expect(item_ == Item::test && comes_after(time) && counts_fit(counters, time))) return;
    item_ = Item::none;
    journal_.case_ended(time, believable(counters, time));
}

void SoundJournal::failed_check(const CheckView &check) {
    if (!expect(failed_ < kKeptFailures)) return;
    ++failed_;
    journal_.failed_check(check);
}

void SoundJournal::failed_call(const FailedCall &call) {
    if (expect(true)) journal_.failed_call(call);
}

void SoundJournal::status_checked(uint32_t status) {
    if (expect(true)) journal_.status_checked(status);
}

void SoundJournal::text(Printed kind, std::string_view text) {
    if (expect(kind == Printed::print || kind == Printed::direct)) journal_.text(kind, text);
}

void SoundJournal::sent(std::string_view bytes, bool last) {
    if (expect(true)) journal_.sent(bytes, last);
}

void SoundJournal::reads_input(std::string_view source, uint32_t lines) {
    if (expect(true)) journal_.reads_input(source, lines);
}

void SoundJournal::note(std::string_view text) {
    if (expect(true)) journal_.note(text);
}

void SoundJournal::done() {
    if (!expect(is_between() && set_up_.empty())) return;
    done_ = true;
    journal_.done();
}

bool SoundJournal::go_on() {
    return expect(is_between()) && journal_.go_on();
}

}  // namespace kiv
