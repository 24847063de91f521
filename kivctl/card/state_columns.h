// Which columns the tables of a card's state have, family by family.
#ifndef KIVCTL_CARD_STATE_COLUMNS_H
#define KIVCTL_CARD_STATE_COLUMNS_H

#include <string>
#include <string_view>
#include <vector>

#include "kivctl/card/state_reader.h"

namespace kivctl {

struct StateColumn {
    std::string_view heading;
    // Names of the fields it shows; one that ends in '*' stands for all that begin so.
    std::vector<std::string_view> fields;
    // Their text; null: the one field as it is.
    std::string (*make)(const StateEntry &entry) = nullptr;
    bool bare = false;  // a reference without its kind: the heading tells it

    bool takes(std::string_view field) const;
    void append_text(std::string *out, const StateEntry &entry) const;
};

// Of a family that is not known there are no columns; every field is then shown with its name.
struct StateColumns {
    std::string_view family, title;
    std::vector<StateColumn> columns;
};
const StateColumns &columns_of(std::string_view family);

// "ldi 0xc36900 -> next_hop 100005, no adjacency [ends nowhere]"; without the kind when `bare`.
void append_field(std::string *out, const StateField &field, bool bare);
std::string field_text(const StateField &field, bool bare);

}  // namespace kivctl

#endif
