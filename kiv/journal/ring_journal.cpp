// The journal as records in a ring.
#include "kiv/journal/ring_journal.h"

#include <sched.h>
#include <time.h>

#include <algorithm>
#include <cstring>

namespace kiv {

namespace {

enum RecordType : uint16_t {
    kGroupBegins = 1,
    kGroupEnded,
    kFixtureBegins,
    kFixtureEnded,
    kCaseBegins,
    kCaseEnded,
    kFailedCheck,
    kText,
    kReadsInput,
    kNote,
    kDone,
    kQuestion,
};

struct Begin {
    uint64_t what;  // position or folder
    int64_t time;   // or count
};

struct End {
    int64_t time;
    Counters counters;
};

constexpr size_t kCheckTexts = std::size(CheckView::kTexts);

struct CheckRecord {
    uint32_t status, expected;
    int32_t line;
    uint32_t sizes[kCheckTexts];  // of the texts that follow
};

struct TextRecord {
    uint32_t size, number;
};

constexpr size_t kLongestText = 64 * 1024;  // of one record; longer texts take several
constexpr size_t kLongestCheckText = 4096;

constexpr size_t padded(size_t size) {
    return (size + 7) & ~size_t{7};
}

thread_local char this_thread;

}  // namespace

// Several threads of a case may print. A signal handler that prints while its thread is at it loses its print
// rather than spoil the ring.
class RingJournal::Guard {
  public:
    explicit Guard(RingJournal &journal) : journal_(journal) {
        const void *nobody = nullptr;
        while (!journal_.writing_.compare_exchange_weak(nobody, &this_thread, std::memory_order_acquire)) {
            if (nobody == &this_thread) {
                mine_ = false;
                return;
            }
            if (nobody != nullptr) sched_yield();
            nobody = nullptr;
        }
    }
    ~Guard() {
        if (mine_) journal_.writing_.store(nullptr, std::memory_order_release);
    }
    bool mine() const { return mine_; }

