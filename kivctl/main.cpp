// The companion command: results of runs, sites, states of cards and traces.
#include <csignal>
#include <cstdio>
#include <exception>

#include "kivctl/commands.h"

namespace {

int run(int argc, char **argv) {
    CLI::App app(
        "Works on the results of prm_kiv, on the sites that it runs with, on states of cards and on traces.",
        "kivctl");
    app.set_version_flag("--version", KIV_VERSION);
    app.require_subcommand(1);
    app.fallthrough(false);
    int status = kivctl::kUnusable;
    kivctl::add_gate(app, &status);
    kivctl::add_rerun(app, &status);
    kivctl::add_merge(app, &status);
    kivctl::add_compare(app, &status);
    kivctl::add_report(app, &status);
    kivctl::add_site(app, &status);
    kivctl::add_card(app, &status);
    kivctl::add_sweep(app, &status);
    kivctl::add_trace(app, &status);
    signal(SIGXFSZ, SIG_IGN);  // writing fails instead, which is said
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        // Help and version end well; anything else on the command line is as unusable as a broken file.
        return app.exit(error) == 0 ? kivctl::kGood : kivctl::kUnusable;
    }
    if (fflush(stdout) != 0 || ferror(stdout) != 0)
        return kivctl::unusable("standard output could not be written");
    return status;
}

}  // namespace

// What nobody foresaw (no memory, a library's own complaint) is told like any other trouble.
int main(int argc, char **argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception &error) {
        fprintf(stderr, "kivctl: %s\n", error.what());
    } catch (...) {
        fputs("kivctl: failed, and nothing says why\n", stderr);
    }
    return kivctl::kUnusable;
}
