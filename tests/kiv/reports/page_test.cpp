// What a browser makes of the page.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "tests/kiv/reports/report_test.h"

namespace kiv::test {
namespace {

using testing::HasSubstr;

std::string sample_page() {
    return report_of(make_html_reporter, play_sample_run);
}

class Browser : public testing::Test {
  protected:
    // The document after the page and then `script` ran; what the script returns is in the element "answer".
    std::string load(const std::string &page, const std::string &script = "", const std::string &options = "",
                     const std::string &fragment = "") {
        const std::string path = directory_.write(
            "page.html", page +
                             "<script>document.body.append(Object.assign(document.createElement('output'), "
                             "{id: 'answer', textContent: JSON.stringify((() => {" +
                             script + "})() || '')}))</script>");
        const std::string command =
            "chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
            "--disable-background-networking --disable-component-update --disable-sync --user-data-dir=" +
            directory_.file("profile") + " " + options + " --dump-dom 'file://" + path + fragment + "' >" +
            directory_.file("dom") + " 2>" + directory_.file("log");
        EXPECT_EQ(std::system(command.c_str()), 0) << read_text(directory_.file("log"));
        return read_text(directory_.file("dom"));
    }

    // What the script answered.
    nlohmann::json ask(const std::string &page, const std::string &script, const std::string &options = "",
                       const std::string &fragment = "") {
        const std::string dom = load(page, script, options, fragment);
        const std::string mark = "<output id=\"answer\">";
        const size_t at = dom.find(mark);
        if (at == std::string::npos) return "no answer";
        std::string text = dom.substr(at + mark.size(), dom.find("</output>", at) - at - mark.size());
        for (const auto &[from, to] : {std::pair{"&lt;", "<"}, {"&gt;", ">"}, {"&amp;", "&"}})
            for (size_t k; (k = text.find(from)) != std::string::npos;) text.replace(k, strlen(from), to);
        return nlohmann::json::parse(text, nullptr, false);
    }

