// The commands on a card's state; each answers with the exit status.
#ifndef KIVCTL_CARD_STATE_COMMANDS_H
#define KIVCTL_CARD_STATE_COMMANDS_H

#include <string>

namespace kivctl {

struct StateShowOptions {
    std::string file, family;
    bool dangling = false;  // only entries with a reference that names nothing
};
int show_state(const StateShowOptions &options);

struct StateDiffOptions {
    std::string before, after;
    bool json = false;
    bool quiet = false;
};
int diff_states(const StateDiffOptions &options);

}  // namespace kivctl

#endif
