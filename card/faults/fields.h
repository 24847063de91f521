// What a call carries, by the names that a fault rule may use: its arguments, and the fields of the records
// that they lead to.
#ifndef CARD_FAULTS_FIELDS_H
#define CARD_FAULTS_FIELDS_H

#include <absl/functional/function_ref.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "card/boundary/operation.h"
#include "card/records/decode.h"

namespace card::faults {

// Arguments as words: numbers, and pointers as addresses.
inline constexpr size_t kMostArguments = 7;
using Words = std::span<u64, kMostArguments>;

// An argument, or a block of memory that one leads to, as it is at the moment. What cannot be read is empty.
struct Area {
    size_t parameter = 0;
    const prm_record *record = nullptr;
    std::string prefix;      // before the paths of its fields
    size_t item_size = 0;    // records back to back; 0: one record
    u64 address = 0;         // 0: the argument itself
    bool number = false;     // one number without a name of its own
    bool answers = false;    // the operation may write it
    bool read_back = false;  // with what the hardware holds, all of it
    std::vector<u8> bytes;

    void each(FieldVisitor visit) const;
};

// `answered`: as a call that succeeded leaves them.
std::vector<Area> areas_of(OperationId operation, std::span<const u64, kMostArguments> words, bool answered);

// Puts bytes where the caller has the area's; false when they cannot be written.
bool write_to(const Area &area, size_t offset, Block bytes);

// A field that an operation may have in one of its layouts.
struct KnownField {
    std::string path;  // without indices: "entries.feature.value"
    const prm_field *field;
    bool answers;  // in memory that the operation may write
};
std::vector<KnownField> known_fields(OperationId operation);

// The path without its indices and without the name of a parameter called record.
std::string plain_path(std::string_view path);
// Whether a path of a rule means that of a field: indices that it leaves out are all of them; "record.",
// "request." and "response." may be left out.
bool means(std::string_view written, std::string_view path);

// Bytes of a field, from a value as the decoder prints it or a number; none when it is neither.
std::optional<std::vector<u8>> encoded(const prm_field &field, size_t width, std::string_view value);
// The words that a value of the field may be made of, when it has some.
void offer_words(const prm_field &field, absl::FunctionRef<void(std::string_view)> offer);

// Where a call says how many it is about.
struct Count {
    size_t area = 0;
    size_t offset = 0, width = 0;
    u64 value = 0;
};
std::optional<Count> count_in(const std::vector<Area> &areas);
// Whether calls of the operation say so.
bool has_count(OperationId operation);

}  // namespace card::faults

#endif
