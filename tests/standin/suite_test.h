// Fixture and matchers that the suite's tests share.
#ifndef TESTS_STANDIN_SUITE_TEST_H
#define TESTS_STANDIN_SUITE_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "prm_kiv_main.h"
#include "tests/standin/standin.h"

// Each test starts with a fresh stand-in and the connection's handles as a set-up leaves them.
class SuiteTest : public testing::Test {
  protected:
    void SetUp() override {
        standin::reset();
        zor_kiv_evm = standin::kEvm;
        prm_mgr_handle = standin::kMgr;
        prm_async_handle = standin::kAsync;
    }
    void TearDown() override { standin::reset(); }
};

// "check STATUS EXPECTED "NAME" FILE FUNCTION LINE" as in transcripts.
inline std::string check_line(uint32_t status, uint32_t expected, const std::string &name,
                              const std::string &file, const std::string &function, int line) {
    standin::Event event;
    event.kind = standin::Kind::check;
    event.status = status;
    event.expected = expected;
    event.expected_name = name;
    event.file = file;
    event.function = function;
    event.line = line;
    return event.line_text();
}

// Transcript lines with the line number of each check cut off: for checks whose line is not fixed.
inline std::vector<std::string> without_line_numbers(std::vector<std::string> lines) {
    for (std::string &line : lines)
        if (line.rfind("check ", 0) == 0) line.erase(line.rfind(' '));
    return lines;
}

#endif
