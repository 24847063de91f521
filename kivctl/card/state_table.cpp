// Rows in columns: see state_table.h.
#include "kivctl/card/state_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace kivctl {
namespace {

constexpr size_t kRowsThatDecide = 100;
constexpr size_t kWidest = 48;

}  // namespace

void StateTable::begin(const std::string &family) {
    family_ = family;
    columns_ = &columns_of(family);
    streaming_ = false;
    first_rows_.clear();
}

void StateTable::add(const StateEntry &entry) {
    const std::vector<StateColumn> &columns = columns_->columns;
    row_.clear();
    for (const StateColumn &column : columns) row_.push_back(column.text(entry));
    // What no column takes stands at the end by name.
    std::string &rest = row_.emplace_back();
    for (const StateField &field : entry) {
        const auto takes_it = [&](const StateColumn &column) { return column.takes(field.name); };
        if (field.value.empty() || std::ranges::any_of(columns, takes_it)) continue;
        fmt::format_to(std::back_inserter(rest), "{}{}={}", rest.empty() ? "" : "  ", field.name,
                       field_text(field, false));
    }
    if (streaming_) return print_row(row_);
    first_rows_.push_back(row_);
    if (first_rows_.size() == kRowsThatDecide) print_head();
}

void StateTable::print_head() {
    *out_ += columns_->title.empty() ? std::string_view(family_) : columns_->title;
    *out_ += '\n';
    Row headings;
    for (const StateColumn &column : columns_->columns) headings.emplace_back(column.heading);
    headings.emplace_back();
    widths_.assign(headings.size(), 0);
    for (size_t i = 0; i < headings.size(); ++i) {
        widths_[i] = headings[i].size();
        for (const Row &row : first_rows_)
            widths_[i] = std::max(widths_[i], std::min(row[i].size(), kWidest));
    }
    if (!columns_->columns.empty()) print_row(headings);
    for (const Row &row : first_rows_) print_row(row);
    first_rows_.clear();
    streaming_ = true;
}

void StateTable::print_row(const Row &row) {
    size_t last = row.size();
    while (last > 0 && row[last - 1].empty()) --last;
    *out_ += "  ";
    for (size_t i = 0; i < last; ++i) {
        *out_ += row[i];
        if (i + 1 < last)
            out_->append(2 + (widths_[i] > row[i].size() ? widths_[i] - row[i].size() : 0), ' ');
    }
    *out_ += '\n';
}

void StateTable::end() {
    if (!first_rows_.empty()) print_head();
    if (streaming_) *out_ += '\n';
}

}  // namespace kivctl
