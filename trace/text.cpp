// What a call says: see text.h.
#include "trace/text.h"

#include <fmt/core.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstring>
#include <iterator>

#include "card/records/decode.h"

namespace trace {
namespace {

using card::Direction;
using card::FieldValue;

template <class... Arguments>
void add(std::string *out, fmt::format_string<Arguments...> format, Arguments &&...arguments) {
    fmt::format_to(std::back_inserter(*out), format, std::forward<Arguments>(arguments)...);
}

bool all_zero(Bytes bytes) {
    return std::ranges::all_of(bytes, [](uint8_t byte) { return byte == 0; });
}

uint64_t number_of(Bytes bytes) {
    uint64_t number = 0;
    std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
    return number;
}

// Up to the first zero, in quotes; what lies behind it when that is not 0 all the same.
void append_quoted(std::string *out, Bytes bytes) {
    const auto end = std::ranges::find(bytes, 0);
    const size_t length = static_cast<size_t>(end - bytes.begin());
    *out += '"';
    for (const uint8_t byte : bytes.first(length)) {
        if (byte < 0x20 || byte >= 0x7F || byte == '\\' || byte == '"')
            add(out, "\\x{:02x}", byte);
        else
            *out += static_cast<char>(byte);
    }
    *out += '"';
    Bytes rest = bytes.subspan(length);
    if (all_zero(rest)) return;
    *out += '+';
    for (const uint8_t byte : rest) add(out, "{:02x}", byte);
}

// Takes what a call says, piece by piece. Names of pieces are those of parameters and fields.
class Sink {
  public:
    virtual ~Sink() = default;
    virtual void argument(std::string_view name) = 0;
    virtual void open(std::string_view name) = 0;
    virtual void close() = 0;
    // What follows is what the call left there; `handed`: behind what it was handed.
    virtual void answer(std::string_view name, bool handed) = 0;
    virtual void value(std::string_view name, std::string_view text, uint64_t number,
                       prm_field_kind kind) = 0;
};

class Teller {
  public:
    Teller(const Call &call, const Naming &names, const TextOptions &options, Sink *sink)
        : call_(call), operation_(*call.operation), names_(names), options_(options), sink_(*sink) {}

    void tell() {
        const auto &parameters = operation_.row.parameters;
        for (size_t i = 0; i < parameters.size(); ++i) {
            sink_.argument(parameters[i].name);
            if (parameters[i].is_pointer())
                pointer(i);
            else
                number(i);
        }
    }

  private:
    const Memory *memory_of(size_t parameter, uint16_t field) const {
        for (const Memory &memory : call_.memory)
            if (memory.parameter == parameter && memory.field == field) return &memory;
        return nullptr;
    }

    bool succeeded() const { return !operation_.row.answers_status || call_.result == 0; }

    void number(size_t i) {
        const card::Parameter &parameter = operation_.row.parameters[i];
        const uint64_t value = call_.arguments[i];
        text_.clear();
        if (parameter.type == "prm_notify_t") {  // a function
            text_ = value == 0 ? "null" : "set";
        } else if (is_address(operation_.arguments[i]) && value == 0) {
            text_ = "null";
        } else if (prm_handle_is_handed_out(operation_.arguments[i]) && value != 0) {
            if (!names_.append(&text_, operation_.arguments[i], value)) add(&text_, "{}", value);
        } else if (parameter.type == "uintptr_t" && value != 0) {
            // A cookie: a number, or a handle.
            const size_t begin = text_.size();
            for (const prm_handle_kind kind : {PRM_HANDLE_CLIENT, PRM_HANDLE_CONNECTION}) {
                if (text_.size() != begin && !text_.ends_with("#unknown")) break;
                text_.resize(begin);
                names_.append(&text_, kind, value);
            }
            if (text_.ends_with("#unknown")) {
                text_.resize(begin);
                if (value <= UINT32_MAX)
                    add(&text_, "{:#x}", value);
                else
                    text_ += "address";
            }
        } else if (operation_.arguments[i] == PRM_HANDLE_INTERFACE || parameter.name == "code") {
            add(&text_, "{:#x}", value);
        } else {
            add(&text_, "{}", value);
        }
        sink_.value("", text_, value, PRM_FIELD_NUMBER);
    }

