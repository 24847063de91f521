// Which cases others build on, by the order of a plan.
#include "kiv/select/needed.h"

#include <algorithm>
#include <map>
#include <set>

namespace kiv {

namespace {

// Places in the plan, by case.
std::map<uint32_t, size_t> places_of(const std::vector<uint32_t> &plan) {
    std::map<uint32_t, size_t> places;
    for (size_t i = 0; i < plan.size(); ++i) places.emplace(plan[i], i);
    return places;
}

}  // namespace

std::vector<uint32_t> with_needed(const kiv_context &context, const std::vector<uint32_t> &selected,
                                  const std::vector<uint32_t> &plan) {
    const std::map<uint32_t, size_t> places = places_of(plan);
    std::vector<const kiv_folder *> folders;
    std::map<const kiv_folder *, size_t> last;  // place in the plan, plus one
    std::map<const kiv_folder *, std::vector<uint32_t>> unplanned;
    for (const uint32_t at : selected) {
        const kiv_folder *const folder = context.cases[at].folder;
        if (std::find(folders.begin(), folders.end(), folder) == folders.end()) folders.push_back(folder);
        const auto place = places.find(at);
        if (place == places.end())
            unplanned[folder].push_back(at);
        else
            last[folder] = std::max(last[folder], place->second + 1);
    }
    std::vector<uint32_t> all;
    for (const kiv_folder *const folder : folders) {
        for (size_t i = 0; i < last[folder]; ++i)
            if (context.cases[plan[i]].folder == folder) all.push_back(plan[i]);
        all.insert(all.end(), unplanned[folder].begin(), unplanned[folder].end());
    }
    return all;
}

std::vector<uint32_t> in_plan_order(const std::vector<uint32_t> &selected,
                                    const std::vector<uint32_t> &plan) {
    const std::map<uint32_t, size_t> places = places_of(plan);
    std::vector<uint32_t> ordered = selected;
    const auto place_of = [&](uint32_t at) {
        const auto place = places.find(at);
        return place == places.end() ? plan.size() : place->second;
    };
    std::stable_sort(ordered.begin(), ordered.end(),
                     [&](uint32_t a, uint32_t b) { return place_of(a) < place_of(b); });
    return ordered;
}

std::string told_needs(const kiv_context &context, const std::vector<uint32_t> &selected,
                       const std::vector<uint32_t> &plan) {
    const std::map<uint32_t, size_t> places = places_of(plan);
    std::map<const kiv_folder *, std::vector<uint32_t>> of_folder;
    for (const uint32_t at : plan) of_folder[context.cases[at].folder].push_back(at);
    std::set<uint32_t> before;
    size_t building = 0;
    std::string first;
    for (const uint32_t at : selected) {
        before.insert(at);
        const auto place = places.find(at);
        if (place == places.end()) continue;
        uint32_t needed = at;
        size_t count = 0;
        for (const uint32_t other : of_folder[context.cases[at].folder]) {
            if (places.at(other) >= place->second) break;
            if (before.contains(other)) continue;
            needed = other;
            ++count;
        }
        if (count == 0) continue;
        if (++building > 1) continue;
        first = context.cases[at].selector() + " builds on " + context.cases[needed].selector();
        if (count > 1) first += " and " + std::to_string(count - 1) + " more";
    }
    if (building == 2) first += ", and 1 more case on others";
    if (building > 2) first += ", and " + std::to_string(building - 1) + " more cases on others";
    return first;
}

}  // namespace kiv
