// Plan files: selectors, one a line, with comments.
#ifndef KIV_SELECT_PLAN_H
#define KIV_SELECT_PLAN_H

#include <string>
#include <string_view>
#include <vector>

namespace kiv {

// One selector and where it was written.
struct Selector {
    std::string text;  // without the leading '-' of an exclude
    bool excludes = false;
    std::string file;  // of a plan; empty on the command line
    int line = 0;
};

// "-name" excludes.
Selector make_selector(std::string_view word);

// Adds the selectors of a plan to *selectors. A line holds one selector; "#" at its begin or after a blank
// starts a comment; blanks around are no part of the selector. False, with *error set, when the file cannot
// be read or holds what no plan can hold.
bool read_plan(const std::string &path, std::vector<Selector> *selectors, std::string *error);

}  // namespace kiv

#endif
