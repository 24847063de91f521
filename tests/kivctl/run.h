// Runs programs for the tests of the companion command.
#ifndef TESTS_KIVCTL_RUN_H
#define TESTS_KIVCTL_RUN_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kiv/results.h"
#include "tests/kiv/temporary.h"

namespace kivctl::test {

using kiv_test::TemporaryDirectory;

struct Ran {
    int status = -1;
    std::string out, err;
};

// A shell command; KIVCTL stands for the program.
Ran shell(const std::string &command);
Ran kivctl(const std::string &arguments);

// A case as it ran.
struct Play {
    std::string name;
    kiv::Verdict verdict = kiv::Verdict::passed;
    double milliseconds = 20;
};

// The event stream of a run of those cases, each named folder/case.
std::string results_of(const std::vector<Play> &plays, bool ends = true, int shard = 0, int shards = 1,
                       const std::string &started_at = "2026-11-21T04:00:00.000Z");

// The event stream of the sample run.
std::string sample_results();

// Files and runs of a command.
class CommandTest : public testing::Test {
  protected:
    std::string file(const std::string &text, const std::string &name = "results.jsonl") {
        return directory_.write(name, text);
    }
    TemporaryDirectory directory_;
};

}  // namespace kivctl::test

#endif
