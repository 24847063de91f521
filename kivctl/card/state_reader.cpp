// The state as a stream of events: see state_reader.h.
#include "kivctl/card/state_reader.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <iterator>
#include <nlohmann/json.hpp>

namespace kivctl {
namespace {

constexpr uint64_t kFormat = 1;
constexpr std::string_view kKind = "card state";
constexpr size_t kDeepest = 16;

// Bytes of a file or of a text, and the line they stand in.
class Bytes {
  public:
    explicit Bytes(int fd) : fd_(fd), buffer_(kBuffer, '\0') { refill(); }
    explicit Bytes(std::string_view text)
        : begin_(text.data()), at_(text.data()), end_(text.data() + text.size()) {}

    bool at_end() const { return at_ == end_; }
    char current() const { return *at_; }
    void advance() {
        if (++at_ == end_ && fd_ >= 0) refill();
    }
    size_t line() const { return lines_before_ + static_cast<size_t>(std::count(begin_, at_, '\n')) + 1; }
    int error() const { return error_; }

  private:
    static constexpr size_t kBuffer = size_t{256} * 1024;

    void refill() {
        lines_before_ += static_cast<size_t>(std::count(begin_, at_, '\n'));
        ssize_t got;
        do got = read(fd_, buffer_.data(), buffer_.size());
        while (got < 0 && errno == EINTR);
        if (got < 0) error_ = errno;
        begin_ = at_ = buffer_.data();
        end_ = at_ + std::max<ssize_t>(got, 0);
    }

    int fd_ = -1;
    int error_ = 0;
    size_t lines_before_ = 0;
    std::string buffer_;
    const char *begin_ = nullptr, *at_ = nullptr, *end_ = nullptr;
};

struct ByteIterator {
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = char;

    char operator*() const { return bytes->current(); }
    ByteIterator &operator++() {
        bytes->advance();
        return *this;
    }
    ByteIterator operator++(int) { return ++*this; }
    // The parser compares with the end alone.
    friend bool operator==(const ByteIterator &a, const ByteIterator &b) {
        return (a.bytes == nullptr || a.bytes->at_end()) && (b.bytes == nullptr || b.bytes->at_end());
    }

    Bytes *bytes = nullptr;
};

using Json = nlohmann::json;

// The document is one object; entries stand at families.NAME.entries[].
class Handler {
  public:
    Handler(const std::string &name, const Bytes &bytes, StateVisitor &visitor)
        : name_(name), bytes_(bytes), visitor_(visitor) {}

    const std::string &error() const { return error_; }
    // After a document that could be parsed: whether it was a state.
    bool finish() {
        return !error_.empty()  ? false
               : families_seen_ ? true
                                : refuse("families", "missing: not a card state");
    }

    bool null() { return value("null", 0, false); }
    bool boolean(bool v) { return value(v ? "true" : "false", v ? 1 : 0, false); }
    bool number_integer(Json::number_integer_t v) { return number(v, 0); }
    bool number_unsigned(Json::number_unsigned_t v) { return number(v, v); }
    bool number_float(Json::number_float_t, const Json::string_t &text) { return value(text, 0, false); }
    bool string(Json::string_t &text) { return value(text, 0, true); }
    bool binary(Json::binary_t &) { return refuse(where(), "unexpected"); }
    bool start_object(size_t) { return open(false); }
    bool end_object() { return close(); }
    bool start_array(size_t) { return open(true); }
    bool end_array() { return close(); }
    bool key(Json::string_t &text) {
        frames_.back().key = text;
        return true;
    }
    bool parse_error(size_t, const std::string &, const Json::exception &problem) {
        if (!error_.empty()) return false;
        if (bytes_.error() != 0) {
            error_ = fmt::format("{}: {}", name_, strerror(bytes_.error()));
            return false;
        }
        // "[json.exception.parse_error.101] parse error at line 1, column 2: ..." : the last part is for
        // people.
        std::string_view what = problem.what();
        if (const size_t reason = what.find(": "); reason != what.npos) what.remove_prefix(reason + 2);
        return refuse(where(), bytes_.at_end() ? "the file ends early" : what);
    }

  private:
    static constexpr size_t kEntryDepth = 5;  // document, families, family, entries, entry
    static constexpr size_t kNoField = ~size_t{0};

