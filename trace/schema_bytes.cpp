// Writes and reads schemas: see schema_bytes.h. One description of each part (visit) serves both directions.
//
// A piece is a letter for its kind (F format of the entries, C codes, R record, O operation), then values:
// numbers as eight bytes, texts and lists with their length before them. A part (a field, a choice, ...)
// stands behind the number of its bytes, so that later builds may add values at its end.
#include "trace/schema_bytes.h"

#include <absl/container/flat_hash_map.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "trace/entry.h"

namespace trace {
namespace {

constexpr uint64_t kFormat = 1;      // of entries; a reader refuses a later one
constexpr int kDeepest = 8;          // choices inside choices
constexpr size_t kMostParts = 4096;  // records, operations or codes, and items of a list

class Writer {
  public:
    explicit Writer(const absl::flat_hash_map<const prm_record *, uint64_t> &places) : places_(places) {}

    template <class Number>
    void number(const Number &value) {
        put(static_cast<uint64_t>(value));
    }
    void text(const char *value) { text(std::string_view(value != nullptr ? value : "")); }
    void text(std::string_view value) {
        put(value.size());
        bytes_ += value;
    }
    void record(const prm_record *const &value) { put(value != nullptr ? places_.at(value) + 1 : 0); }
    template <class Part>
    void list(const prm_list<Part> &list) {
        put(list.size);
        for (const Part &part : list) this->part(part);
    }
    template <class Part>
    void part(const Part &part);

    std::string bytes_;

  private:
    void put(uint64_t value) { bytes_.append(reinterpret_cast<const char *>(&value), sizeof value); }

    const absl::flat_hash_map<const prm_record *, uint64_t> &places_;
};

// Values behind the end of a part are those of builds that did not have them yet: 0, empty, none.
class Reader {
  public:
    // What lists and texts are kept in.
    struct Store {
        std::deque<std::string> texts;
        std::deque<std::vector<prm_name>> names;
        std::deque<std::vector<prm_bits>> bits;
        std::deque<std::vector<prm_choice>> choices;
        std::deque<std::vector<prm_buffer_choice>> buffer_choices;
        std::deque<std::vector<prm_field>> fields;
        std::deque<prm_record> records;
        std::vector<const prm_record *> record_list;

        std::deque<std::vector<prm_name>> &of(prm_name *) { return names; }
        std::deque<std::vector<prm_bits>> &of(prm_bits *) { return bits; }
        std::deque<std::vector<prm_choice>> &of(prm_choice *) { return choices; }
        std::deque<std::vector<prm_buffer_choice>> &of(prm_buffer_choice *) { return buffer_choices; }
        std::deque<std::vector<prm_field>> &of(prm_field *) { return fields; }
    };

    Reader(Bytes bytes, Store &store) : left_(bytes), store_(store) {}

    bool good() const { return good_; }

    template <class Number>
    void number(Number &value) {
        value = static_cast<Number>(take());
    }
    // No text is what says that there is none.
    void text(const char *&value) {
        const std::string &text = store_.texts.emplace_back(take_text());
        value = text.empty() ? nullptr : text.c_str();
    }
    void text(std::string_view &value) { value = store_.texts.emplace_back(take_text()); }
    void record(const prm_record *&value) {
        const uint64_t place = take();
        if (place > store_.record_list.size()) good_ = false;
        value = good_ && place != 0 ? store_.record_list[place - 1] : nullptr;
    }
    template <class Part>
    void list(prm_list<Part> &list) {
        const uint64_t count = take();
        // A part takes eight bytes at least, its length.
        if (count > kMostParts || count > left_.size() / sizeof(uint64_t)) good_ = false;
        if (!good_ || count == 0) return;
        std::vector<Part> parts;
        parts.reserve(count);
        for (uint64_t i = 0; good_ && i < count; ++i) {
            Part part = blank(static_cast<Part *>(nullptr));
            this->part(part);
            parts.push_back(part);
        }
        std::vector<Part> &kept = store_.of(static_cast<Part *>(nullptr)).emplace_back(std::move(parts));
        list.items = kept.data();
        list.size = kept.size();
    }
    template <class Part>
    void part(Part &part);

