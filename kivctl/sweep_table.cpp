// What a sweep found, as a table and as JSON.
#include <fmt/core.h>

#include <map>
#include <nlohmann/json.hpp>

#include "kivctl/sweep.h"

namespace kivctl::sweep {
namespace {

struct Row {
    std::string operation;
    Fault fault;
    std::string field;
    size_t runs = 0;
    size_t ways[kWayCount] = {};

    void add(const Attempt &attempt) {
        ++runs;
        ++ways[static_cast<size_t>(attempt.way)];
    }
};

// Attempts of a row follow each other.
std::vector<Row> rows_of(const std::vector<Attempt> &attempts) {
    std::vector<Row> rows;
    for (const Attempt &attempt : attempts) {
        if (!attempt.counts) continue;
        if (rows.empty() || rows.back().operation != attempt.operation ||
            rows.back().fault != attempt.fault || rows.back().field != attempt.field)
            rows.push_back({attempt.operation, attempt.fault, attempt.field});
        rows.back().add(attempt);
    }
    return rows;
}

void append_row(std::string *out, const std::string &operation, const std::string &fault, const Row &row) {
    *out += fmt::format("| {} | {} | {} |", operation, fault, row.runs);
    for (const size_t count : row.ways) *out += fmt::format(" {} |", count);
    *out += '\n';
}

}  // namespace

std::string as_table(const std::vector<Attempt> &attempts) {
    std::string out = "| Operation | Fault | Runs |";
    for (const char *const way : kWays) out += fmt::format(" {} |", way);
    out += "\n|---|---|--:|";
    for (size_t i = 0; i < kWayCount; ++i) out += "--:|";
    out += '\n';
    std::map<Fault, Row> sums;
    for (const Row &row : rows_of(attempts)) {
        std::string fault = row_of(row.fault).name;
        if (!row.field.empty()) fault += " `" + row.field + "`";
        append_row(&out, row.operation, fault, row);
    }
    for (const Attempt &attempt : attempts)
        if (attempt.counts) sums[attempt.fault].add(attempt);
    for (const auto &[fault, sum] : sums) append_row(&out, "all", row_of(fault).name, sum);
    return out;
}

std::string as_json(const std::vector<Attempt> &attempts) {
    const auto counts = [](const Row &row) {
        nlohmann::ordered_json object = {{"Operation", row.operation}, {"Fault", row_of(row.fault).name}};
        if (!row.field.empty()) object["Field"] = row.field;
        object["Runs"] = row.runs;
        for (size_t i = 0; i < kWayCount; ++i) object[kWays[i]] = row.ways[i];
        return object;
    };
    nlohmann::ordered_json document;
    document["Rows"] = nlohmann::ordered_json::array();
    for (const Row &row : rows_of(attempts)) document["Rows"].push_back(counts(row));
    document["Runs"] = nlohmann::ordered_json::array();
    for (const Attempt &attempt : attempts)
        if (attempt.counts)
            document["Runs"].push_back({{"Rule", attempt.rule},
                                        {"Place", attempt.place},
                                        {"Noticed", kWays[static_cast<size_t>(attempt.way)]}});
    return document.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace kivctl::sweep
