// Areas of a call and their fields: see fields.h.
#include "card/faults/fields.h"

#include <arpa/inet.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <limits>

#include "card/records/registry.h"
#include "wyk_hal_records.h"

namespace card::faults {
namespace {

constexpr size_t kMostBytes = 1 << 20;  // of one area
constexpr size_t kMostText = 256;

// Numbers and texts that are no records have a field without a name: the prefix is all of their path.
template <class Number>
constexpr prm_field kNumberField[] = {prm_field_at<Number>("", 0).number()};
template <class Number>
constexpr prm_record kNumber = {"number", sizeof(Number), kNumberField<Number>, {}};
constexpr prm_field kWordField[] = {prm_field_at<u64>("", 0).hex()};
constexpr prm_record kWord = {"word", sizeof(u64), kWordField, {}};
constexpr prm_field kTextField[] = {prm_field_at<char[kMostText]>("", 0).text()};
constexpr prm_record kText = {"text", kMostText, kTextField, {}};

// The kernel copies: a pointer that leads nowhere is told, and no fault of this process.
using Copy = ssize_t (*)(pid_t, const iovec *, unsigned long, const iovec *, unsigned long, unsigned long);

bool copied(Copy copy, void *here, u64 there, size_t size) {
    const iovec local = {here, size};
    const iovec remote = {std::bit_cast<void *>(there), size};
    const int saved = errno;
    const bool good = copy(getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(size);
    errno = saved;
    return good;
}

std::vector<u8> bytes_at(u64 address, size_t size) {
    std::vector<u8> bytes;
    if (address == 0 || size == 0 || size > kMostBytes) return bytes;
    bytes.resize(size);
    if (!copied(process_vm_readv, bytes.data(), address, size)) bytes.clear();
    return bytes;
}

// Up to its end, filled with zeros; a page that cannot be read ends it.
std::vector<u8> text_at(u64 address) {
    std::vector<u8> bytes(kMostText);
    if (address == 0) return {};
    for (size_t i = 0; i + 1 < kMostText; ++i) {
        if (!copied(process_vm_readv, &bytes[i], address + i, 1)) return i == 0 ? std::vector<u8>() : bytes;
        if (bytes[i] == 0) break;
    }
    return bytes;
}

const prm_record *number_of(std::string_view type) {
    if (type == "u8") return &kNumber<u8>;
    if (type == "u32") return &kNumber<u32>;
    return &kWord;
}

const Parameter *parameter(OperationId operation, std::string_view name, size_t *place) {
    const auto &parameters = row(operation).parameters;
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (parameters[i].name != name) continue;
        *place = i;
        return &parameters[i];
    }
    return nullptr;
}

u64 argument(OperationId operation, std::string_view name, std::span<const u64, kMostArguments> words) {
    size_t place = 0;
    return parameter(operation, name, &place) != nullptr ? words[place] : 0;
}

bool is_answer(const Parameter &parameter) {
    return parameter.direction == Direction::OUT || parameter.direction == Direction::INOUT;
}

class Gatherer {
  public:
    Gatherer(OperationId operation, std::span<const u64, kMostArguments> words, bool answered)
        : operation_(operation), words_(words), answered_(answered) {}

    std::vector<Area> gathered() {
        const auto &parameters = row(operation_).parameters;
        for (size_t i = 0; i < parameters.size(); ++i) {
            const Parameter &one = parameters[i];
            Area area;
            area.parameter = i;
            area.prefix = one.name;
            area.answers = is_answer(one);
            if (!one.is_pointer()) {
                value(std::move(area), one.type);
            } else if (one.type == "const char *") {
                area.record = &kText;
                area.bytes = text_at(words_[i]);
                areas_.push_back(std::move(area));
            } else if (one.name == "record") {
                record(std::move(area));
            } else if (one.name == "request" || one.name == "response") {
                block(std::move(area), one.name == "request");
            } else if (one.type == "u32 *" || one.type == "prm_handle_t *") {
                area.number = true;
                area.record = one.type == "u32 *" ? &kNumber<u32> : &kWord;
                memory(std::move(area), area.record->size);
            }
        }
        return std::move(areas_);
    }

