// Whether a series of numbers changed its level, and where: by medians, so that single numbers say nothing.
#ifndef KIVCTL_HISTORY_CHANGE_H
#define KIVCTL_HISTORY_CHANGE_H

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace kivctl::history {

// So many numbers a level must have on either side of a change.
inline constexpr size_t kShortestLevel = 5;

struct Change {
    size_t at = 0;                 // the first number of the new level
    size_t from = 0;               // the first one of the level before
    double before = 0, after = 0;  // medians
    double noise = 0;  // spread of the numbers about their levels: 1.4826 times the median deviation
};

double median(std::vector<double> numbers);

// Whether the level changes at a number, and not by chance: five numbers or more on either side are nearer to
// its median than to the other, the medians are further apart than six of their own errors, and the numbers
// of one side rank above those of the other (rank sum, 3 of its deviations).
std::optional<Change> is_change(std::span<const double> numbers, size_t at);

// The split that leaves the least deviation from the medians of both sides, if it is no chance.
std::optional<Change> best_split(std::span<const double> numbers);

// The last change of level: splits the series, then what comes after the split, until nothing splits.
std::optional<Change> last_change(std::span<const double> numbers);

}  // namespace kivctl::history

#endif
