// JSON through a buffer: see json_writer.h.
#include "card/state/json_writer.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

namespace card {

void JsonWriter::separate() {
    if (needs_comma_) buffer_ += ',';
    if (on_new_line_) buffer_ += '\n';
    on_new_line_ = false;
    needs_comma_ = true;
    if (buffer_.size() >= kBuffer) flush();
}

void JsonWriter::open(char bracket) {
    separate();
    buffer_ += bracket;
    needs_comma_ = false;
}

void JsonWriter::close(char bracket) {
    if (on_new_line_) buffer_ += '\n';
    on_new_line_ = false;
    buffer_ += bracket;
    needs_comma_ = true;
}

void JsonWriter::key(std::string_view name) {
    separate();
    buffer_ += '"';
    buffer_ += name;
    buffer_ += "\":";
    needs_comma_ = false;
}

void JsonWriter::number(uint64_t value) {
    char digits[20];
    separate();
    buffer_.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

void JsonWriter::hex(uint64_t value) {
    char digits[20];
    separate();
    buffer_ += "\"0x";
    buffer_.append(digits, std::to_chars(digits, digits + sizeof digits, value, 16).ptr);
    buffer_ += '"';
}

void JsonWriter::boolean(bool value) {
    separate();
    buffer_ += value ? "true" : "false";
}

void JsonWriter::text(std::string_view value) {
    static constexpr char kDigits[] = "0123456789abcdef";
    separate();
    buffer_ += '"';
    // Mostly all of it is plain and goes out in one piece.
    const auto is_plain = [](char c) { return c >= 0x20 && c < 0x7F && c != '"' && c != '\\'; };
    while (!value.empty()) {
        const size_t plain = std::find_if_not(value.begin(), value.end(), is_plain) - value.begin();
        buffer_.append(value.substr(0, plain));
        value.remove_prefix(plain);
        if (value.empty()) break;
        const unsigned char byte = static_cast<unsigned char>(value.front());
        value.remove_prefix(1);
        if (byte == '"' || byte == '\\') {
            buffer_ += '\\';
            buffer_ += static_cast<char>(byte);
        } else {  // names come from clients: any bytes, not always UTF-8
            buffer_ += "\\u00";
            buffer_ += kDigits[byte >> 4];
            buffer_ += kDigits[byte & 15];
        }
    }
    buffer_ += '"';
}

void JsonWriter::flush() {
    for (size_t at = 0; error_ == 0 && at < buffer_.size();) {
        const ssize_t written = ::write(fd_, buffer_.data() + at, buffer_.size() - at);
        if (written > 0) {
            at += static_cast<size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            error_ = written == 0 ? EIO : errno;
        }
    }
    buffer_.clear();
}

bool JsonWriter::finish() {
    if (on_new_line_) buffer_ += '\n';
    on_new_line_ = false;
    flush();
    return error_ == 0;
}

}  // namespace card
