// Passes on what a worker tells as long as a worker can have told it: a case may have written over the memory
// that it comes through.
#ifndef KIV_SUPERVISE_SOUND_JOURNAL_H
#define KIV_SUPERVISE_SOUND_JOURNAL_H

#include <vector>

#include "kiv/journal/journal.h"
#include "kiv/select/schedule.h"

namespace kiv {

class SoundJournal : public Journal {
  public:
    SoundJournal(const Schedule &schedule, Journal &journal) : schedule_(schedule), journal_(journal) {}

    // A worker begins with the case at `from`.
    void restart(uint64_t from);
    // Times beyond this one are looked at twice.
    void set_now(int64_t now) { now_ = now; }
    // False from the first event on that no worker tells; nothing is passed on then.
    bool is_sound() const { return sound_; }
    // The counts of the running item as they stand in the worker's memory, or those that were told if they
    // cannot be right.
    Counters believable(const Counters &counters, int64_t time) const;

    void group_begins(uint64_t position, uint32_t count) override;
    void group_ended() override;
    void fixture_begins(uint32_t folder, bool set_up, int64_t time) override;
    void fixture_ended(int64_t time, const Counters &counters) override;
    void case_begins(uint64_t position, int64_t time) override;
    void case_ended(int64_t time, const Counters &counters) override;
    void failed_check(const CheckView &check) override;
    void failed_call(const FailedCall &call) override;
    void status_checked(uint32_t status) override;
    void text(Printed kind, std::string_view text) override;
    void sent(std::string_view bytes, bool last) override;
    void reads_input(std::string_view source, uint32_t lines) override;
    void note(std::string_view text) override;
    void done() override;
    bool go_on() override;

  private:
    enum class Item { none, fixture, test };

    bool is_between() const { return item_ == Item::none && !done_; }
    bool expect(bool sound);
    bool comes_after(int64_t time);
    bool counts_fit(const Counters &counters, int64_t time) const;

    const Schedule &schedule_;
    Journal &journal_;
    bool sound_ = true, done_ = false;
    Item item_ = Item::none;
    uint64_t next_ = 0, group_end_ = 0;
    uint64_t failed_ = 0;  // checks of the item that were told
    int64_t last_ = 0, now_ = 0;
    int64_t began_ = 0;             // the item
    std::vector<uint32_t> set_up_;  // folders, outermost first
};

}  // namespace kiv

#endif
