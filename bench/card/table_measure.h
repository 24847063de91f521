// Measures a resource of the simulated card through the platform operations beside a plain hash map of the
// same key and payload: time per operation and bytes per entry, each also as a ratio to the map's, both in
// one run.
#ifndef BENCH_CARD_TABLE_MEASURE_H
#define BENCH_CARD_TABLE_MEASURE_H

#include <absl/container/flat_hash_map.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "bench/card/client_on_card.h"

namespace bench {

template <typename Step>
double nanoseconds_each(u32 count, Step step) {
    const auto start = std::chrono::steady_clock::now();
    for (u32 i = 0; i < count; ++i) step(i);
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() / count;
}

// The same where a step begins when the one before has answered, as a caller's operations do: the number it
// is given depends on that answer. Without that a processor works on several look-ups of a bare map at a
// time.
template <typename Step>
double nanoseconds_one_by_one(u32 count, Step step) {
    u32 mask = 0;
    asm volatile("" : "+r"(mask));  // the compiler must not know that it is 0
    u32 answer = 0;
    const auto start = std::chrono::steady_clock::now();
    for (u32 i = 0; i < count; ++i) answer = step(i + (answer & mask));
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() / count;
}

struct Figures {
    double add = 0, change = 0, remove = 0;  // nanoseconds an operation, one by one
    double overlapping_add = 0;              // nanoseconds, of a map whose insertions may overlap
    double bytes = 0;                        // an entry

    void keep_best(const Figures &other) {
        add = std::min(add, other.add);
        change = std::min(change, other.change);
        remove = std::min(remove, other.remove);
        overlapping_add = std::min(overlapping_add, other.overlapping_add);
    }
};

// A Kind names itself (kName), its Key and Payload, and adds, changes and removes the i-th entry by one
// operation each: bool add(ClientOnCard &, u32). kChanges and kRemoves tell what there is an operation for.
template <typename Kind>
Figures measure_card(u32 count) {
    const auto on = std::make_unique<ClientOnCard>(Kind::inventory(count));
    Kind kind(*on);
    u32 failures = 0;
    const size_t before = heap_bytes();
    Figures figures;
    figures.add = nanoseconds_one_by_one(count, [&](u32 i) { return failures += kind.add(*on, i) ? 0 : 1; });
    figures.bytes = static_cast<double>(heap_bytes() - before) / count;
    if constexpr (Kind::kChanges) {
        figures.change =
            nanoseconds_each(count, [&](u32 i) { return failures += kind.change(*on, i) ? 0 : 1; });
    }
    if constexpr (Kind::kRemoves) {
        figures.remove =
            nanoseconds_each(count, [&](u32 i) { return failures += kind.remove(*on, i) ? 0 : 1; });
    }
    if (failures != 0) {
        std::printf("%s: %u operations failed, nothing to measure\n", Kind::kName, failures);
        std::exit(1);
    }
    return figures;
}

template <typename Kind>
Figures measure_map(u32 count) {
    const size_t before = heap_bytes();
    absl::flat_hash_map<typename Kind::Key, typename Kind::Payload> map;
    Figures figures;
    const auto first_byte = [](const auto &slot) -> u32 {
        return *reinterpret_cast<const u8 *>(&slot->second);
    };
    figures.add =
        nanoseconds_each(count, [&](u32 i) { return first_byte(map.try_emplace(Kind::key(i)).first); });
    figures.bytes = static_cast<double>(heap_bytes() - before) / count;
    figures.change = nanoseconds_one_by_one(count, [&](u32 i) {
        const auto slot = map.find(Kind::key(i));
        *reinterpret_cast<u8 *>(&slot->second) += 1;
        return first_byte(slot);
    });
    u32 removed = 0;
    figures.remove = nanoseconds_one_by_one(count, [&](u32 i) {
        const auto slot = map.find(Kind::key(i));
        const u32 answer = first_byte(slot);
        map.erase(slot);
        ++removed;
        return answer;
    });
    absl::flat_hash_map<typename Kind::Key, typename Kind::Payload> other;
    figures.overlapping_add = nanoseconds_each(count, [&](u32 i) { other.try_emplace(Kind::key(i)); });
    if (removed != count) std::printf("%s: the map lost entries\n", Kind::kName);
    return figures;
}

// Every figure of the card is followed by its ratio to the map's; the second ratio of an add is that to a map
// whose insertions overlap.
inline void print_heading() {
    std::printf("%-16s %9s  %-25s %-19s %-19s %s\n", "", "entries", "add: ns, x map, overlapped",
                "change: ns, x map", "remove: ns, x map", "bytes an entry, x map");
}

// The best of a few rounds, card and map by turns.
template <typename Kind>
void print_row(u32 count) {
    Figures card = measure_card<Kind>(count), map = measure_map<Kind>(count);
    for (int round = 0; round < 2; ++round) {
        card.keep_best(measure_card<Kind>(count));
        map.keep_best(measure_map<Kind>(count));
    }
    std::printf("%-16s %9u  %7.0f %6.2f %6.2f", Kind::kName, count, card.add, card.add / map.add,
                card.add / map.overlapping_add);
    if (Kind::kChanges) {
        std::printf("      %7.0f %6.2f", card.change, card.change / map.change);
    } else {
        std::printf("      %14s", "-");
    }
    if (Kind::kRemoves) {
        std::printf("      %7.0f %6.2f", card.remove, card.remove / map.remove);
    } else {
        std::printf("      %14s", "-");
    }
    std::printf("      %7.0f %6.2f\n", card.bytes, card.bytes / map.bytes);
}

}  // namespace bench

#endif
