// One JSON object on a line.
#include "kivctl/history/json_line.h"

#include <fmt/core.h>

#include "kiv/reports/escape.h"

namespace kivctl::history {

std::string json_text(std::string_view text, bool in_page) {
    std::string quoted = "\"";
    kiv::reports::append_json(quoted, text, in_page);
    return quoted += '"';
}

JsonLine &JsonLine::raw(std::string_view name, std::string_view json) {
    text_ += text_.empty() ? '{' : ',';
    text_.append(json_text(name, in_page_)).append(1, ':').append(json);
    return *this;
}

JsonLine &JsonLine::text(std::string_view name, std::string_view value) {
    return raw(name, json_text(value, in_page_));
}

JsonLine &JsonLine::seconds(std::string_view name, double value) {
    return raw(name, fmt::format("{:.9f}", value));
}

JsonLine &JsonLine::share(std::string_view name, double value) {
    return raw(name, fmt::format("{:.4f}", value));
}

}  // namespace kivctl::history
