// kivctl store and kivctl history from outside.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using kiv::Verdict;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

class HistoryCommand : public CommandTest {
  protected:
    HistoryCommand() {
        for (const char *const name : {"GITLAB_CI", "GITHUB_ACTIONS", "KIV_HISTORY"}) unsetenv(name);
    }
    std::string db() const { return " --db " + directory_.path("h.db"); }
    // A run of f/x and g/y that began on that day of November.
    std::string night(int day, Verdict x = Verdict::passed) {
        const std::string number = (day < 10 ? "0" : "") + std::to_string(day);
        return file(results_of({{"f/x", x}, {"g/y"}}, true, 0, 1, "2026-11-" + number + "T04:00:00.000Z"),
                    "run" + number + ".jsonl");
    }
    void three_nights() {
        for (const auto &[day, release, verdict] : {std::tuple{1, "7.2", Verdict::passed},
                                                    {2, "7.3", Verdict::reported_error},
                                                    {3, "7.3", Verdict::reported_error}})
            EXPECT_EQ(
                kivctl("store " + night(day, verdict) + db() + " -l release=" + release + " -l card=lc1")
                    .status,
                0);
    }
    static std::vector<nlohmann::json> lines(const std::string &text) {
        std::vector<nlohmann::json> found;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) found.push_back(nlohmann::json::parse(line));
        return found;
    }
};

TEST_F(HistoryCommand, StoresRunsOnce) {
    const std::string one = night(1), two = night(2);
    const Ran first = kivctl("store " + one + " " + two + db());
    EXPECT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.out, "2 runs stored\n");
    EXPECT_EQ(kivctl("store " + two + " " + night(3) + " " + two + db()).out,
              "1 run stored, 2 already there\n");
    EXPECT_EQ(kivctl("store -q " + two + db()).out, "");
}

TEST_F(HistoryCommand, RefusesWhatIsNoRunAndStoresTheOthers) {
    const std::string whole = results_of({{"f/x"}, {"g/y"}});
    const std::string damaged = file(whole.substr(0, 400) + "}{" + whole.substr(400), "damaged");
    const std::string unfinished = file(results_of({{"f/x"}}, false), "unfinished");
    const std::string foreign = file("{\"results\": []}\n", "foreign"), empty = file("", "empty");
    const std::string missing = directory_.path("missing");
    const Ran ran = kivctl("store " + damaged + " " + unfinished + " " + night(1) + " " + foreign + " " +
                           empty + " " + missing + " " + night(2) + db());
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.out, "2 runs stored, 5 refused\n");
    EXPECT_THAT(ran.err, HasSubstr("kivctl: " + damaged + ":"));
    EXPECT_THAT(ran.err,
                HasSubstr("kivctl: " + unfinished + ": not stored: the run did not tell of its end"));
    EXPECT_THAT(ran.err, HasSubstr("kivctl: " + foreign + ":1: "));
    EXPECT_THAT(ran.err, HasSubstr("kivctl: " + empty + ":0: no results: the file is empty"));
    EXPECT_THAT(ran.err, HasSubstr("kivctl: " + missing + ": No such file or directory"));
}

TEST_F(HistoryCommand, TakesLabelsFromContinuousIntegration) {
    const std::string
        gitlab =
            "GITLAB_CI=true CI_COMMIT_SHA=0123456789abcdef0123 CI_COMMIT_REF_NAME=main CI_PIPELINE_ID=42 "
            "CI_JOB_NAME='suite 1/4' CI_JOB_URL=https://ci/42 ",
        github =
            "GITHUB_ACTIONS=true GITHUB_SHA=fedc GITHUB_REF_NAME=v1 GITHUB_REF_TYPE=tag GITHUB_RUN_ID=7 "
            "GITHUB_JOB=suite GITHUB_SERVER_URL=https://x GITHUB_REPOSITORY=a/b ";
    EXPECT_EQ(shell(gitlab + KIVCTL " store " + night(1) + db() + " -l branch=mine").status, 0);
    EXPECT_EQ(shell(github + KIVCTL " store " + night(2) + db()).status, 0);
    EXPECT_EQ(shell(github + KIVCTL " store --no-ci " + night(3) + db()).status, 0);
    const auto runs = lines(kivctl("history runs --json" + db()).out);
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[0]["Run"]["Labels"], nlohmann::json({{"branch", "mine"},
                                                        {"commit", "0123456789abcdef0123"},
                                                        {"job", "suite 1/4"},
                                                        {"pipeline", "42"},
                                                        {"url", "https://ci/42"}}));
    EXPECT_EQ(runs[1]["Run"]["Labels"], nlohmann::json({{"commit", "fedc"},
                                                        {"job", "suite"},
                                                        {"pipeline", "7"},
                                                        {"tag", "v1"},
                                                        {"url", "https://x/a/b/actions/runs/7"}}));
    EXPECT_EQ(runs[2]["Run"]["Labels"], nlohmann::json::object());
    EXPECT_THAT(kivctl("history runs" + db()).out,
                HasSubstr("2026-11-01 04:00:00  branch=mine  commit=0123456789ab  job=suite 1/4"));
}

