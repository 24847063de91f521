// How texts and numbers are written into each format.
#include "kiv/reports/escape.h"

#include <string.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace kiv::reports {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// How a byte travels: as it is, looked at, or as the start of a UTF-8 sequence.
enum ByteClass : uint8_t { plain, special, multibyte };

constexpr std::array<uint8_t, 256> classes(std::string_view specials, bool controls_are_special) {
    std::array<uint8_t, 256> table{};
    for (int i = 0; i < 256; ++i)
        table[static_cast<size_t>(i)] = i >= 0x80                          ? multibyte
                                        : i < 0x20 && controls_are_special ? special
                                                                           : plain;
    for (const char c : specials) table[static_cast<uint8_t>(c)] = special;
    return table;
}

constexpr auto kXmlText = classes("<>&\x7f", true);
constexpr auto kXmlAttribute = classes("<>&\"\x7f", true);
constexpr auto kJson = classes("\"\\\x7f", true);
constexpr auto kJsonInPage = classes("\"\\<>&\x7f", true);

// Whether every byte travels as it is, as in nearly every name; free of branches, for it looks at every text.
bool all_plain(std::string_view text, const std::array<uint8_t, 256> &table) {
    uint8_t kinds = 0;
    for (const char c : text) kinds |= table[static_cast<uint8_t>(c)];
    return kinds == plain;
}

// Copies runs of plain bytes; `escape` gets a special byte, `sequence` a whole UTF-8 sequence and says
// whether it can stand.
template <class Escape, class Allowed>
void append_escaped(std::string &to, std::string_view text, const std::array<uint8_t, 256> &table,
                    Escape escape, Allowed allowed) {
    if (all_plain(text, table)) {
        to += text;
        return;
    }
    size_t copied = 0;
    for (size_t i = 0; i < text.size();) {
        const uint8_t kind = table[static_cast<uint8_t>(text[i])];
        if (kind == plain) {
            ++i;
            continue;
        }
        if (kind == multibyte) {
            const size_t length = utf8_length(text.substr(i));
            if (length != 0 && allowed(text.substr(i, length))) {
                i += length;
                continue;
            }
            to.append(text, copied, i - copied);
            to += kReplacement;
            i += length != 0 ? length : 1;
            copied = i;
            continue;
        }
        to.append(text, copied, i - copied);
        escape(text[i]);
        copied = ++i;
    }
    to.append(text, copied);
}

// U+FFFE and U+FFFF are not XML characters.
bool is_xml_sequence(std::string_view sequence) {
    return sequence != "\xEF\xBF\xBE" && sequence != "\xEF\xBF\xBF";
}

void append_xml_special(std::string &to, char c, bool attribute) {
    switch (c) {
        case '<':
            to += "&lt;";
            break;
        case '>':
            to += "&gt;";
            break;
        case '&':
            to += "&amp;";
            break;
        case '"':
            to += "&quot;";
            break;
        case '\r':
            to += "&#13;";
            break;
        case '\t':
        case '\n':
            if (attribute)
                to += c == '\t' ? "&#9;" : "&#10;";
            else
                to += c;
            break;
        case '\x7f':
            to += c;
            break;
        default:
            to += kReplacement;
    }
}

}  // namespace

size_t utf8_length(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const auto continues = [&](size_t i, uint8_t low = 0x80, uint8_t high = 0xBF) {
        return i < text.size() && byte(i) >= low && byte(i) <= high;
    };
    if (text.empty()) return 0;
    const uint8_t first = byte(0);
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) return continues(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const uint8_t low = first == 0xE0 ? 0xA0 : 0x80, high = first == 0xED ? 0x9F : 0xBF;  // no surrogates
        return continues(1, low, high) && continues(2) ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const uint8_t low = first == 0xF0 ? 0x90 : 0x80, high = first == 0xF4 ? 0x8F : 0xBF;
        return continues(1, low, high) && continues(2) && continues(3) ? 4 : 0;
    }
    return 0;
}

size_t utf8_size(uint8_t first) {
    return first >= 0xC2 && first <= 0xDF   ? 2
           : first >= 0xE0 && first <= 0xEF ? 3
           : first >= 0xF0 && first <= 0xF4 ? 4
                                            : 1;
}

