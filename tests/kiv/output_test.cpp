// What is kept of a case's output, and what the console shows of a run.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "kiv/reports/console.h"
#include "kiv/supervise/output_keeper.h"
#include "tests/kiv/process.h"

namespace {

using std::chrono::nanoseconds;
using testing::HasSubstr;

class OutputKeeperTest : public testing::Test {
  protected:
    void finish() { keeper_.finish(&text_, &size_, &file_); }
    kiv_test::TemporaryDirectory directory_;
    kiv::OutputKeeper keeper_{directory_.file("output"), 1000};
    std::string text_, file_;
    uint64_t size_ = 0;
};

TEST_F(OutputKeeperTest, ShortOutputStaysInMemory) {
    keeper_.restart("f", "c");
    keeper_.add("one ");
    keeper_.add(std::string("t\0o", 3));
    finish();
    EXPECT_EQ(text_, std::string("one t\0o", 7));
    EXPECT_EQ(size_, 7u);
    EXPECT_EQ(file_, "");
    EXPECT_NE(access(directory_.file("output").c_str(), F_OK), 0);
}

TEST_F(OutputKeeperTest, LongOutputIsWholeInAFileAndItsEndsInMemory) {
    std::string whole;
    keeper_.restart("span/port", "add#2");
    for (int i = 0; i < 10000; ++i) {
        const std::string line = "line " + std::to_string(i) + "\n";
        whole += line;
        keeper_.add(line);
    }
    finish();
    EXPECT_EQ(file_, directory_.file("output/span.port.add#2.txt"));
    EXPECT_EQ(kiv_test::read_text(file_), whole);
    EXPECT_EQ(size_, whole.size());
    EXPECT_THAT(text_, testing::StartsWith("line 0\n"));
    EXPECT_THAT(text_, testing::EndsWith("line 9999\n"));
    EXPECT_THAT(text_, HasSubstr(" bytes are left out here; the whole output is in " + file_));
    EXPECT_LT(text_.size(), 20000u);
}

TEST_F(OutputKeeperTest, OutputOfJustTheLimitNeedsNoFile) {
    keeper_.restart("f", "c");
    keeper_.add(std::string(400, 'a'));
    keeper_.add(std::string(600, 'b'));
    finish();
    EXPECT_EQ(text_, std::string(400, 'a') + std::string(600, 'b'));
    EXPECT_EQ(file_, "");
}

TEST_F(OutputKeeperTest, ShortOutputAfterALongOneIsItsOwn) {
    keeper_.restart("f", "c");
    keeper_.add(std::string(50'000, 'a'));
    finish();
    keeper_.restart("f", "d");
    keeper_.add("short");
    finish();
    EXPECT_EQ(text_, "short");
    EXPECT_EQ(size_, 5u);
    EXPECT_EQ(file_, "");
}

TEST_F(OutputKeeperTest, FileOfALongNameIsStillAFile) {
    const std::string folder(300, 'f');
    keeper_.restart(folder, "a case with blanks");
    keeper_.add(std::string(2000, 'a'));
    finish();
    EXPECT_EQ(file_, directory_.file("output/" + std::string(200, 'f') + ".txt"));
    keeper_.restart("f", "a case");
    keeper_.add(std::string(2000, 'a'));
    finish();
    EXPECT_EQ(file_, directory_.file("output/f.a.case.txt"));
}

TEST_F(OutputKeeperTest, OutputJustOverTheLimitIsKeptWhole) {
    keeper_.restart("f", "c");
    std::string whole(1002, 'a');
    whole.replace(999, 3, "bcd");
    keeper_.add(whole.substr(0, 999));
    keeper_.add(whole.substr(999));
    finish();
    EXPECT_EQ(text_, whole);
    EXPECT_EQ(kiv_test::read_text(file_), text_);
}

TEST_F(OutputKeeperTest, SecondLongOutputOfANameGetsItsOwnFile) {
    for (int i = 0; i < 2; ++i) {
        keeper_.restart("f", "c");
        keeper_.add(std::string(2000, static_cast<char>('a' + i)));
        finish();
    }
    EXPECT_EQ(file_, directory_.file("output/f.c.2.txt"));
    EXPECT_EQ(kiv_test::read_text(directory_.file("output/f.c.txt")), std::string(2000, 'a'));
}

TEST_F(OutputKeeperTest, UnwritableDirectoryIsSaid) {
    directory_.write("output", "a file");
    keeper_.restart("f", "c");
    keeper_.add(std::string(1000, 'a'));
    keeper_.add(std::string(50000, 'b'));
    finish();
    EXPECT_EQ(file_, "");
    EXPECT_THAT(text_, HasSubstr("the whole output could not be kept: "));
}

TEST(DurationText, HasThreeDigitsAtMost) {
    const std::pair<int64_t, const char *> cases[] = {{0, "0 ns"},
                                                      {35, "35 ns"},
                                                      {999, "999 ns"},
                                                      {1000, "1.0 us"},
                                                      {9'949, "9.9 us"},
                                                      {35'400, "35 us"},
                                                      {1'500'000, "1.5 ms"},
                                                      {999'000'000, "999 ms"},
                                                      {1'000'000'000, "1.0 s"},
                                                      {99'400'000'000, "99 s"},
                                                      {125'000'000'000, "2 min 5 s"},
                                                      {7'500'000'000'000, "2 h 5 min"}};
    for (const auto &[time, text] : cases) EXPECT_EQ(kiv::duration_text(nanoseconds(time)), text);
}

class ConsoleTest : public testing::Test {
  protected:
    ConsoleTest() { file_ = tmpfile(); }
    ~ConsoleTest() override { fclose(file_); }

    std::string shown(kiv::ConsoleStyle style) {
        kiv::Console console(fileno(file_), style);
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
        console.flush();
        std::string text(static_cast<size_t>(ftell_end()), '\0');
        rewind(file_);
        text.resize(fread(text.data(), 1, text.size(), file_));
        return text;
    }
    long ftell_end() {
        fseek(file_, 0, SEEK_END);
        return ftell(file_);
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
        expected 0x00000000 PRM_ERROR_NONE
        got      0x457c2a00 invalid argument
      prm/test/src/prm_kiv_acl, tc_kiv_acl_tcam_create, line 79
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

}  // namespace
