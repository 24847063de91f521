// What a browser makes of the page of a history.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "kivctl/history/page.h"
#include "tests/kiv/reports/browser.h"
#include "tests/kivctl/history/runs.h"

namespace kivctl::history::test {
namespace {

using kiv::Verdict;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class HistoryPage : public kiv_test::Browser {
  protected:
    static std::string page(const Kept &kept, const std::vector<std::string> &patterns = {}) {
        Database database = Database::to_read(kept.path(), {});
        const History history(database, {});
        return page_of({history, false, history.select(patterns)});
    }
    // Ten nights; f/x fails in the last three.
    static std::string sample() {
        Kept kept;
        add_days(kept, ".......FFF", {{"card", "lc1"}});
        return page(kept);
    }
    // Keys pressed in the grid, then what is told of the cell under the cursor.
    static std::string press(const std::string &keys) {
        return "const grid = document.getElementById('grid'); for (const key of " + keys +
               ") grid.dispatchEvent(new KeyboardEvent('keydown', {key, bubbles: true, cancelable: true}));"
               "return document.getElementById('told').textContent";
    }
};

TEST_F(HistoryPage, TellsOfTheCellUnderTheCursor) {
    const auto told = ask(sample(), press("['n']"));
    EXPECT_THAT(
        told,
        AllOf(HasSubstr("f/x: failed in 20.0 ms"), HasSubstr("2026-01-10 04:00:00 UTC  card=lc1"),
              HasSubstr("Failed in 3 of 10 runs."),
              HasSubstr("prm/test/src/prm_kiv_f:7: x: expected CERR_SUCCESS"), HasSubstr("ERROR: <x>")));
    EXPECT_THAT(ask(sample(), press("['n', 'n', 'n', 'ArrowLeft']")),
                HasSubstr("f/x: passed in 20.0 ms2026-01-07"));
    EXPECT_THAT(ask(sample(), press("['n', 'Home']")), HasSubstr("f/x: passed in 20.0 ms2026-01-01"));
    EXPECT_THAT(ask(sample(), press("['n', 'ArrowUp']")), HasSubstr("f: 1 of 1 bad"));
}

TEST_F(HistoryPage, ACellIsPickedWithTheMouse) {
    const auto told = ask(sample(),
                          "const grid = document.getElementById('grid'), box = grid.getBoundingClientRect();"
                          "grid.dispatchEvent(new MouseEvent('click', {clientX: box.left + grid.clientWidth "
                          "* 0.3 + 90 + 14 * 7 + 5, "
                          "clientY: box.top + 22 + 18 * 3 + 5, bubbles: true}));"
                          "return document.getElementById('told').textContent",
                          "--window-size=1000,800");
    EXPECT_THAT(told, HasSubstr("f/x: failed in 20.0 ms2026-01-08"));
}

TEST_F(HistoryPage, FoldersFoldAndCasesAreFiltered) {
    const std::string height = "return document.getElementById('size').style.height";
    EXPECT_EQ(ask(sample(), height), "94px") << "two folders of one case each, and the head";
    EXPECT_EQ(ask(sample(),
                  "document.getElementById('fold').click(); "
                  "document.getElementById('grid').redraw();" +
                      height),
              "58px");
    EXPECT_EQ(ask(sample(),
                  "const s = document.getElementById('search'); s.value = 'F/X'; s.dispatchEvent(new "
                  "Event('input'));"
                  "document.getElementById('grid').redraw();" +
                      height),
              "58px");
    EXPECT_EQ(ask(sample(),
                  "const s = document.getElementById('what'); s.value = 'now'; s.dispatchEvent(new "
                  "Event('change'));"
                  "document.getElementById('grid').redraw();" +
                      height),
              "58px");
    EXPECT_EQ(ask(sample(),
                  "const s = document.getElementById('search'); s.value = 'zzz'; s.dispatchEvent(new "
                  "Event('input'));"
                  "return document.getElementById('told').textContent"),
              "Nothing fits.");
}

TEST_F(HistoryPage, ShowsHowLongACaseTook) {
    EXPECT_THAT(
        ask(sample(),
            "const grid = document.getElementById('grid'); grid.dispatchEvent(new KeyboardEvent('keydown', "
            "{key: 'n'})); return document.querySelector('#told svg').getAttribute('aria-label')"),
        "Duration of its good runs, median 20.0 ms, longest 20.0 ms");
}

TEST_F(HistoryPage, MarkupInTextsIsText) {
    Kept kept;
    auto run = run_of(0, {{"f", "x</script><b>", Verdict::failed}});
    std::get<kiv::CaseResult>(run.events[0]).output = "</script><img src=x onerror=document.title=1>\xff";
    kept.add(run, {{"release", "<i>"}});
    const std::string text = page(kept);
    EXPECT_THAT(text, Not(HasSubstr("<img")));
    EXPECT_THAT(
        ask(text, press("['n']")),
        AllOf(HasSubstr("f/x</script><b>: failed"),
              HasSubstr("</script><img src=x onerror=document.title=1>\uFFFD"), HasSubstr("release=<i>")));
}

TEST_F(HistoryPage, ShowsTheCasesThatWereAskedFor) {
    Kept kept;
    add_days(kept, "..F");
    EXPECT_EQ(ask(page(kept, {"f/x"}), "return document.getElementById('size').style.height"), "58px");
}

TEST_F(HistoryPage, APageOfOneRunOpens) {
    Kept kept;
    add_days(kept, ".");
    EXPECT_EQ(ask(page(kept), "return document.querySelector('h1').textContent"), "History of 1 run");
}

// 240 cases in 12 folders, 1,000 runs; some fail for a while, some now and then, some get slower.
std::string large_page() {
    Kept kept;
    {
        Database database = kept.open();
        Store store(database);
        for (int day = 0; day < 1000; ++day) {
            std::vector<Play> plays;
            for (int i = 0; i < 240; ++i) {
                Play play{"folder" + std::to_string(i / 20), "tc_kiv_case_" + std::to_string(i)};
                if ((i % 17 == 3 && day > 400 && day < 700) || (i * 7919 + day * 104729) % 97 == 0)
                    play.verdict = Verdict::failed;
                if (i % 31 == 5 && day % 90 == 0) play.verdict = Verdict::crashed;
                if (i % 29 == 7) play.verdict = Verdict::unchecked;
                if (i % 41 == 9 && day % 50 < 3) play.verdict = Verdict::not_run;
                if (i % 53 == 11 && day > 990) play.verdict = Verdict::timed_out;
                if (i % 59 == 13 && day > 995) play.verdict = Verdict::reported_error;
                play.milliseconds =
                    (i + 1) * (1 + 0.2 * std::sin(day * 0.7 + i)) * (i % 13 == 0 && day > 800 ? 1.6 : 1);
                plays.push_back(play);
            }
            store.add(run_of(day, plays), {},
                      {{"card", "lc1"}, {"release", "7." + std::to_string(day / 100)}});
        }
    }
    Database database = Database::to_read(kept.path(), {});
    const History history(database, {});
    return page_of({history, false, history.select({})});
}

TEST_F(HistoryPage, AThousandRunsOpenQuicklyAndScrollSmoothly) {
    const std::string page = large_page();
    if (const char *const keep = std::getenv("KIV_KEEP_PAGE")) std::ofstream(keep) << page;
    // Another program may have the processor for a while: the best of three counts.
    double opened = 1e9, drawn = 1e9;
    for (int i = 0; i < 3 && (opened >= 2000 || drawn >= 16); ++i) {
        const auto times = ask(
            page,
            "const opened = performance.now(), grid = document.getElementById('grid'), times = [];"
            "for (let i = 0; i < 40; ++i) { grid.scrollLeft = i * 300; grid.scrollTop = i * 90; const before "
            "= performance.now();"
            "grid.redraw(); document.querySelector('#grid canvas').getContext('2d').getImageData(0, 0, 1, 1);"
            "times.push(performance.now() - before); } times.sort((a, b) => a - b); return [opened, "
            "times[20]]",
            "--window-size=1600,1000");
        ASSERT_TRUE(times.is_array()) << times;
        opened = std::min(opened, times[0].get<double>());
        drawn = std::min(drawn, times[1].get<double>());
    }
    EXPECT_LT(opened, 2000) << "milliseconds until all is shown";
    EXPECT_LT(drawn, 16) << "milliseconds a picture while scrolling";
    RecordProperty("opened_ms", std::to_string(opened));
    RecordProperty("drawn_ms", std::to_string(drawn));
    EXPECT_LT(page.size(), 6u << 20);
}

}  // namespace
}  // namespace kivctl::history::test
