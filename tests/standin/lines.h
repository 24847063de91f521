// Lines of a transcript as tests write them down: a print, a check, a record, and lists of lines joined.
#ifndef TESTS_STANDIN_LINES_H
#define TESTS_STANDIN_LINES_H

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "tests/standin/standin.h"

using Lines = std::vector<std::string>;

inline Lines operator+(Lines a, const Lines &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// What printf would print.
__attribute__((format(printf, 1, 2))) inline std::string formatted(const char *format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

// "print "..."", the text given as the case prints it.
inline std::string print(const std::string &text) {
    standin::Event event;
    event.kind = standin::Kind::print;
    event.text = text;
    return event.line_text();
}

// "check STATUS EXPECTED "NAME" FILE FUNCTION LINE" as in transcripts.
inline std::string check_line(uint32_t status, uint32_t expected, const std::string &name,
                              const std::string &file, const std::string &function, int line) {
    standin::Event event;
    event.kind = standin::Kind::check;
    event.status = status;
    event.expected = expected;
    event.expected_name = name;
    event.file = file;
    event.function = function;
    event.line = line;
    return event.line_text();
}

// Transcript lines with the line number of each check cut off: for checks whose line is not fixed.
inline Lines without_line_numbers(Lines lines) {
    for (std::string &line : lines)
        if (line.rfind("check ", 0) == 0) line.erase(line.rfind(' '));
    return lines;
}

// A check line as without_line_numbers leaves it.
inline std::string check_without_line(uint32_t status, uint32_t expected, const std::string &name,
                                      const std::string &file, const std::string &function) {
    return without_line_numbers({check_line(status, expected, name, file, function, 0)}).front();
}
inline std::string success_check_without_line(uint32_t status, const std::string &file,
                                              const std::string &function) {
    return check_without_line(status, 0, "CERR_SUCCESS", file, function);
}

inline std::string shown(const standin::Bytes &bytes) {
    return standin::show_bytes(bytes.data(), bytes.size());
}

// "0x1a0", or "7" below ten: a number as transcripts show it.
inline std::string shown(uint32_t number) {
    return formatted(number < 10 ? "%u" : "0x%x", number);
}

#endif