  private:
    void value(Area area, std::string_view type) {
        area.number = true;
        area.record = number_of(type);
        const u64 word = words_[area.parameter];
        const auto *const begin = reinterpret_cast<const u8 *>(&word);
        area.bytes.assign(begin, begin + area.record->size);
        areas_.push_back(std::move(area));
    }

    void memory(Area area, size_t size) {
        area.address = words_[area.parameter];
        area.bytes = bytes_at(area.address, size);
        areas_.push_back(std::move(area));
    }

    void record(Area area) {
        const RecordLayout layout = record_layout(operation_);
        if (layout.before == nullptr) return;
        area.record = answered_ ? layout.after : layout.before;
        const u64 address = words_[area.parameter];
        size_t size = area.record->size;
        if (operation_ == OperationId::uidb_create_interface_batch) {
            area.item_size = size;
            size *= std::min<u64>(argument(operation_, "count", words_), kMostBytes);
        } else {
            const std::vector<u8> head = bytes_at(address, size);
            if (!head.empty()) size = size_with_items(*area.record, item_count(*area.record, head));
            area.prefix.clear();
        }
        const size_t at = areas_.size(), parameter = area.parameter;
        const bool answers = area.answers;
        memory(std::move(area), size);
        const Area outer = areas_[at];
        if (outer.item_size != 0 || outer.bytes.empty()) return;
        for (const Buffer &buffer :
             buffers(*outer.record, outer.bytes, answered_ && reads_back(operation_))) {
            Area inner;
            inner.parameter = parameter;
            inner.record = buffer.record;
            inner.prefix = buffer.field->name;
            inner.item_size = buffer.item_size;
            inner.answers = answers && reads_back(operation_);
            inner.read_back = inner.answers;
            inner.address = buffer.address;
            if (buffer.count <= kMostBytes && buffer.item_size <= kMostBytes)
                inner.bytes = bytes_at(buffer.address, buffer.count * buffer.item_size);
            areas_.push_back(std::move(inner));
        }
    }

    void block(Area area, bool is_request) {
        const auto type = static_cast<u32>(argument(operation_, "hal_type", words_));
        const HalLayout layout = hal_layout(operation_, type);
        area.record = is_request ? layout.request : layout.response;
        if (area.record == nullptr) return;
        area.prefix += '.';
        std::vector<u8> head;
        if (layout.request != nullptr)
            head = bytes_at(argument(operation_, "request", words_), layout.request->size);
        const HalSizes sizes =
            hal_sizes(operation_, type, static_cast<u32>(argument(operation_, "policies", words_)),
                      head.empty() ? nullptr : head.data());
        memory(std::move(area), is_request ? sizes.request : sizes.response);
    }

