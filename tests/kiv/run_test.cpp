// Whole runs from the command line: selection, site, input, reports, test environments, terminals.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "tests/kiv/process.h"

namespace {

using kiv_test::Finished;
using kiv_test::Process;
using kiv_test::read_text;
using kiv_test::TemporaryDirectory;
using testing::HasSubstr;
using testing::Not;

bool exists(const std::string &path) {
    return access(path.c_str(), F_OK) == 0;
}

class RunTest : public testing::Test {
  protected:
    Finished run(const std::vector<std::string> &arguments,
                 const std::map<std::string, std::string> &environment = {}, const std::string &input = "") {
        return Process("mixed", arguments, directory_.path(), environment, input).finish();
    }
    TemporaryDirectory directory_;
};

TEST_F(RunTest, HelpAndVersionRunNothing) {
    const Finished help = run({"--help"});
    EXPECT_THAT(help.out, HasSubstr("SELECTOR names what runs"));
    EXPECT_THAT(help.out, HasSubstr("Which cases:"));
    EXPECT_THAT(help.out, HasSubstr("Examples:"));
    EXPECT_THAT(help.out, Not(HasSubstr("PASSED")));
    EXPECT_THAT(run({"--version"}).out, testing::MatchesRegex("kiv_sample_mixed [0-9.]+\n"));
}

TEST_F(RunTest, HelpFitsEightyColumns) {
    std::string line;
    for (const char c : run({"-h"}).out) {
        if (c == '\n') {
            EXPECT_LE(line.size(), 80u) << line;
            line.clear();
        } else {
            line += c;
        }
    }
}

TEST_F(RunTest, MistakesRunNothingAndLeaveNothing) {
    EXPECT_EQ(
        run({"first", "frist"}).out,
        "kiv_sample_mixed: no folder or case is called \"frist\"; did you mean first?\nNothing was run.\n");
    EXPECT_EQ(run({"--fial-fast"}).out,
              "kiv_sample_mixed: unknown option --fial-fast; did you mean --fail-fast?\n");
    EXPECT_THAT(run({"--shard", "3/2"}).out, HasSubstr("is neither I/N"));
    EXPECT_THAT(run({"--repeat", "0"}).out, HasSubstr("--repeat"));
    EXPECT_THAT(run({"--site", "nowhere"}).out, HasSubstr("--site: nowhere is not a directory"));
    EXPECT_THAT(run({"first", "-first"}).out, HasSubstr("the selection leaves no case to run"));
    EXPECT_THAT(run({"--junit", "no/such/directory/x.xml"}).out, Not(HasSubstr("PASSED")));
    EXPECT_FALSE(exists(directory_.file("kiv-out")));
}

// What a file of yesterday may not pass for.
class UnbegunTest : public RunTest {
  protected:
    static constexpr const char *kFiles[] = {"run.json", "run.xml", "run.tap", "run.html"};

