// What is wrong with a site's files: the list that a check returns.
#ifndef KIVCTL_SITE_PROBLEM_H
#define KIVCTL_SITE_PROBLEM_H

#include <compare>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace kivctl {

// A line of a file; 0 is the file as a whole.
struct Place {
    std::string file;  // as it is reached from the site's directory
    int line = 0;
};

struct Problem {
    std::string file;
    int line = 0;
    std::string field;
    std::string text;

    // "FILE:LINE: FIELD: TEXT"
    std::string message() const;
    auto operator<=>(const Problem &) const = default;
};

class Problems {
  public:
    // What is known already is left out: a file is looked at once for every reader that comes to it.
    void add(const Place &place, std::string field, std::string text);
    // All, by file and line, those of one line in the order they were found.
    std::vector<Problem> sorted() const;

  private:
    std::vector<Problem> found_;
    std::set<Problem> known_;
};

// One text of texts and numbers.
template <typename... Parts>
std::string join(const Parts &...parts) {
    std::string text;
    const auto append = [&text](const auto &part) {
        if constexpr (std::is_integral_v<std::decay_t<decltype(part)>>)
            text += std::to_string(part);
        else
            text += part;
    };
    (append(parts), ...);
    return text;
}

// Without a prefix, in small letters.
std::string hexadecimal(unsigned long number);

// In quotes, control characters made visible.
std::string quoted(std::string_view text);

}  // namespace kivctl

#endif