    OperationId operation_;
    std::span<const u64, kMostArguments> words_;
    bool answered_;
    std::vector<Area> areas_;
};

// Every field of a record in whatever layout, by plain path.
void walk(const prm_record &record, const std::string &prefix, bool answers, std::vector<KnownField> *out);

void walk(prm_list<prm_field> fields, const std::string &prefix, bool answers, std::vector<KnownField> *out) {
    for (const prm_field &field : fields) {
        if (field.kind == PRM_FIELD_CHOICE) {
            for (const prm_choice &choice : field.choices) walk(choice.fields, prefix, answers, out);
        } else if (field.kind == PRM_FIELD_RECORD) {
            walk(*field.record, prefix + field.name + ".", answers, out);
        } else {
            out->push_back({prefix + field.name, &field, answers});
        }
    }
}

void walk(const prm_record &record, const std::string &prefix, bool answers, std::vector<KnownField> *out) {
    walk(record.fields, prefix, answers, out);
    if (record.items.record != nullptr)
        walk(*record.items.record, prefix + record.items.name + ".", answers, out);
}

void walk_buffers(const prm_record &record, bool reads, std::vector<KnownField> *out) {
    for (const prm_field &field : record.fields) {
        if (field.kind != PRM_FIELD_BUFFER) continue;
        for (const prm_buffer_choice &choice : field.items) {
            const std::string prefix = std::string(field.name) + ".";
            if (choice.record != nullptr) walk(*choice.record, prefix, reads, out);
            if (reads && choice.answer != nullptr) walk(*choice.answer, prefix, true, out);
        }
    }
}

// All that the type of a HAL request may choose.
constexpr u32 kMostHalTypes = 16;

void walk_block(OperationId operation, bool is_request, bool answers, std::vector<KnownField> *out) {
    for (u32 type = 0; type < kMostHalTypes; ++type) {
        const HalLayout layout = hal_layout(operation, type);
        const prm_record *const record = is_request ? layout.request : layout.response;
        if (record != nullptr) walk(*record, is_request ? "request." : "response.", answers, out);
    }
}

// Takes "name", "name." or "name[3]." off the begin.
bool take_off(std::string_view name, std::string_view *path) {
    if (!path->starts_with(name)) return false;
    std::string_view rest = path->substr(name.size());
    if (rest.starts_with('[')) {
        const size_t close = rest.find(']');
        if (close == rest.npos) return false;
        rest.remove_prefix(close + 1);
    }
    if (!rest.starts_with('.')) return false;
    *path = rest.substr(1);
    return true;
}

bool same_path(std::string_view written, std::string_view path) {
    while (!path.empty()) {
        if (!written.empty() && written.front() == path.front()) {
            written.remove_prefix(1);
            path.remove_prefix(1);
        } else if (path.front() == '[') {
            const size_t close = path.find(']');
            if (close == path.npos) return false;
            path.remove_prefix(close + 1);
        } else {
            return false;
        }
    }
    return written.empty();
}

std::vector<u8> in_order(u64 number, size_t width, prm_byte_order order) {
    std::vector<u8> bytes(width);
    for (size_t i = 0; i < width && i < sizeof number; ++i)
        bytes[order == PRM_LITTLE_ENDIAN ? i : width - 1 - i] = static_cast<u8>(number >> 8 * i);
    return bytes;
}

bool parse_number(std::string_view text, u64 *number) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number, base);
    return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

bool fits(u64 number, size_t width) {
    return width >= sizeof number || number >> 8 * width == 0;
}

// A number with a sign, as far as the width holds it.
bool parse_negative(std::string_view text, size_t width, u64 *number) {
    if (!text.starts_with('-') || !parse_number(text.substr(1), number)) return false;
    const u64 most = width >= sizeof *number ? u64{1} << 63 : u64{1} << (8 * width - 1);
    if (*number > most) return false;
    *number = -*number;
    if (width < sizeof *number) *number &= (u64{1} << 8 * width) - 1;
    return true;
}

const prm_name *find(prm_list<prm_name> names, std::string_view text) {
    for (const prm_name &name : names) {
        if (name.text == text) return &name;
    }
    return nullptr;
}

// "labels|eompls|count=3|0x100".
bool parse_flags(prm_list<prm_bits> list, std::string_view text, u64 *number) {
    *number = 0;
    while (!text.empty()) {
        const size_t bar = text.find('|');
        const std::string_view part = text.substr(0, bar);
        text = bar == text.npos ? std::string_view() : text.substr(bar + 1);
        const size_t equals = part.find('=');
        const auto *const bits = std::find_if(list.begin(), list.end(), [&](const prm_bits &one) {
            return part.substr(0, equals) == one.name;
        });
        u64 value = 0;
        if (bits == list.end()) {
            if (!parse_number(part, &value)) return false;
        } else if (equals == part.npos) {
            if (!std::has_single_bit(bits->mask)) return false;
            value = bits->mask;
        } else {
            const std::string_view given = part.substr(equals + 1);
            if (const prm_name *const name = find(bits->names, given)) {
                value = name->value;
            } else if (!parse_number(given, &value)) {
                return false;
            }
            const int shift = std::countr_zero(bits->mask);
            if (value > bits->mask >> shift) return false;
            value <<= shift;
        }
        *number |= value;
    }
    return true;
}

// Pairs of digits, with `between` between them.
bool parse_bytes(std::string_view text, std::string_view between, size_t width, std::vector<u8> *bytes) {
    bytes->clear();
    while (bytes->size() < width) {
        if (!bytes->empty()) {
            if (!text.starts_with(between)) return false;
            text.remove_prefix(between.size());
        }
        u8 byte = 0;
        if (text.size() < 2) return false;
        const auto [end, error] = std::from_chars(text.data(), text.data() + 2, byte, 16);
        if (error != std::errc() || end != text.data() + 2) return false;
        bytes->push_back(byte);
        text.remove_prefix(2);
    }
    return text.empty();
}

constexpr std::string_view kCountName = "count";

// The number of a record that says how many: of items behind it, of elements, of records in its buffers, or
// one called so.
bool find_count(const prm_record &record, size_t base, size_t *offset, size_t *width) {
    const auto take = [&](const prm_selector &selector) {
        if (selector.name == nullptr) return false;
        *offset = base + selector.offset;
        *width = selector.width;
        return true;
    };
    if (take(record.items.count)) return true;
    for (const prm_field &field : record.fields) {
        if (take(field.used)) return true;
        if (field.name == kCountName && field.count == 1 && field.width <= sizeof(u64)) {
            *offset = base + field.offset;
            *width = field.width;
            return true;
        }
        if (field.kind == PRM_FIELD_RECORD && find_count(*field.record, base + field.offset, offset, width))
            return true;
    }
    return false;
}

}  // namespace

