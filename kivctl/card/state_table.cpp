// Rows in columns: see state_table.h.
#include "kivctl/card/state_table.h"

#include <algorithm>

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

// What no column takes stands at the end by name.
void StateTable::append_rest(std::string *out, const StateEntry &entry) const {
    const char *between = "";
    for (const StateField &field : entry) {
        const auto takes_it = [&](const StateColumn &column) { return column.takes(field.name); };
        if (field.value.empty() || std::ranges::any_of(columns_->columns, takes_it)) continue;
        *out += between;
        *out += field.name;
        *out += '=';
        append_field(out, field, false);
        between = "  ";
    }
}

void StateTable::add(const StateEntry &entry) {
    const std::vector<StateColumn> &columns = columns_->columns;
    if (!streaming_) {
        Row &row = first_rows_.emplace_back(columns.size() + 1);
        for (size_t i = 0; i < columns.size(); ++i) columns[i].append_text(&row[i], entry);
        append_rest(&row.back(), entry);
        if (first_rows_.size() == kRowsThatDecide) print_head();
        return;
    }
    *out_ += "  ";
    for (size_t i = 0; i < columns.size(); ++i) {
        const size_t begin = out_->size();
        columns[i].append_text(out_, entry);
        end_cell(begin, i);
    }
    append_rest(out_, entry);
    end_row();
}

void StateTable::end_cell(size_t begin, size_t column) {
    const size_t size = out_->size() - begin;
    out_->append(2 + (widths_[column] > size ? widths_[column] - size : 0), ' ');
}

// Without the blanks behind the last cell that has anything.
void StateTable::end_row() {
    while (out_->back() == ' ') out_->pop_back();
    *out_ += '\n';
}

void StateTable::print_head() {
    *out_ += columns_->title.empty() ? std::string_view(family_) : columns_->title;
    *out_ += '\n';
    Row headings;
    for (const StateColumn &column : columns_->columns) headings.emplace_back(column.heading);
    headings.emplace_back();
    widths_.resize(headings.size());
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
    *out_ += "  ";
    for (size_t i = 0; i < row.size(); ++i) {
        const size_t begin = out_->size();
        *out_ += row[i];
        end_cell(begin, i);
    }
    end_row();
}

void StateTable::end() {
    if (!first_rows_.empty()) print_head();
    if (streaming_) *out_ += '\n';
}

}  // namespace kivctl
