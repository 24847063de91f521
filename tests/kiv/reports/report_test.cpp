// What the report tests share.
#include "tests/kiv/reports/report_test.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <pugixml.hpp>

#include "tests/standin/golden.h"

namespace kiv::test {

using namespace std::chrono_literals;

RunInfo sample_info() {
    RunInfo info;
    info.program = "prm_kiv";
    info.arguments = {"--all", "--site", "site/sim", "prm-kiv", "say \"hi\" & <go>"};
    info.site = "site/sim";
    info.card = "sim";
    info.host = "lc0";
    info.version = "1.0.0";
    info.started_at = "2026-11-21T04:00:00.250Z";
    info.disk0 = "/tmp/run/disk0";
    info.folders = {{"prm-kiv", "PRM KIV", 5},
                    {"span/manual", "manual test cases", 1},
                    {"span/session", "PRM KIV SPAN session oper", 4},
                    {"acl", "ACL Testcases", 1}};
    const std::pair<const char *, const char *> cases[] = {
        {"prm-kiv/tc_kiv_update_mainif_mtu", "Condigures MTU for main interfaces"},
        {"prm-kiv/tc_prm_v4_leaf_delete", "Checks Delete leaf entry"},
        {"prm-kiv/tc_prm_v4_leaf_delete#2", "Checks Delete leaf entry"},
        {"prm-kiv/tc_kiv_nr_ldi_add", "Checks nr ldi Add"},
        {"prm-kiv/tc_kiv_tx_adj_add_punt", "Checks TX adj add punt "},
        {"span/manual/prm_kiv_span_enable", "Enable SPAN on router"},
        {"span/session/prm_kiv_span_session_create_destroy", "SPAN session create and destroy"},
        {"span/session/prm_kiv_span_invalid_session_valid_dest_port", "SPAN session create and destroy"},
        {"span/session/prm_kiv_span_valid_session_invalid_dest_port", "SPAN session create and destroy"},
        {"span/session/prm_kiv_span_session_destroy_when_port_present", "SPAN session create and destroy"},
        {"acl/create", "ACL create test case"},
        {"prm-kiv/tc_prm_mpls_leaf_add", "Checks MPLS label Entry Add"},
    };
    for (const auto &[selector, description] : cases) {
        info.selected.push_back(selector, description);
    }
    info.selected_cases = info.selected.size();
    return info;
}

CaseResult passing_case(std::string folder, std::string name) {
    CaseResult result;
    result.folder = std::move(folder);
    result.name = std::move(name);
    result.mode = 1;
    result.verdict = Verdict::passed;
    result.checks = 1;
    return result;
}

static Check failed_status(int line) {
    Check check;
    check.status = 0x457C2A00;
    check.expected_name = "CERR_SUCCESS";
    check.status_text = "'prm' invalid argument";
    check.file = "prm/test/src/prm_kiv_uidb";
    check.function = "tc_prm_v4_leaf_delete";
    check.line = line;
    return check;
}

static FixtureResult fixture(const char *folder, bool set_up) {
    FixtureResult result;
    result.folder = folder;
    result.set_up = set_up;
    result.ran = true;
    result.duration = 1500us;
    if (set_up) result.output = "Connection to PRM opened\n";
    return result;
}

void play_sample_run(Reporter &reporter) {
    const RunInfo info = sample_info();
    reporter.run_begins(info);
    size_t position = 0;
    Summary summary;
    std::chrono::nanoseconds now = 2ms;
    const auto next = [&] {
        const CaseList::Item test = info.selected[position++];
        const std::string &selector = test.selector;
        CaseResult result =
            passing_case(selector.substr(0, selector.rfind('/')), selector.substr(selector.rfind('/') + 1));
        result.description = *test.description;
        result.started = now;
        result.duration = 1234567ns;
        return result;
    };
    const auto end = [&](CaseResult result) {
        if (result.output_size == 0) result.output_size = result.output.size();
        now += result.duration + 1ms;
        ++summary.counts[static_cast<size_t>(result.verdict)];
        summary.checks += result.checks;
        summary.failed_checks += result.failed_checks;
        reporter.case_begins(result.folder, result.name);
        reporter.case_ended(result);
    };

    FolderInfo folder = info.folders[0];
    folder.selected_cases = 5;
    reporter.folder_begins(folder);
    reporter.fixture_ended(fixture("prm-kiv", true));
    CaseResult result = next();
    result.output = "SUCCESS: MTU set\n";
    end(result);

    result = next();
    result.verdict = Verdict::failed;
    result.checks = 4;
    result.failed_checks = 3;
    result.failures = {failed_status(120), failed_status(127)};
    result.output = "ERROR: <leaf> \"delete\" & co\r\n\ttab, bell \a, byte \xFF, end\n";
    result.error_lines = {"ERROR: <leaf> \"delete\" & co"};
    end(result);

    result = next();
    result.verdict = Verdict::reported_error;
    result.checks = 0;
    result.reason = "printed a line that reports a failure";
    result.error_lines = {"ERROR: leaf \xC3\xA9 # gone"};
    result.output = "ERROR: leaf \xC3\xA9 # gone";
    end(result);

    result = next();
    result.verdict = Verdict::unchecked;
    result.checks = 0;
    result.reason = "recorded no check";
    end(result);

    result = next();
    result.mode = 4;
    result.verdict = Verdict::timed_out;
    result.signal = 9;
    result.reason = "still running after 10 s";
    result.output = "what?>\n";
    result.output_size = 3000000000;
    result.output_file = "/tmp/run/output/prm-kiv/tc_kiv_tx_adj_add_punt";
    end(result);
    FixtureResult lost = fixture("prm-kiv", false);
    lost.ran = false;
    lost.verdict = Verdict::not_run;
    lost.reason = "the worker had ended";
    lost.duration = 0ns;
    reporter.fixture_ended(lost);
    reporter.folder_ended(folder);

    reporter.folder_begins(info.folders[1]);
    FixtureResult bad = fixture("span", true);
    bad.verdict = Verdict::failed;
    bad.failures = {failed_status(101)};
    reporter.fixture_ended(bad);
    end(next());
    reporter.folder_ended(info.folders[1]);

    reporter.folder_begins(info.folders[2]);
    reporter.fixture_ended(fixture("span/session", true));
    end(next());
    result = next();
    result.verdict = Verdict::aborted;
    result.signal = 6;
    result.failed_checks = 1;
    Check condition;
    condition.is_condition = true;
    condition.expected_name = "rc == PRM_ERROR_BCM_E_BUSY";
    condition.message = "session 5 is not busy, rc = 0\n";
    condition.file = "prm/test/src/prm_kiv_span";
    condition.function = "prm_kiv_span_invalid_session_valid_dest_port";
    condition.line = 412;
    result.failures = {condition};
    result.reason = "called abort after a failed check";
    end(result);
    for (int i = 0; i < 2; ++i) {
        result = next();
        result.verdict = Verdict::not_run;
        result.checks = 0;
        result.started = result.duration = 0ns;
        result.reason = "the worker of this folder had ended";
        end(result);
    }
    reporter.folder_ended(info.folders[2]);
    bad = fixture("span", false);
    bad.verdict = Verdict::crashed;
    bad.signal = 11;
    bad.reason = "";
    reporter.fixture_ended(bad);

    reporter.folder_begins(info.folders[3]);
    result = next();
    result.verdict = Verdict::crashed;
    result.exit_code = 3;
    end(result);
    reporter.folder_ended(info.folders[3]);

    folder.selected_cases = 1;
    reporter.folder_begins(folder);
    end(next());
    reporter.fixture_ended(fixture("prm-kiv", false));
    reporter.folder_ended(folder);

    summary.duration = now;
    summary.selected = info.selected.size();
    summary.failed_fixtures = 2;
    summary.notes = {"fault rule 1 fired 3 times"};
    reporter.run_ended(summary);
}

void play_long_run(Reporter &reporter, int cases, size_t largest,
                   const std::function<void(int finished)> &after_case) {
    RunInfo info = sample_info();
    info.folders.clear();
    info.selected = {};
    for (int i = 0; i < cases; ++i)
        info.selected.push_back("f" + std::to_string(i / 50) + "/case" + std::to_string(i));
    reporter.run_begins(info);
    FolderInfo folder;
    for (int i = 0; i < cases; ++i) {
        if (i % 50 == 0) {
            if (i != 0) reporter.folder_ended(folder);
            folder = {"f" + std::to_string(i / 50), "a folder", static_cast<size_t>(std::min(50, cases - i))};
            reporter.folder_begins(folder);
        }
        CaseResult result = passing_case(folder.path, "case" + std::to_string(i));
        if (i % 7 == 3) {
            result.verdict = Verdict::failed;
            result.failed_checks = 1;
            result.failures = {failed_status(i)};
        }
        if (largest != 0 && i % 3 == 1) {
            // Lengths that meet every position in a page.
            const size_t length = static_cast<size_t>(i) * 2654435761u % largest;
            result.output.resize(length);
            for (size_t k = 0; k < length; ++k) result.output[k] = "?>-->\n<a&\xFF"[(k * 7 + length) % 10];
            result.output_size = length;
        }
        reporter.case_ended(result);
        if (after_case) after_case(i + 1);
    }
    reporter.folder_ended(folder);
    Summary summary;
    summary.selected = static_cast<size_t>(cases);
    reporter.run_ended(summary);
    if (after_case) after_case(cases);
}

void expect_golden(const std::string &name, const std::string &content) {
    expect_golden_file(std::string(TEST_DATA) + "/golden/" + name, content);
}

std::vector<std::string> junit_case_names(const std::string &xml, std::string *error) {
    std::vector<std::string> names;
    pugi::xml_document document;
    const auto parsed = document.load_buffer(xml.data(), xml.size(), pugi::parse_full);
    *error = parsed ? "" : parsed.description();
    if (!parsed) return names;
    if (document.document_element().name() != std::string("testsuites")) *error = "no testsuites";
    for (const pugi::xml_node suite : document.child("testsuites").children("testsuite"))
        for (const pugi::xml_node element : suite.children("testcase"))
            names.push_back(element.attribute("name").value());
    return names;
}

int json_cases(const std::string &text, std::string *error, size_t *seen) {
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

}  // namespace kiv::test
