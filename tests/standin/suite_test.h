// Fixture and transcript lines that the suite's tests share.
#ifndef TESTS_STANDIN_SUITE_TEST_H
#define TESTS_STANDIN_SUITE_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "prm_kiv_main.h"
#include "tests/standin/lines.h"

// Each test starts with a fresh stand-in and the connection's handles as a set-up leaves them.
class SuiteTest : public testing::Test {
  protected:
    void SetUp() override { fresh_standin(); }
    void TearDown() override { standin::reset(); }

    static void fresh_standin() {
        standin::reset();
        zor_kiv_evm = standin::kEvm;
        prm_mgr_handle = standin::kMgr;
        prm_async_handle = standin::kAsync;
    }
};

#endif
