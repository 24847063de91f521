// A fault rule: which calls of which operations, and what happens to them. docs/faults.md tells how one is
// written.
#ifndef CARD_FAULTS_RULE_H
#define CARD_FAULTS_RULE_H

#include <bitset>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "card/boundary/operation.h"
#include "prm_types.h"

namespace card::faults {

// Of the calls that fit a rule, counted from 1 over the whole run.
struct Which {
    enum Kind : u8 { EVERY, NTH, EVERY_NTH, FROM, CHANCE };
    Kind kind = EVERY;
    u64 number = 1;  // of NTH, EVERY_NTH and FROM
    double chance = 0;
    u64 seed = 1;

    bool chooses(u64 call) const;
};

struct Condition {
    std::string field, value;
    bool differs = false;
};

// Of the answer.
struct Change {
    enum Kind : u8 { SET, FLIP, BYTES };
    Kind kind = SET;
    std::string field, value;  // of SET and FLIP
    u64 mask = 0;              // of FLIP
    size_t offset = 0;         // of BYTES
    std::vector<u8> bytes;
};

struct Rule {
    std::string text;
    std::bitset<kOperationCount> operations;
    Which which;
    std::vector<Condition> conditions;

    std::chrono::nanoseconds delay{0};
    bool hangs = false;
    int signal = 0;                      // that ends the worker; 0: none does
    std::optional<prm_status_t> status;  // answered without asking the card
    std::optional<prm_status_t> failed;  // answered after the card did it
    u64 fewer = 0;                       // than asked
    std::vector<Change> changes;
};

// Where a rule goes wrong, and what may have been meant.
struct RuleError {
    size_t column = 1;  // of the word, from 1
    std::string what;   // a sentence without its end
    std::string word;
    std::vector<std::string> known;  // what could stand instead
};

// False with *error set: the text is no rule, or a rule that can never do what it says.
bool parse_rule(std::string_view text, Rule *rule, RuleError *error);

// What can happen, as a rule writes it: a line each for --list-faults.
struct ActionHelp {
    const char *written, *meaning;
};
extern const ActionHelp kActions[8];

// What rules can name: every operation that can be faulted, with its fields by plain path.
bool can_be_faulted(OperationId operation);
std::vector<std::string> field_names(OperationId operation);

}  // namespace card::faults

#endif