    struct Frame {
        bool is_array = false;
        size_t index = 0;         // of the next element
        std::string key;          // of the next value
        size_t path = 0;          // within an entry: length of this container's path
        size_t field = kNoField;  // of a reference and of a list of plain values
    };

    bool refuse(std::string_view field, std::string_view what) {
        error_ = fmt::format("{}:{}: {}{}{}", name_, bytes_.line(), field, field.empty() ? "" : ": ", what);
        return false;
    }
    std::string where() const {
        std::string path;
        for (const Frame &frame : frames_) {
            if (frame.is_array) {
                // An element that is open has been counted.
                const bool open = &frame != &frames_.back();
                fmt::format_to(std::back_inserter(path), "[{}]", frame.index - (open ? 1 : 0));
            } else if (!frame.key.empty()) {
                if (!path.empty()) path += '.';
                path += frame.key;
            }
        }
        return path;
    }

    bool in_family() const { return frames_.size() >= 3 && frames_[0].key == "families"; }
    bool in_entry() const { return frames_.size() >= kEntryDepth && in_entries_; }

    template <typename Number>
    bool number(Number v, uint64_t as_unsigned) {
        char digits[24];
        const char *const end = std::to_chars(digits, digits + sizeof digits, v).ptr;
        return value({digits, static_cast<size_t>(end - digits)}, as_unsigned, false);
    }

    // The path of the next value of the innermost container, in path_.
    void extend_path() {
        const Frame &frame = frames_.back();
        path_.resize(frame.path);
        if (frame.is_array) {
            fmt::format_to(std::back_inserter(path_), "[{}]", frame.index);
        } else {
            if (!path_.empty()) path_ += '.';
            path_ += frame.key;
        }
    }

    bool open(bool array) {
        const size_t depth = frames_.size();
        if (depth >= kDeepest) return refuse(where(), "nested too deeply");
        if (depth == 0 && array) return refuse("", "not a card state");
        Frame frame;
        frame.is_array = array;
        if (in_entry()) {
            extend_path();
            frame.path = path_.size();
            if (array) {
                frame.field = entry_.size();
                entry_.add(path_);
            }
        } else if (!open_outside_entry(depth, array)) {
            return false;
        }
        if (!frames_.empty() && frames_.back().is_array) ++frames_.back().index;
        frames_.push_back(std::move(frame));
        return true;
    }

    bool open_outside_entry(size_t depth, bool array) {
        if (depth == 1 && (frames_[0].key == "families" || frames_[0].key == "accounts")) {
            if (!format_seen_ || !kind_seen_)
                return refuse(frames_[0].key, "format and kind have to stand before it: not a card state");
            if (array) return refuse(frames_[0].key, "not an object");
            families_seen_ = families_seen_ || frames_[0].key == "families";
        } else if (depth == 2 && frames_[0].key == "accounts") {
            if (array) return refuse(where(), "not an object");
            account_ = {frames_[1].key, 0, 0};
        } else if (depth == 2 && frames_[0].key == "families") {
            if (array) return refuse(where(), "not an object");
            keys_.clear();
            family_told_ = false;
        } else if (depth == 3 && in_family()) {
            const std::string &part = frames_[2].key;
            if (!array || (part != "key" && part != "entries")) return refuse(where(), "unexpected");
            if (part == "entries") {
                if (family_told_) return refuse(where(), "stands there twice");
                visitor_.family_begins(frames_[1].key, keys_);
                family_told_ = in_entries_ = true;
            }
        } else if (depth == 4 && in_entries_) {
            if (array) return refuse(where(), "an entry is an object");
            entry_.clear();
        } else if (in_family()) {
            return refuse(where(), "unexpected");
        }
        return true;
    }

    bool close() {
        frames_.pop_back();
        const size_t depth = frames_.size();
        if (depth == 4 && in_entries_) {
            visitor_.entry(entry_);
        } else if (depth == 3 && in_entries_) {
            in_entries_ = false;
            visitor_.family_ends();
        } else if (depth == 2 && frames_[0].key == "families" && !family_told_) {
            return refuse(where(), "has no entries");
        } else if (depth == 2 && frames_[0].key == "accounts") {
            visitor_.account(account_);
        }
        return true;
    }

