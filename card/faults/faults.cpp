// What happens to calls by fault rules: see faults.h.
#include "card/faults/faults.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <new>

#include "cerr.h"

namespace card::faults {
namespace {

constexpr size_t kPlaces = 8;
constexpr size_t kPlaceName = 200;

void wait(std::chrono::nanoseconds time) {
    timespec left = {static_cast<time_t>(time.count() / 1'000'000'000),
                     static_cast<long>(time.count() % 1'000'000'000)};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

[[noreturn]] void hang() {
    while (true) pause();
}

// Whatever the worker does with the signal, it ends it.
[[noreturn]] void die(int number) {
    signal(number, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, number);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    raise(number);
    raise(SIGKILL);
    _exit(1);
}

void put(const Area &area, size_t offset, std::vector<u8> bytes) {
    if (offset >= area.bytes.size()) return;
    bytes.resize(std::min(bytes.size(), area.bytes.size() - offset));
    write_to(area, offset, bytes);
}

// The field with the mask's bits turned over, counted from its lowest.
std::vector<u8> flipped(const FieldValue &value, u64 mask) {
    std::vector<u8> bytes(value.bytes.begin(), value.bytes.end());
    for (size_t i = 0; i < bytes.size() && i < sizeof mask; ++i) {
        const size_t at = value.field.order == PRM_LITTLE_ENDIAN ? i : bytes.size() - 1 - i;
        bytes[at] ^= static_cast<u8>(mask >> 8 * i);
    }
    return bytes;
}

void change_answer(const Change &change, const std::vector<Area> &answer) {
    if (change.kind == Change::BYTES) {
        const auto area =
            std::find_if(answer.begin(), answer.end(), [](const Area &one) { return one.answers; });
        if (area != answer.end()) put(*area, change.offset, change.bytes);
        return;
    }
    for (const Area &area : answer) {
        if (!area.answers) continue;
        area.each([&](const FieldValue &value) {
            if (!means(change.field, value.path)) return;
            if (change.kind == Change::FLIP) {
                put(area, value.offset, flipped(value, change.mask));
            } else if (auto bytes = encoded(value.field, value.bytes.size(), change.value)) {
                put(area, value.offset, std::move(*bytes));
            }
        });
    }
}

bool same(const FieldValue &value, const std::string &wanted) {
    if (text(value) == wanted) return true;
    const auto bytes = encoded(value.field, value.bytes.size(), wanted);
    return bytes && std::equal(bytes->begin(), bytes->end(), value.bytes.begin(), value.bytes.end());
}

// What the call says of how many, made less while the card is asked.
class Shortened {
  public:
    Shortened(const std::vector<Area> &areas, u64 fewer, Words words) {
        const std::optional<Count> count = count_in(areas);
        if (!count || count->value <= fewer) return;
        const Area &area = areas[count->area];
        const u64 less = count->value - fewer;
        if (area.address == 0) {
            words[area.parameter] = less;
            return;
        }
        const auto *const begin = reinterpret_cast<const u8 *>(&less);
        if (!write_to(area, count->offset, {begin, count->width}) || area.number) return;
        // The caller's record stays as it was; a number that is handed over by itself is the answer.
        restored_ = area;
        offset_ = count->offset;
        width_ = count->width;
    }
    ~Shortened() {
        if (width_ != 0) write_to(restored_, offset_, {restored_.bytes.data() + offset_, width_});
    }
    Shortened(const Shortened &) = delete;
    Shortened &operator=(const Shortened &) = delete;

  private:
    Area restored_;
    size_t offset_ = 0, width_ = 0;
};

}  // namespace

// Of one rule.
struct Faults::Shared {
    std::atomic<u64> fitting{0}, fired{0}, elsewhere{0};
    struct {
        std::atomic<u32> times{0};  // 0: unused
        char name[kPlaceName] = {};
    } places[kPlaces];
};

bool Faults::share(std::vector<Rule> rules, std::string *error) {
    const size_t size = std::max<size_t>(1, rules.size()) * sizeof(Shared);
    void *const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        *error = std::string("no memory to share with the workers: ") + strerror(errno);
        return false;
    }
    Shared *const shared = static_cast<Shared *>(memory);
    for (size_t i = 0; i < rules.size(); ++i) new (&shared[i]) Shared;
    shared_ = std::shared_ptr<Shared[]>(shared, [size](Shared *at) { munmap(at, size); });
    rules_ = std::move(rules);
    return true;
}

u64 Faults::fitting(size_t rule) const {
    return shared_[rule].fitting;
}

u64 Faults::fired(size_t rule) const {
    return shared_[rule].fired;
}

std::vector<Place> Faults::places(size_t rule, u64 *elsewhere) const {
    std::vector<Place> places;
    for (const auto &place : shared_[rule].places)
        if (const u32 times = place.times; times != 0)
            places.push_back({std::string(place.name, strnlen(place.name, kPlaceName)), times});
    *elsewhere = shared_[rule].elsewhere;
    return places;
}

void Faults::fires(size_t rule) {
    Shared &shared = shared_[rule];
    ++shared.fired;
    const std::string_view name = std::string_view(place_).substr(0, kPlaceName - 1);
    for (auto &place : shared.places) {
        if (place.times == 0) name.copy(place.name, name.size());
        if (place.name != name) continue;
        ++place.times;
        return;
    }
    ++shared.elsewhere;
}

bool Faults::applies(const Rule &rule, const std::vector<Area> &areas) const {
    for (const Condition &condition : rule.conditions) {
        bool found = false;
        for (const Area &area : areas)
            area.each([&](const FieldValue &value) {
                found = found || (means(condition.field, value.path) && same(value, condition.value));
            });
        if (found == condition.differs) return false;
    }
    if (rule.fewer == 0) return true;
    const std::optional<Count> count = count_in(areas);
    return count && count->value > rule.fewer;
}

u64 Faults::carry(OperationId operation, Words words, absl::FunctionRef<u64(Words)> pass) {
    std::vector<const Rule *> firing;
    std::optional<std::vector<Area>> areas;
    for (size_t i = 0; i < rules_.size(); ++i) {
        const Rule &rule = rules_[i];
        if (!rule.operations[static_cast<size_t>(operation)]) continue;
        if (!rule.conditions.empty() || rule.fewer != 0) {
            if (!areas) areas = areas_of(operation, words, false);
            if (!applies(rule, *areas)) continue;
        }
        if (!rule.which.chooses(++shared_[i].fitting)) continue;
        fires(i);
        firing.push_back(&rule);
    }
    if (!watcher_ && firing.empty()) return pass(words);
    const auto suffered = [&](Words changed) {
        return firing.empty() ? pass(changed) : suffer(operation, firing, changed, pass);
    };
    return watcher_ ? watched(operation, words, suffered) : suffered(words);
}

u64 Faults::suffer(OperationId operation, const std::vector<const Rule *> &rules, Words words,
                   absl::FunctionRef<u64(Words)> pass) {
    std::optional<prm_status_t> status, failed;
    u64 fewer = 0;
    bool changes = false;
    for (const Rule *const rule : rules) {
        if (rule->delay.count() != 0) wait(rule->delay);
        if (rule->hangs) hang();
        if (rule->signal != 0) die(rule->signal);
        if (rule->status) status = rule->status;
        if (rule->failed) failed = rule->failed;
        fewer += rule->fewer;
        changes = changes || !rule->changes.empty();
    }
    u64 result = 0;
    if (status) {
        result = *status;
    } else if (fewer != 0) {
        const Shortened shortened(areas_of(operation, words, false), fewer, words);
        result = pass(words);
    } else {
        result = pass(words);
    }
    if (changes) {
        for (const Rule *const rule : rules)
            for (const Change &change : rule->changes)
                change_answer(change, areas_of(operation, words, true));
    }
    return failed ? *failed : result;
}

u64 Faults::watched(OperationId operation, Words words, absl::FunctionRef<u64(Words)> pass) {
    Seen seen;
    seen.operation = operation;
    const std::vector<Area> before = areas_of(operation, words, false);
    if (const std::optional<Count> count = count_in(before)) seen.asked = count->value;
    const u64 asked[kMostArguments] = {words[0], words[1], words[2], words[3], words[4], words[5], words[6]};
    seen.result = pass(words);
    seen.call = ++calls_[static_cast<size_t>(operation)];
    for (const Area &area : areas_of(operation, std::span<const u64, kMostArguments>(asked), true)) {
        if (!area.answers) continue;
        const auto old = std::find_if(before.begin(), before.end(), [&](const Area &one) {
            return one.address == area.address && one.bytes.size() == area.bytes.size();
        });
        area.each([&](const FieldValue &value) {
            const bool changed =
                old != before.end() && !std::equal(value.bytes.begin(), value.bytes.end(),
                                                   old->bytes.begin() + static_cast<ptrdiff_t>(value.offset));
            if (!value.is_reserved() && !value.unused &&
                (changed || value.field.written || area.number || area.read_back))
                seen.answer.emplace_back(value.path);
        });
    }
    watcher_(seen);
    return seen.result;
}

}  // namespace card::faults