  private:
    static prm_bits blank(prm_bits *) { return {0, nullptr}; }
    template <class Part>
    static Part blank(Part *) {
        return {};
    }

    uint64_t take() {
        if (left_.empty()) return 0;
        if (left_.size() < sizeof(uint64_t)) {
            good_ = false;
            return 0;
        }
        const auto value = read_fixed<uint64_t>(left_.data());
        left_ = left_.subspan(sizeof value);
        return value;
    }
    std::string take_text() {
        const uint64_t size = take();
        if (size > left_.size()) {
            good_ = false;
            return {};
        }
        std::string text(reinterpret_cast<const char *>(left_.data()), size);
        left_ = left_.subspan(size);
        return text;
    }

    Bytes left_;
    Store &store_;
    bool good_ = true;
    int depth_ = 0;
};

template <class A, class T>
void visit_name(A &a, T &name) {
    a.number(name.value);
    a.text(name.text);
}

template <class A, class T>
void visit_bits(A &a, T &bits) {
    a.number(bits.mask);
    a.text(bits.name);
    a.list(bits.names);
    a.number(bits.handle);
}

template <class A, class T>
void visit_selector(A &a, T &selector) {
    a.text(selector.name);
    a.number(selector.offset);
    a.number(selector.width);
}

template <class A, class T>
void visit_choice(A &a, T &choice) {
    a.number(choice.value);
    a.number(choice.otherwise);
    a.list(choice.fields);
}

template <class A, class T>
void visit_buffer_choice(A &a, T &choice) {
    a.number(choice.value);
    a.number(choice.otherwise);
    a.record(choice.record);
    a.record(choice.answer);
}

template <class A, class T>
void visit_field(A &a, T &field) {
    a.text(field.name);
    a.number(field.offset);
    a.number(field.width);
    a.number(field.count);
    a.number(field.kind);
    a.number(field.order);
    a.number(field.handle);
    a.number(field.written);
    visit_selector(a, field.selector);
    visit_selector(a, field.used);
    visit_selector(a, field.item_size);
    a.list(field.names);
    a.list(field.bits);
    a.list(field.choices);
    a.list(field.items);
    a.record(field.record);
}

template <class A, class T>
void visit_record(A &a, T &record) {
    a.text(record.name);
    a.number(record.size);
    a.list(record.fields);
    a.text(record.items.name);
    a.record(record.items.record);
    visit_selector(a, record.items.count);
    a.number(record.items.tail);
}

template <class A>
void visit(A &a, const prm_name &part) {
    visit_name(a, part);
}
template <class A>
void visit(A &a, prm_name &part) {
    visit_name(a, part);
}
template <class A>
void visit(A &a, const prm_bits &part) {
    visit_bits(a, part);
}
template <class A>
void visit(A &a, prm_bits &part) {
    visit_bits(a, part);
}
template <class A>
void visit(A &a, const prm_choice &part) {
    visit_choice(a, part);
}
template <class A>
void visit(A &a, prm_choice &part) {
    visit_choice(a, part);
}
template <class A>
void visit(A &a, const prm_buffer_choice &part) {
    visit_buffer_choice(a, part);
}
template <class A>
void visit(A &a, prm_buffer_choice &part) {
    visit_buffer_choice(a, part);
}
template <class A>
void visit(A &a, const prm_field &part) {
    visit_field(a, part);
}
template <class A>
void visit(A &a, prm_field &part) {
    visit_field(a, part);
}
template <class A>
void visit(A &a, const prm_record &part) {
    visit_record(a, part);
}
template <class A>
void visit(A &a, prm_record &part) {
    visit_record(a, part);
}

template <class Part>
void Writer::part(const Part &part) {
    const size_t begin = bytes_.size();
    put(0);
    visit(*this, part);
    const uint64_t size = bytes_.size() - begin - sizeof size;
    std::memcpy(bytes_.data() + begin, &size, sizeof size);
}

template <class Part>
void Reader::part(Part &part) {
    const uint64_t size = take();
    if (size > left_.size() || depth_ == kDeepest) good_ = false;
    if (!good_) return;
    const Bytes behind = left_.subspan(size);
    left_ = left_.first(size);
    ++depth_;
    visit(*this, part);
    --depth_;
    left_ = behind;
}

// Fields lie one behind the other inside their record, and nothing is without a size: decoding by such a
// table takes no longer than the block is.
bool is_sound(prm_list<prm_field> fields, size_t size) {
    size_t end = 0;
    for (const prm_field &field : fields) {
        if (field.name == nullptr || field.width == 0 || field.count == 0 || field.offset < end ||
            field.end() > size)
            return false;
        if (field.kind > PRM_FIELD_BUFFER || field.order > PRM_NETWORK_ORDER ||
            field.handle > PRM_HANDLE_QUEUE)
            return false;
        end = field.end();
        if (field.kind == PRM_FIELD_RECORD && (field.record == nullptr || field.record->size != field.width))
            return false;
        if (field.kind == PRM_FIELD_RECORD && field.record->items.record != nullptr) return false;
        for (const prm_choice &choice : field.choices)
            if (!is_sound(choice.fields, size)) return false;
    }
    return true;
}

bool is_sound(const prm_record &record) {
    if (record.name == nullptr || record.size == 0 || !is_sound(record.fields, record.size)) return false;
    return record.items.record == nullptr ||
           (record.items.name != nullptr && record.items.record->items.record == nullptr);
}

template <class A, class Code>
void visit_code(A &a, Code &code) {
    a.number(code.value);
    a.text(code.name);
    a.text(code.text);
}

void add_with_inner(const prm_record *record, std::vector<const prm_record *> *order);

void add_inner(prm_list<prm_field> fields, std::vector<const prm_record *> *order) {
    for (const prm_field &field : fields) {
        if (field.record != nullptr) add_with_inner(field.record, order);
        for (const prm_choice &choice : field.choices) add_inner(choice.fields, order);
        for (const prm_buffer_choice &choice : field.items) {
            if (choice.record != nullptr) add_with_inner(choice.record, order);
            if (choice.answer != nullptr) add_with_inner(choice.answer, order);
        }
    }
}

void add_with_inner(const prm_record *record, std::vector<const prm_record *> *order) {
    if (std::ranges::find(*order, record) != order->end()) return;
    add_inner(record->fields, order);
    if (record->items.record != nullptr) add_with_inner(record->items.record, order);
    order->push_back(record);
}

void write_operation(Writer &writer, const Operation &operation) {
    writer.text(operation.row.name);
    writer.text(operation.row.family);
    writer.number(operation.row.answers_status);
    writer.number(operation.result);
    writer.number(operation.reserved);
    writer.number(operation.row.parameters.size());
    for (size_t i = 0; i < operation.row.parameters.size(); ++i) {
        const card::Parameter &parameter = operation.row.parameters[i];
        writer.text(parameter.type);
        writer.text(parameter.name);
        writer.number(parameter.direction);
        writer.number(operation.arguments[i]);
    }
    writer.number(operation.row.resources.size());
    for (const std::string_view resource : operation.row.resources) writer.text(resource);
}

bool is_handle(prm_handle_kind kind) {
    return kind <= PRM_HANDLE_QUEUE;
}

bool read_operation(Reader &reader, Operation *operation) {
    card::OperationRow &row = operation->row;
    reader.text(row.name);
    reader.text(row.family);
    reader.number(row.answers_status);
    reader.number(operation->result);
    reader.number(operation->reserved);
    size_t count = 0;
    reader.number(count);
    if (count > kMaxArguments || !is_handle(operation->result) || !is_handle(operation->reserved))
        return false;
    for (size_t i = 0; i < count; ++i) {
        card::Parameter parameter;
        reader.text(parameter.type);
        reader.text(parameter.name);
        reader.number(parameter.direction);
        reader.number(operation->arguments[i]);
        if (parameter.direction > card::Direction::INOUT || !is_handle(operation->arguments[i])) return false;
        row.parameters.push_back(parameter);
    }
    reader.number(count);
    if (count > std::size(row.resources.items)) return false;
    for (size_t i = 0; i < count; ++i) {
        std::string_view resource;
        reader.text(resource);
        row.resources.push_back(resource);
    }
    return reader.good();
}

}  // namespace

std::vector<std::string> schema_pieces(const Schema &schema) {
    // Places are those that entries name: the order of the schema, whatever order records are written in.
    std::vector<const prm_record *> order;
    for (const prm_record *const record : schema.records) add_with_inner(record, &order);
    absl::flat_hash_map<const prm_record *, uint64_t> written_at;
    for (const prm_record *const record : order) written_at.emplace(record, written_at.size());
    absl::flat_hash_map<const prm_record *, uint64_t> places;
    for (const prm_record *const record : schema.records) places.emplace(record, places.size());

    std::vector<std::string> pieces;
    Writer format(written_at);
    format.bytes_ = "F";
    format.number(kFormat);
    pieces.push_back(std::move(format.bytes_));
    Writer codes(written_at);
    codes.bytes_ = "C";
    codes.number(schema.codes.size());
    for (const Code &code : schema.codes) visit_code(codes, code);
    pieces.push_back(std::move(codes.bytes_));
    for (const prm_record *const record : order) {
        Writer writer(written_at);
        writer.bytes_ = "R";
        const auto place = places.find(record);
        writer.number(place != places.end() ? place->second + 1 : 0);
        writer.part(*record);
        pieces.push_back(std::move(writer.bytes_));
    }
    for (const Operation &operation : schema.operations) {
        Writer writer(written_at);
        writer.bytes_ = "O";
        write_operation(writer, operation);
        pieces.push_back(std::move(writer.bytes_));
    }
    return pieces;
}

struct ReadSchema::Parts {
    Reader::Store store;  // records in the order they were written in
    std::vector<Operation> operations;
    std::vector<const prm_record *> places;  // records by the number that entries have
    std::vector<Code> codes;
    Schema schema;
};

ReadSchema::ReadSchema() : parts_(std::make_unique<Parts>()) {}
ReadSchema::~ReadSchema() = default;

bool ReadSchema::add(Bytes piece, std::string *error) {
    *error = "not a piece of a schema";
    if (piece.empty()) return false;
    Reader reader(piece.subspan(1), parts_->store);
    switch (piece[0]) {
        case 'F': {
            uint64_t format = 0;
            reader.number(format);
            if (format == kFormat) return true;
            *error = "written by a later build, in format " + std::to_string(format);
            return false;
        }
        case 'C': {
            size_t count = 0;
            reader.number(count);
            if (count > kMostParts) return false;
            for (size_t i = 0; reader.good() && i < count; ++i) {
                Code code;
                visit_code(reader, code);
                parts_->codes.push_back(code);
            }
            return reader.good();
        }
        case 'R': {
            size_t place = 0;
            prm_record record{};
            reader.number(place);
            if (place > kMostParts || parts_->store.records.size() >= kMostParts) return false;
            reader.part(record);
            if (!reader.good() || !is_sound(record)) {
                *error = "a record whose fields do not fit it";
                return false;
            }
            const prm_record *const kept = &parts_->store.records.emplace_back(record);
            parts_->store.record_list.push_back(kept);
            if (place == 0) return true;
            if (parts_->places.size() < place) parts_->places.resize(place);
            parts_->places[place - 1] = kept;
            return true;
        }
        case 'O': {
            Operation operation;
            if (parts_->operations.size() >= kMostParts || !read_operation(reader, &operation)) {
                *error = "an operation that is none";
                return false;
            }
            parts_->operations.push_back(operation);
            return true;
        }
        default:
            return true;  // of a later build
    }
}

const Schema &ReadSchema::schema() {
    parts_->schema = {parts_->operations, parts_->places, parts_->codes};
    return parts_->schema;
}

}  // namespace trace
