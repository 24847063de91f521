// The options that every command on a history has.
#ifndef KIVCTL_HISTORY_OPTIONS_H
#define KIVCTL_HISTORY_OPTIONS_H

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace kivctl {

struct HistoryFile {
    std::string name;
    double wait_seconds = 10;

    void add_to(CLI::App &command) {
        command.add_option("--db", name, "The history; without it, what the variable KIV_HISTORY names")
            ->option_text("FILE");
        command.add_option("--wait", wait_seconds, "How long another process may keep the history busy")
            ->check(CLI::Range(0.0, 86400.0))
            ->option_text("SECONDS (10)");
    }
    std::string path() const {
        const char *const variable = std::getenv("KIV_HISTORY");
        const std::string path = !name.empty() ? name : variable != nullptr ? variable : "";
        if (path.empty())
            throw std::runtime_error("no history: give --db FILE, or set the variable KIV_HISTORY");
        return path;
    }
    std::chrono::milliseconds wait() const {
        return std::chrono::milliseconds(static_cast<int64_t>(wait_seconds * 1000));
    }
};

}  // namespace kivctl

#endif
