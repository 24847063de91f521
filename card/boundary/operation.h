// The platform operations as data: one id and one row of facts per row of card/operations.def, for whatever
// treats operations alike.
#ifndef CARD_BOUNDARY_OPERATION_H
#define CARD_BOUNDARY_OPERATION_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace card {

enum class OperationId : uint16_t {
#define OPERATION(family, result, name, parameters, arguments, directions, ...) name,
#include "card/operations.def"
};

// What becomes of the memory that a pointer leads to; NONE: the parameter is no pointer.
enum class Direction : uint8_t { NONE, IN, OUT, INOUT };

struct Parameter {
    std::string_view type, name;  // as declared
    Direction direction = Direction::NONE;

    constexpr bool is_pointer() const { return type.ends_with('*'); }
};

// Up to N items in the order of the row.
template <typename Item, size_t N>
struct Few {
    using value_type = Item;
    using const_iterator = const Item *;

    Item items[N] = {};
    size_t count = 0;

    constexpr const Item *begin() const { return items; }
    constexpr const Item *end() const { return items + count; }
    constexpr size_t size() const { return count; }
    constexpr bool empty() const { return count == 0; }
    constexpr const Item &operator[](size_t i) const { return items[i]; }
    constexpr void push_back(const Item &item) { items[count++] = item; }
};

struct OperationRow {
    std::string_view name;
    std::string_view family;
    Few<Parameter, 7> parameters;
    // Names of the accounts that the operation charges or frees; the first is that of what it acts on.
    Few<std::string_view, 3> resources;
};

// Readers of the table's columns, which come as the text that they are written as.
namespace column {

constexpr std::string_view trimmed(std::string_view text) {
    while (text.starts_with(' ')) text.remove_prefix(1);
    while (text.ends_with(' ')) text.remove_suffix(1);
    return text;
}

// "a, b, c": takes the first item off.
constexpr std::string_view take_item(std::string_view *list) {
    const size_t comma = list->find(',');
    const std::string_view item = list->substr(0, comma);
    *list = comma == list->npos ? std::string_view() : list->substr(comma + 1);
    return trimmed(item);
}

// The direction that "IN(record) OUT(pointer)" has for a parameter.
constexpr Direction direction_of(std::string_view directions, std::string_view parameter) {
    while (!directions.empty()) {
        const size_t open = directions.find('('), close = directions.find(')');
        if (open == directions.npos) break;
        const std::string_view word = trimmed(directions.substr(0, open));
        if (directions.substr(open + 1, close - open - 1) == parameter) {
            return word == "IN"      ? Direction::IN
                   : word == "OUT"   ? Direction::OUT
                   : word == "INOUT" ? Direction::INOUT
                                     : Direction::NONE;
        }
        directions.remove_prefix(close + 1);
    }
    return Direction::NONE;
}

// "(prm_handle_t client, prm_bd_request *record)".
constexpr Few<Parameter, 7> parameters_of(std::string_view list, std::string_view directions) {
    Few<Parameter, 7> parameters;
    list = list.substr(1, list.size() - 2);
    while (!list.empty() && list != "void") {
        const std::string_view item = take_item(&list);
        const size_t name = item.find_last_of(" *") + 1;
        parameters.push_back(
            {trimmed(item.substr(0, name)), item.substr(name), direction_of(directions, item.substr(name))});
    }
    return parameters;
}

constexpr Few<std::string_view, 3> resources_of(std::string_view list) {
    Few<std::string_view, 3> resources;
    while (!list.empty() && list != "none") resources.push_back(take_item(&list));
    return resources;
}

}  // namespace column

// In the order of OperationId.
inline constexpr OperationRow kOperations[] = {
#define OPERATION(family, result, name, parameters, arguments, directions, ...) \
    {#name, #family, column::parameters_of(#parameters, #directions), column::resources_of(#__VA_ARGS__)},
#include "card/operations.def"
};

inline constexpr size_t kOperationCount = sizeof kOperations / sizeof kOperations[0];

constexpr const OperationRow &row(OperationId id) {
    return kOperations[static_cast<size_t>(id)];
}

// A row says of every pointer, and of nothing else, what becomes of the memory behind it.
static_assert([] {
    for (const OperationRow &row : kOperations) {
        for (const Parameter &parameter : row.parameters) {
            if (parameter.is_pointer() != (parameter.direction != Direction::NONE)) return false;
        }
    }
    return true;
}());

}  // namespace card

#endif
