// Text of reports: escaping, numbers, and the wording of checks and verdicts that every format shares.
#ifndef KIV_REPORTS_TEXT_H
#define KIV_REPORTS_TEXT_H

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "kiv/results.h"

namespace kiv::reports {

// Length of the well-formed UTF-8 sequence that `text` starts with, 0 when there is none.
size_t utf8_length(std::string_view text);
bool is_utf8(std::string_view text);

// For element content and for attribute values in double quotes. What XML cannot carry, and bytes that are
// not UTF-8, become U+FFFD.
void append_xml(std::string &to, std::string_view text);
void append_xml_attribute(std::string &to, std::string_view text);

// Inside a JSON string. Bytes that are not UTF-8 become U+FFFD. In a page, "<", ">" and "&" are escaped too.
void append_json(std::string &to, std::string_view text, bool in_page = false);

// Whether a text stands in JSON as it is: printable ASCII without anything to escape.
bool is_plain_json(std::string_view text);

void append_number(std::string &to, uint64_t number);
void append_number(std::string &to, int number);

// Seconds as a decimal number without loss: "0.000001234", "2".
void append_seconds(std::string &to, std::chrono::nanoseconds time);

std::string base64(std::string_view bytes);
// False when the text is not base64.
bool from_base64(std::string_view text, std::string *bytes);

// Points in time as UTC text: "2026-11-21T04:00:00.123456789Z". The text of one second is kept.
class Clock {
  public:
    // From RunInfo::started_at; a text that cannot be read counts as 1970.
    void start(std::string_view started_at);
    void append(std::string &to, std::chrono::nanoseconds since_start);
    // "2026-11-21T04:00:00", without a zone.
    void append_to_second(std::string &to, std::chrono::nanoseconds since_start);

  private:
    void prepare(int64_t second);

    int64_t start_ns_ = 0;  // since 1970
    int64_t second_ = INT64_MIN;
    char text_[20] = {};  // of that second
};

// Nanoseconds since 1970 of such a text (fraction optional, up to nine digits); false when it is not one.
bool parse_time(std::string_view text, int64_t *nanoseconds);

// "prm/test/src/prm_kiv_uidb:120: tc_kiv_x: expected CERR_SUCCESS (0x00000000), got 0x457c2a00 (text)".
std::string check_line(const Check &check);

// "ended by signal 11 (SEGV)"; empty when no signal and no exit code is known.
std::string end_text(int signal, int exit_code);

// One line that says why the case did not pass: its first failed check, error line or reason, or the calls
// that failed unnoticed.
std::string headline(const CaseResult &result);
std::string headline(const FixtureResult &result);

// Everything known about it, a line each: description, reason, failed checks, error lines, where the output
// is.
std::string details(const CaseResult &result);
std::string details(const FixtureResult &result);

}  // namespace kiv::reports

#endif
