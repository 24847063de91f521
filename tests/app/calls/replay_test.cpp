// A suite that sends one other byte than the trace has is told where.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/app/calls/flip.h"
#include "tests/app/calls/suite_run.h"

namespace {

using card::OperationId;

class ReplayedCalls : public testing::Test {
  protected:
    ReplayedCalls() { std::filesystem::create_directories(directory_); }
    ~ReplayedCalls() override { std::filesystem::remove_all(directory_); }

    std::string trace() const { return directory_ + "/run.pcap"; }
    std::string results() const { return directory_ + "/run.json"; }
    // The suite on the trace, with the flip.
    const suite_run::Outcome &replay(const flip::Flip &flip, const std::string &how = "") {
        return suite_run::run(
            [&] {
                card::use_backend(&flip::in_front_of(
                    card::current_backend(), flip,
                    [](OperationId operation) { suite_run::note_call(operation, CERR_SUCCESS); }));
            },
            {"--card", "replay:" + trace() + how, "--json", results()});
    }
    // The differences of the first case that has some.
    std::string told() const {
        std::ostringstream text;
        text << std::ifstream(results()).rdbuf();
        const std::string all = text.str();
        const size_t begin = all.find("\"Differences\":");
        return begin == std::string::npos
                   ? ""
                   : all.substr(begin, all.find(']', all.find(", trace ", begin)) - begin + 1);
    }

    std::string directory_ = testing::TempDir() + "replayed_calls." + std::to_string(getpid());
};

TEST_F(ReplayedCalls, FlippedBitOfAnyOperationIsToldAtItsCallAndField) {
    ASSERT_TRUE(suite_run::run([] {}, {"--trace", trace()}).good);
    const suite_run::Outcome &plain = replay(flip::Flip{});
    EXPECT_TRUE(plain.good);
    EXPECT_EQ(plain.differences, 0u);
    std::map<OperationId, uint32_t> calls;
    for (uint32_t i = 0; i < plain.calls; ++i) ++calls[plain.call[i].operation];
    for (const auto &[operation, count] : calls) {
        const suite_run::Outcome &run = replay(flip::Flip{operation, (count + 1) / 2, 1});
        const std::string name(card::row(operation).name);
        EXPECT_FALSE(run.good) << name;
        EXPECT_EQ(run.differences, 1u) << name;
        EXPECT_THAT(told(), testing::ContainsRegex("\"Differences\":\\[\"call [0-9]+: " + name +
                                                   ": [^\"]+: [^\"]+, trace [^\"]+\"\\]"));
    }
    EXPECT_GT(calls.size(), 30u);
}

TEST_F(ReplayedCalls, LenientReplayAnswersAFlippedCallFromTheNearest) {
    ASSERT_TRUE(suite_run::run([] {}, {"--trace", trace()}).good);
    const suite_run::Outcome &run = replay(flip::Flip{OperationId::prm_srh_bd_add, 3, 1}, ",lenient");
    EXPECT_TRUE(run.good);
    EXPECT_EQ(run.differences, 0u);
}

}  // namespace
