// Reads traces for the commands: see trace_file.h.
#include "kivctl/trace/trace_file.h"

#include <fmt/core.h>
#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "kiv/reports/escape.h"
#include "kiv/select/nearest.h"
#include "kivctl/commands.h"

namespace kivctl {
namespace {

using trace::EntryKind;

bool fits_pattern(const std::string &pattern, const std::string &text) {
    return fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
}

// "7", "0x1f": false for anything else.
bool parse_number(std::string_view text, uint64_t *number) {
    const bool is_hex = text.starts_with("0x") || text.starts_with("0X");
    if (is_hex) text.remove_prefix(2);
    const char *const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, *number, is_hex ? 16 : 10);
    return result.ec == std::errc() && result.ptr == end;
}

// "record.entries[1].address" -> "record.entries.address".
std::string without_indices(std::string_view path) {
    std::string plain;
    bool inside = false;
    for (const char c : path) {
        inside = inside || c == '[';
        if (!inside) plain += c;
        inside = inside && c != ']';
    }
    return plain;
}

// Whether the path is the name or ends with it, at a dot.
bool ends_with_name(std::string_view path, std::string_view name) {
    return path.ends_with(name) && (path.size() == name.size() || path[path.size() - name.size() - 1] == '.');
}

template <class Offer>
void offer_fields(prm_list<prm_field> fields, const Offer &offer) {
    for (const prm_field &field : fields) {
        offer(field.name);
        for (const prm_choice &choice : field.choices) offer_fields(choice.fields, offer);
    }
}

// Every name that a part of a path can have.
template <class Offer>
void offer_names(const trace::Schema &schema, const Offer &offer) {
    for (const trace::Operation &operation : schema.operations)
        for (const card::Parameter &parameter : operation.row.parameters) offer(parameter.name);
    for (const prm_record *const record : schema.records) {
        if (record == nullptr) continue;
        offer_fields(record->fields, offer);
        if (record->items.name != nullptr) offer(record->items.name);
    }
}

}  // namespace

bool TraceFile::open(const std::string &path) {
    std::string error;
    const bool opened =
        path == "-" ? reader_.open(stdin, "standard input", &error) : reader_.open(path, &error);
    if (!opened) unusable(error);
    schema_ = reader_.schema();
    return opened;
}

bool TraceFile::is_begin() const {
    if (event_.is_call) return false;
    const EntryKind kind = event_.mark.kind;
    return kind == EntryKind::case_begins || kind == EntryKind::set_up_begins ||
           kind == EntryKind::tear_down_begins;
}

bool TraceFile::next() {
    if (!reader_.next(&event_)) return false;
    if (event_.is_call) {
        if (named_) names_.learn(event_.call);
    } else if (is_begin()) {
        enter(event_.mark.texts[0], event_.mark.kind == EntryKind::case_begins     ? event_.mark.texts[1]
                                    : event_.mark.kind == EntryKind::set_up_begins ? "set-up"
                                                                                   : "tear-down");
    } else if (event_.mark.kind == EntryKind::worker) {
        place_.clear();
    }
    return true;
}

// Names are those that a baseline has.
void TraceFile::enter(std::string_view folder, std::string_view item) {
    const std::string_view top = folder.substr(0, folder.find('/'));
    if (top != top_ || (folder == top && event_.mark.kind == EntryKind::set_up_begins)) names_.clear();
    top_ = top;
    place_.clear();
    if (top.size() < folder.size()) {
        trace::append_word(&place_, folder.substr(top.size() + 1));
        place_ += '/';
    }
    trace::append_word(&place_, item);
    names_.enter(place_);
    place_ = folder;
    place_ += '/';
    place_ += item;
}

bool TraceFile::whole() const {
    if (reader_.problem().empty()) return true;
    unusable(reader_.problem() + "; what is whole before it was read");
    return false;
}

std::string result_text(const trace::Call &call, const trace::Naming &names, const trace::Schema &schema) {
    std::string text;
    trace::append_result(&text, call, names, {.schema = &schema});
    return text.substr(text.find('=') + 2);
}