    std::vector<std::string> with_reports(std::vector<std::string> arguments) {
        for (const char *const file : kFiles) {
            directory_.write(file, "results of yesterday\n");
            const std::string name(file);
            const std::string format = name.substr(name.find('.') + 1);
            arguments.insert(arguments.end(), {"--" + (format == "xml" ? "junit" : format), file});
        }
        return arguments;
    }
};

TEST_F(UnbegunTest, EveryReportOfARunThatCannotBeginSaysWhy) {
    const std::pair<std::vector<std::string>, const char *> kMistakes[] = {
        {{"first", "frist"}, "no folder or case is called \\\"frist\\\"; did you mean first?"},
        {{"--fial-fast"}, "unknown option --fial-fast; did you mean --fail-fast?"},
        {{"--repeat", "0"}, "--repeat: "},
        {{"--site", "nowhere"}, "--site: nowhere is not a directory"},
        {{"--plan", "none"}, "none: No such file or directory"},
        {{"--rerun-failed", "none"}, "none: No such file or directory"},
        {{"--shard", "3/2"}, "--shard: "},
        {{"first", "-first"}, "the selection leaves no case to run"}};
    for (const auto &[arguments, why] : kMistakes) {
        const Finished finished = run(with_reports(arguments));
        EXPECT_EQ(finished.exit_code, 2) << why;
        EXPECT_THAT(read_text(directory_.file("run.json")), HasSubstr(std::string("\"Reason\":\"") + why));
        for (const char *const file : kFiles) {
            EXPECT_THAT(read_text(directory_.file(file)), Not(HasSubstr("yesterday"))) << why;
            EXPECT_THAT(read_text(directory_.file(file)), HasSubstr(std::string(why).substr(0, 6))) << file;
        }
    }
}

TEST_F(UnbegunTest, ReportNamedByTheEnvironmentSaysSoToo) {
    directory_.write("test.xml", "results of yesterday\n");
    const Finished finished = run({"--fial-fast"}, {{"XML_OUTPUT_FILE", "test.xml"}});
    EXPECT_EQ(finished.exit_code, 2);
    EXPECT_THAT(read_text(directory_.file("test.xml")),
                HasSubstr("<error type=\"not run\" message=\"nothing was run: unknown option"));
}

TEST_F(UnbegunTest, ListsAndHelpLeaveReportsAlone) {
    for (const char *const word :
         {"--list", "-l", "--list-json", "--list-folders", "--help", "-h", "--version"}) {
        const Finished finished = run(with_reports({word}), {{"XML_OUTPUT_FILE", "run.xml"}});
        EXPECT_EQ(finished.exit_code, 0) << word;
        for (const char *const file : kFiles)
            EXPECT_EQ(read_text(directory_.file(file)), "results of yesterday\n") << word << ' ' << file;
    }
}

TEST_F(UnbegunTest, ReportThatListsWhatToRunAgainStaysUntilTheRunBegins) {
    run({"--json", "run.json", "first"});
    EXPECT_EQ(run({"--rerun-failed", "run.json", "--json", "run.json", "--site", "nowhere"}).exit_code, 2);
    EXPECT_THAT(run({"--rerun-failed", "run.json", "--json", "run.json"}).out, HasSubstr("FAILED: 1 case"));
    EXPECT_THAT(read_text(directory_.file("run.json")), HasSubstr("\"Selected\":1,"));
}

TEST_F(UnbegunTest, WithoutRoomForTheNewReportTheOldOneIsEmptied) {
    directory_.write("run.json", "results of yesterday\n");
    // Room for nothing: the disk is full.
    const std::string command = "cd " + directory_.path() +
                                " && ulimit -f 0 && trap \"\" XFSZ && KIV_SITE= " SAMPLES
                                "/kiv_sample_mixed --json run.json first >/dev/null 2>&1";
    const int status = std::system(("sh -c '" + command + "'").c_str());
    EXPECT_EQ(WEXITSTATUS(status), 2);
    EXPECT_EQ(read_text(directory_.file("run.json")), "");
}

TEST_F(RunTest, StatusIsZeroForARunThatTookPlaceUnlessAskedFor) {
    EXPECT_EQ(run({"first"}).exit_code, 0);
    EXPECT_EQ(run({"--exit-status", "first"}).exit_code, 1);
    EXPECT_EQ(run({"--exit-status", "first/passes"}).exit_code, 0);
    EXPECT_EQ(run({"first"}, {{"KIV_EXIT_STATUS", "1"}}).exit_code, 1);
    for (const char *const name : {"BAZEL_TEST", "TEST_PREMATURE_EXIT_FILE", "CTEST_INTERACTIVE_DEBUG_MODE",
                                   "DASHBOARD_TEST_FROM_CTEST"}) {
        const std::string value = directory_.file("value");
        EXPECT_EQ(run({"first"}, {{name, value}}).exit_code, 1) << name;
        EXPECT_EQ(run({"first/passes"}, {{name, value}}).exit_code, 0) << name;
        EXPECT_EQ(run({"first"}, {{name, value}, {"KIV_EXIT_STATUS", "0"}}).exit_code, 0) << name;
    }
}

TEST_F(RunTest, StatusIsTwoWhenNothingCouldBeRun) {
    for (const char *const word : {"nowhere", "--nowhere", "--timeout=x", "--site=nowhere",
                                   "--json=no/such/file", "--junit=/", "--disk0=/dev/null/x"})
        for (const char *const asked : {"0", "1"})
            EXPECT_EQ(run({word}, {{"KIV_EXIT_STATUS", asked}}).exit_code, 2) << word;
    EXPECT_EQ(run({}, {{"TEST_TOTAL_SHARDS", "2"}, {"TEST_SHARD_INDEX", "2"}}).exit_code, 2);
    EXPECT_EQ(Process("watched", {"--refuse", "out of glass"}, directory_.path()).finish().exit_code, 2);
}

TEST_F(RunTest, ReportOnStandardOutputHasItToItself) {
    const std::string command =
        "cd " + directory_.path() + " && KIV_SITE= " SAMPLES "/kiv_sample_mixed first/passes ";
    for (const char *const name : {"-", "/dev/stdout"}) {
        std::system((command + "--json " + name + " >out 2>err").c_str());
        EXPECT_THAT(read_text(directory_.file("out")), testing::StartsWith("{\"Time\":"));
        EXPECT_THAT(read_text(directory_.file("out")), Not(HasSubstr("PASSED")));
        EXPECT_THAT(read_text(directory_.file("err")), HasSubstr("PASSED: 1 case"));
    }
    // A log is never cut, whoever else writes to it.
    directory_.write("log", "before\n");
    std::system((command + "--json /dev/stdout >>log 2>/dev/null").c_str());
    EXPECT_THAT(read_text(directory_.file("log")), testing::StartsWith("before\n{\"Time\":"));
    EXPECT_FALSE(exists(directory_.file("-")));
    // One that does not begin says so there, for whoever reads.
    std::system((command + "--json - frist >out 2>/dev/null").c_str());
    EXPECT_THAT(read_text(directory_.file("out")), HasSubstr("\"Action\":\"nothing-run\""));
    EXPECT_THAT(run({"--json", "-", "--tap", "-"}).out, HasSubstr("--tap and --json both write -"));
}

TEST_F(RunTest, ReportThatIsNotCompleteIsTheRunsLastWord) {
    const Finished finished = run({"--tap", "/dev/full", "first/passes"});
    EXPECT_EQ(finished.exit_code, 2);
    EXPECT_THAT(finished.out, testing::EndsWith("NOT WRITTEN: /dev/full: No space left on device\n"));
}

TEST_F(RunTest, SecondRunInAFlashTakesAnotherOrWaits) {
    directory_.write("site/disk0/kiv_input_file", "A:1\n");
    Process first("faulty", {"hangs/fault", "--site", "site"}, directory_.path());
    ASSERT_TRUE(first.wait_for("Flash "));
    const Finished second = run({"--site", "site", "second/reads_the_flash", "-v"});
    EXPECT_THAT(second.out, HasSubstr(directory_.file("kiv-out") + " is used by process "));
    EXPECT_THAT(second.out, HasSubstr("kiv_sample_faulty hangs/fault"));
    EXPECT_THAT(second.out, HasSubstr("Flash " + directory_.file("kiv-out-2/disk0")));
    EXPECT_THAT(second.out, HasSubstr("| flash A:1\n"));
    // Without a site the files in the flash are what counts: none but that one will do.
    const Finished refused = run({"--disk0", "kiv-out/disk0", "first/passes"});
    EXPECT_EQ(refused.exit_code, 2);
    EXPECT_THAT(refused.out, HasSubstr("kiv-out/disk0 is used by process "));
    Process waiting("mixed", {"--site", "site", "--wait", "first/passes"}, directory_.path());
    ASSERT_TRUE(waiting.wait_for("Waiting for " + directory_.file("kiv-out/disk0") + ", which process "));
    first.signal_group(SIGKILL);
    EXPECT_THAT(waiting.finish().out, HasSubstr("PASSED: 1 case"));
}

TEST_F(RunTest, MissingInputFileIsPartOfTheResultOfTheCaseThatReadsIt) {
    const std::string told = "ERROR: the input file /disk0:/kiv_input_file is missing";
    for (const char *const how : {"--quiet", "--no-fork"}) {
        const Finished finished =
            run({"--disk0", "flash", how, "second/reads_the_flash", "--junit", "run.xml"});
        EXPECT_THAT(finished.out, HasSubstr("printed \"" + told + "\"")) << how;
        EXPECT_THAT(read_text(directory_.file("run.xml")), HasSubstr("message=\"" + told)) << how;
    }
}

TEST_F(RunTest, CasesOfLaterPassesHaveNamesOfTheirOwnInJunit) {
    run({"first", "--repeat", "3", "--junit", "run.xml"});
    const std::string xml = read_text(directory_.file("run.xml"));
    for (const char *const name :
         {"passes", "passes#2", "passes#3", "passes#4", "passes#5", "passes#6", "fails#3"}) {
        const std::string element = std::string("<testcase name=\"") + name + "\" classname=\"first\"";
        const size_t at = xml.find(element);
        EXPECT_NE(at, std::string::npos) << name;
        EXPECT_EQ(xml.find(element, at + 1), std::string::npos) << name;
    }
}

TEST_F(RunTest, CaseThatFailedHasAPlaceAndWhatItTakesToRunItAgainInJunit) {
    run({"first/fails", "--seed", "7", "--junit", "run.xml"});
    EXPECT_THAT(
        read_text(directory_.file("run.xml")),
        testing::ContainsRegex("<testcase name=\"fails\" [^>]* file=\"[^\"]*\\.cpp\" line=\"[0-9]+\">\n"
                               "<properties>\n<property name=\"seed\" value=\"7\"/>"));
}

TEST_F(RunTest, ExcludesAreToldFromOptions) {
    EXPECT_THAT(run({"-second", "-q", "-first/f*"}).out, HasSubstr("PASSED: 2 cases, 2 passed"));
    EXPECT_THAT(run({"-q", "--", "first/passes", "-second"}).out, HasSubstr("PASSED: 1 case, 1 passed"));
    EXPECT_THAT(run({"--exclude", "second", "--exclude=first/fails"}).out,
                HasSubstr("PASSED: 2 cases, 2 passed"));
}

TEST_F(RunTest, PlanIsReadAndItsMistakesHaveALine) {
    const std::string plan = directory_.write("p.plan", "# manual too\nfirst/manual\nfirst/passes#2\n");
    const Finished good = run({"--plan", plan});
    EXPECT_THAT(good.out, HasSubstr("PASSED: 2 cases, 2 passed"));
    EXPECT_LT(good.out.find("manual"), good.out.find("passes#2"));
    directory_.write("p.plan", "first\n\nfirst/pases\n");
    EXPECT_THAT(run({"--plan", plan}).out,
                HasSubstr(plan + ":3: no folder or case is called \"first/pases\""));
}

TEST_F(RunTest, ListIsAPlan) {
    const std::string list = run({"--list"}).out;
    EXPECT_THAT(list, HasSubstr("first/manual                                # manual: Wants an operator\n"));
    const std::string plan = directory_.write("all.plan", list);
    EXPECT_EQ(run({"--list", "--plan", plan}).out, list);
    EXPECT_EQ(run({"--list-folders"}).out, "first\nsecond\nsecond/below\n");
    EXPECT_THAT(
        run({"--list-json", "first/manual"}).out,
        HasSubstr(
            "{\"folder\":\"first\",\"name\":\"manual\",\"selector\":\"first/manual\",\"description\":\"Wants "
            "an operator\",\"mode\":4,\"manual\":true}"));
}

TEST_F(RunTest, FixtureWrapsEachRunOfItsFolder) {
    const std::string out = run({"-v", "first/passes", "second/says_nothing", "first/passes#2"}).out;
    size_t set_ups = 0, tear_downs = 0;
    for (size_t at = 0; (at = out.find("| set-up\n", at)) != std::string::npos; ++at) ++set_ups;
    for (size_t at = 0; (at = out.find("| tear-down\n", at)) != std::string::npos; ++at) ++tear_downs;
    EXPECT_EQ(set_ups, 2u);
    EXPECT_EQ(tear_downs, 2u);
}

TEST_F(RunTest, OutputKeepsItsTrueOrder) {
    EXPECT_THAT(run({"-v", "second/prints_everywhere"}).out, HasSubstr("    | one two three four\n  passed"));
}

TEST_F(RunTest, SiteStagesFilesAndFeedsInputPerCase) {
    directory_.write("site/plan", "second/reads_a_line\nsecond/reads_the_flash\nfirst/passes\n");
    directory_.write("site/disk0/kiv_input_file", "for all\n");
    directory_.write("site/cases/second/reads_the_flash/kiv_input_file", "A:1\n");
    directory_.write("site/cases/second/reads_a_line/stdin", "one\ntwo");
    const Finished run1 = run({"--site", "site", "-v"}, {}, "typed\n");
    EXPECT_THAT(run1.out, HasSubstr("second/reads_a_line reads standard input: 2 lines from "));
    EXPECT_THAT(run1.out, HasSubstr("| read one\n    | read two"));
    EXPECT_THAT(run1.out, HasSubstr("| flash A:1\n"));
    EXPECT_THAT(run1.out, HasSubstr("PASSED: 3 cases, 3 passed"));
    EXPECT_EQ(read_text(directory_.file("kiv-out/disk0/kiv_input_file")), "for all\n");
    // The same in place, and with a flash of the user's own.
    const Finished run2 = run({"--site", "site", "-v", "--no-fork", "--disk0", "flash"}, {}, "typed\n");
    EXPECT_THAT(run2.out, HasSubstr("| read one\n    | read two"));
    EXPECT_THAT(run2.out, HasSubstr("PASSED: 3 cases, 3 passed"));
    EXPECT_EQ(read_text(directory_.file("flash/kiv_input_file")), "for all\n");
}

TEST_F(RunTest, ScriptIsReadFromItsBeginInEveryRepetition) {
    directory_.write("site/cases/second/stdin", "again\n");
    const Finished finished = run({"--site", "site", "-v", "--repeat", "3", "second/reads_a_line"});
    size_t count = 0;
    for (size_t at = 0; (at = finished.out.find("| read again\n", at)) != std::string::npos; ++at) ++count;
    EXPECT_EQ(count, 3u);
}

TEST_F(RunTest, SiteWithoutScriptMeansEndOfInput) {
    directory_.write("site/disk0/kiv_input_file", "");
    const Finished finished = run({"--site", "site", "second/reads_a_line", "-v"}, {}, "typed\n");
    EXPECT_THAT(finished.out, HasSubstr("reads standard input: end of input, the site has no stdin for it"));
    EXPECT_THAT(finished.out, Not(HasSubstr("typed")));
}

TEST_F(RunTest, WithoutASiteInputIsTheRunsOwn) {
    EXPECT_THAT(run({"-v", "second/reads_a_line"}, {}, "from the pipe\n").out,
                HasSubstr("| read from the pipe\n"));
}

TEST_F(RunTest, BrokenPlanOfTheSiteIsNamedWithItsLine) {
    directory_.write("site/plan", "# a plan\nfirst/passs\n");
    const Finished finished = run({"--site", "site"});
    EXPECT_THAT(finished.out, HasSubstr("site/plan:2: no folder or case is called \"first/passs\""));
    EXPECT_THAT(finished.out, Not(HasSubstr("Running")));
}

TEST_F(RunTest, ReportsAreWrittenAndFailedCasesRunAgain) {
    const Finished first = run({"--json", "run.json", "--junit", "run.xml", "--tap", "run.tap", "--html",
                                "run.html", "-second/below", "--disk0", "flash"});
    EXPECT_THAT(first.out, HasSubstr("FAILED: 8 cases"));
    for (const char *name : {"run.json", "run.xml", "run.tap", "run.html"})
        EXPECT_TRUE(exists(directory_.file(name)));
    EXPECT_THAT(read_text(directory_.file("run.xml")), HasSubstr("reports_an_error"));
    const Finished again = run({"--rerun-failed", "run.json"});
    EXPECT_THAT(again.out, HasSubstr("FAILED: 3 cases, 1 failed, 2 reported an error"));
    run({"--json", "good.json", "first/passes"});
    EXPECT_THAT(run({"--rerun-failed", "good.json"}).out, HasSubstr("PASSED: 0 cases"));
}

TEST_F(RunTest, RepeatAndShuffleTellTheirSeed) {
    EXPECT_THAT(run({"-q", "--repeat", "3", "first/passes"}).out, HasSubstr("PASSED: 3 cases, 3 passed"));
    const Finished shuffled = run({"--shuffle", "-q"});
    EXPECT_THAT(shuffled.out, HasSubstr("shuffled with --seed "));
    const std::vector<std::string> words = {"--seed", "5", "-second/below", "--disk0", "flash"};
    const Finished one = run(words), two = run(words);
    // The lines of the cases, up to the summary: verdict and name without the time.
    const auto names = [](const std::string &out) {
        const std::string cases = out.substr(0, std::min(out.find("\nSlowest"), out.find("\nNot good")));
        std::string names;
        for (size_t at = 0; (at = cases.find("s  ", at)) != std::string::npos; ++at)
            names += cases.substr(at, cases.find('\n', at) - at) + "\n";
        return names;
    };
    EXPECT_EQ(names(one.out), names(two.out));
}

TEST_F(RunTest, RepeatedRunListsTheCasesOfOnePass) {
    run({"first/passes", "second/says_nothing", "--repeat", "2", "--json", "run.json", "--tap", "run.tap"});
    EXPECT_THAT(read_text(directory_.file("run.json")),
                HasSubstr("\"Repeat\":2,\"SelectedCases\":4,\"Folders\":[{\"Package\":\"first\",\"Title\":"
                          "\"First things\",\"Cases\":2},{\"Package\":\"second\",\"Title\":\"Second "
                          "things\",\"Cases\":2}],\"Selected\":[{\"Selector\":\"first/passes\","
                          "\"Description\":\"Passes\"},{\"Selector\":\"second/says_nothing\",\"Description\":"
                          "\"No check\"}]}\n"));
    const std::string tap = read_text(directory_.file("run.tap"));
    EXPECT_THAT(tap, testing::StartsWith("KTAP version 1\n1..4\n"));
    EXPECT_THAT(tap, HasSubstr("\nok 4 second\n"));
}

TEST_F(RunTest, BazelShardsFilterReportAndMark) {
    const std::map<std::string, std::string> environment = {
        {"TEST_TOTAL_SHARDS", "2"},
        {"TEST_SHARD_INDEX", "0"},
        {"TEST_SHARD_STATUS_FILE", directory_.file("status")},
        {"XML_OUTPUT_FILE", directory_.file("test.xml")},
        {"TEST_PREMATURE_EXIT_FILE", directory_.file("premature")},
        {"TEST_TMPDIR", directory_.file("tmp")},
        {"TESTBRIDGE_TEST_ONLY", "first/passes:second/says_nothing"}};
    const Finished finished = run({}, environment);
    EXPECT_THAT(finished.out, HasSubstr("shard 1 of 2"));
    EXPECT_THAT(finished.out, HasSubstr("PASSED: 1 case"));
    EXPECT_TRUE(exists(directory_.file("status")));
    EXPECT_TRUE(exists(directory_.file("test.xml")));
    EXPECT_FALSE(exists(directory_.file("premature")));
    EXPECT_FALSE(exists(directory_.file("kiv-out")));
}

TEST_F(RunTest, BazelSeesARunThatFailedByTheMarkItLeaves) {
    run({"first/fails"}, {{"TEST_PREMATURE_EXIT_FILE", directory_.file("premature")}});
    EXPECT_TRUE(exists(directory_.file("premature")));
}

TEST_F(RunTest, BazelShardThatMakesNoSenseRunsNothing) {
    const Finished finished = run({}, {{"TEST_TOTAL_SHARDS", "2"}, {"TEST_SHARD_INDEX", "2"}});
    EXPECT_THAT(finished.out, HasSubstr("TEST_SHARD_INDEX=2 of TEST_TOTAL_SHARDS=2 is no shard"));
    EXPECT_THAT(finished.out, Not(HasSubstr("Running")));
}

TEST_F(RunTest, ColorIsForTerminalsAndWhoAsks) {
    EXPECT_THAT(run({"first"}).out, Not(HasSubstr("\033[")));
    EXPECT_THAT(run({"first", "--color", "always"}).out, HasSubstr("\033["));
}

TEST_F(RunTest, RunInPlaceStopsAtTheFirstBadCaseToo) {
    const Finished finished = run({"--no-fork", "--fail-fast", "--json", "run.json"});
    EXPECT_THAT(finished.out, HasSubstr("Stopped: after the first case that is not good (--fail-fast)\n"
                                        "FAILED: 9 cases, 1 passed, 1 failed, 7 not run"));
    EXPECT_THAT(finished.out, HasSubstr("not run                      reads_the_flash\n"
                                        "      the run stopped before it\n"));
    EXPECT_THAT(run({"--no-fork", "--fail-fast", "first/passes"}).out, Not(HasSubstr("Stopped")));
}

TEST_F(RunTest, PlanOfTheSiteCountsWhenNothingElseSelects) {
    directory_.write("site/plan", "first/passes\nfirst/passes#2\n");
    EXPECT_THAT(run({"--site", "site"}).out, HasSubstr("PASSED: 2 cases, 2 passed"));
    EXPECT_THAT(run({"--site", "site", "-first/passes"}).out, HasSubstr("PASSED: 1 case, 1 passed"));
    EXPECT_THAT(run({"--site", "site", "second/says_nothing"}).out, HasSubstr("PASSED: 1 case, 1 unchecked"));
    EXPECT_THAT(run({"--site", "site", "--all"}).out, HasSubstr("FAILED: 10 cases"));
    EXPECT_THAT(run({"--site", "site", "--list"}).out, HasSubstr("second/below/passes"));
}

TEST_F(RunTest, ShardWithoutACaseIsGood) {
    EXPECT_THAT(run({"--shard", "9/9"}).out, HasSubstr("PASSED: 0 cases"));
}

TEST_F(RunTest, OutputLimitIsInKib) {
    const auto out = [&](const char *limit) {
        return Process("faulty", {"prints_a_lot/fault", "--output-limit", limit}, directory_.path(),
                       {{"SAMPLE_BYTES", "4095"}})
            .finish()
            .out;
    };
    EXPECT_THAT(out("1"), HasSubstr("output: 4109 bytes, whole in " +
                                    directory_.file("kiv-out/output/prints_a_lot.fault.txt")));
    EXPECT_THAT(out("5"), Not(HasSubstr("whole in")));
}

TEST_F(RunTest, FilesOfTheSiteForNobodyAreNoted) {
    directory_.write("site/cases/frist/kiv_input_file", "");
    EXPECT_THAT(run({"--site", "site", "first/passes"}).out,
                HasSubstr("Notes\n  the site has files for frist, but no folder or case is called so\n"));
}

TEST_F(RunTest, RunTellsWhatItIs) {
    run({"--json", "run.json", "--shard", "1/2", "--seed", "7", "--repeat", "2", "--disk0", "flash", "first",
         "second/says_nothing"});
    const std::string text = read_text(directory_.file("run.json"));
    const nlohmann::json start = nlohmann::json::parse(text.substr(0, text.find('\n')));
    EXPECT_EQ(start["Disk0"], directory_.file("flash"));
    EXPECT_EQ(start["Seed"], 7);
    EXPECT_EQ(start["Repeat"], 2);
    EXPECT_EQ(start["ShardIndex"], 0);
    EXPECT_EQ(start["ShardCount"], 2);
    EXPECT_EQ(start["SelectedCases"], 8);
    ASSERT_EQ(start["Folders"].size(), 1u);
    EXPECT_EQ(start["Folders"][0]["Package"], "first");
    EXPECT_EQ(start["Folders"][0]["Cases"], 8);
    EXPECT_EQ(start["Selected"].size(), 4u);  // those of one pass
    EXPECT_THAT(start["Program"].get<std::string>(), testing::EndsWith("kiv_sample_mixed"));
}

TEST_F(RunTest, RunInPlaceWithoutASiteReadsItsOwnInput) {
    EXPECT_THAT(run({"--no-fork", "-v", "second/reads_a_line"}, {}, "from the pipe\n").out,
                HasSubstr("| read from the pipe\n"));
}

TEST_F(RunTest, QuietRunShowsOnlyWhatIsNotGood) {
    const std::string out = run({"-q", "first"}).out;
    EXPECT_THAT(out, Not(HasSubstr("  passed  ")));
    EXPECT_THAT(out, HasSubstr("  FAILED  "));
    EXPECT_THAT(out, Not(HasSubstr("\r")));  // progress is for terminals
}

TEST_F(RunTest, ObserverIsToldOfTheRunAndItsWorker) {
    for (const char *how : {"-v", "--no-fork"}) {
        const std::string out = Process("watched", {how}, directory_.path()).finish().out;
        EXPECT_THAT(out, HasSubstr("Running 1 case, card of glass\n"));
        EXPECT_THAT(out, HasSubstr("Notes\n  worker 1 begins\n  the worker ends\n  the run of 1 ends\n"));
    }
    EXPECT_THAT(Process("watched", {"--list"}, directory_.path()).finish().out, Not(HasSubstr("Notes")));
}

TEST_F(RunTest, ObserverMayRefuseTheRunAndHaveOptions) {
    EXPECT_EQ(Process("watched", {"--refuse", "out of glass"}, directory_.path()).finish().out,
              "kiv_sample_watched: out of glass\nNothing was run.\n");
    EXPECT_THAT(Process("watched", {"--help"}, directory_.path()).finish().out,
                HasSubstr("\nWatcher:\n  --refuse TEXT           Why nothing is to be run\n"));
}

// A terminal: what a person sees and types.
class TerminalTest : public RunTest {
  protected:
    // Runs a sample on a terminal of its own; `type` is typed when `prompt` has appeared.
    std::string on_terminal(const std::string &sample, std::vector<std::string> arguments,
                            const std::string &prompt = "", const std::string &type = "",
                            bool no_color = true) {
        const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
        if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0) return "no terminal";
        const std::string name = ptsname(terminal);
        const pid_t child = fork();
        if (child == 0) {
            setsid();
            kiv_test::default_signals();
            const int side = open(name.c_str(), O_RDWR);
            dup2(side, 0);
            dup2(side, 1);
            dup2(side, 2);
            close(terminal);
            setenv("KIV_SITE", "", 1);
            setenv("TERM", "xterm", 1);
            if (no_color)
                setenv("NO_COLOR", "1", 1);
            else
                unsetenv("NO_COLOR");
            if (chdir(directory_.path().c_str()) != 0) _exit(126);
            const std::string program = std::string(SAMPLES) + "/kiv_sample_" + sample;
            std::vector<char *> argv = {const_cast<char *>(program.c_str())};
            for (const std::string &argument : arguments)
                argv.push_back(const_cast<char *>(argument.c_str()));
            argv.push_back(nullptr);
            execv(program.c_str(), argv.data());
            _exit(127);
        }
        std::string out;
        char buffer[4096];
        bool typed = type.empty();
        while (true) {
            const ssize_t got = read(terminal, buffer, sizeof buffer);
            if (got <= 0) break;
            out.append(buffer, static_cast<size_t>(got));
            if (!typed && out.find(prompt) != std::string::npos) {
                typed = write(terminal, type.data(), type.size()) > 0;
            }
        }
        waitpid(child, nullptr, 0);
        close(terminal);
        return out;
    }
};