    void pointer(size_t i) {
        const Direction direction = operation_.row.parameters[i].direction;
        const Memory *const memory = memory_of(i, Memory::kWhole);
        if (memory == nullptr || memory->address == 0) {
            sink_.value("", call_.arguments[i] == 0 ? "null" : "unknown", 0, PRM_FIELD_BUFFER);
            return;
        }
        content(*memory, direction, "");
    }

    // What is handed over, and then what the call left there. An OUT parameter is handed over as what happens
    // to be there.
    void content(const Memory &memory, Direction direction, std::string_view name) {
        const bool is_out = direction == Direction::OUT;
        if (!is_out) block(memory, name, memory.record, memory.before, {}, true);
        if (!call_.returned || memory.after.empty()) {
            if (is_out) sink_.value(name, "out", 0, PRM_FIELD_BUFFER);
            return;
        }
        const bool as_before =
            memory.after.data() == memory.before.data() || std::ranges::equal(memory.after, memory.before);
        if (as_before && (!is_out || !succeeded())) {
            if (is_out) sink_.value(name, "out", 0, PRM_FIELD_BUFFER);
            return;
        }
        sink_.answer(name, !is_out);
        block(memory, name, memory.answer, memory.after, is_out && succeeded() ? Bytes() : memory.before,
              false);
    }

    void block(const Memory &memory, std::string_view name, const prm_record *record, Bytes bytes,
               Bytes before, bool with_buffers) {
        if (record == nullptr) {
            plain(memory, name, bytes);
            return;
        }
        sink_.open(name);
        size_t shown_to = 0;
        const auto gap = [&](size_t to) {
            if (to > shown_to && to <= bytes.size()) uncovered(bytes, before, shown_to, to);
        };
        const auto show = [&](const FieldValue &value) {
            gap(value.offset);
            shown_to = std::max(shown_to, value.offset + value.bytes.size());
            if (before.empty()
                    ? value.is_zero() && !options_.zeros
                    : value.offset + value.bytes.size() <= before.size() &&
                          std::ranges::equal(value.bytes, before.subspan(value.offset, value.bytes.size())))
                return;
            if (value.field.kind == PRM_FIELD_BUFFER)
                buffer(memory, value, with_buffers);
            else
                field(value);
        };
        if (memory.items > 1)
            card::decode_items(*record, memory.item_size, memory.items, bytes, show, "");
        else
            card::decode(*record, bytes, show);
        gap(bytes.size());
        if (memory.cut) sink_.value("cut", "here", 0, PRM_FIELD_TEXT);
        sink_.close();
    }

    // Bytes that no field tells of.
    void uncovered(Bytes bytes, Bytes before, size_t from, size_t to) {
        const Bytes part = bytes.subspan(from, to - from);
        if (before.empty() ? all_zero(part)
                           : to <= before.size() && std::ranges::equal(part, before.subspan(from, to - from)))
            return;
        text_.clear();
        append_bytes(&text_, part);
        char name[16];
        *fmt::format_to(name, "byte{}", from) = '\0';
        sink_.value(name, text_, number_of(part), PRM_FIELD_RESERVED);
    }

    void buffer(const Memory &owner, const FieldValue &value, bool with_content) {
        const Memory *const memory = owner.field == Memory::kWhole && value.offset < Memory::kWhole
                                         ? memory_of(owner.parameter, static_cast<uint16_t>(value.offset))
                                         : nullptr;
        if (value.is_zero())
            sink_.value(value.path, "null", 0, PRM_FIELD_BUFFER);
        else if (memory == nullptr || memory->address == 0)
            sink_.value(value.path, "unknown", 0, PRM_FIELD_BUFFER);
        else if (with_content)
            content(*memory, operation_.row.parameters[owner.parameter].direction, value.path);
        else
            sink_.value(value.path, "other", 0, PRM_FIELD_BUFFER);
    }

