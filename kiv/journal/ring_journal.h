// The journal as records in a ring: the worker's end writes them, the supervising end reads them to another
// journal.
#ifndef KIV_JOURNAL_RING_JOURNAL_H
#define KIV_JOURNAL_RING_JOURNAL_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "kiv/journal/journal.h"
#include "kiv/journal/ring.h"

namespace kiv {

class RingJournal : public Journal {
  public:
    explicit RingJournal(Ring &ring) : ring_(ring) {}

    void make_room() override {
        between_items();
        ring_.reserve(Ring::kSize / 4);
    }
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
    class Guard;
    friend class Writers;
    template <typename Fixed>
    void put(const Fixed &fixed, std::span<const std::string_view> texts = {}) {
        write(*this, fixed, texts);
    }
    // A function of its own, whose place on the stack shows that it is at it.
    template <typename Fixed>
    static void write(RingJournal &journal, Fixed fixed, std::span<const std::string_view> texts);
    // Called by who runs the cases, whom no handler calls: nothing of this thread can be at it.
    void between_items();
    void tell_lost_prints();
    template <typename Fixed>
    void put_text(const Fixed &fixed, std::string_view text) {
        put(fixed, {&text, 1});
    }

    Ring &ring_;
    uint64_t questions_ = 0;
    std::atomic<const void *> writing_{nullptr};  // the thread that is at it
    std::atomic<uint32_t> lost_{0};               // prints of handlers that came while their thread was at it
};

// What the numbers of sound records stay below.
struct RecordBounds {
    uint64_t positions;
    uint32_t folders;
};

// Reads records from the ring into `journal` until it is empty, or for `limit` bytes. Returns the number of
// bytes. A question (go_on) is answered by `journal`. What a case may have written over the records by
// accident is found: *damaged is set, and nothing more can be read.
size_t replay_ring(Ring &ring, Journal &journal, const RecordBounds &bounds, size_t limit, bool *damaged);

}  // namespace kiv

#endif
