// How texts and numbers are written into each format: escaping, UTF-8, base64.
#ifndef KIV_REPORTS_ESCAPE_H
#define KIV_REPORTS_ESCAPE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace kiv::reports {

// Length of the well-formed UTF-8 sequence that `text` starts with, 0 when there is none.
size_t utf8_length(std::string_view text);
// Length of the sequence that a byte begins, 1 when it begins none.
size_t utf8_size(uint8_t first);
bool is_utf8(std::string_view text);

// For element content and for attribute values in double quotes. What XML cannot carry, and bytes that are
// not UTF-8, become U+FFFD.
void append_xml(std::string &to, std::string_view text);
void append_xml_attribute(std::string &to, std::string_view text);

// Inside a JSON string. Bytes that are not UTF-8 become U+FFFD. In a page, "<", ">" and "&" are escaped too.
void append_json(std::string &to, std::string_view text, bool in_page = false);

// Whether a text stands in JSON as it is: printable ASCII without anything to escape.
bool is_plain_json(std::string_view text);

// For a terminal, on one line: control characters, also those of two bytes, and bytes that are not UTF-8
// become
// "\x0a".
void append_visible(std::string &to, std::string_view text);
std::string visible(std::string_view text);

// As a plan holds a selector: what cannot stand in one becomes a pattern that fits it.
void append_plan(std::string &to, std::string_view selector);

void append_number(std::string &to, uint64_t number);
void append_number(std::string &to, int number);

std::string base64(std::string_view bytes);
// False when the text is not base64.
bool from_base64(std::string_view text, std::string *bytes);

}  // namespace kiv::reports

#endif