    void field(const FieldValue &value) {
        const uint64_t number = value.bytes.size() <= 8 ? value.number() : 0;
        text_.clear();
        const prm_handle_kind kind = kind_in(operation_, value.field.handle);
        if (value.field.kind == PRM_FIELD_TEXT)
            append_quoted(&text_, value.bytes);
        else if (value.bytes.size() > 8 &&
                 (value.field.kind == PRM_FIELD_HEX || value.field.kind == PRM_FIELD_RESERVED))
            append_bytes(&text_, value.bytes);
        else if (value.field.kind == PRM_FIELD_FLAGS)
            flags(value.field.bits, number);
        else if (number == 0 || !prm_handle_is_handed_out(kind) || !names_.append(&text_, kind, number))
            card::append_text(&text_, value);
        sink_.value(value.path, text_, number, value.field.kind);
    }

    void flags(prm_list<prm_bits> list, uint64_t number) {
        const bool names_any = std::ranges::any_of(
            list, [](const prm_bits &bits) { return prm_handle_is_handed_out(bits.handle); });
        if (!names_any || number == 0) return card::append_flags(&text_, list, number);
        card::for_each_part(list, number, [&](const card::Part &part) {
            if (!text_.empty()) text_ += '|';
            const size_t begin = text_.size();
            if (part.bits != nullptr && prm_handle_is_handed_out(part.bits->handle)) {
                add(&text_, "{}=", part.name);
                if (names_.append(&text_, part.bits->handle, part.value)) return;
                text_.resize(begin);
            }
            const uint64_t mask = part.bits != nullptr ? part.bits->mask : ~uint64_t{0};
            const int low = part.bits != nullptr ? std::countr_zero(mask) : 0;
            card::append_flags(&text_, list, part.value << low);
        });
    }

    // Memory without a layout: a text, a handle, a number, bytes.
    void plain(const Memory &memory, std::string_view name, Bytes bytes) {
        text_.clear();
        const bool is_whole = memory.field == Memory::kWhole;
        const std::string_view type = is_whole ? operation_.row.parameters[memory.parameter].type : "";
        const prm_handle_kind kind = is_whole ? operation_.arguments[memory.parameter] : PRM_HANDLE_NONE;
        const uint64_t number = number_of(bytes);
        prm_field_kind shown_as = PRM_FIELD_HEX;
        if (type.starts_with("const char")) {
            append_quoted(&text_, bytes);
            shown_as = PRM_FIELD_TEXT;
        } else if (bytes.size() <= 8) {
            if (number == 0 || !prm_handle_is_handed_out(kind) || !names_.append(&text_, kind, number))
                add(&text_, "{}", number);
            shown_as = PRM_FIELD_NUMBER;
        } else {
            append_bytes(&text_, bytes);
        }
        if (memory.cut) text_ += "...";
        sink_.value(name, text_, number, shown_as);
    }

    const Call &call_;
    const Operation &operation_;
    const Naming &names_;
    const TextOptions &options_;
    Sink &sink_;
    std::string text_;
};

class LineSink : public Sink {
  public:
    explicit LineSink(std::string *out) : out_(*out) {}

    void argument(std::string_view) override {
        if (arguments_++ > 0) out_ += ", ";
        starts_ = true;
    }
    void open(std::string_view name) override {
        begin(name);
        out_ += '{';
        ++depth_;
        starts_ = true;
    }
    void close() override {
        out_ += '}';
        --depth_;
        starts_ = false;
    }
    void answer(std::string_view name, bool handed) override {
        if (handed)
            out_ += ' ';
        else
            begin(name);
        out_ += "-> ";
        is_named_ = true;
    }
    void value(std::string_view name, std::string_view text, uint64_t, prm_field_kind) override {
        begin(name);
        out_ += text;
    }

