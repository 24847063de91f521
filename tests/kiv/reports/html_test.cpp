// The page: well-formed at every moment.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "kiv/reports/page.h"
#include "tests/kiv/reports/report_test.h"

namespace kiv::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::string_view kEnd = "</script><script>show()</script></body></html>\n";

std::string sample_page() {
    return report_of(make_html_reporter, play_sample_run);
}

// The page up to its data is fixed; the data are whole events; then the page ends, and at most a comment
// follows.
std::string structure_problem(const std::string &page, int *cases) {
    *cases = 0;
    if (!page.starts_with(reports::kPageHead)) return "the head is not whole";
    const std::string rest = page.substr(reports::kPageHead.size());
    const size_t end = rest.find("</script>");
    if (end == std::string::npos) return "the data have no end";
    std::istringstream lines(rest.substr(0, end));
    for (std::string line; std::getline(lines, line);) {
        if (line.find_first_not_of(' ') == std::string::npos) continue;
        const nlohmann::json event = nlohmann::json::parse(line, nullptr, false);
        if (!event.is_object()) return "not an event: " + line.substr(0, 100);
        const std::string action = event["Action"];
        if (action == "pass" || action == "fail" || action == "skip") ++*cases;
    }
    if (rest.compare(end, kEnd.size(), kEnd) != 0) return "the page does not end behind its data";
    std::string behind = rest.substr(end + kEnd.size());
    while (!behind.empty()) {
        const size_t begin = behind.find_first_not_of(' ');
        if (begin == std::string::npos) break;
        if (behind.compare(begin, 4, "<!--") != 0)
            return "something behind the end: " + behind.substr(begin, 50);
        const size_t close = behind.find("-->", begin);
        if (close == std::string::npos) return "a comment that does not end";
        behind.erase(0, close + 3);
    }
    return "";
}

TEST(Html, TheDataAreGolden) {
    expect_golden("sample.html.data", sample_page().substr(reports::kPageHead.size()));
}

TEST(Html, IsWholeAfterEveryWrite) {
    for (const size_t largest : {0u, 3000u, 20000u}) {
        std::string content;
        int finished = 0;
        auto reporter =
            make_html_reporter(std::make_unique<MemorySink>(&content, [&](const std::string &now) {
                int cases;
                ASSERT_EQ(structure_problem(now, &cases), "") << "after " << finished << " cases";
                ASSERT_GE(cases, finished);
            }));
        play_long_run(*reporter, largest > 3000 ? 12 : 30, largest, [&](int n) { finished = n; });
        EXPECT_EQ(content.find("<!--", reports::kPageHead.size()), std::string::npos)
            << "nothing hidden stays";
    }
}

TEST(Html, OutputCannotBreakOutOfTheData) {
    const std::string content = report_of(make_html_reporter, [](Reporter &reporter) {
        reporter.run_begins({});
        CaseResult result = passing_case("a", "b");
        result.output = "</script><script>alert(1)</script><!-- <b>&amp;\xE2\x80\xA8";
        reporter.case_ended(result);
    });
    const std::string data = content.substr(reports::kPageHead.size());
    EXPECT_EQ(data.find("</script>"), data.find(kEnd));
    EXPECT_EQ(data.substr(0, data.find(kEnd)).find('<'), std::string::npos);
}

TEST(Html, FetchesNothing) {
    const std::string head(reports::kPageHead);
    for (const char *const word : {"http:", "https:", "src=", "@import", "url(", "fetch(", "<link"})
        EXPECT_THAT(head, Not(HasSubstr(word)));
}

}  // namespace
}  // namespace kiv::test
