// Interface database steps and feature cases: requests, prints and checks, on success and on failure.
#include "prm_kiv_uidb.h"

#include "suite_test.h"

namespace {

using standin::outline;
using standin::run;
using standin::transcript;
using standin::transcript_text;
using testing::ElementsAre;

constexpr uint32_t kFailure = 0x1234;

class UidbTest : public SuiteTest {};

TEST_F(UidbTest, MainInterfaceMtuSendsOneClearedFeatureAndTellsSuccess) {
    EXPECT_EQ(run(tc_kiv_update_mainif_mtu), 1);
    EXPECT_THAT(
        without_line_numbers(transcript()),
        ElementsAre("print \"Call UIDB Set feature to set IP MTU\\n\"",
                    // handle, 1 record of 52 bytes; qualifier 2, feature 123, value 1000
                    "call uidb_set_feature(0x12123434, 60{0:88 3:0801 6:34 8:02 16:7b 20:e803})",
                    "check 0x0 0x0 \"CERR_SUCCESS\" prm/test/src/prm_kiv_uidb tc_kiv_update_mainif_mtu",
                    "print \"Mainif MTU set Successfully\\n\""));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(UidbTest, SubInterfaceMtuSpeaksOfTheMainInterfaceToo) {
    EXPECT_EQ(run(tc_kiv_update_subif_mtu), 1);
    EXPECT_THAT(
        without_line_numbers(transcript()),
        ElementsAre("print \"Call UIDB Set feature to set IP MTU\\n\"",
                    "call uidb_set_feature(0x12123434, 60{0:10f1 3:0801 6:34 8:02 16:7b 20:f401})",
                    "check 0x0 0x0 \"CERR_SUCCESS\" prm/test/src/prm_kiv_uidb tc_kiv_update_subif_mtu",
                    "print \"Mainif MTU set Successfully\\n\""));
}

}  // namespace
