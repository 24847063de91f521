// Whether a series of numbers changed its level.
#include "kivctl/history/change.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <queue>

namespace kivctl::history {
namespace {

constexpr double kErrors = 6;         // between the medians
constexpr double kRank = 3;           // of the rank sum
constexpr double kLeastNoise = 0.01;  // of a level: what repeats to the last digit is measured no better

// The sum of the deviations from their median, of numbers that come one by one.
class RunningDeviation {
  public:
    void add(double number) {
        if (low_.empty() || number <= low_.top()) {
            low_.push(number), low_sum_ += number;
        } else {
            high_.push(number), high_sum_ += number;
        }
        if (low_.size() > high_.size() + 1) {
            const double moved = low_.top();
            low_.pop(), low_sum_ -= moved;
            high_.push(moved), high_sum_ += moved;
        } else if (high_.size() > low_.size()) {
            const double moved = high_.top();
            high_.pop(), high_sum_ -= moved;
            low_.push(moved), low_sum_ += moved;
        }
    }
    double sum() const {
        const double middle = low_.top();
        return middle * static_cast<double>(low_.size()) - low_sum_ + high_sum_ -
               middle * static_cast<double>(high_.size());
    }

  private:
    std::priority_queue<double> low_;
    std::priority_queue<double, std::vector<double>, std::greater<>> high_;
    double low_sum_ = 0, high_sum_ = 0;
};

// How far the ranks of the numbers from `at` on are from what chance gives, in standard deviations.
double rank_distance(std::span<const double> numbers, size_t at) {
    std::vector<size_t> order(numbers.size());
    std::iota(order.begin(), order.end(), 0u);
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return numbers[a] < numbers[b]; });
    double sum = 0, ties = 0;
    for (size_t i = 0; i < order.size();) {
        size_t end = i;
        while (end < order.size() && numbers[order[end]] == numbers[order[i]]) ++end;
        const double rank = static_cast<double>(i + end + 1) / 2, count = static_cast<double>(end - i);
        for (size_t k = i; k < end; ++k)
            if (order[k] >= at) sum += rank;
        ties += count * (count * count - 1);
        i = end;
    }
    const double n = static_cast<double>(numbers.size()), after = n - static_cast<double>(at),
                 before = n - after;
    const double variance = before * after / 12 * (n + 1 - ties / (n * (n - 1)));
    return variance > 0 ? std::fabs(sum - after * (n + 1) / 2) / std::sqrt(variance) : 0;
}

}  // namespace

double median(std::vector<double> numbers) {
    if (numbers.empty()) return 0;
    const auto middle = numbers.begin() + static_cast<std::ptrdiff_t>(numbers.size() / 2);
    std::nth_element(numbers.begin(), middle, numbers.end());
    if (numbers.size() % 2 == 1) return *middle;
    return (*std::max_element(numbers.begin(), middle) + *middle) / 2;
}

std::optional<Change> is_change(std::span<const double> numbers, size_t at) {
    Change change;
    change.at = at;
    change.before = median({numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(at)});
    change.after = median({numbers.begin() + static_cast<std::ptrdiff_t>(at), numbers.end()});
    std::vector<double> deviations;
    size_t proper[2] = {};  // numbers that are nearer to the median of their own side
    for (size_t i = 0; i < numbers.size(); ++i) {
        const double from_before = std::fabs(numbers[i] - change.before),
                     from_after = std::fabs(numbers[i] - change.after);
        deviations.push_back(i < at ? from_before : from_after);
        if (i < at ? from_before < from_after : from_after < from_before) ++proper[i < at ? 0 : 1];
    }
    if (proper[0] < kShortestLevel || proper[1] < kShortestLevel) return {};
    change.noise = 1.4826 * median(std::move(deviations));
    const double noise = std::max(change.noise, kLeastNoise * std::min(change.before, change.after));
    const double sides = 1.0 / static_cast<double>(at) + 1.0 / static_cast<double>(numbers.size() - at);
    const double error = 1.2533 * noise * std::sqrt(sides);
    if (std::fabs(change.after - change.before) <= kErrors * error) return {};
    if (rank_distance(numbers, at) < kRank) return {};
    return change;
}

std::optional<Change> best_split(std::span<const double> numbers) {
    if (numbers.size() < 2 * kShortestLevel) return {};
    std::vector<double> cost(numbers.size() + 1);
    RunningDeviation before, after;
    for (size_t i = 0; i < numbers.size(); ++i) before.add(numbers[i]), cost[i + 1] += before.sum();
    for (size_t i = numbers.size(); i-- > 0;) after.add(numbers[i]), cost[i] += after.sum();
    const auto least = std::min_element(cost.begin() + kShortestLevel, cost.end() - kShortestLevel);
    return is_change(numbers, static_cast<size_t>(least - cost.begin()));
}

std::optional<Change> last_change(std::span<const double> numbers) {
    std::optional<Change> last;
    size_t from = 0;
    while (const auto change = best_split(numbers.subspan(from))) {
        last = change;
        last->from = from;
        last->at += from;
        from = last->at;
    }
    return last;
}

}  // namespace kivctl::history
