// The state of the simulated card after a run and inside one, from outside: also when workers die.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/kiv/process.h"

namespace {

using kiv_test::Finished;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::json;

class CardStateTest : public testing::Test {
  protected:
    Finished run(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--out", directory_.file("out")});
        return kiv_test::run("card", arguments);
    }
    std::string file() const { return directory_.file("state.json"); }
    bool written() const { return std::filesystem::exists(file()); }
    Json state() const { return Json::parse(kiv_test::read_text(file())); }
    std::vector<int> domains() const {
        std::vector<int> ids;
        const Json document = state();
        for (const Json &domain : document["families"]["bridge_domains"]["entries"])
            ids.push_back(domain["bd_id"]);
        return ids;
    }
    void TearDown() override { EXPECT_FALSE(std::filesystem::exists(file() + ".tmp")); }

    kiv_test::TemporaryDirectory directory_;
};

TEST_F(CardStateTest, IsWrittenAfterTheRun) {
    const Finished ran = run({"first", "last", "--card-state", file()});
    EXPECT_THAT(domains(), ElementsAre(7, 8, 9));
    EXPECT_EQ(state()["run"], Json::parse(R"({"worker": 1, "after": ""})"));
    EXPECT_THAT(ran.out, Not(HasSubstr("card state:")));
}

TEST_F(CardStateTest, IsWrittenByTheOneProcessToo) {
    run({"first", "--no-fork", "--card-state", file()});
    EXPECT_THAT(domains(), ElementsAre(7, 8));
}

TEST_F(CardStateTest, IsWrittenAfterTheCaseThatIsNamed) {
    for (const char *const name : {"first/adds_7", "adds_7", "first/*_7"}) {
        run({"first", "last", "--card-state", file(), "--card-state-after", name});
        EXPECT_THAT(domains(), ElementsAre(7)) << name;
        EXPECT_EQ(state()["run"]["after"], "first/adds_7");
    }
}

TEST_F(CardStateTest, OfTheLastWorkerIsWrittenWhenOneBeforeDied) {
    const Finished ran = run({"--card-state", file()});
    EXPECT_THAT(domains(), ElementsAre(9));
    EXPECT_EQ(state()["run"]["worker"], 2);
    EXPECT_THAT(ran.out,
                HasSubstr("is of the card of worker 2; the cards before it went with their workers"));
}

TEST_F(CardStateTest, OfACardThatDiedIsSaidAndAnOldFileGoes) {
    directory_.write("state.json", "{}");
    const Finished ran = run({"first", "deadly", "--card-state", file()});
    EXPECT_FALSE(written());
    EXPECT_THAT(ran.out, HasSubstr("card state: not written: worker 1 died, and its card with it"));
}

TEST_F(CardStateTest, AfterACaseStaysWhenTheWorkerDiesLater) {
    const Finished ran = run({"--card-state", file(), "--card-state-after", "adds_8"});
    EXPECT_THAT(domains(), ElementsAre(7, 8));
    EXPECT_THAT(ran.out, Not(HasSubstr("card state:")));
}

TEST_F(CardStateTest, AfterACaseThatDoesNotComeToItsEndIsSaid) {
    for (const char *const name : {"deadly/dies", "no_such_case"}) {
        const Finished ran = run({"--card-state", file(), "--card-state-after", name});
        EXPECT_FALSE(written()) << name;
        EXPECT_THAT(ran.out, HasSubstr("card state: not written: no case \"" + std::string(name) +
                                       "\" came to its end"));
    }
}

TEST_F(CardStateTest, AFileThatCannotBeWrittenEndsTheRunBeforeItBegins) {
    for (const std::string &place : std::vector{directory_.file("none/state.json"), directory_.path()}) {
        const Finished ran = run({"--card-state", place});
        EXPECT_THAT(ran.out, HasSubstr("--card-state " + place));
        EXPECT_THAT(ran.out, Not(HasSubstr("passed")));
    }
}

TEST_F(CardStateTest, ACaseWithoutAFileIsRefused) {
    const Finished ran = run({"--card-state-after", "adds_7"});
    EXPECT_THAT(ran.out, HasSubstr("--card-state-after requires --card-state"));
}

}  // namespace
