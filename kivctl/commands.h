// The commands of kivctl. Each adds its options to the command line and, when it is the one given, sets
// *status to the exit status: 0 good, 1 not good, 2 unusable input.
#ifndef KIVCTL_COMMANDS_H
#define KIVCTL_COMMANDS_H

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

namespace kivctl {

inline constexpr int kGood = 0, kBad = 1, kUnusable = 2;

// Says a message on standard error; the exit status of what cannot be used.
inline int unusable(const std::string &message) {
    std::fprintf(stderr, "kivctl: %s\n", message.c_str());
    return kUnusable;
}

void add_gate(CLI::App &app, int *status);
void add_rerun(CLI::App &app, int *status);
void add_merge(CLI::App &app, int *status);
void add_compare(CLI::App &app, int *status);
void add_report(CLI::App &app, int *status);
void add_site(CLI::App &app, int *status);
void add_card(CLI::App &app, int *status);
void add_sweep(CLI::App &app, int *status);
void add_store(CLI::App &app, int *status);
void add_history(CLI::App &app, int *status);
void add_trace(CLI::App &app, int *status);

}  // namespace kivctl

#endif
