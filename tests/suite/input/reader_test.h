// Fixture of the reader tests: every global that a reader of the input files fills starts as 0.
#ifndef TESTS_SUITE_INPUT_READER_TEST_H
#define TESTS_SUITE_INPUT_READER_TEST_H

#include <string.h>

#include "prm_kiv_input.h"
#include "prm_kiv_tx_adj.h"
#include "prm_kiv_xconnect.h"
#include "tests/standin/suite_test.h"

constexpr char kInput[] = "kiv_input_file";
constexpr char kTcsInput[] = "kiv_tcs_input_file";

class ReaderTest : public SuiteTest {
  protected:
    void SetUp() override {
        SuiteTest::SetUp();
        clear(port, bdl_ifh, lag_id, create_ifh, parent_ifh, sub_lag_id, ovlan, ivlan, otpid, intf_name, ifh,
              uidb, np_port, if_name, rovlan, rivlan, rotpid);
    }
    static void read(void (*reader)()) {
        standin::run([reader] {
            reader();
            return 0;
        });
    }
    static void read_subifs(int flag) {
        standin::run([flag] {
            kiv_util_read_subif_params(flag);
            return 0;
        });
    }

  private:
    template <class... Globals>
    static void clear(Globals &...globals) {
        (memset(&globals, 0, sizeof globals), ...);
    }
};

#endif
