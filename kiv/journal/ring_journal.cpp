// The journal as records in a ring.
#include "kiv/journal/ring_journal.h"

#include <sched.h>
#include <time.h>
#include <unwind.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string>
#include <type_traits>

namespace kiv {

namespace {

// The wire format. A record is a header, the fixed part of its type, and the texts whose sizes end that part,
// one after the other; what is left up to a multiple of 8 means nothing. Both ends are one program: numbers
// lie as the machine has them. kRecords below is the table of all types.
struct RecordHeader {
    uint32_t size;  // of the whole record, the header included
    uint32_t type;
};
static_assert(sizeof(RecordHeader) == 8);

struct GroupBegins {
    static constexpr uint32_t kType = 1, kTexts = 0;
    uint64_t position;
    uint64_t count;
};

struct GroupEnded {
    static constexpr uint32_t kType = 2, kTexts = 0;
};

struct FixtureBegins {
    static constexpr uint32_t kType = 3, kTexts = 0;
    int64_t time;
    uint32_t folder;
    uint32_t set_up;  // else tear-down
};

struct FixtureEnded {
    static constexpr uint32_t kType = 4, kTexts = 0;
    int64_t time;
    Counters counters;
};

struct CaseBegins {
    static constexpr uint32_t kType = 5, kTexts = 0;
    uint64_t position;
    int64_t time;
};

struct CaseEnded {
    static constexpr uint32_t kType = 6, kTexts = 0;
    int64_t time;
    Counters counters;
};

struct FailedCheck {
    static constexpr uint32_t kType = 7, kTexts = std::size(CheckView::kTexts);
    uint32_t is_condition;
    uint32_t status, expected;
    int32_t line;
    uint32_t number_low, number_high;
    uint32_t sizes[kTexts];  // in the order of CheckView::kTexts
};

struct Text {
    static constexpr uint32_t kType = 8, kTexts = 1;
    uint32_t kind;  // Printed
    uint32_t sizes[kTexts];
};

struct ReadsInput {
    static constexpr uint32_t kType = 9, kTexts = 1;
    uint32_t lines;
    uint32_t sizes[kTexts];  // source
};

struct Note {
    static constexpr uint32_t kType = 10, kTexts = 1;
    uint32_t sizes[kTexts];
};

struct Done {
    static constexpr uint32_t kType = 11, kTexts = 0;
};

// The writer waits until RingControl::answered has counted it.
struct Question {
    static constexpr uint32_t kType = 12, kTexts = 0;
};

struct CallFailed {
    static constexpr uint32_t kType = 13, kTexts = std::size(FailedCall::kTexts);
    uint32_t code;
    uint32_t sizes[kTexts];  // in the order of FailedCall::kTexts
};

struct StatusChecked {
    static constexpr uint32_t kType = 14, kTexts = 0;
    uint32_t status;
};

struct Sent {
    static constexpr uint32_t kType = 15, kTexts = 1;
    uint32_t last;
    uint32_t sizes[kTexts];
};

template <typename Fixed>
constexpr size_t fixed_size() {
    return std::is_empty_v<Fixed> ? 0 : sizeof(Fixed);
}

struct RecordFormat {
    uint32_t type;
    size_t fixed;    // bytes
    uint32_t texts;  // their sizes are the last numbers of the fixed part
};

template <typename Fixed, size_t size>
constexpr RecordFormat format() {
    static_assert(fixed_size<Fixed>() == size && std::is_trivially_copyable_v<Fixed>);
    if constexpr (Fixed::kTexts > 0)
        static_assert(offsetof(Fixed, sizes) == size - Fixed::kTexts * sizeof(uint32_t));
    return {Fixed::kType, size, Fixed::kTexts};
}

constexpr RecordFormat kRecords[] = {
    format<GroupBegins, 16>(),    //
    format<GroupEnded, 0>(),      //
    format<FixtureBegins, 16>(),  //
    format<FixtureEnded, 24>(),   //
    format<CaseBegins, 16>(),     //
    format<CaseEnded, 24>(),      //
    format<FailedCheck, 44>(),    //
    format<Text, 8>(),            //
    format<ReadsInput, 8>(),      //
    format<Note, 4>(),            //
    format<Done, 0>(),            //
    format<Question, 0>(),        //
    format<CallFailed, 16>(),     //
    format<StatusChecked, 4>(),   //
    format<Sent, 8>(),            //
};

constexpr bool in_order_of_type() {
    for (uint32_t i = 0; i < std::size(kRecords); ++i)
        if (kRecords[i].type != i + 1) return false;
    return true;
}
static_assert(in_order_of_type());

constexpr size_t kLongestText = size_t{64} * 1024;  // of one record; longer texts take several
constexpr size_t kLongestCheckText = 4096;
constexpr size_t kLongestCallText = 256;

constexpr size_t padded(size_t size) {
    return (size + 7) & ~size_t{7};
}

thread_local char this_thread;

}  // namespace

// Finds out whether this thread is in the middle of a record: a signal handler may have jumped out of it.
class Writers {
  public:
    // Looks for one of the functions that write a record further up the stack.
    static bool at_it() {
        Search search;
        const _Unwind_Reason_Code end = _Unwind_Backtrace(look, &search);
        return search.found || (end != _URC_END_OF_STACK && end != _URC_NO_REASON);
    }

