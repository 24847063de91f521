// Next hops that the adjacency steps hand to their caller, and what they held before.
#include "prm_kiv_tx_adj.h"
#include "tests/standin/suite_test.h"

namespace {

using standin::RecordBuilder;
using standin::run;

class NextHopTest : public SuiteTest {};

TEST_F(NextHopTest, AFailedReservationLeavesNoEarlierNextHop) {
    standin::on("prm_srh_tx_adj_buddy_reserve").returns(0x1234);
    u32 nh = 77, mpls_nh = 88;
    run([&] { return static_cast<int>(kiv_util_tx_adj_add_mpls_nh(9, &nh, &mpls_nh)); });
    EXPECT_EQ(nh, 0u);
    EXPECT_EQ(mpls_nh, 0u);
    EXPECT_THAT(standin::printed(), testing::HasSubstr("Nh index reserved 0 "));
    EXPECT_THAT(standin::printed(), testing::HasSubstr("Mpls Nh reserved 0 "));

    nh = 77;
    run([&] { return static_cast<int>(kiv_util_tx_adj_add_nh(PRM_KIV_TX_ADJ_NORMAL, 9, &nh)); });
    EXPECT_EQ(nh, 0u);
}

TEST_F(NextHopTest, TheMplsVariantsFirstAdjacencyIsANormalOne) {
    u32 nh = 0, mpls_nh = 0;
    run([&] { return static_cast<int>(kiv_util_tx_adj_add_mpls_nh(9, &nh, &mpls_nh)); });
    EXPECT_EQ(standin::calls("prm_srh_tx_adj_add").at(0).record(),
              RecordBuilder(2124)
                  .u32_at(20, 1001)
                  .u8_at(72, 0x10)
                  .u16_at(80, 9)
                  .bytes_at(88, {0, 0, 0xB0, 0x10, 0x10, 0x01})
                  .bytes());
}

}  // namespace