TEST_F(HistoryCommand, TellsWhatFailsNowAndSinceWhen) {
    three_nights();
    const Ran ran = kivctl("history" + db());
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_EQ(ran.out,
              "3 runs from 2026-11-01 04:00:00 to 2026-11-03 04:00:00 UTC, 2 cases, 1 failing:\n"
              "f/x\n"
              "  on card=lc1\n"
              "    failing since  2026-11-02 04:00:00  release=7.3  (2 runs in a row)\n"
              "    last good      2026-11-01 04:00:00  release=7.2\n"
              "    now            reported an error: ERROR: it\n"
              "    how often      2 of 3 runs failed\n"
              "    lately         .FF\n");
    EXPECT_EQ(kivctl("history --fail" + db()).status, 1);
    EXPECT_EQ(kivctl("history --fail g" + db()).status, 0);
    EXPECT_THAT(kivctl("history y" + db()).out,
                HasSubstr("g/y\n  on card=lc1\n    good, last in  2026-11-03 04:00:00  release=7.3\n"));
}

TEST_F(HistoryCommand, TellsTheSameAsJson) {
    three_nights();
    const auto found = lines(kivctl("history f/x --json" + db()).out);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0]["Case"], "f/x");
    EXPECT_EQ(found[0]["On"], "card=lc1");
    EXPECT_EQ(found[0]["Failing"], true);
    EXPECT_EQ(found[0]["InARow"], 2);
    EXPECT_EQ(found[0]["FailingSince"]["Time"], "2026-11-02T04:00:00Z");
    EXPECT_EQ(found[0]["LastGood"]["Labels"]["release"], "7.2");
    EXPECT_EQ(found[0]["Headline"], "reported an error: ERROR: it");
}

TEST_F(HistoryCommand, AnswersEachQuestion) {
    three_nights();
    EXPECT_THAT(kivctl("history new" + db()).out, EndsWith("0 cases newly failing\n"));
    EXPECT_THAT(kivctl("history new --runs 2 --where release=7.3" + db()).out,
                EndsWith("0 cases newly failing\n"));
    EXPECT_THAT(kivctl("history new --runs 1" + db()).out,
                HasSubstr("f/x\n    2026-11-03 04:00:00  card=lc1  release=7.3\n"));
    EXPECT_EQ(kivctl("history new --fail --runs 1" + db()).status, 1);
    EXPECT_EQ(kivctl("history flaky" + db()).out, "0 cases flaky\n");
    EXPECT_EQ(kivctl("history flaky --by card --changes 1" + db()).out,
              "0.09  f/x\n      1 change of verdict in 2 repeats with the same labels, the last in "
              "2026-11-02 04:00:00  "
              "card=lc1  release=7.3\n1 case flaky\n");
    EXPECT_EQ(kivctl("history slower" + db()).out, "0 cases slower\n");
    const Ran compared = kivctl("history compare release=7.2 release=7.3,card=lc1 --fail" + db());
    EXPECT_EQ(compared.status, 1);
    EXPECT_EQ(compared.out,
              "Fails only in the second (1):\n  f/x: 0 of 1 -> 2 of 2\n    reported an error: ERROR: it\n1 "
              "case different\n");
    for (const char *const question :
         {"new --runs 1", "flaky --by card --changes 1", "compare release=7.2 release=7.3", "runs"})
        for (const auto &line : lines(kivctl("history " + std::string(question) + " --json" + db()).out))
            EXPECT_TRUE(line.is_object()) << question;
}

TEST_F(HistoryCommand, WritesAPage) {
    three_nights();
    const std::string page = directory_.path("page.html");
    const Ran ran = kivctl("history --html " + page + db());
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_THAT(ran.out, IsEmpty());
    EXPECT_EQ(kiv_test::read_text(page), kivctl("history --html -" + db()).out);
    EXPECT_THAT(kiv_test::read_text(page), EndsWith("</html>\n"));
    EXPECT_EQ(kivctl("history --html /nowhere/page.html" + db()).status, 2);
    EXPECT_EQ(kivctl("history --html /dev/full" + db()).status, 2);
}

