// What the report tests share: a run that shows every kind of result, and ways to look at a report.
#ifndef TESTS_KIV_REPORTS_REPORT_TEST_H
#define TESTS_KIV_REPORTS_REPORT_TEST_H

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kiv/reports/report_list.h"
#include "tests/kiv/reports/memory_sink.h"
#include "tests/kiv/temporary.h"

namespace kiv::test {

using kiv_test::read_text;
using kiv_test::TemporaryDirectory;

// A run with every verdict, both kinds of check, fixtures that fail and that never ran, nested folders, a
// folder that comes twice and text that needs escaping.
void play_sample_run(Reporter &reporter);
RunInfo sample_info();

CaseResult passing_case(std::string folder, std::string name);

// Many cases with outputs of every length up to `largest`; calls `after_case` with the number finished.
void play_long_run(Reporter &reporter, int cases, size_t largest,
                   const std::function<void(int finished)> &after_case = nullptr);

// Compares with golden/NAME; KIV_UPDATE_GOLDEN=1 writes it anew.
void expect_golden(const std::string &name, const std::string &content);

// Well-formed by the parser, and every name the elements hold; empty with *error set when it is not.
std::vector<std::string> junit_case_names(const std::string &xml, std::string *error);

// Complete lines that are JSON objects or blank; counts the cases with a verdict. Looks at what comes after
// *seen, and moves it behind the last complete line.
int json_cases(const std::string &text, std::string *error, size_t *seen = nullptr);

// Result lines of the innermost level, all of them whole.
int tap_cases(const std::string &text);

// What `append` appends to an empty text.
template <class Append>
std::string appended(Append append) {
    std::string text;
    append(text);
    return text;
}

}  // namespace kiv::test

#endif
