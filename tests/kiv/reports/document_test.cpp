// Files stay well-formed whenever their writer dies: every content that any of their writes can leave is
// looked at, and a real process is killed at random moments.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "tests/kiv/reports/report_test.h"

extern char **environ;

namespace kiv::test {
namespace {

using reports::ClosedDocument;
using reports::kPage;
using reports::LineFile;

// Complete lines that are JSON objects or blank; counts the cases with a verdict. Looks at what comes after
// *seen, and moves it behind the last complete line.
int json_cases(const std::string &text, std::string *error, size_t *seen = nullptr) {
    std::istringstream lines(seen != nullptr ? text.substr(*seen) : text);
    if (seen != nullptr) *seen = text.rfind('\n') + 1;
    std::string line;
    int cases = 0;
    error->clear();
    while (std::getline(lines, line)) {
        if (line.find_first_not_of(' ') == std::string::npos) continue;
        nlohmann::json object = nlohmann::json::parse(line, nullptr, false);
        if (!object.is_object()) {
            *error = "not an object: " + line.substr(0, 200);
            return cases;
        }
        const std::string action = object["Action"];
        if (action == "pass" || action == "fail" || action == "skip") ++cases;
    }
    return cases;
}

// Result lines of the innermost level, all of them whole.
int tap_cases(const std::string &text) {
    std::istringstream lines(text);
    std::string line;
    int cases = 0;
    while (std::getline(lines, line)) {
        if (lines.eof()) break;
        if (line.rfind("    ok ", 0) == 0 || line.rfind("    not ok ", 0) == 0) ++cases;
    }
    return cases;
}

TEST(ClosedDocument, KeepsItsEndThroughEveryWrite) {
    for (const size_t largest : {0u, 100u, 3000u, 5000u, 40000u}) {
        std::string content, error;
        int finished = 0;
        size_t looks = 0;
        auto reporter =
            make_junit_reporter(std::make_unique<MemorySink>(&content, [&](const std::string &now) {
                const auto names = junit_case_names(now, &error);
                ASSERT_EQ(error, "") << "after " << finished << " cases, " << now.size() << " bytes";
                ASSERT_GE(names.size(), static_cast<size_t>(finished));
                ASSERT_LE(names.size(), static_cast<size_t>(finished) + 1);
                ++looks;
            }));
        play_long_run(*reporter, 120, largest, [&](int n) { finished = n; });
        EXPECT_GT(looks, 120u);
        EXPECT_EQ(content.find("<?kiv"), std::string::npos) << "nothing hidden stays";
        EXPECT_EQ(junit_case_names(content, &error).size(), 120u);
    }
}

TEST(ClosedDocument, MeetsEveryPositionOfThePageEnd) {
    for (size_t head = kPage - 300; head < kPage + 20; ++head) {
        std::string content;
        ClosedDocument document(
            std::make_unique<MemorySink>(&content,
                                         [&](const std::string &now) {
                                             std::string error;
                                             junit_case_names(now, &error);
                                             ASSERT_THAT(error, testing::AnyOf("", "no testsuites"));
                                         }),
            "<?kiv ", "?>");
        document.begin("<all><!--" + std::string(head, 'x') + "-->", "</all>\n");
        std::string expected;
        for (int i = 0; i < 6; ++i) {
            const std::string body = "<a n=\"" + std::to_string(i) + "\"/>";
            const uint64_t at = document.append(body, "</all>\n", 3, 5);
            EXPECT_EQ(content.substr(at, body.size()), body);
            EXPECT_EQ((at + 3) / kPage, (at + 7) / kPage);
        }
    }
}

TEST(ClosedDocument, ChangesItsEndToALongerAndAShorterOne) {
    std::string content;
    ClosedDocument document(std::make_unique<MemorySink>(&content), "<?kiv ", "?>");
    document.begin("<a>", "</a>\n");
    document.append("<b>", "</b></a>\n");
    document.append("<c/>", "</b></a>\n");
    document.append("</b>", "</a>\n");
    document.append("<d>", "</d></a>\n");
    document.append("", "</d></a>");
    document.finish();
    std::string without_blanks = content;
    std::erase(without_blanks, ' ');
    EXPECT_EQ(without_blanks, "<a><b><c/></b><d></d></a>");
}

TEST(ClosedDocument, OnAPipeIsWrittenFromBeginningToEnd) {
    std::string content, error;
    auto reporter = make_junit_reporter(std::make_unique<MemorySink>(&content, nullptr, false));
    play_sample_run(*reporter);
    junit_case_names(content, &error);
    EXPECT_EQ(error, "");
}

// A sink whose n-th write fails, as on a full disk.
class FullSink : public MemorySink {
  public:
    FullSink(std::string *content, int good) : MemorySink(content), good_(good) {}
    bool write(uint64_t offset, std::string_view text) override {
        return good_-- > 0 && MemorySink::write(offset, text);
    }

