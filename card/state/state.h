// The state of a simulated card as a JSON document: every family's entries with named fields, references with
// where they end, and the accounts. docs/card.md describes the format.
#ifndef CARD_STATE_STATE_H
#define CARD_STATE_STATE_H

#include <string>

#include "card/sim/card.h"
#include "card/state/json_writer.h"

namespace card {

inline constexpr int kStateFormat = 1;
inline constexpr char kStateKind[] = "card state";

// When the state was taken.
struct StateMoment {
    int worker = 1;     // of the run
    std::string after;  // the case, as FOLDER/CASE; empty: the run
};

void write_state(const sim::Card &card, const StateMoment &moment, JsonWriter &json);

// Replaces the file whole or leaves it alone; the new one is written beside it as PATH.tmp. False, with
// *error naming file and reason.
bool write_state_file(const sim::Card &card, const StateMoment &moment, const std::string &path,
                      std::string *error);

}  // namespace card

#endif
