// One JSON object on a line, member by member.
#ifndef KIVCTL_HISTORY_JSON_LINE_H
#define KIVCTL_HISTORY_JSON_LINE_H

#include <concepts>
#include <string>
#include <string_view>

namespace kivctl::history {

class JsonLine {
  public:
    // In a page, what would be markup is escaped.
    explicit JsonLine(bool in_page = false) : in_page_(in_page) {}

    JsonLine &text(std::string_view name, std::string_view value);
    JsonLine &number(std::string_view name, std::integral auto value) {
        return raw(name, std::to_string(value));
    }
    JsonLine &seconds(std::string_view name, double value);
    JsonLine &share(std::string_view name, double value);
    JsonLine &flag(std::string_view name, bool value) { return raw(name, value ? "true" : "false"); }
    // A value that is JSON already.
    JsonLine &raw(std::string_view name, std::string_view json);

    std::string end() { return (text_.empty() ? "{" : text_) + "}"; }

  private:
    std::string text_;
    bool in_page_;
};

// A text as a JSON string.
std::string json_text(std::string_view text, bool in_page = false);

}  // namespace kivctl::history

#endif