  private:
    int good_;
};

TEST(ClosedDocument, KeepsWhatItHadWhenTheDiskIsFull) {
    for (int good = 0; good < 200; ++good) {
        std::string content, error;
        auto reporter = make_junit_reporter(std::make_unique<FullSink>(&content, good));
        play_long_run(*reporter, 60, 6000);
        junit_case_names(content, &error);
        ASSERT_EQ(error, "") << "after " << good << " writes";
    }
}

TEST(LineFile, NoLineCrossesAPage) {
    for (const size_t largest : {0u, 100u, 3000u, 20000u}) {
        std::string content, error;
        int finished = 0, cases = 0;
        size_t seen = 0;
        auto reporter =
            make_json_reporter(std::make_unique<MemorySink>(&content, [&](const std::string &now) {
                cases += json_cases(now, &error, &seen);
                ASSERT_EQ(error, "");
                ASSERT_GE(cases, finished);
            }));
        play_long_run(*reporter, 120, largest, [&](int n) { finished = n; });
        EXPECT_EQ(json_cases(content, &error), 120);
    }
}

TEST(LineFile, WritesOnceForACase) {
    std::string content;
    auto sink = std::make_unique<MemorySink>(&content);
    MemorySink &counted = *sink;
    auto reporter = make_json_reporter(std::move(sink));
    size_t before = 0, worst = 0;
    play_long_run(*reporter, 49, 0, [&](int n) {
        if (n > 1) worst = std::max(worst, counted.writes - before);
        before = counted.writes;
    });
    EXPECT_EQ(worst, 2u);  // the last case's folder ends, and the run
}

TEST(LineFile, TapResultLinesAreWholeAfterEveryWrite) {
    std::string content;
    int finished = 0;
    auto reporter = make_tap_reporter(std::make_unique<MemorySink>(
        &content, [&](const std::string &now) { ASSERT_GE(tap_cases(now), finished); }));
    play_long_run(*reporter, 120, 5000, [&](int n) { finished = n; });
    EXPECT_EQ(tap_cases(content), 120);
}

TEST(FileSink, ReplacesAnOlderReportWhenTheRunBegins) {
    const auto directory = std::filesystem::temp_directory_path() / ("kiv_sink_" + std::to_string(getpid()));
    std::filesystem::create_directories(directory);
    const std::string path = directory / "report.xml";
    { std::ofstream(path) << "old"; }
    std::string error;
    {
        auto reporter = make_junit_reporter(path, &error);
        ASSERT_NE(reporter, nullptr) << error;
        EXPECT_EQ(read_file(path), "old");
        reporter->run_begins(sample_info());
        EXPECT_THAT(read_file(path), testing::HasSubstr("</testsuites>"));
    }
    { auto reporter = make_junit_reporter(path, &error); }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory), {}), 1) << "nothing is left over";
    EXPECT_EQ(make_junit_reporter(directory / "none/report.xml", &error), nullptr);
    EXPECT_THAT(error, testing::HasSubstr("none/report.xml: No such file"));
    EXPECT_EQ(make_json_reporter(directory.string(), &error), nullptr);
    EXPECT_THAT(error, testing::HasSubstr("Is a directory"));
    std::filesystem::remove_all(directory);
}

// The feeder reports the number of finished cases through a pipe after each; whatever it had told before it
// was killed must be in every file.
TEST(Killed, EveryReportHoldsEveryFinishedCase) {
    const auto directory = std::filesystem::temp_directory_path() / ("kiv_kill_" + std::to_string(getpid()));
    std::filesystem::create_directories(directory);
    std::mt19937 random(20261121);
    for (int round = 0; round < 200; ++round) {
        int pipe_ends[2];
        ASSERT_EQ(pipe(pipe_ends), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, pipe_ends[1], 1);
        const std::string base = directory / "r";
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
        const int junit = static_cast<int>(junit_case_names(read_file(base + ".xml"), &error).size());
        ASSERT_EQ(error, "") << "round " << round;
        const int json = json_cases(read_file(base + ".jsonl"), &error);
        ASSERT_EQ(error, "") << "round " << round;
        const int tap = tap_cases(read_file(base + ".tap"));
        for (const int count : {junit, json, tap}) {
            ASSERT_GE(count, told) << "round " << round;
            ASSERT_LE(count, told + 1) << "round " << round;
        }
    }
    std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace kiv::test