    TemporaryDirectory directory_;
};

TEST_F(Browser, ShowsTotalsFoldersAndEnvironment) {
    const std::string dom = load(sample_page());
    EXPECT_THAT(dom, HasSubstr("<title>Failed: prm_kiv</title>"));
    EXPECT_THAT(dom, HasSubstr("12 cases in 26.3 ms"));
    EXPECT_THAT(dom, HasSubstr("<dt>Site</dt><dd>site/sim</dd>"));
    EXPECT_THAT(dom, HasSubstr("PRM KIV SPAN session oper"));
    EXPECT_THAT(dom, HasSubstr("fault rule 1 fired 3 times"));
    EXPECT_THAT(dom, HasSubstr("set-up of span: failed; tear-down of span: crashed"));
}

TEST_F(Browser, ShowsWhatACaseDid) {
    const auto text =
        ask(sample_page(),
            "for (const f of document.querySelectorAll('.folder')) f.dispatchEvent(new Event('toggle'));"
            "const row = document.getElementById('case-1'); row.open = true; row.dispatchEvent(new "
            "Event('toggle')); return row.querySelector('.inside').textContent");
    EXPECT_THAT(
        text,
        HasSubstr("prm/test/src/prm_kiv_uidb:120 in tc_prm_v4_leaf_deleteexpected CERR_SUCCESS 0x00000000, "
                  "got 0x457c2a00 ('prm' invalid argument)"));
    EXPECT_THAT(text, HasSubstr("and 1 more failed check"));
    EXPECT_THAT(text, HasSubstr("ERROR: <leaf> \"delete\" & co\r\n\ttab"));
}

TEST_F(Browser, OpensOnWhatIsNotGoodWithTheCallsBeforeEachFailedCheck) {
    const std::string page = report_of(make_html_reporter, [](Reporter &reporter) {
        reporter.run_begins(sample_info());
        reporter.case_ended(passing_case("f", "good"));
        CaseResult bad = passing_case("f", "bad");
        bad.verdict = Verdict::failed;
        bad.failures.resize(2);
        bad.failures[0].number = 2;
        bad.failures[1].number = 4;
        bad.calls_told.calls = {
            {"one() = 0", {"a = 1"}, 0}, {"two() = 0", {}, 1}, {"three() = 5", {"b = 2"}, 3, true}};
        reporter.case_ended(bad);
        reporter.run_ended({});
    });
    const auto text =
        ask(page,
            "const box = document.querySelector('#troubles'); const inside = box.querySelector('.inside');"
            "const link = inside.querySelectorAll('.check a')[1]; link.click();"
            "const row = document.getElementById(link.getAttribute('href').slice(1));"
            "return [box.querySelectorAll('.trouble[open]').length, box.querySelector('.name').textContent,"
            "[...inside.querySelectorAll('.check a')].map(a => a.nextElementSibling ? "
            "a.nextElementSibling.textContent : '').join(), row.open, row.querySelector('pre').textContent,"
            "inside.querySelectorAll('.call').length].join(' / ')");
    EXPECT_EQ(text, "1 / f/bad / two() = 0,three() = 5 / true / b = 2 / 3");
}

TEST_F(Browser, FiltersAndSearches) {
    const std::string list = "return [...document.querySelectorAll('.case .name')].map(e => e.textContent);";
    const auto open = std::string(
        "for (const f of document.querySelectorAll('.folder')) f.dispatchEvent(new Event('toggle'));");
    const auto found = ask(sample_page(),
                           "const s = document.getElementById('search'); s.value = 'MTU'; "
                           "s.dispatchEvent(new Event('input'));" +
                               open + list);
    EXPECT_EQ(found, nlohmann::json({"tc_kiv_update_mainif_mtu"}));
    const auto aborted = ask(sample_page(),
                             "[...document.querySelectorAll('.chips button')].find(b => "
                             "b.textContent.includes('aborted')).click();" +
                                 open + list);
    EXPECT_EQ(aborted, nlohmann::json({"prm_kiv_span_invalid_session_valid_dest_port"}));
    const auto folder = ask(sample_page(),
                            "const s = document.getElementById('folder'); s.value = 'acl'; "
                            "s.dispatchEvent(new Event('change'));" +
                                open + list);
    EXPECT_EQ(folder, nlohmann::json({"create"}));
    const auto nothing = ask(sample_page(),
                             "const s = document.getElementById('search'); s.value = 'zzz'; "
                             "s.dispatchEvent(new Event('input')); return "
                             "document.getElementById('folders').textContent");
    EXPECT_EQ(nothing, "Nothing fits.");
}

// All the rewrite cases, every fifth of which fails.
std::string matrix_page() {
    const char *const names[] = {
        "norw_st_pop1",     "norw_st_push1",    "norw_st_swap11",   "push1_st_push1",   "push1_st_swap11",
        "push1_st_swap12",  "push2_st_push2",   "push2_st_swap12",  "pop1_st_pop1",     "pop1_st_swap11",
        "swap11_st_swap11", "swap11_st_swap12", "swap12_st_swap12", "norw_dt_pop1",     "norw_dt_push1",
        "norw_dt_swap11",   "norw_dt_swap21",   "norw_dt_swap12",   "norw_dt_swap22",   "push1_dt_norw",
        "push1_dt_push1",   "push1_dt_push2",   "push1_dt_swap11",  "push1_dt_swap12",  "push1_dt_swap22",
        "push2_dt_push1",   "push2_dt_push2",   "push2_dt_swap12",  "pop1_dt_norw",     "pop1_dt_pop1",
        "pop1_dt_swap11",   "pop1_dt_swap21",   "swap11_dt_norw",   "swap11_dt_pop1",   "swap11_dt_push1",
        "swap11_dt_swap11", "swap11_dt_swap21", "swap11_dt_swap12", "swap11_dt_swap22", "swap12_dt_norw",
        "swap12_dt_push1",  "swap12_dt_swap11", "swap12_dt_swap12", "swap12_dt_swap22"};
    return report_of(make_html_reporter, [&](Reporter &reporter) {
        reporter.run_begins(sample_info());
        reporter.folder_begins({"prm-kiv-l2", "PRM KIV L2", 44});
        int i = 0;
        for (const char *const name : names) {
            CaseResult result = passing_case("prm-kiv-l2", std::string("tc_kiv_xconnect_rw_st_") + name);
            if (++i % 5 == 0) result.verdict = Verdict::failed;
            reporter.case_ended(result);
        }
        reporter.folder_ended({"prm-kiv-l2", "PRM KIV L2", 44});
    });
}

TEST_F(Browser, ShowsTheRewriteMatrix) {
    const auto answer =
        ask(matrix_page(),
            "const m = document.getElementById('matrix'); return ["
            "m.querySelectorAll('td a').length, m.querySelectorAll('td a.bad').length, "
            "m.querySelectorAll('tbody tr').length, "
            "[...m.querySelectorAll('thead tr:last-child th')].map(e => e.textContent).join(' '), "
            "m.querySelector('a[title^=\"tc_kiv_xconnect_rw_st_pop1_dt_swap21:\"]').closest('tr')"
            ".firstChild.textContent]");
    EXPECT_EQ(answer, nlohmann::json(
                          {44, 8, 6,
                           "push1 push2 pop1 swap11 swap12 norw push1 push2 pop1 swap11 swap12 swap21 swap22",
                           "pop1"}));
}

TEST_F(Browser, ACellLeadsToItsCase) {
    const auto answer = ask(matrix_page(),
                            "document.querySelector('#matrix a[title*=\"push2_dt_push2\"]').click();"
                            "const row = document.getElementById('case-26'); return [row.open, "
                            "row.querySelector('.name').textContent, location.hash]");
    EXPECT_EQ(answer, nlohmann::json({true, "tc_kiv_xconnect_rw_st_push2_dt_push2", "#case-26"}));
    EXPECT_EQ(ask(matrix_page(), "return document.getElementById('case-30').open", "", "#case-30"), true);
}

TEST_F(Browser, ARunThatIsCutOffSaysSo) {
    const std::string dom = load(report_of(make_html_reporter, [](Reporter &reporter) {
        reporter.run_begins(sample_info());
        reporter.case_ended(passing_case("prm-kiv", "tc_kiv_update_mainif_mtu"));
    }));
    EXPECT_THAT(dom, HasSubstr("<title>Incomplete: prm_kiv</title>"));
    EXPECT_THAT(dom, HasSubstr("11 selected cases were not reached."));
}

TEST_F(Browser, AWorkerThatEndsBadlyAfterItsLastCaseIsTold) {
    const std::string page = report_of(make_html_reporter, [](Reporter &reporter) {
        RunInfo info;
        info.selected = {"f/one"};
        info.selected_cases = 1;
        reporter.run_begins(info);
        Summary summary;
        summary.selected = 1;
        const CaseResult good = passing_case("f", "one");
        reporter.case_ended(good);
        summary.add(good);
        FixtureResult worker;
        worker.of_worker = worker.ran = true;
        worker.verdict = Verdict::crashed;
        worker.reason = "left with exit code 23 after its last case";
        worker.output = "a leak was found";
        reporter.fixture_ended(worker);
        summary.add(worker);
        reporter.run_ended(summary);
    });
    const std::string dom = load(page);
    EXPECT_THAT(dom, HasSubstr("<title>Failed: "));
    EXPECT_THAT(dom, HasSubstr(">worker: crashed<"));
    const auto text = ask(page,
                          "for (const what of ['.folder', 'details']) for (const f of "
                          "document.querySelectorAll(what)) { f.open "
                          "= true; f.dispatchEvent(new Event('toggle')); } return document.body.innerText");
    EXPECT_THAT(text, HasSubstr("left with exit code 23 after its last case"));
    EXPECT_THAT(text, HasSubstr("a leak was found"));
}

TEST_F(Browser, ARepeatedRunThatIsCutOffCountsEveryPass) {
    const std::string dom = load(report_of(make_html_reporter, [](Reporter &reporter) {
        RunInfo info;
        info.repeat = 3;
        info.selected = {"f/one", "f/two"};
        info.selected_cases = 6;
        reporter.run_begins(info);
        for (const char *const name : {"one", "two", "one"}) reporter.case_ended(passing_case("f", name));
    }));
    EXPECT_THAT(dom, HasSubstr("3 selected cases were not reached."));
    EXPECT_THAT(dom, HasSubstr("f/one\nf/two</pre>"));
}

TEST_F(Browser, NothingIsWiderThanAPhone) {
    for (const char *const page : {"sample", "matrix"}) {
        const auto answer = ask(page == std::string("sample") ? sample_page() : matrix_page(),
                                "document.documentElement.style.width = '360px'; return "
                                "document.documentElement.scrollWidth",
                                "--window-size=500,800");
        EXPECT_LE(answer.get<int>(), 500) << page;
    }
}

TEST_F(Browser, HasADarkAndALightFace) {
    const std::string script = "return getComputedStyle(document.body).backgroundColor";
    const auto light = ask(sample_page(), script),
               dark = ask(sample_page(), script, "--blink-settings=preferredColorScheme=0");
    EXPECT_EQ(light, "rgb(246, 247, 249)");
    EXPECT_EQ(dark, "rgb(18, 22, 28)");
}

TEST_F(Browser, ShowsALargeRun) {
    const std::string page = report_of(make_html_reporter, [](Reporter &reporter) {
        RunInfo info;
        info.program = "prm_kiv";
        reporter.run_begins(info);
        reporter.folder_begins({"f", "", 20000});
        for (int i = 0; i < 20000; ++i) reporter.case_ended(passing_case("f", "case" + std::to_string(i)));
        reporter.run_ended({});
    });
    EXPECT_EQ(ask(page,
                  "document.querySelector('.folder').dispatchEvent(new Event('toggle')); return "
                  "[document.querySelectorAll('.case').length, document.querySelector('.more').textContent]"),
              nlohmann::json({300, "Show more (19700)"}));
}

}  // namespace
}  // namespace kiv::test
