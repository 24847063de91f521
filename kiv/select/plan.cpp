// Plan files: selectors, one a line, with comments.
#include "kiv/select/plan.h"

#include "kiv/files.h"

namespace kiv {

namespace {

constexpr size_t kLargestPlan = 32u << 20;

std::string_view without_comment(std::string_view line) {
    for (size_t at = 0; at < line.size(); ++at)
        if (line[at] == '#' && (at == 0 || line[at - 1] == ' ' || line[at - 1] == '\t'))
            return line.substr(0, at);
    return line;
}

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

}  // namespace

Selector make_selector(std::string_view word) {
    Selector selector;
    selector.excludes = word.size() > 1 && word[0] == '-';
    selector.text = word.substr(selector.excludes ? 1 : 0);
    while (selector.text.size() > 1 && selector.text.back() == '/') selector.text.pop_back();
    return selector;
}

bool read_plan(const std::string &path, std::vector<Selector> *selectors, std::string *error) {
    std::string text;
    if (!read_file(path, &text, error, kLargestPlan)) return false;
    if (text.starts_with("\xEF\xBB\xBF")) {
        *error = path + ":1: a byte-order mark: write the file without it";
        return false;
    }
    int number = 0;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        const std::string_view line = trimmed(without_comment(std::string_view(text).substr(at, end - at)));
        at = end + 1;
        ++number;
        if (line.empty()) continue;
        const std::string where = path + ":" + std::to_string(number) + ": ";
        for (const char c : line) {
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
                *error = where + "a control character in a selector; is this a plan?";
                return false;
            }
        }
        if (line.find_first_of(" \t") != std::string_view::npos) {
            *error = where + "one selector a line, not \"" + std::string(line) + "\"";
            return false;
        }
        Selector selector = make_selector(line);
        selector.file = path;
        selector.line = number;
        selectors->push_back(std::move(selector));
    }
    return true;
}

}  // namespace kiv
