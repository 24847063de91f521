// kivctl sweep: each fault at each call of the plan, one in each run, and which of them the suite notices.
#include "kivctl/sweep.h"

#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <thread>

#include "kiv/files.h"
#include "kivctl/commands.h"

namespace kivctl {
namespace {

struct SweepOptions {
    sweep::Program program;
    std::vector<std::string> faults;
    std::string operations, output;
    unsigned jobs = 0;
    size_t sample = 0;
    bool json = false;
};

// Beside this program, as installed; else as built.
std::string runner() {
    std::error_code error;
    const std::filesystem::path here = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const std::filesystem::path &path : {here / "prm_kiv", here / "../app/prm_kiv"})
        if (access(path.c_str(), X_OK) == 0) return path.lexically_normal();
    return "";
}

// Gone with its owner, and all in it.
class WorkDirectory {
  public:
    WorkDirectory() {
        std::error_code error;
        path_ = (std::filesystem::temp_directory_path(error) / "kivctl-sweep-XXXXXX").string();
        if (mkdtemp(path_.data()) == nullptr) path_.clear();
    }
    ~WorkDirectory() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    WorkDirectory(const WorkDirectory &) = delete;
    WorkDirectory &operator=(const WorkDirectory &) = delete;

    const std::string &path() const { return path_; }

  private:
    std::string path_;
};

// Makes all runs, several at a time. What keeps one from telling anything is in *problems.
void make_all(const SweepOptions &options, const std::string &directory,
              std::vector<sweep::Attempt> *attempts, std::vector<std::string> *problems) {
    const bool watched = isatty(STDERR_FILENO) != 0;
    std::atomic<size_t> next = 0;
    std::mutex one_at_a_time;
    const auto work = [&](unsigned slot) {
        const std::string place = fmt::format("{}/{}", directory, slot);
        std::error_code ignored;
        std::filesystem::create_directory(place, ignored);
        for (size_t i = 0; (i = next++) < attempts->size();) {
            std::string error;
            const bool good = sweep::make(options.program, place, &(*attempts)[i], &error);
            const std::lock_guard lock(one_at_a_time);
            if (!good) problems->push_back(error);
            if (watched && i % 50 == 0) fmt::print(stderr, "\r{} of {} runs", i, attempts->size());
        }
    };
    std::vector<std::thread> threads;
    for (unsigned slot = 1; slot < options.jobs; ++slot) threads.emplace_back(work, slot);
    work(0);
    for (std::thread &thread : threads) thread.join();
    if (watched) fmt::print(stderr, "\r{} of {} runs\n", attempts->size(), attempts->size());
}

int sweep_all(SweepOptions options) {
    if (options.program.path.empty()) options.program.path = runner();
    if (options.program.path.empty())
        return unusable("sweep: there is no prm_kiv beside this program; --program names one");
    if (access(options.program.path.c_str(), X_OK) != 0)
        return unusable(fmt::format("--program {}: {}", options.program.path, strerror(errno)));
    if (options.jobs == 0) options.jobs = std::max(1u, std::thread::hardware_concurrency());
    std::vector<sweep::Fault> faults;
    for (const sweep::FaultRow &row : sweep::kFaults) {
        const bool asked =
            std::find(options.faults.begin(), options.faults.end(), row.name) != options.faults.end();
        if (options.faults.empty() ? row.tried : asked) faults.push_back(row.fault);
    }
    const WorkDirectory directory;
    if (directory.path().empty()) return unusable("sweep: no directory for the runs could be made");

    std::vector<sweep::Call> calls;
    std::string error;
    if (!sweep::read_calls(options.program, directory.path(), &calls, &error))
        return unusable("sweep: " + error);
    std::vector<sweep::Attempt> attempts =
        sweep::attempts_on(calls, faults, options.operations, options.sample);
    if (attempts.empty()) return unusable("sweep: no call of the run can have such a fault");
    std::vector<std::string> problems;
    make_all(options, directory.path(), &attempts, &problems);

    const std::string text = options.json ? sweep::as_json(attempts) : sweep::as_table(attempts);
    if (options.output.empty()) {
        fmt::print("{}", text);
    } else if (!kiv::put_file(options.output, text, &error)) {
        return unusable("sweep: " + error);
    }
    for (const std::string &problem : problems) fmt::print(stderr, "kivctl: sweep: {}\n", problem);
    return problems.empty() ? kGood : kUnusable;
}

std::string fault_names() {
    std::string text = "Faults:\n";
    for (const sweep::FaultRow &row : sweep::kFaults)
        text +=
            fmt::format("  {:<8} {}{}\n", row.name, row.meaning, row.tried ? "" : "; only when asked for");
    return text;
}

}  // namespace

void add_sweep(CLI::App &app, int *status) {
    const auto options = std::make_shared<SweepOptions>();
    CLI::App *const command =
        app.add_subcommand("sweep", "Try each fault at each call of the suite, and tell what notices it");
    command->footer(
        fault_names() +
        "Columns: runs in which a check failed; else a line reported a failure; else the accounting of "
        "failed "
        "calls\n"
        "told of it; else a case or the run ended badly; else the site's baseline had other calls; else "
        "nothing.\n"
        "Exit status: 0, or 2 when runs could not be made.");
    command->add_option("SELECTORS", options->program.selectors,
                        "What runs, as prm_kiv takes it; else its plan");
    command->add_option("--program", options->program.path, "The suite [prm_kiv beside this program]")
        ->option_text("PATH");
    command->add_option("--site", options->program.site, "Site of the runs [the suite's own]")
        ->option_text("DIR");
    command->add_option("--jobs", options->jobs, "Runs at a time [one for each processor]")
        ->check(CLI::Range(1, 1024).description(""))
        ->option_text("N");
    command->add_option("--sample", options->sample, "Of each operation and fault so many calls at most")
        ->option_text("N");
    std::vector<std::string> names;
    for (const sweep::FaultRow &row : sweep::kFaults) names.emplace_back(row.name);
    command->add_option("--fault", options->faults, "Only this fault; repeatable")
        ->check(CLI::IsMember(names).description(""))
        ->expected(1)
        ->take_all()
        ->option_text("NAME");
    command->add_option("--operation", options->operations, "Only operations that fit the pattern")
        ->option_text("PATTERN");
    command->add_option("--limit", options->program.limit, "Seconds after which a run is ended [60]")
        ->check(CLI::Range(1.0, 86400.0).description(""))
        ->option_text("SECONDS");
    command->add_flag("--json", options->json, "Rows and every run, as JSON");
    command->add_option("-o,--output", options->output, "File to write instead of printing")
        ->option_text("FILE");
    command->callback([=] { *status = sweep_all(*options); });
}

}  // namespace kivctl