  private:
    RingJournal &journal_;
    bool mine_ = true;
};

template <typename Fixed>
void RingJournal::put(uint16_t type, uint16_t detail, const Fixed &fixed) {
    const Guard guard(*this);
    if (!guard.mine()) return;
    constexpr size_t size = padded(sizeof(RecordHeader) + sizeof(Fixed));
    char *at = ring_.reserve(size);
    const RecordHeader header{static_cast<uint32_t>(size), type, detail};
    memcpy(at, &header, sizeof header);
    memcpy(at + sizeof header, &fixed, sizeof fixed);
    ring_.publish(size);
}

void RingJournal::put_text(uint16_t type, uint16_t detail, uint32_t number, std::string_view text) {
    const Guard guard(*this);
    if (!guard.mine()) return;
    const size_t size = padded(sizeof(RecordHeader) + sizeof(TextRecord) + text.size());
    char *at = ring_.reserve(size);
    const RecordHeader header{static_cast<uint32_t>(size), type, detail};
    const TextRecord fixed{static_cast<uint32_t>(text.size()), number};
    memcpy(at, &header, sizeof header);
    memcpy(at + sizeof header, &fixed, sizeof fixed);
    std::copy(text.begin(), text.end(), at + sizeof header + sizeof fixed);
    ring_.publish(size);
}

void RingJournal::group_begins(uint64_t position, uint32_t count) {
    put(kGroupBegins, 0, Begin{position, static_cast<int64_t>(count)});
}

void RingJournal::group_ended() {
    put(kGroupEnded, 0, Begin{});
}

void RingJournal::fixture_begins(uint32_t folder, bool set_up, int64_t time) {
    put(kFixtureBegins, set_up, Begin{folder, time});
}

void RingJournal::fixture_ended(int64_t time, const Counters &counters) {
    put(kFixtureEnded, 0, End{time, counters});
}

void RingJournal::case_begins(uint64_t position, int64_t time) {
    put(kCaseBegins, 0, Begin{position, time});
}

void RingJournal::case_ended(int64_t time, const Counters &counters) {
    put(kCaseEnded, 0, End{time, counters});
}

void RingJournal::failed_check(const CheckView &check) {
    const Guard guard(*this);
    if (!guard.mine()) return;
    CheckRecord fixed{check.status, check.expected, check.line, {}};
    size_t size = sizeof(RecordHeader) + sizeof fixed;
    for (size_t i = 0; i < kCheckTexts; ++i) {
        fixed.sizes[i] =
            static_cast<uint32_t>(std::min((check.*CheckView::kTexts[i]).size(), kLongestCheckText));
        size += fixed.sizes[i];
    }
    size = padded(size);
    char *at = ring_.reserve(size);
    const RecordHeader header{static_cast<uint32_t>(size), kFailedCheck, check.is_condition};
    memcpy(at, &header, sizeof header);
    at += sizeof header;
    memcpy(at, &fixed, sizeof fixed);
    at += sizeof fixed;
    for (size_t i = 0; i < kCheckTexts; ++i)
        at = std::copy_n((check.*CheckView::kTexts[i]).begin(), fixed.sizes[i], at);
    ring_.publish(size);
}

void RingJournal::text(Printed kind, std::string_view text) {
    // The later pieces of a long print are no prints of their own.
    put_text(kText, static_cast<uint16_t>(kind), 0, text.substr(0, kLongestText));
    for (size_t at = kLongestText; at < text.size(); at += kLongestText)
        put_text(kText, static_cast<uint16_t>(Printed::direct), 0, text.substr(at, kLongestText));
}

void RingJournal::reads_input(std::string_view source, uint32_t lines) {
    put_text(kReadsInput, 0, lines, source.substr(0, kLongestText));
}

void RingJournal::note(std::string_view text) {
    put_text(kNote, 0, 0, text.substr(0, kLongestText));
}

void RingJournal::done() {
    put(kDone, 0, Begin{});
}

bool RingJournal::go_on() {
    put(kQuestion, 0, Begin{});
    ++questions_;
    while (ring_.control().answered.load() < questions_) {
        const timespec pause{0, 20'000};
        nanosleep(&pause, nullptr);
    }
    return ring_.control().answer.load() != 0;
}

namespace {

template <typename Fixed>
Fixed fixed_part(const char *payload) {
    Fixed fixed;
    memcpy(&fixed, payload, sizeof fixed);
    return fixed;
}

bool is_sound(const RecordHeader &header, const char *payload, size_t available) {
    if (header.size < sizeof header + 8 || header.size > available || header.size % 8 != 0) return false;
    const uint64_t room = header.size - sizeof header;
    switch (header.type) {
        case kFixtureEnded:
        case kCaseEnded:
            return room >= sizeof(End);
        case kFailedCheck: {
            if (room < sizeof(CheckRecord)) return false;
            uint64_t used = sizeof(CheckRecord);
            for (const uint32_t size : fixed_part<CheckRecord>(payload).sizes) used += size;
            return used <= room;
        }
        case kText:
        case kReadsInput:
        case kNote:
            return sizeof(TextRecord) + uint64_t{fixed_part<TextRecord>(payload).size} <= room;
        default:
            return header.type >= kGroupBegins && header.type <= kQuestion && room >= sizeof(Begin);
    }
}

void replay_check(bool is_condition, const char *payload, Journal &journal) {
    const CheckRecord fixed = fixed_part<CheckRecord>(payload);
    CheckView check;
    check.is_condition = is_condition;
    check.status = fixed.status;
    check.expected = fixed.expected;
    check.line = fixed.line;
    payload += sizeof fixed;
    for (size_t i = 0; i < kCheckTexts; ++i) {
        check.*CheckView::kTexts[i] = {payload, fixed.sizes[i]};
        payload += fixed.sizes[i];
    }
    journal.failed_check(check);
}

void replay_record(const RecordHeader &header, const char *payload, Ring &ring, Journal &journal) {
    switch (header.type) {
        case kGroupBegins: {
            const Begin begin = fixed_part<Begin>(payload);
            journal.group_begins(begin.what, static_cast<uint32_t>(begin.time));
            break;
        }
        case kGroupEnded:
            journal.group_ended();
            break;
        case kFixtureBegins: {
            const Begin begin = fixed_part<Begin>(payload);
            journal.fixture_begins(static_cast<uint32_t>(begin.what), header.detail != 0, begin.time);
            break;
        }
        case kFixtureEnded: {
            const End end = fixed_part<End>(payload);
            journal.fixture_ended(end.time, end.counters);
            break;
        }
        case kCaseBegins: {
            const Begin begin = fixed_part<Begin>(payload);
            journal.case_begins(begin.what, begin.time);
            break;
        }
        case kCaseEnded: {
            const End end = fixed_part<End>(payload);
            journal.case_ended(end.time, end.counters);
            break;
        }
        case kFailedCheck:
            replay_check(header.detail != 0, payload, journal);
            break;
        case kText:
        case kReadsInput:
        case kNote: {
            const TextRecord fixed = fixed_part<TextRecord>(payload);
            const std::string_view text(payload + sizeof fixed, fixed.size);
            if (header.type == kText)
                journal.text(static_cast<Printed>(header.detail), text);
            else if (header.type == kNote)
                journal.note(text);
            else
                journal.reads_input(text, fixed.number);
            break;
        }
        case kDone:
            journal.done();
            break;
        case kQuestion:
            ring.control().answer.store(journal.go_on());
            ring.control().answered.fetch_add(1);
            break;
        default:
            break;
    }
}

}  // namespace

size_t replay_ring(Ring &ring, Journal &journal, size_t limit, bool *damaged) {
    size_t total = 0;
    while (total < limit) {
        size_t size;
        const char *at = ring.readable(&size);
        if (size == 0) break;
        if (size > Ring::kSize) {
            *damaged = true;
            break;
        }
        // Room is given back in portions: the writer need not wait until everything was read.
        size_t used = 0;
        while (used < size && used < 32 * 1024) {
            RecordHeader header;
            memcpy(&header, at + used, sizeof header);
            if (!is_sound(header, at + used + sizeof header, size - used)) {
                *damaged = true;
                return total + used;
            }
            replay_record(header, at + used + sizeof header, ring, journal);
            used += header.size;
        }
        ring.consume(used);
        total += used;
    }
    return total;
}

}  // namespace kiv
