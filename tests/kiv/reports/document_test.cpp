// Files stay well-formed whenever their writer dies: every content that any of their writes can leave is
// looked at.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "tests/kiv/reports/report_test.h"

namespace kiv::test {
namespace {

using reports::ClosedDocument;
using reports::kPage;
using reports::LineFile;
using reports::open_file_sink;
using reports::Sink;

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
    FullSink(std::string *content, int good, Observe observe = nullptr)
        : MemorySink(content, std::move(observe)), good_(good) {}
    bool write(uint64_t offset, std::string_view text) override {
        return good_-- > 0 && MemorySink::write(offset, text);
    }

  private:
    int good_;
};

TEST(ClosedDocument, KeepsWhatItHadWhenTheDiskIsFull) {
    for (int good = 1; good < 200; ++good) {  // the first write is the head
        std::string content, error;
        auto reporter = make_junit_reporter(std::make_unique<FullSink>(&content, good));
        play_long_run(*reporter, 60, 6000);
        junit_case_names(content, &error);
        ASSERT_EQ(error, "") << "after " << good << " writes";
    }
}

// A write that fails, with all that come after it doing well: nothing is shown that was not written.
TEST(ClosedDocument, ShowsNothingOfAWriteThatFailed) {
    class OneBadWrite : public MemorySink {
      public:
        OneBadWrite(std::string *content, size_t bad) : MemorySink(content), bad_(bad) {}
        bool write(uint64_t offset, std::string_view text) override {
            if (writes != bad_) return MemorySink::write(offset, text);
            ++writes;
            return false;
        }

      private:
        const size_t bad_;
    };
    for (size_t bad = 1; bad < 200; ++bad) {
        std::string content, error;
        auto reporter = make_junit_reporter(std::make_unique<OneBadWrite>(&content, bad));
        play_long_run(*reporter, 60, 6000);
        junit_case_names(content, &error);
        ASSERT_EQ(error, "") << "without write " << bad;
    }
}

// The first event of 20,000 cases goes out in many pieces.
TEST(Documents, DoNotAppearWithoutTheirWholeHead) {
    for (const auto make : {make_json_reporter, make_html_reporter}) {
        RunInfo info;
        info.started_at = "2026-11-22T00:00:00.000Z";
        info.selected = CaseList(20000, [](size_t at) {
            return CaseList::Item{"folder/case" + std::to_string(at), "a case"};
        });
        std::string whole;
        make(std::make_unique<MemorySink>(&whole))->run_begins(info);
        EXPECT_THAT(whole, testing::HasSubstr("folder/case19999"));
        for (int good = 0;; ++good) {
            std::string content;
            bool seen = false;
            auto sink = std::make_unique<FullSink>(&content, good, [&](const std::string &) { seen = true; });
            make(std::move(sink))->run_begins(info);
            ASSERT_EQ(seen, content == whole) << "after " << good << " writes";
            if (!seen) continue;
            EXPECT_GT(good, 10);
            break;
        }
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
    const TemporaryDirectory directory;
    const std::string path = directory.write("report.xml", "old");
    std::string error;
    {
        auto reporter = open_report(make_junit_reporter, path, &error);
        ASSERT_NE(reporter, nullptr) << error;
        EXPECT_EQ(read_text(path), "old");
        reporter->run_begins(sample_info());
        EXPECT_THAT(read_text(path), testing::HasSubstr("</testsuites>"));
    }
    { auto reporter = open_report(make_junit_reporter, path, &error); }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1)
        << "nothing is left over";
    EXPECT_EQ(open_report(make_junit_reporter, directory.file("none/report.xml"), &error), nullptr);
    EXPECT_THAT(error, testing::HasSubstr("none/report.xml: No such file"));
    EXPECT_EQ(open_report(make_json_reporter, directory.path(), &error), nullptr);
    EXPECT_THAT(error, testing::HasSubstr("Is a directory"));
}

class FileSinkTest : public testing::Test {
  protected:
    std::unique_ptr<Sink> open(const std::string &name) {
        return open_file_sink(directory_.path(name), &error_);
    }
    size_t entries() const {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(directory_.path()), {}));
    }
    std::string text(const std::string &name) const { return read_text(directory_.path(name)); }

    TemporaryDirectory directory_;
    std::string error_;
};

TEST_F(FileSinkTest, AStartThatIsKilledLeavesNothing) {
    const auto sink = open("report");
    ASSERT_NE(sink, nullptr) << error_;
    EXPECT_EQ(entries(), 0u);
    EXPECT_TRUE(sink->begin("begun"));
    EXPECT_EQ(entries(), 1u);
    EXPECT_EQ(text("report"), "begun");
}

TEST_F(FileSinkTest, AnOlderFileIsReplacedWhenTheRunBegins) {
    directory_.write("report", "older and longer");
    const auto sink = open("report");
    ASSERT_NE(sink, nullptr) << error_;
    EXPECT_EQ(text("report"), "older and longer");
    EXPECT_TRUE(sink->begin("begun"));
    EXPECT_EQ(text("report"), "begun");
    EXPECT_EQ(entries(), 1u);
}

TEST_F(FileSinkTest, NamesMayBeAsLongAsNamesAre) {
    for (const size_t length : {250u, 255u}) {
        const std::string name(length, 'n');
        for (int i = 0; i < 2; ++i) {
            const auto sink = open(name);
            ASSERT_NE(sink, nullptr) << error_;
            EXPECT_TRUE(sink->begin("begun"));
            EXPECT_EQ(text(name), "begun");
        }
    }
}

TEST_F(FileSinkTest, AFileIsWrittenWhereNothingCanBePutBesideIt) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become somebody else for a while";
    const std::string path = directory_.write("report", "older and longer");
    std::filesystem::permissions(path, static_cast<std::filesystem::perms>(0666));
    std::filesystem::permissions(directory_.path(), static_cast<std::filesystem::perms>(0755));
    ASSERT_EQ(seteuid(65534), 0);
    auto sink = open("report");
    const bool begun = sink != nullptr && sink->begin("begun");
    const auto other = open("other");
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_TRUE(begun) << error_;
    EXPECT_EQ(text("report"), "begun");
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(error_, directory_.path("other") + ": Permission denied");
}

TEST_F(FileSinkTest, TwoReportsOfOneFileAreRefused) {
    const auto refused = [&](const std::string &one, const std::string &two) {
        ReportRequest request;
        request.files[0] = one;
        request.files[1] = two;
        error_.clear();
        open_reports(request, &error_);
        return error_;
    };
    const std::string path = directory_.path("report"), other = directory_.path("./report");
    EXPECT_THAT(refused(path, other), testing::HasSubstr(" both write " + other));
    directory_.write("report", "");
    std::filesystem::create_hard_link(path, directory_.path("link"));
    EXPECT_THAT(refused(path, directory_.path("link")), testing::HasSubstr(" both write "));
    EXPECT_EQ(refused("/dev/null", "/dev/null"), "");
    EXPECT_EQ(refused(path, directory_.path("another")), "");
}

}  // namespace
}  // namespace kiv::test
