// JUnit: the shape that common readers accept, and what stands in it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <pugixml.hpp>

#include "tests/kiv/reports/report_test.h"

namespace kiv::test {
namespace {

using testing::HasSubstr;

std::string sample_junit() {
    return report_of(make_junit_reporter, play_sample_run);
}

pugi::xml_node find_case(const pugi::xml_document &document, const char *name) {
    return document.select_node((std::string("//testcase[@name='") + name + "']").c_str()).node();
}

TEST(Junit, Golden) {
    expect_golden("sample.xml", sample_junit());
}

void expect_valid(const std::string &content) {
    const TemporaryDirectory directory;
    const std::string path = directory.write("junit.xml", content);
    EXPECT_EQ(
        std::system(
            ("xmllint --noout --schema " TEST_DATA "/junit.xsd " + path + " 2>" + path + ".err").c_str()),
        0)
        << read_text(path + ".err");
}

TEST(Junit, IsValidForTheCommonSchema) {
    expect_valid(sample_junit());
}

TEST(Junit, IsValidForTheCommonSchemaAtEveryMoment) {
    std::string content;
    std::vector<std::string> moments;
    auto reporter = make_junit_reporter(
        std::make_unique<MemorySink>(&content, [&](const std::string &now) { moments.push_back(now); }));
    play_sample_run(*reporter);
    for (size_t i = 0; i < moments.size(); i += 3) expect_valid(moments[i]);
}

TEST(Junit, HoldsOneResultElementACaseWithAllItsFailures) {
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(sample_junit().c_str()));
    const pugi::xml_node failed = find_case(document, "tc_prm_v4_leaf_delete");
    EXPECT_STREQ(failed.attribute("status").value(), "failed");
    EXPECT_STREQ(failed.attribute("assertions").value(), "4");
    const pugi::xml_node failure = failed.child("failure");
    EXPECT_TRUE(failure.next_sibling("failure").empty());
    EXPECT_STREQ(
        failure.attribute("message").value(),
        "prm/test/src/prm_kiv_uidb:120: tc_prm_v4_leaf_delete: expected CERR_SUCCESS (0x00000000), got "
        "0x457c2a00 ('prm' invalid argument) (and 2 more)");
    EXPECT_THAT(failure.text().get(), HasSubstr("prm_kiv_uidb:127"));
    EXPECT_THAT(failure.text().get(), HasSubstr("and 1 more failed check\n"));
    EXPECT_STREQ(failed.last_child().name(), "system-out") << "output comes last";
    EXPECT_STREQ(failed.child("system-out").text().get(),
                 "ERROR: <leaf> \"delete\" & co\r\n\ttab, bell \xEF\xBF\xBD, byte \xEF\xBF\xBD, end\n");
}

TEST(Junit, ToldApartFailureErrorAndSkipped) {
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(sample_junit().c_str()));
    EXPECT_TRUE(find_case(document, "tc_prm_v4_leaf_delete#2").child("failure"));
    EXPECT_TRUE(find_case(document, "tc_kiv_tx_adj_add_punt").child("error"));
    EXPECT_TRUE(find_case(document, "create").child("error"));
    EXPECT_TRUE(find_case(document, "prm_kiv_span_invalid_session_valid_dest_port").child("error"));
    EXPECT_TRUE(find_case(document, "prm_kiv_span_session_destroy_when_port_present").child("skipped"));
    EXPECT_FALSE(find_case(document, "tc_kiv_nr_ldi_add").first_child());
    EXPECT_STREQ(find_case(document, "tc_kiv_nr_ldi_add").attribute("status").value(), "unchecked");
    EXPECT_TRUE(find_case(document, "set-up").child("error"));
    EXPECT_TRUE(find_case(document, "tear-down").child("skipped"));
}

