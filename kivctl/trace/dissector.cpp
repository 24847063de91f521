// kivctl trace dissector: the schema as tables in Lua, and behind them the code that reads entries by them.
#include <absl/container/flat_hash_map.h>
#include <fmt/core.h>

#include <bit>
#include <cstdio>
#include <string>
#include <string_view>

#include "kivctl/commands.h"
#include "kivctl/trace/dissector_code.h"
#include "kivctl/trace/trace_commands.h"
#include "trace/entry.h"
#include "trace/reader.h"
#include "trace/schema_bytes.h"

namespace kivctl {
namespace {

std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte >= 0x7f || c == '"' || c == '\\')
            out += fmt::format("\\{:03}", byte);
        else
            out += c;
    }
    return out + '"';
}

const char *name_of(prm_field_kind kind) {
    switch (kind) {
        case PRM_FIELD_RESERVED:
            return "reserved";
        case PRM_FIELD_AS_IS:
        case PRM_FIELD_NUMBER:
            return "number";
        case PRM_FIELD_SIGNED:
            return "signed";
        case PRM_FIELD_HEX:
            return "hex";
        case PRM_FIELD_IPV4:
            return "ipv4";
        case PRM_FIELD_IPV6:
            return "ipv6";
        case PRM_FIELD_MAC:
            return "mac";
        case PRM_FIELD_TEXT:
            return "text";
        case PRM_FIELD_FLAGS:
            return "flags";
        case PRM_FIELD_ENUMERATION:
            return "enumeration";
        case PRM_FIELD_RECORD:
            return "record";
        case PRM_FIELD_CHOICE:
            return "choice";
        case PRM_FIELD_BUFFER:
            return "buffer";
    }
    return "reserved";
}

const char *name_of(card::Direction direction) {
    switch (direction) {
        case card::Direction::NONE:
            return "NONE";
        case card::Direction::IN:
            return "IN";
        case card::Direction::OUT:
            return "OUT";
        case card::Direction::INOUT:
            return "INOUT";
    }
    return "NONE";
}

class Tables {
  public:
    explicit Tables(const trace::Schema &schema) : schema_(schema) {}

    std::string text() {
        out_ = "local codes = {\n";
        for (const trace::Code &code : schema_.codes)
            out_ += fmt::format("  [{}] = {},\n", code.value, quoted(code.name));
        out_ += "}\nlocal records = {}\n";
        std::string places;
        for (size_t place = 0; place < schema_.records.size(); ++place)
            if (schema_.records[place] != nullptr)
                places += fmt::format("  [{}] = {},\n", place, record(schema_.records[place]));
        out_ += "local record_at = {\n" + places + "}\nlocal operations = {\n";
        for (size_t i = 0; i < schema_.operations.size(); ++i) operation(i, schema_.operations[i]);
        out_ += "}\nlocal pieces = {\n";
        for (const std::string &piece : trace::schema_pieces(schema_))
            out_ += fmt::format("  {},\n", sum_of(piece));
        return out_ + "}\n\n";
    }

  private:
    // Of a piece as its packet has it: with zeros behind it.
    static uint32_t sum_of(const std::string &piece) {
        uint32_t sum = 0;
        for (size_t i = 0; i < trace::padded(piece.size()); ++i)
            sum = sum * 31 + (i < piece.size() ? static_cast<uint8_t>(piece[i]) : 0U);
        return sum;
    }

    static std::string selector(const char *name, const prm_selector &selector) {
        return selector.name == nullptr ? ""
                                        : fmt::format(", {} = {{ offset = {}, width = {} }}", name,
                                                      selector.offset, selector.width);
    }

    static std::string names(prm_list<prm_name> list) {
        std::string text = "{ ";
        for (const prm_name &name : list) text += fmt::format("[{}] = {}, ", name.value, quoted(name.text));
        return text + "}";
    }

    // Its place among the records of the table; those inside it come before it.
    size_t record(const prm_record *record) {
        if (const auto known = written_.find(record); known != written_.end()) return known->second;
        const std::string inside = fields(record->fields);
        std::string items;
        if (record->items.record != nullptr)
            items =
                fmt::format(", items = {{ name = {}, record = {}, tail = {} }}", quoted(record->items.name),
                            this->record(record->items.record), record->items.tail);
        const size_t place = written_.size() + 1;
        written_.emplace(record, place);
        out_ += fmt::format("records[{}] = {{ name = {}, size = {}{}, fields = {{\n{}}} }}\n", place,
                            quoted(record->name), record->size, items, inside);
        return place;
    }

    std::string fields(prm_list<prm_field> list) {
        std::string text;
        for (const prm_field &field : list) {
            text +=
                fmt::format("  {{ name = {}, kind = \"{}\", offset = {}, width = {}, count = {}",
                            quoted(field.name), name_of(field.kind), field.offset, field.width, field.count);
            if (field.order == PRM_NETWORK_ORDER) text += ", big = true";
            text += selector("selector", field.selector);
            if (field.kind == PRM_FIELD_ENUMERATION) text += ", names = " + names(field.names);
            if (field.kind == PRM_FIELD_FLAGS) text += ", bits = " + bits(field.bits);
            if (field.kind == PRM_FIELD_CHOICE) text += ", choices = " + choices(field.choices);
            if (field.record != nullptr) text += fmt::format(", record = {}", record(field.record));
            text += " },\n";
        }
        return text;
    }

    // First bit and number of each run of bits in the mask.
    static std::string runs(uint64_t mask) {
        std::string text = "{ ";
        for (int at = 0; at < 64; ++at) {
            const int count = std::countr_one(mask >> at);
            if (count == 0) continue;
            text += fmt::format("{{ {}, {} }}, ", at, count);
            at += count;
        }
        return text + "}";
    }

    static std::string bits(prm_list<prm_bits> list) {
        std::string text = "{ ";
        for (const prm_bits &bits : list) {
            text += fmt::format("{{ name = {}, runs = {}", quoted(bits.name), runs(bits.mask));
            if (bits.names.size > 0) text += ", names = " + names(bits.names);
            text += " }, ";
        }
        return text + "}";
    }

    std::string choices(prm_list<prm_choice> list) {
        std::string text = "{\n";
        for (const prm_choice &choice : list)
            text += fmt::format("  {{ value = {}, {}fields = {{\n{}  }} }},\n", choice.value,
                                choice.otherwise ? "otherwise = true, " : "", fields(choice.fields));
        return text + "  }";
    }

    void operation(size_t place, const trace::Operation &operation) {
        out_ += fmt::format("  [{}] = {{ name = {}, family = {}, answers_status = {}, parameters = {{", place,
                            quoted(operation.row.name), quoted(operation.row.family),
                            operation.row.answers_status);
        for (const card::Parameter &parameter : operation.row.parameters)
            out_ += fmt::format(" {{ name = {}, type = {}, direction = \"{}\" }},", quoted(parameter.name),
                                quoted(parameter.type), name_of(parameter.direction));
        out_ += " } },\n";
    }

    const trace::Schema &schema_;
    std::string out_;
    absl::flat_hash_map<const prm_record *, size_t> written_;
};

}  // namespace

int write_dissector(const DissectorOptions &options) {
    trace::Reader reader;
    std::string error;
    if (!options.trace.empty() && !reader.open(options.trace, &error)) return unusable(error);
    const trace::Schema &schema = options.trace.empty() ? trace::this_build() : reader.schema();
    fmt::print("-- Reads traces of prm_kiv in Wireshark. Written by: kivctl trace dissector\n{}{}",
               Tables(schema).text(), kDissectorCode);
    return kGood;
}

}  // namespace kivctl