void Area::each(FieldVisitor visit) const {
    if (item_size != 0) {
        decode_items(*record, item_size, bytes.size() / item_size, bytes, visit, prefix);
    } else {
        decode(*record, bytes, visit, prefix);
    }
}

std::vector<Area> areas_of(OperationId operation, std::span<const u64, kMostArguments> words, bool answered) {
    return Gatherer(operation, words, answered).gathered();
}

bool write_to(const Area &area, size_t offset, Block bytes) {
    if (area.address == 0 || offset > area.bytes.size() || bytes.size() > area.bytes.size() - offset)
        return false;
    return copied(process_vm_writev, const_cast<u8 *>(bytes.data()), area.address + offset, bytes.size());
}

std::vector<KnownField> known_fields(OperationId operation) {
    std::vector<KnownField> fields;
    for (const Parameter &one : row(operation).parameters) {
        const bool answers = is_answer(one);
        const std::string name(one.name);
        if (!one.is_pointer()) {
            fields.push_back({name, number_of(one.type)->fields.begin(), false});
        } else if (one.type == "const char *") {
            fields.push_back({name, kTextField, false});
        } else if (one.name == "record") {
            const RecordLayout layout = record_layout(operation);
            if (layout.before == nullptr) continue;
            walk(*layout.before, "", answers, &fields);
            if (layout.after != layout.before) walk(*layout.after, "", answers, &fields);
            walk_buffers(*layout.before, answers && reads_back(operation), &fields);
        } else if (one.name == "request" || one.name == "response") {
            walk_block(operation, one.name == "request", answers, &fields);
        } else if (one.type == "u32 *") {
            fields.push_back({name, kNumberField<u32>, answers});
        } else if (one.type == "prm_handle_t *") {
            fields.push_back({name, kWordField, answers});
        }
    }
    return fields;
}

std::string plain_path(std::string_view path) {
    take_off("record", &path);
    std::string plain;
    for (size_t i = 0; i < path.size(); ++i) {
        if (path[i] == '[') {
            const size_t close = path.find(']', i);
            if (close != path.npos) {
                i = close;
                continue;
            }
        }
        plain += path[i];
    }
    return plain;
}

bool means(std::string_view written, std::string_view path) {
    if (same_path(written, path)) return true;
    std::string_view rest = path;
    for (const std::string_view name : {"record", "request", "response"})
        if (take_off(name, &rest)) return same_path(written, rest);
    rest = written;
    return take_off("record", &rest) && same_path(rest, path);
}