    bool value(std::string_view text, uint64_t number, bool is_string) {
        const size_t depth = frames_.size();
        if (depth == 0) return refuse("", "not a card state");
        if (in_entry()) {
            add_to_entry(text);
        } else if (depth == 1) {
            if (!check_head(text, number, is_string)) return false;
        } else if (depth == 3 && frames_[0].key == "accounts") {
            if (frames_[2].key == "used") account_.used = number;
            if (frames_[2].key == "limit") account_.limit = number;
        } else if (depth == 4 && in_family() && frames_[2].key == "key") {
            keys_.emplace_back(text);
        } else if (frames_[0].key == "families" || frames_[0].key == "accounts") {
            return refuse(where(), "unexpected");
        } else {
            visitor_.header(where(), text);
        }
        if (frames_.back().is_array) ++frames_.back().index;
        return true;
    }

    bool check_head(std::string_view text, uint64_t number, bool is_string) {
        const std::string &key = frames_[0].key;
        if (key == "format") {
            if (is_string || number != kFormat)
                return refuse(key, fmt::format("{} is not known; known: {}", text, kFormat));
            format_seen_ = true;
        } else if (key == "kind") {
            if (text != kKind) return refuse(key, "not a card state");
            kind_seen_ = true;
        } else if (key == "families" || key == "accounts") {
            return refuse(key, "not an object");
        }
        return true;
    }

    void add_to_entry(std::string_view text) {
        Frame &frame = frames_.back();
        if (frame.is_array) {
            StateField &field = entry_.at(frame.field);
            if (!field.value.empty()) field.value += ", ";
            field.value += text;
            return;
        }
        const bool inner = frames_.size() > kEntryDepth;
        if (inner && (frame.key == "to" || frame.key == "ends" || frame.key == "dangling" ||
                      frame.key == "ends_dangling")) {
            if (frame.field == kNoField) {
                frame.field = entry_.size();
                path_.resize(frame.path);
                entry_.add(path_).is_reference = true;
            }
            StateField &field = entry_.at(frame.field);
            if (frame.key == "to") field.value = text;
            if (frame.key == "ends") field.ends = text;
            if (frame.key == "dangling") field.dangling = text == "true";
            if (frame.key == "ends_dangling") field.ends_dangling = text == "true";
            return;
        }
        extend_path();
        entry_.add(path_).value = text;
    }

    const std::string &name_;
    const Bytes &bytes_;
    StateVisitor &visitor_;
    std::string error_;
    std::vector<Frame> frames_;
    bool format_seen_ = false, kind_seen_ = false, families_seen_ = false;
    bool family_told_ = false, in_entries_ = false;
    std::vector<std::string> keys_;
    StateAccount account_;
    StateEntry entry_;
    std::string path_;
};

bool parse(Bytes &bytes, const std::string &name, StateVisitor &visitor, std::string *error) {
    Handler handler(name, bytes, visitor);
    const bool parsed = Json::sax_parse(ByteIterator{&bytes}, ByteIterator{}, &handler);
    const bool good = handler.finish() && parsed;
    *error = handler.error();
    return good;
}

}  // namespace

const StateField *StateEntry::find(std::string_view name) const {
    for (const StateField &field : *this) {
        if (field.name == name) return &field;
    }
    return nullptr;
}

bool StateEntry::dangles() const {
    for (const StateField &field : *this) {
        if (field.dangles()) return true;
    }
    return false;
}

StateField &StateEntry::add(std::string_view name) {
    if (count_ == fields_.size()) fields_.emplace_back();
    StateField &field = fields_[count_++];
    field.name = name;
    field.value.clear();
    field.ends.clear();
    field.is_reference = field.dangling = field.ends_dangling = false;
    return field;
}

bool read_state(const std::string &path, StateVisitor &visitor, std::string *error) {
    const int fd = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        *error = path + ": " + strerror(errno);
        return false;
    }
    Bytes bytes(fd);
    bool good = bytes.error() == 0;
    if (good) {
        good = parse(bytes, path == "-" ? "standard input" : path, visitor, error);
    } else {
        *error = path + ": " + strerror(bytes.error());
    }
    if (fd != STDIN_FILENO) close(fd);
    return good;
}

bool read_state_text(std::string_view text, const std::string &name, StateVisitor &visitor,
                     std::string *error) {
    Bytes bytes(text);
    return parse(bytes, name, visitor, error);
}

}  // namespace kivctl
