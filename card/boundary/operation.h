// The platform operations as data: one id and one row of facts per row of card/operations.def, for whatever
// treats operations alike (recording, faults, show).
#ifndef CARD_BOUNDARY_OPERATION_H
#define CARD_BOUNDARY_OPERATION_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace card {

enum class OperationId : uint16_t {
#define OPERATION(family, result, name, parameters, arguments, record, direction, resource) name,
#include "card/operations.def"
};

// What a call does with its record.
enum class Direction : uint8_t { NONE, IN, INOUT };

struct OperationRow {
    std::string_view name;
    std::string_view family;
    std::string_view record;  // type of the record the call takes, or "void"
    Direction direction;
    std::string_view resource;  // account of the simulated card that the call counts on, or "none"
};

// In the order of OperationId.
inline constexpr OperationRow kOperations[] = {
#define OPERATION(family, result, name, parameters, arguments, record, direction, resource) \
    {#name, #family, #record, Direction::direction, #resource},
#include "card/operations.def"
};

inline constexpr size_t kOperationCount = sizeof kOperations / sizeof kOperations[0];

constexpr const OperationRow &row(OperationId id) {
    return kOperations[static_cast<size_t>(id)];
}

}  // namespace card

#endif