std::optional<std::vector<u8>> encoded(const prm_field &field, size_t width, std::string_view value) {
    u64 number = 0;
    if (field.kind == PRM_FIELD_TEXT) {
        if (value.size() > width) return std::nullopt;
        std::vector<u8> bytes(value.begin(), value.end());
        bytes.resize(width);
        return bytes;
    }
    if (value == "0") return std::vector<u8>(width);
    if (width <= sizeof number &&
        ((parse_number(value, &number) && fits(number, width)) || parse_negative(value, width, &number)))
        return in_order(number, width, field.order);
    std::vector<u8> bytes;
    switch (field.kind) {
        case PRM_FIELD_IPV4: {
            in_addr address = {};
            if (width != 4 || inet_pton(AF_INET, std::string(value).c_str(), &address) != 1)
                return std::nullopt;
            return in_order(ntohl(address.s_addr), width, field.order);
        }
        case PRM_FIELD_IPV6:
            bytes.resize(16);
            if (width != 16 || inet_pton(AF_INET6, std::string(value).c_str(), bytes.data()) != 1)
                return std::nullopt;
            return bytes;
        case PRM_FIELD_MAC:
            if (!parse_bytes(value, ":", width, &bytes)) return std::nullopt;
            return bytes;
        case PRM_FIELD_ENUMERATION: {
            const prm_name *const name = find(field.names, value);
            if (name == nullptr) return std::nullopt;
            return in_order(name->value, width, field.order);
        }
        case PRM_FIELD_FLAGS:
            if (!parse_flags(field.bits, value, &number) || !fits(number, width)) return std::nullopt;
            return in_order(number, width, field.order);
        case PRM_FIELD_BUFFER:
            if (value != "null") return std::nullopt;
            return std::vector<u8>(width);
        case PRM_FIELD_HEX:
        case PRM_FIELD_RESERVED:
            if (width <= sizeof number || !parse_bytes(value, "", width, &bytes)) return std::nullopt;
            return bytes;
        default:
            return std::nullopt;
    }
}

void offer_words(const prm_field &field, absl::FunctionRef<void(std::string_view)> offer) {
    for (const prm_name &name : field.names) offer(name.text);
    for (const prm_bits &bits : field.bits) offer(bits.name);
}

std::optional<Count> count_in(const std::vector<Area> &areas) {
    Count count;
    const auto taken = [&](size_t area, size_t offset, size_t width) {
        const Area &in = areas[area];
        if (width > sizeof(u64) || offset + width > in.bytes.size()) return false;
        count = {area, offset, width, 0};
        std::memcpy(&count.value, in.bytes.data() + offset, width);
        return count.value != 0;
    };
    // An argument first: where there is one, a record's own count does not matter.
    for (size_t i = 0; i < areas.size(); ++i) {
        const bool counts = areas[i].prefix == kCountName || areas[i].prefix == "policies";
        if (areas[i].number && counts && taken(i, 0, areas[i].record->size)) return count;
    }
    for (size_t i = 0; i < areas.size(); ++i) {
        size_t offset = 0, width = 0;
        if (areas[i].number || areas[i].item_size != 0 || areas[i].prefix.starts_with("response")) continue;
        if (find_count(*areas[i].record, 0, &offset, &width) && taken(i, offset, width)) return count;
    }
    return std::nullopt;
}

bool has_count(OperationId operation) {
    size_t place = 0, offset = 0, width = 0;
    if (parameter(operation, kCountName, &place) != nullptr) return true;
    const RecordLayout layout = record_layout(operation);
    if (layout.before != nullptr && find_count(*layout.before, 0, &offset, &width)) return true;
    for (u32 type = 0; type < kMostHalTypes; ++type) {
        const HalLayout hal = hal_layout(operation, type);
        if (hal.request != nullptr && find_count(*hal.request, 0, &offset, &width)) return true;
    }
    return false;
}

}  // namespace card::faults
