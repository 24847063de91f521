// Suggestions for a mistyped name.
#ifndef KIV_SELECT_NEAREST_H
#define KIV_SELECT_NEAREST_H

#include <string>
#include <string_view>
#include <vector>

namespace kiv {

// Number of inserted, removed, replaced or swapped characters between two texts; stops counting at `limit`.
size_t edit_distance(std::string_view a, std::string_view b, size_t limit);

// Gathers the candidates nearest to a word, capital letters or not; at most `count`, and only those near
// enough to be meant.
class Nearest {
  public:
    explicit Nearest(std::string_view word, size_t count = 3) : word_(word), count_(count) {}
    void offer(std::string_view candidate);
    std::vector<std::string> names() const;
    // "; did you mean a, b or c?", or nothing when nothing is near. `before` stands before each.
    std::string question(const std::string &before = "") const;

  private:
    struct Entry {
        size_t distance;
        std::string name;
    };
    std::string word_;
    size_t count_;
    std::vector<Entry> best_;
};

}  // namespace kiv

#endif
