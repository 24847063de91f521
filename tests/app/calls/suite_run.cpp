// The whole program in a process of its own: see suite_run.h.
#include "tests/app/calls/suite_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>

#include "kiv/observer.h"

int prm_kiv_main(int argc, char **argv);  // the suite's

namespace suite_run {
namespace {

Outcome &outcome() {
    static Outcome *const shared = static_cast<Outcome *>(
        mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    return *shared;
}

// Subscribed behind the glue of the card.
class Saboteur : public kiv::Observer {
  public:
    explicit Saboteur(const std::function<void()> &interpose) : interpose_(interpose) {}
    void worker_begins(int) override { interpose_(); }
    void run_ended(const kiv::Summary &summary) override {
        outcome().ended = true;
        outcome().good = summary.good();
        outcome().with_unnoticed_calls = summary.with_unnoticed_calls;
        outcome().differences = summary.differences;
    }

  private:
    const std::function<void()> interpose_;
};

// In a process that begins like a fresh program.
[[noreturn]] void run_suite(const std::function<void()> &interpose, const std::string &directory,
                            const std::vector<std::string> &more) {
    const int nothing = open("/dev/null", O_RDWR);
    for (const int fd : {0, 1, 2}) dup2(nothing, fd);
    unsetenv("CI");
    Saboteur saboteur(interpose);
    kiv::subscribe(&saboteur);
    std::vector<std::string> words = {"prm_kiv",         "--no-fork", "--quiet", "--site",
                                      CARD_DEFAULT_SITE, "--out",     directory};
    words.insert(words.end(), more.begin(), more.end());
    std::vector<char *> arguments;
    for (std::string &word : words) arguments.push_back(word.data());
    prm_kiv_main(static_cast<int>(words.size()), arguments.data());
    _exit(0);
}

}  // namespace

void note_call(card::OperationId operation, prm_status_t status) {
    Outcome &run = outcome();
    if (run.calls < std::size(run.call)) run.call[run.calls++] = {operation, status == 0};
}

const Outcome &run(const std::function<void()> &interpose, const std::vector<std::string> &words) {
    const std::string directory = testing::TempDir() + "suite_run." + std::to_string(getpid());
    std::filesystem::remove_all(directory);
    Outcome &run = outcome();
    run.ended = run.good = false;
    run.with_unnoticed_calls = 0;
    run.differences = 0;
    run.calls = 0;
    const pid_t child = fork();
    if (child == 0) run_suite(interpose, directory, words);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status)) run.ended = run.good = false;
    std::filesystem::remove_all(directory);
    return run;
}

}  // namespace suite_run