TEST_F(TerminalTest, CaseThatReadsIsAnnouncedAndCanBeTypedAt) {
    const std::string out =
        on_terminal("mixed", {"second/reads_a_line"}, "type its lines", "an answer\n\x04");
    EXPECT_THAT(out, HasSubstr("second/reads_a_line reads standard input: type its lines, Ctrl-D ends them"));
    EXPECT_THAT(out, HasSubstr("    | read an answer"));
    EXPECT_THAT(out, HasSubstr("PASSED: 1 case"));
}

TEST_F(TerminalTest, SlowCaseShowsProgressAndCtrlCEndsIt) {
    const std::string out = on_terminal("faulty", {"hangs/fault"}, "[1/1] hangs/fault", "\x03");
    EXPECT_THAT(out, HasSubstr("Stopped: interrupted (SIGINT)"));
    EXPECT_THAT(out, HasSubstr("FAILED: 1 case, 1 crashed"));
}

TEST_F(TerminalTest, ColorUnlessToldOtherwise) {
    EXPECT_THAT(on_terminal("mixed", {"first/passes"}, "", "", false), HasSubstr("\033[32mpassed\033[0m"));
    EXPECT_THAT(on_terminal("mixed", {"first/passes"}), Not(HasSubstr("\033[32m")));
}

}  // namespace