bool is_utf8(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        if (static_cast<uint8_t>(text[i]) < 0x80) {
            ++i;
            continue;
        }
        const size_t length = utf8_length(text.substr(i));
        if (length == 0) return false;
        i += length;
    }
    return true;
}

void append_xml(std::string &to, std::string_view text) {
    append_escaped(
        to, text, kXmlText, [&](char c) { append_xml_special(to, c, false); }, is_xml_sequence);
}

void append_xml_attribute(std::string &to, std::string_view text) {
    append_escaped(
        to, text, kXmlAttribute, [&](char c) { append_xml_special(to, c, true); }, is_xml_sequence);
}

bool is_plain_json(std::string_view text) {
    return all_plain(text, kJsonInPage);
}

void append_json(std::string &to, std::string_view text, bool in_page) {
    const auto escape = [&](char c) {
        switch (c) {
            case '"':
                to += "\\\"";
                break;
            case '\\':
                to += "\\\\";
                break;
            case '\n':
                to += "\\n";
                break;
            case '\t':
                to += "\\t";
                break;
            case '\r':
                to += "\\r";
                break;
            default: {
                char buffer[8];
                std::snprintf(buffer, sizeof buffer, "\\u%04x",
                              static_cast<unsigned>(static_cast<uint8_t>(c)));
                to += buffer;
            }
        }
    };
    append_escaped(to, text, in_page ? kJsonInPage : kJson, escape, [](std::string_view) { return true; });
}

void append_visible(std::string &to, std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        const uint8_t byte = static_cast<uint8_t>(text[i]);
        const size_t length = utf8_length(text.substr(i));
        const bool control = byte < 0x20 || byte == 0x7f ||
                             (length == 2 && byte == 0xC2 && static_cast<uint8_t>(text[i + 1]) < 0xA0);
        if (length != 0 && !control) {
            to.append(text, i, length);
            i += length;
            continue;
        }
        for (const size_t end = i + std::max<size_t>(length, 1); i < end; ++i) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<uint8_t>(text[i]));
            to += escaped;
        }
    }
}

std::string visible(std::string_view text) {
    std::string shown;
    append_visible(shown, text);
    return shown;
}

void append_plan(std::string &to, std::string_view selector) {
    const auto cannot_stand = [](char c) {
        const uint8_t byte = static_cast<uint8_t>(c);
        return byte <= 0x20 || byte == 0x7f;
    };
    const bool marked = selector.starts_with('-') || selector.starts_with('#');
    if (!marked && std::none_of(selector.begin(), selector.end(), cannot_stand)) {
        to += selector;
        return;
    }
    if (marked) {
        to.append("[").append(selector.substr(0, 1)).append("]");
        selector.remove_prefix(1);
    }
    for (const char c : selector) {
        if (c == '*' || c == '?' || c == '[' || c == '\\') to += '\\';
        to += cannot_stand(c) ? '?' : c;
    }
}

void append_number(std::string &to, uint64_t number) {
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
    to.append(buffer, result.ptr);
}

void append_number(std::string &to, int number) {
    char buffer[16];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
    to.append(buffer, result.ptr);
}

static constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string base64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t n = std::min<size_t>(3, bytes.size() - i);
        uint32_t bits = 0;
        for (size_t k = 0; k < 3; ++k) bits = bits << 8 | (k < n ? static_cast<uint8_t>(bytes[i + k]) : 0u);
        for (size_t k = 0; k < 4; ++k) text += k <= n ? kBase64[bits >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

bool from_base64(std::string_view text, std::string *bytes) {
    bytes->clear();
    if (text.size() % 4 != 0) return false;
    for (size_t i = 0; i < text.size(); i += 4) {
        uint32_t bits = 0;
        size_t padding = 0;
        for (size_t k = 0; k < 4; ++k) {
            const char c = text[i + k];
            const char *const found = c != '\0' ? strchr(kBase64, c) : nullptr;
            if (found != nullptr && padding == 0)
                bits = bits << 6 | static_cast<uint32_t>(found - kBase64);
            else if (c == '=' && k >= 2 && i + 4 == text.size())
                bits <<= 6, ++padding;
            else
                return false;
        }
        for (size_t k = 0; k < 3 - padding; ++k) *bytes += static_cast<char>(bits >> (16 - 8 * k) & 0xFF);
    }
    return true;
}

}  // namespace kiv::reports