  private:
    void begin(std::string_view name) {
        if (!is_named_) {
            if (!starts_) out_ += ", ";
            if (!name.empty()) {
                out_ += name;
                out_ += ' ';
            }
        }
        is_named_ = starts_ = false;
    }

    std::string &out_;
    size_t arguments_ = 0, depth_ = 0;
    bool starts_ = true;
    bool is_named_ = false;  // what comes next
};

class FieldSink : public Sink {
  public:
    explicit FieldSink(CallFieldVisitor visit) : visit_(visit) {}

    void argument(std::string_view name) override {
        path_.assign(name);
        lengths_.clear();
        answered_at_ = kNever;
    }
    void open(std::string_view name) override {
        lengths_.push_back(path_.size());
        append(name);
    }
    void close() override {
        path_.resize(lengths_.back());
        lengths_.pop_back();
        if (lengths_.size() == answered_at_) answered_at_ = kNever;
    }
    void answer(std::string_view, bool) override { answered_at_ = lengths_.size(); }
    void value(std::string_view name, std::string_view text, uint64_t number, prm_field_kind kind) override {
        const size_t length = path_.size();
        append(name);
        visit_({path_, text, number, kind, answered_at_ != kNever});
        path_.resize(length);
        if (lengths_.size() == answered_at_) answered_at_ = kNever;
    }

  private:
    static constexpr size_t kNever = ~size_t{0};

    void append(std::string_view name) {
        if (!name.empty() && !path_.empty() && name.front() != '[') path_ += '.';
        path_ += name;
    }

    CallFieldVisitor visit_;
    std::string path_;
    absl::InlinedVector<size_t, 4> lengths_;  // of the paths further out
    size_t answered_at_ = kNever;             // how deep
};

}  // namespace

void append_result(std::string *out, const Call &call, const Naming &names, const TextOptions &options) {
    const Operation &operation = *call.operation;
    if (!call.returned) {
        *out += " = ?";
    } else if (operation.row.answers_status) {
        const uint32_t status = static_cast<uint32_t>(call.result);
        const Schema &schema = options.schema != nullptr ? *options.schema : this_build();
        const Code *const code = status == 0 ? nullptr : schema.code(status);
        if (status == 0)
            *out += " = 0";
        else if (code != nullptr)
            add(out, " = {}", code->name);
        else
            add(out, " = {:#x}", status);
    } else if (prm_handle_is_handed_out(operation.result)) {
        *out += " = ";
        if (call.result == 0)
            *out += "null";
        else
            names.append(out, operation.result, call.result);
    } else if (call.result > UINT32_MAX) {
        *out += " = text";
    } else {
        add(out, " = {}", call.result);
    }
}

void for_each_field(const Call &call, const Naming &names, CallFieldVisitor visit,
                    const TextOptions &options) {
    FieldSink sink(visit);
    Teller(call, names, options, &sink).tell();
}

void append_line(std::string *out, const Call &call, const Naming &names, const TextOptions &options) {
    *out += call.operation->row.name;
    *out += '(';
    LineSink sink(out);
    Teller(call, names, options, &sink).tell();
    *out += ')';
    append_result(out, call, names, options);
}

void append_bytes(std::string *out, Bytes bytes) {
    size_t first = 0, end = bytes.size();
    while (end > 0 && bytes[end - 1] == 0) --end;
    while (first < end && bytes[first] == 0) ++first;
    if (end == 0) {
        *out += '0';
        return;
    }
    if (first > 0) add(out, "@{}:", first);
    for (const uint8_t byte : bytes.subspan(first, end - first)) add(out, "{:02x}", byte);
}

void append_word(std::string *out, std::string_view text) {
    for (const char c : text) {
        if (isalnum(static_cast<unsigned char>(c)) != 0 ||
            std::string_view("_-./#+").find(c) != std::string_view::npos)
            *out += c;
        else
            add(out, "\\x{:02x}", static_cast<unsigned char>(c));
    }
}

}  // namespace trace
