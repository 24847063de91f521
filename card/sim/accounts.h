// The simulated card's accounts: how much of each resource there is and how much is taken.
#ifndef CARD_SIM_ACCOUNTS_H
#define CARD_SIM_ACCOUNTS_H

#include <string_view>

#include "prm_types.h"

namespace sim {

enum class Resource : u8 {
#define RESOURCE(name, limit) name,
#include "card/sim/resources.def"
};

// How much there is and how much is taken; there is no second count anywhere.
struct Account {
    u32 limit;
    u32 used = 0;

    bool has(u32 count) const { return count <= limit && used <= limit - count; }
};

struct Accounts {
    struct Row {
        std::string_view name;
        Account account;
    };
    Row rows[
#define RESOURCE(name, limit) +1
#include "card/sim/resources.def"
    ] = {
#define RESOURCE(name, limit) {#name, {limit}},
#include "card/sim/resources.def"
    };

    Account &operator[](Resource resource) {
        return rows[static_cast<size_t>(resource)].account;
    }
    const Account &operator[](Resource resource) const {
        return rows[static_cast<size_t>(resource)].account;
    }

    // The account of that name, or null.
    Account *find(std::string_view name) {
        for (Row &row : rows) {
            if (row.name == name) return &row.account;
        }
        return nullptr;
    }
};

}  // namespace sim

#endif
