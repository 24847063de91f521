// Calls of the default site's plan fail, one in each run: no such run is good and says nothing of it, and the
// run in which none is made to fail raises no alarm.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "card/sim/backend.h"
#include "kiv/observer.h"
#include "tests/app/calls/fault.h"

int prm_kiv_main(int argc, char **argv);  // the suite's

namespace {

using card::OperationId;
using fault::Fault;

// What a run leaves for the process that started it.
struct Outcome {
    struct Call {
        OperationId operation;
        bool good;
    };
    bool good;  // it came to its end, and everything in it is good
    size_t with_unnoticed_calls;
    uint32_t calls;
    Call call[8192];

    bool silent() const { return good && with_unnoticed_calls == 0; }
};

Outcome &outcome() {
    static Outcome *const shared = static_cast<Outcome *>(
        mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    return *shared;
}

void note_call(OperationId operation, prm_status_t status) {
    Outcome &run = outcome();
    if (run.calls < std::size(run.call)) run.call[run.calls++] = {operation, status == CERR_SUCCESS};
}

// Subscribed behind the glue of the card: what it chooses stands in front of the simulated card.
class Saboteur : public kiv::Observer {
  public:
    explicit Saboteur(const Fault &fault) : fault_(fault) {}
    void worker_begins(int) override {
        card::use_backend(&fault::in_front_of(sim::backend(), fault_, note_call));
    }
    void run_ended(const kiv::Summary &summary) override {
        outcome().good = summary.good();
        outcome().with_unnoticed_calls = summary.with_unnoticed_calls;
    }

  private:
    const Fault fault_;
};

// In a process that begins like a fresh program.
[[noreturn]] void run_suite(const Fault &fault, const std::string &directory, const char *selection) {
    const int nothing = open("/dev/null", O_RDWR);
    for (const int fd : {0, 1, 2}) dup2(nothing, fd);
    unsetenv("CI");
    Saboteur saboteur(fault);
    kiv::subscribe(&saboteur);
    std::vector<std::string> words = {"prm_kiv",         "--no-fork", "--quiet", "--site",
                                      CARD_DEFAULT_SITE, "--out",     directory};
    if (selection != nullptr) words.emplace_back(selection);
    std::vector<char *> arguments;
    for (std::string &word : words) arguments.push_back(word.data());
    prm_kiv_main(static_cast<int>(words.size()), arguments.data());
    _exit(0);
}

// What came of it stays until the next run.
const Outcome &run_with(const Fault &fault, const char *selection = nullptr) {
    const std::string directory = testing::TempDir() + "unnoticed." + std::to_string(getpid());
    std::filesystem::remove_all(directory);
    Outcome &run = outcome();
    run.good = false;
    run.with_unnoticed_calls = 0;
    run.calls = 0;
    const pid_t child = fork();
    if (child == 0) run_suite(fault, directory, selection);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status)) run.good = false;  // a case ended it
    std::filesystem::remove_all(directory);
    return run;
}

// A code that no operation answers by itself.
constexpr prm_status_t kCode = 0x5CA0F200;

// The calls of a good run that succeed, by operation.
std::map<OperationId, std::vector<uint32_t>> calls_of_a_good_run() {
    const Outcome &run = run_with({});
    EXPECT_TRUE(run.good);
    EXPECT_LT(run.calls, std::size(run.call));
    std::map<OperationId, uint32_t> made;
    std::map<OperationId, std::vector<uint32_t>> good;
    for (uint32_t i = 0; i < run.calls; ++i) {
        const uint32_t nth = ++made[run.call[i].operation];
        if (run.call[i].good) good[run.call[i].operation].push_back(nth);
    }
    return good;
}

TEST(UnnoticedCalls, AGoodRunRaisesNoAlarm) {
    const Outcome &plan = run_with({});
    EXPECT_TRUE(plan.good);
    EXPECT_EQ(plan.with_unnoticed_calls, 0u);
    EXPECT_GT(plan.calls, 2000u);
    EXPECT_EQ(run_with({}, "--all").with_unnoticed_calls, 0u);
}

// Up to five of each operation, the first and the last among them; the table below has all.
TEST(UnnoticedCalls, NoFailureOfACallGoesUnsaid) {
    size_t failed = 0;
    for (const auto &[operation, calls] : calls_of_a_good_run()) {
        const size_t step = std::max<size_t>(1, (calls.size() + 2) / 4);
        for (size_t at = 0;; at = std::min(at + step, calls.size() - 1)) {
            EXPECT_FALSE(run_with({operation, calls[at], kCode}).silent())
                << card::row(operation).name << ", call " << calls[at];
            ++failed;
            if (at + 1 == calls.size()) break;
        }
    }
    EXPECT_GT(failed, 150u);
}

// Takes a minute: run it with --gtest_also_run_disabled_tests when a case, an operation or an outcome line is
// new.
TEST(UnnoticedCalls, DISABLED_TableOfEveryCall) {
    size_t all = 0, all_green = 0, all_silent = 0;
    printf("%-40s %6s %6s %6s\n", "operation", "calls", "green", "silent");
    for (const auto &[operation, calls] : calls_of_a_good_run()) {
        size_t green = 0, silent = 0;
        for (const uint32_t call : calls) {
            const Outcome &run = run_with({operation, call, kCode});
            green += run.good;
            silent += run.silent();
            if (run.silent()) printf("silent: %s, call %u\n", card::row(operation).name.data(), call);
        }
        printf("%-40s %6zu %6zu %6zu\n", card::row(operation).name.data(), calls.size(), green, silent);
        all += calls.size(), all_green += green, all_silent += silent;
    }
    printf("%-40s %6zu %6zu %6zu\n", "all", all, all_green, all_silent);
    EXPECT_EQ(all_silent, 0u);
}

}  // namespace
