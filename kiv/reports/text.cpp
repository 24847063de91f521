// Text of reports: escaping, numbers, wording.
#include "kiv/reports/text.h"

#include <string.h>

#include <array>
#include <charconv>
#include <cstdio>

#include "kiv/reports/calls.h"

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

void append_seconds(std::string &to, std::chrono::nanoseconds time) {
    int64_t ns = time.count();
    if (ns < 0) {
        to += '-';
        ns = -ns;
    }
    append_number(to, static_cast<uint64_t>(ns / 1000000000));
    uint32_t fraction = static_cast<uint32_t>(ns % 1000000000);
    if (fraction == 0) return;
    char digits[10] = {'.'};
    int used = 0;
    for (int i = 9; i >= 1; --i, fraction /= 10) {
        digits[i] = static_cast<char>('0' + fraction % 10);
        if (used == 0 && digits[i] != '0') used = i + 1;
    }
    to.append(digits, static_cast<size_t>(used));
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

bool parse_time(std::string_view text, int64_t *nanoseconds) {
    const auto number = [&](size_t at, size_t length, int *value) {
        *value = 0;
        for (size_t i = at; i < at + length; ++i) {
            if (text[i] < '0' || text[i] > '9') return false;
            *value = *value * 10 + (text[i] - '0');
        }
        return true;
    };
    int year, month, day, hour, minute, second;
    if (text.size() < 19 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
        text[16] != ':' || !number(0, 4, &year) || !number(5, 2, &month) || !number(8, 2, &day) ||
        !number(11, 2, &hour) || !number(14, 2, &minute) || !number(17, 2, &second))
        return false;
    const std::chrono::year_month_day date{std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok() || hour > 23 || minute > 59 || second > 60 || year < 1970 || year > 2200) return false;
    int64_t ns = std::chrono::nanoseconds(std::chrono::sys_days(date).time_since_epoch()).count() +
                 ((hour * 60 + minute) * 60ll + second) * 1000000000;
    size_t at = 19;
    if (at < text.size() && text[at] == '.') {
        int64_t scale = 100000000;
        for (++at; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at, scale /= 10)
            ns += (text[at] - '0') * scale;
    }
    if (at < text.size() && text.substr(at) != "Z") return false;
    *nanoseconds = ns;
    return true;
}

void Clock::start(std::string_view started_at) {
    if (!parse_time(started_at, &start_ns_)) start_ns_ = 0;
}

void Clock::prepare(int64_t second) {
    if (second == second_) return;
    second_ = second;
    const std::chrono::sys_seconds time{std::chrono::seconds(second)};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const auto in_day = static_cast<unsigned>((time - day).count());
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02u:%02u:%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), in_day / 3600,
                  in_day / 60 % 60, in_day % 60);
    memcpy(text_, text, 19);
}

void Clock::append(std::string &to, std::chrono::nanoseconds since_start) {
    const int64_t ns = start_ns_ + since_start.count();
    prepare(ns / 1000000000);
    to.append(text_, 19);
    char digits[11] = ".000000000";
    uint32_t fraction = static_cast<uint32_t>(ns % 1000000000);
    for (int i = 9; i >= 1; --i, fraction /= 10) digits[i] = static_cast<char>('0' + fraction % 10);
    digits[10] = 'Z';
    to.append(digits, 11);
}

void Clock::append_to_second(std::string &to, std::chrono::nanoseconds since_start) {
    prepare((start_ns_ + since_start.count()) / 1000000000);
    to.append(text_, 19);
}

std::string check_line(const Check &check) {
    std::string line = check.file;
    line += ':';
    append_number(line, check.line);
    line += ": ";
    line += check.function;
    line += ": ";
    if (check.is_condition) {
        line += "\"" + check.expected_name + "\" does not hold";
        if (!check.message.empty()) line += ": " + check.message;
    } else {
        char codes[64];
        std::snprintf(codes, sizeof codes, " (0x%08x), got 0x%08x", check.expected, check.status);
        line += "expected " + check.expected_name + codes;
        if (!check.status_text.empty()) line += " (" + check.status_text + ")";
    }
    while (!line.empty() && line.back() == '\n') line.pop_back();
    return line;
}

std::string end_text(int signal, int exit_code) {
    if (signal != 0) {
        const char *const name = sigabbrev_np(signal);
        return "ended by signal " + std::to_string(signal) +
               (name != nullptr ? " (" + std::string(name) + ")" : "");
    }
    if (exit_code >= 0) return "left through exit with code " + std::to_string(exit_code);
    return "";
}

static std::string end_or_reason(Verdict verdict, const std::string &reason, int signal, int exit_code) {
    if (verdict == Verdict::failed) return reason;  // the failed checks or calls say it
    if (!reason.empty()) return reason;
    const std::string end = end_text(signal, exit_code);
    return end.empty() ? verdict_text(verdict) : end;
}

// Of a case or fixture that has nothing else to say, its calls may have.
template <typename Result>
static std::string end_or_calls(const std::string &end, const Result &result) {
    const bool said = !end.empty() && end != verdict_text(result.verdict);
    const std::string calls = said ? "" : unnoticed_text(result.calls);
    return said ? end : !calls.empty() ? calls : verdict_text(result.verdict);
}

std::string headline(const CaseResult &result) {
    if (result.verdict == Verdict::failed && !result.failures.empty()) {
        std::string line = check_line(result.failures.front());
        if (result.failed_checks > 1) {
            line += " (and ";
            append_number(line, result.failed_checks - 1);
            line += " more)";
        }
        return line;
    }
    if (result.verdict == Verdict::reported_error && !result.error_lines.empty())
        return result.error_lines.front();
    return end_or_calls(end_or_reason(result.verdict, result.reason, result.signal, result.exit_code),
                        result);
}

std::string headline(const FixtureResult &result) {
    const char *const what = result.set_up ? "set-up of " : "tear-down of ";
    const std::string why =
        result.verdict == Verdict::failed && !result.failures.empty()
            ? check_line(result.failures.front())
            : end_or_calls(end_or_reason(result.verdict, result.reason, result.signal, -1), result);
    return what + result.folder + ": " + why;
}

static void add_line(std::string &text, std::string_view line) {
    if (line.empty()) return;
    text += line;
    if (text.back() != '\n') text += '\n';
}

std::string details(const CaseResult &result) {
    std::string text;
    if (!result.description.empty()) add_line(text, "description: " + result.description);
    add_line(text, end_or_reason(result.verdict, result.reason, result.signal, result.exit_code));
    for (const Check &check : result.failures) add_line(text, check_line(check));
    if (result.failed_checks > result.failures.size()) {
        text += "and ";
        append_number(text, result.failed_checks - result.failures.size());
        text += result.failed_checks - result.failures.size() == 1 ? " more failed check\n"
                                                                   : " more failed checks\n";
    }
    add_line(text, unnoticed_text(result.calls));
    for (const std::string &line : result.error_lines) add_line(text, "reported: " + line);
    if (!result.output_file.empty()) add_line(text, "whole output: " + result.output_file);
    return text;
}

std::string details(const FixtureResult &result) {
    std::string text;
    add_line(text, end_or_reason(result.verdict, result.reason, result.signal, -1));
    for (const Check &check : result.failures) add_line(text, check_line(check));
    add_line(text, unnoticed_text(result.calls));
    return text;
}

}  // namespace kiv::reports