TEST(Junit, CountsAgreeWithTheElementsAtTheEnd) {
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(sample_junit().c_str()));
    int tests = 0, failures = 0, errors = 0, skipped = 0;
    const auto expect_counts = [](pugi::xml_node node, size_t t, size_t f, size_t e, size_t s) {
        EXPECT_EQ(node.attribute("tests").as_uint(), t) << node.attribute("name").value();
        EXPECT_EQ(node.attribute("failures").as_uint(), f) << node.attribute("name").value();
        EXPECT_EQ(node.attribute("errors").as_uint(), e) << node.attribute("name").value();
        EXPECT_EQ(node.attribute("skipped").as_uint(), s) << node.attribute("name").value();
    };
    for (const pugi::xml_node suite : document.document_element().children("testsuite")) {
        const auto count = [&](const char *query) { return suite.select_nodes(query).size(); };
        expect_counts(suite, count("testcase"), count("testcase/failure"), count("testcase/error"),
                      count("testcase/skipped"));
        tests += suite.attribute("tests").as_int();
        failures += suite.attribute("failures").as_int();
        errors += suite.attribute("errors").as_int();
        skipped += suite.attribute("skipped").as_int();
    }
    expect_counts(document.document_element(), static_cast<size_t>(tests), static_cast<size_t>(failures),
                  static_cast<size_t>(errors), static_cast<size_t>(skipped));
    EXPECT_GT(tests, 12);
}

TEST(Junit, AFileCutShortTellsHowManyCasesTheFolderHas) {
    const std::string content = report_of(make_junit_reporter, [](Reporter &reporter) {
        reporter.run_begins(sample_info());
        reporter.folder_begins({"acl", "ACL Testcases", 27});
        reporter.case_ended(passing_case("acl", "create"));
    });
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(content.c_str()));
    EXPECT_EQ(document.child("testsuites").child("testsuite").attribute("tests").as_int(), 27);
}

TEST(Junit, ARunThatEndsInAFolderCountsWhatStandsThere) {
    const std::string content = report_of(make_junit_reporter, [](Reporter &reporter) {
        reporter.run_begins(sample_info());
        reporter.folder_begins({"acl", "ACL Testcases", 27});
        reporter.case_ended(passing_case("acl", "create"));
        reporter.run_ended({});
    });
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(content.c_str()));
    EXPECT_EQ(document.child("testsuites").child("testsuite").attribute("tests").as_int(), 1);
}

TEST(Junit, AWorkerThatEndedBadlyIsAnErrorOfItsOwn) {
    const std::string content = report_of(make_junit_reporter, [](Reporter &reporter) {
        reporter.run_begins({});
        reporter.folder_begins({"acl", "", 1});
        reporter.case_ended(passing_case("acl", "c"));
        reporter.folder_ended({"acl", "", 1});
        FixtureResult worker;
        worker.of_worker = worker.ran = true;
        worker.verdict = Verdict::crashed;
        worker.reason = "left with exit code 23 after its last case";
        worker.output = "100 bytes leaked\n";
        reporter.fixture_ended(worker);
        reporter.run_ended({});
    });
    expect_valid(content);
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(content.c_str()));
    const pugi::xml_node run = document.child("testsuites");
    EXPECT_EQ(run.attribute("tests").as_int(), 2);
    EXPECT_EQ(run.attribute("errors").as_int(), 1);
    const pugi::xml_node worker = find_case(document, "worker");
    EXPECT_STREQ(worker.attribute("classname").value(), "worker");
    EXPECT_STREQ(worker.child("error").attribute("message").value(),
                 "worker: left with exit code 23 after its last case");
    EXPECT_STREQ(worker.child_value("system-out"), "100 bytes leaked\n");
}

TEST(Junit, WithoutCasesIsADocumentToo) {
    expect_valid(report_of(make_junit_reporter, [](Reporter &reporter) {
        reporter.run_begins({});
        reporter.run_ended({});
    }));
}

}  // namespace
}  // namespace kiv::test