TEST_F(HistoryCommand, TheVariableNamesTheHistory) {
    EXPECT_EQ(shell("KIV_HISTORY=" + directory_.path("v.db") + " " KIVCTL " store " + night(1)).status, 0);
    EXPECT_EQ(shell("KIV_HISTORY=" + directory_.path("v.db") + " " KIVCTL " history").status, 0);
    const Ran none = kivctl("history");
    EXPECT_EQ(none.status, 2);
    EXPECT_EQ(none.err, "kivctl: no history: give --db FILE, or set the variable KIV_HISTORY\n");
}

TEST_F(HistoryCommand, WhatIsAskedWronglyIsSaid) {
    three_nights();
    const auto err = [&](const std::string &arguments) {
        const Ran ran = kivctl(arguments + db());
        EXPECT_EQ(ran.status, 2) << arguments;
        EXPECT_THAT(ran.out, IsEmpty());
        return ran.err;
    };
    EXPECT_THAT(err("history nothing"), EndsWith("h.db: no case that fits \"nothing\"\n"));
    EXPECT_THAT(err("history --where card=lc9"), EndsWith("h.db: no run that fits\n"));
    EXPECT_THAT(err("history --where card"), HasSubstr("--where: \"card\": a label is NAME=VALUE"));
    EXPECT_THAT(err("history --since tomorrow"), HasSubstr("--since: \"tomorrow\": neither a day"));
    EXPECT_THAT(err("history compare release=7.2 release=9"), EndsWith("no run with release=9\n"));
    EXPECT_THAT(err("store -l a=b=c -l =x " + night(1)), HasSubstr("--label: \"=x\": a label's name has"));
    EXPECT_THAT(err("store -l card= " + night(1)),
                HasSubstr("--label: \"card=\": a label's value is not empty"));
    EXPECT_EQ(kivctl("history --db " + directory_.path("none")).err,
              "kivctl: " + directory_.path("none") +
                  ": No such file or directory (kivctl store makes a history)\n");
    EXPECT_EQ(kivctl("store " + night(1) + " --db /nowhere/h.db").err,
              "kivctl: /nowhere/h.db: it cannot be opened (No such file or directory)\n");
}

TEST_F(HistoryCommand, AFullDiskLosesNothing) {
    three_nights();
    std::vector<Play> plays;
    for (int i = 0; i < 1000; ++i) plays.push_back({"f/case" + std::to_string(i)});
    const std::string large = file(results_of(plays), "large.jsonl");
    // Room for what a history needs to be opened, and for a few pages: 80 blocks of 512 bytes.
    const Ran full = shell("ulimit -f 80; " KIVCTL " store " + large + " " + night(5) + db());
    EXPECT_EQ(full.status, 2);
    EXPECT_THAT(full.err, HasSubstr("h.db: it could not be read or written"));
    EXPECT_THAT(full.err, HasSubstr("(nothing of " + large + " was stored)"));
    EXPECT_EQ(full.out, "0 runs stored, 2 left\n");
    EXPECT_THAT(kivctl("history runs" + db()).out, EndsWith("3 runs\n"));
    EXPECT_EQ(kivctl("store " + large + db()).out, "1 run stored\n");
}

TEST_F(HistoryCommand, ManyCanStoreAtOnce) {
    std::string command;
    for (int i = 1; i <= 8; ++i) command += KIVCTL " store -q " + night(i) + db() + " & ";
    const Ran ran = shell(command + "wait");
    EXPECT_THAT(ran.err, IsEmpty());
    EXPECT_THAT(kivctl("history runs" + db()).out, EndsWith("8 runs\n"));
}

TEST_F(HistoryCommand, IsReadFromWhatCannotBeWritten) {
    if (shell("bwrap --ro-bind / / true").status != 0) GTEST_SKIP() << "no bubblewrap here";
    three_nights();
    const Ran ran = shell("bwrap --ro-bind / / " KIVCTL " history runs" + db());
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_THAT(ran.out, EndsWith("3 runs\n"));
    const Ran stored = shell("bwrap --ro-bind / / " KIVCTL " store " + night(4) + db());
    EXPECT_EQ(stored.status, 2);
    EXPECT_THAT(stored.err, HasSubstr("h.db: it cannot be"));
}

TEST_F(HistoryCommand, SqlSeesARowForEachResult) {
    three_nights();
    EXPECT_EQ(shell("sqlite3 " + directory_.path("h.db") +
                    " \"SELECT folder, name, verdict, nanoseconds, headline FROM result WHERE run = 2 ORDER "
                    "BY name\"")
                  .out,
              "f|x|reported an error|20000000|ERROR: it\ng|y|passed|20000000|\n");
}

}  // namespace
}  // namespace kivctl::test