  private:
    struct Search {
        bool first_passed = false;  // the writer that asks
        bool found = false;
    };

    template <typename... Fixed>
    struct Of {
        static constexpr size_t kCount = sizeof...(Fixed);
        static bool has(uintptr_t begin) {
            return ((begin == reinterpret_cast<uintptr_t>(&RingJournal::write<Fixed>)) || ...);
        }
    };
    using All = Of<GroupBegins, GroupEnded, FixtureBegins, FixtureEnded, CaseBegins, CaseEnded, FailedCheck,
                   Text, ReadsInput, Note, Done, Question, CallFailed, StatusChecked, Sent>;
    static_assert(All::kCount == std::size(kRecords));

    static _Unwind_Reason_Code look(_Unwind_Context *context, void *argument) {
        Search &search = *static_cast<Search *>(argument);
        if (!All::has(_Unwind_GetRegionStart(context))) return _URC_NO_REASON;
        if (search.first_passed) search.found = true;
        search.first_passed = true;
        return _URC_NO_REASON;
    }
};

// Several threads of a case may print. A signal handler that prints while its thread is at it loses its print
// rather than spoil the ring; one that jumps out of a print leaves a record that was never told, whose place
// the next one takes.
class RingJournal::Guard {
  public:
    explicit Guard(RingJournal &journal) : journal_(journal) {
        const void *nobody = nullptr;
        while (!journal_.writing_.compare_exchange_weak(nobody, &this_thread, std::memory_order_acquire)) {
            if (nobody == &this_thread) {
                mine_ = !Writers::at_it();
                if (!mine_) journal_.lost_.fetch_add(1, std::memory_order_relaxed);
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

#ifdef __clang__
#define KIV_ITS_OWN_FUNCTION __attribute__((noinline))
#else
#define KIV_ITS_OWN_FUNCTION __attribute__((noinline, noclone))
#endif

template <typename Fixed>
KIV_ITS_OWN_FUNCTION void RingJournal::write(RingJournal &journal, Fixed fixed,
                                             std::span<const std::string_view> texts) {
    Ring &ring = journal.ring_;
    const Guard guard(journal);
    if (!guard.mine()) return;
    size_t size = sizeof(RecordHeader) + fixed_size<Fixed>();
    if constexpr (Fixed::kTexts > 0) {
        uint32_t *text_size = fixed.sizes;
        for (const std::string_view text : texts) {
            *text_size++ = static_cast<uint32_t>(text.size());
            size += text.size();
        }
    }
    size = padded(size);
    char *at = ring.reserve(size);
    const RecordHeader header{static_cast<uint32_t>(size), Fixed::kType};
    memcpy(at, &header, sizeof header);
    at += sizeof header;
    memcpy(at, &fixed, fixed_size<Fixed>());
    at += fixed_size<Fixed>();
    for (const std::string_view text : texts) at = std::copy(text.begin(), text.end(), at);
    ring.publish(size);
}

void RingJournal::between_items() {
    if (writing_.load(std::memory_order_relaxed) == &this_thread)
        writing_.store(nullptr, std::memory_order_release);
}

void RingJournal::tell_lost_prints() {
    const uint32_t lost = lost_.exchange(0, std::memory_order_relaxed);
    if (lost == 0) return;
    text(Printed::direct, "\n[" + std::to_string(lost) + (lost == 1 ? " print" : " prints") +
                              " of signal handlers are missing: each came in the middle of another]\n");
}

void RingJournal::group_begins(uint64_t position, uint32_t count) {
    between_items();
    put(GroupBegins{position, count});
}

void RingJournal::group_ended() {
    between_items();
    put(GroupEnded{});
}

void RingJournal::fixture_begins(uint32_t folder, bool set_up, int64_t time) {
    between_items();
    put(FixtureBegins{time, folder, set_up});
}

void RingJournal::fixture_ended(int64_t time, const Counters &counters) {
    between_items();
    if (lost_.load(std::memory_order_relaxed) != 0) tell_lost_prints();
    put(FixtureEnded{time, counters});
}

void RingJournal::case_begins(uint64_t position, int64_t time) {
    between_items();
    put(CaseBegins{position, time});
}

void RingJournal::case_ended(int64_t time, const Counters &counters) {
    between_items();
    if (lost_.load(std::memory_order_relaxed) != 0) tell_lost_prints();
    put(CaseEnded{time, counters});
}

namespace {

// A text that may be too long: then its begin, marked, in `cut`.
std::string_view at_most(size_t longest, std::string_view text, std::string *cut) {
    if (text.size() <= longest) return text;
    const std::string mark = "... [cut: " + std::to_string(text.size()) + " bytes]";
    size_t kept = longest - std::min(longest, mark.size());
    while (kept > 0 && (static_cast<uint8_t>(text[kept]) & 0xC0) == 0x80) --kept;  // no half characters
    cut->assign(text, 0, kept).append(mark);
    return *cut;
}

}  // namespace

void RingJournal::failed_check(const CheckView &check) {
    std::string_view texts[FailedCheck::kTexts];
    std::string cut[FailedCheck::kTexts];
    for (size_t i = 0; i < std::size(texts); ++i)
        texts[i] = at_most(kLongestCheckText, check.*CheckView::kTexts[i], &cut[i]);
    put(FailedCheck{check.is_condition,
                    check.status,
                    check.expected,
                    check.line,
                    static_cast<uint32_t>(check.number),
                    static_cast<uint32_t>(check.number >> 32),
                    {}},
        texts);
}

void RingJournal::failed_call(const FailedCall &call) {
    std::string_view texts[CallFailed::kTexts];
    std::string cut[CallFailed::kTexts];
    for (size_t i = 0; i < std::size(texts); ++i)
        texts[i] = at_most(kLongestCallText, call.*FailedCall::kTexts[i], &cut[i]);
    put(CallFailed{call.code, {}}, texts);
}

void RingJournal::status_checked(uint32_t status) {
    put(StatusChecked{status});
}

void RingJournal::text(Printed kind, std::string_view text) {
    put_text(Text{static_cast<uint32_t>(kind), {}}, text.substr(0, kLongestText));
    // The later pieces of a long print are no prints of their own.
    for (size_t at = kLongestText; at < text.size(); at += kLongestText)
        put_text(Text{static_cast<uint32_t>(Printed::direct), {}}, text.substr(at, kLongestText));
}

void RingJournal::sent(std::string_view bytes, bool last) {
    for (; bytes.size() > kLongestText; bytes.remove_prefix(kLongestText))
        put_text(Sent{false, {}}, bytes.substr(0, kLongestText));
    put_text(Sent{last, {}}, bytes);
}

void RingJournal::reads_input(std::string_view source, uint32_t lines) {
    put_text(ReadsInput{lines, {}}, source.substr(0, kLongestText));
}

void RingJournal::note(std::string_view text) {
    std::string cut;
    put_text(Note{}, at_most(kLongestText, text, &cut));
}

void RingJournal::done() {
    between_items();
    put(Done{});
}

bool RingJournal::go_on() {
    between_items();
    put(Question{});
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

// The only text of a record.
template <typename Fixed>
std::string_view text_of(const Fixed &fixed, const char *payload) {
    return {payload + sizeof fixed, fixed.sizes[0]};
}

bool is_sound(const RecordHeader &header, const char *payload, size_t available) {
    if (header.size < sizeof header || header.size > available || header.size % 8 != 0) return false;
    if (header.type == 0 || header.type > std::size(kRecords)) return false;
    const RecordFormat &format = kRecords[header.type - 1];
    const uint64_t room = header.size - sizeof header;
    uint64_t used = format.fixed;
    if (used > room) return false;
    const char *size_at = payload + format.fixed - format.texts * sizeof(uint32_t);
    for (uint32_t i = 0; i < format.texts; ++i, size_at += sizeof(uint32_t))
        used += fixed_part<uint32_t>(size_at);
    return used <= room;
}

bool is_in_bounds(const RecordHeader &header, const char *payload, const RecordBounds &bounds) {
    switch (header.type) {
        case GroupBegins::kType: {
            const auto begins = fixed_part<GroupBegins>(payload);
            return begins.position < bounds.positions && begins.count <= bounds.positions - begins.position;
        }
        case FixtureBegins::kType:
            return fixed_part<FixtureBegins>(payload).folder < bounds.folders;
        case CaseBegins::kType:
            return fixed_part<CaseBegins>(payload).position < bounds.positions;
        default:
            return true;
    }
}

void replay_check(const char *payload, Journal &journal) {
    const auto fixed = fixed_part<FailedCheck>(payload);
    CheckView check;
    check.is_condition = fixed.is_condition != 0;
    check.status = fixed.status;
    check.expected = fixed.expected;
    check.line = fixed.line;
    check.number = fixed.number_low | uint64_t{fixed.number_high} << 32;
    const char *at = payload + sizeof fixed;
    for (size_t i = 0; i < FailedCheck::kTexts; ++i) {
        check.*CheckView::kTexts[i] = {at, fixed.sizes[i]};
        at += fixed.sizes[i];
    }
    journal.failed_check(check);
}

void replay_call(const char *payload, Journal &journal) {
    const auto fixed = fixed_part<CallFailed>(payload);
    FailedCall call;
    call.code = fixed.code;
    const char *at = payload + sizeof fixed;
    for (size_t i = 0; i < CallFailed::kTexts; ++i) {
        call.*FailedCall::kTexts[i] = {at, fixed.sizes[i]};
        at += fixed.sizes[i];
    }
    journal.failed_call(call);
}

void replay_record(const RecordHeader &header, const char *payload, Ring &ring, Journal &journal) {
    switch (header.type) {
        case GroupBegins::kType: {
            const auto begins = fixed_part<GroupBegins>(payload);
            journal.group_begins(begins.position, static_cast<uint32_t>(begins.count));
            break;
        }
        case GroupEnded::kType:
            journal.group_ended();
            break;
        case FixtureBegins::kType: {
            const auto begins = fixed_part<FixtureBegins>(payload);
            journal.fixture_begins(begins.folder, begins.set_up != 0, begins.time);
            break;
        }
        case FixtureEnded::kType: {
            const auto ended = fixed_part<FixtureEnded>(payload);
            journal.fixture_ended(ended.time, ended.counters);
            break;
        }
        case CaseBegins::kType: {
            const auto begins = fixed_part<CaseBegins>(payload);
            journal.case_begins(begins.position, begins.time);
            break;
        }
        case CaseEnded::kType: {
            const auto ended = fixed_part<CaseEnded>(payload);
            journal.case_ended(ended.time, ended.counters);
            break;
        }
        case FailedCheck::kType:
            replay_check(payload, journal);
            break;
        case Text::kType: {
            const auto text = fixed_part<Text>(payload);
            journal.text(static_cast<Printed>(text.kind), text_of(text, payload));
            break;
        }
        case ReadsInput::kType: {
            const auto reads = fixed_part<ReadsInput>(payload);
            journal.reads_input(text_of(reads, payload), reads.lines);
            break;
        }
        case Note::kType:
            journal.note(text_of(fixed_part<Note>(payload), payload));
            break;
        case CallFailed::kType:
            replay_call(payload, journal);
            break;
        case StatusChecked::kType:
            journal.status_checked(fixed_part<StatusChecked>(payload).status);
            break;
        case Sent::kType: {
            const auto sent = fixed_part<Sent>(payload);
            journal.sent(text_of(sent, payload), sent.last != 0);
            break;
        }
        case Done::kType:
            journal.done();
            break;
        case Question::kType:
            ring.answer(journal.go_on());
            break;
        default:
            break;
    }
}

}  // namespace

size_t replay_ring(Ring &ring, Journal &journal, const RecordBounds &bounds, size_t limit, bool *damaged) {
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
        while (used < size && used < size_t{32} * 1024) {
            RecordHeader header;
            memcpy(&header, at + used, sizeof header);
            const char *payload = at + used + sizeof header;
            if (!is_sound(header, payload, size - used) || !is_in_bounds(header, payload, bounds)) {
                *damaged = true;
                return total + used;
            }
            replay_record(header, payload, ring, journal);
            used += header.size;
        }
        ring.consume(used);
        total += used;
    }
    return total;
}

}  // namespace kiv
