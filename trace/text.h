// What a call says, for people: its fields by path, name and value, and the whole call as one line.
#ifndef TRACE_TEXT_H
#define TRACE_TEXT_H

#include <absl/functional/function_ref.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "trace/call.h"
#include "trace/naming.h"

namespace trace {

struct TextOptions {
    bool zeros = false;              // fields that are 0 too
    const Schema *schema = nullptr;  // whose names of codes; null: this build's
};

// A field of a call; its texts are good while it is shown.
struct Field {
    std::string_view path;  // "record.key_entries[0].address": parameter first
    std::string_view text;
    uint64_t number = 0;  // of fields up to eight bytes wide
    prm_field_kind kind = PRM_FIELD_NUMBER;
    bool answered = false;  // what the call left there, else what it was handed
};

using CallFieldVisitor = absl::FunctionRef<void(const Field &)>;

// Shows arguments, what they lead to, and what the call changed there, in this order for each parameter. A
// pointer that leads to known memory is shown by that alone.
void for_each_field(const Call &call, const Naming &names, CallFieldVisitor visit,
                    const TextOptions &options = {});

// "prm_srh_bd_add(client#1, {bd_id 7, flags learn|flood}) = 0". Of the memory behind a pointer what the call
// was handed, then, behind "->", what it changed there; an OUT parameter has the latter alone. A failure is
// named:
// "= CARD_ERROR_TABLE_FULL". Of a call that has not returned nothing is known but what it was handed: "= ?".
void append_line(std::string *out, const Call &call, const Naming &names, const TextOptions &options = {});

// Bytes in hexadecimal, without the zeros at both ends: "@12:40ff" begins at byte 12.
void append_bytes(std::string *out, Bytes bytes);
// The end of such a line: " = 0".
void append_result(std::string *out, const Call &call, const Naming &names, const TextOptions &options = {});

// Bytes as a word that stands in a line: without blanks, commas, braces, colons and what is not ASCII, each
// of which becomes "\xNN".
void append_word(std::string *out, std::string_view text);

}  // namespace trace

#endif
