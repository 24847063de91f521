// Writes JSON as it comes, through a buffer of fixed size: what it costs in memory does not grow with what is
// written.
#ifndef CARD_STATE_JSON_WRITER_H
#define CARD_STATE_JSON_WRITER_H

#include <cstdint>
#include <string>
#include <string_view>

namespace card {

// The caller keeps objects, arrays and keys in order; commas are put where they belong.
class JsonWriter {
  public:
    // Writes to a descriptor, which stays the caller's.
    explicit JsonWriter(int fd) : fd_(fd) { buffer_.reserve(kBuffer + 4096); }
    JsonWriter(const JsonWriter &) = delete;
    JsonWriter &operator=(const JsonWriter &) = delete;

    void begin_object() { open('{'); }
    void end_object() { close('}'); }
    void begin_array() { open('['); }
    void end_array() { close(']'); }
    // The name of the next value; needs no escapes.
    void key(std::string_view name);
    // What follows stands on a line of its own.
    void new_line() { on_new_line_ = true; }

    void number(uint64_t value);
    void hex(uint64_t value);  // "0x1a", a string
    void boolean(bool value);
    void text(std::string_view value);

    // What is left goes out. False when anything could not be written; errno of the first failure is kept.
    bool finish();
    int error() const { return error_; }

  private:
    static constexpr size_t kBuffer = size_t{256} * 1024;

    void separate();
    void open(char bracket);
    void close(char bracket);
    void flush();

    const int fd_;
    int error_ = 0;
    bool needs_comma_ = false;
    bool on_new_line_ = false;
    std::string buffer_;
};

}  // namespace card

#endif
