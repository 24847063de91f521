// The table of one family of a card's state, printed as its rows come.
#ifndef KIVCTL_CARD_STATE_TABLE_H
#define KIVCTL_CARD_STATE_TABLE_H

#include <string>
#include <vector>

#include "kivctl/card/state_columns.h"

namespace kivctl {

// The first rows decide how wide the columns are, and only they are kept.
class StateTable {
  public:
    // Text is appended to *out; whoever writes it out empties it.
    explicit StateTable(std::string *out) : out_(out) {}

    void begin(const std::string &family);
    void add(const StateEntry &entry);
    void end();

  private:
    using Row = std::vector<std::string>;

    void append_rest(std::string *out, const StateEntry &entry) const;
    void print_head();
    void print_row(const Row &row);
    void end_cell(size_t begin, size_t column);
    void end_row();

    std::string *const out_;
    std::string family_;
    const StateColumns *columns_ = nullptr;
    bool streaming_ = false;
    std::vector<size_t> widths_;
    std::vector<Row> first_rows_;
};

}  // namespace kivctl

#endif
