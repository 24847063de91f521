// Ethernet-over-MPLS adjacency steps: what the pseudowire cases call.
#include "prm_kiv_tx_adj.h"
#include "tests/standin/suite_test.h"

namespace {

using standin::outline;
using standin::RecordBuilder;
using standin::run;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr uint32_t kCallFailed = 0x1234;
using Lines = std::vector<std::string>;

standin::Bytes eompls_add(uint32_t nh, uint32_t tunnel) {
    return RecordBuilder(2124)
        .u32_at(20, 100030)
        .u8_at(72, 0x10)
        .u8_at(74, 0x0E)
        .u8_at(75, 0x01)
        .u16_at(80, 24)
        .bytes_at(88, {0x28, 0xC7, 0xCE, 0x01, 0xF1, 0x58})
        .u32_at(96, nh)
        .u32_at(100, 24006)
        .u32_at(104, 0)
        .u32_at(108, 24002)
        .u32_at(116, tunnel);
}

// The lines of an add that starts with tunnel 0x77, gets next hop 1001 and tunnel 1002.
Lines add_lines() {
    return {
        "call prm_srh_tx_adj_buddy_reserve",
        "print \"SUCCESS: Buddy Reserve Index: 0x3e9\"",
        "call prm_srh_l3_intf_buddy_reserve",
        "print \"SUCCESS: Buddy Reserve Index: 0x77\"",
        "stdout \"\\n nh_idx_mpls and bcm_tun_if has been reserved\\nReserved nh and tunnel are 0x3e9 0x3ea "
        "resp.\\n\"",
        "call prm_set_nh_idx_hw_pending",
        "call prm_srh_tx_adj_add",
        "print \"SUCCESS: Tx Adj ADD completed. rc = 0x0 \""};
}

class EomplsTest : public SuiteTest {
  protected:
    uint32_t nh = 0x66, tunnel = 0x77;
    uint32_t status = 0;
    void add() {
        nh = 0x66;
        tunnel = 0x77;
        run([this] {
            status = tc_kiv_eompls_tx_adj_add(&nh, &tunnel);
            return 0;
        });
    }
};

TEST_F(EomplsTest, AddReservesNextHopAndTunnelAndProgramsBoth) {
    add();
    EXPECT_EQ(status, 0u);
    EXPECT_EQ(nh, 1001u);
    EXPECT_EQ(tunnel, 1002u);
    EXPECT_THAT(outline(), ElementsAreArray(add_lines()));
    const auto calls = standin::calls();
    EXPECT_EQ(calls.at(0).record(), RecordBuilder(2352).u32_at(4, 1).bytes());
    EXPECT_EQ(calls.at(0).arguments.at(0).number, 0u);
    EXPECT_EQ(calls.at(1).record(), RecordBuilder(2352).u32_at(0, 10).u32_at(4, 1).bytes());
    EXPECT_EQ(calls.at(1).arguments.at(0).number, reinterpret_cast<uint64_t>(standin::kAsync));
    EXPECT_EQ(calls.at(2).arguments.at(0).number, 1001u);
    EXPECT_EQ(calls.at(3).record(), eompls_add(1001, 1002));
    EXPECT_EQ(standin::allocations(), 0);
}

TEST_F(EomplsTest, TheTunnelIsPrintedBeforeItIsStored) {
    add();
    EXPECT_EQ(outline().at(3), "print \"SUCCESS: Buddy Reserve Index: 0x77\"");
    EXPECT_EQ(tunnel, 1002u);
}

TEST_F(EomplsTest, AFailedNextHopReservationGoesOnWithTheCallersValue) {
    standin::fail_call(1, kCallFailed);
    add();
    Lines expected = add_lines();
    expected.at(1) = "print \"ERROR: Buddy Reserve failed for NH. rc = 0x1234 \"";
    expected.at(4) =
        "stdout \"\\n nh_idx_mpls and bcm_tun_if has been reserved\\nReserved nh and tunnel are 0x66 0x3e9 "
        "resp.\\n\"";
    EXPECT_THAT(outline(), ElementsAreArray(expected));
    EXPECT_EQ(standin::calls().at(2).arguments.at(0).number, 0x66u);
    EXPECT_EQ(standin::calls().at(3).record(), eompls_add(0x66, 1001));
    EXPECT_EQ(status, 0u);
}

TEST_F(EomplsTest, AFailedTunnelReservationStoresZero) {
    standin::fail_call(2, kCallFailed);
    add();
    Lines expected = add_lines();
    expected.at(3) = "print \"ERROR: Buddy Reserve failed for tunnel. rc = 0x1234 \"";
    expected.at(4) =
        "stdout \"\\n nh_idx_mpls and bcm_tun_if has been reserved\\nReserved nh and tunnel are 0x3e9 0x0 "
        "resp.\\n\"";
    EXPECT_THAT(outline(), ElementsAreArray(expected));
    EXPECT_EQ(tunnel, 0u);
    EXPECT_EQ(standin::calls().at(3).record(), eompls_add(1001, 0));
}

TEST_F(EomplsTest, AFailedPendingMarkIsToldAndTheAddFollows) {
    standin::fail_call(3, kCallFailed);
    add();
    Lines expected = add_lines();
    expected.insert(expected.begin() + 6, "print \"set nh idx hw pendinf call failed\"");
    EXPECT_THAT(outline(), ElementsAreArray(expected));
    EXPECT_EQ(status, 0u);
}

TEST_F(EomplsTest, AFailedAddIsToldAndKeepsNextHopAndTunnel) {
    standin::fail_call(4, kCallFailed);
    add();
    Lines expected = add_lines();
    expected.back() = "print \"ERROR: Tx Adj ADD failed. rc = 0x1234 \"";
    EXPECT_THAT(outline(), ElementsAreArray(expected));
    EXPECT_EQ(status, kCallFailed);
    EXPECT_EQ(nh, 1001u);
    EXPECT_EQ(tunnel, 1002u);
}

TEST_F(EomplsTest, DeleteNamesTheNextHopAtItsSecondPlaceOnly) {
    const uint32_t next_hop = 100053, interface = 4198;
    const struct {
        int option1, option2;
        uint32_t flags3;
    } options[] = {{1, 1, 3}, {0, 1, 1}, {1, 0, 2}, {0, 0, 0}};
    for (const auto &o : options) {
        standin::reset();
        prm_async_handle = standin::kAsync;
        run([&] {
            status = tc_kiv_eompls_tx_adj_del(&next_hop, &interface, o.option1, o.option2);
            return 0;
        });
        EXPECT_EQ(status, 0u);
        EXPECT_THAT(outline(), ElementsAre("print \"\\n tc_kiv_eompls_tx_adj_del call nh=100053\\n\"",
                                           "call prm_srh_tx_adj_del",
                                           "print \"\\n kiv_util_tx_adj_del call SUCCEEDED for 100053\\n\""));
        EXPECT_EQ(standin::calls().at(0).record(), RecordBuilder(2124)
                                                       .u8_at(74, 0x8E)
                                                       .u8_at(75, o.flags3)
                                                       .u32_at(96, 100053)
                                                       .u32_at(116, 4198)
                                                       .bytes());
    }
}

TEST_F(EomplsTest, AFailedDeleteSpeaksOfTheCrossConnectAndOfSuccess) {
    const uint32_t next_hop = 5, interface = 6;
    standin::fail_call(1, kCallFailed);
    run([&] {
        status = tc_kiv_eompls_tx_adj_del(&next_hop, &interface, 1, 1);
        return 0;
    });
    EXPECT_EQ(status, kCallFailed);
    EXPECT_THAT(outline(),
                ElementsAre("print \"\\n tc_kiv_eompls_tx_adj_del call nh=5\\n\"", "call prm_srh_tx_adj_del",
                            "print \"\\n prm_srh_xid_del call 1 failed with rc=0x1234\\n\"",
                            "print \"\\n kiv_util_tx_adj_del call SUCCEEDED for 5\\n\""));
}

}  // namespace
