// A process that writes every report is killed at random moments: its files hold every case that it told of.
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "tests/kiv/reports/report_test.h"

extern char **environ;

namespace kiv::test {
namespace {

// The feeder reports the number of finished cases through a pipe after each; whatever it had told before it
// was killed must be in every file.
TEST(Killed, EveryReportHoldsEveryFinishedCase) {
    const TemporaryDirectory directory;
    std::mt19937 random(20261121);
    for (int round = 0; round < 200; ++round) {
        int pipe_ends[2];
        ASSERT_EQ(pipe(pipe_ends), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, pipe_ends[1], 1);
        const std::string base = directory.file("r");
        std::string largest = std::to_string(round % 4 * 2500);
        char program[] = FEEDER;
        char *arguments[] = {program, const_cast<char *>(base.c_str()), largest.data(), nullptr};
        pid_t pid;
        ASSERT_EQ(posix_spawn(&pid, FEEDER, &actions, nullptr, arguments, environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(pipe_ends[1]);

        // Started once the first case is told of; then anywhere in the next milliseconds.
        int told = 0;
        ASSERT_EQ(read(pipe_ends[0], &told, sizeof told), static_cast<ssize_t>(sizeof told));
        usleep(std::uniform_int_distribution<unsigned>(0, 20000)(random));
        kill(pid, SIGKILL);
        int status;
        waitpid(pid, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the feeder ended by itself";
        for (int next; read(pipe_ends[0], &next, sizeof next) == static_cast<ssize_t>(sizeof next);)
            told = next;
        close(pipe_ends[0]);

        std::string error;
        const int junit = static_cast<int>(junit_case_names(read_text(base + ".xml"), &error).size());
        ASSERT_EQ(error, "") << "round " << round;
        const int json = json_cases(read_text(base + ".jsonl"), &error);
        ASSERT_EQ(error, "") << "round " << round;
        const int tap = tap_cases(read_text(base + ".tap"));
        for (const int count : {junit, json, tap}) {
            ASSERT_GE(count, told) << "round " << round;
            ASSERT_LE(count, told + 1) << "round " << round;
        }
    }
}

}  // namespace
}  // namespace kiv::test