bool CallFilter::prepare(const CallFilterOptions &options, const trace::Schema &schema) {
    place_ = options.place;
    operation_ = options.operation;
    if (!operation_.empty()) {
        kiv::Nearest nearest(operation_);
        bool known = false;
        for (const trace::Operation &operation : schema.operations) {
            known = known || fits_pattern(operation_, std::string(operation.row.name));
            nearest.offer(operation.row.name);
        }
        if (!known) {
            unusable("--operation " + operation_ + ": the trace knows no such operation" +
                     nearest.question());
            return false;
        }
    }
    for (const std::string &where : options.where)
        if (!add_where(where, schema)) return false;
    return set_status(options.status, schema);
}

bool CallFilter::add_where(const std::string &text, const trace::Schema &schema) {
    const size_t equals = text.find('=');
    Where where;
    where.field = text.substr(0, equals);
    if (equals == std::string::npos || where.field.empty()) {
        unusable("--where " + text + ": not FIELD=VALUE");
        return false;
    }
    where.value = text.substr(equals + 1);
    uint64_t number = 0;
    if (parse_number(where.value, &number)) where.number = number;
    where.has_index = where.field.find('[') != std::string::npos;
    const std::string plain = without_indices(where.field);
    const std::string last = plain.substr(plain.rfind('.') + 1);
    kiv::Nearest nearest(last);
    bool known = false;
    offer_names(schema, [&](std::string_view name) {
        known = known || name == last;
        nearest.offer(name);
    });
    if (!known) {
        unusable("--where " + text + ": no operation has a field " + last + nearest.question());
        return false;
    }
    where_.push_back(std::move(where));
    return true;
}

bool CallFilter::set_status(const std::string &text, const trace::Schema &schema) {
    if (text.empty()) return true;
    uint64_t number = 0;
    kiv::Nearest nearest(text);
    if (text == "failed") {
        status_ = Status::failed;
    } else if (text == "good") {
        status_ = Status::good;
    } else if (text == "unreturned") {
        status_ = Status::unreturned;
    } else if (parse_number(text, &number) && number <= UINT32_MAX) {
        status_ = Status::code;
        code_ = static_cast<uint32_t>(number);
    } else {
        for (const trace::Code &code : schema.codes) {
            nearest.offer(code.name);
            if (code.name != text) continue;
            status_ = Status::code;
            code_ = code.value;
        }
        if (status_ == Status::any) {
            unusable("--status " + text + ": neither failed, good, unreturned nor a code" +
                     nearest.question());
            return false;
        }
    }
    return true;
}

bool CallFilter::takes_place(const std::string &place) const {
    if (place_.empty() || fits_pattern(place_, place)) return true;
    const size_t slash = place.rfind('/');
    return slash != std::string::npos &&
           (fits_pattern(place_, place.substr(slash + 1)) || fits_pattern(place_, place.substr(0, slash)));
}

bool CallFilter::fits(const trace::Call &call) const {
    switch (status_) {
        case Status::any:
            return true;
        case Status::failed:
            return call.failed();
        case Status::good:
            return call.returned && !call.failed();
        case Status::unreturned:
            return !call.returned;
        case Status::code:
            return call.returned && call.operation->row.answers_status &&
                   static_cast<uint32_t>(call.result) == code_;
    }
    return true;
}

bool CallFilter::takes(const TraceFile &file, const trace::TextOptions &text) const {
    const trace::Call &call = file.call();
    if (!fits(call)) return false;
    if (!operation_.empty() && !fits_pattern(operation_, std::string(call.operation->row.name))) return false;
    if (where_.empty()) return true;
    std::vector<bool> found(where_.size());
    trace::TextOptions all = text;
    all.zeros = true;
    const auto look = [&](const trace::Field &field) {
        const std::string plain = without_indices(field.path);
        for (size_t i = 0; i < where_.size(); ++i) {
            const Where &where = where_[i];
            if (found[i] || !ends_with_name(where.has_index ? field.path : plain, where.field)) continue;
            const bool is_number = field.kind != PRM_FIELD_TEXT && field.kind != PRM_FIELD_BUFFER;
            found[i] = field.text == where.value || field.text == '"' + where.value + '"' ||
                       (is_number && where.number && field.number == *where.number);
        }
    };
    trace::for_each_field(call, file.names(), look, all);
    return std::ranges::find(found, false) == found.end();
}

void Output::flush() {
    fwrite(text_.data(), 1, text_.size(), stdout);
    text_.clear();
}

}  // namespace kivctl
