// The lines of an input file, taken apart as the suite's readers do it.
#include "kivctl/site/line.h"

#include <algorithm>

namespace kivctl {
namespace {

Field read_field(const std::string &text) {
    const std::vector<std::string> parts = split(text, ':');
    Field field;
    if (!parts.empty()) field.name = parts[0];
    field.has_value = parts.size() > 1;
    if (field.has_value) field.value = parts[1];
    field.extra = parts.size() > 2;
    return field;
}

}  // namespace

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(separator, at), text.size());
        if (end > at) parts.emplace_back(text.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

void Line::take_apart() {
    fields.clear();
    for (const std::string &part : split(text, ',')) fields.push_back(read_field(part));
    if (!fields.empty()) fields.back().last = ended;
}

std::vector<Line> read_lines(std::string_view text) {
    std::vector<Line> lines;
    for (size_t at = 0; at < text.size();) {
        const size_t newline = text.find('\n', at);
        Line &line = lines.emplace_back();
        line.number = static_cast<int>(lines.size());
        line.ended = newline != std::string_view::npos;
        line.text = text.substr(at, newline - at);
        line.take_apart();
        at += line.bytes();
    }
    return lines;
}

}  // namespace kivctl
