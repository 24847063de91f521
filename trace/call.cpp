// The schema of this build: see call.h.
#include "trace/call.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "card/codes.h"
#include "card/records/registry.h"

namespace trace {
namespace {

std::vector<Operation> operations_of_this_build() {
    std::vector<Operation> operations(card::kOperationCount);
    for (size_t i = 0; i < operations.size(); ++i) {
        Operation &operation = operations[i];
        const auto id = static_cast<card::OperationId>(i);
        operation.row = card::row(id);
        for (size_t p = 0; p < operation.row.parameters.size(); ++p)
            operation.arguments[p] = card::argument_kind(id, operation.row.parameters[p].name);
        operation.result = card::result_kind(id);
        operation.reserved = card::reserved_kind(id);
    }
    return operations;
}

std::vector<Code> codes_of_this_build() {
    std::vector<Code> codes;
    for (const u32 code : card::all_codes())
        codes.push_back({code, card::code_name(code), card::code_text(code)});
    return codes;
}

}  // namespace

const Operation *Schema::operation(std::string_view name) const {
    const auto found =
        std::ranges::find_if(operations, [&](const Operation &one) { return one.row.name == name; });
    return found != operations.end() ? &*found : nullptr;
}

const prm_record *Schema::record(std::string_view name) const {
    const auto found = std::ranges::find_if(
        records, [&](const prm_record *one) { return one != nullptr && one->name == name; });
    return found != records.end() ? *found : nullptr;
}

const Code *Schema::code(uint32_t value) const {
    const auto found = std::ranges::find(codes, value, &Code::value);
    return found != codes.end() ? &*found : nullptr;
}

const Schema &this_build() {
    static const auto *const schema = [] {
        static const std::vector<Operation> operations = operations_of_this_build();
        static const std::vector<Code> codes = codes_of_this_build();
        return new Schema{operations, card::all_records(), codes};
    }();
    return *schema;
}

}  // namespace trace
