// What is wrong with a site's files: the list that a check returns.
#include "kivctl/site/problem.h"

#include <algorithm>
#include <charconv>
#include <tuple>

namespace kivctl {

std::string Problem::message() const {
    return join(file, line != 0 ? join(":", line) : "", ": ", field.empty() ? "" : field + ": ", text);
}

void Problems::add(const Place &place, std::string field, std::string text) {
    Problem problem{place.file, place.line, std::move(field), std::move(text)};
    if (known_.insert(problem).second) found_.push_back(std::move(problem));
}

std::vector<Problem> Problems::sorted() const {
    std::vector<Problem> problems = found_;
    std::stable_sort(problems.begin(), problems.end(), [](const Problem &a, const Problem &b) {
        return std::tie(a.file, a.line) < std::tie(b.file, b.line);
    });
    return problems;
}

std::string hexadecimal(unsigned long number) {
    char digits[16];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, number, 16);
    return {digits, end.ptr};
}

std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20)
            result += join("\\x", byte < 0x10 ? "0" : "", hexadecimal(byte));
        else
            result += c;
    }
    return result + "\"";
}

}  // namespace kivctl
