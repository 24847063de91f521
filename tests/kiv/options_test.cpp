// The command line of a run: which words are options, values, selectors, and what each option becomes.
#include "kiv/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include "tests/kiv/process.h"

namespace {

using kiv::Parsed;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class OptionsTest : public testing::Test {
  protected:
    Parsed parse(std::vector<std::string> words) {
        words.insert(words.begin(), "bin/suite");
        std::vector<char *> argv;
        for (std::string &word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        CLI::App app;
        options_ = {};
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const Parsed parsed = kiv::parse_options(static_cast<int>(words.size()), argv.data(), app, &options_);
        out_ = testing::internal::GetCapturedStdout();
        error_ = testing::internal::GetCapturedStderr();
        return parsed;
    }
    std::vector<std::string> selectors() const {
        std::vector<std::string> texts;
        for (const kiv::Selector &selector : options_.selectors)
            texts.push_back((selector.excludes ? "-" : "") + selector.text);
        return texts;
    }
    // What is said of a mistake, without the program's name.
    std::string mistake(const std::vector<std::string> &words) {
        EXPECT_EQ(parse(words), Parsed::error);
        EXPECT_EQ(out_, "");
        EXPECT_THAT(error_, testing::StartsWith("suite: "));
        return error_.substr(std::min<size_t>(7, error_.size()));
    }

    kiv_test::TemporaryDirectory directory_;
    kiv::Options options_;
    std::string out_, error_;
};

TEST_F(OptionsTest, EveryOptionIsListedInItsGroup) {
    EXPECT_EQ(parse({"--help"}), Parsed::nothing_to_do);
    std::string expected = kiv_test::read_text(KIV_TESTS "/golden/help.txt");
    for (size_t at; (at = expected.find("kiv_sample_mixed")) != std::string::npos;)
        expected.replace(at, strlen("kiv_sample_mixed"), "suite");
    EXPECT_EQ(out_, expected);
}

TEST_F(OptionsTest, NothingSaidIsAPlainRun) {
    ASSERT_EQ(parse({}), Parsed::run);
    EXPECT_EQ(options_.program, "bin/suite");
    EXPECT_THAT(options_.arguments, IsEmpty());
    EXPECT_THAT(selectors(), IsEmpty());
    EXPECT_EQ(options_.list, kiv::ListKind::none);
    EXPECT_EQ(options_.repeat, 1);
    EXPECT_EQ(options_.timeout, 300);
    EXPECT_FALSE(options_.timeout_given);
    EXPECT_EQ(options_.grace, 5);
    EXPECT_EQ(options_.on_crash, kiv::OnCrash::next_folder);
    EXPECT_EQ(options_.output_limit, 1024u);
    EXPECT_EQ(options_.color, "auto");
    EXPECT_FALSE(options_.all || options_.sharded || options_.shuffle || options_.fail_fast ||
                 options_.no_fork || options_.no_site || options_.verbose || options_.quiet);
}

TEST_F(OptionsTest, OptionWithAValueTakesTheNextWordAndNoMore) {
    const std::string plan = directory_.write("plan", "of/the/plan\n");
    const std::pair<const char *, std::string> kOptions[] = {
        {"--plan", plan},     {"--exclude", "x"},      {"--rerun-failed", "run.json"},
        {"--shard", "1/2"},   {"--repeat", "2"},       {"--seed", "3"},
        {"--timeout", "4"},   {"--grace", "5"},        {"--on-crash", "stop"},
        {"--site", "site"},   {"--disk0", "flash"},    {"--out", "out"},
        {"--color", "never"}, {"--output-limit", "6"}, {"--junit", "x.xml"},
        {"--tap", "x.tap"},   {"--json", "x.json"},    {"--html", "x.html"}};
    for (const auto &[option, value] : kOptions) {
        for (const bool joined : {false, true}) {
            std::vector<std::string> words = {"first", option, value, "second", "third"};
            if (joined) words = {"first", option + ("=" + value), "second", "third"};
            ASSERT_EQ(parse(words), Parsed::run) << option << error_;
            std::vector<std::string> expected = {"first", "second", "third"};
            if (value == plan) expected.insert(expected.begin(), "of/the/plan");
            if (option == std::string("--exclude")) expected.push_back("-x");
            EXPECT_EQ(selectors(), expected) << option;
        }
        EXPECT_THAT(mistake({"first", option}), HasSubstr(option));
    }
}

TEST_F(OptionsTest, FlagTakesNoWord) {
    for (const char *flag : {"--all", "-l", "--list", "--list-json", "--list-folders", "--shuffle",
                             "--fail-fast", "--no-fork", "--no-site", "-v", "--verbose", "-q", "--quiet"}) {
        ASSERT_EQ(parse({flag, "first"}), Parsed::run) << flag << error_;
        EXPECT_THAT(selectors(), ElementsAre("first")) << flag;
    }
}

TEST_F(OptionsTest, EachOptionSaysOneThing) {
    ASSERT_EQ(parse({"--all",
                     "--rerun-failed",
                     "run.json",
                     "--repeat",
                     "2",
                     "--seed",
                     "3",
                     "--fail-fast",
                     "--timeout",
                     "1.5",
                     "--grace",
                     "0.25",
                     "--no-fork",
                     "--site",
                     "S",
                     "--no-site",
                     "--disk0",
                     "D",
                     "--out",
                     "O",
                     "-v",
                     "-q",
                     "--color",
                     "never",
                     "--output-limit",
                     "6"}),
              Parsed::run)
        << error_;
    EXPECT_TRUE(options_.all && options_.fail_fast && options_.no_fork && options_.no_site &&
                options_.verbose && options_.quiet);
    EXPECT_EQ(options_.rerun_failed, "run.json");
    EXPECT_EQ(options_.repeat, 2);
    EXPECT_EQ(options_.seed, 3u);
    EXPECT_TRUE(options_.shuffle);  // whoever gives a seed wants an order of it
    EXPECT_EQ(options_.timeout, 1.5);
    EXPECT_TRUE(options_.timeout_given);
    EXPECT_EQ(options_.grace, 0.25);
    EXPECT_EQ(options_.site, "S");
    EXPECT_EQ(options_.disk0, "D");
    EXPECT_EQ(options_.out, "O");
    EXPECT_EQ(options_.color, "never");
    EXPECT_EQ(options_.output_limit, 6u);
    EXPECT_EQ(options_.arguments.size(), 26u);
}

TEST_F(OptionsTest, CrashesAndListsHaveTheirKinds) {
    const std::pair<const char *, kiv::OnCrash> kCrashes[] = {{"next-folder", kiv::OnCrash::next_folder},
                                                              {"next-case", kiv::OnCrash::next_case},
                                                              {"stop", kiv::OnCrash::stop}};
    for (const auto &[word, kind] : kCrashes) {
        ASSERT_EQ(parse({"--on-crash", word}), Parsed::run);
        EXPECT_EQ(options_.on_crash, kind) << word;
    }
    const std::pair<const char *, kiv::ListKind> kLists[] = {{"-l", kiv::ListKind::plain},
                                                             {"--list", kiv::ListKind::plain},
                                                             {"--list-json", kiv::ListKind::json},
                                                             {"--list-folders", kiv::ListKind::folders}};
    for (const auto &[word, kind] : kLists) {
        ASSERT_EQ(parse({word}), Parsed::run);
        EXPECT_EQ(options_.list, kind) << word;
    }
}

TEST_F(OptionsTest, PlansAndExcludesAddUp) {
    const std::string one = directory_.write("one", "a\nb\n"), two = directory_.write("two", "c\n");
    ASSERT_EQ(parse({"word", "--plan", two, "--exclude", "x", "-y", "--plan", one, "--exclude", "-v"}),
              Parsed::run)
        << error_;
    EXPECT_THAT(selectors(), ElementsAre("c", "a", "b", "word", "-y", "-x", "-v"));
}

TEST_F(OptionsTest, ValueMayBeginWithADash) {
    ASSERT_EQ(parse({"--out", "-q", "--exclude", "--list", "--site", "-"}), Parsed::run) << error_;
    EXPECT_EQ(options_.out, "-q");
    EXPECT_EQ(options_.site, "-");
    EXPECT_FALSE(options_.quiet);
    EXPECT_EQ(options_.list, kiv::ListKind::none);
    EXPECT_EQ(selectors().size(), 1u);
}

TEST_F(OptionsTest, AfterTwoDashesEveryWordIsASelector) {
    ASSERT_EQ(parse({"-q", "--", "--list", "-v", "--", "plain"}), Parsed::run) << error_;
    EXPECT_TRUE(options_.quiet);
    EXPECT_FALSE(options_.verbose);
    EXPECT_THAT(selectors(), ElementsAre("--list", "-v", "--", "plain"));
}

TEST_F(OptionsTest, ShardsCountFromOneToTheirNumber) {
    ASSERT_EQ(parse({"--shard", "3/3"}), Parsed::run) << error_;
    EXPECT_EQ(options_.shard_index, 2);
    EXPECT_EQ(options_.shard_count, 3);
    EXPECT_TRUE(options_.sharded);
    for (const char *wrong : {"0/3", "4/3", "1/0", "-1/3", "1", "1/2x", "1/2/3", "x/2"})
        EXPECT_EQ(mistake({"--shard", wrong}),
                  "--shard: \"" + std::string(wrong) + "\" is neither I/N with I from 1 to N nor auto\n");
}

TEST_F(OptionsTest, MistakesAreSaid) {
    EXPECT_EQ(mistake({"--repaet", "3"}), "unknown option --repaet; did you mean --repeat?\n");
    EXPECT_EQ(mistake({"--grase=x"}), "unknown option --grase=x; did you mean --grace?\n");
    EXPECT_EQ(mistake({"--plan", "/nowhere/plan"}), "/nowhere/plan: No such file or directory\n");
    for (const auto &[option, value] :
         std::initializer_list<std::pair<const char *, const char *>>{{"--repeat", "0"},
                                                                      {"--repeat", "x"},
                                                                      {"--timeout", "-1"},
                                                                      {"--timeout", "nan"},
                                                                      {"--grace", "-nan"},
                                                                      {"--timeout", "inf"},
                                                                      {"--grace", "-1"},
                                                                      {"--seed", "-1"},
                                                                      {"--color", "x"},
                                                                      {"--on-crash", "x"},
                                                                      {"--output-limit", "0"}})
        EXPECT_THAT(mistake({option, value}), HasSubstr(option));
    EXPECT_THAT(mistake({"--site", "a", "--site", "b"}), HasSubstr("--site"));
    EXPECT_THAT(mistake({"-"}), HasSubstr("-"));
}

}  // namespace
