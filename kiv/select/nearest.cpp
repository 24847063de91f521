// Suggestions for a mistyped name: the optimal string alignment distance, with a limit.
#include "kiv/select/nearest.h"

#include <algorithm>

namespace kiv {

size_t edit_distance(std::string_view a, std::string_view b, size_t limit) {
    if (a.size() > b.size()) std::swap(a, b);
    if (b.size() - a.size() >= limit) return limit;
    std::vector<size_t> before(a.size() + 1), last(a.size() + 1), now(a.size() + 1);
    for (size_t i = 0; i <= a.size(); ++i) last[i] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
        now[0] = j;
        size_t row_best = j;
        for (size_t i = 1; i <= a.size(); ++i) {
            const size_t replaced = last[i - 1] + (a[i - 1] != b[j - 1]);
            now[i] = std::min({replaced, last[i] + 1, now[i - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                now[i] = std::min(now[i], before[i - 2] + 1);
            row_best = std::min(row_best, now[i]);
        }
        if (row_best >= limit) return limit;
        std::swap(before, last);
        std::swap(last, now);
    }
    return std::min(last[a.size()], limit);
}

static std::string in_small_letters(std::string_view text) {
    std::string small(text);
    for (char &c : small)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return small;
}

void Nearest::offer(std::string_view candidate) {
    // A third of the word may be wrong; a word that is part of the candidate is near as well.
    const size_t limit = std::max<size_t>(3, word_.size() / 3 + 1);
    const std::string small = in_small_letters(candidate), word = in_small_letters(word_);
    size_t distance = edit_distance(word, small, limit);
    if (distance >= limit && word.size() >= 3 && small.find(word) != std::string::npos) distance = limit - 1;
    if (distance >= limit) return;
    for (const Entry &entry : best_)
        if (entry.name == candidate) return;
    const auto at = std::upper_bound(best_.begin(), best_.end(), distance,
                                     [](size_t d, const Entry &entry) { return d < entry.distance; });
    best_.insert(at, {distance, std::string(candidate)});
    if (best_.size() > count_) best_.pop_back();
}

std::vector<std::string> Nearest::names() const {
    std::vector<std::string> names;
    for (const Entry &entry : best_) names.push_back(entry.name);
    return names;
}

std::string Nearest::question(const std::string &before) const {
    std::string text;
    for (size_t i = 0; i < best_.size(); ++i) {
        text += i == 0 ? "; did you mean " : i + 1 == best_.size() ? " or " : ", ";
        text += before + best_[i].name;
    }
    return text.empty() ? text : text + "?";
}

}  // namespace kiv
