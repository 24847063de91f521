// What the console shows of a run.
#include "kiv/reports/console.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>

namespace {

using std::chrono::nanoseconds;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class ConsoleTest : public testing::Test {
  protected:
    ConsoleTest() { file_ = tmpfile(); }
    ~ConsoleTest() override { fclose(file_); }

    // What stands in the file by now.
    std::string written() const {
        struct stat status {};
        fstat(fileno(file_), &status);
        std::string text(static_cast<size_t>(status.st_size), '\0');
        EXPECT_EQ(pread(fileno(file_), text.data(), text.size(), 0), status.st_size);
        return text;
    }

    template <class Play>
    std::string shown(kiv::ConsoleStyle style, Play play) {
        kiv::Console console(fileno(file_), style);
        play(console);
        console.flush();
        return written();
    }

    // A run with a case of each kind.
    std::string shown(kiv::ConsoleStyle style) {
        return shown(style, [&](kiv::Console &console) { play_run(console, style); });
    }

    static void play_run(kiv::Console &console, kiv::ConsoleStyle style) {
        kiv::RunInfo info;
        info.program = "prm_kiv";
        info.selected_cases = 4;
        info.card = "sim";
        info.site = "site/sim";
        info.disk0 = "kiv-out/disk0";
        console.run_begins(info);
        console.folder_begins({"acl", "ACL Testcases", 4});
        kiv::FixtureResult set_up;
        set_up.folder = "acl";
        set_up.set_up = set_up.ran = true;
        console.fixture_ended(set_up);
        kiv::CaseResult result;
        result.folder = "acl";
        result.name = "stats_create";
        console.case_begins("acl", "stats_create");
        result.verdict = kiv::Verdict::passed;
        result.duration = nanoseconds(2'500'000);
        result.output = "Success in ACL Stats Create 1 \n";
        if (style.verbose) console.live_output(result.output);
        console.case_ended(result);
        result.name = "create";
        console.case_begins("acl", "create");
        result.verdict = kiv::Verdict::failed;
        result.duration = nanoseconds(12'000);
        kiv::Check check;
        check.status = 0x457c2a00;
        check.expected_name = "PRM_ERROR_NONE";
        check.status_text = "invalid argument";
        check.file = "prm/test/src/prm_kiv_acl";
        check.function = "tc_kiv_acl_tcam_create";
        check.line = 77;
        result.failures = {check};
        check.is_condition = true;
        check.expected_name = "rc == EOK";
        check.message = "79: create failed rc 22\n";
        check.line = 79;
        result.failures.push_back(check);
        result.failed_checks = 4;
        result.output = "Failure in create\nno newline \x1b[1m";
        if (style.verbose) console.live_output(result.output);
        console.case_ended(result);
        kiv::CaseResult aborted;
        aborted.folder = "acl";
        aborted.name = "delete";
        aborted.verdict = kiv::Verdict::aborted;
        aborted.reason = "called abort";
        aborted.duration = nanoseconds(1'000);
        console.case_ended(aborted);
        aborted.name = "a name with blanks";
        aborted.verdict = kiv::Verdict::not_run;
        aborted.reason = "its worker ended in acl/delete";
        console.case_ended(aborted);
        kiv::Summary summary;
        summary.selected = 4;
        summary.duration = nanoseconds(3'000'000);
        for (const kiv::Verdict verdict :
             {kiv::Verdict::passed, kiv::Verdict::failed, kiv::Verdict::aborted, kiv::Verdict::not_run})
            ++summary.counts[static_cast<size_t>(verdict)];
        summary.checks = 9;
        summary.failed_checks = 4;
        summary.notes = {"fault rule 1 fired twice"};
        console.run_ended(summary);
    }

    static kiv::CaseResult ended(const std::string &name, kiv::Verdict verdict, nanoseconds duration = {}) {
        kiv::CaseResult result;
        result.folder = "acl";
        result.name = name;
        result.verdict = verdict;
        result.duration = duration;
        return result;
    }

    static kiv::FixtureResult set_up(kiv::Verdict verdict) {
        kiv::FixtureResult fixture;
        fixture.folder = "acl";
        fixture.set_up = true;
        fixture.ran = verdict != kiv::Verdict::not_run;
        fixture.verdict = verdict;
        fixture.duration = nanoseconds(1'500);
        return fixture;
    }

    FILE *file_;
};

constexpr const char *kPlain =
    R"(Running 4 cases, card sim
Site site/sim
Flash kiv-out/disk0

acl  ACL Testcases
  passed               2.5 ms  stats_create
  FAILED                12 us  create
      prm/test/src/prm_kiv_acl, tc_kiv_acl_tcam_create, line 77
        prm/test/src/prm_kiv_acl.cpp:77
        expected 0x00000000 PRM_ERROR_NONE
        got      0x457c2a00 invalid argument
      prm/test/src/prm_kiv_acl, tc_kiv_acl_tcam_create, line 79
        prm/test/src/prm_kiv_acl.cpp:79
        not true: rc == EOK
        79: create failed rc 22
      and 2 more failed checks
    | Failure in create
    | no newline \x1b[1m
  ABORTED              1.0 us  delete
      called abort
  not run                      a name with blanks
      its worker ended in acl/delete

Slowest
     2.5 ms  acl/stats_create
      12 us  acl/create
     1.0 us  acl/delete

Not good
  acl/create
  acl/delete
  acl/a name with blanks

Notes
  fault rule 1 fired twice

Again
  prm_kiv acl/create acl/delete 'acl/a name with blanks'

FAILED: 4 cases, 1 passed, 1 failed, 1 aborted, 1 not run
        9 checks, 4 failed, in 3.0 ms
)";

TEST_F(ConsoleTest, ShowsWhatFailedAndWhy) {
    EXPECT_EQ(shown({}), kPlain);
}

TEST_F(ConsoleTest, FitsEightyColumns) {
    std::string line;
    for (const char c : shown({})) {
        if (c != '\n') {
            line += c;
            continue;
        }
        EXPECT_LE(line.size(), 80u) << line;
        line.clear();
    }
}

TEST_F(ConsoleTest, QuietLeavesOutWhatIsGood) {
    kiv::ConsoleStyle style;
    style.quiet = true;
    const std::string text = shown(style);
    EXPECT_EQ(text.find("  passed  "), std::string::npos);
    EXPECT_THAT(text, HasSubstr("acl  ACL Testcases\n  FAILED"));
}

TEST_F(ConsoleTest, VerboseShowsOutputOnceAndBeforeTheVerdict) {
    kiv::ConsoleStyle style;
    style.verbose = true;
    const std::string text = shown(style);
    EXPECT_THAT(text, HasSubstr("    | Success in ACL Stats Create 1 \n  passed "));
    EXPECT_EQ(text.find("Failure in create"), text.rfind("Failure in create"));
}

TEST_F(ConsoleTest, ColorChangesNothingButColor) {
    kiv::ConsoleStyle style;
    style.color = true;
    std::string text = shown(style);
    EXPECT_THAT(text, HasSubstr("\033[31mFAILED\033[0m"));
    for (size_t at; (at = text.find('\033')) != std::string::npos;)
        text.erase(at, text.find('m', at) - at + 1);
    EXPECT_EQ(text, kPlain);
}

TEST_F(ConsoleTest, BeginsWithWhatIsSpecialAboutTheRun) {
    kiv::RunInfo info;
    info.selected_cases = 1;
    EXPECT_EQ(shown({}, [&](kiv::Console &console) { console.run_begins(info); }), "Running 1 case\n");
    info.selected_cases = 6;
    info.repeat = 3;
    info.shard_index = 1;
    info.shard_count = 4;
    info.seed = 77;
    EXPECT_THAT(shown({}, [&](kiv::Console &console) { console.run_begins(info); }),
                EndsWith("Running 6 cases, 3 passes, shard 2 of 4, shuffled with --seed 77\n"));
}

TEST_F(ConsoleTest, AFolderIsHeadedByItsPathAndAnyOtherTitle) {
    const std::string text = shown({}, [](kiv::Console &console) {
        console.folder_begins({"acl", "ACL Testcases", 1});
        console.folder_begins({"qos", "qos", 1});
        console.folder_begins({"span", "", 1});
    });
    EXPECT_EQ(text, "\nacl  ACL Testcases\n\nqos\n\nspan\n");
}

TEST_F(ConsoleTest, AFixtureThatFailedIsShownAndListed) {
    const std::string text = shown({}, [](kiv::Console &console) {
        kiv::FixtureResult fixture = set_up(kiv::Verdict::failed);
        fixture.output = "opening\n";
        fixture.reason = "no connection";
        kiv::Check check;
        check.is_condition = true;
        check.expected_name = "rc == EOK";
        check.file = "prm/test/src/prm_kiv_main";
        check.function = "set_up";
        check.line = 7;
        fixture.failures = {check};
        console.fixture_ended(fixture);
        fixture = set_up(kiv::Verdict::not_run);
        fixture.set_up = false;
        fixture.reason = "its worker ended";
        console.fixture_ended(fixture);
        kiv::Summary summary;
        summary.failed_fixtures = 1;
        console.run_ended(summary);
    });
    EXPECT_EQ(text,
              "  FAILED               1.5 us  set-up of acl\n"
              "      no connection\n"
              "      prm/test/src/prm_kiv_main, set_up, line 7\n"
              "        prm/test/src/prm_kiv_main.cpp:7\n"
              "        not true: rc == EOK\n"
              "    | opening\n"
              "  not run                      tear-down of acl\n"
              "      its worker ended\n"
              "\nFixtures that failed\n  set-up of acl\n"
              "\nFAILED: 0 cases, 1 failed fixture\n        0 checks, 0 failed, in 0 ns\n");
}

TEST_F(ConsoleTest, AFixtureThatPassedShowsNothing) {
    EXPECT_EQ(shown({},
                    [](kiv::Console &console) {
                        kiv::FixtureResult fixture = set_up(kiv::Verdict::passed);
                        fixture.output = "Connection to PRM opened\n";
                        console.fixture_ended(fixture);
                    }),
              "");
}

TEST_F(ConsoleTest, OutputOfAFixtureThatWasShownAsItCameIsNotShownAgain) {
    kiv::ConsoleStyle style;
    style.verbose = true;
    EXPECT_EQ(shown(style,
                    [](kiv::Console &console) {
                        console.live_output("opening");
                        kiv::FixtureResult fixture = set_up(kiv::Verdict::reported_error);
                        fixture.output = "opening";
                        console.fixture_ended(fixture);
                    }),
              "    | opening\n  REPORTED AN ERROR    1.5 us  set-up of acl\n");
}

// Typed at: the output was shown, though not verbose.
TEST_F(ConsoleTest, OutputOfACaseThatWasShownAsItCameIsNotShownAgain) {
    EXPECT_EQ(shown({},
                    [](kiv::Console &console) {
                        console.case_begins("acl", "first");
                        console.live_output("what?> ");
                        console.announce("still running");
                        console.live_output("no\n");
                        kiv::CaseResult result = ended("first", kiv::Verdict::failed);
                        result.output = "what?> no\n";
                        console.case_ended(result);
                        console.case_begins("acl", "second");
                        result.name = "second";
                        console.case_ended(result);
                    }),
              "    | what?> \n"
              "  still running\n"
              "    | no\n"
              "  FAILED                 0 ns  first\n"
              "  FAILED                 0 ns  second\n"
              "    | what?> no\n");
}

TEST_F(ConsoleTest, OutputShowsItsControlCharacters) {
    kiv::CaseResult result = ended("create", kiv::Verdict::failed);
    result.output = "tab\there \x1b[0m\x7f\r\n\n\xC3\xA9";
    EXPECT_THAT(shown({}, [&](kiv::Console &console) { console.case_ended(result); }),
                EndsWith("    | tab\there \\x1b[0m\\x7f\\x0d\n    | \n    | \xC3\xA9\n"));
}

TEST_F(ConsoleTest, OfALongOutputTheLastLinesAreShown) {
    kiv::CaseResult result = ended("create", kiv::Verdict::failed);
    const auto lines_of = [&](int count) {
        result.output.clear();
        for (int i = 0; i < count; ++i) result.output += "line " + std::to_string(10 + i) + "\n";
        const std::string text = shown({}, [&](kiv::Console &console) { console.case_ended(result); });
        return text.substr(text.rfind("create\n") + 7);
    };
    const std::string whole = lines_of(40);
    EXPECT_THAT(whole, StartsWith("    | line 10\n"));
    EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 40);
    const std::string cut = lines_of(42);
    EXPECT_THAT(cut, StartsWith("    [16 bytes before this: see -v or a report]\n    | line 12\n"));
    EXPECT_THAT(cut, EndsWith("    | line 51\n"));
    EXPECT_EQ(std::count(cut.begin(), cut.end(), '\n'), 41);
}

TEST_F(ConsoleTest, OfAnOutputWithLongLinesTheLastBytesAreShown) {
    const auto shown_of = [&](const std::string &output) {
        kiv::CaseResult result = ended("create", kiv::Verdict::failed);
        result.output = output;
        const std::string text = shown({}, [&](kiv::Console &console) { console.case_ended(result); });
        return text.substr(text.rfind("create\n") + 7);
    };
    // From the next line on, where there is one.
    EXPECT_EQ(shown_of(std::string(9000, 'x') + "\nend\n"),
              "    [9001 bytes before this: see -v or a report]\n    | end\n");
    EXPECT_EQ(shown_of(std::string(8193, 'x')),
              "    [1 byte before this: see -v or a report]\n    | " + std::string(8192, 'x') + "\n");
    EXPECT_EQ(shown_of(std::string(8192, 'x')), "    | " + std::string(8192, 'x') + "\n");
    EXPECT_EQ(shown_of("first\n" + std::string(8192, 'x')),
              "    [6 bytes before this: see -v or a report]\n    | " + std::string(8192, 'x') + "\n");
}

TEST_F(ConsoleTest, SaysWhereALongOutputIs) {
    kiv::CaseResult result = ended("create", kiv::Verdict::passed);
    result.output_size = 3'000'000;
    result.output_file = "kiv-out/output/acl.create.txt";
    EXPECT_EQ(shown({}, [&](kiv::Console &console) { console.case_ended(result); }),
              "  passed                 0 ns  create\n"
              "      output: 3000000 bytes, whole in kiv-out/output/acl.create.txt\n");
}

TEST_F(ConsoleTest, SummaryListsTheFiveSlowestFromAMillisecondOn) {
    const auto slowest = [&](std::initializer_list<int> microseconds) {
        const std::string text = shown({}, [&](kiv::Console &console) {
            int i = 0;
            for (const int time : microseconds)
                console.case_ended(
                    ended("c" + std::to_string(++i), kiv::Verdict::passed, std::chrono::microseconds(time)));
            console.run_ended({});
        });
        const size_t begin = text.rfind("\nSlowest\n");
        const size_t cases = text.rfind("  passed ");
        return begin == std::string::npos || begin < cases ? ""
                                                           : text.substr(begin, text.rfind("\n\n") - begin);
    };
    EXPECT_EQ(
        slowest({1000, 7000, 3000, 3000, 2000, 500, 9000}),
        "\nSlowest\n     9.0 ms  acl/c7\n     7.0 ms  acl/c2\n     3.0 ms  acl/c3\n     3.0 ms  acl/c4\n"
        "     2.0 ms  acl/c5");
    EXPECT_EQ(slowest({999, 10}), "") << "all quick";
    EXPECT_EQ(slowest({1000, 10}), "\nSlowest\n     1.0 ms  acl/c1\n      10 us  acl/c2");
    EXPECT_EQ(slowest({5000}), "") << "nothing to compare with";
}

TEST_F(ConsoleTest, SummaryListsFiftyNamesAndSaysThatThereAreMore) {
    const auto listed = [&](int count) {
        const std::string text = shown({}, [&](kiv::Console &console) {
            for (int i = 0; i < count; ++i)
                console.case_ended(ended("c" + std::to_string(100 + i), kiv::Verdict::failed));
            console.run_ended({});
        });
        return text.substr(text.rfind("\nNot good\n"));
    };
    const std::string all = listed(50), more = listed(51);
    EXPECT_THAT(all, HasSubstr("\n  acl/c149\n\nAgain\n"));
    EXPECT_THAT(all, HasSubstr(" acl/c149\n\nPASSED"));
    EXPECT_THAT(more, HasSubstr("\n  acl/c149\n  and more\n\nAgain\n"));
    EXPECT_THAT(more, HasSubstr(" acl/c149 ...\n\nPASSED"));
    EXPECT_EQ(more.find("c150"), std::string::npos);
}

TEST_F(ConsoleTest, ARepeatedRunNamesACaseOnce) {
    const std::string text = shown({}, [](kiv::Console &console) {
        for (int pass = 0; pass < 2; ++pass) console.case_ended(ended("create", kiv::Verdict::failed));
        console.run_ended({});
    });
    EXPECT_THAT(text, HasSubstr("\nNot good\n  acl/create\n\nAgain\n"));
}

TEST_F(ConsoleTest, TheCommandToRunAgainIsWrappedAndQuoted) {
    const std::string text = shown({}, [](kiv::Console &console) {
        kiv::RunInfo info;
        info.program = "./my suite";
        console.run_begins(info);
        for (const char *const name :
             {"0123456789012345678901234567", "01234567890123456789012345678", "it's", "$1"})
            console.case_ended(ended(name, kiv::Verdict::failed));
        console.run_ended({});
    });
    EXPECT_THAT(text, HasSubstr("\nAgain\n"
                                "  './my suite' acl/0123456789012345678901234567 \\\n"
                                "      acl/01234567890123456789012345678 'acl/it'\\''s' 'acl/$1'\n\n"));
    std::string line;
    for (const char c : text) {
        line += c;
        if (c != '\n') continue;
        EXPECT_LE(line.size(), 81u) << line;
        line.clear();
    }
}

TEST_F(ConsoleTest, TheCommandToRunAgainTakesAsManyNamesALineAsFit) {
    const std::string first(60, 'a'), second(36, 'b'), third(28, 'c'), fourth(43, 'd');
    const std::string text = shown({}, [&](kiv::Console &console) {
        kiv::RunInfo info;
        info.program = "prm_kiv";
        console.run_begins(info);
        for (const std::string &name : {first, second, third, fourth})
            console.case_ended(ended(name.c_str(), kiv::Verdict::failed));
        console.run_ended({});
    });
    EXPECT_THAT(text, HasSubstr("\nAgain\n  prm_kiv acl/" + first + " \\\n      acl/" + second +
                                " \\\n      acl/" + third + " \\\n      acl/" + fourth + "\n\n"))
        << "third would end in column 79, before a blank and a backslash";
}

TEST_F(ConsoleTest, SummaryCountsEveryVerdictThatThereIs) {
    const std::string text = shown({}, [](kiv::Console &console) {
        kiv::Summary summary;
        summary.selected = 36;
        for (size_t i = 0; i < std::size(summary.counts); ++i) summary.counts[i] = i + 1;
        summary.checks = 1;
        summary.failed_fixtures = 2;
        summary.stopped_because = "interrupted (SIGINT)";
        console.run_ended(summary);
    });
    EXPECT_EQ(text,
              "\nStopped: interrupted (SIGINT)\n"
              "FAILED: 36 cases, 1 passed, 2 failed, 3 aborted, 4 crashed, 5 timed out, 7 reported an error, "
              "6 unchecked, 8 not run, 2 failed fixtures\n"
              "        1 check, 0 failed, in 0 ns\n");
}

class ProgressTest : public ConsoleTest {
  protected:
    static constexpr int64_t kMillisecond = 1'000'000;

    ProgressTest() {
        style_.progress = true;
        console_.emplace(fileno(file_), style_);
        kiv::RunInfo info;
        info.selected_cases = 3;
        console_->run_begins(info);
        console_->flush();
        seen_ = written().size();
    }

    // What came since the last call, at a time in milliseconds.
    std::string tick(int64_t now) {
        console_->tick((1000 + now) * kMillisecond);
        const std::string all = written(), news = all.substr(seen_);
        seen_ = all.size();
        return news;
    }

    kiv::ConsoleStyle style_;
    std::optional<kiv::Console> console_;
    size_t seen_ = 0;
};

TEST_F(ProgressTest, ACaseIsShownAfterAMomentAndThenTwiceASecond) {
    EXPECT_EQ(tick(0), "") << "no case runs";
    console_->case_begins("acl", "create");
    EXPECT_EQ(tick(0), "");
    EXPECT_EQ(tick(99), "");
    EXPECT_EQ(tick(100), "\r\033[K[1/3] acl/create");
    EXPECT_EQ(tick(599), "");
    EXPECT_EQ(tick(999), "\r\033[K[1/3] acl/create");
    EXPECT_EQ(tick(2500), "\r\033[K[1/3] acl/create  2 s");
    console_->case_ended(ended("create", kiv::Verdict::failed));
    EXPECT_EQ(tick(4000), "") << "it has ended";
    console_->flush();
    EXPECT_EQ(tick(4000), "\r\033[K  FAILED                 0 ns  create\n");
    console_->case_begins("acl", std::string(80, 'x'));
    EXPECT_EQ(tick(5000), "");
    EXPECT_EQ(tick(5100), "\r\033[K[2/3] 1 not good, acl/" + std::string(57, 'x')) << "79 columns";
}

TEST_F(ProgressTest, GivesWayToOutputAndLines) {
    console_->case_begins("acl", "create");
    tick(0);
    EXPECT_NE(tick(100), "");
    console_->announce("stopped by SIGSTOP");
    EXPECT_EQ(tick(101), "\r\033[K  stopped by SIGSTOP\n");
    EXPECT_NE(tick(600), "");
    console_->live_output("what?> ");
    console_->flush();
    EXPECT_EQ(tick(601), "\r\033[K    | what?> ");
    EXPECT_EQ(tick(2000), "") << "its output is being shown";
}

TEST_F(ProgressTest, GivesWayToTheNextFolderAndToTheSummary) {
    const auto show = [&] {
        console_->case_begins("acl", "create");
        tick(0);
        EXPECT_NE(tick(100), "");
    };
    show();
    console_->folder_begins({"qos", "QoS", 1});
    console_->flush();
    EXPECT_EQ(tick(101), "\r\033[K\nqos  QoS\n");
    show();
    console_->run_ended({});
    EXPECT_THAT(tick(102), StartsWith("\r\033[K\n"));
}

TEST_F(ProgressTest, NobodyIsShownProgressWithoutATerminal) {
    style_.progress = false;
    console_.emplace(fileno(file_), style_);
    console_->case_begins("acl", "create");
    tick(0);
    EXPECT_EQ(tick(5000), "");
}

TEST_F(ConsoleTest, IsWrittenWhenThereIsMuchOfIt) {
    kiv::Console console(fileno(file_), {});
    kiv::CaseResult result = ended("create", kiv::Verdict::failed);
    result.output = std::string(8000, 'x') + "\n";
    for (int i = 0; i < 4; ++i) console.case_ended(result);
    EXPECT_EQ(written(), "") << "32000 bytes";
    console.case_ended(result);
    EXPECT_GT(written().size(), 40000u);
}

TEST_F(ConsoleTest, LiveOutputIsWrittenWhenThereIsMuchOfIt) {
    kiv::Console console(fileno(file_), {});
    console.live_output(std::string(65000, 'x'));
    EXPECT_EQ(written(), "");
    console.live_output(std::string(1000, 'x'));
    EXPECT_GT(written().size(), 65000u);
}

TEST_F(ConsoleTest, IsWrittenToItsEndWhenItGoes) {
    { kiv::Console(fileno(file_), {}).run_ended({}); }
    EXPECT_THAT(written(), HasSubstr("PASSED: 0 cases"));
}

}  // namespace
